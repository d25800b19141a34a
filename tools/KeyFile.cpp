#include "KeyFile.h"

#include "FileIo.h"
#include "Messages.h"
#include "Passphrase.h"
#include "ecc/EccKey.h"
#include "support/LogBase.h"

namespace ecckey_cli {

using ecckey::DataBuffer;
using ecckey::EccKey;
using ecckey::LogBase;
using ecckey::StringBuffer;

bool loadKey(const DataBuffer &content, EccKey &key, LogBase &log, std::string &error, KeyFileInfo *info) {
    KeyFileInfo defaults;
    KeyFileInfo &used = info != nullptr ? *info : defaults;
    const char *passin = used.passin;
    const ecckey::formats::PassphraseCallback askPassin = [passin](StringBuffer &passphrase,
                                                                   std::string &why) {
        if (passin == nullptr) {
            why =
                "the private key is encrypted; give its passphrase with --passin (pass:TEXT, env:VAR or "
                "file:PATH)";
            return false;
        }
        return readPassphrase("--passin", passin, passphrase, why);
    };
    ecckey::formats::DecodeOptions options;
    options.kid = used.kid;
    ecckey::formats::DecodedKey result;
    const bool loaded = ecckey::formats::decodeKey(content, askPassin, options, key, result, log);
    used.format = result.format;
    used.comment = result.comment;
    if (!loaded)
        error = result.error;
    return loaded;
}

bool readKeyFile(const char *path, EccKey &key, LogBase &log, std::string &error, KeyFileInfo *info) {
    DataBuffer content;
    const std::string name = isStdio(path) ? kStandardInput : std::string("'") + path + "'";
    if (!readInput(path, content, error))
        return false;
    if (loadKey(content, key, log, error, info))
        return true;
    error = name + ": " + error;
    return false;
}

}  // namespace ecckey_cli
