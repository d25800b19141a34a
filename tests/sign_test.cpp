// ECDSA signing: DER, raw and SSH signatures checked by OpenSSL on all thirteen curves, the hash-length
// rule, the generic signer's leading-byte rule and retry loop (driven by scripted nonces whose expected
// signatures OpenSSL computes), the messages, and the TLS re-wrapping.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ecc/EcdsaSig.h"
#include "support/OsslKey.h"

using ecckey::DataBuffer;
using ecckey::EccKey;
using ecckey::LogRecorder;
using ecckey_test::BnPtr;
using ecckey_test::Bytes;
using ecckey_test::CurveInfo;
using ecckey_test::OsslEcKey;
using ecckey_test::ScriptedPrng;
using ecckey_test::TestPrng;
using ecckey_test::toBytes;

namespace {

const char *const kDigests[] = {"SHA1", "SHA256", "SHA384", "SHA512"};

Bytes prefix(const Bytes &b, size_t len) {
    return Bytes(b.begin(), b.begin() + std::min(len, b.size()));
}

bool sign(EccKey &key, const Bytes &hash, bool asn, ecckey::_tvPrng &prng, Bytes &out, LogRecorder &log) {
    DataBuffer db;
    bool ok = key.eccSignHash(hash.data(), (unsigned)hash.size(), prng, asn, db, log);
    out = toBytes(db);
    return ok;
}

// First byte of the minimal big-endian form of v.
int leadingByte(const BIGNUM *v) {
    return ecckey_test::bytesOf(v)[0];
}

bool passesLeadingByteRule(const BIGNUM *r, const BIGNUM *s) {
    return leadingByte(r) < 0x80 && leadingByte(s) < 0x80;
}

// Reads one SSH string at off; false when the blob is too short.
bool readSshString(const Bytes &blob, size_t &off, Bytes &out) {
    if (blob.size() - off < 4)
        return false;
    size_t len =
        (size_t)blob[off] << 24 | (size_t)blob[off + 1] << 16 | (size_t)blob[off + 2] << 8 | blob[off + 3];
    if (blob.size() - off - 4 < len)
        return false;
    out.assign(blob.begin() + off + 4, blob.begin() + off + 4 + len);
    off += 4 + len;
    return true;
}

// An SSH mpint of a positive value: no redundant leading zero, and a zero in front of a high first byte.
bool isPositiveSshMpint(const Bytes &c) {
    if (c.empty())
        return false;
    if (c[0] == 0x00)
        return c.size() > 1 && c[1] >= 0x80;
    return c[0] < 0x80;
}

class SignAllCurves : public ::testing::TestWithParam<CurveInfo> {
  protected:
    SignAllCurves() : m_prng(curveSeed(GetParam(), 0)), m_ossl(GetParam(), m_prng) {}
    void SetUp() override { m_ossl.loadPrivateInto(m_key); }

    const CurveInfo &curve() const { return GetParam(); }
    Bytes randomHash(const char *digest) { return ecckey_test::digestOf(digest, m_prng.bytes(40)); }

    TestPrng m_prng;
    OsslEcKey m_ossl;
    EccKey m_key;
};

class SignGenericCurves : public SignAllCurves {};

TEST_P(SignAllCurves, DerAndRawSignaturesVerifyInOpenSsl) {
    for (const char *digest : kDigests) {
        SCOPED_TRACE(digest);
        Bytes h = randomHash(digest);
        unsigned eLen = ecckey::ecdsaHashLen(curve().byteLen, (unsigned)h.size());
        LogRecorder log;
        Bytes der, raw;
        if (isK1(curve()) && h.size() < 32) {
            EXPECT_FALSE(sign(m_key, h, true, m_prng, der, log));
            EXPECT_TRUE(log.hasError("secp256k1 must use SHA256"));
            continue;
        }
        ASSERT_TRUE(sign(m_key, h, true, m_prng, der, log)) << log.toText();
        ASSERT_TRUE(sign(m_key, h, false, m_prng, raw, log)) << log.toText();

        // The same cut hash on both sides; with standard digests OpenSSL's own cut (by bits, to the
        // order's length) gives the same integer on every curve, so the whole digest verifies too.
        EXPECT_TRUE(m_ossl.verifyDer(prefix(h, eLen), der));
        EXPECT_TRUE(m_ossl.verifyDer(h, der));

        ASSERT_EQ(2u * curve().byteLen, raw.size());
        BnPtr r, s;
        ecckey_test::rsOfRaw(raw, r, s);
        EXPECT_TRUE(m_ossl.verifyRs(prefix(h, eLen), r.get(), s.get()));
        EXPECT_TRUE(log.errors().empty());
    }
}

TEST_P(SignAllCurves, SshBlobsUseTheWholeHashAndVerifyInOpenSsl) {
    for (const char *digest : kDigests) {
        SCOPED_TRACE(digest);
        Bytes h = randomHash(digest);
        LogRecorder log;
        DataBuffer out;
        out.append("AB", 2);  // appended to, never cleared
        ASSERT_TRUE(m_key.eccSignHash_forSsh(h.data(), (unsigned)h.size(), m_prng, out, log)) << log.toText();
        ASSERT_TRUE(m_key.eccSignHash_forSsh(h.data(), (unsigned)h.size(), m_prng, out, log)) << log.toText();
        EXPECT_FALSE(log.hasContext("eccSignHashK"));  // secp256k1 too is signed on the generic path

        Bytes blob = toBytes(out);
        ASSERT_EQ('A', blob[0]);
        ASSERT_EQ('B', blob[1]);
        size_t off = 2;
        for (int i = 0; i < 2; ++i) {
            Bytes rc, sc;
            ASSERT_TRUE(readSshString(blob, off, rc));
            ASSERT_TRUE(readSshString(blob, off, sc));
            EXPECT_TRUE(isPositiveSshMpint(rc));
            EXPECT_TRUE(isPositiveSshMpint(sc));
            BnPtr r = ecckey_test::bnOf(rc), s = ecckey_test::bnOf(sc);

            // e is the whole hash, unreduced; OpenSSL sees the same integer modulo n through a digest
            // no longer than the order.
            BnPtr e = ecckey_test::bnOf(h);
            BN_CTX *ctx = BN_CTX_new();
            BN_nnmod(e.get(), e.get(), m_ossl.order(), ctx);
            BN_CTX_free(ctx);
            Bytes der = ecckey_test::derOf(r.get(), s.get());
            EXPECT_TRUE(m_ossl.verifyDer(ecckey_test::bytesOf(e.get()), der));
            if (h.size() > (size_t)curve().byteLen && curve().byteLen < 64) {
                // Where eccSignHash would cut, the SSH signer does not.
                EXPECT_FALSE(m_ossl.verifyDer(prefix(h, curve().byteLen), der));
            }
        }
        EXPECT_EQ(blob.size(), off);  // two blobs, one after the other, nothing else
    }
}

TEST_P(SignGenericCurves, EveryRAndSBeginsBelow0x80) {
    for (int i = 0; i < ecckey_test::testIterations(4); ++i) {
        Bytes h = randomHash("SHA256"), der, raw;
        LogRecorder log;
        ASSERT_TRUE(sign(m_key, h, true, m_prng, der, log));
        ASSERT_TRUE(sign(m_key, h, false, m_prng, raw, log));
        BnPtr r, s;
        ASSERT_TRUE(ecckey_test::rsOf(der, r, s));
        EXPECT_TRUE(passesLeadingByteRule(r.get(), s.get()));
        // The DER INTEGERs therefore carry no sign octet.
        size_t o = der[1] < 0x80 ? 2 : 3;
        EXPECT_NE(0x00, der[o + 2]);
        EXPECT_NE(0x00, der[o + 2 + der[o + 1] + 2]);
        ecckey_test::rsOfRaw(raw, r, s);
        EXPECT_TRUE(passesLeadingByteRule(r.get(), s.get()));
    }
}

// Nonces whose signature OpenSSL computes beforehand, classified by the leading-byte rule.
struct Nonce {
    BnPtr k, r, s;
    Bytes bytes;  // as the generator serves them: m_byteLen bytes, big-endian
};

Nonce nonceFor(const OsslEcKey &key, TestPrng &prng, const BIGNUM *e) {
    for (;;) {
        Nonce n;
        n.k = ecckey_test::randomScalar(key.order(), prng);
        if (!key.signWithNonce(n.k.get(), e, n.r, n.s))
            continue;
        n.bytes = ecckey_test::bytesOf(n.k.get(), key.curve().byteLen);
        return n;
    }
}

// Signs h with the generator serving the rejected nonce first, then the good one: the signature is good's.
void expectSecondNonceUsed(EccKey &key, const CurveInfo &c, const Bytes &h, const Nonce &rejected,
                           const Nonce &good) {
    ScriptedPrng scripted;
    scripted.m_queue = rejected.bytes;
    scripted.m_queue.insert(scripted.m_queue.end(), good.bytes.begin(), good.bytes.end());
    scripted.m_failWhenEmpty = true;
    LogRecorder log;
    Bytes raw;
    ASSERT_TRUE(sign(key, h, false, scripted, raw, log)) << log.toText();
    EXPECT_EQ(2, scripted.m_calls);
    EXPECT_EQ(ecckey_test::rawOf(good.r.get(), good.s.get(), c.byteLen), raw);
}

TEST_P(SignGenericCurves, AttemptsFailingTheLeadingByteRuleAreDiscarded) {
    Bytes h = randomHash("SHA256");
    BnPtr e = ecckey_test::bnOf(prefix(h, ecckey::ecdsaHashLen(curve().byteLen, (unsigned)h.size())));
    // The rejected nonce fails on a leading byte of exactly 0x80, the rule's boundary.
    Nonce bad, good;
    do
        bad = nonceFor(m_ossl, m_prng, e.get());
    while (!(leadingByte(bad.r.get()) == 0x80 ||
             (leadingByte(bad.r.get()) < 0x80 && leadingByte(bad.s.get()) == 0x80)));
    do
        good = nonceFor(m_ossl, m_prng, e.get());
    while (!passesLeadingByteRule(good.r.get(), good.s.get()));

    expectSecondNonceUsed(m_key, curve(), h, bad, good);
}

TEST_P(SignGenericCurves, ZeroSIsRetriedWithTheNextNonce) {
    // With e = -d·r1 mod n the first nonce gives s = 0 exactly.
    Nonce first = nonceFor(m_ossl, m_prng, BN_value_one());
    BnPtr e(BN_new());
    BN_CTX *ctx = BN_CTX_new();
    BN_mod_mul(e.get(), m_ossl.priv(), first.r.get(), m_ossl.order(), ctx);
    BN_mod_sub(e.get(), m_ossl.order(), e.get(), m_ossl.order(), ctx);
    BN_CTX_free(ctx);
    Bytes h = ecckey_test::bytesOf(e.get(), curve().byteLen);  // eLen = byteLen: used whole

    Nonce good;
    do
        good = nonceFor(m_ossl, m_prng, e.get());
    while (!passesLeadingByteRule(good.r.get(), good.s.get()));
    expectSecondNonceUsed(m_key, curve(), h, first, good);
}

TEST_P(SignGenericCurves, PublicKeyCannotSign) {
    EccKey pub;
    m_ossl.loadPublicInto(pub);
    Bytes h = randomHash("SHA256"), out;
    TestPrng prng(1);
    LogRecorder log;
    EXPECT_FALSE(sign(pub, h, true, prng, out, log));
    EXPECT_EQ(std::vector<std::string>{"Must be a private key."}, log.errors());
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(0, prng.m_calls);  // refused before any random byte is drawn
}

TEST_P(SignAllCurves, PublicKeyCannotSignForSsh) {
    EccKey pub;
    m_ossl.loadPublicInto(pub);
    Bytes h = randomHash("SHA256");
    TestPrng prng(1);
    LogRecorder log;
    DataBuffer out;
    EXPECT_FALSE(pub.eccSignHash_forSsh(h.data(), (unsigned)h.size(), prng, out, log));
    EXPECT_EQ(std::vector<std::string>{"Must be a private key."}, log.errors());
    EXPECT_EQ(0, prng.m_calls);
}

TEST_P(SignGenericCurves, FailingGeneratorEndsTheLoop) {
    Bytes h = randomHash("SHA256"), out;
    ScriptedPrng failing;
    failing.m_failWhenEmpty = true;
    LogRecorder log;
    EXPECT_FALSE(sign(m_key, h, true, failing, out, log));
    // The ephemeral key's own messages stay out of the caller's log; ours come in this order.
    EXPECT_EQ(std::vector<std::string>{"Failed to generate point on curve."}, log.errors());
    std::string name;
    ASSERT_TRUE(log.dataValue("curveName", name));
    EXPECT_EQ(curve().name, name);
    size_t dataAt = 0, errorAt = 0;
    for (size_t i = 0; i < log.entries().size(); ++i) {
        if (log.entries()[i].name == "curveName")
            dataAt = i;
        if (log.entries()[i].kind == LogRecorder::Kind::Error)
            errorAt = i;
    }
    EXPECT_LT(dataAt, errorAt);

    LogRecorder sshLog;
    DataBuffer sshOut;
    ScriptedPrng failing2;
    failing2.m_failWhenEmpty = true;
    EXPECT_FALSE(m_key.eccSignHash_forSsh(h.data(), (unsigned)h.size(), failing2, sshOut, sshLog));
    EXPECT_EQ(std::vector<std::string>{"Failed to generate point on curve."}, sshLog.errors());
    EXPECT_TRUE(sshLog.hasContext("eccSignHash_forSsh"));
}

INSTANTIATE_TEST_SUITE_P(AllCurves, SignAllCurves, ::testing::ValuesIn(ecckey_test::allCurves()),
                         ecckey_test::curveParamName);
INSTANTIATE_TEST_SUITE_P(GenericCurves, SignGenericCurves, ::testing::ValuesIn(ecckey_test::genericCurves()),
                         ecckey_test::curveParamName);

// ---- Single-curve cases ----

class SignOn : public ::testing::Test {
  protected:
    void load(const char *curveName) {
        m_ossl.reset(new OsslEcKey(ecckey_test::curveInfo(curveName), m_prng));
        m_ossl->loadPrivateInto(m_key);
    }
    TestPrng m_prng{ecckey_test::testSeed() + 7};
    std::unique_ptr<OsslEcKey> m_ossl;
    EccKey m_key;
};

TEST_F(SignOn, P256CutsA64ByteHashTo32Bytes) {
    load("secp256r1");
    Bytes h = ecckey_test::digestOf("SHA512", m_prng.bytes(10)), der;
    LogRecorder log;
    ASSERT_TRUE(sign(m_key, h, true, m_prng, der, log));
    EXPECT_TRUE(m_ossl->verifyDer(prefix(h, 32), der));
    // Only the first 32 bytes count: another tail verifies too.
    Bytes other = h;
    for (size_t i = 32; i < other.size(); ++i)
        other[i] ^= 0x5A;
    bool valid = false;
    ASSERT_TRUE(m_key.eccVerifyHash(der.data(), (unsigned)der.size(), false, other.data(),
                                    (unsigned)other.size(), valid, log, 0));
    EXPECT_TRUE(valid);
}

TEST_F(SignOn, P521UsesA64ByteHashWhole) {
    load("secp521r1");
    Bytes h = ecckey_test::digestOf("SHA512", m_prng.bytes(10)), der;
    LogRecorder log;
    ASSERT_TRUE(sign(m_key, h, true, m_prng, der, log));
    EXPECT_TRUE(m_ossl->verifyDer(h, der));
    Bytes other = h;
    other.back() ^= 1;
    bool valid = true;
    ASSERT_TRUE(m_key.eccVerifyHash(der.data(), (unsigned)der.size(), false, other.data(),
                                    (unsigned)other.size(), valid, log, 0));
    EXPECT_FALSE(valid);
}

TEST_F(SignOn, VerboseDataItems) {
    load("secp256r1");
    Bytes h = ecckey_test::digestOf("SHA512", m_prng.bytes(10)), der, raw;
    LogRecorder log;
    log.m_verbose = true;
    ASSERT_TRUE(sign(m_key, h, true, m_prng, der, log));
    std::string v;
    ASSERT_TRUE(log.dataValue("bAsn", v));
    EXPECT_EQ("1", v);
    ASSERT_TRUE(log.dataValue("inlen", v));
    EXPECT_EQ("64", v);  // before cutting
    ASSERT_TRUE(log.dataValue("eccAsnSigLen", v));
    EXPECT_EQ(std::to_string(der.size()), v);

    LogRecorder rawLog;
    rawLog.m_verbose = true;
    ASSERT_TRUE(sign(m_key, h, false, m_prng, raw, rawLog));
    ASSERT_TRUE(rawLog.dataValue("bAsn", v));
    EXPECT_EQ("0", v);
    EXPECT_FALSE(rawLog.dataValue("eccAsnSigLen", v));

    LogRecorder quiet;
    ASSERT_TRUE(sign(m_key, h, true, m_prng, der, quiet));
    EXPECT_FALSE(quiet.dataValue("bAsn", v));
    EXPECT_FALSE(quiet.dataValue("inlen", v));
    EXPECT_FALSE(quiet.dataValue("eccAsnSigLen", v));
}

TEST_F(SignOn, P256RawPadsAShortRAndRejectsAShortROfHighLeadingByte) {
    load("secp256r1");
    Bytes h = ecckey_test::digestOf("SHA256", m_prng.bytes(10));
    BnPtr e = ecckey_test::bnOf(h);
    // Search nonces whose r is one byte short: one whose minimal form starts at 0x80 or above (rejected,
    // although its padded form would start with 0x00), one that passes the rule.
    Nonce shortHigh, shortOk;
    bool haveHigh = false, haveOk = false;
    for (int i = 0; i < 40000 && !(haveHigh && haveOk); ++i) {
        Nonce n = nonceFor(*m_ossl, m_prng, e.get());
        if (BN_num_bytes(n.r.get()) != 31)
            continue;
        if (!haveHigh && leadingByte(n.r.get()) >= 0x80) {
            shortHigh = std::move(n);
            haveHigh = true;
        } else if (!haveOk && passesLeadingByteRule(n.r.get(), n.s.get())) {
            shortOk = std::move(n);
            haveOk = true;
        }
    }
    ASSERT_TRUE(haveHigh && haveOk) << "no suitable nonces found";

    ScriptedPrng scripted;
    scripted.m_queue = shortHigh.bytes;
    scripted.m_queue.insert(scripted.m_queue.end(), shortOk.bytes.begin(), shortOk.bytes.end());
    scripted.m_failWhenEmpty = true;
    LogRecorder log;
    Bytes raw;
    ASSERT_TRUE(sign(m_key, h, false, scripted, raw, log));
    EXPECT_EQ(2, scripted.m_calls);
    ASSERT_EQ(64u, raw.size());
    EXPECT_EQ(0x00, raw[0]);
    EXPECT_EQ(ecckey_test::rawOf(shortOk.r.get(), shortOk.s.get(), 32), raw);
}

TEST_F(SignOn, Secp256k1CutsLongHashesAndRefusesShortOnes) {
    load("secp256k1");
    Bytes h48 = ecckey_test::digestOf("SHA384", m_prng.bytes(10)), der;
    LogRecorder log;
    ASSERT_TRUE(sign(m_key, h48, true, m_prng, der, log)) << log.toText();
    EXPECT_TRUE(log.hasContext("eccSignHashK"));
    EXPECT_TRUE(m_ossl->verifyDer(prefix(h48, 32), der));

    Bytes h20 = ecckey_test::digestOf("SHA1", m_prng.bytes(10));
    LogRecorder shortLog;
    EXPECT_FALSE(sign(m_key, h20, true, m_prng, der, shortLog));
    EXPECT_EQ(std::vector<std::string>{"secp256k1 must use SHA256"}, shortLog.errors());
    EXPECT_TRUE(der.empty());
}

TEST_F(SignOn, SshSignerKeepsHighLeadingBytes) {
    // No leading-byte rule on the SSH path: r or s at 0x80 and above comes out with its mpint sign octet.
    load("secp256r1");
    Bytes h = ecckey_test::digestOf("SHA256", m_prng.bytes(10));
    bool sawSignOctet = false;
    for (int i = 0; i < 64 && !sawSignOctet; ++i) {
        LogRecorder log;
        DataBuffer out;
        ASSERT_TRUE(m_key.eccSignHash_forSsh(h.data(), (unsigned)h.size(), m_prng, out, log));
        Bytes blob = toBytes(out), rc, sc;
        size_t off = 0;
        ASSERT_TRUE(readSshString(blob, off, rc));
        ASSERT_TRUE(readSshString(blob, off, sc));
        sawSignOctet = rc.size() == 33 || sc.size() == 33;
    }
    EXPECT_TRUE(sawSignOctet);
}

TEST_F(SignOn, NullHashFailsToGetE) {
    load("secp384r1");
    LogRecorder log;
    DataBuffer out;
    EXPECT_FALSE(m_key.eccSignHash(nullptr, 48, m_prng, true, out, log));
    EXPECT_EQ(std::vector<std::string>{"Failed to get e"}, log.errors());
}

// ---- TLS re-wrapping ----

Bytes wrap(const Bytes &sig, LogRecorder &log, bool &ok, const Bytes &already = Bytes()) {
    DataBuffer in, out;
    if (!sig.empty())
        in.append(sig.data(), (unsigned)sig.size());
    if (!already.empty())
        out.append(already.data(), (unsigned)already.size());
    ok = EccKey::eccWrapSigAsn_forTls(in, 0, out, log);
    return toBytes(out);
}

TEST(EccWrapSigAsnForTls, RawSignaturesBecomeStandardDer) {
    TestPrng prng(ecckey_test::testSeed() + 11);
    for (unsigned half : {24u, 32u, 48u, 64u, 66u}) {
        for (int i = 0; i < 8; ++i) {
            Bytes raw = prng.bytes(2 * half);
            if (i == 0)
                raw[0] = 0xFF, raw[half] = 0x80;  // both halves need a sign octet
            if (i == 1)
                raw[0] = 0x00, raw[1] = 0x00;  // a short r
            BnPtr r, s;
            ecckey_test::rsOfRaw(raw, r, s);
            LogRecorder log;
            bool ok = false;
            Bytes der = wrap(raw, log, ok);
            EXPECT_TRUE(ok);
            EXPECT_EQ(ecckey_test::derOf(r.get(), s.get()), der) << half;
            EXPECT_TRUE(log.errors().empty());
            EXPECT_TRUE(log.hasContext("eccWrapSigAsn_forTls"));
        }
    }
}

TEST(EccWrapSigAsnForTls, DerIsReencodedAndAppended) {
    TestPrng prng(ecckey_test::testSeed() + 13);
    Bytes raw = prng.bytes(64);
    raw[0] = 0x91;
    BnPtr r, s;
    ecckey_test::rsOfRaw(raw, r, s);
    Bytes der = ecckey_test::derOf(r.get(), s.get());
    LogRecorder log;
    bool ok = false;
    Bytes out = wrap(der, log, ok, {0xAA, 0xBB});
    EXPECT_TRUE(ok);
    Bytes expected = {0xAA, 0xBB};
    expected.insert(expected.end(), der.begin(), der.end());
    EXPECT_EQ(expected, out);
}

TEST(EccWrapSigAsnForTls, UnreadableInputStillEncodesZeroes) {
    LogRecorder log;
    log.m_verbose = true;
    bool ok = false;
    Bytes out = wrap(Bytes(56, 0x11), log, ok);
    EXPECT_TRUE(ok);  // the encoder's verdict
    EXPECT_EQ(std::vector<std::string>{"Unexpected size for R,S signature."}, log.errors());
    EXPECT_EQ((Bytes{0x30, 0x06, 0x02, 0x01, 0x00, 0x02, 0x01, 0x00}), out);
    std::string v;
    ASSERT_TRUE(log.dataValue("eccAsnSigLen", v));
    EXPECT_EQ("8", v);
}

}  // namespace
