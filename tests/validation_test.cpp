// The opt-in safe entry points: key checks and checked ECDH on every curve against OpenSSL, the checked DER
// loader on explicit parameters (keys_test.cpp has it read everything OpenSSL writes), and deterministic
// signatures against RFC 6979's published vectors.
#include <algorithm>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>

#include "support/Oracle.h"

using namespace ecckey;
using namespace ecckey_test;
using Mp = TovarMp;

namespace {

class Safe : public ::testing::TestWithParam<CurveInfo> {
  protected:
    const CurveInfo &c() const { return GetParam(); }
    TestPrng prng{testSeed() ^ (std::uint64_t)GetParam().nid};
};

BnPtr bnOfHex(const std::string &hex) {
    mp_int v;
    EXPECT_TRUE(TovarMp::mpint_from_radix(v, hex.c_str(), 16)) << hex;
    return bnOf(v);
}

// A spoiled copy of a key: the last error its checks log (none: it passes), whether the public point is the
// spoiled part, and how it is spoiled.
using Spoiled = std::tuple<const char *, bool, std::function<void(EccPoint &q, mp_int &d)>>;

// One part spoiled at a time: the checks fail with its reason, sharedSecretChecked refuses the key on the
// side it spoils (a peer's point, or this key's scalar), and the intact key agrees OpenSSL's secret.
TEST_P(Safe, ChecksRefuseEachSpoiledKeyWithItsReason) {
    Ossl a = Ossl::random(c(), prng), b = Ossl::random(c(), prng);
    EccKey good, peer;
    loadInto(a, c(), good, true);
    loadInto(b, c(), peer, true);
    mp_int p, n;
    ASSERT_TRUE(Mp::mpint_from_radix(p, good.m_curve.m_p.getString(), 16) &&
                Mp::mpint_from_radix(n, good.m_curve.m_order.getString(), 16));
    const int yParity = Mp::isOdd(good.m_pubPoint.m_y) ? 1 : 0;
    const Spoiled rows[] = {
        {nullptr, false, [&](auto &q, auto &) { q.m_format = 6 + yParity; }},
        {"The public point is not on the curve.", true,
         [](auto &q, auto &) { EXPECT_EQ(0, Mp::mp_copy(q.m_x, q.m_y)); }},
        {"The public point's coordinates are not below p.", true,
         [&](auto &q, auto &) { EXPECT_EQ(0, Mp::mp_add(q.m_x, p, q.m_x)); }},
        {"The public point is the point at infinity.", true, [](auto &q, auto &) { Mp::mp_zero(q.m_z); }},
        {"The public point is not affine.", true,
         [](auto &q, auto &) { EXPECT_EQ(0, Mp::mp_set(q.m_z, 2)); }},
        {"The hybrid point's form byte does not match the parity of y.", true,
         [&](auto &q, auto &) { q.m_format = 7 - yParity; }},
        {"The private scalar is not in [1, n-1].", false, [](auto &, auto &d) { Mp::mp_zero(d); }},
        {"The private scalar is not in [1, n-1].", false,
         [&](auto &, auto &d) { EXPECT_EQ(0, Mp::mp_copy(n, d)); }},
        {"The public point is not d·G.", false,
         [&](auto &q, auto &) { EXPECT_TRUE(q.copyFromEccPoint(peer.m_pubPoint)); }},
    };
    for (const auto &[error, publicPart, spoil] : rows) {
        EccKey k;
        k.copyFromEccKey(good);
        spoil(k.m_pubPoint, k.m_privKey);
        LogRecorder log;
        EXPECT_EQ(k.checkPublicKey(log), !publicPart) << error;
        EXPECT_EQ(k.checkPrivateKey(log), error == nullptr);
        EXPECT_EQ(log.errors().empty() ? "" : log.errors().back(), error ? error : "");
        DataBuffer secret, reverse;
        const bool scalarSpoiled = error && std::string(error).find("scalar") != std::string::npos;
        EXPECT_EQ(k.sharedSecretChecked(peer, secret, log), !scalarSpoiled) << log.errorText();
        EXPECT_EQ(peer.sharedSecretChecked(k, reverse, log), !publicPart) << log.errorText();
        EXPECT_EQ(log.hasError("The peer's public key is not valid."), publicPart);
        EXPECT_TRUE(error || toBytes(reverse) == b.derive(Ossl(c(), a.point())));
    }
}

// Deterministic signatures: the same bytes for the same key and hash, valid for OpenSSL; each refusal with
// its message.
TEST_P(Safe, DeterministicSignaturesRepeatAndVerify) {
    Ossl o = Ossl::random(c(), prng);
    EccKey key, pub;
    loadInto(o, c(), key, true);
    loadInto(o, c(), pub, false);
    for (int alg : {HASH_SHA1, HASH_SHA256, HASH_SHA512}) {
        Bytes h = prng.bytes(_tvHash::hashLen(alg));
        DataBuffer der, again;
        LogRecorder log;
        ASSERT_TRUE(key.eccSignHashDeterministic(h.data(), (unsigned)h.size(), alg, true, der, log) &&
                    key.eccSignHashDeterministic(h.data(), (unsigned)h.size(), alg, true, again, log))
            << log.errorText();
        EXPECT_TRUE(der.equals(again) && o.verify(h, toBytes(der)));
    }
    const Bytes h(32, 0xA5);
    DataBuffer out;
    LogRecorder log;
    EXPECT_FALSE(pub.eccSignHashDeterministic(h.data(), 32, HASH_SHA256, true, out, log) ||
                 key.eccSignHashDeterministic(h.data(), 32, 4, true, out, log) ||
                 key.eccSignHashDeterministic(h.data(), 31, HASH_SHA256, true, out, log));
    EXPECT_EQ(log.errors(), (std::vector<std::string>{"Must be a private key.", "Unsupported hash algorithm.",
                                                      "The hash length does not match the hash algorithm."}));
}

INSTANTIATE_TEST_SUITE_P(AllCurves, Safe, ::testing::ValuesIn(allCurves()), curveParamName);

// On the four curves whose explicit form the loader reads, a change in any one field of OpenSSL's explicit
// parameters (the field type, p, a, b, G, n, h), which loadEccDer does not notice, is refused with that
// field's message.
TEST(CheckedDer, RefusesExplicitParametersThatDifferInAnyField) {
    TestPrng prng(testSeed());
    for (const CurveInfo &c : allCurves()) {
        if (std::string(c.name).rfind("secp", 0) != 0 || c.byteLen < 32)
            continue;
        Ossl o = Ossl::random(c, prng);
        EccCurve curve;
        LogRecorder log;
        mp_int a;
        ASSERT_TRUE(curve.loadCurveByName(c.name, log) && curve.getCoefficientA(a));
        // The fields in their DER order, each searched for after the one before.
        const std::pair<std::string, Bytes> fields[] = {
            {"field", {0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x01, 0x01}},  // prime-field, made 1.2.840.10045.1.3
            {"field", bytesOf(bnOfHex(curve.m_p.getString()).get(), c.byteLen)},
            {"coefficient a", bytesOf(bnOf(a).get(), c.byteLen)},
            {"coefficient b", bytesOf(bnOfHex(curve.m_b.getString()).get(), c.byteLen)},
            {"base point", bytesOf(bnOfHex(curve.m_Gy.getString()).get(), c.byteLen)},
            {"order", bytesOf(orderOf(c).get(), BN_num_bytes(orderOf(c).get()))},
            {"cofactor", {0x02, 0x01, 0x01}},
        };
        const Bytes spki = o.encode("SubjectPublicKeyInfo", "DER", true);
        auto from = spki.begin();
        for (const auto &[name, bytes] : fields) {
            from = std::search(from, spki.end(), bytes.begin(), bytes.end());
            ASSERT_NE(from, spki.end()) << c.name << " " << name;
            from += (long)bytes.size();
            Bytes changed = spki;
            changed[(size_t)(from - spki.begin()) - 1] ^= 0x02;
            DataBuffer der = toDb(changed);
            log.reset();
            EXPECT_FALSE(EccKey().loadEccDerChecked(der, log)) << name;
            EXPECT_TRUE(
                log.hasError(("The explicit parameters have another " + name + " than the curve.").c_str()))
                << log.errorText();
        }
    }
}

// RFC 6979's signatures, appendix A.2.5's among them, on nine curves under five hashes. The file's s is not
// normalised; the secp256k1 signer gives min(s, n - s).
TEST(Deterministic, ReproducesEveryRfc6979Signature) {
    std::ifstream in(ECCKEY_VECTORS_DIR "/rfc6979/ecdsa_rfc6979.json");
    ASSERT_TRUE(in) << "RFC 6979 vectors not found at " ECCKEY_VECTORS_DIR "/rfc6979";
    const nlohmann::json doc = nlohmann::json::parse(in);
    int count = 0;
    for (const nlohmann::json &t : doc.at("tests")) {
        const std::string curve = t.at("curve"), d = t.at("d"),
                          what = curve + " " + t.at("hash").get<std::string>();
        EccKey key;
        LogRecorder log;
        ASSERT_TRUE(key.generateNewKey2(StringBuffer(curve.c_str()), d.c_str(), "hex", log)) << what;
        EXPECT_EQ(BN_cmp(bnOf(key.m_pubPoint.m_x).get(), bnOfHex(t.at("Qx")).get()), 0) << what;
        const Bytes h = unhex(t.at("digest"));
        int alg = HASH_SHA1;  // the file's hash, known by its length
        for (int each : {HASH_SHA224, HASH_SHA256, HASH_SHA384, HASH_SHA512})
            alg = _tvHash::hashLen(each) == h.size() ? each : alg;
        DataBuffer raw;
        ASSERT_TRUE(key.eccSignHashDeterministic(h.data(), (unsigned)h.size(), alg, false, raw, log))
            << what << log.errorText();
        const unsigned char *half = raw.getData2() + raw.getSize() / 2;
        BnPtr s = bnOfHex(t.at("s")), n = bnOfHex(key.m_curve.m_order.getString()), negS(BN_new());
        ASSERT_TRUE(BN_sub(negS.get(), n.get(), s.get()));
        const BIGNUM *want = curve == "secp256k1" && BN_cmp(negS.get(), s.get()) < 0 ? negS.get() : s.get();
        EXPECT_EQ(BN_cmp(bnOf(Bytes(raw.getData2(), half)).get(), bnOfHex(t.at("r")).get()), 0) << what;
        EXPECT_EQ(BN_cmp(bnOf(Bytes(half, raw.getData2() + raw.getSize())).get(), want), 0) << what;
        ++count;
    }
    EXPECT_EQ(count, 90);
}

}  // namespace
