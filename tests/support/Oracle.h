// OpenSSL as the test oracle: the thirteen curves by their canonical names, and small conversions
// between OpenSSL's BIGNUM / EC_POINT and the module's mp_int / EccPoint.
#pragma once

#include <openssl/bn.h>
#include <openssl/ec.h>

#include <cstdint>
#include <memory>

#include <string>
#include <vector>

#include "ecc/ecckey.h"

namespace ecckey_test {

struct CurveInfo {
    const char *name;  // canonical catalogue name ("secp256r1", "brainpoolp256r1", ...)
    const char *oid;
    int nid;           // OpenSSL NID
    int byteLen;
};

const std::vector<CurveInfo> &allCurves();      // the thirteen, in catalogue order
const std::vector<CurveInfo> &genericCurves();  // all but secp256k1
const CurveInfo &curveInfo(const std::string &name);

// Printable test-parameter name ("secp256r1" -> "secp256r1"; safe for INSTANTIATE_TEST_SUITE_P).
std::string curveParamName(const CurveInfo &c);

// Owned OpenSSL objects.
struct BnFree { void operator()(BIGNUM *b) const { BN_clear_free(b); } };
struct GroupFree { void operator()(EC_GROUP *g) const { EC_GROUP_free(g); } };
struct PointFree { void operator()(EC_POINT *p) const { EC_POINT_free(p); } };
using BnPtr = std::unique_ptr<BIGNUM, BnFree>;
using GroupPtr = std::unique_ptr<EC_GROUP, GroupFree>;
using PointPtr = std::unique_ptr<EC_POINT, PointFree>;

GroupPtr groupFor(const CurveInfo &c);
BnPtr toBn(const ecckey::mp_int &v);
void fromBn(const BIGNUM *bn, ecckey::mp_int &out);
std::string hexOf(const ecckey::mp_int &v);  // upper-case, minimal, "0" for zero
std::string hexOf(const BIGNUM *bn);         // same format
std::string hexOf(const unsigned char *bytes, size_t count);  // upper-case, two digits a byte
std::vector<unsigned char> unhex(const std::string &hex);
// Random value in [1, n) from the given generator.
BnPtr randomScalar(const BIGNUM *order, std::uint64_t (*next)(void *), void *ctx);

}  // namespace ecckey_test
