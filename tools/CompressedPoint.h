// Compressed points (X9.63 form 02 or 03, then x), as `openssl ec -conv_form compressed` writes them. The
// library reads uncompressed and hybrid points only, so the command makes them whole before handing them
// on: y is recomputed from x through the curve equation y^2 = x^3 + a*x + b (mod p) and the square root
// whose parity the form byte names is taken. Points are public, so LibTomMath's variable-time square
// root is used.
#pragma once

#include <string>

namespace ecckey {
class DataBuffer;
class EccCurve;
class LogBase;
}  // namespace ecckey

namespace ecckey_cli {

// True when point is in the compressed form: 02 or 03, then at least one byte of x.
[[nodiscard]] bool isCompressedPoint(const ecckey::DataBuffer &point);

// Appends 04 || x || y to out for the compressed point on the catalogue curve. False with a message in
// error when x has another length than the curve's or is not the x of a point on the curve.
[[nodiscard]] bool decompressPoint(const ecckey::EccCurve &curve, const ecckey::DataBuffer &point,
                                   ecckey::DataBuffer &out, std::string &error);

// Rewrites the DER of a key (SubjectPublicKeyInfo, SEC 1 or PKCS #8, with named or explicit parameters) so
// that its compressed points, the key's own and an explicit base point, are uncompressed; explicit
// parameters supply their own p, a and b. DER without a compressed point, or that does not parse as one of
// these structures, is left as it is for the library to judge. False with a message in error when a
// compressed point cannot be decompressed.
[[nodiscard]] bool decompressKeyDer(ecckey::DataBuffer &der, ecckey::LogBase &log, std::string &error);

}  // namespace ecckey_cli
