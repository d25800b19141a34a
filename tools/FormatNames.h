// The key formats by the names the command gives them, and its writer over the library's
// (formats/KeyEncoder.h): --passout read here, the library's refusals in the command's words.
#pragma once

#include <string>

#include "formats/EncryptedKey.h"
#include "formats/KeyEncoder.h"

namespace ecckey {
class DataBuffer;
class EccKey;
class LogBase;
}  // namespace ecckey

namespace ecckey_cli {

using ecckey::formats::kDefaultIterations;
using ecckey::formats::KeyFormat;
using ecckey::formats::kMaxIterations;
using ecckey::formats::sshKeyTypeName;

// A format as the command names it; what it holds is the library's to say (holdsPrivate, holdsPublic).
struct FormatInfo {
    KeyFormat format;
    const char *name;     // as given to --format
    const char *summary;  // one line for the usage text and the README
};

// Every format, in the order the usage text lists them.
const FormatInfo *keyFormats(int &numFormats);
// The format named name, in any case ("JWK" is "jwk"), or null.
const FormatInfo *formatByName(const char *name);

// Writes the key in the given format into out: its private form when writePrivate is set (the key must
// be private and the format must hold private keys), its public form otherwise. Private output is marked
// sensitive. With passout (the --passout value) a private key in pem or der is written as encrypted
// PKCS #8 under that passphrase, with that many PBKDF2 iterations; compressed writes the public point
// compressed (pem, der, sec1-pem, sec1-der and raw-hex; others refuse it). False with a message in error (the
// module's own reasons are in log) when the format cannot carry what is asked or the library fails; out is
// then empty.
[[nodiscard]] bool writeKey(ecckey::EccKey &key, const FormatInfo &format, bool writePrivate,
                            ecckey::DataBuffer &out, ecckey::LogBase &log, std::string &error,
                            const char *passout = nullptr, unsigned long iterations = kDefaultIterations,
                            bool compressed = false);

}  // namespace ecckey_cli
