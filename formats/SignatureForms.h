// How the library's verifier tells a DER signature from raw r || s (conversions between the forms are
// SigConvert.h's).
#pragma once

namespace ecckey {
class DataBuffer;
}

namespace ecckey::formats {

// True when the library's verifier reads sig as DER: its own structural test, which it reports as
// "isAsnSig" when verbose. Anything else it reads as raw r || s.
[[nodiscard]] bool isDerSignature(const DataBuffer &sig);

}  // namespace ecckey::formats
