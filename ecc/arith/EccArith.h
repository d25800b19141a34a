// Generic point arithmetic for every catalogue curve but secp256k1.
//
// Points are EccPoint records in Jacobian coordinates (X/Z², Y/Z³) whose coordinates are held in
// Montgomery form modulo p (v·β mod p, β a power of the digit base above p). Coordinates stay fully
// reduced in [0, p). The curve coefficient a is a plain (not Montgomery-form) integer in [0, p), or null
// for curves with a = −3. There is no separate point at infinity: the formulas give Z = 0 for it and
// mapPointBack fails on it. None of these functions logs; false means a big-integer call failed.
//
// This arithmetic is not constant time. secp256k1 (a = 0) must never reach it.
#pragma once

#include "support/MpInt.h"

namespace ecckey {

class EccPoint;
class LogBase;

// R = 2P. R may be P.
bool pointDouble(EccPoint &P, EccPoint &R, mp_int *a, mp_int &p, MpDigit &digit);
// R = P + Q. R may be P or Q. Falls back to doubling when P and Q have equal X and Z and Y = ±Q.Y (so
// P + (−P) with equal Z gives 2P); equal points with different Z go through the general formula.
bool pointAdd(EccPoint &P, EccPoint &Q, EccPoint &R, mp_int *a, mp_int &p, MpDigit &digit);
// Jacobian Montgomery form to affine normal form with Z = 1; false for Z = 0.
bool mapPointBack(EccPoint &P, mp_int &p, MpDigit &digit);
// R = k·G by a Montgomery ladder (two group operations per bit after the leading one). G is affine; R is
// written only on success of the ladder. map has no effect: the result is always affine.
bool pointMult_tmr(mp_int &k, EccPoint &G, EccPoint &R, mp_int *a, mp_int &p, int map, LogBase &log);

}  // namespace ecckey
