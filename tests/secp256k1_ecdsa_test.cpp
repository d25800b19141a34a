// The secp256k1 signer and verifier of the fixed-width engine: exact signatures for scripted nonces
// (little-endian nonce bytes, low S), the 100-attempt limit, leading bytes of 0x80 and above, and the
// verifier's verdicts for out-of-range values and bad public points.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/OsslKey.h"

using ecckey::DataBuffer;
using ecckey::EccKey;
using ecckey::LogRecorder;
using ecckey_test::BnPtr;
using ecckey_test::Bytes;
using ecckey_test::OsslEcKey;
using ecckey_test::ScriptedPrng;
using ecckey_test::TestPrng;

namespace {

Bytes toBytes(const DataBuffer &db) {
    return Bytes(db.getData2(), db.getData2() + db.getSize());
}

std::string dataOf(const LogRecorder &log, const char *name) {
    std::string v;
    return log.dataValue(name, v) ? v : std::string("<absent>");
}

// The 32 bytes a generator must serve for nonce k: least significant first.
Bytes littleEndian(const BIGNUM *k) {
    Bytes b = ecckey_test::bytesOf(k, 32);
    std::reverse(b.begin(), b.end());
    return b;
}

class Secp256k1Ecdsa : public ::testing::Test {
  protected:
    Secp256k1Ecdsa()
        : m_prng(ecckey_test::testSeed() + 23), m_ossl(ecckey_test::curveInfo("secp256k1"), m_prng) {}
    void SetUp() override {
        m_ossl.loadPrivateInto(m_priv);
        m_ossl.loadPublicInto(m_pub);
        m_hash = ecckey_test::digestOf("SHA256", m_prng.bytes(30));
    }
    const BIGNUM *n() const { return m_ossl.order(); }

    BnPtr randomK() { return ecckey_test::randomScalar(n(), m_prng); }

    // The expected low-S signature for nonce k over m_hash.
    void expected(const BIGNUM *k, BnPtr &r, BnPtr &s) {
        BnPtr e = ecckey_test::bnOf(m_hash);
        ASSERT_TRUE(m_ossl.signWithNonce(k, e.get(), r, s));
        BnPtr half(BN_dup(n()));
        BN_rshift1(half.get(), half.get());
        if (BN_cmp(s.get(), half.get()) > 0)
            BN_sub(s.get(), n(), s.get());
    }

    bool signK(ecckey::_tvPrng &prng, bool asn, Bytes &out, LogRecorder &log, const Bytes *hash = nullptr) {
        const Bytes &h = hash ? *hash : m_hash;
        DataBuffer db;
        bool ok = m_priv.eccSignHashK(h.empty() ? nullptr : h.data(), (unsigned)h.size(), prng, asn, db, log);
        out = toBytes(db);
        return ok;
    }

    bool verifyK(const Bytes &sig, bool &valid, LogRecorder &log, EccKey *key = nullptr) {
        valid = true;
        EccKey &k = key ? *key : m_pub;
        return k.eccVerifyHashK(sig.data(), (unsigned)sig.size(), false, m_hash.data(),
                                (unsigned)m_hash.size(), valid, log, 0);
    }

    TestPrng m_prng;
    OsslEcKey m_ossl;
    EccKey m_priv, m_pub;
    Bytes m_hash;
};

TEST_F(Secp256k1Ecdsa, ScriptedNonceGivesTheExpectedLowSSignature) {
    for (int i = 0; i < ecckey_test::testIterations(8); ++i) {
        BnPtr k = randomK(), r, s;
        expected(k.get(), r, s);
        ScriptedPrng scripted;
        scripted.m_queue = littleEndian(k.get());
        scripted.m_failWhenEmpty = true;
        LogRecorder log;
        Bytes raw;
        ASSERT_TRUE(signK(scripted, false, raw, log)) << log.toText();
        EXPECT_EQ(1, scripted.m_calls);
        EXPECT_EQ(ecckey_test::rawOf(r.get(), s.get(), 32), raw);

        ScriptedPrng again;
        again.m_queue = littleEndian(k.get());
        Bytes der;
        ASSERT_TRUE(signK(again, true, der, log));
        EXPECT_EQ(ecckey_test::derOf(r.get(), s.get()), der);
        EXPECT_TRUE(m_ossl.verifyDer(m_hash, der));
    }
}

TEST_F(Secp256k1Ecdsa, EverySignatureIsLowSAndHighSStillVerifies) {
    BnPtr half(BN_dup(n()));
    BN_rshift1(half.get(), half.get());  // (n - 1) / 2
    for (int i = 0; i < ecckey_test::testIterations(8); ++i) {
        LogRecorder log;
        Bytes raw;
        ASSERT_TRUE(signK(m_prng, false, raw, log));
        ASSERT_EQ(64u, raw.size());
        BnPtr r, s;
        ecckey_test::rsOfRaw(raw, r, s);
        EXPECT_LE(BN_cmp(s.get(), half.get()), 0);
        EXPECT_TRUE(m_ossl.verifyRs(m_hash, r.get(), s.get()));

        bool valid = false;
        ASSERT_TRUE(verifyK(raw, valid, log));
        EXPECT_TRUE(valid);
        BnPtr highS(BN_new());
        BN_sub(highS.get(), n(), s.get());
        ASSERT_TRUE(verifyK(ecckey_test::rawOf(r.get(), highS.get(), 32), valid, log));
        EXPECT_TRUE(valid);
    }
}

TEST_F(Secp256k1Ecdsa, LeadingBytesOf0x80AndAboveAreKept) {
    BnPtr k, r, s;
    do {
        k = randomK();
        expected(k.get(), r, s);
    } while (BN_num_bits(r.get()) != 256);
    ScriptedPrng scripted;
    Bytes kLe = littleEndian(k.get());
    scripted.m_queue = kLe;
    scripted.m_queue.insert(scripted.m_queue.end(), kLe.begin(), kLe.end());
    LogRecorder log;
    Bytes raw, der;
    ASSERT_TRUE(signK(scripted, false, raw, log));
    EXPECT_GE(raw[0], 0x80);
    ASSERT_TRUE(signK(scripted, true, der, log));
    EXPECT_EQ(2, scripted.m_calls);  // no attempt was thrown away
    EXPECT_EQ(0x00, der[4]);         // standard DER: a sign octet in front of r
    EXPECT_TRUE(m_ossl.verifyDer(m_hash, der));
}

TEST_F(Secp256k1Ecdsa, ZeroNonceGeneratorGivesUpSilentlyAfter100Requests) {
    ScriptedPrng zeros;  // serves zero bytes forever
    LogRecorder log;
    Bytes out;
    EXPECT_FALSE(signK(zeros, true, out, log));
    EXPECT_EQ(100, zeros.m_calls);
    EXPECT_TRUE(log.errors().empty());
    EXPECT_TRUE(log.infos().empty());
    EXPECT_TRUE(out.empty());
}

TEST_F(Secp256k1Ecdsa, NoncesNotBelowTheOrderAreRejected) {
    ScriptedPrng ones;
    ones.m_fill = 0xFF;
    LogRecorder log;
    Bytes out;
    EXPECT_FALSE(signK(ones, false, out, log));
    EXPECT_EQ(100, ones.m_calls);

    ScriptedPrng order;
    Bytes nLe = littleEndian(n());
    for (int i = 0; i < 100; ++i)
        order.m_queue.insert(order.m_queue.end(), nLe.begin(), nLe.end());
    order.m_failWhenEmpty = true;
    EXPECT_FALSE(signK(order, false, out, log));
    EXPECT_EQ(100, order.m_calls);
    EXPECT_TRUE(log.errors().empty());
}

TEST_F(Secp256k1Ecdsa, ARejectedNonceIsFollowedByTheNext) {
    BnPtr k = randomK(), r, s;
    expected(k.get(), r, s);
    ScriptedPrng scripted;
    scripted.m_queue.assign(32, 0x00);  // k = 0 first
    Bytes good = littleEndian(k.get());
    scripted.m_queue.insert(scripted.m_queue.end(), good.begin(), good.end());
    scripted.m_failWhenEmpty = true;
    LogRecorder log;
    Bytes raw;
    ASSERT_TRUE(signK(scripted, false, raw, log));
    EXPECT_EQ(2, scripted.m_calls);
    EXPECT_EQ(ecckey_test::rawOf(r.get(), s.get(), 32), raw);
}

TEST_F(Secp256k1Ecdsa, FailingGenerator) {
    ScriptedPrng failing;
    failing.m_failWhenEmpty = true;
    LogRecorder log;
    Bytes out;
    EXPECT_FALSE(signK(failing, true, out, log));
    EXPECT_EQ(1, failing.m_calls);
    EXPECT_EQ(std::vector<std::string>{"Failed to generate random nonce."}, log.errors());
}

TEST_F(Secp256k1Ecdsa, OnlyA32ByteHashIsSigned) {
    for (size_t len : {31u, 33u, 20u, 48u}) {
        Bytes h = m_prng.bytes((unsigned)len), out;
        TestPrng prng(3);
        LogRecorder log;
        EXPECT_FALSE(signK(prng, true, out, log, &h)) << len;
        EXPECT_EQ(std::vector<std::string>{"secp256k1 must use SHA256"}, log.errors());
        EXPECT_EQ(0, prng.m_calls);
        EXPECT_TRUE(log.hasContext("eccSignHashK"));
    }
    TestPrng prng(3);
    LogRecorder log;
    DataBuffer out;
    EXPECT_FALSE(m_priv.eccSignHashK(nullptr, 32, prng, true, out, log));
    EXPECT_TRUE(log.errors().empty());
}

TEST_F(Secp256k1Ecdsa, VerboseSignatureLength) {
    LogRecorder log;
    log.m_verbose = true;
    Bytes der;
    ASSERT_TRUE(signK(m_prng, true, der, log));
    EXPECT_EQ(std::to_string(der.size()), dataOf(log, "eccAsnSigLen"));
}

TEST_F(Secp256k1Ecdsa, OutOfRangeValuesAreAnInvalidVerdict) {
    BnPtr nn(BN_dup(n())), one(BN_new()), zero(BN_new()), nPlus(BN_dup(n()));
    BN_one(one.get());
    BN_zero(zero.get());
    BN_add_word(nPlus.get(), 1);
    const BIGNUM *cases[][2] = {{zero.get(), one.get()}, {one.get(), zero.get()},  {nn.get(), one.get()},
                                {one.get(), nn.get()},   {nPlus.get(), one.get()}, {one.get(), nPlus.get()}};
    for (auto &c : cases) {
        LogRecorder log;
        bool valid = true;
        EXPECT_TRUE(verifyK(ecckey_test::rawOf(c[0], c[1], 32), valid, log));
        EXPECT_FALSE(valid);
        EXPECT_EQ("0", dataOf(log, "sigValid"));
        EXPECT_TRUE(log.errors().empty());
    }
}

TEST_F(Secp256k1Ecdsa, ValuesWiderThan256BitsCannotBeExamined) {
    BnPtr big(BN_new()), one(BN_new());
    BN_set_bit(big.get(), 256);
    BN_one(one.get());
    LogRecorder log;
    bool valid = true;
    EXPECT_FALSE(verifyK(ecckey_test::derOf(big.get(), one.get()), valid, log));
    EXPECT_FALSE(valid);
    EXPECT_EQ("<absent>", dataOf(log, "sigValid"));
    EXPECT_TRUE(log.errors().empty());
}

TEST_F(Secp256k1Ecdsa, BadPublicPointIsAnInvalidVerdict) {
    Bytes der = m_ossl.signDer(m_hash);
    EccKey off;
    m_ossl.loadPublicInto(off);
    ecckey::mp_int one;
    ecckey::TovarMp::mp_set(one, 1);
    ecckey::TovarMp::mp_add(off.m_pubPoint.m_y, one, off.m_pubPoint.m_y);
    LogRecorder log;
    bool valid = true;
    EXPECT_TRUE(verifyK(der, valid, log, &off));
    EXPECT_FALSE(valid);
    EXPECT_EQ("0", dataOf(log, "sigValid"));
    EXPECT_TRUE(log.errors().empty());

    EccKey zero;
    m_ossl.loadPublicInto(zero);
    ecckey::TovarMp::mp_zero(zero.m_pubPoint.m_x);
    ecckey::TovarMp::mp_zero(zero.m_pubPoint.m_y);
    EXPECT_TRUE(verifyK(der, valid, log, &zero));
    EXPECT_FALSE(valid);
}

TEST_F(Secp256k1Ecdsa, GoodSignatureLogsSigValid) {
    Bytes der = m_ossl.signDer(m_hash);
    LogRecorder log;
    bool valid = false;
    EXPECT_TRUE(verifyK(der, valid, log));
    EXPECT_TRUE(valid);
    EXPECT_EQ("1", dataOf(log, "sigValid"));
    EXPECT_TRUE(log.hasContext("eccVerifyHashK"));
}

TEST_F(Secp256k1Ecdsa, VerifierInputErrors) {
    Bytes der = m_ossl.signDer(m_hash);
    bool valid = true;
    {
        LogRecorder log;
        EXPECT_FALSE(
            m_pub.eccVerifyHashK(der.data(), (unsigned)der.size(), false, m_hash.data(), 31, valid, log, 0));
        EXPECT_EQ(std::vector<std::string>{"hash length must be 32"}, log.errors());
    }
    {
        LogRecorder log;
        EXPECT_FALSE(m_pub.eccVerifyHashK(nullptr, 0, false, m_hash.data(), 32, valid, log, 0));
        EXPECT_EQ(std::vector<std::string>{"null inputs."}, log.errors());
    }
    {
        // Through the generic entry: handed over before any input check.
        LogRecorder log;
        EXPECT_FALSE(
            m_pub.eccVerifyHash(der.data(), (unsigned)der.size(), false, nullptr, 32, valid, log, 0));
        EXPECT_EQ(std::vector<std::string>{"null inputs."}, log.errors());
        EXPECT_TRUE(log.hasContext("eccVerifyHashK"));
    }
    {
        LogRecorder log;
        Bytes junk(10, 0x42);
        EXPECT_FALSE(m_pub.eccVerifyHashK(junk.data(), 10, false, m_hash.data(), 32, valid, log, 0));
        EXPECT_EQ((std::vector<std::string>{"Unexpected size for R,S signature.",
                                            "Failed to unpack ASN.1 DSA/ECC signature."}),
                  log.errors());
    }
    EXPECT_FALSE(valid);
}

}  // namespace

// A public-only key once "signed" with d = 0 through the secp256k1 hand-off and returned true.
TEST_F(Secp256k1Ecdsa, PublicKeyIsRefusedBeforeAnyNonceIsDrawn) {
    for (bool viaGeneric : {false, true}) {
        TestPrng prng(5);
        LogRecorder log;
        DataBuffer out;
        bool ok = viaGeneric
                      ? m_pub.eccSignHash(m_hash.data(), (unsigned)m_hash.size(), prng, true, out, log)
                      : m_pub.eccSignHashK(m_hash.data(), (unsigned)m_hash.size(), prng, true, out, log);
        EXPECT_FALSE(ok);
        EXPECT_EQ(std::vector<std::string>{"Must be a private key."}, log.errors());
        EXPECT_EQ(0, prng.m_calls);
        EXPECT_EQ(0u, out.getSize());
    }
}
