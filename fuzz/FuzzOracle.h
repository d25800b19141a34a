// OpenSSL as an independent oracle for the fuzz targets that compute: scalar multiplication of the base
// point and ECDSA verification, each on one of the thirteen curves.
#pragma once

#include "FuzzSupport.h"

namespace ecckey_fuzz {

// (x, y) = d·G on the curve. False when the result is the point at infinity.
bool oracleMulBase(const CurveRef &curve, const ecckey::mp_int &d, ecckey::mp_int &x, ecckey::mp_int &y);

// d mod n on the curve.
void oracleModOrder(const CurveRef &curve, const ecckey::mp_int &d, ecckey::mp_int &out);

// The ECDSA verdict for (r, s) over the integer e under the affine public point (qx, qy): true exactly
// when 0 < r, s < n and the x-coordinate of (e/s)·G + (r/s)·Q, reduced modulo n, equals r.
bool oracleVerify(const CurveRef &curve, const ecckey::mp_int &qx, const ecckey::mp_int &qy,
                  const ecckey::mp_int &r, const ecckey::mp_int &s, const ecckey::mp_int &e);

}  // namespace ecckey_fuzz
