// The command writes DER keys byte for byte as OpenSSL 3 writes the same key. With the options the
// command gives the library (EMIT_ECC_PKCS1_PUBKEY, EMIT_ECC_FIXED_LENGTH) its SEC 1 and named-curve
// SubjectPublicKeyInfo already are; these rewrite the two structures whose layout differs.
#pragma once

namespace ecckey {
class DataBuffer;
class LogBase;
}  // namespace ecckey

namespace ecckey::formats {

// PKCS #8: OpenSSL names the curve in the AlgorithmIdentifier only, so the ECPrivateKey inside carries no
// [0] parameters; the library's repeats them. Rewrites der (PrivateKeyInfo from the library) without
// them. False when der does not parse or memory is short.
[[nodiscard]] bool toOpenSslPkcs8(DataBuffer &der, LogBase &log);

// Explicit parameters: OpenSSL writes a and b at the field's byte length, where the library's templates
// give P-521's b 65 bytes and secp256k1's a and b one byte each (readers such as Python's cryptography
// refuse the short b). Rewrites der (SubjectPublicKeyInfo from the library) with a and b zero-extended to
// fieldLen bytes; a named-curve key is left as it is. False when der does not parse or memory is short.
[[nodiscard]] bool toOpenSslExplicitSpki(DataBuffer &der, unsigned fieldLen, LogBase &log);

}  // namespace ecckey::formats
