// The command's messages that more than one of its files writes: one spelling of each, which its tests
// match exactly.
#pragma once

namespace ecckey_cli {

inline constexpr char kOutOfMemory[] = "out of memory";
// Follows "the <format> key '<type>'".
inline constexpr char kNotAnEcdsaKey[] = " is not an ECDSA key";
// Followed by the curve's name.
inline constexpr char kNoSshNameFor[] = "the SSH public-key blob has no name for ";
inline constexpr char kStandardInput[] = "standard input";
// Every message on standard error.
inline constexpr char kErrorLine[] = "ecckey: %s\n";

}  // namespace ecckey_cli
