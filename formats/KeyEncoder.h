// Writing a key in each format the library writes, as the tools that define the format write it.
//
//   ecckey::formats::EncodeOptions options;
//   options.passphrase = &passphrase;   // OpenSSH: aes256-ctr with bcrypt-pbkdf, as ssh-keygen's default
//   options.comment = "me@host";
//   if (!ecckey::formats::encodeKey(key, KeyFormat::OpenSsh, true, options, out, log, error)) ...
#pragma once

#include <string>

namespace ecckey {
class DataBuffer;
class EccKey;
class LogBase;
class StringBuffer;
}  // namespace ecckey

namespace ecckey::formats {

enum class KeyFormat {
    Pem,           // PKCS #8 "PRIVATE KEY" (encrypted: "ENCRYPTED PRIVATE KEY") or SPKI "PUBLIC KEY"
    Sec1Pem,       // SEC 1 "EC PRIVATE KEY"
    Der,           // PKCS #8 (encrypted: EncryptedPrivateKeyInfo) or SubjectPublicKeyInfo
    Sec1Der,       // SEC 1 ECPrivateKey
    SpkiExplicit,  // PEM "PUBLIC KEY" with explicit parameters (P-256, P-384, P-521, secp256k1)
    Jwk,           // RFC 7518, kty EC
    Xml,           // <ECCKeyValue> or <ECCPublicKey>
    XmlDsig,       // XML Signature 1.1 <ECKeyValue>
    Ssh,           // one OpenSSH public-key line
    OpenSsh,       // "OPENSSH PRIVATE KEY", openssh-key-v1
    Ppk,           // PuTTY private key file
    RawHex,        // "curve:", "private:" and "public:" lines in hexadecimal (RawHexKey.h)
    Cose           // COSE_Key EC2 in CBOR (CoseKey.h): P-256, P-384, P-521 and secp256k1
};

// The format's short name, as messages give it: "pem", "sec1-pem", "der", "sec1-der", "spki-explicit",
// "jwk", "xml", "xmldsig", "ssh", "openssh", "ppk", "raw-hex", "cose".
const char *formatName(KeyFormat format);

// Whether a format can carry a private key, a public key, and whether it is binary (DER, CBOR) rather than
// text ending in a newline.
[[nodiscard]] bool holdsPrivate(KeyFormat format);
[[nodiscard]] bool holdsPublic(KeyFormat format);
[[nodiscard]] bool isBinary(KeyFormat format);

struct EncodeOptions {
    // Encrypts a private key when set (and not empty): Pem and Der as PKCS #8 PBES2 (PBKDF2-HMAC-SHA256,
    // AES-256-CBC), OpenSsh as ssh-keygen does by default (aes256-ctr, bcrypt-pbkdf with 16 rounds), Ppk
    // with AES-256-CBC (version 3: Argon2id as puttygen's defaults; version 2: its SHA-1 derivation).
    // Other formats refuse a passphrase.
    const StringBuffer *passphrase = nullptr;
    // PBKDF2 iterations of encrypted PKCS #8, at most kMaxIterations (EncryptedKey.h); 0 is the default,
    // kDefaultIterations (600,000).
    unsigned long pbkdf2Iterations = 0;
    // The comment of an OpenSsh, Ppk or Ssh key; it must hold no line end.
    std::string comment;
    // Ppk: 3 (the default) or 2.
    int ppkVersion = 3;
    // The public point in compressed form (02 or 03, then x), as `openssl ec -conv_form compressed` writes
    // it: in Pem and Der (SubjectPublicKeyInfo, or the key inside PKCS #8), Sec1Pem, Sec1Der and RawHex's
    // public line. Other formats refuse it.
    bool compressedPoint = false;
};

// Writes the key in format into out (cleared first): its private form when writePrivate is set (the key
// must be private and the format must hold private keys), its public form otherwise. Private output is
// marked sensitive. DER keys are OpenSSL 3's bytes for the same key given the logger options
// "EMIT_ECC_PKCS1_PUBKEY EMIT_ECC_FIXED_LENGTH" (OpenSslLayout.h). False with a one-line message in error
// (the library's reasons in log) when the format cannot carry what is asked or a step fails; out is then
// empty.
[[nodiscard]] bool encodeKey(EccKey &key, KeyFormat format, bool writePrivate, const EncodeOptions &options,
                             DataBuffer &out, LogBase &log, std::string &error);

// The name the SSH blob of this key's curve carries ("ecdsa-sha2-nistp256", ...), or an empty text for
// curves the SSH blob cannot name (P-192 and the Brainpool curves: their blob would claim nistp256).
std::string sshKeyTypeName(const EccKey &key);

}  // namespace ecckey::formats
