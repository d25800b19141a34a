// Reading the command's inputs and writing its outputs.
#pragma once

#include <string>

namespace ecckey {
class DataBuffer;
}

namespace ecckey_cli {

// Inputs above this size are refused: no key, signature or signed file the command handles is near it,
// and the library's buffers count bytes in 32 bits.
const unsigned long kMaxInputLen = 1UL << 30;

// True for the names that mean standard input or output.
bool isStdio(const char *path);

// Appends the whole content of path ("-" for standard input) to out, which is marked sensitive first:
// key files hold secrets. False, with a message naming the file in error, when it cannot be opened or
// read or is larger than kMaxInputLen; out may then hold part of the content (wiped with it).
bool readInput(const char *path, ecckey::DataBuffer &out, std::string &error);

// Writes bytes to path, or to standard output when path is null or "-". A secret output goes to a file
// of mode 0600 (also when the file existed with a wider mode: the mode is set before anything is
// written). False, with a message in error, on any failure.
bool writeOutput(const char *path, const ecckey::DataBuffer &bytes, bool secret, std::string &error);

}  // namespace ecckey_cli
