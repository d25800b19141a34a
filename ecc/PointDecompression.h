// Compressed X9.63 points (form 02 or 03, then x), as `openssl ec -conv_form compressed` writes them: y is
// recomputed from x through y^2 = x^3 + a*x + b (mod p), taking the square root whose parity the form byte
// names. Points are public, so LibTomMath's variable-time square root serves.
#pragma once

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

// The equation of a catalogue curve; false when its texts do not parse or memory is short.
[[nodiscard]] bool equationOfCurve(const EccCurve &curve, CurveEquation &eq);

// True when point is in the compressed form: 02 or 03, then at least one byte of x.
[[nodiscard]] bool isCompressedPoint(const DataBuffer &point);

enum class Decompression { Done, WrongLength, NotOnCurve, OutOfMemory };

// Appends 04 || x || y to out for the compressed point on eq's curve. WrongLength when x has another
// length than the curve's, NotOnCurve when x is not below p or no y solves the equation (the square root
// is checked: LibTomMath's answer for a non-residue is not guaranteed to be refused). Logs nothing.
[[nodiscard]] Decompression decompressOnEquation(const CurveEquation &eq, const DataBuffer &point,
                                                 DataBuffer &out);

}  // namespace ecckey
