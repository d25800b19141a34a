// Compressed points inside the DER of a key, made whole before the library's loaders, which read
// uncompressed and hybrid points only (the square root is ecc/PointDecompression.h's).
#pragma once

#include <string>

namespace ecckey {
class DataBuffer;
class LogBase;
}  // namespace ecckey

namespace ecckey::formats {

// Rewrites the DER of a key (SubjectPublicKeyInfo, SEC 1 or PKCS #8, with named or explicit parameters) so
// that its compressed points, the key's own and an explicit base point, are uncompressed; explicit
// parameters supply their own p, a and b. DER without a compressed point, or that does not parse as one of
// these structures, is left as it is for the library to judge. False with a message in error when a
// compressed point cannot be decompressed.
[[nodiscard]] bool decompressKeyDer(DataBuffer &der, LogBase &log, std::string &error);

// Rewrites a SubjectPublicKeyInfo so that its point is in compressed form (02 or 03, then x), as
// `openssl ec -pubout -conv_form compressed` writes it. False when der is not one or memory is short.
[[nodiscard]] bool compressSpki(DataBuffer &der, LogBase &log);

// Rewrites the DER of a private key, a SEC 1 ECPrivateKey or a PKCS #8 PrivateKeyInfo around one (pkcs8),
// so that its public key is in compressed form, as `openssl ec -conv_form compressed` writes it. Every
// copy it makes is wiped. False when der does not parse as one or holds no public key; der is then as it
// was.
[[nodiscard]] bool compressPrivateKeyDer(DataBuffer &der, bool pkcs8);

}  // namespace ecckey::formats
