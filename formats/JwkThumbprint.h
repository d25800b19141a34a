// JWK thumbprints (RFC 7638) and thumbprint URIs (RFC 9278) of EC keys.
//
// The thumbprint is the SHA-256 of the key's required members in lexical order with no whitespace,
// {"crv":C,"kty":"EC","x":X,"y":Y}, X and Y the base64url of the coordinates at the curve's full byte
// length (RFC 7518 6.2.1.2: a coordinate with leading zero bytes keeps them). Only curves with a registered
// JWK "crv" have one: P-256, P-384, P-521 (RFC 7518) and secp256k1 (RFC 8812).
#pragma once

namespace ecckey {

class EccKey;
class LogBase;
class StringBuffer;

// The registered JWK "crv" of the key's curve, or null for a curve that has none.
const char *registeredJwkCurve(const EccKey &key);

// Replaces out with the canonical member text hashed for the thumbprint. Logs "JWK thumbprints exist for
// P-256, P-384, P-521 and secp256k1 only." and returns false with out empty for any other curve (or
// an empty key).
[[nodiscard]] bool jwkThumbprintInput(const EccKey &key, StringBuffer &out, LogBase &log);

// Replaces out with the base64url (unpadded) SHA-256 thumbprint. False with out empty as above.
[[nodiscard]] bool jwkThumbprint(const EccKey &key, StringBuffer &out, LogBase &log);

// Replaces out with "urn:ietf:params:oauth:jwk-thumbprint:sha-256:" and the thumbprint.
[[nodiscard]] bool jwkThumbprintUri(const EccKey &key, StringBuffer &out, LogBase &log);

}  // namespace ecckey
