// The ECDSA algorithms of JWS (RFC 7518 3.4, RFC 8812 3.2), each bound to one curve and one hash:
// ES256 P-256 SHA-256, ES384 P-384 SHA-384, ES512 P-521 SHA-512, ES256K secp256k1 SHA-256.
#pragma once

namespace ecckey {

class EccKey;

struct JwsAlgorithm {
    const char *name;       // "ES256"
    const char *curveName;  // the catalogue name, "secp256r1"
    int hashAlg;            // HashAlg
};

// The algorithm named name (exact case), or null.
const JwsAlgorithm *jwsAlgorithmByName(const char *name);
// The one algorithm of the key's curve, or null for a curve JWS has none for.
const JwsAlgorithm *jwsAlgorithmOfKey(const EccKey &key);

}  // namespace ecckey
