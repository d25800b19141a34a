// TovarMp::mp_invmod against OpenSSL's BN_mod_inverse. Odd moduli take the module's own binary inversion
// (its temporaries are wiped; LibTomMath's are not, see tests/hygiene), so it is checked here on every
// curve's p and n, on the edges of its range, on composite moduli and with the result aliasing the input.

#include <gtest/gtest.h>

#include "support/Oracle.h"
#include "support/TestPrng.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

std::uint64_t nextOf(void *ctx) {
    return static_cast<TestPrng *>(ctx)->next();
}

void fromHex(const char *hex, mp_int &out) {
    ASSERT_TRUE(TovarMp::mpint_from_radix(out, hex, 16));
}

// The inverse OpenSSL computes, or "none".
std::string expectedInverse(const mp_int &a, const mp_int &m) {
    BnPtr ba = toBn(a), bm = toBn(m);
    BN_CTX *ctx = BN_CTX_new();
    BnPtr inv(BN_mod_inverse(nullptr, ba.get(), bm.get(), ctx));
    BN_CTX_free(ctx);
    return inv ? hexOf(inv.get()) : "none";
}

std::string actualInverse(const mp_int &a, const mp_int &m) {
    mp_int c;
    if (TovarMp::mp_invmod(a, m, c) != 0)
        return "none";
    return hexOf(c);
}

class InvmodCurves : public ::testing::TestWithParam<CurveInfo> {};

TEST_P(InvmodCurves, MatchesOpenSslModuloPrimeAndOrder) {
    const CurveInfo &c = GetParam();
    GroupPtr group = groupFor(c);
    BnPtr p(BN_new()), order(BN_dup(EC_GROUP_get0_order(group.get())));
    ASSERT_TRUE(EC_GROUP_get_curve(group.get(), p.get(), nullptr, nullptr, nullptr));
    TestPrng rng(testSeed() ^ (std::uint64_t)c.nid);
    for (const BIGNUM *modulus : {(const BIGNUM *)p.get(), (const BIGNUM *)order.get()}) {
        mp_int m;
        fromBn(modulus, m);
        for (int i = 0; i < testIterations(20); ++i) {
            BnPtr a = randomScalar(modulus, nextOf, &rng);
            mp_int am;
            fromBn(a.get(), am);
            EXPECT_EQ(actualInverse(am, m), expectedInverse(am, m)) << hexOf(am);
        }
        // Edges: 1, m - 1, m - 2 and small values.
        for (unsigned long small : {1ul, 2ul, 3ul, 0xFFFFFFFFul}) {
            mp_int am;
            TovarMp::mp_set_int(am, small);
            EXPECT_EQ(actualInverse(am, m), expectedInverse(am, m)) << small;
            mp_int top;
            ASSERT_EQ(0, TovarMp::mp_sub(m, am, top));
            EXPECT_EQ(actualInverse(top, m), expectedInverse(top, m)) << "m - " << small;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllCurves, InvmodCurves, ::testing::ValuesIn(allCurves()),
                         [](const ::testing::TestParamInfo<CurveInfo> &i) {
                             return curveParamName(i.param);
                         });

TEST(Invmod, ZeroAndSharedFactorsHaveNoInverse) {
    mp_int m, a, c;
    TovarMp::mp_set_int(m, 15);
    for (unsigned long v : {0ul, 3ul, 5ul, 6ul, 10ul, 15ul, 30ul}) {
        TovarMp::mp_set_int(a, v);
        EXPECT_NE(0, TovarMp::mp_invmod(a, m, c)) << v;
    }
    TovarMp::mp_set_int(a, 7);
    ASSERT_EQ(0, TovarMp::mp_invmod(a, m, c));
    EXPECT_EQ(hexOf(c), "D");  // 7 * 13 = 91 = 6 * 15 + 1
}

TEST(Invmod, ReducesValuesOutsideTheRangeFirst) {
    mp_int m, a, big, neg;
    fromHex("FFFFFFFF00000000FFFFFFFFFFFFFFFFBCE6FAADA7179E84F3B9CAC2FC632551", m);  // P-256 n
    fromHex("123456789ABCDEF0123456789ABCDEF", a);
    ASSERT_EQ(0, TovarMp::mp_add(a, m, big));
    ASSERT_EQ(0, TovarMp::mp_sub(a, m, neg));
    const std::string expected = expectedInverse(a, m);
    EXPECT_EQ(actualInverse(big, m), expected);
    EXPECT_EQ(actualInverse(neg, m), expected);
    EXPECT_EQ(actualInverse(m, m), "none");
}

TEST(Invmod, ResultMayAliasTheInput) {
    mp_int m, a;
    fromHex("FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEBAAEDCE6AF48A03BBFD25E8CD0364141", m);  // secp256k1 n
    fromHex("6B17D1F2E12C4247F8BCE6E563A440F277037D812DEB33A0F4A13945D898C296", a);
    const std::string expected = expectedInverse(a, m);
    ASSERT_EQ(0, TovarMp::mp_invmod(a, m, a));
    EXPECT_EQ(hexOf(a), expected);
}

TEST(Invmod, EvenModuliStillWork) {
    mp_int m, a;
    TovarMp::mp_set_int(m, 1u << 20);
    TovarMp::mp_set_int(a, 12345);
    EXPECT_EQ(actualInverse(a, m), expectedInverse(a, m));
}

}  // namespace
