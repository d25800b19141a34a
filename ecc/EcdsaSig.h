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

}  // namespace ecckey
