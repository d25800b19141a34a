// k·G by a Montgomery ladder over the Jacobian Montgomery-form formulas, on the fixed-width field where
// p fits one and on LibTomMath elsewhere.
#include "ecc/EccPoint.h"
#include "ecc/arith/BigIntField.h"
#include "ecc/arith/EccArith.h"
#include "ecc/arith/FixedField.h"
#include "ecc/arith/PointFormulas.h"
#include "support/LogBase.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

// Reads k most significant bit first, a digit of mp_int::digitBits() bits at a time.
class ScalarBitReader {
  public:
    explicit ScalarBitReader(const mp_int &k) : m_k(k), m_index(k.get_digit_count() - 1) {}
    // The digit holds bits of a secret scalar.
    ~ScalarBitReader() {
        volatile MpDigit *d = &m_digit;
        *d = 0;
    }
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
bool ladder(F &f, mp_int &k, const typename F::Point &tG, typename F::Point &M0, typename F::Point &M1,
            typename F::Scratch &s) {
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
bool multiplyBigInt(mp_int &k, EccPoint &G, EccPoint &R, mp_int *a, mp_int &p) {
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
    ~FixedLadderState() { ct::wipe(this, sizeof *this); }
};

// The ladder on N-limb field elements: G is converted once, the steps run on the stack, and the result
// is converted back into R.
template <int N>
bool multiplyFixed(mp_int &k, EccPoint &G, EccPoint &R, mp_int *a, mp_int &p) {
    FixedField<N> f;
    FixedLadderState<N> st;
    if (!f.setUp(p, a) || !f.load(G, st.tG) || !ladder(f, k, st.tG, st.M0, st.M1, st.s))
        return false;
    // As on the big-integer path, R takes M0's X9.63 form byte, the uncompressed 4 of a new point.
    R.m_format = 4;
    return f.store(st.M0, R);
}

}  // namespace

// Every temporary of either path is set up before the ladder starts, so the loop allocates nothing. On
// the generic curves' sizes the fixed-width field runs the ladder; the big-integer path serves any other p.
bool pointMult_tmr(mp_int &k, EccPoint &G, EccPoint &R, mp_int *a, mp_int &p, int /*map*/, LogBase &log) {
    LogContextExitor ctx(log, "pointMultiply");
    return withFixedFieldLimbs(
        p, [&](auto limbs) { return multiplyFixed<decltype(limbs)::value>(k, G, R, a, p); },
        [&] { return multiplyBigInt(k, G, R, a, p); });
}

}  // namespace ecckey
