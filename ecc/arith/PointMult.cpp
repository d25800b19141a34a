// k·G by a Montgomery ladder over the Jacobian Montgomery-form formulas.
#include "ecc/EccPoint.h"
#include "ecc/arith/EccArith.h"
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

}  // namespace

// Ladder invariant: M1 − M0 = G. M0 = G and M1 = 2G stand for the leading one bit; each later bit b
// costs M[1 − b] = M0 + M1 and M[b] = 2·M[b], whatever b is. The point written is chosen by indexing
// with the bit (no constant-time swap), and the big-integer arithmetic underneath is not constant time.
//
// Every temporary is grown to product size before the ladder starts, so the loop allocates nothing.
bool pointMult_tmr(mp_int &k, EccPoint &G, EccPoint &R, mp_int *a, mp_int &p, int /*map*/, LogBase &log) {
    LogContextExitor ctx(log, "pointMultiply");

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

    M0.m_format = tG.m_format;
    TovarMp::mp_copy(tG.m_x, M0.m_x);
    TovarMp::mp_copy(tG.m_y, M0.m_y);
    TovarMp::mp_copy(tG.m_z, M0.m_z);
    if (!pointDouble(tG, M1, a, p, digit, s))
        return false;

    EccPoint *M[2] = {&M0, &M1};
    ScalarBitReader bits(k);
    bool started = false;
    int bit = 0;
    while (bits.next(bit)) {
        if (!started) {
            // Leading zeros cost nothing; the leading one is already M0 = G, M1 = 2G.
            started = bit == 1;
            continue;
        }
        if (!pointAdd(M0, M1, *M[1 - bit], a, p, digit, s))
            return false;
        if (!pointDouble(*M[bit], *M[bit], a, p, digit, s))
            return false;
    }

    // M0 carries tG's m_format, never G's, so R ends with m_format 4.
    R.m_format = M0.m_format;
    TovarMp::mp_copy(M0.m_x, R.m_x);
    TovarMp::mp_copy(M0.m_y, R.m_y);
    TovarMp::mp_copy(M0.m_z, R.m_z);
    return mapPointBack(R, p, digit, s);
}

}  // namespace ecckey
