// PuTTY private-key files (.ppk), versions 2 and 3, holding an ECDSA key.
//
// Layout: "PuTTY-User-Key-File-N: TYPE", "Encryption:", "Comment:", "Public-Lines:" and the base64 SSH
// public blob, for an encrypted version 3 file the Argon2 parameters ("Key-Derivation:", "Argon2-Memory:",
// "Argon2-Passes:", "Argon2-Parallelism:", "Argon2-Salt:"), "Private-Lines:" and the base64 private blob
// (the mpint d, padded to the cipher's block when encrypted), and "Private-MAC:", an HMAC over the type,
// encryption, comment and both blobs: HMAC-SHA-1 keyed by SHA-1 of a fixed text and the passphrase in
// version 2, HMAC-SHA-256 keyed by Argon2 output (empty when unencrypted) in version 3. Encryption is
// AES-256-CBC: in version 2 the key is SHA-1 of a counter and the passphrase and the IV zero; in version 3
// key, IV and MAC key all come from Argon2.
#pragma once

#include <string>

namespace ecckey {
class DataBuffer;
class EccKey;
class LogBase;
}  // namespace ecckey

namespace ecckey_cli {

struct KeyFileInfo;

// True when text starts as a PuTTY key file does.
[[nodiscard]] bool isPuttyKeyFile(const char *text);

// Loads the key of a .ppk file: its MAC must check out (with the passphrase of info's --passin for an
// encrypted file) and the public blob must be the private key's. False with a message in error.
[[nodiscard]] bool loadPuttyKey(const char *text, ecckey::EccKey &key, ecckey::LogBase &log,
                                std::string &error, KeyFileInfo &info);

// Appends the private key as an unencrypted version 3 .ppk file with an empty comment. False when the
// library fails or its curve has no name PuTTY's key type could carry.
[[nodiscard]] bool writePuttyKey(ecckey::EccKey &key, ecckey::DataBuffer &out, ecckey::LogBase &log,
                                 std::string &error);

}  // namespace ecckey_cli
