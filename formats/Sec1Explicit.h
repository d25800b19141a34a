// A bare SEC 1 ECPrivateKey whose [0] parameters are explicit (`openssl ecparam -genkey -param_enc
// explicit`) rewritten as the PKCS #8 PrivateKeyInfo OpenSSL makes of it: the parameters move to the
// AlgorithmIdentifier, where the library's checked loader compares them field by field with the named
// curve they claim to be.
#pragma once

namespace ecckey {
class DataBuffer;
class LogBase;
}  // namespace ecckey

namespace ecckey::formats {

// Rewrites der in place when it is an ECPrivateKey { 1, d, [0] ECParameters (a SEQUENCE), [1]? }; leaves
// any other DER as it is. False only when memory is short; der is then cleared.
[[nodiscard]] bool explicitSec1AsPkcs8(DataBuffer &der, LogBase &log);

}  // namespace ecckey::formats
