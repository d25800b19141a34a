// Reading the command's inputs and writing its outputs.
//
// One run of the command reads its inputs, then writes its outputs. The functions below remember, for the
// run, every file read and whether standard input was: an output never replaces an input, and standard
// input, which can be read once only, is refused the second time it is named.
#pragma once

#include <string>

namespace ecckey {
class DataBuffer;
}

namespace ecckey_cli {

// Inputs above this size are refused: no key, signature or signed file the command handles is near it,
// and the library's buffers count bytes in 32 bits.
const unsigned long kMaxInputLen = 1UL << 30;
// Key, signature and passphrase files above this size are refused before they are parsed: the largest key
// file (P-521 in XML with explicit parameters) is a few KiB, and parsing need not be fast on megabytes.
const unsigned long kMaxKeyFileLen = 1UL << 20;

// True for the names that mean standard input or output.
[[nodiscard]] bool isStdio(const char *path);

// Appends the whole content of path ("-" for standard input) to out, which is marked sensitive first:
// key files hold secrets. False, with a message naming the file in error, when it cannot be opened or
// read, is larger than maxLen (a regular file is refused by its size before a byte is read), or is
// standard input named a second time; out may then hold part of the content (wiped with it). A regular
// file on standard input is remembered as an input like a named one.
[[nodiscard]] bool readInput(const char *path, ecckey::DataBuffer &out, std::string &error,
                             unsigned long maxLen = kMaxKeyFileLen);

// Where an output goes: -o FILE (standard output when null or "-") and whether --force was given.
struct OutputTarget {
    const char *path;
    bool force;
};

// Writes bytes to the target. A file is written whole under a temporary name in its folder, then renamed
// over the target, so that no reader ever sees a half-written or truncated file and a reader holding the
// old file keeps the old content. The temporary file of a secret output is created with mode 0600, so a
// private key or secret never lies in a file others can read; a public output gets 0666 less the umask;
// SIGINT, SIGTERM, SIGHUP or SIGXFSZ during the write remove it. An existing file is replaced only with
// force, and a file this run has read never. A symbolic link is never followed: with force the link itself is
// replaced. A FIFO, device or socket is refused, since whoever made it there would read the secret, except
// the names that say so on purpose (/dev/stdout, /dev/stderr, /dev/fd/N, /dev/null), which are written as
// they are, mode untouched. False, with a message in error, on any failure; the target is then as it was.
[[nodiscard]] bool writeOutput(const OutputTarget &target, const ecckey::DataBuffer &bytes, bool secret,
                               std::string &error);

}  // namespace ecckey_cli
