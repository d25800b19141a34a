// kA·A + kB·B in one pass: Shamir's trick with a joint table of sixteen points, two bits of each scalar
// per step.
#include <cstring>

#include "ecc/EccPoint.h"
#include "ecc/arith/BigIntField.h"
#include "ecc/arith/EccArith.h"
#include "ecc/arith/FixedField.h"
#include "ecc/arith/PointFormulas.h"
#include "support/Invariant.h"
#include "support/Owners.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

// The longest scalar accepted, in bytes.
const int kMaxScalarLen = 256;

// dst = src·mu mod p, coordinate by coordinate: a normal-form point into Montgomery form.
[[nodiscard]] bool toMontgomery(EccPoint &src, EccPoint &dst, mp_int &mu, mp_int &p) {
    return TovarMp::mp_mulmod(src.m_x, mu, p, dst.m_x) == 0 &&
           TovarMp::mp_mulmod(src.m_y, mu, p, dst.m_y) == 0 &&
           TovarMp::mp_mulmod(src.m_z, mu, p, dst.m_z) == 0;
}

// T[i + 4j] = i·A + j·B for i, j in 0..3 (T[0] unused), from T[1] = A and T[4] = B.
template <class F>
[[nodiscard]] bool fillJointTable(F &f, typename F::Point *T, typename F::Scratch &s) {
    bool ok = jacobianDouble(f, T[1], T[2], s);        // 2A
    ok = ok && jacobianAdd(f, T[1], T[2], T[3], s);    // 3A
    ok = ok && jacobianDouble(f, T[4], T[8], s);       // 2B
    ok = ok && jacobianAdd(f, T[4], T[8], T[12], s);   // 3B
    ok = ok && jacobianAdd(f, T[1], T[4], T[5], s);    // A + B
    ok = ok && jacobianAdd(f, T[1], T[8], T[9], s);    // A + 2B
    ok = ok && jacobianAdd(f, T[1], T[12], T[13], s);  // A + 3B
    ok = ok && jacobianAdd(f, T[2], T[4], T[6], s);    // 2A + B
    ok = ok && jacobianAdd(f, T[2], T[8], T[10], s);   // 2A + 2B
    ok = ok && jacobianAdd(f, T[2], T[12], T[14], s);  // 2A + 3B
    ok = ok && jacobianAdd(f, T[3], T[4], T[7], s);    // 3A + B
    ok = ok && jacobianAdd(f, T[3], T[8], T[11], s);   // 3A + 2B
    ok = ok && jacobianAdd(f, T[3], T[12], T[15], s);  // 3A + 3B
    return ok;
}

// R = kA·A + kB·B from the filled table, the scalars right-aligned in their first len bytes: two bits of
// each per step, most significant first. R is first written at the first non-zero pair.
template <class F>
[[nodiscard]] bool jointSum(F &f, typename F::Point *T, typename F::Point &R, const unsigned char *bytesA,
                            const unsigned char *bytesB, int len, typename F::Scratch &s) {
    bool started = false;
    for (int x = 0; x < len; ++x) {
        for (int shift = 6; shift >= 0; shift -= 2) {
            const int nA = (bytesA[x] >> shift) & 3;
            const int nB = (bytesB[x] >> shift) & 3;
            if (!started && nA == 0 && nB == 0)
                continue;  // leading zero pairs cost nothing
            if (started) {
                if (!jacobianDouble(f, R, R, s) || !jacobianDouble(f, R, R, s))
                    return false;
            }
            if (nA == 0 && nB == 0)
                continue;
            const typename F::Point &entry = T[nA + 4 * nB];
            if (!started) {
                if (!f.copy(entry.m_x, R.m_x) || !f.copy(entry.m_y, R.m_y) || !f.copy(entry.m_z, R.m_z))
                    return false;
                started = true;
            } else if (!jacobianAdd(f, entry, R, R, s)) {
                return false;
            }
        }
    }
    return true;
}

// The method on LibTomMath, in place in R: for a p the fixed-width field does not serve, and for
// kA = kB = 0, whose result is R's entry value mapped back. R's coordinates are grown to product size
// first (their values unchanged) so that the loop allocates nothing.
[[nodiscard]] bool mul2addBigInt(EccPoint &A, EccPoint &B, EccPoint &R, mp_int *a, mp_int &p,
                                 const unsigned char *bytesA, const unsigned char *bytesB, int len) {
    EccPoint T[16];
    mp_int mu;
    EccArithScratch s;
    MpDigit digit = 0;
    if (TovarMp::mp_montgomery_setup(p, digit) != 0)
        return false;
    if (TovarMp::mp_montgomery_normalization(mu, p) != 0)
        return false;
    if (!s.setUp(p, a, mu) || !EccArithScratch::growPoint(R, p))
        return false;
    // T[1] and T[4] come from mp_mulmod, which brings its own buffers; they are only read afterwards.
    for (int i = 2; i < 16; ++i)
        if (i != 4 && !EccArithScratch::growPoint(T[i], p))
            return false;

    if (!toMontgomery(A, T[1], mu, p) || !toMontgomery(B, T[4], mu, p))
        return false;
    BigIntField f(a, p, digit, s);
    if (!fillJointTable(f, T, s) || !jointSum(f, T, R, bytesA, bytesB, len, s))
        return false;
    return mapPointBack(R, p, digit, s);
}

// The method on N-limb field elements: A and B are converted once, the table and the sum live on the
// stack, and the sum is converted back into R at the end.
template <int N>
[[nodiscard]] bool mul2addFixed(EccPoint &A, EccPoint &B, EccPoint &R, mp_int *a, mp_int &p,
                                const unsigned char *bytesA, const unsigned char *bytesB, int len) {
    FixedField<N> f;
    typename FixedField<N>::Point T[16] = {};
    typename FixedField<N>::Point sum = {};
    typename FixedField<N>::Scratch s;
    if (!f.setUp(p, a) || !f.load(A, T[1]) || !f.load(B, T[4]))
        return false;
    if (!fillJointTable(f, T, s) || !jointSum(f, T, sum, bytesA, bytesB, len, s))
        return false;
    return f.store(sum, R);
}

}  // namespace

// A and B are read only before R is first written, so R may be either of them. The scalars' bytes are
// laid out first; the method then runs on the fixed-width field where p fits one, and on LibTomMath for
// any other p and for kA = kB = 0.
bool pointMul2Add(EccPoint &A, mp_int &kA, EccPoint &B, mp_int &kB, EccPoint &R, mp_int *a, mp_int &p) {
    ECCKEY_INVARIANT(!isSecp256k1Prime(p));
    unsigned char *bytesA = tvNewUnsignedChar(kMaxScalarLen);
    ByteArrayOwner ownA(bytesA, kMaxScalarLen);
    unsigned char *bytesB = tvNewUnsignedChar(kMaxScalarLen);
    ByteArrayOwner ownB(bytesB, kMaxScalarLen);
    if (!bytesA || !bytesB)
        return false;
    std::memset(bytesA, 0, kMaxScalarLen);
    std::memset(bytesB, 0, kMaxScalarLen);

    const int lenA = TovarMp::mp_unsigned_bin_size(kA);
    const int lenB = TovarMp::mp_unsigned_bin_size(kB);
    const int len = lenA > lenB ? lenA : lenB;
    if (lenA > kMaxScalarLen || lenB > kMaxScalarLen)
        return false;
    // Both scalars right-aligned in their first len bytes.
    if (lenA > 0 && !TovarMp::mpint_to_bytes(kA, bytesA + (len - lenA)))
        return false;
    if (lenB > 0 && !TovarMp::mpint_to_bytes(kB, bytesB + (len - lenB)))
        return false;

    auto bigInt = [&] { return mul2addBigInt(A, B, R, a, p, bytesA, bytesB, len); };
    if (len == 0)
        return bigInt();
    return withFixedFieldLimbs(
        p,
        [&](auto limbs) { return mul2addFixed<decltype(limbs)::value>(A, B, R, a, p, bytesA, bytesB, len); },
        bigInt);
}

}  // namespace ecckey
