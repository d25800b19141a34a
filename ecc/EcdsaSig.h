// unpackDsaSig: reads an ECDSA signature, DER or raw r||s, into r and s.
//
// DER is recognised by a structural test of its first bytes (SEQUENCE of two INTEGERs with one-byte
// lengths); anything else is raw. Raw signatures of 48, 64, 96, 128 and 132 bytes split in halves; other
// sizes need split with rLen (then r takes rLen bytes and s the rest).
#pragma once

namespace ecckey {

class mp_int;
class LogBase;

bool unpackDsaSig(const unsigned char *sig, unsigned sigLen, bool split, mp_int &r, mp_int &s, LogBase &log,
                  unsigned rLen);

// Number of hash bytes that signing and verification use: the hash is cut to the curve's byte length
// (whole bytes, never bits) when that is shorter, except on the curves of 64 bytes or more
// (brainpoolP512r1, P-521), which take a longer hash whole. Both sides must agree on it, so it lives here.
inline unsigned ecdsaHashLen(int curveByteLen, unsigned hashLen) {
    if (curveByteLen >= 0 && (unsigned)curveByteLen < hashLen && curveByteLen < 64)
        return (unsigned)curveByteLen;
    return hashLen;
}

}  // namespace ecckey
