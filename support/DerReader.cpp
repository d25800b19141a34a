// DerReader: identifier and length octets of one DER element, read strictly.
#include "support/DerReader.h"

namespace ecckey {

namespace {

const unsigned char kConstructedBit = 0x20;
const unsigned char kHighTagForm = 0x1f;
const int kMaxTag = (1 << 28) - 1;  // four base-128 octets
const unsigned kMaxLengthOctets = 4;

// Universal types whose DER form is fixed: SEQUENCE and SET are always constructed, everything else
// (INTEGER, BIT STRING, OCTET STRING, OID, strings, times) is always primitive. Tag 0 is the BER
// end-of-contents marker, which DER never uses.
[[nodiscard]] bool universalFormAllowed(int tag, bool constructed) {
    if (tag == 0)
        return false;
    const bool mustBeConstructed = (tag == 16 || tag == 17);
    return constructed == mustBeConstructed;
}

// Reads a high-tag-number identifier (the octets after the first). DER wants the fewest octets, so
// the first may not be 0x80, and numbers below 31 must use the one-octet form.
[[nodiscard]] bool readHighTag(const unsigned char *bytes, unsigned count, unsigned &pos, int &tag) {
    long value = 0;
    for (int numOctets = 0;; ++numOctets) {
        if (pos >= count || numOctets == 4)
            return false;
        const unsigned char b = bytes[pos++];
        if (numOctets == 0 && b == 0x80)
            return false;
        value = (value << 7) | (b & 0x7f);
        if (!(b & 0x80))
            break;
    }
    if (value < kHighTagForm || value > kMaxTag)
        return false;
    tag = (int)value;
    return true;
}

// Reads the length octets: definite, minimal, at most four long-form octets.
[[nodiscard]] bool readLength(const unsigned char *bytes, unsigned count, unsigned &pos, unsigned &len) {
    if (pos >= count)
        return false;
    const unsigned char first = bytes[pos++];
    if (first < 0x80) {
        len = first;
        return true;
    }
    const unsigned numOctets = first & 0x7f;
    if (numOctets == 0 || numOctets > kMaxLengthOctets)
        return false;  // 0x80 is the indefinite form
    if (numOctets > count - pos)
        return false;
    if (bytes[pos] == 0)
        return false;  // leading zero octet
    unsigned value = 0;
    for (unsigned i = 0; i < numOctets; ++i)
        value = (value << 8) | bytes[pos++];
    if (value < 0x80)
        return false;  // would have fitted the short form
    len = value;
    return true;
}

// An unused-bits octet of at most 7, zero when there are no data octets, and zero unused bits.
[[nodiscard]] bool validBitStringContent(const unsigned char *content, unsigned len) {
    if (len == 0)
        return false;
    const unsigned unusedBits = content[0];
    if (unusedBits > 7)
        return false;
    if (len == 1)
        return unusedBits == 0;
    const unsigned char padMask = (unsigned char)((1u << unusedBits) - 1);
    return (content[len - 1] & padMask) == 0;
}

}  // namespace

bool DerReader::readHeader(const unsigned char *bytes, unsigned count, DerHeader &hdr) {
    if (!bytes || count < 2)
        return false;
    unsigned pos = 0;
    const unsigned char id = bytes[pos++];
    DerHeader h;
    h.tagClass = id >> 6;
    h.constructed = (id & kConstructedBit) != 0;
    h.tag = id & kHighTagForm;
    if (h.tag == kHighTagForm && !readHighTag(bytes, count, pos, h.tag))
        return false;
    if (h.tagClass == 0 && !universalFormAllowed(h.tag, h.constructed))
        return false;
    if (!readLength(bytes, count, pos, h.contentLen))
        return false;
    if (h.contentLen > count - pos)
        return false;  // content would run past the input
    h.headerLen = pos;
    hdr = h;
    return true;
}

unsigned DerReader::writeHeader(int tagClass, bool constructed, int tag, unsigned contentLen,
                                unsigned char *out) {
    unsigned pos = 0;
    const unsigned char id = (unsigned char)(((tagClass & 3) << 6) | (constructed ? kConstructedBit : 0));
    if (tag < kHighTagForm) {
        out[pos++] = (unsigned char)(id | tag);
    } else {
        out[pos++] = (unsigned char)(id | kHighTagForm);
        int numOctets = 1;
        while (numOctets < 4 && (tag >> (7 * numOctets)) != 0)
            ++numOctets;
        for (int i = numOctets - 1; i >= 0; --i) {
            const unsigned char more = i > 0 ? 0x80 : 0x00;
            out[pos++] = (unsigned char)(more | ((tag >> (7 * i)) & 0x7f));
        }
    }
    if (contentLen < 0x80) {
        out[pos++] = (unsigned char)contentLen;
        return pos;
    }
    unsigned numOctets = 1;
    while (numOctets < 4 && (contentLen >> (8 * numOctets)) != 0)
        ++numOctets;
    out[pos++] = (unsigned char)(0x80 | numOctets);
    for (int i = (int)numOctets - 1; i >= 0; --i)
        out[pos++] = (unsigned char)(contentLen >> (8 * i));
    return pos;
}

bool DerReader::validPrimitiveContent(int tagClass, int tag, const unsigned char *content, unsigned len) {
    if (tagClass != 0)
        return true;
    switch (tag) {
        case 1:  // BOOLEAN
            return len == 1 && (content[0] == 0x00 || content[0] == 0xff);
        case 5:  // NULL
            return len == 0;
        case 3:  // BIT STRING
            return validBitStringContent(content, len);
        default:
            return true;
    }
}

}  // namespace ecckey
