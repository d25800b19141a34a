// _tvCurvePt: a point of secp256k1 (y² = x³ + 7) in homogeneous projective coordinates (x/z, y/z).
//
// The point at infinity is any (0, y, 0) with y != 0; its canonical form is (0, 1, 0). Addition,
// doubling and scalar multiplication are constant time: special cases (a zero operand, equal or opposite
// points) are all computed and the right result is selected with masks. toCompressedPoint, isOnCurve
// and operator== read raw coordinates and are meaningful on normalised points only.
#pragma once

#include "ecc/secp256k1/FieldInt256.h"

namespace ecckey {

class _tvCurvePt {
public:
    _tvCurvePt();  // canonical zero point
    _tvCurvePt(const FieldInt256 &x, const FieldInt256 &y);  // z = 1
    _tvCurvePt(const char *xHex, const char *yHex);          // z = 1, no reduction

    void addPt(const _tvCurvePt &other);
    void doublePt();
    void multiplyPt(const _tvUnsigned256 &k);  // any 256-bit k; result not normalised
    void normalizePt();
    void replace(const _tvCurvePt &other, unsigned enable);

    bool isZero() const;
    bool isOnCurve() const;
    bool operator==(const _tvCurvePt &other) const;
    bool operator!=(const _tvCurvePt &other) const;
    void toCompressedPoint(unsigned char *out33) const;

    FieldInt256 x;
    FieldInt256 y;
    FieldInt256 z;

    static const FieldInt256 m_s_fiZero;
    static const FieldInt256 m_s_fiOne;
    static const FieldInt256 m_s_A;
    static const FieldInt256 m_s_B;
    static const _tvUnsigned256 m_s_order;
    static const _tvCurvePt m_s_G;
    static const _tvCurvePt m_s_Zero;
};

}  // namespace ecckey
