#include "PointDecompression.h"

#include "EccCurve.h"
#include "support/DataBuffer.h"
#include "support/LogBase.h"
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

bool decompressOnEquation(const CurveEquation &eq, const DataBuffer &point, DataBuffer &out,
                          std::string &error) {
    const unsigned len = point.getSize();
    if (len != 1 + eq.byteLen) {
        error = "the compressed point has " + std::to_string(len - 1) + " bytes of x where the curve has " +
                std::to_string(eq.byteLen);
        return false;
    }
    mp_int x, rhs, y, check;
    // The square root is checked: LibTomMath's answer for a non-residue is not guaranteed to be refused.
    const bool onCurve = TovarMp::mpint_from_bytes(x, point.getData2() + 1, eq.byteLen) &&
                         TovarMp::mp_cmp(x, eq.p) < 0 && curveRightHandSide(eq, x, rhs) &&
                         TovarMp::mp_sqrtmod_prime(rhs, eq.p, y) == 0 &&
                         TovarMp::mp_mulmod(y, y, eq.p, check) == 0 && TovarMp::mp_cmp(check, rhs) == 0;
    const bool wantOdd = point[0] == 0x03;
    if (!onCurve || (TovarMp::isZero(y) && wantOdd)) {
        error = "the compressed point is not on the curve (no y for its x)";
        return false;
    }
    if (TovarMp::isOdd(y) != wantOdd && TovarMp::mp_sub(eq.p, y, y) != 0)
        return false;
    const unsigned start = out.getSize();
    for (unsigned i = 0; i < 1 + 2 * eq.byteLen; ++i) {
        if (!out.appendChar(i == 0 ? 0x04 : 0))
            return false;
    }
    unsigned char *xy = out.getDataMutable() + start + 1;
    return TovarMp::mpint_to_fixed_bytes(x, xy, eq.byteLen) &&
           TovarMp::mpint_to_fixed_bytes(y, xy + eq.byteLen, eq.byteLen);
}

bool equationOfCurve(const ecckey::EccCurve &curve, CurveEquation &eq) {
    eq.byteLen = (unsigned)curve.m_byteLen;
    return TovarMp::mpint_from_radix(eq.p, curve.m_p.getString(), 16) && curve.getCoefficientA(eq.a) &&
           TovarMp::mpint_from_radix(eq.b, curve.m_b.getString(), 16);
}

bool isCompressedPoint(const DataBuffer &point) {
    return point.getSize() >= 2 && (point[0] == 0x02 || point[0] == 0x03);
}

bool decompressPoint(const ecckey::EccCurve &curve, const DataBuffer &point, DataBuffer &out,
                     std::string &error) {
    CurveEquation eq;
    if (!equationOfCurve(curve, eq)) {
        error = "cannot read the curve's parameters";
        return false;
    }
    return decompressOnEquation(eq, point, out, error);
}

bool makePointWhole(const char *curveName, DataBuffer &point, std::string &error) {
    EccCurve curve;
    LogNull quiet;
    DataBuffer whole;
    if (!isCompressedPoint(point) || !curve.loadCurveByName(curveName, quiet))
        return true;
    if (!decompressPoint(curve, point, whole, error))
        return false;
    point = whole;
    return true;
}

bool compressPoint(const DataBuffer &point, DataBuffer &out) {
    const unsigned size = point.getSize();
    if (size < 3 || size % 2 == 0 || point[0] != 0x04)
        return false;
    const unsigned len = (size - 1) / 2;
    return out.appendChar((point[size - 1] & 1) != 0 ? 0x03 : 0x02) && out.append(point.getData2() + 1, len);
}

}  // namespace ecckey
