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

#include "KeyDecoder.h"

namespace ecckey::formats {

// True when text starts as a PuTTY key file does.
[[nodiscard]] bool isPuttyKeyFile(const char *text);

// Loads the key of a .ppk file: its MAC must check out (with the passphrase asked of passphrase for an
// encrypted file) and the public blob must be the private key's. Argon2 parameters above the ceilings are
// refused before any work. Sets result.comment, .encrypted and .cipher. False with a message in error.
[[nodiscard]] bool loadPuttyKey(const char *text, const PassphraseCallback &passphrase, EccKey &key,
                                DecodedKey &result, LogBase &log, std::string &error);

// Appends the private key as a .ppk file of the version given (2 or 3) with the comment given; encrypted
// with AES-256-CBC when passphrase is given and not empty (version 3: keys from Argon2id, 8 MiB, 13 passes,
// one lane, as puttygen's defaults; version 2: from SHA-1 of the passphrase). False when the library fails
// or its curve has no name PuTTY's key type could carry.
[[nodiscard]] bool writePuttyKey(EccKey &key, const StringBuffer *passphrase, const std::string &comment,
                                 int version, DataBuffer &out, LogBase &log, std::string &error);

}  // namespace ecckey::formats
