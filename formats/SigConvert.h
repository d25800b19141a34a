// ECDSA signatures from one encoding to another, for a curve of byteLen bytes (EccCurve::m_byteLen):
//   der  SEQUENCE { INTEGER r, INTEGER s } (RFC 3279), minimal INTEGERs, short or one-byte long lengths;
//   raw  r || s, each exactly byteLen bytes (JWS, PKCS #11, WebCrypto);
//   ssh  the two SSH mpints r and s (RFC 5656 3.1.2's ecdsa_signature_blob, without its outer string).
// Signatures are public; the conversion checks form, not validity.
#pragma once

namespace ecckey {

class DataBuffer;
class LogBase;

enum class SigForm { Der, Raw, Ssh };

// Reads "der", "raw" or "ssh" (lower case); false for any other name.
[[nodiscard]] bool sigFormByName(const char *name, SigForm &form);

// Converts in (form from) into out (replaced; form to). Refuses, with "The signature is not <form> for this
// curve." logged and out empty: trailing or missing bytes, a non-minimal or negative integer, r or s zero or
// longer than byteLen bytes, a raw input of another length than 2 * byteLen, byteLen outside 1..66.
[[nodiscard]] bool convertSignature(int byteLen, SigForm from, SigForm to, const DataBuffer &in,
                                    DataBuffer &out, LogBase &log);

}  // namespace ecckey
