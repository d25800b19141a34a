#include "ecc/PointDecompression.h"

#include "ecc/EccCurve.h"
#include "support/DataBuffer.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

// rhs = x^3 + a*x + b mod p
[[nodiscard]] bool curveRightHandSide(const CurveEquation &eq, const mp_int &x, mp_int &rhs) {
    mp_int ax;
    return TovarMp::mp_mulmod(x, x, eq.p, rhs) == 0 && TovarMp::mp_mulmod(rhs, x, eq.p, rhs) == 0 &&
           TovarMp::mp_mulmod(eq.a, x, eq.p, ax) == 0 && TovarMp::mp_add(rhs, ax, rhs) == 0 &&
           TovarMp::mp_add(rhs, eq.b, rhs) == 0 && TovarMp::mp_mod(rhs, eq.p, rhs) == 0;
}

}  // namespace

bool equationOfCurve(const EccCurve &curve, CurveEquation &eq) {
    eq.byteLen = (unsigned)curve.m_byteLen;
    return TovarMp::mpint_from_radix(eq.p, curve.m_p.getString(), 16) && curve.getCoefficientA(eq.a) &&
           TovarMp::mpint_from_radix(eq.b, curve.m_b.getString(), 16);
}

bool isCompressedPoint(const DataBuffer &point) {
    return point.getSize() >= 2 && (point[0] == 0x02 || point[0] == 0x03);
}

Decompression decompressOnEquation(const CurveEquation &eq, const DataBuffer &point, DataBuffer &out) {
    if (point.getSize() != 1 + eq.byteLen)
        return Decompression::WrongLength;
    mp_int x, rhs, y, check;
    const bool onCurve = TovarMp::mpint_from_bytes(x, point.getData2() + 1, eq.byteLen) &&
                         TovarMp::mp_cmp(x, eq.p) < 0 && curveRightHandSide(eq, x, rhs) &&
                         TovarMp::mp_sqrtmod_prime(rhs, eq.p, y) == 0 &&
                         TovarMp::mp_mulmod(y, y, eq.p, check) == 0 && TovarMp::mp_cmp(check, rhs) == 0;
    const bool wantOdd = point[0] == 0x03;
    if (!onCurve || (TovarMp::isZero(y) && wantOdd))
        return Decompression::NotOnCurve;
    if (TovarMp::isOdd(y) != wantOdd && TovarMp::mp_sub(eq.p, y, y) != 0)
        return Decompression::OutOfMemory;
    const unsigned start = out.getSize();
    for (unsigned i = 0; i < 1 + 2 * eq.byteLen; ++i) {
        if (!out.appendChar(i == 0 ? 0x04 : 0))
            return Decompression::OutOfMemory;
    }
    unsigned char *xy = out.getDataMutable() + start + 1;
    return TovarMp::mpint_to_fixed_bytes(x, xy, eq.byteLen) &&
                   TovarMp::mpint_to_fixed_bytes(y, xy + eq.byteLen, eq.byteLen)
               ? Decompression::Done
               : Decompression::OutOfMemory;
}

}  // namespace ecckey
