// The command's messages that more than one of its files writes: one spelling of each, which its tests
// match exactly. Those the key readers and writers share come from the library.
#pragma once

#include "formats/FormatMessages.h"

namespace ecckey_cli {

using ecckey::formats::kOutOfMemory;
inline constexpr char kStandardInput[] = "standard input";
// Every message on standard error.
inline constexpr char kErrorLine[] = "ecckey: %s\n";

}  // namespace ecckey_cli
