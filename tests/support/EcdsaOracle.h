// ECDSA through OpenSSL for the signature tests: keys made from a test generator, signing and verifying
// with OpenSSL, the reference (r, s) for a chosen nonce, and conversions between DER, raw r||s and the
// module's keys.
#pragma once

#include <openssl/bn.h>

#include <string>
#include <vector>

#include "support/Oracle.h"
#include "support/TestPrng.h"

namespace ecckey_test {

using Bytes = std::vector<unsigned char>;

// A key pair on one curve, held by OpenSSL.
class OsslEcKey {
  public:
    // d drawn from prng in [1, n).
    OsslEcKey(const CurveInfo &curve, TestPrng &prng);
    ~OsslEcKey();
    OsslEcKey(const OsslEcKey &) = delete;
    OsslEcKey &operator=(const OsslEcKey &) = delete;

    const CurveInfo &curve() const { return m_curve; }
    const BIGNUM *order() const;
    const BIGNUM *priv() const;
    std::string privHex() const;  // upper case, two digits per byte of the curve
    Bytes publicPoint() const;    // X9.63 uncompressed

    // The module's view of this key: private through generateNewKey2, public through the X9.63 point.
    void loadPrivateInto(ecckey::EccKey &key) const;
    void loadPublicInto(ecckey::EccKey &key) const;

    // OpenSSL's verdict on a DER signature, or on (r, s), over digest (OpenSSL cuts it to the order's bit
    // length itself).
    bool verifyDer(const Bytes &digest, const Bytes &der) const;
    bool verifyRs(const Bytes &digest, const BIGNUM *r, const BIGNUM *s) const;
    // OpenSSL's DER signature over digest.
    Bytes signDer(const Bytes &digest) const;

    // The signature this key makes with nonce k over the integer e (not reduced first):
    // r = x(k·G) mod n, s = k^-1·(e + d·r) mod n. False when r or s is zero.
    bool signWithNonce(const BIGNUM *k, const BIGNUM *e, BnPtr &r, BnPtr &s) const;

  private:
    const CurveInfo &m_curve;
    struct Impl;
    Impl *m_impl;
};

// Digest of msg by OpenSSL name ("SHA1", "SHA256", ...).
Bytes digestOf(const char *name, const Bytes &msg);
// DER ECDSA-Sig-Value of (r, s), and back (false when der is not one).
Bytes derOf(const BIGNUM *r, const BIGNUM *s);
bool rsOf(const Bytes &der, BnPtr &r, BnPtr &s);
// r || s, each left-padded to len bytes.
Bytes rawOf(const BIGNUM *r, const BIGNUM *s, int len);
// The raw signature's halves as integers.
void rsOfRaw(const Bytes &raw, BnPtr &r, BnPtr &s);
BnPtr bnOf(const Bytes &bigEndian);
Bytes bytesOf(const BIGNUM *bn, int len = 0);  // minimal, or left-padded to len
Bytes randomBytes(TestPrng &prng, size_t count);

}  // namespace ecckey_test
