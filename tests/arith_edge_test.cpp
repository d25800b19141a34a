// The degenerate cases of the point formulas, and every sum and doubling on small curves against naive
// affine arithmetic, so that a wrong formula line cannot hide behind random testing.
#include <gtest/gtest.h>

#include <string>

#include "ecc/arith/EccArith.h"
#include "support/ArithCurve.h"
#include "support/Oracle.h"
#include "support/TestPrng.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

// The Montgomery state of a modulus, as the multiplications set it up.
struct Montgomery {
    MpDigit digit = 0;
    mp_int mu;
    explicit Montgomery(const mp_int &p) {
        EXPECT_EQ(TovarMp::mp_montgomery_setup(p, digit), 0);
        EXPECT_EQ(TovarMp::mp_montgomery_normalization(mu, p), 0);
    }
};

// out = (x·z², y·z³, z) in Montgomery form: the affine point (x, y) with Jacobian Z = z.
void toJacobian(const mp_int &x, const mp_int &y, const mp_int &z, const mp_int &p, const Montgomery &m,
                EccPoint &out) {
    mp_int z2, z3;
    ASSERT_EQ(TovarMp::mp_mulmod(z, z, p, z2), 0);
    ASSERT_EQ(TovarMp::mp_mulmod(z2, z, p, z3), 0);
    ASSERT_EQ(TovarMp::mp_mulmod(x, z2, p, out.m_x), 0);
    ASSERT_EQ(TovarMp::mp_mulmod(out.m_x, m.mu, p, out.m_x), 0);
    ASSERT_EQ(TovarMp::mp_mulmod(y, z3, p, out.m_y), 0);
    ASSERT_EQ(TovarMp::mp_mulmod(out.m_y, m.mu, p, out.m_y), 0);
    ASSERT_EQ(TovarMp::mp_mulmod(z, m.mu, p, out.m_z), 0);
}

// −P with the same Z: (X, p − Y, Z).
void negate(const EccPoint &P, const mp_int &p, EccPoint &out) {
    ASSERT_TRUE(out.copyFromEccPoint(P));
    ASSERT_EQ(TovarMp::mp_sub(p, P.m_y, out.m_y), 0);
}

// "X,Y,Z" of the raw coordinates (after mapPointBack: the affine point and Z = 1).
std::string coordsOf(const EccPoint &pt) {
    return hexOf(pt.m_x) + "," + hexOf(pt.m_y) + "," + hexOf(pt.m_z);
}

class ArithEdgeTest : public ::testing::TestWithParam<CurveInfo> {
  protected:
    void SetUp() override {
        ASSERT_TRUE(m_curve.load(GetParam().nid));
        m_group = groupFor(GetParam());
        m_mont = std::make_unique<Montgomery>(m_curve.p);
        m_prng = std::make_unique<TestPrng>(testSeed() ^ (std::uint64_t)GetParam().nid);
    }

    // A random non-zero field element, used as a Jacobian Z.
    void randomZ(mp_int &z) {
        BnPtr pz(toBn(m_curve.p));
        BnPtr r = randomScalar(pz.get(), *m_prng.get());
        fromBn(r.get(), z);
    }

    // G in Jacobian Montgomery form with a random Z.
    void jacobianG(EccPoint &out) {
        mp_int z;
        randomZ(z);
        toJacobian(m_curve.G.m_x, m_curve.G.m_y, z, m_curve.p, *m_mont, out);
    }

    // OpenSSL's k·G as "X,Y,1".
    std::string opensslTimesG(const BIGNUM *k) {
        PointPtr r(EC_POINT_new(m_group.get()));
        BnPtr x(BN_new()), y(BN_new());
        EXPECT_TRUE(EC_POINT_mul(m_group.get(), r.get(), k, nullptr, nullptr, nullptr));
        EXPECT_TRUE(EC_POINT_get_affine_coordinates(m_group.get(), r.get(), x.get(), y.get(), nullptr));
        return hexOf(x.get()) + "," + hexOf(y.get()) + ",1";
    }

    ArithCurve m_curve;
    GroupPtr m_group;
    std::unique_ptr<Montgomery> m_mont;
    std::unique_ptr<TestPrng> m_prng;
};

TEST_P(ArithEdgeTest, AddingAPointToItselfIsExactlyDoubling) {
    EccPoint P, copy, D, S1, S2;
    jacobianG(P);
    ASSERT_TRUE(copy.copyFromEccPoint(P));
    ASSERT_TRUE(pointDouble(P, D, m_curve.aArg(), m_curve.p, m_mont->digit));
    ASSERT_TRUE(pointAdd(P, P, S1, m_curve.aArg(), m_curve.p, m_mont->digit));
    ASSERT_TRUE(pointAdd(P, copy, S2, m_curve.aArg(), m_curve.p, m_mont->digit));
    EXPECT_EQ(coordsOf(S1), coordsOf(D));
    EXPECT_EQ(coordsOf(S2), coordsOf(D));
    ASSERT_TRUE(mapPointBack(D, m_curve.p, m_mont->digit));
    BnPtr two(BN_new());
    BN_set_word(two.get(), 2);
    EXPECT_EQ(coordsOf(D), opensslTimesG(two.get()));
}

TEST_P(ArithEdgeTest, AddingTheNegativeWithEqualZGivesTwiceThePoint) {
    EccPoint P, N, D, S;
    jacobianG(P);
    negate(P, m_curve.p, N);
    ASSERT_TRUE(pointDouble(P, D, m_curve.aArg(), m_curve.p, m_mont->digit));
    ASSERT_TRUE(pointAdd(P, N, S, m_curve.aArg(), m_curve.p, m_mont->digit));
    EXPECT_EQ(coordsOf(S), coordsOf(D));  // 2P, not the point at infinity
}

TEST_P(ArithEdgeTest, EqualOrOppositePointsWithDifferentZGiveZeroZ) {
    EccPoint P, P2, N2, S, T;
    jacobianG(P);
    jacobianG(P2);
    ASSERT_NE(hexOf(P.m_z), hexOf(P2.m_z));
    negate(P2, m_curve.p, N2);
    ASSERT_TRUE(pointAdd(P, P2, S, m_curve.aArg(), m_curve.p, m_mont->digit));
    ASSERT_TRUE(pointAdd(P, N2, T, m_curve.aArg(), m_curve.p, m_mont->digit));
    EXPECT_TRUE(TovarMp::isZero(S.m_z));
    EXPECT_TRUE(TovarMp::isZero(T.m_z));
    EXPECT_FALSE(mapPointBack(S, m_curve.p, m_mont->digit));
    EXPECT_FALSE(mapPointBack(T, m_curve.p, m_mont->digit));
}

TEST_P(ArithEdgeTest, DoublingInPlaceMatchesDistinctAndCopiesFormatOnlyWhenDistinct) {
    EccPoint P, R, inPlace;
    jacobianG(P);
    P.m_format = 6;
    R.m_format = 7;
    ASSERT_TRUE(inPlace.copyFromEccPoint(P));
    inPlace.m_format = 7;
    ASSERT_TRUE(pointDouble(P, R, m_curve.aArg(), m_curve.p, m_mont->digit));
    ASSERT_TRUE(pointDouble(inPlace, inPlace, m_curve.aArg(), m_curve.p, m_mont->digit));
    EXPECT_EQ(coordsOf(inPlace), coordsOf(R));
    EXPECT_EQ(R.m_format, 6);
    EXPECT_EQ(inPlace.m_format, 7);
}

TEST_P(ArithEdgeTest, AdditionWritesFormatOnlyThroughTheDoublingFallback) {
    EccPoint P, Q, R, F;
    jacobianG(P);
    jacobianG(Q);
    ASSERT_TRUE(pointDouble(Q, Q, m_curve.aArg(), m_curve.p, m_mont->digit));
    P.m_format = 6;
    R.m_format = 7;
    F.m_format = 7;
    ASSERT_TRUE(pointAdd(P, Q, R, m_curve.aArg(), m_curve.p, m_mont->digit));
    EXPECT_EQ(R.m_format, 7);
    ASSERT_TRUE(pointAdd(P, P, F, m_curve.aArg(), m_curve.p, m_mont->digit));
    EXPECT_EQ(F.m_format, 6);
}

TEST_P(ArithEdgeTest, AdditionResultMayAliasEitherOperand) {
    EccPoint P, Q, R, intoP, intoQ;
    jacobianG(P);
    jacobianG(Q);
    ASSERT_TRUE(pointDouble(Q, Q, m_curve.aArg(), m_curve.p, m_mont->digit));
    ASSERT_TRUE(pointAdd(P, Q, R, m_curve.aArg(), m_curve.p, m_mont->digit));
    ASSERT_TRUE(intoP.copyFromEccPoint(P));
    ASSERT_TRUE(intoQ.copyFromEccPoint(Q));
    ASSERT_TRUE(pointAdd(intoP, Q, intoP, m_curve.aArg(), m_curve.p, m_mont->digit));
    ASSERT_TRUE(pointAdd(P, intoQ, intoQ, m_curve.aArg(), m_curve.p, m_mont->digit));
    EXPECT_EQ(coordsOf(intoP), coordsOf(R));
    EXPECT_EQ(coordsOf(intoQ), coordsOf(R));
    ASSERT_TRUE(mapPointBack(R, m_curve.p, m_mont->digit));
    BnPtr three(BN_new());
    BN_set_word(three.get(), 3);
    EXPECT_EQ(coordsOf(R), opensslTimesG(three.get()));
}

TEST_P(ArithEdgeTest, ScratchFormsGiveTheSameIntegers) {
    // The one-call forms build their own scratch; the hot-path forms reuse one. A scratch set up without
    // the coefficient falls back to a modular multiplication by the plain a: the same integer again.
    EccArithScratch withA, withoutA;
    ASSERT_TRUE(withA.setUp(m_curve.p, m_curve.aArg()));
    ASSERT_TRUE(withoutA.setUp(m_curve.p, nullptr));
    EccPoint P, Q;
    jacobianG(P);
    jacobianG(Q);
    ASSERT_TRUE(pointDouble(Q, Q, m_curve.aArg(), m_curve.p, m_mont->digit));

    EccPoint d1, d2, d3;
    ASSERT_TRUE(pointDouble(P, d1, m_curve.aArg(), m_curve.p, m_mont->digit));
    ASSERT_TRUE(pointDouble(P, d2, m_curve.aArg(), m_curve.p, m_mont->digit, withA));
    ASSERT_TRUE(pointDouble(P, d3, m_curve.aArg(), m_curve.p, m_mont->digit, withoutA));
    EXPECT_EQ(coordsOf(d2), coordsOf(d1));
    EXPECT_EQ(coordsOf(d3), coordsOf(d1));

    EccPoint s1, s2;
    ASSERT_TRUE(pointAdd(P, Q, s1, m_curve.aArg(), m_curve.p, m_mont->digit));
    ASSERT_TRUE(pointAdd(P, Q, s2, m_curve.aArg(), m_curve.p, m_mont->digit, withA));
    EXPECT_EQ(coordsOf(s2), coordsOf(s1));

    ASSERT_TRUE(mapPointBack(s1, m_curve.p, m_mont->digit));
    ASSERT_TRUE(mapPointBack(s2, m_curve.p, m_mont->digit, withA));
    EXPECT_EQ(coordsOf(s2), coordsOf(s1));
}

TEST_P(ArithEdgeTest, MapPointBackGivesAffineNormalFormAndFailsAtInfinity) {
    EccPoint P;
    jacobianG(P);
    P.m_format = 6;
    ASSERT_TRUE(mapPointBack(P, m_curve.p, m_mont->digit));
    EXPECT_EQ(coordsOf(P), hexOf(m_curve.G.m_x) + "," + hexOf(m_curve.G.m_y) + ",1");
    EXPECT_EQ(P.m_format, 6);

    EccPoint inf;
    jacobianG(inf);
    TovarMp::mp_zero(inf.m_z);
    EXPECT_FALSE(mapPointBack(inf, m_curve.p, m_mont->digit));
    EXPECT_TRUE(TovarMp::isZero(inf.m_z));
}

TEST_P(ArithEdgeTest, LastLadderStepAtTheOrderHasBothOutcomes) {
    // k = n: before its last (one) bit the ladder holds M0 = ((n − 1)/2)·G and M1 = −M0, and steps
    // M0 = M0 + M1. With equal Z the doubling fallback gives (n − 1)·G; with different Z, infinity.
    BnPtr h(BN_dup(EC_GROUP_get0_order(m_group.get())));
    BN_rshift1(h.get(), h.get());
    PointPtr hG(EC_POINT_new(m_group.get()));
    ASSERT_TRUE(EC_POINT_mul(m_group.get(), hG.get(), h.get(), nullptr, nullptr, nullptr));
    BnPtr hx(BN_new()), hy(BN_new());
    ASSERT_TRUE(EC_POINT_get_affine_coordinates(m_group.get(), hG.get(), hx.get(), hy.get(), nullptr));
    mp_int x, y, z1, z2;
    fromBn(hx.get(), x);
    fromBn(hy.get(), y);
    randomZ(z1);
    randomZ(z2);

    EccPoint M0, M1;
    toJacobian(x, y, z1, m_curve.p, *m_mont, M0);
    negate(M0, m_curve.p, M1);
    ASSERT_TRUE(pointAdd(M0, M1, M0, m_curve.aArg(), m_curve.p, m_mont->digit));
    ASSERT_TRUE(mapPointBack(M0, m_curve.p, m_mont->digit));
    BnPtr nMinus1(BN_dup(EC_GROUP_get0_order(m_group.get())));
    BN_sub_word(nMinus1.get(), 1);
    EXPECT_EQ(coordsOf(M0), opensslTimesG(nMinus1.get()));

    EccPoint N0, N1, N1z;
    toJacobian(x, y, z1, m_curve.p, *m_mont, N0);
    toJacobian(x, y, z2, m_curve.p, *m_mont, N1z);
    negate(N1z, m_curve.p, N1);
    ASSERT_TRUE(pointAdd(N0, N1, N0, m_curve.aArg(), m_curve.p, m_mont->digit));
    EXPECT_FALSE(mapPointBack(N0, m_curve.p, m_mont->digit));
}

TEST_P(ArithEdgeTest, TwoTimesGeneratorIsOneDoubling) {
    EccPoint D, tG, R;
    mp_int one, two;
    TovarMp::mp_set(one, 1);
    TovarMp::mp_set(two, 2);
    toJacobian(m_curve.G.m_x, m_curve.G.m_y, one, m_curve.p, *m_mont, tG);
    ASSERT_TRUE(pointDouble(tG, D, m_curve.aArg(), m_curve.p, m_mont->digit));
    ASSERT_TRUE(mapPointBack(D, m_curve.p, m_mont->digit));
    LogNull log;
    ASSERT_TRUE(pointMult_tmr(two, m_curve.G, R, m_curve.aArg(), m_curve.p, 1, log));
    EXPECT_EQ(coordsOf(R), coordsOf(D));
}

TEST_P(ArithEdgeTest, LadderOpensItsLogContext) {
    mp_int k;
    TovarMp::mp_set(k, 5);
    EccPoint R;
    LogRecorder log;
    ASSERT_TRUE(pointMult_tmr(k, m_curve.G, R, m_curve.aArg(), m_curve.p, 1, log));
    EXPECT_TRUE(log.hasContext("pointMultiply"));
    EXPECT_TRUE(log.errors().empty());
}

INSTANTIATE_TEST_SUITE_P(AllCurves, ArithEdgeTest, ::testing::ValuesIn(genericCurves()), curveParamName);

// On the a = −3 curves the null coefficient and a = p − 3 passed explicitly take different formula
// branches to the same integers.
TEST(ArithNistTest, NullCoefficientMatchesExplicitPMinus3) {
    int checked = 0;
    TestPrng prng(testSeed());
    for (const CurveInfo &c : genericCurves()) {
        ArithCurve curve;
        ASSERT_TRUE(curve.load(c.nid));
        if (!curve.aIsMinus3)
            continue;
        ++checked;
        Montgomery m(curve.p);
        mp_int z;
        TovarMp::mp_set_int(z, (unsigned long)(prng.next() | 1));
        EccPoint P, Q, d1, d2, s1, s2;
        toJacobian(curve.G.m_x, curve.G.m_y, z, curve.p, m, P);
        ASSERT_TRUE(pointDouble(P, d1, nullptr, curve.p, m.digit));
        ASSERT_TRUE(pointDouble(P, d2, &curve.a, curve.p, m.digit));
        EXPECT_EQ(coordsOf(d1), coordsOf(d2)) << c.name;
        ASSERT_TRUE(pointDouble(d1, Q, nullptr, curve.p, m.digit));
        ASSERT_TRUE(pointAdd(P, Q, s1, nullptr, curve.p, m.digit));
        ASSERT_TRUE(pointAdd(P, Q, s2, &curve.a, curve.p, m.digit));
        EXPECT_EQ(coordsOf(s1), coordsOf(s2)) << c.name;

        mp_int k;
        TovarMp::mp_set_int(k, (unsigned long)prng.next());
        EccPoint r1, r2;
        LogNull log;
        ASSERT_TRUE(pointMult_tmr(k, curve.G, r1, nullptr, curve.p, 1, log));
        ASSERT_TRUE(pointMult_tmr(k, curve.G, r2, &curve.a, curve.p, 1, log));
        EXPECT_EQ(coordsOf(r1), coordsOf(r2)) << c.name;
    }
    EXPECT_EQ(checked, 5);  // P-192, P-224, P-256, P-384, P-521
}

}  // namespace
