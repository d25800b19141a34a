// Key generation from a random source and from encoded text.

#include <gtest/gtest.h>

#include <string>

#include "support/OsslKey.h"
#include "support/TestPrng.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

// Records whether the buffer it is asked to fill is already marked sensitive.
class SensitivityProbe : public _tvPrng {
  public:
    bool genRandom(unsigned count, DataBuffer &out, LogBase &) override {
        m_sawSensitive = out.isSensitive();
        m_count = count;
        std::vector<unsigned char> b(count, 0x42);
        return out.append(b.data(), count);
    }
    bool m_sawSensitive = false;
    unsigned m_count = 0;
};

// Reports success but delivers one byte less than asked.
class ShortPrng : public _tvPrng {
  public:
    bool genRandom(unsigned count, DataBuffer &out, LogBase &) override {
        std::vector<unsigned char> b(count, 0x11);
        return out.append(b.data(), count - 1);
    }
};

class GenerateAllCurves : public ::testing::TestWithParam<CurveInfo> {};

// One request of exactly the curve's byte length (66 for P-521, 20 for brainpoolP160r1); the key is a
// consistent pair by OpenSSL's arithmetic, and a generic-curve scalar is below n.
TEST_P(GenerateAllCurves, DrawsByteLenBytesAndMakesAConsistentPair) {
    const CurveInfo &c = GetParam();
    TestPrng rng(testSeed() ^ (std::uint64_t)c.nid);
    EccKey key;
    LogRecorder log;
    ASSERT_TRUE(key.generateNewKey(StringBuffer(c.name), rng, log)) << log.toText();
    EXPECT_EQ(rng.m_calls, 1);
    EXPECT_EQ(rng.m_bytesServed, (unsigned)c.byteLen);
    EXPECT_EQ(key.m_keyType, 1);
    EXPECT_TRUE(key.m_curve.m_name.equals(c.name));
    EXPECT_TRUE(log.errors().empty());
    EXPECT_TRUE(log.hasContext("generateNewKey_ecc"));

    BnPtr d = toBn(key.m_privKey);
    EXPECT_EQ(pointOf(key.m_pubPoint, c.byteLen), opensslPublicPoint(c, d.get()));
    if (std::string(c.name) != "secp256k1") {
        BnPtr n = orderOf(c);
        EXPECT_LT(BN_cmp(d.get(), n.get()), 0);
    }
}

TEST_P(GenerateAllCurves, RandomBytesGoToASensitiveBuffer) {
    const CurveInfo &c = GetParam();
    SensitivityProbe probe;
    EccKey key;
    LogNull log;
    ASSERT_TRUE(key.generateNewKey(StringBuffer(c.name), probe, log));
    EXPECT_TRUE(probe.m_sawSensitive);
    EXPECT_EQ(probe.m_count, (unsigned)c.byteLen);
}

// The drawn bytes are the scalar (reduced modulo n on generic curves only).
TEST_P(GenerateAllCurves, ScalarIsTheDrawnBytes) {
    const CurveInfo &c = GetParam();
    ScriptedPrng prng;
    prng.m_fill = 0xFF;
    EccKey key;
    LogNull log;
    ASSERT_TRUE(key.generateNewKey(StringBuffer(c.name), prng, log));

    std::vector<unsigned char> ones(c.byteLen, 0xFF);
    BnPtr drawn(BN_bin2bn(ones.data(), c.byteLen, nullptr));
    BnPtr n = orderOf(c);
    BnPtr reduced(BN_new());
    BN_CTX *ctx = BN_CTX_new();
    BN_mod(reduced.get(), drawn.get(), n.get(), ctx);
    BN_CTX_free(ctx);

    bool engine = std::string(c.name) == "secp256k1";
    EXPECT_EQ(hexOf(key.m_privKey), hexOf(engine ? drawn.get() : reduced.get()));
    EXPECT_EQ(pointOf(key.m_pubPoint, c.byteLen), opensslPublicPoint(c, reduced.get()));
}

// generateNewKey2 accepts any catalogue name, alias or OID text; the stored name is the canonical one.
TEST_P(GenerateAllCurves, FromOidTextAndBase64) {
    const CurveInfo &c = GetParam();
    EccKey key;
    LogRecorder log;
    // 0x0102030405 in base64
    ASSERT_TRUE(key.generateNewKey2(StringBuffer(c.oid), "AQIDBAU=", "base64", log)) << log.toText();
    EXPECT_TRUE(key.m_curve.m_name.equals(c.name));
    EXPECT_EQ(hexOf(key.m_privKey), "102030405");
    EXPECT_TRUE(log.hasContext("generateNewKey2_ecc"));
}

INSTANTIATE_TEST_SUITE_P(AllCurves, GenerateAllCurves, ::testing::ValuesIn(allCurves()), curveParamName);

TEST(GenerateNewKey, AliasLoadsCanonicalCurve) {
    TestPrng rng(testSeed());
    EccKey key;
    LogNull log;
    ASSERT_TRUE(key.generateNewKey(StringBuffer(" P-256 "), rng, log));
    EXPECT_TRUE(key.m_curve.m_name.equals("secp256r1"));
}

TEST(GenerateNewKey, UnknownCurveAddsItsOwnMessage) {
    TestPrng rng(testSeed());
    EccKey key;
    LogRecorder log;
    EXPECT_FALSE(key.generateNewKey(StringBuffer("curve25519"), rng, log));
    EXPECT_EQ(log.errors(), (std::vector<std::string>{"Unsupported ECDSA curve.", "Unsupported ECC curve..",
                                                      "Failed to load curve by name."}));
    EXPECT_EQ(rng.m_calls, 0);
}

TEST(GenerateNewKey, GeneratorFailure) {
    ScriptedPrng prng;
    prng.m_failWhenEmpty = true;
    EccKey key;
    LogRecorder log;
    EXPECT_FALSE(key.generateNewKey(StringBuffer("secp384r1"), prng, log));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Failed to generate random private key."});
}

TEST(GenerateNewKey, ShortDeliveryCountsAsGeneratorFailure) {
    ShortPrng prng;
    EccKey key;
    LogRecorder log;
    EXPECT_FALSE(key.generateNewKey(StringBuffer("secp256r1"), prng, log));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Failed to generate random private key."});
}

// A failure leaves the key cleared first: an earlier private key does not survive it.
TEST(GenerateNewKey, FailureLeavesNoEarlierKey) {
    TestPrng rng(testSeed());
    EccKey key;
    LogNull log;
    ASSERT_TRUE(key.generateNewKey(StringBuffer("secp256r1"), rng, log));
    EXPECT_FALSE(key.generateNewKey(StringBuffer("nope"), rng, log));
    EXPECT_EQ(hexOf(key.m_privKey), "0");
    EXPECT_EQ(hexOf(key.m_pubPoint.m_x), "0");
    EXPECT_EQ(key.m_curve.m_byteLen, 0);
}

TEST(GenerateNewKey2, UnknownCurveLogsOnlyTheCatalogue) {
    EccKey key;
    LogRecorder log;
    EXPECT_FALSE(key.generateNewKey2(StringBuffer("ed25519"), "01", "hex", log));
    EXPECT_EQ(log.errors(),
              (std::vector<std::string>{"Unsupported ECDSA curve.", "Unsupported ECC curve.."}));
}

TEST(GenerateNewKey2, UndecodableScalar) {
    EccKey key;
    LogRecorder log;
    EXPECT_FALSE(key.generateNewKey2(StringBuffer("secp256r1"), "zz", "hex", log));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Failed to decode K."});

    LogRecorder log2;
    EXPECT_FALSE(key.generateNewKey2(StringBuffer("secp256r1"), "01", "no-such-encoding", log2));
    EXPECT_EQ(log2.errors(), std::vector<std::string>{"Failed to decode K."});

    LogRecorder log3;
    EXPECT_FALSE(key.generateNewKey2(StringBuffer("secp256r1"), nullptr, "hex", log3));
    EXPECT_EQ(log3.errors(), std::vector<std::string>{"Failed to decode K."});
}

// An empty text decodes to no bytes: the scalar is zero, which on a generic curve gives G.
TEST(GenerateNewKey2, EmptyScalarIsZero) {
    const CurveInfo &c = curveInfo("secp224r1");
    EccKey key;
    LogRecorder log;
    ASSERT_TRUE(key.generateNewKey2(StringBuffer(c.name), "", "hex", log)) << log.toText();
    EXPECT_EQ(hexOf(key.m_privKey), "0");
    BnPtr one(BN_new());
    BN_one(one.get());
    EXPECT_EQ(pointOf(key.m_pubPoint, c.byteLen), opensslPublicPoint(c, one.get()));
}

}  // namespace
