// The big-integer instances of the point formulas (PointFormulas.h over BigIntField), and the scratch
// that lets the scalar multiplications run them without touching the heap.
#include "ecc/arith/EccArith.h"

#include "ecc/EccPoint.h"
#include "ecc/arith/BigIntField.h"
#include "ecc/arith/PointFormulas.h"
#include "ecc/secp256k1/Unsigned256.h"
#include "support/TovarMp.h"

namespace ecckey {

bool EccArithScratch::setUp(const mp_int &p, const mp_int *a, const mp_int &mu) {
    const int digits = productDigits(p);
    mp_int *all[] = {&t1, &t2, &x, &y, &z, &aMont};
    for (mp_int *v : all)
        if (TovarMp::mp_grow(*v, digits) != 0)
            return false;
    hasA = false;
    if (a) {
        if (TovarMp::mp_mulmod(*a, mu, p, aMont) != 0)
            return false;
        hasA = true;
    }
    return true;
}

bool EccArithScratch::setUp(const mp_int &p, const mp_int *a) {
    mp_int mu;
    if (a && TovarMp::mp_montgomery_normalization(mu, p) != 0)
        return false;
    return setUp(p, a, mu);
}

bool EccArithScratch::growPoint(EccPoint &pt, const mp_int &p) {
    const int digits = productDigits(p);
    return TovarMp::mp_grow(pt.m_x, digits) == 0 && TovarMp::mp_grow(pt.m_y, digits) == 0 &&
           TovarMp::mp_grow(pt.m_z, digits) == 0;
}

bool pointDouble(EccPoint &P, EccPoint &R, mp_int *a, mp_int &p, MpDigit &digit, EccArithScratch &s) {
    BigIntField f(a, p, digit, s);
    return jacobianDouble(f, P, R, s);
}

bool pointDouble(EccPoint &P, EccPoint &R, mp_int *a, mp_int &p, MpDigit &digit) {
    EccArithScratch s;
    if (!s.setUp(p, a))
        return false;
    return pointDouble(P, R, a, p, digit, s);
}

bool pointAdd(EccPoint &P, EccPoint &Q, EccPoint &R, mp_int *a, mp_int &p, MpDigit &digit,
              EccArithScratch &s) {
    BigIntField f(a, p, digit, s);
    return jacobianAdd(f, P, Q, R, s);
}

bool pointAdd(EccPoint &P, EccPoint &Q, EccPoint &R, mp_int *a, mp_int &p, MpDigit &digit) {
    EccArithScratch s;
    if (!s.setUp(p, a))
        return false;
    return pointAdd(P, Q, R, a, p, digit, s);
}

bool mapPointBack(EccPoint &P, mp_int &p, MpDigit &digit, EccArithScratch &s) {
    BigIntField f(nullptr, p, digit, s);
    return jacobianToAffine(f, P, s);
}

bool mapPointBack(EccPoint &P, mp_int &p, MpDigit &digit) {
    EccArithScratch s;
    if (!s.setUp(p, nullptr))
        return false;
    return mapPointBack(P, p, digit, s);
}

bool isSecp256k1Prime(const mp_int &p) {
    _tvUnsigned256 v;
    return mp_int_to_uint256(p, v) && v == m_Modulus;
}

}  // namespace ecckey
