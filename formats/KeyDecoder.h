// Reading a key file of any format the library knows, recognised from its content, into a checked EccKey.
//
//   ecckey::formats::DecodedKey what;
//   if (!ecckey::formats::decodeKey(bytes, askUser, {}, key, what, log))
//       report(what.error);   // "OpenSSH private key, aes256-ctr: wrong passphrase"
#pragma once

#include <functional>
#include <string>

namespace ecckey {
class DataBuffer;
class EccKey;
class LogBase;
class StringBuffer;
}  // namespace ecckey

namespace ecckey::formats {

// Asked for the passphrase of an encrypted key, at most once per decodeKey, and only when the content
// turns out to be encrypted. Appends the passphrase to passphrase (a StringBuffer, which wipes itself) and
// returns true, or returns false with a one-line reason in error, which decodeKey then reports as it is.
using PassphraseCallback = std::function<bool(StringBuffer &passphrase, std::string &error)>;

struct DecodeOptions {
    // From a JWK Set of several EC keys, the one whose "kid" is this; null takes the set's only EC key.
    const char *kid = nullptr;
    // False skips checkPublicKey/checkPrivateKey after loading: for callers who check later, or need a
    // key exactly as the file holds it. Explicit parameters are still compared with the named curve's.
    bool checked = true;
};

// What decodeKey read beside the key.
struct DecodedKey {
    // The form read, for people: "PEM \"PRIVATE KEY\"", "DER", "DER (encrypted PKCS #8)", "OpenSSH private
    // key", "PuTTY private key", "JWK", "XML", "OpenSSH public key", "X9.63 point", ...
    std::string format;
    std::string pemLabel;    // the label of the PEM block the key came from; empty for other forms
    std::string comment;     // of an OpenSSH public line, OpenSSH private key or .ppk file; else empty
    std::string cipher;      // how an encrypted key was ("aes256-ctr", "PBES2, AES-256-CBC", "AES-128-CBC")
    bool encrypted = false;  // the key was encrypted under a passphrase
    // On failure: one line that says what was recognised and why it failed. It quotes no content of the
    // input but a short name (a PEM label, an SSH key type, a cipher) and never the passphrase.
    std::string error;
};

// The largest key file read: far above any key (a P-521 .ppk is under 1 KiB, a JWK Set of dozens of keys
// some tens of KiB).
inline constexpr unsigned kMaxKeyFileBytes = 1u << 20;

// Loads the key that content holds. Recognised from the content:
// - PEM and DER of PKCS #8, encrypted PKCS #8 (PBES2 with PBKDF2 or scrypt, the PKCS #5 and #12 schemes),
//   SEC 1 (also "Proc-Type: 4,ENCRYPTED", and with explicit parameters equal to a named curve's) and
//   SubjectPublicKeyInfo; an "EC PARAMETERS" block before the key is passed over;
// - OpenSSH private keys ("openssh-key-v1"), unencrypted or encrypted with bcrypt-pbkdf and aes128/192/256
//   in CTR, CBC or GCM mode, or chacha20-poly1305, as ssh-keygen writes them; OpenSSH public-key lines;
// - PuTTY .ppk files, versions 2 and 3, with or without a passphrase;
// - JWK and JWK Sets (options.kid), the three XML forms, X9.63 points in hexadecimal, compressed or not,
//   bare hexadecimal scalars of P-256, P-384 and P-521, and the raw-hex text (RawHexKey.h).
// Compressed points in DER and PEM are made whole. passphrase may be empty (no callback): an encrypted
// key is then refused. Key-derivation work read from a file is bounded (each reader states its ceilings), and
// so is the input (kMaxKeyFileBytes). Every key returned passed checkPublicKey and, when private,
// checkPrivateKey, unless options.checked is false. False with result.error set and the library's reasons in
// log; the key is then unusable.
[[nodiscard]] bool decodeKey(const DataBuffer &content, const PassphraseCallback &passphrase,
                             const DecodeOptions &options, EccKey &key, DecodedKey &result, LogBase &log);

// Checks a loaded key with checkPublicKey and, for a private key, checkPrivateKey: the loaders trust the
// point a file carries, and a point off the curve handed to ECDH or verification gives answers about
// another curve. False with a message in error (the reason in log).
[[nodiscard]] bool checkKey(EccKey &key, LogBase &log, std::string &error);

// Asks passphrase (the caller's callback) for the passphrase of an encrypted key: false with the
// callback's message in error, or kNoPassphraseSource when there is no callback.
[[nodiscard]] bool askPassphrase(const PassphraseCallback &passphrase, StringBuffer &secret,
                                 std::string &error);

// A name read from a key file (a PEM label, an SSH key type, a JWK kty), as a message may quote it: a
// space and the name in quotes when it is at most 40 letters, digits, spaces and "-._@", as such names
// are; otherwise nothing, since a longer or stranger text could be key material.
std::string quotedName(const std::string &name);

}  // namespace ecckey::formats
