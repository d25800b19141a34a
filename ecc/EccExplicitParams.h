// Explicit-parameter SubjectPublicKeyInfo templates for the long public-key DER form.
#pragma once

namespace ecckey {

// The base64 template for "secp256r1", "secp384r1", "secp521r1" or "secp256k1" (canonical names); null for
// every other curve, which has no explicit form and is written with its named-curve OID instead.
const char *explicitSpkiTemplate(const char *curveName);

}  // namespace ecckey
