// ECDSA over secp256k1 on the fixed-width engine: the arithmetic of one signing attempt and of one
// verification, as free functions on 256-bit values and bytes. EccKey's members (ecc/EccEcdsaK.cpp) draw
// the nonces, convert the key and the signature, encode and log; nothing here logs or allocates.
#pragma once

#include "ecc/secp256k1/Unsigned256.h"

namespace ecckey {

// e for the signer: the 32 bytes of hash32 read big-endian, reduced once modulo n (the signer's t + e
// must stay below 2n).
_tvUnsigned256 secp256k1HashScalar(const unsigned char *hash32);

// One signing attempt with the nonce k taken from nonce32 as it stands (byte 0 is k's least significant
// byte): r = x(k·G) mod n and s = k^-1·(e + r·d) mod n, made low (n − s for s above n/2), for e from
// secp256k1HashScalar. r and s are declassified: they are the signature. False when k is 0 or not below
// n, or when r or s comes out zero; the caller then draws another nonce, and whether an attempt failed
// tells nothing about the nonce that is finally used. k, its inverse and r·d + e are wiped on every path.
[[nodiscard]] bool secp256k1SignAttempt(const unsigned char *nonce32, const _tvUnsigned256 &d,
                                        const _tvUnsigned256 &e, _tvUnsigned256 &r, _tvUnsigned256 &s);

// The verdict on the signature (r, s) over hash32 (32 bytes, read big-endian, not reduced) for the public
// point (qx, qy), each coordinate reduced once modulo p: true only for r and s in [1, n), a point on the
// curve in the group of order n and u1·G + u2·Q whose x is r modulo n. High S is accepted. Every input is
// public, and the checks branch on them.
[[nodiscard]] bool secp256k1Verify(const _tvUnsigned256 &r, const _tvUnsigned256 &s, const _tvUnsigned256 &qx,
                                   const _tvUnsigned256 &qy, const unsigned char *hash32);

}  // namespace ecckey
