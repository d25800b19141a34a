// PEM armour (RFC 7468) around DER.
#include "support/PublicKey.h"

#include <cstring>

#include "support/DataBuffer.h"
#include "support/LogBase.h"
#include "support/StringBuffer.h"

namespace ecckey {

namespace {

const char kMsgOutOfMemory[] = "Out of memory reading PEM.";

const unsigned kPemLineLen = 64;
const char kBegin[] = "-----BEGIN ";
const char kEnd[] = "-----END ";
const char kDashes[] = "-----";

// RFC 7468 labels: printable characters other than '-', with single hyphens or spaces between them.
[[nodiscard]] bool isLabelChar(char c) {
    return c >= 0x21 && c <= 0x7e && c != '-';
}

[[nodiscard]] bool validLabel(const char *label, std::size_t len) {
    if (len == 0)
        return false;
    for (std::size_t i = 0; i < len; ++i) {
        if (isLabelChar(label[i]))
            continue;
        const bool separator = label[i] == '-' || label[i] == ' ';
        if (!separator || i == 0 || i + 1 == len || !isLabelChar(label[i + 1]))
            return false;
    }
    return true;
}

// One line of the text: [start, end) without its line ending; next is where the following line starts.
struct Line {
    const char *start;
    const char *end;
    const char *next;
};

Line lineAt(const char *p) {
    Line line{p, p, p};
    while (*line.end != '\0' && *line.end != '\n')
        ++line.end;
    line.next = *line.end == '\n' ? line.end + 1 : line.end;
    // CRLF endings and trailing blanks are tolerated.
    while (line.end > line.start && (line.end[-1] == '\r' || line.end[-1] == ' ' || line.end[-1] == '\t'))
        --line.end;
    return line;
}

// Reads "<prefix>label-----" spanning the whole line; label receives the label.
[[nodiscard]] bool readBoundary(const Line &line, const char *prefix, StringBuffer &label) {
    const std::size_t prefixLen = std::strlen(prefix);
    const std::size_t lineLen = (std::size_t)(line.end - line.start);
    if (lineLen < prefixLen + 5 || std::strncmp(line.start, prefix, prefixLen) != 0)
        return false;
    if (std::strncmp(line.end - 5, kDashes, 5) != 0)
        return false;
    const char *labelStart = line.start + prefixLen;
    const std::size_t labelLen = (std::size_t)(line.end - 5 - labelStart);
    if (!validLabel(labelStart, labelLen))
        return false;
    return label.setString("") && label.append(labelStart, (unsigned)labelLen);
}

// Finds the first line that begins with "-----BEGIN ".
const char *findBeginLine(const char *text) {
    for (const char *p = text; *p != '\0';) {
        if (std::strncmp(p, kBegin, sizeof kBegin - 1) == 0)
            return p;
        p = lineAt(p).next;
    }
    return nullptr;
}

}  // namespace

bool _tvPublicKey::derToPem(const char *label, const DataBuffer &der, StringBuffer &out, LogBase &log) {
    if (!label || !validLabel(label, std::strlen(label))) {
        log.logError("Invalid PEM label.");
        return false;
    }
    StringBuffer base64;
    if (!der.encodeDB("base64", base64)) {
        log.logError("Failed to base64 encode DER.");
        return false;
    }
    // Built apart and appended at once, so out is unchanged on failure.
    StringBuffer pem;
    bool ok = pem.append3(kBegin, label, "-----\n");
    const char *b64 = base64.getString();
    for (unsigned pos = 0; ok && pos < base64.getSize(); pos += kPemLineLen) {
        const unsigned n = base64.getSize() - pos < kPemLineLen ? base64.getSize() - pos : kPemLineLen;
        ok = pem.append(b64 + pos, n) && pem.appendChar('\n');
    }
    ok = ok && pem.append3(kEnd, label, "-----\n") && out.append(pem);
    if (!ok)
        log.logError("Out of memory writing PEM.");
    return ok;
}

bool _tvPublicKey::pemToDer(const char *text, StringBuffer &label, DataBuffer &der, LogBase &log) {
    const char *beginLine = text ? findBeginLine(text) : nullptr;
    if (!beginLine) {
        log.logError("No PEM BEGIN line found.");
        return false;
    }
    StringBuffer beginLabel;
    Line line = lineAt(beginLine);
    if (!readBoundary(line, kBegin, beginLabel)) {
        log.logError("Invalid PEM BEGIN line.");
        return false;
    }
    StringBuffer base64;
    for (;;) {
        if (*line.next == '\0') {
            log.logError("PEM END line not found.");
            return false;
        }
        line = lineAt(line.next);
        if (std::strncmp(line.start, kDashes, 5) == 0)
            break;
        if (std::memchr(line.start, ':', (std::size_t)(line.end - line.start))) {
            log.logError("PEM header lines are not supported.");
            return false;
        }
        if (!base64.append(line.start, (unsigned)(line.end - line.start))) {
            log.logError(kMsgOutOfMemory);
            return false;
        }
    }
    StringBuffer endLabel;
    if (!readBoundary(line, kEnd, endLabel)) {
        log.logError("Invalid PEM END line.");
        return false;
    }
    if (!endLabel.equals(beginLabel)) {
        log.logError("PEM BEGIN and END labels differ.");
        log.LogDataSb("beginLabel", beginLabel);
        log.LogDataSb("endLabel", endLabel);
        return false;
    }
    DataBuffer decoded;
    decoded.setSensitive();
    if (!decoded.appendEncoded(base64.getString(), "base64")) {
        log.logError("Invalid base64 in PEM body.");
        return false;
    }
    der.setSensitive();
    der.clear();
    if (!der.append(decoded) || !label.setString(beginLabel)) {
        log.logError(kMsgOutOfMemory);
        return false;
    }
    return true;
}

}  // namespace ecckey
