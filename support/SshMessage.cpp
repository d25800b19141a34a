// SshMessage: RFC 4251 string and mpint encodings.
#include "support/SshMessage.h"

#include <cstring>

#include "support/DataBuffer.h"
#include "support/LogBase.h"
#include "support/MpInt.h"
#include "support/StringBuffer.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

// Locates the string at offset: a uint32 big-endian length, then that many bytes, all inside the blob.
// Nothing is read before its bounds are checked.
[[nodiscard]] bool locateString(const DataBuffer &blob, unsigned offset, unsigned &contentStart,
                                unsigned &contentLen) {
    const unsigned size = blob.getSize();
    if (offset > size || size - offset < 4)
        return false;
    const unsigned char *p = blob.getData2() + offset;
    const unsigned len = ((unsigned)p[0] << 24) | ((unsigned)p[1] << 16) | ((unsigned)p[2] << 8) | p[3];
    if (len > size - offset - 4)
        return false;
    contentStart = offset + 4;
    contentLen = len;
    return true;
}

}  // namespace

bool SshMessage::pack_db(const DataBuffer &bytes, DataBuffer &out) {
    if (bytes.getSize() > 0xffffffffu - 4 - out.getSize())
        return false;
    if (!out.ensureCapacity(out.getSize() + 4 + bytes.getSize()))
        return false;
    return out.appendUint32_be(bytes.getSize()) && out.append(bytes);
}

bool SshMessage::pack_string(const char *text, DataBuffer &out) {
    if (!text)
        return false;
    const std::size_t len = std::strlen(text);
    if (len > 0xffffffffu - 4 - out.getSize())
        return false;
    if (!out.ensureCapacity(out.getSize() + 4 + (unsigned)len))
        return false;
    return out.appendUint32_be((unsigned)len) && out.append(text, (unsigned)len);
}

bool SshMessage::parseString(const DataBuffer &blob, unsigned &offset, StringBuffer &out) {
    unsigned start = 0, len = 0;
    if (!locateString(blob, offset, start, len))
        return false;
    // Any bytes are taken, a NUL included: the reader fails only on a blob too short for its length, so
    // what a caller sees of a malformed blob does not depend on the values inside it.
    const char *text = (const char *)blob.getData2() + start;
    StringBuffer value;
    if (!value.append(text, len) || !out.setString(value))
        return false;
    offset = start + len;
    return true;
}

bool SshMessage::parseBinaryString(const DataBuffer &blob, unsigned &offset, DataBuffer &out, LogBase &log) {
    unsigned start = 0, len = 0;
    if (!locateString(blob, offset, start, len))
        return false;
    // Bytes taken from a blob of secrets are secrets too.
    if (blob.isSensitive())
        out.setSensitive();
    out.clear();
    if (!out.append(blob.getData2() + start, len)) {
        log.logError("Out of memory reading an SSH string.");
        return false;
    }
    offset = start + len;
    return true;
}

bool SshMessage::parseMpInt(const DataBuffer &blob, unsigned &offset, mp_int &out, LogBase &log) {
    unsigned start = 0, len = 0;
    if (!locateString(blob, offset, start, len))
        return false;
    const unsigned char *bytes = blob.getData2() + start;
    if (len != 0 && (bytes[0] & 0x80)) {
        log.logError("SSH mpint is negative.");
        return false;
    }
    // Two's complement of a non-negative value is its magnitude; an empty mpint is zero.
    if (len == 0) {
        TovarMp::mp_zero(out);
    } else if (!TovarMp::mpint_from_bytes(out, bytes, len)) {
        log.logError("Failed to convert SSH mpint.");
        return false;
    }
    offset = start + len;
    return true;
}

}  // namespace ecckey
