// Compressed points in the command's inputs. The key loaders read uncompressed and hybrid points only, so
// the command makes them whole (ecc/PointDecompression.h) before handing them on.
#pragma once

#include <string>

#include "ecc/PointDecompression.h"

namespace ecckey {
class DataBuffer;
class EccCurve;
class LogBase;
}  // namespace ecckey

namespace ecckey_cli {

using ecckey::isCompressedPoint;

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
