// TovarMp conversions and the Montgomery helpers, against OpenSSL's BIGNUM on the values where digit
// and byte boundaries meet: 0, 1, 2^60 +- 1, 2^64, top bits set, 66-byte values.
#include <gtest/gtest.h>
#include <openssl/bn.h>
#include <openssl/evp.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/DataBuffer.h"
#include "support/LogBase.h"
#include "support/Oracle.h"
#include "support/StringBuffer.h"
#include "support/TestPrng.h"
#include "support/TovarMp.h"

using namespace ecckey;
using Bytes = std::vector<unsigned char>;
using ecckey_test::BnPtr;

namespace {

BnPtr bnFromHex(const char *hex) {
    BIGNUM *bn = nullptr;
    BN_hex2bn(&bn, hex);
    return BnPtr(bn);
}

Bytes bnBytes(const BIGNUM *bn) {
    Bytes b((size_t)BN_num_bytes(bn));
    BN_bn2bin(bn, b.data());
    return b;
}

std::string base64url(const Bytes &b) {
    std::string out(4 * ((b.size() + 2) / 3) + 1, '\0');
    out.resize((size_t)EVP_EncodeBlock((unsigned char *)&out[0], b.data(), (int)b.size()));
    std::replace(out.begin(), out.end(), '+', '-');
    std::replace(out.begin(), out.end(), '/', '_');
    out.erase(std::remove(out.begin(), out.end(), '='), out.end());
    return out;
}

std::vector<std::string> edgeValuesHex() {
    std::vector<std::string> v = {"0",
                                  "1",
                                  "7F",
                                  "80",
                                  "FF",
                                  "100",
                                  "FFFFFFFFFFFFFFF",   // 2^60 - 1: one full digit
                                  "1000000000000000",  // 2^60: the second digit starts
                                  "1000000000000001",
                                  "FFFFFFFFFFFFFFFF",   // 2^64 - 1
                                  "10000000000000000",  // 2^64
                                  "8000000000000000000000000000000000000000000000000000000000000000",
                                  "FFFFFFFF00000001000000000000000000000000FFFFFFFFFFFFFFFFFFFFFFFF"};
    // 66-byte values, as P-521 scalars are: with a small and with a large top byte.
    v.push_back("1" + std::string(130, 'F'));
    v.push_back("80" + std::string(128, '0') + "01");
    return v;
}

TEST(TovarMpConversions, BytesAndTextMatchOpenssl) {
    for (const std::string &hex : edgeValuesHex()) {
        SCOPED_TRACE(hex);
        const BnPtr bn = bnFromHex(hex.c_str());
        const Bytes magnitude = bnBytes(bn.get());
        mp_int a;
        ASSERT_TRUE(TovarMp::mpint_from_bytes(a, magnitude.data(), (unsigned)magnitude.size()));
        EXPECT_EQ((int)magnitude.size(), TovarMp::mp_unsigned_bin_size(a));
        EXPECT_EQ(BN_num_bits(bn.get()), TovarMp::mp_count_bits(a));

        DataBuffer db;
        ASSERT_TRUE(TovarMp::mpint_to_db(a, db));
        EXPECT_EQ(magnitude, Bytes(db.getData2(), db.getData2() + db.getSize()));

        Bytes raw(magnitude.size() + 1, 0xcc);
        ASSERT_TRUE(TovarMp::mpint_to_bytes(a, raw.data()));
        EXPECT_EQ(magnitude, Bytes(raw.begin(), raw.end() - 1));
        EXPECT_EQ(0xcc, raw.back());  // writes exactly mp_unsigned_bin_size bytes

        // SSH mpint content: OpenSSL's MPI form is a 4-byte length and exactly that content.
        Bytes mpi((size_t)BN_bn2mpi(bn.get(), nullptr));
        BN_bn2mpi(bn.get(), mpi.data());
        DataBuffer ssh;
        ASSERT_TRUE(TovarMp::unsigned_mpint_to_db(a, ssh));
        EXPECT_EQ(Bytes(mpi.begin() + 4, mpi.end()), Bytes(ssh.getData2(), ssh.getData2() + ssh.getSize()));

        StringBuffer url;
        LogNull log;
        ASSERT_TRUE(TovarMp::mpint_to_base64url(a, url, log));
        // Zero has no magnitude bytes; it is written as one zero byte so that the text is never empty.
        EXPECT_EQ(magnitude.empty() ? std::string("AA") : base64url(magnitude), url.getString());

        for (unsigned width : {0u, 1u, 32u, 66u, 70u}) {
            StringBuffer padded;
            ASSERT_TRUE(TovarMp::mpint_to_hex_zero_extended(a, width, padded));
            Bytes expected(std::max<size_t>(width, magnitude.size()), 0);
            BN_bn2binpad(bn.get(), expected.data(), (int)expected.size());
            EXPECT_EQ(ecckey_test::hexOf(expected.data(), expected.size()), padded.getString()) << width;
        }

        StringBuffer minimal;
        ASSERT_TRUE(TovarMp::mpint_to_hex(a, minimal));
        EXPECT_EQ(ecckey_test::hexOf(bn.get()), minimal.getString());

        std::string lower = hex;
        std::transform(lower.begin(), lower.end(), lower.begin(), ::tolower);
        for (const std::string &text : {hex, lower, "000" + hex}) {
            mp_int parsed;
            ASSERT_TRUE(TovarMp::mpint_from_radix(parsed, text.c_str(), 16)) << text;
            EXPECT_EQ(0, TovarMp::mp_cmp(a, parsed)) << text;
        }
    }
}

TEST(TovarMpConversions, DigitsAreSixtyBitsWide) {
    mp_int a;
    ASSERT_TRUE(TovarMp::mpint_from_radix(a, "1000000000000000", 16));  // 2^60
    EXPECT_EQ(60, mp_int::digitBits());
    EXPECT_EQ(2, a.get_digit_count());
    EXPECT_EQ(0u, a.get_digit(0));
    EXPECT_EQ(1u, a.get_digit(1));
    EXPECT_EQ(0u, a.get_digit(2));
    mp_int zero;
    EXPECT_EQ(0, zero.get_digit_count());
    EXPECT_TRUE(TovarMp::isZero(zero));
}

TEST(TovarMpConversions, RadixTextRefusesInvalidDigits) {
    const char *bad[] = {"", "12G", "-1", "0x12", " 12", "12 ", "1_0", "+5"};
    for (const char *text : bad) {
        mp_int a;
        TovarMp::mp_set(a, 7);
        EXPECT_FALSE(TovarMp::mpint_from_radix(a, text, 16)) << "'" << text << "'";
    }
    mp_int a;
    EXPECT_FALSE(TovarMp::mpint_from_radix(a, nullptr, 16));
}

TEST(TovarMpConversions, NegativeValuesHaveNoSshMpintContent) {
    mp_int one, minusOne, zero;
    TovarMp::mp_set(one, 1);
    TovarMp::mp_sub(zero, one, minusOne);
    DataBuffer db;
    EXPECT_FALSE(TovarMp::unsigned_mpint_to_db(minusOne, db));
    EXPECT_TRUE(TovarMp::isNegative(minusOne));
    StringBuffer hex;
    ASSERT_TRUE(TovarMp::mpint_to_hex(minusOne, hex));
    EXPECT_STREQ("-1", hex.getString());
}

// Montgomery form as the generic arithmetic uses it: beta = 2^(60 * digits of m).
TEST(TovarMpMontgomery, NormalizationAndReductionMatchOpenssl) {
    ecckey_test::TestPrng prng(ecckey_test::testSeed());
    BN_CTX *ctx = BN_CTX_new();
    const int iterations = ecckey_test::testIterations(50);
    for (const ecckey_test::CurveInfo &curve : ecckey_test::allCurves()) {
        const ecckey_test::GroupPtr group = ecckey_test::groupFor(curve);
        BnPtr p(BN_new());
        ASSERT_EQ(1, EC_GROUP_get_curve(group.get(), p.get(), nullptr, nullptr, nullptr));
        mp_int m;
        ecckey_test::fromBn(p.get(), m);
        MpDigit rho = 0;
        ASSERT_EQ(0, TovarMp::mp_montgomery_setup(m, rho));
        mp_int r;
        ASSERT_EQ(0, TovarMp::mp_montgomery_normalization(r, m));

        BnPtr beta(BN_new()), betaInv(BN_new()), expected(BN_new());
        BN_lshift(beta.get(), BN_value_one(), 60 * m.get_digit_count());
        BN_mod(expected.get(), beta.get(), p.get(), ctx);
        EXPECT_EQ(ecckey_test::hexOf(expected.get()), ecckey_test::hexOf(r)) << curve.name;
        BN_mod_inverse(betaInv.get(), beta.get(), p.get(), ctx);

        for (int i = 0; i < iterations; ++i) {
            // x < p^2, as a product of two reduced values is.
            BnPtr a(ecckey_test::randomScalar(
                p.get(), [](void *c) { return ((ecckey_test::TestPrng *)c)->next(); }, &prng));
            BnPtr x(BN_new());
            BN_mul(x.get(), a.get(), a.get(), ctx);
            mp_int mx;
            ecckey_test::fromBn(x.get(), mx);
            ASSERT_EQ(0, TovarMp::mp_montgomery_reduce(mx, m, rho));
            BN_mod_mul(expected.get(), x.get(), betaInv.get(), p.get(), ctx);
            ASSERT_EQ(ecckey_test::hexOf(expected.get()), ecckey_test::hexOf(mx)) << curve.name;
        }
    }
    BN_CTX_free(ctx);
}

// Regression: LibTomMath 1.2 inverted |a| for a negative a under an odd modulus, and returned a negative
// result.
TEST(TovarMpArithmetic, InverseOfNegativeValuesIsCorrectAndReduced) {
    mp_int m, one, zero;
    ASSERT_TRUE(TovarMp::mpint_from_radix(m, "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEFFFFFFFFFFFFFFFF", 16));
    TovarMp::mp_set(one, 1);
    for (unsigned long k : {1ul, 2ul, 3ul, 0xfffffffful}) {
        mp_int positive, negative, inverse, product;
        TovarMp::mp_set_int(positive, k);
        TovarMp::mp_sub(zero, positive, negative);
        ASSERT_EQ(0, TovarMp::mp_invmod(negative, m, inverse)) << k;
        EXPECT_FALSE(TovarMp::isNegative(inverse)) << k;
        EXPECT_EQ(-1, TovarMp::mp_cmp(inverse, m)) << k;
        ASSERT_EQ(0, TovarMp::mp_mulmod(inverse, negative, m, product)) << k;
        EXPECT_EQ(0, TovarMp::mp_cmp_d(product, 1)) << k;
    }
    mp_int c, minusOne;
    TovarMp::mp_sub(zero, one, minusOne);
    ASSERT_EQ(0, TovarMp::mp_mod(minusOne, m, c));
    mp_int expected;
    TovarMp::mp_sub(m, one, expected);
    EXPECT_EQ(0, TovarMp::mp_cmp(expected, c));  // mp_mod lands in [0, m)
    EXPECT_NE(0, TovarMp::mp_invmod(zero, m, c));
}

}  // namespace
