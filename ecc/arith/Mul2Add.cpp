// kA·A + kB·B in one pass: Shamir's trick with a joint table of sixteen points, two bits of each scalar
// per step.
#include <cstring>

#include "ecc/EccKey.h"
#include "ecc/EccPoint.h"
#include "ecc/arith/EccArith.h"
#include "support/Owners.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

// The longest scalar accepted, in bytes.
const int kMaxScalarLen = 256;

// dst = src·mu mod p, coordinate by coordinate: a normal-form point into Montgomery form.
bool toMontgomery(EccPoint &src, EccPoint &dst, mp_int &mu, mp_int &p) {
    return TovarMp::mp_mulmod(src.m_x, mu, p, dst.m_x) == 0 &&
           TovarMp::mp_mulmod(src.m_y, mu, p, dst.m_y) == 0 &&
           TovarMp::mp_mulmod(src.m_z, mu, p, dst.m_z) == 0;
}

// T[i + 4j] = i·A + j·B for i, j in 0..3 (T[0] unused), from T[1] = A and T[4] = B.
bool fillJointTable(EccPoint *T, mp_int *a, mp_int &p, MpDigit &digit, EccArithScratch &s) {
    bool ok = pointDouble(T[1], T[2], a, p, digit, s);        // 2A
    ok = ok && pointAdd(T[1], T[2], T[3], a, p, digit, s);    // 3A
    ok = ok && pointDouble(T[4], T[8], a, p, digit, s);       // 2B
    ok = ok && pointAdd(T[4], T[8], T[12], a, p, digit, s);   // 3B
    ok = ok && pointAdd(T[1], T[4], T[5], a, p, digit, s);    // A + B
    ok = ok && pointAdd(T[1], T[8], T[9], a, p, digit, s);    // A + 2B
    ok = ok && pointAdd(T[1], T[12], T[13], a, p, digit, s);  // A + 3B
    ok = ok && pointAdd(T[2], T[4], T[6], a, p, digit, s);    // 2A + B
    ok = ok && pointAdd(T[2], T[8], T[10], a, p, digit, s);   // 2A + 2B
    ok = ok && pointAdd(T[2], T[12], T[14], a, p, digit, s);  // 2A + 3B
    ok = ok && pointAdd(T[3], T[4], T[7], a, p, digit, s);    // 3A + B
    ok = ok && pointAdd(T[3], T[8], T[11], a, p, digit, s);   // 3A + 2B
    ok = ok && pointAdd(T[3], T[12], T[15], a, p, digit, s);  // 3A + 3B
    return ok;
}

}  // namespace

// R is worked on in place: A and B are read only while the table is built, so R may be either of them.
// R's coordinates are grown to product size first (their values unchanged) so that the loop allocates
// nothing. With kA = kB = 0 the loop does nothing and the result is R's entry value mapped back.
bool EccKey::mul2add(EccPoint &A, mp_int &kA, EccPoint &B, mp_int &kB, EccPoint &R, mp_int *a, mp_int &p,
                     LogBase & /*log*/) {
    EccPoint T[16];
    mp_int mu;
    EccArithScratch s;

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
    if (!fillJointTable(T, a, p, digit, s))
        return false;

    bool started = false;
    for (int x = 0; x < len; ++x) {
        for (int shift = 6; shift >= 0; shift -= 2) {
            const int nA = (bytesA[x] >> shift) & 3;
            const int nB = (bytesB[x] >> shift) & 3;
            if (!started && nA == 0 && nB == 0)
                continue;  // leading zero pairs cost nothing
            if (started) {
                if (!pointDouble(R, R, a, p, digit, s) || !pointDouble(R, R, a, p, digit, s))
                    return false;
            }
            if (nA == 0 && nB == 0)
                continue;
            EccPoint &entry = T[nA + 4 * nB];
            if (!started) {
                if (TovarMp::mp_copy(entry.m_x, R.m_x) != 0 || TovarMp::mp_copy(entry.m_y, R.m_y) != 0 ||
                    TovarMp::mp_copy(entry.m_z, R.m_z) != 0)
                    return false;
                started = true;
            } else if (!pointAdd(entry, R, R, a, p, digit, s)) {
                return false;
            }
        }
    }
    return mapPointBack(R, p, digit, s);
}

}  // namespace ecckey
