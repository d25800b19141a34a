// The generic arithmetic against OpenSSL on the twelve curves it serves, and the corner cases of its
// formulas that no valid key reaches.
#include <map>

#include "ecc/arith/EccArith.h"
#include "ecc/arith/FixedField.h"
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
        EXPECT_TRUE(P.exportEccPoint(GetParam().byteLen, out, log));
        return toBytes(out);
    }
    // k·P by the variable ladder or the one for secret scalars, as X9.63 bytes; empty when it fails.
    Bytes ladder(const BIGNUM *k, bool secret = false, EccPoint *P = nullptr) {
        mp_int km;
        mpOf(k, km);
        EccPoint R, &base = P ? *P : curve.G;
        const bool ok = secret ? pointMultSecret(km, curve.n, base, R, curve.aArg(), curve.p, log)
                               : pointMult_tmr(km, base, R, curve.aArg(), curve.p, 1, log);
        return ok ? bytesOfPoint(R) : Bytes();
    }
    // k·G by the generator's tables, as X9.63 bytes; empty when it fails.
    Bytes base(const BIGNUM *k) {
        mp_int km;
        mpOf(k, km);
        EccPoint R;
        return pointMultBase(km, curve.n, curve.G, R, curve.aArg(), curve.p, log) ? bytesOfPoint(R) : Bytes();
    }
    // u1·G + u2·Q, as X9.63 bytes; empty when the method fails.
    Bytes mul2(const BIGNUM *u1, const BIGNUM *u2, const Bytes &q) {
        mp_int m1, m2;
        mpOf(u1, m1);
        mpOf(u2, m2);
        EccPoint Q, R;
        EXPECT_TRUE(Q.loadEccPoint(toDb(q), log));
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
    for (bool secret : {false, true}) {
        for (const BIGNUM *k : {one, (const BIGNUM *)two.get(), (const BIGNUM *)nm1.get()})
            EXPECT_EQ(ladder(k, secret), Ossl(c, k).point());
        EXPECT_EQ(ladder(zero.get(), secret), G);      // k = 0 leaves G as it is
        EXPECT_TRUE(ladder(n.get(), secret).empty());  // n·G is the point at infinity
    }
    std::unique_ptr<BN_CTX, void (*)(BN_CTX *)> ctx(BN_CTX_new(), BN_CTX_free);
    for (int i = 0; i < testIterations(12); ++i) {
        BnPtr k = randomScalar(c, prng), u2 = randomScalar(c, prng), d = randomScalar(c, prng), t(BN_new());
        EXPECT_EQ(ladder(k.get()), Ossl(c, k.get()).point());
        EXPECT_EQ(ladder(k.get(), true), Ossl(c, k.get()).point());
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

// The generator's tables against the secret ladder: edge scalars (1, 2, 3, 5, n − 1, n − 2, windows of all
// ones, top bits only), for windows of 3 to 6 bits the scalars ±2d·2^(w·i) mod n whose last window adds an
// entry equal to the sum so far, random ones, and 0 and n, which the ladder serves.
TEST_P(Arith, BaseTablesMatchLadder) {
    BnPtr n = orderOf(GetParam());
    const int bits = BN_num_bits(n.get());
    std::vector<BnPtr> ks;
    auto add = [&](BnPtr k) { ks.push_back(std::move(k)); };
    for (unsigned long v : {1ul, 2ul, 3ul, 5ul, ~0ul})
        add(BnPtr(BN_new())), BN_set_word(ks.back().get(), v);
    for (int sub : {1, 2}) {
        add(BnPtr(BN_dup(n.get())));
        BN_sub_word(ks.back().get(), sub);
    }
    for (int low : {0, bits - 2, bits - 3}) {  // all ones below the top bit; the top bit or two alone
        add(BnPtr(BN_new()));
        for (int b = low; b < bits - 1; ++b)
            BN_set_bit(ks.back().get(), b);
        BN_set_bit(ks.back().get(), low == 0 ? 0 : bits - 1);
    }
    std::unique_ptr<BN_CTX, void (*)(BN_CTX *)> ctx(BN_CTX_new(), BN_CTX_free);
    for (int w = 3; w <= 6; ++w) {
        for (unsigned d = 1; d < (1u << w); d += 2) {
            BnPtr c(BN_new()), m(BN_new());
            BN_set_word(c.get(), 2 * d);
            BN_lshift(c.get(), c.get(), w * ((bits - 1) / w));
            BN_nnmod(c.get(), c.get(), n.get(), ctx.get());
            BN_sub(m.get(), n.get(), c.get());
            add(std::move(c));
            add(std::move(m));
        }
    }
    for (int i = 0; i < testIterations(12); ++i)
        add(randomScalar(GetParam(), prng));
    for (const BnPtr &k : ks)
        EXPECT_EQ(base(k.get()), ladder(k.get(), true)) << BN_bn2hex(k.get());
    EXPECT_EQ(base(BN_value_one()), Ossl(GetParam(), BN_value_one()).point());
    BnPtr zero(BN_new());
    EXPECT_EQ(base(zero.get()), ladder(zero.get(), true));
    EXPECT_TRUE(base(n.get()).empty());
    EXPECT_TRUE(log.errors().empty());
}

// Points no valid key meets, where the variable ladder's addition takes its shortcuts: y = β⁻¹/2, whose
// double has for Z the plain one, and points of order 3 with y = 1/2 (where the curve's a admits them; the
// x-coordinates solve 9x⁴ + 6ax² − 3x + a² = 0), whose double is −Q with an equal Z: the doubling fallback.
// The ladder for secret scalars gives the variable ladder's results, with either value of the bit after
// the leading one, where the first step meets them.
TEST_P(Arith, SecretLadderKeepsTheVariableLaddersShortcuts) {
    const std::map<std::string, std::vector<const char *>> orderThree = {
        {"secp192r1", {"B002AFE342BBA6F6370B18A7E3B3018D14E6CFA2E2AF1D1D"}},
        {"secp224r1", {"194696A051BCDCABFE5479BFD1F52AA917187E9CEEE371277D39C6EE"}},
        {"brainpoolp192r1",
         {"81C2C6BD61129D1F34C43A9C1260AFCAAD2556B444CC1D70",
          "7593DA1DC66B832C31BA23A92FF57FA89780A97B514D2F74"}},
        {"brainpoolp224r1",
         {"29C08B8281669AC03F1CB453195FCFC3C3FD9807F2DBF0EA1ED36A30",
          "AFC440D510C179CB84CC3B95163F54719197E1F4504ECB9ED64427B2"}}};
    mp_int mu, two, half, plainOneHalf;
    ASSERT_TRUE(TovarMp::mp_montgomery_normalization(mu, curve.p) == 0 && TovarMp::mp_set(two, 2) == 0 &&
                TovarMp::mp_invmod(two, curve.p, half) == 0 && TovarMp::mp_invmod(mu, curve.p, mu) == 0 &&
                TovarMp::mp_mulmod(mu, half, curve.p, plainOneHalf) == 0);
    std::vector<std::pair<std::string, mp_int *>> points = {
        {hexOf(prng.bytes(GetParam().byteLen)), &plainOneHalf}};
    auto found = orderThree.find(GetParam().name);
    for (const char *x : found == orderThree.end() ? std::vector<const char *>() : found->second)
        points.push_back({x, &half});
    const int bits = BN_num_bits(orderOf(GetParam()).get());
    for (auto &[x, y] : points) {
        EccPoint Q;
        ASSERT_TRUE(TovarMp::mpint_from_radix(Q.m_x, x.c_str(), 16) && TovarMp::mp_copy(*y, Q.m_y) == 0 &&
                    TovarMp::mp_set(Q.m_z, 1) == 0);
        for (int i = 0; i < 4; ++i) {
            BnPtr k = randomScalar(GetParam(), prng);  // a leading one below n's top bit, then i's bit
            BN_mask_bits(k.get(), bits - 4);
            BN_set_bit(k.get(), bits - 2);
            (i % 2 ? BN_set_bit : BN_clear_bit)(k.get(), bits - 3);
            EXPECT_EQ(ladder(k.get(), true, &Q), ladder(k.get(), false, &Q)) << x << " " << i;
        }
    }
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

// The addition's shortcut for a Q whose Z the big-integer path holds as the plain integer 1 (the value
// β⁻¹, β its Montgomery radix): the fixed-width path takes it for the same points. B is G with Z = β⁻¹,
// so the joint table's A + B meets it, and the sum differs from the one without the shortcut.
TEST_P(Arith, PlainOneShortcutAsOnBigIntegerPath) {
    MpDigit digit = 0;
    mp_int mu, z, z2, one;
    EccPoint B, T1, T4, R, S;
    ASSERT_TRUE(TovarMp::mp_montgomery_setup(curve.p, digit) == 0 &&
                TovarMp::mp_montgomery_normalization(mu, curve.p) == 0 &&
                TovarMp::mp_invmod(mu, curve.p, z) == 0 && TovarMp::mp_mulmod(z, z, curve.p, z2) == 0 &&
                TovarMp::mp_set(one, 1) == 0);
    ASSERT_TRUE(TovarMp::mp_mulmod(curve.G.m_x, z2, curve.p, B.m_x) == 0 &&  // B = (x·z², y·z³, z)
                TovarMp::mp_mulmod(curve.G.m_y, z2, curve.p, B.m_y) == 0 &&
                TovarMp::mp_mulmod(B.m_y, z, curve.p, B.m_y) == 0 && TovarMp::mp_copy(z, B.m_z) == 0);
    auto toMontgomery = [&](EccPoint &from, EccPoint &to) {
        return TovarMp::mp_mulmod(from.m_x, mu, curve.p, to.m_x) == 0 &&
               TovarMp::mp_mulmod(from.m_y, mu, curve.p, to.m_y) == 0 &&
               TovarMp::mp_mulmod(from.m_z, mu, curve.p, to.m_z) == 0;
    };
    ASSERT_TRUE(toMontgomery(curve.G, T1) && toMontgomery(B, T4));
    ASSERT_EQ(TovarMp::mp_cmp_d(T4.m_z, 1), 0);
    ASSERT_TRUE(pointAdd(T1, T4, R, curve.aArg(), curve.p, digit) && mapPointBack(R, curve.p, digit));
    ASSERT_TRUE(EccKey::mul2add(curve.G, one, B, one, S, curve.aArg(), curve.p, log));
    EXPECT_EQ(bytesOfPoint(S), bytesOfPoint(R));
}

// The fixed-width field of p's limb count against LibTomMath: each operation on every pair of boundary
// values (0, 1, p − 1, limbs all ones below the top one, with a top limb of 0 and of p's less one) and
// random values below p. Products go in and out of Montgomery form, so a wrong radix shows too.
template <int N>
void fieldMatchesLibTomMath(const mp_int &p, TestPrng &prng) {
    typedef typename FieldMont<N>::Elem Elem;
    FieldMont<N> f;
    Elem values[5 + 8] = {}, m, c;
    ASSERT_TRUE(TovarMp::mpint_to_limbs(p, m.w, N) && f.setUp(m));
    auto mp = [](const Elem &e) {
        mp_int v;
        EXPECT_TRUE(TovarMp::mpint_from_limbs(v, e.w, N));
        return v;
    };
    // The hex of LibTomMath's result reduced mod p, or "failed".
    auto modP = [&p](int err, mp_int &v) {
        return err == 0 && TovarMp::mp_mod(v, p, v) == 0 ? hexOf(v) : "failed";
    };
    values[1].w[0] = 1;
    values[2] = m;
    values[2].w[0] -= 1;
    for (int j = 0; j < N - 1; ++j)
        values[3].w[j] = values[4].w[j] = ~0ull;
    values[4].w[N - 1] = m.w[N - 1] - 1;
    for (int i = 5; i < 13; ++i) {
        mp_int r;
        const Bytes bytes = prng.bytes(8 * N);
        ASSERT_TRUE(TovarMp::mpint_from_bytes(r, bytes.data(), 8 * N) && TovarMp::mp_mod(r, p, r) == 0 &&
                    TovarMp::mpint_to_limbs(r, values[i].w, N));
    }
    Bytes twoTo64N(8 * N + 1, 0);
    twoTo64N[0] = 1;
    mp_int one, half, want;  // half = (p + 1)/2, the inverse of 2
    ASSERT_TRUE(TovarMp::mp_set(one, 1) == 0 && TovarMp::mp_add(p, one, half) == 0 &&
                TovarMp::mp_div_2(half, half) == 0 &&
                TovarMp::mpint_from_bytes(want, twoTo64N.data(), 8 * N + 1));
    EXPECT_EQ(hexOf(mp(f.one())), modP(0, want)) << "R mod p";
    for (const Elem &a : values) {
        const mp_int ma = mp(a);
        Elem A;
        f.toMont(a, A);
        f.sqr(A, c);
        f.fromMont(c, c);
        EXPECT_EQ(hexOf(mp(c)), modP(TovarMp::mp_mulmod(ma, ma, p, want), want)) << "square of " << hexOf(ma);
        f.halve(a, c);
        EXPECT_EQ(hexOf(mp(c)), modP(TovarMp::mp_mulmod(ma, half, p, want), want)) << "half of " << hexOf(ma);
        f.neg(a, c);
        EXPECT_EQ(hexOf(mp(c)), modP(TovarMp::mp_sub(p, ma, want), want)) << "negation of " << hexOf(ma);
        f.invert(A, c);
        f.fromMont(c, c);
        const int noInverse = TovarMp::mp_invmod(ma, p, want);  // 0 has none, and invert gives 0
        EXPECT_EQ(hexOf(mp(c)), noInverse ? "0" : hexOf(want)) << "inverse of " << hexOf(ma);
        for (const Elem &b : values) {
            const mp_int mb = mp(b);
            Elem B;
            f.toMont(b, B);
            f.mul(A, B, c);
            f.fromMont(c, c);
            EXPECT_EQ(hexOf(mp(c)), modP(TovarMp::mp_mulmod(ma, mb, p, want), want))
                << hexOf(ma) << " · " << hexOf(mb);
            f.add(a, b, c);
            EXPECT_EQ(hexOf(mp(c)), modP(TovarMp::mp_add(ma, mb, want), want))
                << hexOf(ma) << " + " << hexOf(mb);
            f.sub(a, b, c);
            EXPECT_EQ(hexOf(mp(c)), modP(TovarMp::mp_sub(ma, mb, want), want))
                << hexOf(ma) << " − " << hexOf(mb);
        }
    }
}

TEST_P(Arith, FixedWidthFieldMatchesLibTomMath) {
    ASSERT_TRUE(withFixedFieldLimbs(
        curve.p,
        [&](auto limbs) {
            fieldMatchesLibTomMath<decltype(limbs)::value>(curve.p, prng);
            return true;
        },
        [&] { return *GetParam().oid == '\0'; }))  // only primes outside the catalogue go without
        << "no fixed-width field for this prime";
}

INSTANTIATE_TEST_SUITE_P(GenericCurves, Arith, ::testing::ValuesIn(genericCurves()), curveParamName);
// A prime of two limbs, which no catalogue curve has (no OID here): the multiplications take the big-integer
// path.
INSTANTIATE_TEST_SUITE_P(OtherPrimes, Arith, ::testing::Values(CurveInfo{"secp128r1", "", NID_secp128r1, 16}),
                         curveParamName);

}  // namespace
