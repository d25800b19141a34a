// _tvCurvePt against OpenSSL's secp256k1: scalar multiples, sums, doubling, the zero point in every
// position, normalisation, the curve check and the compressed encoding.
#include <gtest/gtest.h>
#include <openssl/ec.h>
#include <openssl/obj_mac.h>

#include <cstring>
#include <vector>

#include "ecc/secp256k1/CurvePt.h"
#include "support/Secp256k1Oracle.h"
#include "support/TovarMp.h"

using ecckey::_tvCurvePt;
using ecckey::_tvUnsigned256;
using ecckey::FieldInt256;
using ecckey::mp_int;
using ecckey::TovarMp;
using namespace ecckey_test;

namespace {

struct CtxFree {
    void operator()(BN_CTX *c) const { BN_CTX_free(c); }
};

class CurvePtTest : public ::testing::Test {
  protected:
    CurvePtTest() : m_group(EC_GROUP_new_by_curve_name(NID_secp256k1)), m_ctx(BN_CTX_new()) {}

    // k·G by OpenSSL, k reduced modulo n first.
    PointPtr opensslMulG(const _tvUnsigned256 &k) {
        BnPtr scalar = toBn(k);
        BN_nnmod(scalar.get(), scalar.get(), EC_GROUP_get0_order(m_group.get()), m_ctx.get());
        PointPtr r(EC_POINT_new(m_group.get()));
        EXPECT_EQ(1, EC_POINT_mul(m_group.get(), r.get(), scalar.get(), nullptr, nullptr, m_ctx.get()));
        return r;
    }

    PointPtr opensslMul(const EC_POINT *p, const _tvUnsigned256 &k) {
        BnPtr scalar = toBn(k);
        BN_nnmod(scalar.get(), scalar.get(), EC_GROUP_get0_order(m_group.get()), m_ctx.get());
        PointPtr r(EC_POINT_new(m_group.get()));
        EXPECT_EQ(1, EC_POINT_mul(m_group.get(), r.get(), nullptr, p, scalar.get(), m_ctx.get()));
        return r;
    }

    // An affine OpenSSL point as an engine point (z = 1); the point at infinity as (0, 1, 0).
    _tvCurvePt toEngine(const EC_POINT *p) {
        if (EC_POINT_is_at_infinity(m_group.get(), p))
            return _tvCurvePt();
        BnPtr x(BN_new()), y(BN_new());
        EXPECT_EQ(1, EC_POINT_get_affine_coordinates(m_group.get(), p, x.get(), y.get(), m_ctx.get()));
        return _tvCurvePt(FieldInt256(fromBn(x.get())), FieldInt256(fromBn(y.get())));
    }

    // The normalised form of an engine point must equal OpenSSL's affine point.
    void expectSamePoint(_tvCurvePt engine, const EC_POINT *expected, const std::string &what) {
        engine.normalizePt();
        _tvCurvePt want = toEngine(expected);
        EXPECT_EQ(wordsHex(engine.x), wordsHex(want.x)) << what;
        EXPECT_EQ(wordsHex(engine.y), wordsHex(want.y)) << what;
        EXPECT_EQ(wordsHex(engine.z), wordsHex(want.z)) << what;
    }

    // The same point in other projective coordinates: (λx, λy, λz) for a random λ != 0.
    _tvCurvePt rescaled(const _tvCurvePt &p) {
        FieldInt256 lambda = FieldInt256(randomBelow(m_rng, ecckey::m_Modulus));
        lambda.replace(_tvCurvePt::m_s_fiOne, lambda == _tvCurvePt::m_s_fiZero);
        _tvCurvePt r = p;
        r.x.multiply(lambda);
        r.y.multiply(lambda);
        r.z.multiply(lambda);
        return r;
    }

    _tvUnsigned256 randomScalar() { return randomBelow(m_rng, _tvCurvePt::m_s_order); }

    GroupPtr m_group;
    std::unique_ptr<BN_CTX, CtxFree> m_ctx;
    TestPrng m_rng{testSeed()};
    int m_iterations = testIterations(40);
};

TEST_F(CurvePtTest, ConstantsAndConstructors) {
    EXPECT_TRUE(_tvCurvePt::m_s_G.isOnCurve());
    EXPECT_FALSE(_tvCurvePt::m_s_Zero.isOnCurve());
    EXPECT_TRUE(_tvCurvePt::m_s_Zero.isZero());
    EXPECT_FALSE(_tvCurvePt::m_s_G.isZero());
    EXPECT_TRUE(_tvCurvePt() == _tvCurvePt::m_s_Zero);
    expectSamePoint(_tvCurvePt::m_s_G, EC_GROUP_get0_generator(m_group.get()), "G");

    _tvCurvePt fromHex("79BE667EF9DCBBAC55A06295CE870B07029BFCDB2DCE28D959F2815B16F81798",
                       "483ADA7726A3C4655DA4FBFC0E1108A8FD17B448A68554199C47D08FFB10D4B8");
    EXPECT_TRUE(fromHex == _tvCurvePt::m_s_G);
    _tvCurvePt fromFields(_tvCurvePt::m_s_G.x, _tvCurvePt::m_s_G.y);
    EXPECT_TRUE(fromFields == _tvCurvePt::m_s_G);
    EXPECT_TRUE(fromFields.z == _tvCurvePt::m_s_fiOne);
    EXPECT_TRUE(_tvCurvePt::m_s_A == _tvCurvePt::m_s_fiZero);
    EXPECT_EQ(_tvCurvePt::m_s_B.value[0], 7u);
}

TEST_F(CurvePtTest, ScalarMultiplesOfGMatchOpenSsl) {
    std::vector<_tvUnsigned256> scalars;
    for (const _tvUnsigned256 &e : edgeValues())
        scalars.push_back(e);  // 0, 1, n - 1, n, n + 1, 2^256 - 1, ...
    for (int i = 0; i < m_iterations; ++i)
        scalars.push_back(randomU256(m_rng));
    for (const _tvUnsigned256 &k : scalars) {
        _tvCurvePt p = _tvCurvePt::m_s_G;
        p.multiplyPt(k);
        expectSamePoint(p, opensslMulG(k).get(), "k = " + wordsHex(k));
    }
}

TEST_F(CurvePtTest, ScalarMultiplesOfOtherPointsMatchOpenSsl) {
    for (int i = 0; i < m_iterations / 2; ++i) {
        _tvUnsigned256 base = randomScalar();
        _tvUnsigned256 k = (i == 0) ? _tvCurvePt::m_s_order : randomU256(m_rng);
        PointPtr q = opensslMulG(base);
        // A projective (z != 1) representation of the base point.
        _tvCurvePt p = rescaled(toEngine(q.get()));
        p.multiplyPt(k);
        expectSamePoint(p, opensslMul(q.get(), k).get(), "k = " + wordsHex(k));
    }
}

TEST_F(CurvePtTest, SmallScalars) {
    _tvCurvePt zero = _tvCurvePt::m_s_G;
    zero.multiplyPt(ecckey::s_ZERO);
    EXPECT_TRUE(zero.isZero());
    EXPECT_TRUE(zero == _tvCurvePt::m_s_Zero);

    _tvCurvePt one = _tvCurvePt::m_s_G;
    one.multiplyPt(ecckey::s_ONE);
    one.normalizePt();
    EXPECT_TRUE(one == _tvCurvePt::m_s_G);

    _tvCurvePt byN = _tvCurvePt::m_s_G;
    byN.multiplyPt(_tvCurvePt::m_s_order);
    EXPECT_TRUE(byN.isZero());

    _tvCurvePt two = _tvCurvePt::m_s_G;
    _tvUnsigned256 k2 = u256FromHex("2");
    two.multiplyPt(k2);
    _tvCurvePt doubled = _tvCurvePt::m_s_G;
    doubled.doublePt();
    two.normalizePt();
    doubled.normalizePt();
    EXPECT_TRUE(two == doubled);

    // The scalar may be a coordinate of the point itself.
    _tvCurvePt self = _tvCurvePt::m_s_G;
    self.multiplyPt(self.x);
    PointPtr expected = opensslMulG(_tvCurvePt::m_s_G.x);
    expectSamePoint(self, expected.get(), "k = Gx");

    // The zero point times anything is the zero point.
    _tvCurvePt z;
    z.multiplyPt(randomScalar());
    EXPECT_TRUE(z.isZero());
}

TEST_F(CurvePtTest, SumsOfRandomPointsMatchOpenSsl) {
    for (int i = 0; i < m_iterations * 5; ++i) {
        PointPtr a = opensslMulG(randomScalar());
        PointPtr b = opensslMulG(randomScalar());
        PointPtr sum(EC_POINT_new(m_group.get()));
        ASSERT_EQ(1, EC_POINT_add(m_group.get(), sum.get(), a.get(), b.get(), m_ctx.get()));
        _tvCurvePt p = rescaled(toEngine(a.get()));
        p.addPt(rescaled(toEngine(b.get())));
        expectSamePoint(p, sum.get(), "sum " + std::to_string(i));

        PointPtr twice(EC_POINT_new(m_group.get()));
        ASSERT_EQ(1, EC_POINT_dbl(m_group.get(), twice.get(), a.get(), m_ctx.get()));
        _tvCurvePt d = rescaled(toEngine(a.get()));
        d.doublePt();
        expectSamePoint(d, twice.get(), "double " + std::to_string(i));
    }
}

TEST_F(CurvePtTest, AddingAPointToItselfDoublesIt) {
    for (int i = 0; i < m_iterations; ++i) {
        _tvCurvePt p = rescaled(toEngine(opensslMulG(randomScalar()).get()));
        _tvCurvePt sum = p;
        sum.addPt(p);
        _tvCurvePt doubled = p;
        doubled.doublePt();
        EXPECT_TRUE(sum == doubled);  // the doubled candidate is selected, representation and all
        // The same point in a different projective form is still recognised as equal.
        _tvCurvePt other = p;
        other.addPt(rescaled(p));
        other.normalizePt();
        doubled.normalizePt();
        EXPECT_TRUE(other == doubled);
    }
    _tvCurvePt g = _tvCurvePt::m_s_G;
    g.addPt(g);  // the argument may be the object itself
    _tvCurvePt d = _tvCurvePt::m_s_G;
    d.doublePt();
    EXPECT_TRUE(g == d);
}

TEST_F(CurvePtTest, ZeroOperandOnEitherSide) {
    _tvCurvePt p = rescaled(toEngine(opensslMulG(randomScalar()).get()));
    _tvCurvePt nonCanonicalZero(_tvCurvePt::m_s_fiZero, FieldInt256(u256FromHex("5")),
                                _tvCurvePt::m_s_fiZero);
    ASSERT_TRUE(nonCanonicalZero.isZero());
    for (const _tvCurvePt &zero : {_tvCurvePt::m_s_Zero, nonCanonicalZero}) {
        _tvCurvePt left = zero;
        left.addPt(p);
        EXPECT_TRUE(left == p);  // the right operand, unchanged
        _tvCurvePt right = p;
        right.addPt(zero);
        EXPECT_TRUE(right == p);  // the left operand, unchanged
        _tvCurvePt both = zero;
        both.addPt(_tvCurvePt::m_s_Zero);
        EXPECT_TRUE(both.isZero());
    }
    _tvCurvePt d;
    d.doublePt();
    EXPECT_TRUE(d == _tvCurvePt::m_s_Zero);
    d = nonCanonicalZero;
    d.doublePt();
    EXPECT_TRUE(d == _tvCurvePt::m_s_Zero);
}

TEST_F(CurvePtTest, OppositePointsGiveANonCanonicalZeroPoint) {
    _tvCurvePt g = _tvCurvePt::m_s_G;
    _tvCurvePt minusG = g;
    minusG.y = FieldInt256();
    minusG.y.subtract(g.y);
    ASSERT_TRUE(minusG.isOnCurve());
    g.addPt(minusG);
    EXPECT_TRUE(g.isZero());
    // S1 != S2 selects the general formula: X3 = Z3 = 0 and Y3 = -B³·V with B = 2·Gy, V = 1.
    mp_int gy, b, expected;
    toMp(_tvCurvePt::m_s_G.y, gy);
    TovarMp::mp_add(gy, gy, b);
    TovarMp::mp_mulmod(b, b, numbers().p, expected);
    TovarMp::mp_mulmod(expected, b, numbers().p, expected);
    TovarMp::mp_sub(numbers().p, expected, expected);
    EXPECT_EQ(wordsHex(g.y), mpHex(expected));
    EXPECT_FALSE(g.y == _tvCurvePt::m_s_fiOne);
    g.normalizePt();
    EXPECT_TRUE(g == _tvCurvePt::m_s_Zero);  // exactly (0, 1, 0)
}

TEST_F(CurvePtTest, DifferentPointsWithTheSameYGiveTheZeroPoint) {
    // (β·x, y) lies on the curve with (x, y) when β is a cube root of unity. Selection keyed on the
    // y-products sends this sum to the zero point rather than to the third point of the line.
    FieldInt256 beta("7AE96A2B657C07106E64479EAC3434E99CF0497512F58995C1396C28719501EE");
    FieldInt256 cube = beta;
    cube.square();
    cube.multiply(beta);
    ASSERT_TRUE(cube == _tvCurvePt::m_s_fiOne);
    _tvCurvePt p = _tvCurvePt::m_s_G;
    _tvCurvePt q = p;
    q.x.multiply(beta);
    ASSERT_TRUE(q.isOnCurve());
    p.addPt(q);
    EXPECT_TRUE(p == _tvCurvePt::m_s_Zero);
}

TEST_F(CurvePtTest, DoublingAPointWithYZeroGivesTheZeroPoint) {
    // (-7)^(1/3) has no y = 0 point on the curve, but the formula must still send any y = 0 to zero.
    _tvCurvePt p(FieldInt256(u256FromHex("1234")), _tvCurvePt::m_s_fiZero);
    p.doublePt();
    EXPECT_TRUE(p == _tvCurvePt::m_s_Zero);
}

TEST_F(CurvePtTest, NormalizeBringsZToOneOrToTheCanonicalZero) {
    for (int i = 0; i < m_iterations; ++i) {
        _tvCurvePt affine = toEngine(opensslMulG(randomScalar()).get());
        _tvCurvePt p = rescaled(affine);
        p.normalizePt();
        EXPECT_TRUE(p == affine);
        p.normalizePt();  // a normalised point is left as it is
        EXPECT_TRUE(p == affine);
    }
    _tvCurvePt zero(_tvCurvePt::m_s_fiZero, FieldInt256(u256FromHex("ABCDEF")), _tvCurvePt::m_s_fiZero);
    zero.normalizePt();
    EXPECT_TRUE(zero == _tvCurvePt::m_s_Zero);
    _tvCurvePt canonical;
    canonical.normalizePt();
    EXPECT_TRUE(canonical == _tvCurvePt::m_s_Zero);
}

TEST_F(CurvePtTest, IsOnCurveReadsAffineCoordinates) {
    for (int i = 0; i < m_iterations; ++i) {
        _tvCurvePt p = _tvCurvePt::m_s_G;
        p.multiplyPt(randomScalar());
        p.normalizePt();
        EXPECT_TRUE(p.isOnCurve());
        _tvCurvePt off = p;
        off.y.add(_tvCurvePt::m_s_fiOne);
        EXPECT_FALSE(off.isOnCurve());
    }
    // Only x and y are read: a rescaled point is (usually) off the curve, and z is not looked at.
    _tvCurvePt g = _tvCurvePt::m_s_G;
    g.z = FieldInt256(u256FromHex("3"));
    EXPECT_TRUE(g.isOnCurve());
}

TEST_F(CurvePtTest, EqualityComparesRepresentations) {
    _tvCurvePt g = _tvCurvePt::m_s_G;
    _tvCurvePt scaled = rescaled(g);
    while (scaled.z == _tvCurvePt::m_s_fiOne)
        scaled = rescaled(g);
    EXPECT_FALSE(scaled == g);
    EXPECT_TRUE(scaled != g);
    scaled.normalizePt();
    EXPECT_TRUE(scaled == g);
    EXPECT_FALSE(scaled != g);
    for (int w = 0; w < 24; ++w) {  // a difference in any one of the 24 words is seen
        _tvCurvePt t = g;
        FieldInt256 *coord[3] = {&t.x, &t.y, &t.z};
        coord[w / 8]->value[w % 8] ^= 0x100u;
        EXPECT_TRUE(t != g) << "word " << w;
    }
}

TEST_F(CurvePtTest, ReplaceFollowsTheEnableBit) {
    _tvCurvePt a = _tvCurvePt::m_s_G;
    _tvCurvePt r = _tvCurvePt::m_s_Zero;
    r.replace(a, 0);
    EXPECT_TRUE(r == _tvCurvePt::m_s_Zero);
    r.replace(a, 1);
    EXPECT_TRUE(r == a);
}

TEST_F(CurvePtTest, CompressedPointMatchesOpenSsl) {
    for (int i = 0; i < m_iterations; ++i) {
        _tvUnsigned256 k = randomScalar();
        _tvCurvePt p = _tvCurvePt::m_s_G;
        p.multiplyPt(k);
        p.normalizePt();
        unsigned char ours[33];
        p.toCompressedPoint(ours);
        PointPtr q = opensslMulG(k);
        unsigned char theirs[33];
        ASSERT_EQ(33u, EC_POINT_point2oct(m_group.get(), q.get(), POINT_CONVERSION_COMPRESSED, theirs, 33,
                                          m_ctx.get()));
        EXPECT_EQ(hexOf(ours, 33), hexOf(theirs, 33));
    }
    unsigned char g[33];
    _tvCurvePt::m_s_G.toCompressedPoint(g);
    EXPECT_EQ(hexOf(g, 33), "0279BE667EF9DCBBAC55A06295CE870B07029BFCDB2DCE28D959F2815B16F81798");
}

}  // namespace
