// Generic point arithmetic for every catalogue curve but secp256k1.
//
// Points are EccPoint records in Jacobian coordinates (X/Z², Y/Z³) whose coordinates are held in
// Montgomery form modulo p (v·β mod p, β a power of the digit base above p). Coordinates stay fully
// reduced in [0, p). The curve coefficient a is a plain (not Montgomery-form) integer in [0, p), or null
// for curves with a = −3. There is no separate point at infinity: the formulas give Z = 0 for it and
// mapPointBack fails on it. None of these functions logs; false means a big-integer call failed, and the
// output point is then left part-way modified.
//
// Each formula has two forms: one taking the temporaries in an EccArithScratch (the scalar
// multiplications' big-integer path sets one scratch up and then runs its loop without touching the
// heap), and one that builds a scratch of its own for the single call. The steps are those of
// PointFormulas.h, which the fixed-width field (FixedField.h) runs as well.
//
// This arithmetic is not constant time, except pointMultSecret (below) on the catalogue's sizes, which
// secret scalars take. secp256k1 (a = 0) must never reach it: its keys go to the fixed-width engine, and a
// null a here would mean −3. An invariant-check build checks the multipliers' p (isSecp256k1Prime).
#pragma once

#include "support/MpInt.h"

namespace ecckey {

class EccPoint;
class LogBase;

// The temporaries of the point formulas, grown once so that products of two values below p fit: LibTomMath
// then neither grows nor allocates inside mp_mul, mp_sqr, mp_add, mp_sub or mp_montgomery_reduce. (A
// destination of mp_mod or mp_mulmod is handed the division's own, smaller buffer: such values, like
// mapPointBack's temporaries, are regrown by the next product that needs room.)
class EccArithScratch {
  public:
    // Grows the temporaries for modulus p and, when a is not null, prepares a in Montgomery form
    // (a·β mod p, with mu = β mod p). False when an allocation or an integer operation fails.
    [[nodiscard]] bool setUp(const mp_int &p, const mp_int *a, const mp_int &mu);
    // The same, computing mu itself.
    [[nodiscard]] bool setUp(const mp_int &p, const mp_int *a);

    // Digits that hold any product of two values below p (plus the carries LibTomMath's comba needs).
    static int productDigits(const mp_int &p) { return 2 * p.get_digit_count() + 2; }
    // Grows X, Y and Z of pt to productDigits(p); the values are unchanged.
    [[nodiscard]] static bool growPoint(EccPoint &pt, const mp_int &p);

    mp_int t1, t2;   // pointDouble, pointAdd and mapPointBack
    mp_int x, y, z;  // pointAdd's copy of P
    // a·β mod p. Multiplying a Montgomery-form value by it and reducing yields value·a mod p, the same
    // integer a modular multiplication by the plain a gives, without the quotient mp_mulmod allocates.
    mp_int aMont;
    bool hasA = false;
};

// R = 2P. R may be P; when it is not, P's m_format, X, Y and Z are copied to R first.
[[nodiscard]] bool pointDouble(EccPoint &P, EccPoint &R, mp_int *a, mp_int &p, MpDigit &digit);
[[nodiscard]] bool pointDouble(EccPoint &P, EccPoint &R, mp_int *a, mp_int &p, MpDigit &digit,
                               EccArithScratch &s);

// R = P + Q. R may be P or Q. Falls back to doubling when P and Q have equal X and Z and Y = ±Q.Y (so
// P + (−P) with equal Z gives 2P); equal points with different Z go through the general formula and give
// Z = 0. A Q.Z holding the plain integer 1 is taken as Z = 1 (the Montgomery one does not count). Only the
// doubling fallback writes R's m_format.
[[nodiscard]] bool pointAdd(EccPoint &P, EccPoint &Q, EccPoint &R, mp_int *a, mp_int &p, MpDigit &digit);
[[nodiscard]] bool pointAdd(EccPoint &P, EccPoint &Q, EccPoint &R, mp_int *a, mp_int &p, MpDigit &digit,
                            EccArithScratch &s);

// Jacobian Montgomery form to affine normal form with Z = 1, in place; m_format untouched. False for Z = 0
// (the point at infinity), with Z then already taken out of Montgomery form.
[[nodiscard]] bool mapPointBack(EccPoint &P, mp_int &p, MpDigit &digit);
[[nodiscard]] bool mapPointBack(EccPoint &P, mp_int &p, MpDigit &digit, EccArithScratch &s);

// R = k·G by a Montgomery ladder: two group operations per bit after the leading one bit of k. G is affine
// in normal form and is not modified; k = 0 gives G. R is written only when the ladder succeeds, and then
// holds the affine result with m_format 4. False (nothing logged beyond the context "pointMultiply") when
// an integer operation fails or the product is the point at infinity (k = n, for instance). map has no
// effect: the result is always affine. For a p of the catalogue's sizes (fixedFieldLimbs) the ladder runs
// on the fixed-width field, whose arithmetic is constant time; the bits of k still choose which point
// each step writes, and k's leading zeros are skipped: for public scalars, and for the secret ones that
// pointMultSecret hands on.
[[nodiscard]] bool pointMult_tmr(mp_int &k, EccPoint &G, EccPoint &R, mp_int *a, mp_int &p, int map,
                                 LogBase &log);

// R = k·G for a secret scalar, with pointMult_tmr's results, context and failures. For 1 <= k < n (n the
// group order) on a p of the fixed-width field, the ladder runs bitlen(n) − 1 steps whatever k is, reads
// the bits of a fixed-length k, computes each step for both values of its bit and keeps one by masks, and
// replaces the addition's two tests by masks too: no branch and no memory index follows k, and the only
// values made public are "1 <= k < n", "the product is at infinity" and the affine product itself. Any
// other k (0, n and above, negative) or p takes pointMult_tmr.
[[nodiscard]] bool pointMultSecret(mp_int &k, const mp_int &n, EccPoint &G, EccPoint &R, mp_int *a, mp_int &p,
                                   LogBase &log);

// R = k·G for G the curve's generator and a secret scalar, from tables of G's multiples: pointMultSecret's
// results, context and failures, several times faster. For 1 <= k < n on a p of the fixed-width field, a
// table per curve (p, a and G), public, is built on first use (once, under a lock: any thread may call)
// and kept for the process's life; each multiplication then allocates nothing but R's coordinates, and no
// branch and no memory index follows k: every window reads all of its table. Any other k or p, and a curve
// whose table cannot be built (memory), takes pointMultSecret.
// The tables' window: 2^(w − 1) entries a window, each window w bits above the last.
constexpr int kBaseMultWindowBits = 5;
[[nodiscard]] bool pointMultBase(mp_int &k, const mp_int &n, EccPoint &G, EccPoint &R, mp_int *a, mp_int &p,
                                 LogBase &log);

// R = kA·A + kB·B, affine in normal form with Z = 1, by Shamir's trick with a joint table of sixteen points
// (two bits of each scalar per step). A and B are affine in normal form and are read only before R is
// first written, so R may be either of them. Scalars up to 256 bytes. Runs on the fixed-width field for a
// p of the catalogue's sizes (fixedFieldLimbs), on LibTomMath otherwise and for kA = kB = 0. False,
// logging nothing, when a scalar is longer, memory is short, an integer operation fails or the sum is the
// point at infinity (the method has none: a partial sum that meets its opposite ends there).
[[nodiscard]] bool pointMul2Add(EccPoint &A, mp_int &kA, EccPoint &B, mp_int &kB, EccPoint &R, mp_int *a,
                                mp_int &p);

// Whether p is secp256k1's prime, which none of the functions above may be given. For the invariant
// checks; variable time, on a public p.
[[nodiscard]] bool isSecp256k1Prime(const mp_int &p);

}  // namespace ecckey
