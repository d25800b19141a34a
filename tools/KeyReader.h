// Reading keys in any of the command's formats, detected from the content.
#pragma once

#include <string>

namespace ecckey {
class DataBuffer;
class EccKey;
class LogBase;
class StringBuffer;
}  // namespace ecckey

namespace ecckey_cli {

// Which key to take from a key file, how to decrypt it, and what the file says beside the key.
struct KeyFileInfo {
    explicit KeyFileInfo(const char *kidOption = nullptr, const char *passinOption = nullptr)
        : kid(kidOption), passin(passinOption) {}

    const char *kid;      // in: from a JWK Set of several EC keys, the one with this "kid" (--kid)
    const char *passin;   // in: where the passphrase of an encrypted key is (--passin), or null
    std::string comment;  // out: the comment of an OpenSSH public-key line; empty for other forms
    std::string format;   // out: the form read ("PEM \"PRIVATE KEY\"", "DER", "JWK", ...)
};

// Loads a key from the content of a key file and checks it (checkKey); DER and PEM keys go through the
// library's checked loader, which also compares explicit parameters with the named curve. The form is read
// from the content: PEM ("PRIVATE KEY", "EC PRIVATE KEY" or "PUBLIC KEY"; an "EC PARAMETERS" block before it
// is skipped; other text or bytes may follow the block), DER (PKCS #8, SEC 1, SubjectPublicKeyInfo), an
// encrypted PKCS #8 key (PEM "ENCRYPTED PRIVATE KEY" or DER) or SEC 1 PEM ("Proc-Type: 4,ENCRYPTED"),
// decrypted with the passphrase of info->passin, an OpenSSH private key ("OPENSSH PRIVATE KEY",
// unencrypted), a PuTTY .ppk file (versions 2 and 3), JWK, the three XML forms, an OpenSSH public-key
// line, the command's raw-hex text, or a bare hexadecimal X9.63 point or scalar (65, 97, 133 bytes and
// 32, 48, 66 bytes: P-256, P-384, P-521; compressed points of 33, 49 and 67 bytes too). Compressed points
// in DER, PEM, raw-hex and bare hexadecimal are made whole (CompressedPoint.h). A JWK Set ({"keys": [...]})
// gives its one EC key, or the one whose "kid" is info->kid; with several and no kid it is refused, naming
// how many it holds. A JWK member the loader reads (crv, x, y, d) must be a JSON string. False with a message
// in error (the module's reasons in log); the key is then unusable. Messages quote no part of the content but
// a short name (a PEM label, an SSH key type), since anything longer could be key material.
[[nodiscard]] bool loadKey(const ecckey::DataBuffer &content, ecckey::EccKey &key, ecckey::LogBase &log,
                           std::string &error, KeyFileInfo *info = nullptr);

// The passphrase of info.passin, for an encrypted key file; without --passin, false with a message that
// asks for it.
[[nodiscard]] bool passphraseFor(const KeyFileInfo &info, ecckey::StringBuffer &passphrase,
                                 std::string &error);

// A name read from a key file (a PEM label, an SSH key type, a JWK kty), as a message may quote it: a
// space and the name in quotes when it is at most 40 letters, digits, spaces and "-._@", as such names
// are; otherwise nothing, since a longer or stranger text could be key material.
std::string quotedName(const std::string &name);

// Reads path ("-" for standard input) and loads it with loadKey. Messages name the file.
[[nodiscard]] bool readKeyFile(const char *path, ecckey::EccKey &key, ecckey::LogBase &log,
                               std::string &error, KeyFileInfo *info = nullptr);

// Checks a loaded key with the library's checkPublicKey and, for a private key, checkPrivateKey. The
// loaders trust the point a file carries; a point off the curve handed to ECDH or verification gives
// answers about another curve. False with a message in error (the reason in log).
[[nodiscard]] bool checkKey(ecckey::EccKey &key, ecckey::LogBase &log, std::string &error);

}  // namespace ecckey_cli
