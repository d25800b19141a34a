// Test helpers for the secp256k1 engine: independent conversions between _tvUnsigned256 and the two
// oracles (LibTomMath through mp_int/TovarMp, OpenSSL BIGNUM), and generators of random and edge values.
// The conversions go through hex text formatted and parsed here, never through the engine's own
// conversion functions, so a fault in those cannot hide itself.
#pragma once

#include <openssl/bn.h>

#include <string>
#include <vector>

#include "ecc/secp256k1/CurvePt.h"
#include "support/MpInt.h"
#include "support/Oracle.h"
#include "support/TestPrng.h"

namespace ecckey_test {

using ecckey::_tvUnsigned256;

std::string wordsHex(const _tvUnsigned256 &v);       // 64 upper-case digits, most significant first
_tvUnsigned256 u256FromHex(const std::string &hex);  // up to 64 digits, parsed here

// mp_int <-> _tvUnsigned256; fromMp requires 0 <= v < 2^256.
void toMp(const _tvUnsigned256 &v, ecckey::mp_int &out);
_tvUnsigned256 fromMp(const ecckey::mp_int &v);
void mpFromHex(const char *hex, ecckey::mp_int &out);
std::string mpHex(const ecckey::mp_int &v);  // 64 digits, for 0 <= v < 2^256

BnPtr toBn(const _tvUnsigned256 &v);
_tvUnsigned256 fromBn(const BIGNUM *bn);  // requires 0 <= bn < 2^256

// The field prime p, the group order n and 2^256 as mp_int.
struct Secp256k1Numbers {
    Secp256k1Numbers();
    ecckey::mp_int p, n, twoTo256;
};
const Secp256k1Numbers &numbers();

// Edge values: 0, 1, 2, 2^32 - 1, 2^32, 2^255, p - 2, p - 1, p, p + 1, n - 1, n, n + 1, 2^256 - 2, 2^256 - 1.
std::vector<_tvUnsigned256> edgeValues();
// Edge values below p only (for field operations on reduced inputs).
std::vector<_tvUnsigned256> reducedEdgeValues();
// A random 256-bit value: uniform, or with each word drawn from {0, 1, 2^31, 2^32 - 1, random} to drive
// carry and borrow chains across whole words.
_tvUnsigned256 randomU256(TestPrng &rng);
// Random values below a bound (by rejection from randomU256).
_tvUnsigned256 randomBelow(TestPrng &rng, const _tvUnsigned256 &bound);

}  // namespace ecckey_test
