// Reading keys in any of the command's formats, detected from the content.
#pragma once

#include <string>

namespace ecckey {
class DataBuffer;
class EccKey;
class LogBase;
}  // namespace ecckey

namespace ecckey_cli {

// Loads a key from the content of a key file and checks it (checkKey); DER and PEM keys go through the
// library's checked loader, which also compares explicit parameters with the named curve. The form is read
// from the content: PEM ("PRIVATE KEY", "EC PRIVATE KEY" or "PUBLIC KEY"; an "EC PARAMETERS" block before it
// is skipped), DER (PKCS #8, SEC 1, SubjectPublicKeyInfo), JWK, the three XML forms, an OpenSSH public-key
// line, the command's raw-hex text, or a bare hexadecimal X9.63 point or scalar (65, 97, 133 bytes and
// 32, 48, 66 bytes: P-256, P-384, P-521). False with a message in error (the module's reasons in log);
// the key is then unusable. format, when given, receives the form read ("PEM \"PRIVATE KEY\"", "DER",
// "JWK", ...).
bool loadKey(const ecckey::DataBuffer &content, ecckey::EccKey &key, ecckey::LogBase &log, std::string &error,
             std::string *format = nullptr);

// Reads path ("-" for standard input) and loads it with loadKey. Messages name the file.
bool readKeyFile(const char *path, ecckey::EccKey &key, ecckey::LogBase &log, std::string &error,
                 std::string *format = nullptr);

// Checks a loaded key with the library's checkPublicKey and, for a private key, checkPrivateKey. The
// loaders trust the point a file carries; a point off the curve handed to ECDH or verification gives
// answers about another curve. False with a message in error (the reason in log).
bool checkKey(ecckey::EccKey &key, ecckey::LogBase &log, std::string &error);

}  // namespace ecckey_cli
