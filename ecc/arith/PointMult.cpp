// k·G by a Montgomery ladder over the Jacobian Montgomery-form formulas, on the fixed-width field where
// p fits one and on LibTomMath elsewhere; and the ladder for secret scalars, which runs a fixed count of
// steps and chooses its points with masks.
#include "ecc/EccPoint.h"
#include "ecc/arith/BigIntField.h"
#include "ecc/arith/EccArith.h"
#include "ecc/arith/FixedField.h"
#include "ecc/arith/PointFormulas.h"
#include "ecc/arith/ScalarField.h"
#include "support/ConstantTime.h"
#include "support/Invariant.h"
#include "support/LogBase.h"
#include "support/TovarMp.h"
#include "support/Wipe.h"

namespace ecckey {

namespace {

const char kContextPointMultiply[] = "pointMultiply";

// Reads k most significant bit first, a digit of mp_int::digitBits() bits at a time.
class ScalarBitReader {
  public:
    explicit ScalarBitReader(const mp_int &k) : m_k(k), m_index(k.get_digit_count() - 1) {}
    // The digit holds bits of a secret scalar.
    ~ScalarBitReader() { wipe(&m_digit, sizeof m_digit); }
    ScalarBitReader(const ScalarBitReader &) = delete;
    ScalarBitReader &operator=(const ScalarBitReader &) = delete;

    // False once every bit of k has been read.
    bool next(int &bit) {
        if (--m_bitsLeft == 0) {
            if (m_index == -1)
                return false;
            m_digit = m_k.get_digit(m_index);
            m_bitsLeft = mp_int::digitBits();
            --m_index;
        }
        bit = (int)((m_digit >> (mp_int::digitBits() - 1)) & 1);
        m_digit <<= 1;
        return true;
    }

  private:
    const mp_int &m_k;
    int m_index;
    int m_bitsLeft = 1;
    MpDigit m_digit = 0;
};

// Ladder invariant: M1 − M0 = G. M0 = G and M1 = 2G stand for the leading one bit; each later bit b
// costs M[1 − b] = M0 + M1 and M[b] = 2·M[b], whatever b is. The point written is chosen by indexing
// with the bit (no constant-time swap), and leading zero bits cost nothing. tG is G in Montgomery form.
template <class F>
[[nodiscard]] bool ladder(F &f, mp_int &k, const typename F::Point &tG, typename F::Point &M0,
                          typename F::Point &M1, typename F::Scratch &s) {
    f.copyPoint(tG, M0);
    if (!jacobianDouble(f, tG, M1, s))
        return false;

    typename F::Point *M[2] = {&M0, &M1};
    ScalarBitReader bits(k);
    bool started = false;
    int bit = 0;
    while (bits.next(bit)) {
        if (!started) {
            // Leading zeros cost nothing; the leading one is already M0 = G, M1 = 2G.
            started = bit == 1;
            continue;
        }
        if (!jacobianAdd(f, M0, M1, *M[1 - bit], s))
            return false;
        if (!jacobianDouble(f, *M[bit], *M[bit], s))
            return false;
    }
    return true;
}

// The ladder on LibTomMath, for a p the fixed-width field does not serve. Every temporary is grown to
// product size before the ladder starts, so the loop allocates nothing.
[[nodiscard]] bool multiplyBigInt(mp_int &k, EccPoint &G, EccPoint &R, mp_int *a, mp_int &p) {
    MpDigit digit = 0;
    mp_int mu;
    EccPoint tG;
    EccPoint M0;
    EccPoint M1;
    EccArithScratch s;

    if (TovarMp::mp_montgomery_setup(p, digit) != 0)
        return false;
    if (TovarMp::mp_montgomery_normalization(mu, p) != 0)
        return false;
    if (!s.setUp(p, a, mu) || !EccArithScratch::growPoint(M0, p) || !EccArithScratch::growPoint(M1, p))
        return false;

    // tG = G in Montgomery form. tG is only read from here on; M0 receives a copy, keeping its own room.
    if (TovarMp::mp_mulmod(G.m_x, mu, p, tG.m_x) != 0 || TovarMp::mp_mulmod(G.m_y, mu, p, tG.m_y) != 0 ||
        TovarMp::mp_mulmod(G.m_z, mu, p, tG.m_z) != 0)
        return false;

    BigIntField f(a, p, digit, s);
    if (!ladder(f, k, tG, M0, M1, s))
        return false;

    // M0 carries tG's m_format, never G's, so R ends with m_format 4.
    f.copyPoint(M0, R);
    return mapPointBack(R, p, digit, s);
}

// The working points of the fixed-width ladder: they follow the secret scalar, so they are wiped on the
// way out.
template <int N>
struct FixedLadderState {
    typename FixedField<N>::Point tG, M0, M1;
    typename FixedField<N>::Scratch s;
    ~FixedLadderState() { wipe(this, sizeof *this); }
};

// The ladder on N-limb field elements: G is converted once, the steps run on the stack, and the result
// is converted back into R.
template <int N>
[[nodiscard]] bool multiplyFixed(mp_int &k, EccPoint &G, EccPoint &R, mp_int *a, mp_int &p) {
    FixedField<N> f;
    FixedLadderState<N> st;
    if (!f.setUp(p, a) || !f.load(G, st.tG) || !ladder(f, k, st.tG, st.M0, st.M1, st.s))
        return false;
    // As on the big-integer path, R takes M0's X9.63 form byte, the uncompressed 4 of a new point.
    R.m_format = 4;
    return f.store(st.M0, R);
}

// The secret ladder's working state, wiped on the way out. k holds the scalar in limbs; the catalogue's
// orders have at most 9.
template <int N>
struct SecretLadderState {
    typedef typename FixedField<N>::Point Point;
    Point tG, M0, M1, sum, twice, from, doubled, kept0, kept1;
    typename FixedField<N>::Scratch s;
    typename FixedField<N>::Elem negated;
    std::uint64_t k[9];
    ~SecretLadderState() { wipe(this, sizeof *this); }
};

template <int N>
void selectPoint(std::uint64_t mask, const typename FixedField<N>::Point &A,
                 const typename FixedField<N>::Point &B, typename FixedField<N>::Point &R) {
    FieldMont<N>::select(mask, A.m_x, B.m_x, R.m_x);
    FieldMont<N>::select(mask, A.m_y, B.m_y, R.m_y);
    FieldMont<N>::select(mask, A.m_z, B.m_z, R.m_z);
}

// One step of the variable ladder for the bit whose mask is bit, computed for both values of the bit:
// twice = 2·M[bit] and sum = M0 + M1 by the masked addition, which follows jacobianAdd; then M[1 − bit] = sum
// and M[bit] = twice. The addition's doubling fallback (M0 = ±M1 with equal X and Z) wants 2·M0 as
// jacobianDouble gives it: twice itself, except where twice doubled an M1 = −M0 of the same X and Z, whose
// double has the same X and Y and −Z.
template <int N>
void secretStep(const FixedField<N> &f, std::uint64_t bit, SecretLadderState<N> &st) {
    typedef FieldMont<N> F;
    selectPoint<N>(bit, st.M1, st.M0, st.from);
    (void)jacobianDouble(f, st.from, st.twice, st.s);
    const int oppositeSameXZ = (int)F::isEqual(st.M0.m_x, st.M1.m_x) & (int)F::isEqual(st.M0.m_z, st.M1.m_z) &
                               (int)!F::isEqual(st.M0.m_y, st.M1.m_y);
    st.doubled = st.twice;
    f.field().neg(st.twice.m_z, st.negated);
    F::select(bit & ct::mask64(oppositeSameXZ != 0), st.negated, st.twice.m_z, st.doubled.m_z);
    jacobianAddMasked(f, st.M0, st.M1, false, st.doubled, st.sum, st.s);
    selectPoint<N>(bit, st.sum, st.twice, st.from);  // the new M0
    selectPoint<N>(bit, st.twice, st.sum, st.M1);
    st.M0 = st.from;
}

// The variable ladder's M0 and M1 after every bit of k, read as a number of bits bits long: leading zeros
// and the leading one leave M0 = G and M1 = 2G as they are, so every step is computed and kept only from
// the bit after the leading one on.
template <int N>
void secretLadder(const FixedField<N> &f, int bits, SecretLadderState<N> &st) {
    auto bitAt = [&st](int i) { return (st.k[i / 64] >> (i % 64)) & 1u; };
    f.copyPoint(st.tG, st.M0);
    (void)jacobianDouble(f, st.tG, st.M1, st.s);
    std::uint64_t started = ct::mask64(bitAt(bits - 1) != 0);
    for (int i = bits - 2; i >= 0; --i) {
        const std::uint64_t bit = ct::mask64(bitAt(i) != 0);
        st.kept0 = st.M0;
        st.kept1 = st.M1;
        secretStep(f, bit, st);
        selectPoint<N>(started, st.M0, st.kept0, st.M0);
        selectPoint<N>(started, st.M1, st.kept1, st.M1);
        started |= bit;
    }
}

template <int N>
[[nodiscard]] bool multiplySecret(const mp_int &k, int bits, EccPoint &G, EccPoint &R, mp_int *a, mp_int &p) {
    FixedField<N> f;
    SecretLadderState<N> st;
    if (bits < 2 || bits > 64 * 9 || !f.setUp(p, a) || !f.load(G, st.tG) ||
        !TovarMp::mpint_to_limbs(k, st.k, (bits + 63) / 64))
        return false;
    secretLadder(f, bits, st);
    R.m_format = 4;
    st.sum = st.M0;
    // At infinity the map fails (only that is made public) and R is left as the variable ladder leaves it.
    if (!jacobianToAffine(f, st.sum, st.s))
        return f.store(st.M0, R);
    // The product is the caller's output: a public key, or the point whose x is the shared secret.
    ct::declassify(&st.sum, sizeof st.sum);
    return TovarMp::mpint_from_limbs(R.m_x, st.sum.m_x.w, N) &&
           TovarMp::mpint_from_limbs(R.m_y, st.sum.m_y.w, N) && TovarMp::mp_set(R.m_z, 1) == 0;
}

}  // namespace

bool pointMultSecret(mp_int &k, const mp_int &n, EccPoint &G, EccPoint &R, mp_int *a, mp_int &p,
                     LogBase &log) {
    ECCKEY_INVARIANT(!isSecp256k1Prime(p));
    if (!scalarInRange(n, k))
        return pointMult_tmr(k, G, R, a, p, 1, log);
    LogContextExitor ctx(log, kContextPointMultiply);
    const int bits = TovarMp::mp_count_bits(n);
    return withFixedFieldLimbs(
        p, [&](auto limbs) { return multiplySecret<decltype(limbs)::value>(k, bits, G, R, a, p); },
        [&] { return multiplyBigInt(k, G, R, a, p); });
}

// Every temporary of either path is set up before the ladder starts, so the loop allocates nothing. On
// the generic curves' sizes the fixed-width field runs the ladder; the big-integer path serves any other p.
bool pointMult_tmr(mp_int &k, EccPoint &G, EccPoint &R, mp_int *a, mp_int &p, int /*map*/, LogBase &log) {
    ECCKEY_INVARIANT(!isSecp256k1Prime(p));
    LogContextExitor ctx(log, kContextPointMultiply);
    return withFixedFieldLimbs(
        p, [&](auto limbs) { return multiplyFixed<decltype(limbs)::value>(k, G, R, a, p); },
        [&] { return multiplyBigInt(k, G, R, a, p); });
}

}  // namespace ecckey
