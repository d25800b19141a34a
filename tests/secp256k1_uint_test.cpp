// _tvUnsigned256 and its file-level functions against LibTomMath arithmetic on random and edge values.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "ecc/secp256k1/CurvePt.h"
#include "support/DataBuffer.h"
#include "support/Secp256k1Oracle.h"
#include "support/TovarMp.h"

using ecckey::_tvCurvePt;
using ecckey::_tvUnsigned256;
using ecckey::mp_int;
using ecckey::TovarMp;
using namespace ecckey_test;

namespace {

// Operand pairs: every pair of edge values, then random pairs.
std::vector<std::pair<_tvUnsigned256, _tvUnsigned256>> operandPairs(TestPrng &rng, int randomCount) {
    std::vector<std::pair<_tvUnsigned256, _tvUnsigned256>> pairs;
    std::vector<_tvUnsigned256> edges = edgeValues();
    for (const auto &a : edges)
        for (const auto &b : edges)
            pairs.emplace_back(a, b);
    for (int i = 0; i < randomCount; ++i)
        pairs.emplace_back(randomU256(rng), randomU256(rng));
    return pairs;
}

// v mod 2^256 for 0 <= v < 2^257 and the bit above.
std::string low256(const mp_int &v, unsigned &overflow) {
    mp_int r;
    overflow = TovarMp::mp_cmp(v, numbers().twoTo256) >= 0;
    if (overflow) {
        TovarMp::mp_sub(v, numbers().twoTo256, r);
    } else {
        TovarMp::mp_copy(v, r);
    }
    return mpHex(r);
}

class Unsigned256Test : public ::testing::Test {
  protected:
    TestPrng m_rng{testSeed()};
    int m_iterations = testIterations(3000);
};

TEST_F(Unsigned256Test, AddMatchesBigIntegersAndReturnsTheCarry) {
    for (const auto &op : operandPairs(m_rng, m_iterations)) {
        mp_int a, b, sum;
        toMp(op.first, a);
        toMp(op.second, b);
        TovarMp::mp_add(a, b, sum);
        unsigned expectedCarry = 0;
        std::string expected = low256(sum, expectedCarry);

        _tvUnsigned256 r = op.first;
        unsigned carry = r.add(op.second, 1);
        ASSERT_EQ(wordsHex(r), expected) << wordsHex(op.first) << " + " << wordsHex(op.second);
        ASSERT_EQ(carry, expectedCarry);

        _tvUnsigned256 unchanged = op.first;
        ASSERT_EQ(unchanged.add(op.second, 0), 0u);
        ASSERT_EQ(wordsHex(unchanged), wordsHex(op.first));
    }
}

TEST_F(Unsigned256Test, SubtractMatchesBigIntegersAndReturnsTheBorrow) {
    for (const auto &op : operandPairs(m_rng, m_iterations)) {
        mp_int a, b, diff;
        toMp(op.first, a);
        toMp(op.second, b);
        TovarMp::mp_sub(a, b, diff);
        unsigned expectedBorrow = TovarMp::isNegative(diff) ? 1 : 0;
        if (expectedBorrow)
            TovarMp::mp_add(diff, numbers().twoTo256, diff);

        _tvUnsigned256 r = op.first;
        unsigned borrow = r.subtract(op.second, 1);
        ASSERT_EQ(wordsHex(r), mpHex(diff)) << wordsHex(op.first) << " - " << wordsHex(op.second);
        ASSERT_EQ(borrow, expectedBorrow);

        _tvUnsigned256 unchanged = op.first;
        ASSERT_EQ(unchanged.subtract(op.second, 0), 0u);
        ASSERT_EQ(wordsHex(unchanged), wordsHex(op.first));
    }
}

TEST_F(Unsigned256Test, SubtractFromItself) {
    // Wrap-around, carry and borrow at 0 and 2^256 - 1 come with the edge pairs above; the argument may also
    // be the object itself.
    _tvUnsigned256 same = u256FromHex(std::string(64, 'F'));
    EXPECT_EQ(same.subtract(same, 1), 0u);
    EXPECT_EQ(wordsHex(same), wordsHex(ecckey::s_ZERO));
}

TEST_F(Unsigned256Test, ShiftsMatchBigIntegers) {
    std::vector<_tvUnsigned256> values = edgeValues();
    for (int i = 0; i < m_iterations; ++i)
        values.push_back(randomU256(m_rng));
    for (const _tvUnsigned256 &v : values) {
        mp_int a, twice, half;
        toMp(v, a);
        TovarMp::mp_add(a, a, twice);
        unsigned expectedOut = 0;
        std::string expectedTwice = low256(twice, expectedOut);
        TovarMp::mp_div_2(a, half);

        _tvUnsigned256 left = v;
        ASSERT_EQ(left.shiftLeft1(), expectedOut);
        ASSERT_EQ(wordsHex(left), expectedTwice);

        _tvUnsigned256 right = v;
        right.shiftRight1(1);
        ASSERT_EQ(wordsHex(right), mpHex(half));
        right = v;
        right.shiftRight1(0);
        ASSERT_EQ(wordsHex(right), wordsHex(v));
    }
    _tvUnsigned256 top = u256FromHex("8000000000000000000000000000000000000000000000000000000000000000");
    EXPECT_EQ(top.shiftLeft1(), 1u);
    EXPECT_EQ(wordsHex(top), wordsHex(ecckey::s_ZERO));
}

TEST_F(Unsigned256Test, ComparisonsMatchBigIntegers) {
    std::vector<std::pair<_tvUnsigned256, _tvUnsigned256>> pairs = operandPairs(m_rng, m_iterations);
    // Pairs that differ in one word only, low or high, and equal pairs.
    for (int i = 0; i < m_iterations / 4; ++i) {
        _tvUnsigned256 a = randomU256(m_rng);
        _tvUnsigned256 b = a;
        b.value[m_rng.next() % 8] ^= (std::uint32_t)(1u << (m_rng.next() % 32));
        pairs.emplace_back(a, b);
        pairs.emplace_back(a, a);
    }
    for (const auto &op : pairs) {
        mp_int a, b;
        toMp(op.first, a);
        toMp(op.second, b);
        int c = TovarMp::mp_cmp(a, b);
        const _tvUnsigned256 &x = op.first;
        const _tvUnsigned256 &y = op.second;
        ASSERT_EQ(x == y, c == 0) << wordsHex(x) << " vs " << wordsHex(y);
        ASSERT_EQ(x != y, c != 0);
        ASSERT_EQ(x < y, c < 0);
        ASSERT_EQ(x <= y, c <= 0);
        ASSERT_EQ(x > y, c > 0);
        ASSERT_EQ(x >= y, c >= 0);
    }
}

TEST_F(Unsigned256Test, ReplaceAndSwapFollowTheEnableBit) {
    for (int i = 0; i < 200; ++i) {
        _tvUnsigned256 a = randomU256(m_rng), b = randomU256(m_rng);
        _tvUnsigned256 r = a;
        r.replace(b, 0);
        ASSERT_EQ(wordsHex(r), wordsHex(a));
        r.replace(b, 1);
        ASSERT_EQ(wordsHex(r), wordsHex(b));

        _tvUnsigned256 s = a, t = b;
        s.swap(t, 0);
        ASSERT_EQ(wordsHex(s), wordsHex(a));
        ASSERT_EQ(wordsHex(t), wordsHex(b));
        s.swap(t, 1);
        ASSERT_EQ(wordsHex(s), wordsHex(b));
        ASSERT_EQ(wordsHex(t), wordsHex(a));
    }
}

TEST_F(Unsigned256Test, HexConstructorParsesMostSignificantDigitFirstInEitherCase) {
    static const char digits[] = "0123456789abcdefABCDEF";
    for (int i = 0; i < m_iterations; ++i) {
        char text[65];
        for (int j = 0; j < 64; ++j)
            text[j] = digits[m_rng.next() % 22];
        text[64] = 'Z';  // past the 64 digits: never read
        mp_int expected;
        std::string terminated(text, 64);
        mpFromHex(terminated.c_str(), expected);
        ASSERT_EQ(wordsHex(_tvUnsigned256(text)), mpHex(expected)) << terminated;
    }
}

TEST_F(Unsigned256Test, HexConstructorMapsAnInvalidDigitToAllOnes) {
    // The last character is the least significant nibble: 'G' there sets every bit of word 0.
    std::string text(63, '0');
    text += 'G';
    _tvUnsigned256 v(text.c_str());
    EXPECT_EQ(v.value[0], 0xFFFFFFFFu);
    for (int i = 1; i < 8; ++i)
        EXPECT_EQ(v.value[i], 0u);

    // An invalid digit at nibble 1 of word 2 sets that nibble and every higher bit of word 2 only.
    std::string mid(64, '1');
    mid[63 - 17] = 'x';
    _tvUnsigned256 m(mid.c_str());
    EXPECT_EQ(m.value[2], 0xFFFFFFF1u);
    EXPECT_EQ(m.value[1], 0x11111111u);
    EXPECT_EQ(m.value[3], 0x11111111u);
}

TEST_F(Unsigned256Test, BytesRoundTripBigEndian) {
    for (int i = 0; i < m_iterations; ++i) {
        std::vector<unsigned char> bytes = m_rng.bytes(32);
        _tvUnsigned256 v(bytes.data());
        ASSERT_EQ(wordsHex(v), hexOf(bytes.data(), 32));
        unsigned char out[32];
        v.getBigEndian(out);
        ASSERT_EQ(0, std::memcmp(out, bytes.data(), 32));
    }
    unsigned char one[32] = {0};
    one[31] = 1;
    EXPECT_TRUE(_tvUnsigned256(one) == ecckey::s_ONE);
}

TEST_F(Unsigned256Test, ConstantsHoldTheirValues) {
    EXPECT_EQ(wordsHex(ecckey::s_ZERO), std::string(64, '0'));
    EXPECT_EQ(wordsHex(ecckey::s_ONE), std::string(63, '0') + "1");
    EXPECT_EQ(wordsHex(ecckey::m_Modulus), mpHex(numbers().p));
    EXPECT_EQ(wordsHex(_tvCurvePt::m_s_order), mpHex(numbers().n));
}

TEST_F(Unsigned256Test, ReciprocalMatchesModularInverse) {
    for (const _tvUnsigned256 *modulus : {&ecckey::m_Modulus, &_tvCurvePt::m_s_order}) {
        mp_int m;
        toMp(*modulus, m);
        std::vector<_tvUnsigned256> values;
        for (const _tvUnsigned256 &e : edgeValues())
            if (e < *modulus)
                values.push_back(e);
        for (int i = 0; i < m_iterations / 10; ++i)
            values.push_back(randomBelow(m_rng, *modulus));
        for (const _tvUnsigned256 &v : values) {
            _tvUnsigned256 r = v;
            r.reciprocal(*modulus);
            mp_int a, inv;
            toMp(v, a);
            if (TovarMp::isZero(a)) {
                ASSERT_EQ(wordsHex(r), wordsHex(ecckey::s_ZERO));  // zero stays zero
                continue;
            }
            ASSERT_EQ(TovarMp::mp_invmod(a, m, inv), 0);
            ASSERT_EQ(wordsHex(r), mpHex(inv)) << wordsHex(v) << " mod " << wordsHex(*modulus);
        }
    }
    _tvUnsigned256 one = ecckey::s_ONE;
    one.reciprocal(ecckey::m_Modulus);
    EXPECT_EQ(wordsHex(one), wordsHex(ecckey::s_ONE));
}

TEST_F(Unsigned256Test, MultiplyModOrderMatchesBigIntegers) {
    const _tvUnsigned256 &n = _tvCurvePt::m_s_order;
    std::vector<_tvUnsigned256> values;
    for (const _tvUnsigned256 &e : edgeValues())
        if (e < n)
            values.push_back(e);
    std::vector<std::pair<_tvUnsigned256, _tvUnsigned256>> pairs;
    for (const auto &a : values)
        for (const auto &b : values)
            pairs.emplace_back(a, b);
    for (int i = 0; i < m_iterations / 3; ++i)
        pairs.emplace_back(randomBelow(m_rng, n), randomBelow(m_rng, n));
    for (const auto &op : pairs) {
        mp_int a, b, expected;
        toMp(op.first, a);
        toMp(op.second, b);
        TovarMp::mp_mulmod(a, b, numbers().n, expected);
        _tvUnsigned256 x = op.first;
        _tvUnsigned256 y = op.second;
        multiplyModOrder(x, y);
        ASSERT_EQ(wordsHex(x), mpHex(expected)) << wordsHex(op.first) << " * " << wordsHex(op.second);
        ASSERT_EQ(wordsHex(y), wordsHex(op.second));  // the second argument is only read
    }
    _tvUnsigned256 nMinus1 = n;
    nMinus1.subtract(ecckey::s_ONE, 1);
    _tvUnsigned256 x = nMinus1;
    multiplyModOrder(x, nMinus1);
    EXPECT_EQ(wordsHex(x), wordsHex(ecckey::s_ONE));  // (n - 1)² = 1 mod n
}

TEST_F(Unsigned256Test, MpIntConversionsRoundTrip) {
    for (int i = 0; i < m_iterations; ++i) {
        unsigned len = 1 + (unsigned)(m_rng.next() % 32);
        std::vector<unsigned char> bytes = m_rng.bytes(len);
        mp_int m;
        ASSERT_TRUE(TovarMp::mpint_from_bytes(m, bytes.data(), len));
        _tvUnsigned256 v;
        ASSERT_TRUE(mp_int_to_uint256(m, v));
        ASSERT_EQ(wordsHex(v), mpHex(m));
        mp_int back;
        ecckey::uint256_to_mp_int(v, back);
        ASSERT_EQ(TovarMp::mp_cmp(back, m), 0);
        ASSERT_FALSE(TovarMp::isNegative(back));
    }
    for (const _tvUnsigned256 &e : edgeValues()) {
        mp_int m;
        ecckey::uint256_to_mp_int(e, m);
        ASSERT_EQ(mpHex(m), wordsHex(e));
    }
}

TEST_F(Unsigned256Test, MpIntToUint256RejectsMoreThan32BytesAndAcceptsZero) {
    std::vector<unsigned char> bytes(33, 0);
    bytes[0] = 1;
    mp_int big;
    ASSERT_TRUE(TovarMp::mpint_from_bytes(big, bytes.data(), 33));
    _tvUnsigned256 untouched = u256FromHex("123456789ABCDEF");
    EXPECT_FALSE(mp_int_to_uint256(big, untouched));
    EXPECT_EQ(wordsHex(untouched), wordsHex(u256FromHex("123456789ABCDEF")));

    TovarMp::mp_add(numbers().twoTo256, numbers().twoTo256, big);  // 2^257: 33 bytes
    EXPECT_FALSE(mp_int_to_uint256(big, untouched));

    mp_int zero;
    _tvUnsigned256 v = u256FromHex("FFFF");
    EXPECT_TRUE(mp_int_to_uint256(zero, v));
    EXPECT_EQ(wordsHex(v), wordsHex(ecckey::s_ZERO));

    mp_int max;
    TovarMp::mp_sub(numbers().twoTo256, zero, max);
    mp_int oneMp;
    TovarMp::mp_set(oneMp, 1);
    TovarMp::mp_sub(max, oneMp, max);  // 2^256 - 1: exactly 32 bytes
    EXPECT_TRUE(mp_int_to_uint256(max, v));
    EXPECT_EQ(wordsHex(v), std::string(64, 'F'));
}

}  // namespace
