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
    constexpr _tvCurvePt() : x(), y(), z() { y.value[0] = 1; }         // canonical zero point (0, 1, 0)
    _tvCurvePt(const FieldInt256 &xValue, const FieldInt256 &yValue);  // z = 1
    constexpr _tvCurvePt(const char *xHex, const char *yHex) : x(xHex), y(yHex), z() {  // z = 1, no reduction
        z.value[0] = 1;
    }
    // (x, y, z) as given; builds the constants and projective points such as (X, Y, 1) or (0, Y, 0).
    constexpr _tvCurvePt(const FieldInt256 &xValue, const FieldInt256 &yValue, const FieldInt256 &zValue)
        : x(xValue), y(yValue), z(zValue) {}

    // this = this + other. A zero operand on either side yields the other operand; equal points are
    // doubled; two points with the same y-product but different x-products give the zero point; opposite
    // points give a zero point that is not in canonical form.
    void addPt(const _tvCurvePt &other);
    // this = 2·this; a zero point or a point with y = 0 gives the canonical zero point.
    void doublePt();
    // this = k·this by fixed 4-bit windows; any 256-bit k. The result is not normalised.
    void multiplyPt(const _tvUnsigned256 &k);
    // this = k·G for the generator G and any 256-bit k, the point multiplyPt gives on G (a k not below n is
    // taken less n; 0 and n give a zero point), not normalised; five to six times faster. Signed 5-bit
    // windows over a table of G's multiples (52 KiB, built on first use, thread-safe), one addition a window
    // and no doubling. Constant time: every window reads its whole table, and no branch follows k.
    void multiplyGenerator(const _tvUnsigned256 &k);
    // To (x/z, y/z, 1), or to the canonical (0, 1, 0) for any zero point.
    void normalizePt();
    // this = other when enable is 1, unchanged when it is 0 (no other value allowed), by masks.
    void replace(const _tvCurvePt &other, unsigned enable);

    [[nodiscard]] bool isZero() const;     // x = 0, z = 0 and y != 0
    [[nodiscard]] bool isOnCurve() const;  // affine x, y on the curve; the zero point is not
    [[nodiscard]] bool operator==(const _tvCurvePt &other) const;  // compares representations
    [[nodiscard]] bool operator!=(const _tvCurvePt &other) const;
    // out[0] = 0x02 | (y & 1), out[1..32] = x big-endian. The point must be normalised.
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
