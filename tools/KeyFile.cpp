#include "KeyFile.h"

#include <cstring>

#include "FileIo.h"
#include "Messages.h"
#include "Passphrase.h"
#include "ecc/EccKey.h"
#include "ecc/PointDecompression.h"
#include "support/LogBase.h"

namespace ecckey_cli {

namespace {

using ecckey::DataBuffer;
using ecckey::EccKey;
using ecckey::LogBase;
using ecckey::StringBuffer;

[[nodiscard]] bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// The lines of the raw-hex text ("curve: NAME", "private: HEX", "public: HEX"). Values are kept in
// StringBuffers, which wipe themselves.
struct RawHexFields {
    StringBuffer curve;
    StringBuffer privateHex;
    StringBuffer publicHex;
};

StringBuffer *rawHexField(RawHexFields &fields, const char *name, std::size_t nameLen) {
    const auto is = [&](const char *want) {
        return std::strlen(want) == nameLen && std::strncmp(name, want, nameLen) == 0;
    };
    return is("curve")     ? &fields.curve
           : is("private") ? &fields.privateHex
           : is("public")  ? &fields.publicHex
                           : nullptr;
}

// Fails on a line without a known name and colon, or a name given twice; the message gives the line
// number only, since a line may hold a private scalar.
[[nodiscard]] bool parseRawHex(const char *text, RawHexFields &fields, std::string &error) {
    int lineNumber = 0;
    for (const char *line = text; *line != '\0';) {
        ++lineNumber;
        const char *end = line;
        while (*end != '\0' && *end != '\n')
            ++end;
        const char *p = line;
        while (p < end && isSpace(*p))
            ++p;
        if (p < end) {
            const char *colon = static_cast<const char *>(std::memchr(p, ':', (std::size_t)(end - p)));
            StringBuffer *field = colon ? rawHexField(fields, p, (std::size_t)(colon - p)) : nullptr;
            if (field == nullptr || !field->isEmpty()) {
                error = "line " + std::to_string(lineNumber) +
                        " of the raw-hex key is not curve:, private: or public:";
                return false;
            }
            if (!field->append(colon + 1, (unsigned)(end - colon - 1))) {
                error = "out of memory";
                return false;
            }
            field->trim2();
        }
        line = *end == '\n' ? end + 1 : end;
    }
    if (fields.curve.isEmpty() || (fields.privateHex.isEmpty() && fields.publicHex.isEmpty())) {
        error = "the raw-hex key needs a curve line and a private or public line";
        return false;
    }
    return true;
}

[[nodiscard]] bool loadRawHex(const char *text, EccKey &key, LogBase &log, std::string &error) {
    RawHexFields fields;
    if (!parseRawHex(text, fields, error))
        return false;
    DataBuffer point;
    if (!fields.publicHex.isEmpty() && !point.appendEncoded(fields.publicHex.getString(), "hex")) {
        error = "the public line of the raw-hex key is not hexadecimal";
        return false;
    }
    if (!ecckey::makePointWhole(fields.curve.getString(), point, error))
        return false;
    if (fields.privateHex.isEmpty()) {
        if (!key.loadEcPubKeyByCurveAndPoint(fields.curve.getString(), point, log)) {
            error = "cannot load the raw-hex public key";
            return false;
        }
        return true;
    }
    if (!key.generateNewKey2(fields.curve, fields.privateHex.getString(), "hex", log)) {
        error = "cannot load the raw-hex private key";
        return false;
    }
    // The point, when given, must be the one the scalar yields.
    DataBuffer derived;
    if (!point.isEmpty() && (!key.exportEccPoint(derived, log) || !derived.equals(point))) {
        error = "the public line of the raw-hex key does not belong to its private line";
        return false;
    }
    return true;
}

// True when content, past a UTF-8 byte-order mark and white space, starts as the raw-hex text does.
[[nodiscard]] bool isRawHex(const DataBuffer &content) {
    const unsigned char *bytes = content.getData2();
    const unsigned size = content.getSize();
    unsigned i = size >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF ? 3 : 0;
    while (i < size && isSpace((char)bytes[i]))
        ++i;
    return size - i >= 5 && std::memcmp(bytes + i, "curve", 5) == 0;
}

// Raw-hex text with a control byte other than white space is not text, and not a key.
[[nodiscard]] bool loadRawHexContent(const DataBuffer &content, EccKey &key, LogBase &log,
                                     std::string &error) {
    for (unsigned i = 0; i < content.getSize(); ++i) {
        const unsigned char c = content[i];
        if ((c < 0x20 && !isSpace((char)c)) || c == 0x7F) {
            error = "unrecognised key format";
            return false;
        }
    }
    StringBuffer text;
    if (!text.append(reinterpret_cast<const char *>(content.getData2()), content.getSize())) {
        error = kOutOfMemory;
        return false;
    }
    const char *start = text.getString();
    if (content.getSize() >= 3 && (unsigned char)start[0] == 0xEF)
        start += 3;
    return loadRawHex(start, key, log, error) && checkKey(key, log, error);
}

}  // namespace

bool loadKey(const DataBuffer &content, EccKey &key, LogBase &log, std::string &error, KeyFileInfo *info) {
    KeyFileInfo defaults;
    KeyFileInfo &used = info != nullptr ? *info : defaults;
    used.comment.clear();
    if (isRawHex(content)) {
        used.format = "raw-hex";
        return loadRawHexContent(content, key, log, error);
    }
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
