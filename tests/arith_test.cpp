// The generic arithmetic against OpenSSL on the twelve curves it serves, and the corner cases of its
// formulas that no valid key reaches.
#include "ecc/arith/EccArith.h"
#include "support/ArithCurve.h"
#include "support/Oracle.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

class Arith : public ::testing::TestWithParam<CurveInfo> {
  protected:
    void SetUp() override { ASSERT_TRUE(curve.load(GetParam().nid)); }
    Bytes bytesOfPoint(const EccPoint &P) {
        DataBuffer out;
        P.exportEccPoint(GetParam().byteLen, out, log);
        return toBytes(out);
    }
    // k·G by the ladder, as X9.63 bytes; empty when the ladder fails.
    Bytes ladder(const BIGNUM *k) {
        mp_int km;
        mpOf(k, km);
        EccPoint R;
        return pointMult_tmr(km, curve.G, R, curve.aArg(), curve.p, 1, log) ? bytesOfPoint(R) : Bytes();
    }
    // u1·G + u2·Q, as X9.63 bytes; empty when the method fails.
    Bytes mul2(const BIGNUM *u1, const BIGNUM *u2, const Bytes &q) {
        mp_int m1, m2;
        mpOf(u1, m1);
        mpOf(u2, m2);
        EccPoint Q, R;
        Q.loadEccPoint(toDb(q), log);
        return EccKey::mul2add(curve.G, m1, Q, m2, R, curve.aArg(), curve.p, log) ? bytesOfPoint(R) : Bytes();
    }
    ArithCurve curve;
    LogRecorder log;
    TestPrng prng{testSeed() + (std::uint64_t)GetParam().nid};
};

TEST_P(Arith, LadderAndDoubleScalarMethodMatchOpenSsl) {
    const CurveInfo &c = GetParam();
    BnPtr n = orderOf(c), two(BN_new()), nm1(BN_dup(n.get())), zero(BN_new());
    const BIGNUM *one = BN_value_one();
    BN_set_word(two.get(), 2);
    BN_sub_word(nm1.get(), 1);
    Bytes G = Ossl(c, one).point();
    for (const BIGNUM *k : {one, (const BIGNUM *)two.get(), (const BIGNUM *)nm1.get()})
        EXPECT_EQ(ladder(k), Ossl(c, k).point());
    EXPECT_EQ(ladder(zero.get()), G);      // k = 0 leaves G as it is
    EXPECT_TRUE(ladder(n.get()).empty());  // n·G is the point at infinity
    std::unique_ptr<BN_CTX, void (*)(BN_CTX *)> ctx(BN_CTX_new(), BN_CTX_free);
    for (int i = 0; i < testIterations(12); ++i) {
        BnPtr k = randomScalar(c, prng), u2 = randomScalar(c, prng), d = randomScalar(c, prng), t(BN_new());
        EXPECT_EQ(ladder(k.get()), Ossl(c, k.get()).point());
        // u1·G + u2·(d·G) = (u1 + u2·d)·G; a one-byte u1 is right-aligned against the longer u2.
        if (i == 0)
            BN_set_word(k.get(), 5);
        Bytes Q = Ossl(c, d.get()).point();
        BN_mod_mul(t.get(), u2.get(), d.get(), n.get(), ctx.get());
        EXPECT_EQ(mul2(zero.get(), u2.get(), Q), Ossl(c, t.get()).point());
        BN_mod_add(t.get(), t.get(), k.get(), n.get(), ctx.get());
        EXPECT_EQ(mul2(k.get(), u2.get(), Q), Ossl(c, t.get()).point());
    }
    EXPECT_TRUE(log.errors().empty());
}

// The single-call formulas in Montgomery form: G + 2G, 2G + G with P and Q swapped, and 2·(2G) against
// OpenSSL, a taken as the plain coefficient.
TEST_P(Arith, SingleFormulasMatchOpenSsl) {
    MpDigit digit = 0;
    mp_int mu;
    EccPoint tG, twoG, sum, swapped, fourG;
    ASSERT_TRUE(TovarMp::mp_montgomery_setup(curve.p, digit) == 0 &&
                TovarMp::mp_montgomery_normalization(mu, curve.p) == 0);
    for (auto coord : {&EccPoint::m_x, &EccPoint::m_y, &EccPoint::m_z})
        ASSERT_EQ(TovarMp::mp_mulmod(curve.G.*coord, mu, curve.p, tG.*coord), 0);
    ASSERT_TRUE(pointDouble(tG, twoG, curve.aArg(), curve.p, digit) &&
                pointAdd(tG, twoG, sum, curve.aArg(), curve.p, digit) &&
                pointAdd(twoG, tG, swapped, curve.aArg(), curve.p, digit) &&
                pointDouble(twoG, fourG, curve.aArg(), curve.p, digit));
    for (auto [P, k] : {std::pair<EccPoint *, unsigned>{&sum, 3}, {&swapped, 3}, {&fourG, 4}}) {
        BnPtr kb(BN_new());
        BN_set_word(kb.get(), k);
        ASSERT_TRUE(mapPointBack(*P, curve.p, digit));
        EXPECT_EQ(bytesOfPoint(*P), Ossl(GetParam(), kb.get()).point()) << k;
    }
}

// What the formulas give outside the group law: the double-scalar method has no point at infinity, so a
// partial sum that reaches it fails the whole product, and G + (-G) falls back to doubling (same x).
TEST_P(Arith, NoPointAtInfinity) {
    const CurveInfo &c = GetParam();
    BnPtr n = orderOf(c), two(BN_new()), nm1(BN_dup(n.get()));
    const BIGNUM *one = BN_value_one();
    BN_set_word(two.get(), 2);
    BN_sub_word(nm1.get(), 1);
    Bytes G = Ossl(c, one).point(), minusG = Ossl(c, nm1.get()).point(), twoG = Ossl(c, two.get()).point();
    EXPECT_TRUE(mul2(nm1.get(), one, G).empty());
    EXPECT_EQ(mul2(one, one, minusG), twoG);
    EXPECT_EQ(mul2(one, one, G), twoG);
}

INSTANTIATE_TEST_SUITE_P(GenericCurves, Arith, ::testing::ValuesIn(genericCurves()), curveParamName);

}  // namespace
