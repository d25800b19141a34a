// ECDSA verification: OpenSSL's signatures (DER and raw) verify here on all thirteen curves, tampering is
// caught, and the generic verifier's failures carry their exact messages and "EccVerifyError" codes.
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
using ecckey_test::TestPrng;

namespace {

const char *const kDigests[] = {"SHA1", "SHA256", "SHA384", "SHA512"};

// Runs eccVerifyHash; ran is its result, the verdict is returned.
bool verify(EccKey &key, const Bytes &sig, const Bytes &hash, bool &ran, LogRecorder &log, bool split = false,
            unsigned rLen = 0) {
    bool valid = true;
    ran = key.eccVerifyHash(sig.empty() ? nullptr : sig.data(), (unsigned)sig.size(), split,
                            hash.empty() ? nullptr : hash.data(), (unsigned)hash.size(), valid, log, rLen);
    if (!ran) {
        EXPECT_FALSE(valid) << "a failed verification must leave valid false";
    }
    return valid;
}

std::string dataOf(const LogRecorder &log, const char *name) {
    std::string v;
    return log.dataValue(name, v) ? v : std::string("<absent>");
}

// The raw sizes the reader splits without help.
bool rawSizeKnown(size_t len) {
    return len == 48 || len == 64 || len == 96 || len == 128 || len == 132;
}

class VerifyAllCurves : public ::testing::TestWithParam<CurveInfo> {
  protected:
    VerifyAllCurves() : m_prng(curveSeed(GetParam(), 0x5bd1e995)), m_ossl(GetParam(), m_prng) {}
    void SetUp() override { m_ossl.loadPublicInto(m_key); }
    const CurveInfo &curve() const { return GetParam(); }

    TestPrng m_prng;
    OsslEcKey m_ossl;
    EccKey m_key;
};

TEST_P(VerifyAllCurves, OpenSslSignaturesVerify) {
    for (const char *digest : kDigests) {
        SCOPED_TRACE(digest);
        Bytes h = ecckey_test::digestOf(digest, m_prng.bytes(33));
        Bytes der = m_ossl.signDer(h);  // OpenSSL cuts h by bits; the module by bytes, to the same integer
        LogRecorder log;
        bool ran = false;
        if (isK1(curve()) && h.size() < 32) {
            EXPECT_FALSE(verify(m_key, der, h, ran, log));
            EXPECT_FALSE(ran);
            EXPECT_EQ(std::vector<std::string>{"hash length must be 32"}, log.errors());
            continue;
        }
        EXPECT_TRUE(verify(m_key, der, h, ran, log)) << log.toText();
        EXPECT_TRUE(ran);

        BnPtr r, s;
        ASSERT_TRUE(ecckey_test::rsOf(der, r, s));
        Bytes raw = ecckey_test::rawOf(r.get(), s.get(), curve().byteLen);
        bool known = rawSizeKnown(raw.size());
        EXPECT_TRUE(verify(m_key, raw, h, ran, log, !known, known ? 0 : curve().byteLen)) << log.toText();
        EXPECT_TRUE(log.errors().empty()) << log.toText();

        // Tampering with the hash, r or s is caught as a verdict.
        Bytes badHash = h;
        badHash[0] ^= 0x01;
        EXPECT_FALSE(verify(m_key, der, badHash, ran, log));
        EXPECT_TRUE(ran);
        Bytes badRaw = raw;
        badRaw[raw.size() - 1] ^= 0x01;
        EXPECT_FALSE(verify(m_key, badRaw, h, ran, log, !known, known ? 0 : curve().byteLen));
        EXPECT_TRUE(ran);
    }
}

TEST_P(VerifyAllCurves, AnotherKeysSignatureIsInvalid) {
    TestPrng other(curveSeed(curve(), 0x5bd1e995) + 1);
    OsslEcKey stranger(curve(), other);
    Bytes h = ecckey_test::digestOf("SHA256", m_prng.bytes(5));
    LogRecorder log;
    bool ran = false;
    EXPECT_FALSE(verify(m_key, stranger.signDer(h), h, ran, log));
    EXPECT_TRUE(ran);
}

INSTANTIATE_TEST_SUITE_P(AllCurves, VerifyAllCurves, ::testing::ValuesIn(ecckey_test::allCurves()),
                         ecckey_test::curveParamName);

// ---- Generic verifier edge cases ----

class VerifyOn : public ::testing::Test {
  protected:
    void load(const char *curveName) {
        m_ossl.reset(new OsslEcKey(ecckey_test::curveInfo(curveName), m_prng));
        m_ossl->loadPublicInto(m_key);
        m_hash = ecckey_test::digestOf("SHA256", m_prng.bytes(20));
    }
    BnPtr order() const { return BnPtr(BN_dup(m_ossl->order())); }
    Bytes sigOf(const BIGNUM *r, const BIGNUM *s) const { return ecckey_test::derOf(r, s); }

    TestPrng m_prng{ecckey_test::testSeed() + 17};
    std::unique_ptr<OsslEcKey> m_ossl;
    EccKey m_key;
    Bytes m_hash;
};

TEST_F(VerifyOn, OutOfRangeRAndSAreErrorOne) {
    load("secp256r1");
    BnPtr n = order(), one(BN_new()), zero(BN_new()), nPlus(BN_dup(m_ossl->order()));
    BN_one(one.get());
    BN_zero(zero.get());
    BN_add_word(nPlus.get(), 5);
    const BIGNUM *cases[][2] = {{n.get(), one.get()},    {one.get(), n.get()},     {zero.get(), one.get()},
                                {one.get(), zero.get()}, {nPlus.get(), one.get()}, {one.get(), nPlus.get()}};
    for (auto &c : cases) {
        LogRecorder log;  // not verbose: the code is logged anyway
        bool ran = true;
        EXPECT_FALSE(verify(m_key, sigOf(c[0], c[1]), m_hash, ran, log));
        EXPECT_FALSE(ran);
        EXPECT_EQ("1", dataOf(log, "EccVerifyError"));
        EXPECT_TRUE(log.errors().empty());
    }
}

TEST_F(VerifyOn, SumAtInfinityIsErrorEleven) {
    // With e = -r·d mod n, u1·G + u2·Q = w·(e + r·d)·G is the point at infinity.
    load("brainpoolp384r1");
    EccKey priv;
    m_ossl->loadPrivateInto(priv);
    BnPtr r = ecckey_test::bnOf(m_prng.bytes(40)), s = ecckey_test::bnOf(m_prng.bytes(40)), e(BN_new());
    BN_CTX *ctx = BN_CTX_new();
    BN_mod_mul(e.get(), r.get(), m_ossl->priv(), m_ossl->order(), ctx);
    BN_mod_sub(e.get(), m_ossl->order(), e.get(), m_ossl->order(), ctx);
    BN_CTX_free(ctx);
    LogRecorder log;
    bool ran = true;
    EXPECT_FALSE(verify(m_key, sigOf(r.get(), s.get()), ecckey_test::bytesOf(e.get(), 48), ran, log));
    EXPECT_FALSE(ran);
    EXPECT_EQ("11", dataOf(log, "EccVerifyError"));
}

TEST_F(VerifyOn, NullInputs) {
    load("secp384r1");
    Bytes der = m_ossl->signDer(m_hash);
    for (int i = 0; i < 3; ++i) {
        LogRecorder log;
        bool valid = true;
        bool ran =
            m_key.eccVerifyHash(i == 0 ? nullptr : der.data(), i == 1 ? 0 : (unsigned)der.size(), false,
                                i == 2 ? nullptr : m_hash.data(), (unsigned)m_hash.size(), valid, log, 0);
        EXPECT_FALSE(ran);
        EXPECT_FALSE(valid);
        EXPECT_EQ(std::vector<std::string>{"null inputs."}, log.errors());
    }
}

TEST_F(VerifyOn, UnreadableSignature) {
    load("secp224r1");
    Bytes r = ecckey_test::bytesOf(m_ossl->order()), raw = r;
    raw.insert(raw.end(), r.begin(), r.end());  // 56 bytes: not a size the reader knows
    LogRecorder log;
    bool ran = true;
    EXPECT_FALSE(verify(m_key, raw, m_hash, ran, log));
    EXPECT_FALSE(ran);
    EXPECT_EQ((std::vector<std::string>{"Unexpected size for R,S signature.",
                                        "Failed to unpack ASN.1 DSA/ECDSA signature."}),
              log.errors());
}

TEST_F(VerifyOn, P224RawNeedsTheSplit) {
    load("secp224r1");
    BnPtr r, s;
    ASSERT_TRUE(ecckey_test::rsOf(m_ossl->signDer(m_hash), r, s));
    Bytes raw = ecckey_test::rawOf(r.get(), s.get(), 28);
    LogRecorder log;
    bool ran = false;
    EXPECT_FALSE(verify(m_key, raw, m_hash, ran, log));
    EXPECT_FALSE(ran);
    EXPECT_TRUE(verify(m_key, raw, m_hash, ran, log, true, 28));
    EXPECT_TRUE(ran);
}

TEST_F(VerifyOn, CurveTextsThatDoNotParse) {
    load("brainpoolp256r1");
    Bytes der = m_ossl->signDer(m_hash);
    {
        EccKey k;
        m_ossl->loadPublicInto(k);
        k.m_curve.m_order.setString("XYZ");
        LogRecorder log;
        bool ran = true;
        verify(k, der, m_hash, ran, log);
        EXPECT_EQ(std::vector<std::string>{"Failed to decode curve order."}, log.errors());
    }
    {
        EccKey k;
        m_ossl->loadPublicInto(k);
        k.m_curve.m_p.setString("XYZ");
        LogRecorder log;
        bool ran = true;
        verify(k, der, m_hash, ran, log);
        EXPECT_EQ(std::vector<std::string>{"Failed to decode curve prime."}, log.errors());
    }
    {
        EccKey k;
        m_ossl->loadPublicInto(k);
        k.m_curve.m_a.setString("XYZ");
        LogRecorder log;
        bool ran = true;
        verify(k, der, m_hash, ran, log);
        EXPECT_FALSE(ran);
        EXPECT_EQ(std::vector<std::string>{"Failed to decode curve A."}, log.errors());
        EXPECT_EQ("<absent>", dataOf(log, "EccVerifyError"));
    }
}

TEST_F(VerifyOn, P256AcceptsA64ByteHashCutTo32) {
    load("secp256r1");
    Bytes h = ecckey_test::digestOf("SHA512", m_prng.bytes(3));
    Bytes der = m_ossl->signDer(Bytes(h.begin(), h.begin() + 32));
    LogRecorder log;
    bool ran = false;
    EXPECT_TRUE(verify(m_key, der, h, ran, log));
}

TEST_F(VerifyOn, Secp256k1GoesToTheEngineWithTheCutHash) {
    load("secp256k1");
    Bytes h = ecckey_test::digestOf("SHA384", m_prng.bytes(3));
    Bytes der = m_ossl->signDer(h);
    LogRecorder log;
    bool ran = false;
    EXPECT_TRUE(verify(m_key, der, h, ran, log));
    EXPECT_TRUE(log.hasContext("eccVerifyHashK"));
    EXPECT_EQ("1", dataOf(log, "sigValid"));
}

TEST_F(VerifyOn, PublicPointIsTrustedAsLoaded) {
    // The generic path does not check the point against the curve: an off-curve point gives some verdict,
    // never a crash.
    load("secp256r1");
    Bytes der = m_ossl->signDer(m_hash);
    ecckey::TovarMp::mp_set(m_key.m_pubPoint.m_y, 5);
    LogRecorder log;
    bool ran = false;
    EXPECT_FALSE(verify(m_key, der, m_hash, ran, log));
}

}  // namespace
