// _tvAsn1: building, reading, decoding and encoding reference-counted ASN.1 trees.
#include "support/Asn1.h"

#include <cstdint>
#include <cstdio>
#include <new>

#include "support/DerMessages.h"
#include "support/DerReader.h"
#include "support/LogBase.h"
#include "support/StringBuffer.h"

namespace ecckey {

namespace {

const unsigned kMaxHeaderLen = 10;

// Appends one OID subidentifier in base 128, most significant group first, continuation bit on all
// groups but the last.
[[nodiscard]] bool appendSubidentifier(DataBuffer &out, std::uint64_t value) {
    unsigned char groups[10];
    int n = 0;
    do {
        groups[n++] = (unsigned char)(value & 0x7f);
        value >>= 7;
    } while (value != 0);
    while (n > 1) {
        if (!out.appendChar((unsigned char)(groups[--n] | 0x80)))
            return false;
    }
    return out.appendChar(groups[0]);
}

// Reads the next dotted-decimal arc at text[pos]: one or more digits, no leading zero, no overflow.
[[nodiscard]] bool parseArc(const char *text, unsigned &pos, std::uint64_t &arc) {
    const unsigned start = pos;
    std::uint64_t value = 0;
    while (text[pos] >= '0' && text[pos] <= '9') {
        const unsigned digit = (unsigned)(text[pos] - '0');
        if (value > (UINT64_MAX - digit) / 10)
            return false;
        value = value * 10 + digit;
        ++pos;
    }
    if (pos == start)
        return false;  // empty arc
    if (text[start] == '0' && pos - start > 1)
        return false;  // "01"
    arc = value;
    return true;
}

unsigned headerLength(int tagClass, bool constructed, int tag, unsigned contentLen) {
    unsigned char scratch[kMaxHeaderLen];
    return DerReader::writeHeader(tagClass, constructed, tag, contentLen, scratch);
}

}  // namespace

// Creates nodes and fills them while decoding; the only code besides _tvAsn1 that touches its insides.
class Asn1Builder {
  public:
    static _tvAsn1 *create(int tagClass, bool constructed, int tag) {
        return new (std::nothrow) _tvAsn1(tagClass, constructed, tag);
    }

    [[nodiscard]] static bool setContent(_tvAsn1 *node, const unsigned char *bytes, unsigned count) {
        return node->m_content.append(bytes, count);
    }

    // Decodes the element at the front of der (size bytes); base is the start of the whole input, for
    // the offsets in messages. One error line is logged at the point of failure.
    static _tvAsn1 *decode(const unsigned char *base, const unsigned char *der, unsigned size,
                           unsigned &consumed, int depth, LogBase &log) {
        if (depth > DerReader::kMaxDepth) {
            log.logError(kMsgDerTooDeep);
            log.LogDataUint32("offset", (unsigned)(der - base));
            return nullptr;
        }
        DerHeader hdr;
        if (!DerReader::readHeader(der, size, hdr)) {
            log.logError(kMsgDerTruncated);
            log.LogDataUint32("offset", (unsigned)(der - base));
            return nullptr;
        }
        _tvAsn1 *node = create(hdr.tagClass, hdr.constructed, hdr.tag);
        if (!node) {
            log.logError(kMsgDerOutOfMemory);
            return nullptr;
        }
        RefCountedObjectOwner nodeOwner(node);
        const unsigned char *content = der + hdr.headerLen;
        if (hdr.constructed) {
            if (!decodeChildren(node, base, content, hdr.contentLen, depth, log))
                return nullptr;
        } else {
            if (!DerReader::validPrimitiveContent(hdr.tagClass, hdr.tag, content, hdr.contentLen)) {
                log.logError(kMsgDerBadContent);
                log.LogDataUint32("offset", (unsigned)(der - base));
                return nullptr;
            }
            if (!setContent(node, content, hdr.contentLen)) {
                log.logError(kMsgDerOutOfMemory);
                return nullptr;
            }
        }
        nodeOwner.release();
        consumed = hdr.headerLen + hdr.contentLen;
        return node;
    }

  private:
    // The children must fill the parent's content exactly.
    [[nodiscard]] static bool decodeChildren(_tvAsn1 *node, const unsigned char *base,
                                             const unsigned char *content, unsigned contentLen, int depth,
                                             LogBase &log) {
        unsigned pos = 0;
        while (pos < contentLen) {
            unsigned used = 0;
            _tvAsn1 *child = decode(base, content + pos, contentLen - pos, used, depth + 1, log);
            if (!child)
                return false;
            if (!node->AppendPart(child)) {
                log.logError(kMsgDerOutOfMemory);
                return false;
            }
            pos += used;
        }
        return true;
    }
};

_tvAsn1::_tvAsn1(int tagClass, bool constructed, int tag)
    : m_class(tagClass), m_constructed(constructed), m_tag(tag) {
    m_content.setSensitive();
}

_tvAsn1::~_tvAsn1() {
    for (_tvAsn1 *part : m_parts)
        part->decRefCount();
}

_tvAsn1 *_tvAsn1::newSequence() {
    return Asn1Builder::create(CLASS_UNIVERSAL, true, TAG_SEQUENCE);
}

_tvAsn1 *_tvAsn1::newInteger(int value) {
    _tvAsn1 *node = Asn1Builder::create(CLASS_UNIVERSAL, false, TAG_INTEGER);
    if (!node)
        return nullptr;
    // Two's complement, big-endian, without redundant leading 0x00 or 0xFF octets.
    unsigned char bytes[sizeof(long long)];
    const long long v = value;
    for (unsigned i = 0; i < sizeof bytes; ++i)
        bytes[i] = (unsigned char)(v >> (8 * (sizeof bytes - 1 - i)));
    unsigned start = 0;
    while (start + 1 < sizeof bytes) {
        const bool redundantZero = bytes[start] == 0x00 && !(bytes[start + 1] & 0x80);
        const bool redundantOnes = bytes[start] == 0xff && (bytes[start + 1] & 0x80);
        if (!redundantZero && !redundantOnes)
            break;
        ++start;
    }
    if (!Asn1Builder::setContent(node, bytes + start, (unsigned)(sizeof bytes - start))) {
        node->decRefCount();
        return nullptr;
    }
    return node;
}

_tvAsn1 *_tvAsn1::newOid(const char *dottedText) {
    if (!dottedText)
        return nullptr;
    // Arcs: the first is 0, 1 or 2; below 2 the second is at most 39; the first two share one
    // subidentifier, 40 * first + second.
    DataBuffer encoded;
    unsigned pos = 0;
    std::uint64_t first = 0, second = 0;
    if (!parseArc(dottedText, pos, first) || first > 2 || dottedText[pos++] != '.')
        return nullptr;
    if (!parseArc(dottedText, pos, second))
        return nullptr;
    if (first < 2 && second > 39)
        return nullptr;
    if (second > UINT64_MAX - 80)
        return nullptr;
    if (!appendSubidentifier(encoded, first * 40 + second))
        return nullptr;
    while (dottedText[pos] != '\0') {
        std::uint64_t arc = 0;
        if (dottedText[pos++] != '.' || !parseArc(dottedText, pos, arc))
            return nullptr;
        if (!appendSubidentifier(encoded, arc))
            return nullptr;
    }
    _tvAsn1 *node = Asn1Builder::create(CLASS_UNIVERSAL, false, TAG_OID);
    if (!node)
        return nullptr;
    if (!Asn1Builder::setContent(node, encoded.getData2(), encoded.getSize())) {
        node->decRefCount();
        return nullptr;
    }
    return node;
}

_tvAsn1 *_tvAsn1::newOctetString(const unsigned char *bytes, unsigned count) {
    if (!bytes && count != 0)
        return nullptr;
    _tvAsn1 *node = Asn1Builder::create(CLASS_UNIVERSAL, false, TAG_OCTET_STRING);
    if (!node)
        return nullptr;
    if (count != 0 && !Asn1Builder::setContent(node, bytes, count)) {
        node->decRefCount();
        return nullptr;
    }
    return node;
}

_tvAsn1 *_tvAsn1::newBitString(const unsigned char *bytes, unsigned count) {
    if ((!bytes && count != 0) || count == UINT32_MAX)
        return nullptr;
    _tvAsn1 *node = Asn1Builder::create(CLASS_UNIVERSAL, false, TAG_BIT_STRING);
    if (!node)
        return nullptr;
    const unsigned char noUnusedBits = 0;
    if (!node->m_content.ensureCapacity(count + 1) || !Asn1Builder::setContent(node, &noUnusedBits, 1) ||
        (count != 0 && !Asn1Builder::setContent(node, bytes, count))) {
        node->decRefCount();
        return nullptr;
    }
    return node;
}

_tvAsn1 *_tvAsn1::newContextSpecificContructed(int tagNumber) {
    if (tagNumber < 0 || tagNumber >= (1 << 28))
        return nullptr;
    return Asn1Builder::create(CLASS_CONTEXT, true, tagNumber);
}

bool _tvAsn1::AppendPart(_tvAsn1 *child) {
    if (!child)
        return false;
    if (child == this || !m_constructed) {
        child->decRefCount();
        return false;
    }
    try {
        m_parts.push_back(child);
    } catch (const std::bad_alloc &) {
        child->decRefCount();
        return false;
    }
    return true;
}

bool _tvAsn1::deletePart(int index) {
    if (index < 0 || index >= numAsnParts())
        return false;
    m_parts[(size_t)index]->decRefCount();
    m_parts.erase(m_parts.begin() + index);
    return true;
}

bool _tvAsn1::replacePart(int index, _tvAsn1 *child) {
    if (!child)
        return false;
    if (index < 0 || index >= numAsnParts() || child == this) {
        child->decRefCount();
        return false;
    }
    m_parts[(size_t)index]->decRefCount();
    m_parts[(size_t)index] = child;
    return true;
}

int _tvAsn1::numAsnParts() const {
    return (int)m_parts.size();
}

_tvAsn1 *_tvAsn1::getAsnPart(int index) const {
    if (index < 0 || index >= numAsnParts())
        return nullptr;
    return m_parts[(size_t)index];
}

bool _tvAsn1::isSequence() const {
    return m_class == CLASS_UNIVERSAL && m_constructed && m_tag == TAG_SEQUENCE;
}
bool _tvAsn1::isBitString() const {
    return m_class == CLASS_UNIVERSAL && !m_constructed && m_tag == TAG_BIT_STRING;
}
bool _tvAsn1::isOctetString() const {
    return m_class == CLASS_UNIVERSAL && !m_constructed && m_tag == TAG_OCTET_STRING;
}
bool _tvAsn1::isOid() const {
    return m_class == CLASS_UNIVERSAL && !m_constructed && m_tag == TAG_OID;
}

bool _tvAsn1::GetOid(StringBuffer &out) const {
    if (!isOid() || m_content.getSize() == 0)
        return false;
    const unsigned char *p = m_content.getData2();
    const unsigned len = m_content.getSize();
    StringBuffer dotted;
    char digits[24];
    std::uint64_t value = 0;
    bool firstSubid = true;
    for (unsigned i = 0; i < len; ++i) {
        const bool groupStart = (i == 0 || !(p[i - 1] & 0x80));
        if (groupStart && p[i] == 0x80)
            return false;  // non-minimal subidentifier
        if (value > (UINT64_MAX >> 7))
            return false;  // would overflow 64 bits
        value = (value << 7) | (p[i] & 0x7f);
        if (p[i] & 0x80)
            continue;
        if (firstSubid) {
            // The first subidentifier packs two arcs: 0.x and 1.x for x < 40, 2.x above.
            const unsigned firstArc = value < 40 ? 0 : (value < 80 ? 1 : 2);
            std::snprintf(digits, sizeof digits, "%u.%llu", firstArc,
                          (unsigned long long)(value - 40ull * firstArc));
            firstSubid = false;
        } else {
            std::snprintf(digits, sizeof digits, ".%llu", (unsigned long long)value);
        }
        if (!dotted.append(digits))
            return false;
        value = 0;
    }
    if (p[len - 1] & 0x80)
        return false;  // last subidentifier cut short
    return out.setString(dotted);
}

bool _tvAsn1::getAsnContent(DataBuffer &out) const {
    if (m_constructed)
        return false;
    return out.append(m_content);
}

int _tvAsn1::asnIntValue() const {
    const unsigned len = m_content.getSize();
    if (m_class != CLASS_UNIVERSAL || m_constructed || m_tag != TAG_INTEGER)
        return 0;
    if (len == 0 || len > sizeof(int))
        return 0;
    const unsigned char *p = m_content.getData2();
    if (len > 1 && ((p[0] == 0x00 && !(p[1] & 0x80)) || (p[0] == 0xff && (p[1] & 0x80))))
        return 0;
    long long value = p[0] < 0x80 ? p[0] : p[0] - 256;  // the first octet carries the sign
    for (unsigned i = 1; i < len; ++i)
        value = value * 256 + p[i];
    return (int)value;
}

_tvAsn1 *_tvAsn1::DecodeToAsn(const unsigned char *der, unsigned size, unsigned &consumed, LogBase &log) {
    consumed = 0;
    if (!der || size == 0) {
        log.logError(kMsgDerNoInput);
        return nullptr;
    }
    return Asn1Builder::decode(der, der, size, consumed, 1, log);
}

bool _tvAsn1::encodedLength(unsigned &len) const {
    std::uint64_t contentLen = 0;
    if (m_constructed) {
        for (const _tvAsn1 *part : m_parts) {
            unsigned partLen = 0;
            if (!part->encodedLength(partLen))
                return false;
            contentLen += partLen;
            if (contentLen > UINT32_MAX - kMaxHeaderLen)
                return false;
        }
    } else {
        contentLen = m_content.getSize();
        if (contentLen > UINT32_MAX - kMaxHeaderLen)
            return false;
    }
    len = headerLength(m_class, m_constructed, m_tag, (unsigned)contentLen) + (unsigned)contentLen;
    return true;
}

bool _tvAsn1::encodeInto(DataBuffer &out) const {
    unsigned contentLen = 0;
    if (m_constructed) {
        for (const _tvAsn1 *part : m_parts) {
            unsigned partLen = 0;
            if (!part->encodedLength(partLen))
                return false;
            contentLen += partLen;
        }
    } else {
        contentLen = m_content.getSize();
    }
    unsigned char header[kMaxHeaderLen];
    const unsigned headerLen = DerReader::writeHeader(m_class, m_constructed, m_tag, contentLen, header);
    if (!out.append(header, headerLen))
        return false;
    if (!m_constructed)
        return out.append(m_content);
    for (const _tvAsn1 *part : m_parts) {
        if (!part->encodeInto(out))
            return false;
    }
    return true;
}

bool _tvAsn1::EncodeToDer(DataBuffer &out, bool unused, LogBase &log) const {
    (void)unused;
    unsigned totalLen = 0;
    if (!encodedLength(totalLen) || out.getSize() > UINT32_MAX - totalLen) {
        log.logError("ASN.1 tree is too large to encode.");
        return false;
    }
    // Reserve everything first so that the appends below cannot fail half-way.
    if (!out.ensureCapacity(out.getSize() + totalLen) || !encodeInto(out)) {
        log.logError("Out of memory encoding ASN.1.");
        return false;
    }
    return true;
}

}  // namespace ecckey
