// Compressed points (X9.63 form 02 or 03, then x), as `openssl ec -conv_form compressed` writes them,
// beside the uncompressed and hybrid forms the point codec reads. y is recomputed from x through the curve
// equation y^2 = x^3 + a*x + b (mod p), taking the square root whose parity the form byte names. Points
// are public, so LibTomMath's variable-time square root is used; no secret enters these functions.
#pragma once

#include <string>

#include "support/MpInt.h"

namespace ecckey {

class DataBuffer;
class EccCurve;

// y^2 = x^3 + a*x + b over the prime field of p, whose elements take byteLen bytes.
struct CurveEquation {
    mp_int p;
    mp_int a;
    mp_int b;
    unsigned byteLen = 0;
};

// The equation of a catalogue curve. False when its parameters do not decode or memory is short.
[[nodiscard]] bool equationOfCurve(const EccCurve &curve, CurveEquation &eq);

// True when point is in the compressed form: 02 or 03, then at least one byte of x.
[[nodiscard]] bool isCompressedPoint(const DataBuffer &point);

// Appends 04 || x || y to out for the compressed point on the curve of eq. False with a message in error
// when x has another length than the curve's or is not the x of a point on the curve.
[[nodiscard]] bool decompressOnEquation(const CurveEquation &eq, const DataBuffer &point, DataBuffer &out,
                                        std::string &error);

// decompressOnEquation on a catalogue curve.
[[nodiscard]] bool decompressPoint(const EccCurve &curve, const DataBuffer &point, DataBuffer &out,
                                   std::string &error);

// A compressed point made whole in place on the curve named (a name the catalogue does not know is left
// for the loader to refuse); any other point is left as it is.
[[nodiscard]] bool makePointWhole(const char *curveName, DataBuffer &point, std::string &error);

// Appends the compressed form of an uncompressed point 04 || x || y to out. False for another form.
[[nodiscard]] bool compressPoint(const DataBuffer &point, DataBuffer &out);

}  // namespace ecckey
