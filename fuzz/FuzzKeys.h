// The fixed signing keys of the verification target, one per curve, shared with the seed generator.
#pragma once

#include "FuzzSupport.h"

namespace ecckey_fuzz {

// The input layout of the verification target:
//   byte 0: curve index (modulo 13); byte 1: hash length (modulo 65); byte 2: r length for the split;
//   byte 3: bit 0 is the split flag; then the hash; then the signature.
const unsigned kVerifyHeaderLen = 4;

// d for the curve at index: byteLen − 1 bytes of a fixed pattern, so that it lies below n.
void fixedScalar(int index, ecckey::mp_int &d);

// The private key with that scalar (public point derived by the module and checked against OpenSSL).
const ecckey::EccKey &fixedKey(int index);

}  // namespace ecckey_fuzz
