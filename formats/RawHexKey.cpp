#include "RawHexKey.h"

#include <cstring>

#include "FormatMessages.h"
#include "KeyBounds.h"
#include "ecc/EccKey.h"
#include "ecc/PointDecompression.h"
#include "support/LogBase.h"

namespace ecckey::formats {

namespace {

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

}  // namespace

bool isRawHexText(const char *text) {
    return std::strncmp(text, "curve", 5) == 0;
}

bool loadRawHexKey(const char *text, EccKey &key, LogBase &log, std::string &error) {
    RawHexFields fields;
    if (!parseRawHex(text, fields, error))
        return false;
    DataBuffer point;
    if (!fields.publicHex.isEmpty() && !point.appendEncoded(fields.publicHex.getString(), "hex")) {
        error = "the public line of the raw-hex key is not hexadecimal";
        return false;
    }
    if (!makePointWhole(fields.curve.getString(), point, error) || !pointLenFits(point, error))
        return false;
    if (fields.privateHex.isEmpty()) {
        if (!key.loadEcPubKeyByCurveAndPoint(fields.curve.getString(), point, log)) {
            error = "cannot load the raw-hex public key";
            return false;
        }
        return true;
    }
    EccCurve curve;
    DataBuffer d;
    d.setSensitive();
    if (!curve.loadCurveByName(fields.curve.getString(), log) ||
        !d.appendEncoded(fields.privateHex.getString(), "hex")) {
        error = "cannot load the raw-hex private key";
        return false;
    }
    if (!scalarAsWrittenFits(curve, d, error))
        return false;
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

bool writeRawHexKey(EccKey &key, bool writePrivate, bool compressed, DataBuffer &out, LogBase &log) {
    StringBuffer privHex;
    StringBuffer pubHex;
    StringBuffer text;
    if (!key.toRawHex(privHex, pubHex, log))
        return false;
    bool ok = text.append3("curve: ", key.m_curve.m_name.getString(), "\n");
    if (writePrivate)
        ok = ok && text.append3("private: ", privHex.getString(), "\n");
    ok = ok && text.append("public: ");
    if (compressed) {
        // 02 or 03 by the parity of y, whose last hexadecimal digit is the point's last.
        const char *point = pubHex.getString();
        const unsigned xDigits = 2 * (unsigned)key.m_curve.m_byteLen;
        const char last = point[2 + 2 * xDigits - 1];
        const bool odd = ((last >= 'a' ? last - 'a' + 10 : last - '0') & 1) != 0;
        ok = ok && text.append(odd ? "03" : "02") && text.append(point + 2, xDigits) && text.append("\n");
    } else
        ok = ok && text.append2(pubHex.getString(), "\n");
    return ok && out.append(text);
}

}  // namespace ecckey::formats
