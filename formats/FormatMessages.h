// Messages that more than one reader or writer writes: one spelling of each, which tests match exactly.
#pragma once

namespace ecckey::formats {

inline constexpr char kOutOfMemory[] = "out of memory";
// Follows "the <format> key '<type>'".
inline constexpr char kNotAnEcdsaKey[] = " is not an ECDSA key";
// Followed by the curve's name.
inline constexpr char kNoSshNameFor[] = "the SSH public-key blob has no name for ";
// When a key is encrypted and the caller gave no way to ask for its passphrase.
inline constexpr char kNoPassphraseSource[] = "the private key is encrypted and no passphrase was given";

}  // namespace ecckey::formats
