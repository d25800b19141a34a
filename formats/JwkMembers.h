// JWK output beyond the key itself: the optional "kid", "alg" and "use" members, and JWK Sets.
#pragma once

#include <vector>

namespace ecckey {

class EccKey;
class LogBase;
class StringBuffer;

struct JwkExtras {
    const char *kid = nullptr;     // written as given; null for none
    bool kidIsThumbprint = false;  // kid is the key's RFC 7638 thumbprint (kid must then be null)
    const char *alg = nullptr;     // "ES256", "ECDH-ES", ...; null for none
    const char *use = nullptr;     // "sig" or "enc"; null for none
};

// Appends the members asked for to jwk, a JSON object text that ends in "}" (and perhaps a newline), in
// the order kid, alg, use, each value a JSON string (quotes, backslashes and control characters escaped).
// A kid that is the thumbprint needs a curve with a registered "crv" (see JwkThumbprint.h); "alg" of an
// ECDSA JWS algorithm must be the key's own (ES256 for P-256, ES384, ES512, ES256K for secp256k1). On
// failure logs why and returns false with jwk unchanged.
[[nodiscard]] bool addJwkMembers(const EccKey &key, const JwkExtras &extras, StringBuffer &jwk, LogBase &log);

// Replaces out with {"keys":[K1,K2,...]}, each Ki a JWK text (a trailing newline dropped). False with
// out empty when memory runs out or a text is not a JSON object.
[[nodiscard]] bool toJwkSet(const std::vector<const StringBuffer *> &jwks, StringBuffer &out, LogBase &log);

}  // namespace ecckey
