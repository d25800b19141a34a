// The forms of an ECDSA signature beside raw r || s: DER, and SSH's blob of two mpints r and s (RFC 5656,
// 3.1.2) as the library's eccSignHash_forSsh writes it.
#pragma once

namespace ecckey {
class DataBuffer;
}

namespace ecckey::formats {

// Appends r || s, each left-padded to byteLen, for an SSH signature blob: two mpints filling the whole
// blob, each minimal (a zero byte in front only where the top bit is set), so that one signature has one
// SSH form. False for anything else, a blob of exactly 2 * byteLen bytes included (that is raw r || s);
// raw may then hold part of the output.
[[nodiscard]] bool sshSignatureToRaw(const DataBuffer &sig, unsigned byteLen, DataBuffer &raw);

// True when the library's verifier reads sig as DER: its own structural test, which it reports as
// "isAsnSig" when verbose. Anything else it reads as raw r || s.
[[nodiscard]] bool isDerSignature(const DataBuffer &sig);

}  // namespace ecckey::formats
