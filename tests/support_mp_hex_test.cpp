// TovarMp's radix-16 reader, which builds the digits itself, against the byte reader (LibTomMath's
// mp_from_ubin) on random texts of every length up to 200 characters: leading zeros, both cases, an odd
// count of characters, and a destination that held a longer or a negative value before.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/TestPrng.h"
#include "support/TovarMp.h"

using namespace ecckey;

namespace {

const char kUpper[] = "0123456789ABCDEF";
const char kLower[] = "0123456789abcdef";

// The value of hex text as bytes (an odd count of characters gets a leading zero nibble).
std::vector<unsigned char> bytesOf(const std::string &hex) {
    const std::string even = hex.size() % 2 ? "0" + hex : hex;
    std::vector<unsigned char> out;
    for (std::size_t i = 0; i < even.size(); i += 2)
        out.push_back((unsigned char)std::stoi(even.substr(i, 2), nullptr, 16));
    return out;
}

void expectSameInteger(const mp_int &got, const mp_int &want, const std::string &what) {
    EXPECT_EQ(0, TovarMp::mp_cmp(got, want)) << what;
    EXPECT_FALSE(TovarMp::isNegative(got)) << what;
    EXPECT_EQ(want.get_digit_count(), got.get_digit_count()) << what;
    for (int i = 0; i < want.get_digit_count(); ++i)
        EXPECT_EQ(want.get_digit(i), got.get_digit(i)) << what << " digit " << i;
}

TEST(TovarMpHexReader, RandomTextsOfEveryLengthMatchTheByteReader) {
    ecckey_test::TestPrng rng(ecckey_test::testSeed());
    mp_int wide;  // a destination that held a longer, negative value
    for (int len = 1; len <= 200; ++len) {
        for (int round = 0; round < ecckey_test::testIterations(4); ++round) {
            std::string hex;
            const int leadingZeros = round == 0 ? (int)(rng.next() % (unsigned)len) : 0;
            for (int i = 0; i < len; ++i) {
                const unsigned nibble = i < leadingZeros ? 0 : (unsigned)(rng.next() & 15);
                hex += (rng.next() & 1) ? kUpper[nibble] : kLower[nibble];
            }
            const std::vector<unsigned char> bytes = bytesOf(hex);
            mp_int want;
            ASSERT_TRUE(TovarMp::mpint_from_bytes(want, bytes.data(), (unsigned)bytes.size()));

            mp_int fresh;
            ASSERT_TRUE(TovarMp::mpint_from_radix(fresh, hex.c_str(), 16)) << hex;
            expectSameInteger(fresh, want, hex);

            mp_int big;
            ASSERT_TRUE(TovarMp::mpint_from_radix(big, std::string(300, 'F').c_str(), 16));
            mp_int zero;
            ASSERT_EQ(0, TovarMp::mp_sub(zero, big, wide));
            ASSERT_TRUE(TovarMp::mpint_from_radix(wide, hex.c_str(), 16)) << hex;
            expectSameInteger(wide, want, hex + " (over a longer negative value)");

            // The result takes part in LibTomMath's arithmetic like any other integer.
            mp_int sumGot, sumWant;
            ASSERT_EQ(0, TovarMp::mp_add(wide, big, sumGot));
            ASSERT_EQ(0, TovarMp::mp_add(want, big, sumWant));
            EXPECT_EQ(0, TovarMp::mp_cmp(sumGot, sumWant)) << hex;
        }
    }
}

TEST(TovarMpHexReader, ZeroTextsGiveZero) {
    for (const char *text :
         {"0", "00", "0000000000000000000000000000000000000000000000000000000000000000000"}) {
        mp_int a;
        TovarMp::mp_set(a, 12345);
        ASSERT_TRUE(TovarMp::mpint_from_radix(a, text, 16)) << text;
        EXPECT_TRUE(TovarMp::isZero(a)) << text;
        EXPECT_EQ(0, a.get_digit_count()) << text;
        EXPECT_FALSE(TovarMp::isNegative(a)) << text;
    }
}

}  // namespace
