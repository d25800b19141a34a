// FieldInt256 against LibTomMath modular arithmetic on random and edge values.
#include <gtest/gtest.h>

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

FieldInt256 fieldOf(const _tvUnsigned256 &v) {
    FieldInt256 f;
    for (int i = 0; i < 8; ++i)
        f.value[i] = v.value[i];  // raw copy, no reduction
    return f;
}

class FieldInt256Test : public ::testing::Test {
  protected:
    // Reduced operand pairs: every pair of edge values below p, then random values below p.
    std::vector<std::pair<FieldInt256, FieldInt256>> reducedPairs() {
        std::vector<std::pair<FieldInt256, FieldInt256>> pairs;
        std::vector<_tvUnsigned256> edges = reducedEdgeValues();
        for (const auto &a : edges)
            for (const auto &b : edges)
                pairs.emplace_back(fieldOf(a), fieldOf(b));
        for (int i = 0; i < m_iterations; ++i) {
            pairs.emplace_back(fieldOf(randomBelow(m_rng, ecckey::m_Modulus)),
                               fieldOf(randomBelow(m_rng, ecckey::m_Modulus)));
        }
        return pairs;
    }

    // Every pair of edge values, unreduced ones (p, p + 1, 2^256 - 1, ...) included.
    std::vector<std::pair<FieldInt256, FieldInt256>> allEdgePairs() {
        std::vector<std::pair<FieldInt256, FieldInt256>> pairs;
        std::vector<_tvUnsigned256> edges = edgeValues();
        for (const auto &a : edges)
            for (const auto &b : edges)
                pairs.emplace_back(fieldOf(a), fieldOf(b));
        return pairs;
    }

    TestPrng m_rng{testSeed()};
    int m_iterations = testIterations(3000);
};

TEST_F(FieldInt256Test, ConstructionFromAnIntegerReducesOnce) {
    std::vector<_tvUnsigned256> values = edgeValues();
    for (int i = 0; i < m_iterations; ++i)
        values.push_back(randomU256(m_rng));
    for (const _tvUnsigned256 &v : values) {
        mp_int a, r;
        toMp(v, a);
        TovarMp::mp_mod(a, numbers().p, r);  // 2p > 2^256: one subtraction is a full reduction
        ASSERT_EQ(wordsHex(FieldInt256(v)), mpHex(r)) << wordsHex(v);
    }
    EXPECT_TRUE(FieldInt256(ecckey::m_Modulus) == _tvCurvePt::m_s_fiZero);
    EXPECT_EQ(wordsHex(FieldInt256(u256FromHex(std::string(64, 'F')))), wordsHex(u256FromHex("1000003D0")));
}

TEST_F(FieldInt256Test, HexConstructionDoesNotReduce) {
    FieldInt256 p("FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEFFFFFC2F");
    EXPECT_TRUE(p == FieldInt256(fieldOf(ecckey::m_Modulus)));
    EXPECT_EQ(wordsHex(p), wordsHex(ecckey::m_Modulus));
}

TEST_F(FieldInt256Test, AddSubtractAndDoubleMatchModularArithmetic) {
    for (const auto &op : reducedPairs()) {
        mp_int a, b, sum, diff, twice;
        toMp(op.first, a);
        toMp(op.second, b);
        TovarMp::mp_add(a, b, sum);
        TovarMp::mp_mod(sum, numbers().p, sum);
        TovarMp::mp_sub(a, b, diff);
        TovarMp::mp_mod(diff, numbers().p, diff);
        TovarMp::mp_add(a, a, twice);
        TovarMp::mp_mod(twice, numbers().p, twice);

        FieldInt256 r = op.first;
        r.add(op.second);
        ASSERT_EQ(wordsHex(r), mpHex(sum)) << wordsHex(op.first) << " + " << wordsHex(op.second);
        r = op.first;
        r.subtract(op.second);
        ASSERT_EQ(wordsHex(r), mpHex(diff)) << wordsHex(op.first) << " - " << wordsHex(op.second);
        r = op.first;
        r.multiply2();
        ASSERT_EQ(wordsHex(r), mpHex(twice)) << "2 * " << wordsHex(op.first);
    }
}

TEST_F(FieldInt256Test, AddSubtractAndDoubleOnUnreducedInputsMakeOneCorrection) {
    // The single masked correction: add subtracts p once when the 257-bit sum reaches p, subtract adds p
    // once on a borrow, both modulo 2^256.
    for (const auto &op : allEdgePairs()) {
        mp_int a, b, s, d, t, w;
        toMp(op.first, a);
        toMp(op.second, b);
        TovarMp::mp_add(a, b, s);
        if (TovarMp::mp_cmp(s, numbers().p) >= 0)
            TovarMp::mp_sub(s, numbers().p, s);
        TovarMp::mp_mod(s, numbers().twoTo256, s);
        TovarMp::mp_sub(a, b, d);
        if (TovarMp::isNegative(d))
            TovarMp::mp_add(d, numbers().p, d);
        TovarMp::mp_mod(d, numbers().twoTo256, d);
        TovarMp::mp_add(a, a, t);
        if (TovarMp::mp_cmp(t, numbers().p) >= 0)
            TovarMp::mp_sub(t, numbers().p, t);
        TovarMp::mp_mod(t, numbers().twoTo256, t);

        FieldInt256 r = op.first;
        r.add(op.second);
        ASSERT_EQ(wordsHex(r), mpHex(s)) << wordsHex(op.first) << " + " << wordsHex(op.second);
        r = op.first;
        r.subtract(op.second);
        ASSERT_EQ(wordsHex(r), mpHex(d)) << wordsHex(op.first) << " - " << wordsHex(op.second);
        r = op.first;
        r.multiply2();
        ASSERT_EQ(wordsHex(r), mpHex(t)) << "2 * " << wordsHex(op.first);
    }
}

TEST_F(FieldInt256Test, MultiplyAndSquareMatchModularArithmetic) {
    std::vector<std::pair<FieldInt256, FieldInt256>> pairs = reducedPairs();
    // The Barrett quotient is at most one short for any two 256-bit operands, so the product comes out
    // fully reduced even for unreduced inputs.
    for (const auto &op : allEdgePairs())
        pairs.push_back(op);
    for (const auto &op : pairs) {
        mp_int a, b, product, square;
        toMp(op.first, a);
        toMp(op.second, b);
        TovarMp::mp_mulmod(a, b, numbers().p, product);
        TovarMp::mp_mulmod(a, a, numbers().p, square);

        FieldInt256 r = op.first;
        r.multiply(op.second);
        ASSERT_EQ(wordsHex(r), mpHex(product)) << wordsHex(op.first) << " * " << wordsHex(op.second);
        FieldInt256 s = op.first;
        s.square();
        ASSERT_EQ(wordsHex(s), mpHex(square)) << wordsHex(op.first) << "^2";
        FieldInt256 self = op.first;
        self.multiply(self);  // the argument may be the object itself
        ASSERT_EQ(wordsHex(self), wordsHex(s));
    }
}

TEST_F(FieldInt256Test, MultiplyWhenTheBarrettQuotientIsOneShort) {
    // floor(2^512 / p) leaves the quotient estimate one short only when a·b mod p is below about 2^64.
    // With a = p - x and b = p - y, a·b ≡ x·y: for x·y in [2^33, 2^64) the remainder before the final
    // subtraction is x·y + p >= 2^256, which only the test of bits 256..287 catches; for x·y < 2^32 + 977
    // it is below 2^256 but at least p.
    for (int i = 0; i < m_iterations; ++i) {
        _tvUnsigned256 x, y;
        x.value[0] = (std::uint32_t)m_rng.next() | 1u;
        y.value[0] = (std::uint32_t)m_rng.next() | 1u;
        if (i % 4 == 0)
            y.value[0] &= 0xFFu;  // x·y below 2^40, sometimes below 2^32
        if (i % 8 == 0)
            x.value[0] &= 0xFFFFFFu;
        _tvUnsigned256 a = ecckey::m_Modulus, b = ecckey::m_Modulus;
        a.subtract(x, 1);
        b.subtract(y, 1);
        mp_int ma, mb, expected;
        toMp(a, ma);
        toMp(b, mb);
        TovarMp::mp_mulmod(ma, mb, numbers().p, expected);
        FieldInt256 r = fieldOf(a);
        r.multiply(fieldOf(b));
        ASSERT_EQ(wordsHex(r), mpHex(expected)) << wordsHex(a) << " * " << wordsHex(b);
    }
}

TEST_F(FieldInt256Test, EdgeResults) {
    FieldInt256 pMinus1 = fieldOf(ecckey::m_Modulus);
    pMinus1.subtract(FieldInt256(ecckey::s_ONE));  // p - (1) with no borrow
    FieldInt256 one(ecckey::s_ONE);

    FieldInt256 r = pMinus1;
    r.add(one);
    EXPECT_TRUE(r == _tvCurvePt::m_s_fiZero);  // (p - 1) + 1 = 0
    r = _tvCurvePt::m_s_fiZero;
    r.subtract(one);
    EXPECT_TRUE(r == pMinus1);  // 0 - 1 = p - 1
    r = pMinus1;
    r.multiply2();
    EXPECT_EQ(wordsHex(r), "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEFFFFFC2D");  // p - 2
    r = pMinus1;
    r.multiply(pMinus1);
    EXPECT_TRUE(r == one);  // (p - 1)² = 1
    for (int i = 0; i < 100; ++i) {
        FieldInt256 v = fieldOf(randomBelow(m_rng, ecckey::m_Modulus));
        FieldInt256 z = v;
        z.multiply(_tvCurvePt::m_s_fiZero);
        EXPECT_TRUE(z == _tvCurvePt::m_s_fiZero);
        FieldInt256 same = v;
        same.multiply(one);
        EXPECT_TRUE(same == v);
    }
}

TEST_F(FieldInt256Test, ReciprocalInvertsAndKeepsZero) {
    FieldInt256 zero;
    zero.reciprocal();
    EXPECT_TRUE(zero == _tvCurvePt::m_s_fiZero);
    std::vector<FieldInt256> values;
    for (const _tvUnsigned256 &e : reducedEdgeValues())
        values.push_back(fieldOf(e));
    for (int i = 0; i < m_iterations / 10; ++i)
        values.push_back(fieldOf(randomBelow(m_rng, ecckey::m_Modulus)));
    for (const FieldInt256 &v : values) {
        if (v == _tvCurvePt::m_s_fiZero)
            continue;
        FieldInt256 inv = v;
        inv.reciprocal();
        mp_int a, expected;
        toMp(v, a);
        ASSERT_EQ(TovarMp::mp_invmod(a, numbers().p, expected), 0);
        ASSERT_EQ(wordsHex(inv), mpHex(expected));
        inv.multiply(v);
        ASSERT_TRUE(inv == _tvCurvePt::m_s_fiOne) << wordsHex(v);
    }
}

TEST_F(FieldInt256Test, ReplaceAndComparisons) {
    for (int i = 0; i < m_iterations; ++i) {
        FieldInt256 a = fieldOf(randomBelow(m_rng, ecckey::m_Modulus));
        FieldInt256 b = (i % 4 == 0) ? a : fieldOf(randomBelow(m_rng, ecckey::m_Modulus));
        mp_int ma, mb;
        toMp(a, ma);
        toMp(b, mb);
        int c = TovarMp::mp_cmp(ma, mb);
        ASSERT_EQ(a == b, c == 0);
        ASSERT_EQ(a != b, c != 0);
        ASSERT_EQ(a < b, c < 0);
        ASSERT_EQ(a <= b, c <= 0);
        ASSERT_EQ(a > b, c > 0);
        ASSERT_EQ(a >= b, c >= 0);
        const _tvUnsigned256 &plain = b;
        ASSERT_EQ(a < plain, c < 0);
        ASSERT_EQ(a >= plain, c >= 0);

        FieldInt256 r = a;
        r.replace(b, 0);
        ASSERT_TRUE(r == a);
        r.replace(b, 1);
        ASSERT_TRUE(r == b);
    }
}

TEST_F(FieldInt256Test, ComparisonWithTheGroupOrderTreatsBothAsPlainIntegers) {
    // An x coordinate in [n, p) is >= n as a 256-bit integer.
    const _tvUnsigned256 &n = _tvCurvePt::m_s_order;
    FieldInt256 between = fieldOf(n);
    between.value[0] += 5;  // n + 5 < p
    EXPECT_TRUE(between >= n);
    EXPECT_FALSE(between < n);
    FieldInt256 below = fieldOf(n);
    below.value[0] -= 1;
    EXPECT_TRUE(below < n);
    EXPECT_FALSE(below >= n);
    EXPECT_TRUE(fieldOf(n) >= n);
}

TEST_F(FieldInt256Test, ConversionToAPlainIntegerCopiesTheWords) {
    FieldInt256 f = fieldOf(randomBelow(m_rng, ecckey::m_Modulus));
    _tvUnsigned256 u(f);
    EXPECT_EQ(wordsHex(u), wordsHex(f));
}

}  // namespace
