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

// c = a + b, minus p once when the sum is not below p.
bool addMod(const mp_int &a, const mp_int &b, mp_int &c, const mp_int &p) {
    if (TovarMp::mp_add(a, b, c) != 0) return false;
    if (TovarMp::mp_cmp(c, p) != -1) return TovarMp::mp_sub(c, p, c) == 0;
    return true;
}

// c = a − b, plus p once when the difference is negative.
bool subMod(const mp_int &a, const mp_int &b, mp_int &c, const mp_int &p) {
    if (TovarMp::mp_sub(a, b, c) != 0) return false;
    if (TovarMp::mp_cmp_d(c, 0) == -1) return TovarMp::mp_add(c, p, c) == 0;
    return true;
}

// t = t/2 mod p: an odd t is made even by adding p (no reduction; t + p < 2p halves below p).
bool halve(mp_int &t, const mp_int &p) {
    if (TovarMp::mp_isodd(t) && TovarMp::mp_add(t, p, t) != 0) return false;
    return TovarMp::mp_div_2(t, t) == 0;
}

}  // namespace

bool EccArithScratch::setUp(const mp_int &p, const mp_int *a, const mp_int &mu) {
    const int digits = productDigits(p);
    mp_int *all[] = {&t1, &t2, &x, &y, &z, &aMont};
    for (mp_int *v : all)
        if (TovarMp::mp_grow(*v, digits) != 0) return false;
    hasA = false;
    if (a) {
        if (TovarMp::mp_mulmod(*a, mu, p, aMont) != 0) return false;
        hasA = true;
    }
    return true;
}

bool EccArithScratch::setUp(const mp_int &p, const mp_int *a) {
    mp_int mu;
    if (a && TovarMp::mp_montgomery_normalization(mu, p) != 0) return false;
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

    if (!sqrReduce(Z, t1, p, digit)) return false;     // t1 = Z²
    if (!mulReduce(Z, Y, Z, p, digit)) return false;   // Z = Z·Y
    if (!addMod(Z, Z, Z, p)) return false;             // Z = 2YZ
    if (!a) {
        if (!subMod(X, t1, t2, p)) return false;         // t2 = X − Z²
        if (!addMod(t1, X, t1, p)) return false;         // t1 = X + Z²
        if (!mulReduce(t1, t2, t2, p, digit)) return false;  // t2 = (X − Z²)(X + Z²)
        if (!addMod(t2, t2, t1, p)) return false;        // t1 = 2·t2
        if (!addMod(t1, t2, t1, p)) return false;        // t1 = 3(X − Z²)(X + Z²)
    } else {
        if (!sqrReduce(t1, t2, p, digit)) return false;  // t2 = Z⁴
        if (s.hasA) {
            if (!mulReduce(t2, s.aMont, t1, p, digit)) return false;  // t1 = a·Z⁴
        } else if (TovarMp::mp_mulmod(t2, *a, p, t1) != 0) {
            return false;                                // t1 = a·Z⁴
        }
        if (!sqrReduce(X, t2, p, digit)) return false;   // t2 = X²
        for (int i = 0; i < 3; ++i)
            if (!addMod(t1, t2, t1, p)) return false;    // t1 = 3X² + a·Z⁴
    }
    if (!addMod(Y, Y, Y, p)) return false;               // Y = 2Y
    if (!sqrReduce(Y, Y, p, digit)) return false;        // Y = 4Y²
    if (!sqrReduce(Y, t2, p, digit)) return false;       // t2 = 16Y⁴
    if (!halve(t2, p)) return false;                     // t2 = T = 8Y⁴
    if (!mulReduce(Y, X, Y, p, digit)) return false;     // Y = S = 4XY²
    if (!sqrReduce(t1, X, p, digit)) return false;       // X = M²
    if (!subMod(X, Y, X, p)) return false;               // X = M² − S
    if (!subMod(X, Y, X, p)) return false;               // X = M² − 2S
    if (!subMod(Y, X, Y, p)) return false;               // Y = S − X'
    if (!mulReduce(Y, t1, Y, p, digit)) return false;    // Y = M(S − X')
    if (!subMod(Y, t2, Y, p)) return false;              // Y = M(S − X') − T
    return true;
}

bool pointDouble(EccPoint &P, EccPoint &R, mp_int *a, mp_int &p, MpDigit &digit) {
    EccArithScratch s;
    if (!s.setUp(p, a)) return false;
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

    if (TovarMp::mp_sub(p, Q.m_y, t1) != 0) return false;  // t1 = −Q.Y
    if (TovarMp::mp_cmp(P.m_x, Q.m_x) == 0 && TovarMp::mp_cmp(P.m_z, Q.m_z) == 0 &&
        (TovarMp::mp_cmp(P.m_y, Q.m_y) == 0 || TovarMp::mp_cmp(P.m_y, t1) == 0))
        return pointDouble(P, R, a, p, digit, s);

    if (TovarMp::mp_copy(P.m_x, x) != 0 || TovarMp::mp_copy(P.m_y, y) != 0 ||
        TovarMp::mp_copy(P.m_z, z) != 0)
        return false;

    const bool qzIsOne = TovarMp::mp_cmp_d(Q.m_z, 1) == 0;
    if (!qzIsOne) {
        if (!sqrReduce(Q.m_z, t1, p, digit)) return false;       // t1 = Z2²
        if (!mulReduce(t1, x, x, p, digit)) return false;        // x = U1 = X1·Z2²
        if (!mulReduce(Q.m_z, t1, t1, p, digit)) return false;   // t1 = Z2³
        if (!mulReduce(t1, y, y, p, digit)) return false;        // y = S1 = Y1·Z2³
    }
    if (!sqrReduce(z, t1, p, digit)) return false;               // t1 = Z1²
    if (!mulReduce(Q.m_x, t1, t2, p, digit)) return false;       // t2 = U2 = X2·Z1²
    if (!mulReduce(z, t1, t1, p, digit)) return false;           // t1 = Z1³
    if (!mulReduce(Q.m_y, t1, t1, p, digit)) return false;       // t1 = S2 = Y2·Z1³
    if (!subMod(y, t1, y, p)) return false;                      // y = r = S1 − S2
    if (!addMod(t1, t1, t1, p)) return false;                    // t1 = 2·S2
    if (!addMod(t1, y, t1, p)) return false;                     // t1 = S1 + S2
    if (!subMod(x, t2, x, p)) return false;                      // x = H = U1 − U2
    if (!addMod(t2, t2, t2, p)) return false;                    // t2 = 2·U2
    if (!addMod(t2, x, t2, p)) return false;                     // t2 = U1 + U2
    if (!qzIsOne && !mulReduce(z, Q.m_z, z, p, digit)) return false;  // z = Z1·Z2
    if (!mulReduce(z, x, z, p, digit)) return false;             // z = Z3 = Z1·Z2·H
    if (!mulReduce(t1, x, t1, p, digit)) return false;           // t1 = (S1 + S2)H
    if (!sqrReduce(x, x, p, digit)) return false;                // x = H²
    if (!mulReduce(t2, x, t2, p, digit)) return false;           // t2 = (U1 + U2)H²
    if (!mulReduce(t1, x, t1, p, digit)) return false;           // t1 = (S1 + S2)H³
    if (!sqrReduce(y, x, p, digit)) return false;                // x = r²
    if (!subMod(x, t2, x, p)) return false;                      // x = X3 = r² − (U1 + U2)H²
    if (!subMod(t2, x, t2, p)) return false;                     // t2 = (U1 + U2)H² − X3
    if (!subMod(t2, x, t2, p)) return false;                     // t2 = (U1 + U2)H² − 2X3
    if (!mulReduce(t2, y, t2, p, digit)) return false;           // t2 = ((U1 + U2)H² − 2X3)·r
    if (!subMod(t2, t1, y, p)) return false;                     // y = t2 − (S1 + S2)H³
    if (!halve(y, p)) return false;                              // y = Y3

    if (TovarMp::mp_copy(x, R.m_x) != 0) return false;
    if (TovarMp::mp_copy(y, R.m_y) != 0) return false;
    return TovarMp::mp_copy(z, R.m_z) == 0;
}

bool pointAdd(EccPoint &P, EccPoint &Q, EccPoint &R, mp_int *a, mp_int &p, MpDigit &digit) {
    EccArithScratch s;
    if (!s.setUp(p, a)) return false;
    return pointAdd(P, Q, R, a, p, digit, s);
}

// (X, Y, Z) -> (X/Z², Y/Z³, 1). The inverse is taken of Z in normal form; multiplying the Montgomery-form
// X and Y by normal-form Z⁻² and Z⁻³ and reducing removes their Montgomery factor at the same time.
bool mapPointBack(EccPoint &P, mp_int &p, MpDigit &digit, EccArithScratch &s) {
    mp_int &t1 = s.t1;
    mp_int &t2 = s.t2;

    if (TovarMp::mp_montgomery_reduce(P.m_z, p, digit) != 0) return false;  // Z in normal form
    if (TovarMp::mp_invmod(P.m_z, p, t1) != 0) return false;               // t1 = Z⁻¹; fails for Z = 0
    if (TovarMp::mp_sqr(t1, t2) != 0 || TovarMp::mp_mod(t2, p, t2) != 0) return false;  // t2 = Z⁻²
    if (TovarMp::mp_mul(t1, t2, t1) != 0 || TovarMp::mp_mod(t1, p, t1) != 0) return false;  // t1 = Z⁻³
    if (!mulReduce(P.m_x, t2, P.m_x, p, digit)) return false;  // X = X/Z², normal form
    if (!mulReduce(P.m_y, t1, P.m_y, p, digit)) return false;  // Y = Y/Z³, normal form
    TovarMp::mp_set(P.m_z, 1);
    return true;
}

bool mapPointBack(EccPoint &P, mp_int &p, MpDigit &digit) {
    EccArithScratch s;
    if (!s.setUp(p, nullptr)) return false;
    return mapPointBack(P, p, digit, s);
}

}  // namespace ecckey
