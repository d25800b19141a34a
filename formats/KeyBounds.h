// The lengths a key's values may have, checked before the library converts them. LibTomMath converts n
// bytes in time n^2, and the library's loaders convert whatever length a file gives (a point is split in
// two halves of any length; a scalar is read whole, then reduced modulo n): a key file of a megabyte
// would take minutes, and a scalar of n or more would pass as its remainder.
#pragma once

#include <string>

namespace ecckey {
class DataBuffer;
class EccCurve;
}  // namespace ecckey

namespace ecckey::formats {

// The longest value of any curve: P-521's 66 bytes.
const unsigned kMaxScalarLen = 66;
// The longest X9.63 point: 04 || X || Y of P-521, and the 0x00 a BIT STRING may put before it.
const unsigned kMaxPointLen = 2 + 2 * kMaxScalarLen;

// False, with a message in error, for a point longer than any curve's.
[[nodiscard]] bool pointLenFits(const DataBuffer &point, std::string &error);

// The private scalar d as written (big-endian) must be in [1, n-1] of curve and no longer than the curve,
// one leading zero byte aside (EccCurve::scalarBytesInRange): the loaders would reduce it silently. False
// with a message in error otherwise. Constant time in the value of d.
[[nodiscard]] bool scalarAsWrittenFits(const EccCurve &curve, const DataBuffer &d, std::string &error);

}  // namespace ecckey::formats
