// Jacobian point doubling and addition in Montgomery form, and the map back to affine coordinates.
//
// Every coordinate stays in [0, p): a sum is followed by one conditional subtraction of p, a difference by
// one conditional addition of p, and a product or square by one Montgomery reduction (LibTomMath's reduce
// ends below p for inputs below p², so no further correction is needed).
#include "ecc/arith/EccArith.h"

#include "ecc/EccPoint.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

// c = a·b·β⁻¹ mod p: the product of two Montgomery-form values, back in Montgomery form.
bool mulReduce(const mp_int &a, const mp_int &b, mp_int &c, const mp_int &p, MpDigit rho) {
    return TovarMp::mp_mul(a, b, c) == 0 && TovarMp::mp_montgomery_reduce(c, p, rho) == 0;
}

// c = a²·β⁻¹ mod p.
bool sqrReduce(const mp_int &a, mp_int &c, const mp_int &p, MpDigit rho) {
    return TovarMp::mp_sqr(a, c) == 0 && TovarMp::mp_montgomery_reduce(c, p, rho) == 0;
}

// c = a + b, minus p once when the sum is not below p (mp_add, mp_cmp, mp_sub in one call).
bool addMod(const mp_int &a, const mp_int &b, mp_int &c, const mp_int &p) {
    return TovarMp::mp_add_sub_once(a, b, p, c) == 0;
}

// c = a − b, plus p once when the difference is negative (mp_sub, mp_cmp_d, mp_add in one call).
bool subMod(const mp_int &a, const mp_int &b, mp_int &c, const mp_int &p) {
    return TovarMp::mp_sub_add_once(a, b, p, c) == 0;
}

// t = t/2 mod p: an odd t is made even by adding p (no reduction; t + p < 2p halves below p).
bool halve(mp_int &t, const mp_int &p) {
    return TovarMp::mp_halve_add_odd(t, p) == 0;
}

// c = v·a mod p for a Montgomery-form v and the plain coefficient a: one Montgomery product with a's
// Montgomery form when the scratch holds it, else a modular multiplication (which allocates).
bool multiplyByA(const mp_int &v, const mp_int &a, mp_int &c, const mp_int &p, MpDigit rho,
                 const EccArithScratch &s) {
    if (s.hasA)
        return mulReduce(v, s.aMont, c, p, rho);
    return TovarMp::mp_mulmod(v, a, p, c) == 0;
}

}  // namespace

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

// Doubling in Jacobian coordinates:
//   M = 3X² + aZ⁴ (= 3(X − Z²)(X + Z²) when a = −3), S = 4XY², T = 8Y⁴,
//   X' = M² − 2S, Y' = M(S − X') − T, Z' = 2YZ.
// Degenerate cases: Z = 0 gives Z' = 0 again; Y = 0 (a point of order two) gives Z' = 0. Neither is
// tested for.
bool pointDouble(EccPoint &P, EccPoint &R, mp_int *a, mp_int &p, MpDigit &digit, EccArithScratch &s) {
    if (&P != &R) {
        R.m_format = P.m_format;
        TovarMp::mp_copy(P.m_x, R.m_x);
        TovarMp::mp_copy(P.m_y, R.m_y);
        TovarMp::mp_copy(P.m_z, R.m_z);
    }
    mp_int &X = R.m_x;
    mp_int &Y = R.m_y;
    mp_int &Z = R.m_z;
    mp_int &t1 = s.t1;
    mp_int &t2 = s.t2;

    bool ok = sqrReduce(Z, t1, p, digit);     // t1 = Z²
    ok = ok && mulReduce(Z, Y, Z, p, digit);  // Z = Z·Y
    ok = ok && addMod(Z, Z, Z, p);            // Z = 2YZ
    if (!a) {
        ok = ok && subMod(X, t1, t2, p);             // t2 = X − Z²
        ok = ok && addMod(t1, X, t1, p);             // t1 = X + Z²
        ok = ok && mulReduce(t1, t2, t2, p, digit);  // t2 = (X − Z²)(X + Z²)
        ok = ok && addMod(t2, t2, t1, p);            // t1 = 2·t2
        ok = ok && addMod(t1, t2, t1, p);            // t1 = M = 3(X − Z²)(X + Z²)
    } else {
        ok = ok && sqrReduce(t1, t2, p, digit);           // t2 = Z⁴
        ok = ok && multiplyByA(t2, *a, t1, p, digit, s);  // t1 = a·Z⁴
        ok = ok && sqrReduce(X, t2, p, digit);            // t2 = X²
        ok = ok && addMod(t1, t2, t1, p);                 // t1 = a·Z⁴ + X²
        ok = ok && addMod(t1, t2, t1, p);                 // t1 = a·Z⁴ + 2X²
        ok = ok && addMod(t1, t2, t1, p);                 // t1 = M = a·Z⁴ + 3X²
    }
    ok = ok && addMod(Y, Y, Y, p);             // Y = 2Y
    ok = ok && sqrReduce(Y, Y, p, digit);      // Y = 4Y²
    ok = ok && sqrReduce(Y, t2, p, digit);     // t2 = 16Y⁴
    ok = ok && halve(t2, p);                   // t2 = T = 8Y⁴
    ok = ok && mulReduce(Y, X, Y, p, digit);   // Y = S = 4XY²
    ok = ok && sqrReduce(t1, X, p, digit);     // X = M²
    ok = ok && subMod(X, Y, X, p);             // X = M² − S
    ok = ok && subMod(X, Y, X, p);             // X = X' = M² − 2S
    ok = ok && subMod(Y, X, Y, p);             // Y = S − X'
    ok = ok && mulReduce(Y, t1, Y, p, digit);  // Y = M(S − X')
    ok = ok && subMod(Y, t2, Y, p);            // Y = Y' = M(S − X') − T
    return ok;
}

bool pointDouble(EccPoint &P, EccPoint &R, mp_int *a, mp_int &p, MpDigit &digit) {
    EccArithScratch s;
    if (!s.setUp(p, a))
        return false;
    return pointDouble(P, R, a, p, digit, s);
}

// Addition in Jacobian coordinates, with U1 = X1·Z2², S1 = Y1·Z2³, U2 = X2·Z1², S2 = Y2·Z1³, H = U1 − U2
// and r = S1 − S2:
//   X3 = r² − (U1 + U2)H², Y3 = (((U1 + U2)H² − 2X3)·r − (S1 + S2)H³)/2, Z3 = Z1·Z2·H.
// (The sums U1 + U2 and S1 + S2 replace the usual 2U1 and 2S1 at the price of one halving.)
// Degenerate cases: P = Q or P = −Q with equal X and Z is sent to doubling (so P + (−P) gives 2P, not
// infinity); equal or opposite points with different Z give H = 0 and so Z3 = 0; an input at infinity
// (Z = 0) is not recognised and gives Z3 = 0.
bool pointAdd(EccPoint &P, EccPoint &Q, EccPoint &R, mp_int *a, mp_int &p, MpDigit &digit,
              EccArithScratch &s) {
    mp_int &t1 = s.t1;
    mp_int &t2 = s.t2;
    mp_int &x = s.x;
    mp_int &y = s.y;
    mp_int &z = s.z;

    // t1 = −Q.Y, first of all: R may be Q.
    if (TovarMp::mp_sub(p, Q.m_y, t1) != 0)
        return false;
    // Doubling fallback on the raw coordinates: same X and Z, and Y = Q.Y or Y = −Q.Y.
    if (TovarMp::mp_cmp(P.m_x, Q.m_x) == 0 && TovarMp::mp_cmp(P.m_z, Q.m_z) == 0 &&
        (TovarMp::mp_cmp(P.m_y, Q.m_y) == 0 || TovarMp::mp_cmp(P.m_y, t1) == 0))
        return pointDouble(P, R, a, p, digit, s);

    if (TovarMp::mp_copy(P.m_x, x) != 0 || TovarMp::mp_copy(P.m_y, y) != 0 || TovarMp::mp_copy(P.m_z, z) != 0)
        return false;

    const bool qzIsOne = TovarMp::mp_cmp_d(Q.m_z, 1) == 0;
    bool ok = true;
    if (!qzIsOne) {
        ok = ok && sqrReduce(Q.m_z, t1, p, digit);      // t1 = Z2²
        ok = ok && mulReduce(t1, x, x, p, digit);       // x = U1 = X1·Z2²
        ok = ok && mulReduce(Q.m_z, t1, t1, p, digit);  // t1 = Z2³
        ok = ok && mulReduce(t1, y, y, p, digit);       // y = S1 = Y1·Z2³
    }
    ok = ok && sqrReduce(z, t1, p, digit);          // t1 = Z1²
    ok = ok && mulReduce(Q.m_x, t1, t2, p, digit);  // t2 = U2 = X2·Z1²
    ok = ok && mulReduce(z, t1, t1, p, digit);      // t1 = Z1³
    ok = ok && mulReduce(Q.m_y, t1, t1, p, digit);  // t1 = S2 = Y2·Z1³
    ok = ok && subMod(y, t1, y, p);                 // y = r = S1 − S2
    ok = ok && addMod(t1, t1, t1, p);               // t1 = 2·S2
    ok = ok && addMod(t1, y, t1, p);                // t1 = S1 + S2
    ok = ok && subMod(x, t2, x, p);                 // x = H = U1 − U2
    ok = ok && addMod(t2, t2, t2, p);               // t2 = 2·U2
    ok = ok && addMod(t2, x, t2, p);                // t2 = U1 + U2
    if (!qzIsOne)
        ok = ok && mulReduce(z, Q.m_z, z, p, digit);  // z = Z1·Z2
    ok = ok && mulReduce(z, x, z, p, digit);          // z = Z3 = Z1·Z2·H
    ok = ok && mulReduce(t1, x, t1, p, digit);        // t1 = (S1 + S2)H
    ok = ok && sqrReduce(x, x, p, digit);             // x = H²
    ok = ok && mulReduce(t2, x, t2, p, digit);        // t2 = (U1 + U2)H²
    ok = ok && mulReduce(t1, x, t1, p, digit);        // t1 = (S1 + S2)H³
    ok = ok && sqrReduce(y, x, p, digit);             // x = r²
    ok = ok && subMod(x, t2, x, p);                   // x = X3 = r² − (U1 + U2)H²
    ok = ok && subMod(t2, x, t2, p);                  // t2 = (U1 + U2)H² − X3
    ok = ok && subMod(t2, x, t2, p);                  // t2 = (U1 + U2)H² − 2X3
    ok = ok && mulReduce(t2, y, t2, p, digit);        // t2 = ((U1 + U2)H² − 2X3)·r
    ok = ok && subMod(t2, t1, y, p);                  // y = 2·Y3 = t2 − (S1 + S2)H³
    ok = ok && halve(y, p);                           // y = Y3
    if (!ok)
        return false;

    if (TovarMp::mp_copy(x, R.m_x) != 0)
        return false;
    if (TovarMp::mp_copy(y, R.m_y) != 0)
        return false;
    return TovarMp::mp_copy(z, R.m_z) == 0;
}

bool pointAdd(EccPoint &P, EccPoint &Q, EccPoint &R, mp_int *a, mp_int &p, MpDigit &digit) {
    EccArithScratch s;
    if (!s.setUp(p, a))
        return false;
    return pointAdd(P, Q, R, a, p, digit, s);
}

// (X, Y, Z) -> (X/Z², Y/Z³, 1). The inverse is taken of Z in normal form; multiplying the Montgomery-form
// X and Y by normal-form Z⁻² and Z⁻³ and reducing removes their Montgomery factor at the same time.
bool mapPointBack(EccPoint &P, mp_int &p, MpDigit &digit, EccArithScratch &s) {
    mp_int &t1 = s.t1;
    mp_int &t2 = s.t2;

    bool ok = TovarMp::mp_montgomery_reduce(P.m_z, p, digit) == 0;  // Z in normal form
    ok = ok && TovarMp::mp_invmod(P.m_z, p, t1) == 0;               // t1 = Z⁻¹; fails for Z = 0
    ok = ok && TovarMp::mp_sqr(t1, t2) == 0;                        // t2 = Z⁻²
    ok = ok && TovarMp::mp_mod(t2, p, t2) == 0;
    ok = ok && TovarMp::mp_mul(t1, t2, t1) == 0;  // t1 = Z⁻³
    ok = ok && TovarMp::mp_mod(t1, p, t1) == 0;
    ok = ok && mulReduce(P.m_x, t2, P.m_x, p, digit);  // X = X/Z², normal form
    ok = ok && mulReduce(P.m_y, t1, P.m_y, p, digit);  // Y = Y/Z³, normal form
    if (!ok)
        return false;
    TovarMp::mp_set(P.m_z, 1);
    return true;
}

bool mapPointBack(EccPoint &P, mp_int &p, MpDigit &digit) {
    EccArithScratch s;
    if (!s.setUp(p, nullptr))
        return false;
    return mapPointBack(P, p, digit, s);
}

}  // namespace ecckey
