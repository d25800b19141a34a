// The one-call modular steps of TovarMp (mp_add_sub_once, mp_sub_add_once, mp_halve_add_odd) against the
// LibTomMath sequences they stand for, on every curve prime and on small moduli that end at a digit
// boundary: operands in range (the digit-level path) and out of it (negative, not below m, longer than m:
// the sequence itself), with the result in a separate integer and aliased to each operand. Value, sign
// and digit count must all match.
#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

#include "support/LogBase.h"
#include "support/Oracle.h"
#include "support/TestPrng.h"
#include "support/TovarMp.h"

using namespace ecckey;

namespace {

// A curve name (its prime is loaded in the test: the catalogue is not read during static initialisation)
// or a small modulus given in hex.
struct Modulus {
    std::string name;
    std::string hex;  // empty for a curve
};

std::vector<Modulus> moduli() {
    std::vector<Modulus> out;
    for (const ecckey_test::CurveInfo &c : ecckey_test::allCurves())
        out.push_back({c.name, ""});
    // One digit, a full digit, just over one digit (two digits, the top one small).
    out.push_back({"seven", "7"});
    out.push_back({"two60minus1", "FFFFFFFFFFFFFFF"});
    out.push_back({"two60plus1", "1000000000000001"});
    out.push_back({"two61minus1", "1FFFFFFFFFFFFFFF"});
    return out;
}

std::string modulusHex(const Modulus &m) {
    if (!m.hex.empty())
        return m.hex;
    EccCurve curve;
    LogNull log;
    EXPECT_TRUE(curve.loadCurveByName(m.name.c_str(), log)) << m.name;
    return curve.m_p.getString();
}

mp_int fromHex(const std::string &hex) {
    mp_int v;
    EXPECT_TRUE(TovarMp::mpint_from_radix(v, hex.c_str(), 16)) << hex;
    return v;
}

mp_int negated(const mp_int &v) {
    mp_int zero, out;
    EXPECT_EQ(0, TovarMp::mp_sub(zero, v, out));
    return out;
}

mp_int randomBelow(const mp_int &bound, ecckey_test::TestPrng &rng) {
    const unsigned len = (unsigned)TovarMp::mp_unsigned_bin_size(bound) + 8;
    std::vector<unsigned char> bytes = rng.bytes(len);
    mp_int v, r;
    EXPECT_TRUE(TovarMp::mpint_from_bytes(v, bytes.data(), len));
    EXPECT_EQ(0, TovarMp::mp_mod(v, bound, r));
    return r;
}

// Operands: the edges of [0, m), values at and above m, one longer than m, negatives, random values.
std::vector<mp_int> operands(const mp_int &m, ecckey_test::TestPrng &rng) {
    mp_int one, two;
    TovarMp::mp_set(one, 1);
    TovarMp::mp_set(two, 2);
    std::vector<mp_int> v;
    v.emplace_back();  // 0
    v.push_back(one);
    mp_int t;
    TovarMp::mp_sub(m, one, t);
    v.push_back(t);  // m - 1
    TovarMp::mp_sub(m, two, t);
    v.push_back(t);  // m - 2
    v.push_back(m);  // m
    TovarMp::mp_add(m, one, t);
    v.push_back(t);  // m + 1
    TovarMp::mp_add(m, m, t);
    v.push_back(t);  // 2m: one bit longer, possibly a digit longer
    // All digits of m's length set: β^n - 1, at or above m.
    std::string ones((size_t)(m.get_digit_count() * mp_int::digitBits() / 4), 'F');
    v.push_back(fromHex(ones));
    v.push_back(negated(one));
    v.push_back(negated(m));
    for (int i = 0; i < 6; ++i)
        v.push_back(randomBelow(m, rng));
    v.push_back(negated(randomBelow(m, rng)));
    return v;
}

void expectSame(const mp_int &got, const mp_int &want, const std::string &what) {
    EXPECT_EQ(0, TovarMp::mp_cmp(got, want)) << what;
    EXPECT_EQ(TovarMp::isNegative(want), TovarMp::isNegative(got)) << what;
    EXPECT_EQ(want.get_digit_count(), got.get_digit_count()) << what;
}

mp_int addSequence(const mp_int &a, const mp_int &b, const mp_int &m) {
    mp_int c;
    EXPECT_EQ(0, TovarMp::mp_add(a, b, c));
    if (TovarMp::mp_cmp(c, m) != -1) {
        EXPECT_EQ(0, TovarMp::mp_sub(c, m, c));
    }
    return c;
}

mp_int subSequence(const mp_int &a, const mp_int &b, const mp_int &m) {
    mp_int c;
    EXPECT_EQ(0, TovarMp::mp_sub(a, b, c));
    if (TovarMp::mp_cmp_d(c, 0) == -1) {
        EXPECT_EQ(0, TovarMp::mp_add(c, m, c));
    }
    return c;
}

mp_int halveSequence(const mp_int &a, const mp_int &m) {
    mp_int c = a;
    if (TovarMp::isOdd(c)) {
        EXPECT_EQ(0, TovarMp::mp_add(c, m, c));
    }
    EXPECT_EQ(0, TovarMp::mp_div_2(c, c));
    return c;
}

class ModularStepTest : public ::testing::TestWithParam<Modulus> {};

using StepFn = int (*)(const mp_int &, const mp_int &, const mp_int &, mp_int &);
using SequenceFn = mp_int (*)(const mp_int &, const mp_int &, const mp_int &);

// The one-call step equals the LibTomMath sequence on every pair of operands, whether the result goes to
// a fresh integer, to a, to b, or to a that is also b.
void expectStepMatchesSequence(const Modulus &modulus, StepFn step, SequenceFn sequence) {
    const mp_int m = fromHex(modulusHex(modulus));
    ecckey_test::TestPrng rng(ecckey_test::testSeed());
    const std::vector<mp_int> v = operands(m, rng);
    for (std::size_t i = 0; i < v.size(); ++i) {
        for (std::size_t j = 0; j < v.size(); ++j) {
            const std::string what =
                modulus.name + " operands " + std::to_string(i) + ", " + std::to_string(j);
            const mp_int want = sequence(v[i], v[j], m);
            mp_int c;
            ASSERT_EQ(0, step(v[i], v[j], m, c));
            expectSame(c, want, what + " (separate result)");
            mp_int a = v[i], b = v[j];
            ASSERT_EQ(0, step(a, b, m, a));
            expectSame(a, want, what + " (result is a)");
            a = v[i];
            ASSERT_EQ(0, step(a, b, m, b));
            expectSame(b, want, what + " (result is b)");
            mp_int same = v[i];
            ASSERT_EQ(0, step(same, same, m, same));
            expectSame(same, sequence(v[i], v[i], m), what + " (a with a into a)");
        }
    }
}

TEST_P(ModularStepTest, AddSubtractOnceMatchesTheSequence) {
    expectStepMatchesSequence(GetParam(), TovarMp::mp_add_sub_once, addSequence);
}

TEST_P(ModularStepTest, SubtractAddOnceMatchesTheSequence) {
    expectStepMatchesSequence(GetParam(), TovarMp::mp_sub_add_once, subSequence);
}

TEST_P(ModularStepTest, HalveMatchesTheSequence) {
    const mp_int m = fromHex(modulusHex(GetParam()));
    ecckey_test::TestPrng rng(ecckey_test::testSeed());
    const std::vector<mp_int> v = operands(m, rng);
    for (std::size_t i = 0; i < v.size(); ++i) {
        mp_int a = v[i];
        ASSERT_EQ(0, TovarMp::mp_halve_add_odd(a, m));
        expectSame(a, halveSequence(v[i], m), GetParam().name + " operand " + std::to_string(i));
    }
}

// Many random operands in range, the point formulas' own case, with a result that held a longer value
// before: its digits above the new length must not leak into the value.
TEST_P(ModularStepTest, RandomOperandsInRangeOverALongerResult) {
    const mp_int m = fromHex(modulusHex(GetParam()));
    ecckey_test::TestPrng rng(ecckey_test::testSeed());
    mp_int wide;
    ASSERT_EQ(0, TovarMp::mp_mul(m, m, wide));
    for (int i = 0; i < ecckey_test::testIterations(200); ++i) {
        const mp_int a = randomBelow(m, rng), b = randomBelow(m, rng);
        mp_int c = wide;
        ASSERT_EQ(0, TovarMp::mp_add_sub_once(a, b, m, c));
        expectSame(c, addSequence(a, b, m), "add");
        c = wide;
        ASSERT_EQ(0, TovarMp::mp_sub_add_once(a, b, m, c));
        expectSame(c, subSequence(a, b, m), "subtract");
        c = a;
        ASSERT_EQ(0, TovarMp::mp_halve_add_odd(c, m));
        expectSame(c, halveSequence(a, m), "halve");
        // Once reduced, the result keeps working as an operand of LibTomMath's own arithmetic.
        mp_int product, reference;
        ASSERT_EQ(0, TovarMp::mp_mul(c, b, product));
        mp_int h = halveSequence(a, m);
        ASSERT_EQ(0, TovarMp::mp_mul(h, b, reference));
        ASSERT_EQ(0, TovarMp::mp_cmp(product, reference));
    }
}

std::string modulusParamName(const ::testing::TestParamInfo<Modulus> &param) {
    std::string n;
    for (char ch : param.param.name)
        n += (std::isalnum((unsigned char)ch) ? ch : '_');
    return n;
}

INSTANTIATE_TEST_SUITE_P(Moduli, ModularStepTest, ::testing::ValuesIn(moduli()), modulusParamName);

}  // namespace
