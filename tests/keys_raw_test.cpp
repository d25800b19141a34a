// Raw keys: bare X9.63 public points, bare private scalars, keys from a curve name and a point, and the
// hexadecimal pair of toRawHex.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <string>

#include "support/OsslKey.h"
#include "support/TestPrng.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

std::string lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char ch) { return (char)std::tolower(ch); });
    return s;
}

bool isLowerHex(const std::string &s) {
    return std::all_of(s.begin(), s.end(),
                       [](char ch) { return (ch >= '0' && ch <= '9') || (ch >= 'a' && ch <= 'f'); });
}

struct RawCase {
    const char *curve;
    bool secp256k1Flag;
};

class RawPrivate : public ::testing::TestWithParam<RawCase> {};

// A raw scalar made by OpenSSL derives OpenSSL's point, on each curve a raw size selects.
TEST_P(RawPrivate, DerivesOpenSslPoint) {
    const CurveInfo &c = curveInfo(GetParam().curve);
    TestPrng rng(testSeed() ^ (std::uint64_t)c.nid);
    GroupPtr g = groupFor(c);
    for (int i = 0; i < testIterations(3); ++i) {
        BnPtr d = randomScalar(EC_GROUP_get0_order(g.get()), rng);
        DataBuffer raw = toDb(bytesOf(d.get(), c.byteLen));
        raw.setSensitive();
        EccKey key;
        LogRecorder log;
        ASSERT_TRUE(key.loadEccPrivateRaw(raw, GetParam().secp256k1Flag, log)) << log.toText();
        EXPECT_TRUE(key.m_curve.m_name.equals(c.name));
        EXPECT_EQ(key.m_keyType, 1);
        EXPECT_EQ(hexOf(key.m_privKey), hexOf(d.get()));
        EXPECT_EQ(pointOf(key.m_pubPoint, c.byteLen), opensslPublicPoint(c, d.get()));
        EXPECT_TRUE(log.hasContext("loadEccPrivateRaw"));
        EXPECT_TRUE(log.errors().empty());
    }
}

// The key pair OpenSSL generated itself, loaded from its raw scalar.
TEST_P(RawPrivate, OpenSslKeyPairLoads) {
    const CurveInfo &c = curveInfo(GetParam().curve);
    PkeyPtr ossl = evpGenerate(c);
    ASSERT_TRUE(ossl);
    BnPtr d = osslPrivScalar(ossl.get());
    EccKey key;
    LogNull log;
    ASSERT_TRUE(key.loadEccPrivateRaw(toDb(bytesOf(d.get(), c.byteLen)), GetParam().secp256k1Flag, log));
    EXPECT_EQ(pointOf(key.m_pubPoint, c.byteLen), osslPubPoint(ossl.get()));
}

INSTANTIATE_TEST_SUITE_P(RawSizes, RawPrivate,
                         ::testing::Values(RawCase{"secp256r1", false}, RawCase{"secp384r1", false},
                                           RawCase{"secp521r1", false}, RawCase{"secp256k1", true},
                                           // The flag only matters for 32 bytes.
                                           RawCase{"secp384r1", true}, RawCase{"secp521r1", true}),
                         [](const ::testing::TestParamInfo<RawCase> &i) {
                             return std::string(i.param.curve) + (i.param.secp256k1Flag ? "_flag" : "");
                         });

TEST(LoadEccPrivateRaw, ThirtyTwoBytesSelectByFlag) {
    Bytes d(32, 0);
    d[31] = 9;
    EccKey key;
    LogNull log;
    ASSERT_TRUE(key.loadEccPrivateRaw(toDb(d), false, log));
    EXPECT_TRUE(key.m_curve.m_name.equals("secp256r1"));
    ASSERT_TRUE(key.loadEccPrivateRaw(toDb(d), true, log));
    EXPECT_TRUE(key.m_curve.m_name.equals("secp256k1"));
}

// A refused size keeps the scalar it read, with no curve loaded.
TEST(LoadEccPrivateRaw, UnknownSizeIsRefused) {
    Bytes d(64, 0x01);
    EccKey key;
    LogRecorder log;
    EXPECT_FALSE(key.loadEccPrivateRaw(toDb(d), false, log));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Invalid ECC key size."});
    EXPECT_EQ(key.m_curve.m_byteLen, 0);
    EXPECT_EQ(key.m_keyType, 0);
    EXPECT_NE(hexOf(key.m_privKey), "0");

    LogRecorder empty;
    EXPECT_FALSE(key.loadEccPrivateRaw(DataBuffer(), true, empty));
    EXPECT_EQ(empty.errors(), std::vector<std::string>{"Invalid ECC key size."});
}

// No range check against n: a P-256 scalar above n is reduced by the derivation.
TEST(LoadEccPrivateRaw, ScalarAboveOrderIsReducedByDerivation) {
    Bytes d(32, 0xFF);
    EccKey key;
    LogNull log;
    ASSERT_TRUE(key.loadEccPrivateRaw(toDb(d), false, log));
    GroupPtr g = groupFor(curveInfo("secp256r1"));
    BnPtr all(BN_bin2bn(d.data(), 32, nullptr));
    BnPtr reduced(BN_new());
    BN_CTX *ctx = BN_CTX_new();
    BN_mod(reduced.get(), all.get(), EC_GROUP_get0_order(g.get()), ctx);
    BN_CTX_free(ctx);
    EXPECT_EQ(hexOf(key.m_privKey), hexOf(reduced.get()));
}

// ---- raw public keys ----

class RawPublic : public ::testing::TestWithParam<const char *> {};

TEST_P(RawPublic, LoadsBySize) {
    const CurveInfo &c = curveInfo(GetParam());
    TestPrng rng(testSeed() ^ (std::uint64_t)c.nid);
    GroupPtr g = groupFor(c);
    BnPtr d = randomScalar(EC_GROUP_get0_order(g.get()), rng);
    Bytes pt = opensslPublicPoint(c, d.get());
    EccKey key;
    LogRecorder log;
    ASSERT_TRUE(key.loadEccPublicRaw(toDb(pt), log)) << log.toText();
    EXPECT_TRUE(key.m_curve.m_name.equals(c.name));
    EXPECT_EQ(key.m_keyType, 0);
    EXPECT_EQ(pointOf(key.m_pubPoint, c.byteLen), pt);
    EXPECT_TRUE(log.hasContext("_loadEccPublicRaw"));
    DataBuffer out;
    ASSERT_TRUE(key.exportEccPoint(out, log));
    EXPECT_TRUE(out.equals(pt.data(), (unsigned)pt.size()));
}

INSTANTIATE_TEST_SUITE_P(RawSizes, RawPublic, ::testing::Values("secp256r1", "secp384r1", "secp521r1"));

// There is no flag on the public side: a secp256k1 point of 65 bytes is taken as P-256.
TEST(LoadEccPublicRaw, Secp256k1PointLoadsAsP256) {
    const CurveInfo &k1 = curveInfo("secp256k1");
    BnPtr d(BN_new());
    BN_set_word(d.get(), 12345);
    EccKey key;
    LogNull log;
    ASSERT_TRUE(key.loadEccPublicRaw(toDb(opensslPublicPoint(k1, d.get())), log));
    EXPECT_TRUE(key.m_curve.m_name.equals("secp256r1"));
}

TEST(LoadEccPublicRaw, Refusals) {
    EccKey key;
    LogRecorder empty;
    EXPECT_FALSE(key.loadEccPublicRaw(DataBuffer(), empty));
    EXPECT_TRUE(empty.errors().empty());

    Bytes compressed(33, 0x01);
    compressed[0] = 0x02;
    LogRecorder notRaw;
    EXPECT_FALSE(key.loadEccPublicRaw(toDb(compressed), notRaw));
    EXPECT_EQ(notRaw.errors(), std::vector<std::string>{"Not a raw ECC public key."});

    Bytes p224(57, 0x01);  // a P-224 sized point: not one of the three raw sizes
    p224[0] = 0x04;
    LogRecorder badSize;
    EXPECT_FALSE(key.loadEccPublicRaw(toDb(p224), badSize));
    EXPECT_EQ(badSize.errors(), std::vector<std::string>{"Invalid ECC public key size."});
}

// ---- public key from a curve name and a point ----

TEST(LoadEcPubKeyByCurveAndPoint, AliasOrOidText) {
    const CurveInfo &c = curveInfo("secp384r1");
    BnPtr d(BN_new());
    BN_set_word(d.get(), 99);
    Bytes pt = opensslPublicPoint(c, d.get());
    for (const char *name : {"P-384", "nistp384", "1.3.132.0.34"}) {
        EccKey key;
        LogRecorder log;
        ASSERT_TRUE(key.loadEcPubKeyByCurveAndPoint(name, toDb(pt), log)) << name;
        EXPECT_TRUE(key.m_curve.m_name.equals("secp384r1"));
        EXPECT_EQ(key.m_keyType, 0);
        EXPECT_EQ(pointOf(key.m_pubPoint, 48), pt);
        EXPECT_TRUE(log.hasContext("loadEcPubKeyByCurveAndPoint"));
    }
}

// The point is not checked against the curve.
TEST(LoadEcPubKeyByCurveAndPoint, OffCurvePointLoads) {
    Bytes pt(65, 0x01);
    pt[0] = 0x04;
    EccKey key;
    LogNull log;
    EXPECT_TRUE(key.loadEcPubKeyByCurveAndPoint("brainpoolp256r1", toDb(pt), log));
}

TEST(LoadEcPubKeyByCurveAndPoint, Failures) {
    Bytes pt(65, 0x01);
    pt[0] = 0x04;
    EccKey key;
    LogRecorder unknown;
    EXPECT_FALSE(key.loadEcPubKeyByCurveAndPoint("x25519", toDb(pt), unknown));
    EXPECT_EQ(unknown.errors(),
              (std::vector<std::string>{"Unsupported ECDSA curve.", "Unsupported ECC curve.."}));

    LogRecorder badPoint;
    EXPECT_FALSE(key.loadEcPubKeyByCurveAndPoint("secp256r1", toDb(Bytes{0x04}), badPoint));
    EXPECT_EQ(badPoint.errors(),
              (std::vector<std::string>{"Invalid ANSI X9.63 ECC point.", "Failed to load ECC point."}));
    // The curve loaded before the point failed stays.
    EXPECT_TRUE(key.m_curve.m_name.equals("secp256r1"));

    LogRecorder nullName;
    EXPECT_FALSE(key.loadEcPubKeyByCurveAndPoint(nullptr, toDb(pt), nullName));
    EXPECT_FALSE(nullName.errors().empty());
}

// ---- toRawHex ----

TEST(ToRawHex, P256PrivateKeyLengthsAndCase) {
    const CurveInfo &c = curveInfo("secp256r1");
    TestPrng rng(testSeed() + 31);
    GroupPtr g = groupFor(c);
    BnPtr d = randomScalar(EC_GROUP_get0_order(g.get()), rng);
    EccKey key;
    LogNull log;
    ASSERT_TRUE(key.loadEccPrivateRaw(toDb(bytesOf(d.get(), 32)), false, log));

    StringBuffer priv;
    StringBuffer pub;
    ASSERT_TRUE(key.toRawHex(priv, pub, log));
    std::string privText = priv.getString();
    std::string pubText = pub.getString();
    EXPECT_EQ(privText.size(), 64u);
    EXPECT_EQ(pubText.size(), 130u);
    EXPECT_TRUE(isLowerHex(privText));
    EXPECT_TRUE(isLowerHex(pubText));
    EXPECT_EQ(privText, lower(bnHex(d.get(), 32)));
    Bytes pt = opensslPublicPoint(c, d.get());
    EXPECT_EQ(pubText, lower(hexOf(pt.data(), pt.size())));
}

// A public key yields a private part of zeros; both texts are appended to what the caller had.
TEST(ToRawHex, PublicKeyGivesZeroPrivatePartAndAppends) {
    const CurveInfo &c = curveInfo("secp521r1");
    BnPtr d(BN_new());
    BN_set_word(d.get(), 3);
    Bytes pt = opensslPublicPoint(c, d.get());
    EccKey key;
    LogNull log;
    ASSERT_TRUE(key.loadEccPublicRaw(toDb(pt), log));

    StringBuffer priv("P:");
    StringBuffer pub("Q:");
    ASSERT_TRUE(key.toRawHex(priv, pub, log));
    EXPECT_EQ(std::string(priv.getString()), "P:" + std::string(132, '0'));
    EXPECT_EQ(std::string(pub.getString()), "Q:" + lower(hexOf(pt.data(), pt.size())));
}

}  // namespace
