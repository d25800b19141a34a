// The command's side of reading a key: a file or standard input, --kid and --passin; every key format
// itself is read by the library (formats/KeyDecoder.h).
#pragma once

#include <string>

#include "formats/KeyDecoder.h"

namespace ecckey {
class DataBuffer;
class EccKey;
class LogBase;
}  // namespace ecckey

namespace ecckey_cli {

// Which key to take from a key file, how to decrypt it, and what the file says beside the key.
struct KeyFileInfo {
    explicit KeyFileInfo(const char *kidOption = nullptr, const char *passinOption = nullptr)
        : kid(kidOption), passin(passinOption) {}

    const char *kid;      // in: from a JWK Set of several EC keys, the one with this "kid" (--kid)
    const char *passin;   // in: where the passphrase of an encrypted key is (--passin), or null
    std::string comment;  // out: the comment of an OpenSSH public-key line; empty for other forms
    std::string format;   // out: the form read ("PEM \"PRIVATE KEY\"", "DER", "JWK", "raw-hex", ...)
};

// Loads and checks a key from the content of a key file through formats::decodeKey, with --kid and a
// passphrase callback reading --passin (asking for --passin when it is absent). False with a message in
// error (the library's reasons in log); the key is then unusable.
[[nodiscard]] bool loadKey(const ecckey::DataBuffer &content, ecckey::EccKey &key, ecckey::LogBase &log,
                           std::string &error, KeyFileInfo *info = nullptr);

// Reads path ("-" for standard input) and loads it with loadKey. Messages name the file.
[[nodiscard]] bool readKeyFile(const char *path, ecckey::EccKey &key, ecckey::LogBase &log,
                               std::string &error, KeyFileInfo *info = nullptr);

using ecckey::formats::checkKey;

}  // namespace ecckey_cli
