// OpenSSL as the test oracle: the thirteen curves by their canonical names, and small conversions
// between OpenSSL's BIGNUM / EC_POINT and the module's mp_int / EccPoint.
#pragma once

#include <openssl/bn.h>
#include <openssl/ec.h>

#include <cstdint>
#include <memory>

#include <ostream>
#include <string>
#include <vector>

#include "ecc/ecckey.h"
#include "support/TestPrng.h"

namespace ecckey_test {

struct CurveInfo {
    const char *name;  // canonical catalogue name ("secp256r1", "brainpoolp256r1", ...)
    const char *oid;
    int nid;  // OpenSSL NID
    int byteLen;
};

// GoogleTest prints a parameter with this (the curve's name) instead of its bytes.
inline void PrintTo(const CurveInfo &c, std::ostream *os) {
    *os << c.name;
}

const std::vector<CurveInfo> &allCurves();      // the thirteen, in catalogue order
const std::vector<CurveInfo> &genericCurves();  // all but secp256k1
const CurveInfo &curveInfo(const std::string &name);

// Names the instances of a curve-parameterised test after their curves:
// INSTANTIATE_TEST_SUITE_P(AllCurves, Suite, ::testing::ValuesIn(allCurves()), curveParamName).
struct CurveParamName {
    std::string operator()(const CurveInfo &c) const { return c.name; }
    template <class Info>
    std::string operator()(const Info &info) const {
        return info.param.name;
    }
};
constexpr CurveParamName curveParamName{};

// Owned OpenSSL objects.
struct BnFree {
    void operator()(BIGNUM *b) const { BN_clear_free(b); }
};
struct GroupFree {
    void operator()(EC_GROUP *g) const { EC_GROUP_free(g); }
};
struct PointFree {
    void operator()(EC_POINT *p) const { EC_POINT_free(p); }
};
using BnPtr = std::unique_ptr<BIGNUM, BnFree>;
using GroupPtr = std::unique_ptr<EC_GROUP, GroupFree>;
using PointPtr = std::unique_ptr<EC_POINT, PointFree>;

GroupPtr groupFor(const CurveInfo &c);
BnPtr toBn(const ecckey::mp_int &v);
void fromBn(const BIGNUM *bn, ecckey::mp_int &out);
std::string hexOf(const ecckey::mp_int &v);                   // upper-case, minimal, "0" for zero
std::string hexOf(const BIGNUM *bn);                          // same format
std::string hexOf(const unsigned char *bytes, size_t count);  // upper-case, two digits a byte
std::vector<unsigned char> unhex(const std::string &hex);
using Bytes = std::vector<unsigned char>;

// Big-endian bytes of a BIGNUM: minimal, or left-padded to len.
Bytes bytesOf(const BIGNUM *bn, int len = 0);
BnPtr bnOf(const Bytes &bigEndian);
// Padded big-endian bytes of an mp_int (an empty vector when it does not fit).
Bytes mpBytes(const ecckey::mp_int &v, int len);
// 04 || X || Y of a point, built from its coordinates directly (not through the module's codec).
Bytes pointOf(const ecckey::EccPoint &P, int len);
// Hex text (upper case) of a BIGNUM padded to len bytes: the form generateNewKey2 takes with "hex".
std::string bnHex(const BIGNUM *v, int len);
Bytes toBytes(const ecckey::DataBuffer &db);
Bytes toBytes(const std::string &s);
ecckey::DataBuffer toDb(const Bytes &b);
// Base64 by OpenSSL's encoder: standard with padding, URL-safe without; decoders skip white space and
// return an empty vector on bad input.
std::string base64(const Bytes &b);
std::string base64url(const Bytes &b);
Bytes unbase64(const std::string &text);
Bytes fromBase64url(std::string s);
// Digest of msg by OpenSSL name ("SHA1", "SHA256", ...).
Bytes digestOf(const char *name, const Bytes &msg);

// Random value in [1, n) from the given generator.
BnPtr randomScalar(const BIGNUM *order, std::uint64_t (*next)(void *), void *ctx);
BnPtr randomScalar(const BIGNUM *order, TestPrng &prng);
// The group order n of the curve, from OpenSSL.
BnPtr orderOf(const CurveInfo &c);
bool isK1(const CurveInfo &c);
// A seed for one test on one curve: the run's seed mixed with the curve's name and a per-test salt.
std::uint64_t curveSeed(const CurveInfo &c, std::uint64_t salt);

}  // namespace ecckey_test
