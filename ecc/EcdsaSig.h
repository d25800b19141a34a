// unpackDsaSig: reads an ECDSA signature, DER or raw r||s, into r and s.
//
// DER is recognised by a structural test of its header bytes (SEQUENCE of two INTEGERs with one-byte
// lengths that fill the input exactly); anything else is raw. With split set and a non-zero rLen below
// the size, r takes the first rLen bytes and s the rest (the halves may differ). Otherwise raw signatures
// of 48, 64, 96, 128 and 132 bytes split in halves; any other size is refused with "Unexpected size for
// R,S signature." and the data items "sig" and "siglen". A DER input that does not decode, or whose
// INTEGERs the decoder refuses, fails with the decoder's or the structure's message. When verbose, logs
// "siglen", "isAsnSig" (the structural verdict) and, up to 600 bytes, "sig". On failure r and s hold
// whatever was read before it (zero when nothing was).
#pragma once

namespace ecckey {

class mp_int;
class LogBase;
class DataBuffer;
class EccCurve;

[[nodiscard]] bool unpackDsaSig(const unsigned char *sig, unsigned sigLen, bool split, mp_int &r, mp_int &s,
                                LogBase &log, unsigned rLen);

// Writers of the two signature forms, shared by the generic and the secp256k1 signers.
// Appends v big-endian, left-padded with zero bytes to byteLen (one half of a raw r||s signature).
[[nodiscard]] bool appendSigHalf(const mp_int &v, int byteLen, DataBuffer &out);
// Appends DER SEQUENCE { INTEGER r, INTEGER s }. A failed append to the item returns false with no
// message; a failed encoding logs "Failed to encode final ASN.1". Logs "eccAsnSigLen" (the size of out)
// when verbose, after a failed encoding too.
[[nodiscard]] bool encodeDerSig(const mp_int &r, const mp_int &s, bool ensure7bit, DataBuffer &out,
                                LogBase &log);

// Number of hash bytes that signing and verification use: the hash is cut to the curve's byte length
// (whole bytes, never bits) when that is shorter, except on the curves of 64 bytes or more
// (brainpoolP512r1, P-521), which take a longer hash whole. Both sides must agree on it, so it lives here.
inline unsigned ecdsaHashLen(int curveByteLen, unsigned hashLen) {
    if (curveByteLen >= 0 && (unsigned)curveByteLen < hashLen && curveByteLen < 64)
        return (unsigned)curveByteLen;
    return hashLen;
}

// A hash fitted for signing and verifying on curve, one rule for every signature form: cut by ecdsaHashLen
// (the cut the DER and raw signers and the verifier make, and which eccSignHash_forSsh leaves to its
// caller), then on secp256k1, whose engine takes exactly 32 bytes, a shorter hash (SHA-1, SHA-224)
// left-padded with zeros: ECDSA reads a hash shorter than the order as an integer, which the zeros leave
// unchanged, so the signature is the one OpenSSL makes and checks with that digest. False when memory is
// short.
[[nodiscard]] bool fitHashToCurve(const EccCurve &curve, DataBuffer &hash);

}  // namespace ecckey
