// The Jacobian point formulas of the generic curves, written once over a field type F: doubling, addition
// and the map to affine coordinates. Two fields instantiate them: BigIntField (EccPoint records with
// mp_int coordinates, behind pointDouble, pointAdd and mapPointBack) and FixedField<N> (fixed-width limbs,
// behind the scalar multiplications). Both run these steps in this order, so their special cases agree
// and their results are the same points.
//
// Points are Jacobian (X/Z², Y/Z³) with coordinates in the field's Montgomery form, fully reduced. There
// is no separate point at infinity: the formulas give Z = 0 for it, and the map fails on it.
//
// What F provides. Every operation returns bool: false when a big-integer operation fails; the fixed-width
// ones cannot fail, except invert on zero.
//   Elem; Point, with coordinates m_x, m_y, m_z; Scratch, with temporaries t1, t2, x, y, z
//   mul(a, b, c), sqr(a, c)          Montgomery product and square: c = a·b/β mod p (β: F's radix)
//   add(a, b, c), sub(a, b, c)       sum and difference, brought back below p by one correction
//   halve(t)                         t = t/2 mod p
//   hasA(), mulByA(v, c)             whether the curve has a general a (else a = −3), and c = a·v
//   negate(a, c)                     c = −a mod p, or p itself for a = 0 (the fallback's test, which
//                                    uses it, compares with Q.Y first)
//   isEqual(a, b)                    the two hold the same value
//   isPlainOne(z)                    z is the value the big-integer path stores as the plain integer 1
//   copy(a, c), copyPoint(P, R)      R's X9.63 form byte too, where the point has one
//   leaveMontgomery(a), invert(a, c), sqrPlain(a, c), mulPlain(a, b, c), setOne(a)
//                                    the map's steps on normal-form values; invert fails on zero
//   isReduced(a)                     a is below p: what every coordinate is on the way in and out
// and, for the masked addition only (the fixed-width field):
//   isZero(a), one(), select(mask, a, b, c)   c = a where the mask is all ones, b where it is zero
//   Scratch::q                       a point's room
#pragma once

#include <cstdint>

#include "support/ConstantTime.h"
#include "support/Invariant.h"

namespace ecckey {

// Whether every coordinate of P is below p. For the invariant checks: the formulas' one correction per
// sum or difference is enough only for reduced inputs.
template <class F>
[[nodiscard]] bool isReducedPoint(const F &f, const typename F::Point &P) {
    return f.isReduced(P.m_x) && f.isReduced(P.m_y) && f.isReduced(P.m_z);
}

// R = 2P. R may be P; when it is not, P is copied to R first (unchecked, as the copy cannot fail once
// the coordinates have room).
//   M = 3X² + aZ⁴ (= 3(X − Z²)(X + Z²) when a = −3), S = 4XY², T = 8Y⁴,
//   X' = M² − 2S, Y' = M(S − X') − T, Z' = 2YZ.
// Degenerate cases: Z = 0 gives Z' = 0 again; Y = 0 (a point of order two) gives Z' = 0. Neither is
// tested for.
template <class F>
[[nodiscard]] bool jacobianDouble(F &f, const typename F::Point &P, typename F::Point &R,
                                  typename F::Scratch &s) {
    ECCKEY_INVARIANT(isReducedPoint(f, P));
    if (&P != &R)
        f.copyPoint(P, R);
    auto &X = R.m_x;
    auto &Y = R.m_y;
    auto &Z = R.m_z;
    auto &t1 = s.t1;
    auto &t2 = s.t2;

    bool ok = f.sqr(Z, t1);     // t1 = Z²
    ok = ok && f.mul(Z, Y, Z);  // Z = Z·Y
    ok = ok && f.add(Z, Z, Z);  // Z = 2YZ
    if (!f.hasA()) {
        ok = ok && f.sub(X, t1, t2);   // t2 = X − Z²
        ok = ok && f.add(t1, X, t1);   // t1 = X + Z²
        ok = ok && f.mul(t1, t2, t2);  // t2 = (X − Z²)(X + Z²)
        ok = ok && f.add(t2, t2, t1);  // t1 = 2·t2
        ok = ok && f.add(t1, t2, t1);  // t1 = M = 3(X − Z²)(X + Z²)
    } else {
        ok = ok && f.sqr(t1, t2);      // t2 = Z⁴
        ok = ok && f.mulByA(t2, t1);   // t1 = a·Z⁴
        ok = ok && f.sqr(X, t2);       // t2 = X²
        ok = ok && f.add(t1, t2, t1);  // t1 = a·Z⁴ + X²
        ok = ok && f.add(t1, t2, t1);  // t1 = a·Z⁴ + 2X²
        ok = ok && f.add(t1, t2, t1);  // t1 = M = a·Z⁴ + 3X²
    }
    ok = ok && f.add(Y, Y, Y);   // Y = 2Y
    ok = ok && f.sqr(Y, Y);      // Y = 4Y²
    ok = ok && f.sqr(Y, t2);     // t2 = 16Y⁴
    ok = ok && f.halve(t2);      // t2 = T = 8Y⁴
    ok = ok && f.mul(Y, X, Y);   // Y = S = 4XY²
    ok = ok && f.sqr(t1, X);     // X = M²
    ok = ok && f.sub(X, Y, X);   // X = M² − S
    ok = ok && f.sub(X, Y, X);   // X = X' = M² − 2S
    ok = ok && f.sub(Y, X, Y);   // Y = S − X'
    ok = ok && f.mul(Y, t1, Y);  // Y = M(S − X')
    ok = ok && f.sub(Y, t2, Y);  // Y = Y' = M(S − X') − T
    ECCKEY_INVARIANT(!ok || isReducedPoint(f, R));
    return ok;
}

// The doubling fallback of the addition: same X and Z, and P.Y = Q.Y or P.Y = −Q.Y (negQY). Every
// comparison is made, so the fixed-width field compares in constant time; only the outcome chooses the
// path, and it is true only for P = ±Q with equal Z.
template <class F>
[[nodiscard]] bool isDoublingCase(F &f, const typename F::Point &P, const typename F::Point &Q,
                                  const typename F::Elem &negQY) {
    const int sameX = f.isEqual(P.m_x, Q.m_x);
    const int sameZ = f.isEqual(P.m_z, Q.m_z);
    const int sameY = f.isEqual(P.m_y, Q.m_y);
    const int oppositeY = f.isEqual(P.m_y, negQY);
    return (sameX & sameZ & (sameY | oppositeY)) != 0;
}

// What the general addition saw of its operands: U1 = U2 (the same x) and S1 = S2 (the same y). Both hold for
// the same point in any two representations, the first alone for opposite points.
struct AddCases {
    bool sameU = false;
    bool sameS = false;
};

// s.x, s.y, s.z hold P on entry and P + Q on return: the general addition, with U1 = X1·Z2², S1 = Y1·Z2³,
// U2 = X2·Z1², S2 = Y2·Z1³, H = U1 − U2 and r = S1 − S2:
//   X3 = r² − (U1 + U2)H², Y3 = (((U1 + U2)H² − 2X3)·r − (S1 + S2)H³)/2, Z3 = Z1·Z2·H.
// (The sums U1 + U2 and S1 + S2 replace the usual 2U1 and 2S1 at the price of one halving.) With qzIsOne
// Q is taken as affine and Z2's products are skipped.
// Degenerate cases: equal or opposite points give H = 0 and so Z3 = 0; an input at infinity (Z = 0) is not
// recognised and gives Z3 = 0. When cases is not null it receives the two comparisons, made with isEqual.
template <class F>
[[nodiscard]] bool jacobianAddGeneral(F &f, const typename F::Point &Q, bool qzIsOne, typename F::Scratch &s,
                                      AddCases *cases = nullptr) {
    auto &x = s.x;
    auto &y = s.y;
    auto &z = s.z;
    auto &t1 = s.t1;
    auto &t2 = s.t2;
    ECCKEY_INVARIANT(isReducedPoint(f, Q) && f.isReduced(x) && f.isReduced(y) && f.isReduced(z));

    bool ok = true;
    if (!qzIsOne) {
        ok = ok && f.sqr(Q.m_z, t1);      // t1 = Z2²
        ok = ok && f.mul(t1, x, x);       // x = U1 = X1·Z2²
        ok = ok && f.mul(Q.m_z, t1, t1);  // t1 = Z2³
        ok = ok && f.mul(t1, y, y);       // y = S1 = Y1·Z2³
    }
    ok = ok && f.sqr(z, t1);          // t1 = Z1²
    ok = ok && f.mul(Q.m_x, t1, t2);  // t2 = U2 = X2·Z1²
    ok = ok && f.mul(z, t1, t1);      // t1 = Z1³
    ok = ok && f.mul(Q.m_y, t1, t1);  // t1 = S2 = Y2·Z1³
    if (cases) {
        cases->sameU = f.isEqual(x, t2);
        cases->sameS = f.isEqual(y, t1);
    }
    ok = ok && f.sub(y, t1, y);    // y = r = S1 − S2
    ok = ok && f.add(t1, t1, t1);  // t1 = 2·S2
    ok = ok && f.add(t1, y, t1);   // t1 = S1 + S2
    ok = ok && f.sub(x, t2, x);    // x = H = U1 − U2
    ok = ok && f.add(t2, t2, t2);  // t2 = 2·U2
    ok = ok && f.add(t2, x, t2);   // t2 = U1 + U2
    if (!qzIsOne)
        ok = ok && f.mul(z, Q.m_z, z);  // z = Z1·Z2
    ok = ok && f.mul(z, x, z);          // z = Z3 = Z1·Z2·H
    ok = ok && f.mul(t1, x, t1);        // t1 = (S1 + S2)H
    ok = ok && f.sqr(x, x);             // x = H²
    ok = ok && f.mul(t2, x, t2);        // t2 = (U1 + U2)H²
    ok = ok && f.mul(t1, x, t1);        // t1 = (S1 + S2)H³
    ok = ok && f.sqr(y, x);             // x = r²
    ok = ok && f.sub(x, t2, x);         // x = X3 = r² − (U1 + U2)H²
    ok = ok && f.sub(t2, x, t2);        // t2 = (U1 + U2)H² − X3
    ok = ok && f.sub(t2, x, t2);        // t2 = (U1 + U2)H² − 2X3
    ok = ok && f.mul(t2, y, t2);        // t2 = ((U1 + U2)H² − 2X3)·r
    ok = ok && f.sub(t2, t1, y);        // y = 2·Y3 = t2 − (S1 + S2)H³
    ok = ok && f.halve(y);              // y = Y3
    return ok;
}

// R = P + Q. R may be P or Q. P = ±Q with equal Z goes to doubling (so P + (−P) gives 2P, not infinity);
// equal points with different Z take the general formula and give Z = 0. A Q whose Z is the big-integer
// path's plain integer 1 is taken as affine (the Montgomery form of one does not count).
template <class F>
[[nodiscard]] bool jacobianAdd(F &f, const typename F::Point &P, const typename F::Point &Q,
                               typename F::Point &R, typename F::Scratch &s) {
    ECCKEY_INVARIANT(isReducedPoint(f, P) && isReducedPoint(f, Q));
    // t1 = −Q.Y, first of all: R may be Q.
    if (!f.negate(Q.m_y, s.t1))
        return false;
    if (isDoublingCase(f, P, Q, s.t1))
        return jacobianDouble(f, P, R, s);
    if (!f.copy(P.m_x, s.x) || !f.copy(P.m_y, s.y) || !f.copy(P.m_z, s.z))
        return false;
    if (!jacobianAddGeneral(f, Q, f.isPlainOne(Q.m_z), s))
        return false;
    const bool ok = f.copy(s.x, R.m_x) && f.copy(s.y, R.m_y) && f.copy(s.z, R.m_z);
    ECCKEY_INVARIANT(!ok || isReducedPoint(f, R));
    return ok;
}

// R = P + Q by masks, for a field whose comparisons and selection are constant time (the fixed-width field).
// Both candidates are computed whatever the points are, and the result is chosen without a branch or an
// index that follows them:
//   - D where jacobianAdd falls back to doubling (P = ±Q with equal X and Z, a plain-one Q.Z taken as one),
//     and where P and Q are the same point in any two representations (U1 = U2 and S1 = S2), where the
//     general formula would give Z = 0;
//   - the general sum otherwise: opposite points then give Z = 0.
// D must be 2P: jacobianDouble's representation of it wherever the fallback applies (that is what
// jacobianAdd gives), any representation where only the second case does. As in jacobianAdd, an operand at
// infinity is not recognised (it gives Z = 0 or the fallback): the callers never hold one (the ladder's
// points differ by a point of the curve, the tables' sums start from an entry). With qAffine (a public
// property of Q, such as a table's entries) Q.Z holds the field's one and Z2's products are skipped. R may be
// P or Q; D must not be R.
template <class F>
void jacobianAddMasked(const F &f, const typename F::Point &P, const typename F::Point &Q, bool qAffine,
                       const typename F::Point &D, typename F::Point &R, typename F::Scratch &s) {
    ECCKEY_INVARIANT(isReducedPoint(f, P) && isReducedPoint(f, Q) && isReducedPoint(f, D) && &D != &R);
    (void)f.negate(Q.m_y, s.t1);
    const std::uint64_t fallback = ct::mask64(isDoublingCase(f, P, Q, s.t1));
    f.copyPoint(Q, s.q);
    if (!qAffine)
        f.select(ct::mask64(f.isPlainOne(Q.m_z)), f.one(), Q.m_z, s.q.m_z);

    (void)(f.copy(P.m_x, s.x) && f.copy(P.m_y, s.y) && f.copy(P.m_z, s.z));
    AddCases cases;
    (void)jacobianAddGeneral(f, s.q, qAffine, s, &cases);
    // At infinity (Z = 0) U and S are zero, whatever the point: no sign of the same point there.
    const int finite = (int)!f.isZero(P.m_z) & (int)(qAffine || !f.isZero(Q.m_z));
    const std::uint64_t doubled = fallback | ct::mask64(((int)cases.sameU & (int)cases.sameS & finite) != 0);
    f.select(doubled, D.m_x, s.x, R.m_x);
    f.select(doubled, D.m_y, s.y, R.m_y);
    f.select(doubled, D.m_z, s.z, R.m_z);
    ECCKEY_INVARIANT(isReducedPoint(f, R));
}

// (X, Y, Z) -> (X/Z², Y/Z³, 1), in place, in normal form. The inverse is taken of Z in normal form;
// multiplying the Montgomery-form X and Y by normal-form Z⁻² and Z⁻³ with a Montgomery product removes
// their Montgomery factor at the same time. False for Z = 0 (the point at infinity), with Z then already
// in normal form and X, Y untouched.
template <class F>
[[nodiscard]] bool jacobianToAffine(F &f, typename F::Point &P, typename F::Scratch &s) {
    auto &t1 = s.t1;
    auto &t2 = s.t2;
    ECCKEY_INVARIANT(isReducedPoint(f, P));

    bool ok = f.leaveMontgomery(P.m_z);  // Z in normal form
    ok = ok && f.invert(P.m_z, t1);      // t1 = Z⁻¹; fails for Z = 0
    ok = ok && f.sqrPlain(t1, t2);       // t2 = Z⁻²
    ok = ok && f.mulPlain(t1, t2, t1);   // t1 = Z⁻³
    ok = ok && f.mul(P.m_x, t2, P.m_x);  // X = X/Z², normal form
    ok = ok && f.mul(P.m_y, t1, P.m_y);  // Y = Y/Z³, normal form
    if (!ok)
        return false;
    f.setOne(P.m_z);
    return true;
}

}  // namespace ecckey
