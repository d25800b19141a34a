// OpenSSL EVP keys as the oracle for the key-encoding tests: deterministic key pairs on any catalogue
// curve, OpenSSL's own encoders and decoders (SEC 1, PKCS #8, SubjectPublicKeyInfo; named or explicit
// parameters; DER or PEM), and comparisons between an OpenSSL key and an EccKey.
#pragma once

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <memory>
#include <string>
#include <vector>

#include "support/Oracle.h"
#include "support/TestPrng.h"

namespace ecckey_test {

using Bytes = std::vector<unsigned char>;

struct PkeyFree {
    void operator()(EVP_PKEY *p) const { EVP_PKEY_free(p); }
};
using PkeyPtr = std::unique_ptr<EVP_PKEY, PkeyFree>;

// A private key with scalar d on curve c, its public point computed by OpenSSL.
PkeyPtr osslKeyFromScalar(const CurveInfo &c, const BIGNUM *d);
// A private key whose scalar is drawn from prng (reproducible under the test seed).
PkeyPtr osslRandomKey(const CurveInfo &c, TestPrng &prng);
// A private key whose public x coordinate has a leading zero byte (searched from prng).
PkeyPtr osslKeyWithShortX(const CurveInfo &c, TestPrng &prng);
// The public half of a key.
PkeyPtr osslPublicOnly(EVP_PKEY *pkey);

BnPtr osslPrivScalar(EVP_PKEY *pkey);  // null for a public key
Bytes osslPubPoint(EVP_PKEY *pkey);    // uncompressed X9.63
// True when the key's domain parameters (named or explicit) are those of curve c.
bool osslGroupIs(EVP_PKEY *pkey, const CurveInfo &c);
// True when the key was read with (or is set to write) a named curve rather than explicit parameters.
bool osslHasNamedGroup(EVP_PKEY *pkey);

// OpenSSL's encoders. output "DER" or "PEM"; structure "type-specific" (SEC 1 for a private key),
// "PrivateKeyInfo" or "SubjectPublicKeyInfo".
Bytes osslEncode(EVP_PKEY *pkey, bool privatePart, const char *output, const char *structure,
                 bool explicitParams);
// OpenSSL's decoders, DER or PEM, any structure. Null when OpenSSL refuses the input.
PkeyPtr osslDecode(const Bytes &in, bool privatePart);

// Writes the key straight into the record (curve by name, d, Q), without any loader of the module.
void setEccKeyFrom(EVP_PKEY *pkey, const CurveInfo &c, ecckey::EccKey &key);
// The key's point as 04 || X || Y at the curve's length, built from the coordinates themselves.
Bytes eccPubPoint(const ecckey::EccKey &key, const CurveInfo &c);

// The module's key equals OpenSSL's: same curve, same Q, and (when expectPrivate) the same d.
::testing::AssertionResult sameKey(const ecckey::EccKey &key, EVP_PKEY *pkey, const CurveInfo &c,
                                   bool expectPrivate);

Bytes toBytes(const ecckey::DataBuffer &db);
ecckey::DataBuffer toDb(const Bytes &b);
Bytes toBytes(const std::string &s);

// Number of elements of the outermost DER SEQUENCE, read by OpenSSL (-1 when it is not one).
int osslSequenceLength(const Bytes &der);

}  // namespace ecckey_test
