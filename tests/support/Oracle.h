// OpenSSL as the test oracle: the thirteen curves by their catalogue names, OpenSSL keys with their own
// encoders, signers and key agreement, and conversions between OpenSSL's values and the module's.
#pragma once

#include <gtest/gtest.h>
#include <openssl/bn.h>
#include <openssl/evp.h>

#include <memory>
#include <string>
#include <vector>

#include "ecc/ecckey.h"
#include "support/ArithCurve.h"
#include "support/TestPrng.h"

namespace ecckey_test {

using Bytes = std::vector<unsigned char>;

struct CurveInfo {
    const char *name;  // canonical catalogue name ("secp256r1", "brainpoolp256r1", ...)
    const char *oid;
    int nid;  // OpenSSL NID
    int byteLen;
};

const std::vector<CurveInfo> &allCurves();      // the thirteen, in catalogue order
const std::vector<CurveInfo> &genericCurves();  // all but secp256k1
inline bool isK1(const CurveInfo &c) {
    return std::string(c.name) == "secp256k1";
}

// Names the instances of a curve-parameterised test after their curves.
struct CurveParamName {
    template <class Info>
    std::string operator()(const Info &info) const {
        return info.param.name;
    }
};
constexpr CurveParamName curveParamName{};

// Owners of OpenSSL objects: F frees a T.
template <class T, void (*F)(T *)>
struct Free {
    void operator()(T *p) const { F(p); }
};
using BnPtr = std::unique_ptr<BIGNUM, Free<BIGNUM, BN_clear_free>>;
using PkeyPtr = std::unique_ptr<EVP_PKEY, Free<EVP_PKEY, EVP_PKEY_free>>;

std::string hexOf(const Bytes &b);           // upper case, two digits a byte
std::string hexOf(const ecckey::mp_int &v);  // the module's minimal upper-case form
Bytes unhex(const std::string &hex);
Bytes toBytes(const ecckey::DataBuffer &db);
inline Bytes toBytes(const ecckey::StringBuffer &sb) {
    return Bytes(sb.getString(), sb.getString() + sb.getSize());
}
ecckey::DataBuffer toDb(const Bytes &b);
Bytes digestOf(const char *name, const Bytes &msg);  // by OpenSSL name: "SHA1", "SHA256", ...
Bytes bytesOf(const BIGNUM *bn, int len);            // big-endian, left-padded to len
BnPtr bnOf(const Bytes &bigEndian);
BnPtr bnOf(const ecckey::mp_int &v);
BnPtr orderOf(const CurveInfo &c);
// A scalar drawn uniformly from [1, n).
BnPtr randomScalar(const CurveInfo &c, TestPrng &prng);
// r and s of a DER ECDSA-Sig-Value (false when der is not exactly one), and the reverse.
bool rsOf(const Bytes &der, BnPtr &r, BnPtr &s);
Bytes derOf(const BIGNUM *r, const BIGNUM *s);

// A key held by OpenSSL: private when built from a scalar, public when built from a point.
class Ossl {
  public:
    Ossl(const CurveInfo &c, const BIGNUM *d);
    Ossl(const CurveInfo &c, const Bytes &point);
    explicit Ossl(PkeyPtr key) : m_key(std::move(key)) {}
    static Ossl random(const CurveInfo &c, TestPrng &prng) { return Ossl(c, randomScalar(c, prng).get()); }
    // OpenSSL's reading of DER or PEM in any structure; holds no key when OpenSSL refuses it.
    static Ossl decode(const Bytes &in, bool privatePart);

    EVP_PKEY *get() const { return m_key.get(); }
    Bytes d(int len) const;  // empty for a public key
    Bytes point() const;     // uncompressed X9.63
    bool isOn(const CurveInfo &c) const;
    // structure: "type-specific" (SEC 1), "PrivateKeyInfo" or "SubjectPublicKeyInfo"; output "DER" or "PEM".
    Bytes encode(const char *structure, const char *output, bool explicitParams,
                 bool includePublic = true) const;
    Bytes sign(const Bytes &digest) const;  // DER; OpenSSL cuts the digest to the order's bit length
    bool verify(const Bytes &digest, const Bytes &der) const;
    Bytes derive(const Ossl &peer) const;

  private:
    PkeyPtr m_key;
};

// The module's key, loaded without its DER readers: private through generateNewKey2, public through the
// point.
void loadInto(const Ossl &o, const CurveInfo &c, ecckey::EccKey &key, bool privatePart);
// The module's key equals OpenSSL's: same curve, Q, key type and (for a private key) d.
::testing::AssertionResult sameKey(const ecckey::EccKey &key, const Ossl &o, const CurveInfo &c);

}  // namespace ecckey_test
