// The key formats of the command and the writer for each.
#pragma once

#include <string>

#include "EncryptedKey.h"

namespace ecckey {
class DataBuffer;
class EccKey;
class LogBase;
}  // namespace ecckey

namespace ecckey_cli {

enum class KeyFormat {
    Pem,
    Sec1Pem,
    Der,
    Sec1Der,
    SpkiExplicit,
    Jwk,
    Xml,
    XmlDsig,
    Ssh,
    OpenSsh,
    Ppk,
    RawHex,
    Cose,
};

struct FormatInfo {
    KeyFormat format;
    const char *name;     // as given to --format
    bool holdsPrivate;    // can carry a private key
    bool holdsPublic;     // can carry a public key
    bool binary;          // DER; every other format is text ending in a newline
    const char *summary;  // one line for the usage text and the README
};

// Every format, in the order the usage text lists them.
const FormatInfo *keyFormats(int &numFormats);
// The format named name, in any case ("JWK" is "jwk"), or null.
const FormatInfo *formatByName(const char *name);

// Writes the key in the given format into out: its private form when writePrivate is set (the key must
// be private and the format must hold private keys), its public form otherwise. Private output is marked
// sensitive. With passout (the --passout value) a private key in pem or der is written as encrypted
// PKCS #8 under that passphrase, with that many PBKDF2 iterations. DER keys are OpenSSL 3's bytes for the
// same key (OpenSslLayout.h), given the options Session sets. False with a message in error (the module's own
// reasons are in log) when the format cannot carry what is asked or the library fails; out is then empty.
[[nodiscard]] bool writeKey(ecckey::EccKey &key, const FormatInfo &format, bool writePrivate,
                            ecckey::DataBuffer &out, ecckey::LogBase &log, std::string &error,
                            const char *passout = nullptr, unsigned long iterations = kDefaultIterations);

// The name the SSH blob of this key's curve carries ("ecdsa-sha2-nistp256", ...), or an empty text for
// curves the SSH blob cannot name (P-192 and the Brainpool curves: their blob would claim nistp256).
std::string sshKeyTypeName(const ecckey::EccKey &key);

}  // namespace ecckey_cli
