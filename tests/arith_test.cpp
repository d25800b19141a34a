// The generic arithmetic against OpenSSL on the twelve curves it serves: k·G through the ladder and
// u1·G + u2·Q through the joint-table double multiplication, random and edge scalars.
#include <gtest/gtest.h>

#include <string>

#include "ecc/arith/EccArith.h"
#include "support/ArithCurve.h"
#include "support/Oracle.h"
#include "support/TestPrng.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

struct BnCtxFree {
    void operator()(BN_CTX *c) const { BN_CTX_free(c); }
};

class ArithOracleTest : public ::testing::TestWithParam<CurveInfo> {
  protected:
    void SetUp() override {
        ASSERT_TRUE(m_curve.load(GetParam().nid));
        m_group = groupFor(GetParam());
        ASSERT_TRUE(m_group);
        m_ctx.reset(BN_CTX_new());
        // Each curve gets its own stream so that a failure replays with one curve filtered.
        m_prng =
            std::make_unique<TestPrng>(testSeed() ^ (std::uint64_t)GetParam().nid * 0x9E3779B97F4A7C15ull);
    }

    BnPtr randomBelowOrder() { return randomScalar(EC_GROUP_get0_order(m_group.get()), *m_prng.get()); }

    // "X,Y" of an OpenSSL point in upper-case hex; "infinity" for the point at infinity.
    std::string affineOf(const EC_POINT *pt) {
        if (EC_POINT_is_at_infinity(m_group.get(), pt))
            return "infinity";
        BnPtr x(BN_new()), y(BN_new());
        EXPECT_TRUE(EC_POINT_get_affine_coordinates(m_group.get(), pt, x.get(), y.get(), m_ctx.get()));
        return hexOf(x.get()) + "," + hexOf(y.get());
    }

    // "X,Y" of an affine result; the Z coordinate must be the plain 1.
    std::string affineOf(const EccPoint &pt) {
        EXPECT_EQ(hexOf(pt.m_z), "1");
        return hexOf(pt.m_x) + "," + hexOf(pt.m_y);
    }

    // OpenSSL's g·G + q·Q (either term may be absent).
    std::string opensslMul(const BIGNUM *g, const EC_POINT *Q, const BIGNUM *q) {
        PointPtr r(EC_POINT_new(m_group.get()));
        EXPECT_TRUE(EC_POINT_mul(m_group.get(), r.get(), g, Q, q, m_ctx.get()));
        return affineOf(r.get());
    }

    // OpenSSL point from an affine EccPoint.
    PointPtr opensslPoint(const EccPoint &pt) {
        PointPtr r(EC_POINT_new(m_group.get()));
        BnPtr x(toBn(pt.m_x)), y(toBn(pt.m_y));
        EXPECT_TRUE(EC_POINT_set_affine_coordinates(m_group.get(), r.get(), x.get(), y.get(), m_ctx.get()));
        return r;
    }

    // Our k·G; "failed" when pointMult_tmr returns false.
    std::string ourMul(const BIGNUM *k) {
        mp_int kk;
        fromBn(k, kk);
        EccPoint R;
        LogNull log;
        if (!pointMult_tmr(kk, m_curve.G, R, m_curve.aArg(), m_curve.p, 1, log))
            return "failed";
        EXPECT_EQ(R.m_format, 4);
        return affineOf(R);
    }

    // Our kA·A + kB·B through mul2add; "failed" when it returns false.
    std::string ourMul2(EccPoint &A, const BIGNUM *kA, EccPoint &B, const BIGNUM *kB) {
        mp_int ka, kb;
        fromBn(kA, ka);
        fromBn(kB, kb);
        EccPoint R;
        LogNull log;
        if (!EccKey::mul2add(A, ka, B, kb, R, m_curve.aArg(), m_curve.p, log))
            return "failed";
        return affineOf(R);
    }

    // A random public point d·G (affine, normal form) for mul2add's second term.
    void randomPoint(EccPoint &Q) {
        BnPtr d = randomBelowOrder();
        PointPtr pt(EC_POINT_new(m_group.get()));
        ASSERT_TRUE(EC_POINT_mul(m_group.get(), pt.get(), d.get(), nullptr, nullptr, m_ctx.get()));
        BnPtr x(BN_new()), y(BN_new());
        ASSERT_TRUE(EC_POINT_get_affine_coordinates(m_group.get(), pt.get(), x.get(), y.get(), m_ctx.get()));
        fromBn(x.get(), Q.m_x);
        fromBn(y.get(), Q.m_y);
        TovarMp::mp_set(Q.m_z, 1);
    }

    BnPtr bnOfHex(const char *hex) {
        BIGNUM *b = nullptr;
        BN_hex2bn(&b, hex);
        return BnPtr(b);
    }

    ArithCurve m_curve;
    GroupPtr m_group;
    std::unique_ptr<BN_CTX, BnCtxFree> m_ctx;
    std::unique_ptr<TestPrng> m_prng;
};

TEST_P(ArithOracleTest, RandomScalarTimesGeneratorMatchesOpenssl) {
    const int iterations = testIterations(50);
    for (int i = 0; i < iterations; ++i) {
        BnPtr k = randomBelowOrder();
        ASSERT_EQ(ourMul(k.get()), opensslMul(k.get(), nullptr, nullptr)) << "k=" << hexOf(k.get());
    }
}

TEST_P(ArithOracleTest, EdgeScalarsTimesGeneratorMatchOpenssl) {
    const BIGNUM *n = EC_GROUP_get0_order(m_group.get());
    std::vector<BnPtr> scalars;
    scalars.push_back(bnOfHex("1"));
    scalars.push_back(bnOfHex("2"));
    scalars.push_back(bnOfHex("3"));
    BnPtr nMinus1(BN_dup(n));
    BN_sub_word(nMinus1.get(), 1);
    scalars.push_back(std::move(nMinus1));
    BnPtr nMinus2(BN_dup(n));
    BN_sub_word(nMinus2.get(), 2);
    scalars.push_back(std::move(nMinus2));
    // One full 60-bit digit, then the first two-digit values: a top digit that is nearly all leading zeros.
    scalars.push_back(bnOfHex("FFFFFFFFFFFFFFF"));
    scalars.push_back(bnOfHex("1000000000000000"));
    scalars.push_back(bnOfHex("1000000000000001"));
    // A full-length scalar with its top byte cleared, and one with fewer digits than the order.
    BnPtr shortened = randomBelowOrder();
    BN_mask_bits(shortened.get(), BN_num_bits(n) - 8);
    scalars.push_back(std::move(shortened));
    BnPtr fewDigits = randomBelowOrder();
    BN_mask_bits(fewDigits.get(), 100);
    scalars.push_back(std::move(fewDigits));
    for (const BnPtr &k : scalars) {
        if (BN_is_zero(k.get()))
            continue;
        EXPECT_EQ(ourMul(k.get()), opensslMul(k.get(), nullptr, nullptr)) << "k=" << hexOf(k.get());
    }
}

TEST_P(ArithOracleTest, ZeroTimesGeneratorIsTheGenerator) {
    mp_int k;
    EccPoint R;
    LogNull log;
    ASSERT_TRUE(pointMult_tmr(k, m_curve.G, R, m_curve.aArg(), m_curve.p, 0, log));
    EXPECT_EQ(affineOf(R), affineOf(m_curve.G));
}

TEST_P(ArithOracleTest, OrderTimesGeneratorFails) {
    // The last ladder step adds M0 to M1 = −M0 with different Z: the general formula gives Z = 0.
    BnPtr n(BN_dup(EC_GROUP_get0_order(m_group.get())));
    EXPECT_EQ(ourMul(n.get()), "failed");
}

TEST_P(ArithOracleTest, LadderLeavesGeneratorAloneAndResultMayAliasIt) {
    BnPtr k = randomBelowOrder();
    mp_int kk;
    fromBn(k.get(), kk);
    const std::string g = affineOf(m_curve.G);
    m_curve.G.m_format = 6;  // a hybrid-read point: the result is still reported uncompressed
    EccPoint R;
    LogNull log;
    ASSERT_TRUE(pointMult_tmr(kk, m_curve.G, R, m_curve.aArg(), m_curve.p, 0, log));
    EXPECT_EQ(affineOf(m_curve.G), g);
    EXPECT_EQ(m_curve.G.m_format, 6);
    EXPECT_EQ(R.m_format, 4);

    EccPoint G2;
    ASSERT_TRUE(G2.copyFromEccPoint(m_curve.G));
    ASSERT_TRUE(pointMult_tmr(kk, G2, G2, m_curve.aArg(), m_curve.p, 0, log));
    EXPECT_EQ(affineOf(G2), affineOf(R));
}

TEST_P(ArithOracleTest, RandomDoubleMultiplicationMatchesOpenssl) {
    const int iterations = testIterations(50);
    for (int i = 0; i < iterations; ++i) {
        BnPtr u1 = randomBelowOrder();
        BnPtr u2 = randomBelowOrder();
        EccPoint Q;
        randomPoint(Q);
        PointPtr q = opensslPoint(Q);
        ASSERT_EQ(ourMul2(m_curve.G, u1.get(), Q, u2.get()), opensslMul(u1.get(), q.get(), u2.get()))
            << "u1=" << hexOf(u1.get()) << " u2=" << hexOf(u2.get()) << " Q.x=" << hexOf(Q.m_x);
    }
}

TEST_P(ArithOracleTest, DoubleMultiplicationWithOneScalarZero) {
    BnPtr zero(BN_new());
    BN_zero(zero.get());
    BnPtr u = randomBelowOrder();
    EccPoint Q;
    randomPoint(Q);
    PointPtr q = opensslPoint(Q);
    // Only the T[4j] (or T[i]) column of the table is used.
    EXPECT_EQ(ourMul2(m_curve.G, zero.get(), Q, u.get()), opensslMul(nullptr, q.get(), u.get()));
    EXPECT_EQ(ourMul2(m_curve.G, u.get(), Q, zero.get()), opensslMul(u.get(), nullptr, nullptr));
}

TEST_P(ArithOracleTest, DoubleMultiplicationAlignsAShorterScalarOnTheRight) {
    BnPtr u1 = randomBelowOrder();
    BnPtr u2 = randomBelowOrder();
    BN_mask_bits(u2.get(), 37);  // five bytes against a full-length u1
    BnPtr one = bnOfHex("1");
    EccPoint Q;
    randomPoint(Q);
    PointPtr q = opensslPoint(Q);
    EXPECT_EQ(ourMul2(m_curve.G, u1.get(), Q, u2.get()), opensslMul(u1.get(), q.get(), u2.get()));
    EXPECT_EQ(ourMul2(m_curve.G, u2.get(), Q, u1.get()), opensslMul(u2.get(), q.get(), u1.get()));
    EXPECT_EQ(ourMul2(m_curve.G, one.get(), Q, u1.get()), opensslMul(one.get(), q.get(), u1.get()));
}

TEST_P(ArithOracleTest, DoubleMultiplicationResultMayAliasAnInput) {
    BnPtr u1 = randomBelowOrder();
    BnPtr u2 = randomBelowOrder();
    EccPoint Q;
    randomPoint(Q);
    PointPtr q = opensslPoint(Q);
    const std::string expected = opensslMul(u1.get(), q.get(), u2.get());
    mp_int k1, k2;
    fromBn(u1.get(), k1);
    fromBn(u2.get(), k2);
    LogNull log;

    EccPoint A;
    ASSERT_TRUE(A.copyFromEccPoint(m_curve.G));
    A.m_format = 7;
    ASSERT_TRUE(EccKey::mul2add(A, k1, Q, k2, A, m_curve.aArg(), m_curve.p, log));
    EXPECT_EQ(affineOf(A), expected);
    EXPECT_EQ(A.m_format, 7);  // never written

    EccPoint B;
    ASSERT_TRUE(B.copyFromEccPoint(Q));
    ASSERT_TRUE(EccKey::mul2add(m_curve.G, k1, B, k2, B, m_curve.aArg(), m_curve.p, log));
    EXPECT_EQ(affineOf(B), expected);
}

TEST_P(ArithOracleTest, DoubleMultiplicationScalarLengthLimit) {
    // 2^2047 + 1 (256 bytes) is accepted and reduces like any other multiple; 2^2048 (257 bytes) is not.
    BnPtr big(BN_new()), tooBig(BN_new()), reduced(BN_new());
    BN_set_bit(big.get(), 2047);
    BN_set_bit(big.get(), 0);
    BN_set_bit(tooBig.get(), 2048);
    ASSERT_EQ(BN_num_bytes(big.get()), 256);
    ASSERT_EQ(BN_num_bytes(tooBig.get()), 257);
    BN_nnmod(reduced.get(), big.get(), EC_GROUP_get0_order(m_group.get()), m_ctx.get());
    BnPtr u = randomBelowOrder();
    EccPoint Q;
    randomPoint(Q);
    PointPtr q = opensslPoint(Q);

    EXPECT_EQ(ourMul2(m_curve.G, big.get(), Q, u.get()), opensslMul(reduced.get(), q.get(), u.get()));
    EXPECT_EQ(ourMul2(m_curve.G, u.get(), Q, big.get()), opensslMul(u.get(), q.get(), reduced.get()));
    EXPECT_EQ(ourMul2(m_curve.G, tooBig.get(), Q, u.get()), "failed");
    EXPECT_EQ(ourMul2(m_curve.G, u.get(), Q, tooBig.get()), "failed");
}

TEST_P(ArithOracleTest, DoubleMultiplicationWithBothScalarsZeroMapsTheEntryValue) {
    mp_int zero;
    EccPoint R;  // X = Y = Z = 0: the point at infinity as the formulas leave it
    LogNull log;
    EXPECT_FALSE(EccKey::mul2add(m_curve.G, zero, m_curve.G, zero, R, m_curve.aArg(), m_curve.p, log));
}

INSTANTIATE_TEST_SUITE_P(AllCurves, ArithOracleTest, ::testing::ValuesIn(genericCurves()), curveParamName);

}  // namespace
