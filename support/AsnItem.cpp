// tv_asnItem and _tvDer: the item model of ECDSA signatures, and a readable dump of any DER.
#include "support/AsnItem.h"

#include <new>

#include "support/Asn1.h"
#include "support/DerMessages.h"
#include "support/DerReader.h"
#include "support/LogBase.h"
#include "support/MpInt.h"
#include "support/Owners.h"
#include "support/StringBuffer.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

const int kTagInteger = 2;
const int kTagSequence = 16;

}  // namespace

tv_asnItem::tv_asnItem(int tagClass, bool constructed, int tag)
    : m_class(tagClass), m_constructed(constructed), m_tag(tag) {}

tv_asnItem::~tv_asnItem() {
    for (tv_asnItem *child : m_children)
        delete child;
}

tv_asnItem *tv_asnItem::newSequence() {
    return new (std::nothrow) tv_asnItem(0, true, kTagSequence);
}

bool tv_asnItem::appendUnsignedInt(const mp_int &value, LogBase &log) {
    if (!m_constructed) {
        log.logError("Cannot append an INTEGER to a primitive ASN.1 item.");
        return false;
    }
    if (TovarMp::isNegative(value)) {
        log.logError("Cannot write a negative value as an unsigned INTEGER.");
        return false;
    }
    ObjectOwner<tv_asnItem> item(new (std::nothrow) tv_asnItem(0, false, kTagInteger));
    if (!item.get()) {
        log.logError("Out of memory building ASN.1.");
        return false;
    }
    DataBuffer &content = item.get()->m_content;
    // Minimal magnitude; zero is the single octet 0x00, and a leading octet of 0x80 or more gets a
    // 0x00 in front so the INTEGER stays positive.
    bool ok = TovarMp::mpint_to_db(value, content);
    if (ok && content.getSize() == 0)
        ok = content.appendChar(0);
    if (ok && content[0] >= 0x80) {
        const unsigned char zero = 0;
        ok = content.prepend(&zero, 1);
    }
    if (ok) {
        try {
            m_children.push_back(item.get());
            item.release();
        } catch (const std::bad_alloc &) {
            ok = false;
        }
    }
    if (!ok)
        log.logError("Failed to append an INTEGER to the ASN.1 item.");
    return ok;
}

bool tv_asnItem::appendUnsignedInt_ensure7bit(const mp_int &value, LogBase &log) {
    return appendUnsignedInt(value, log);
}

tv_asnItem *tv_asnItem::getSubItem_doNotDelete(int index) const {
    if (index < 0 || index >= numSubItems())
        return nullptr;
    return m_children[(size_t)index];
}

bool tv_asnItem::get_mp(mp_int &out, LogBase &log) const {
    if (m_class != 0 || m_constructed || m_tag != kTagInteger) {
        log.logError("ASN.1 item is not an INTEGER.");
        return false;
    }
    const unsigned len = m_content.getSize();
    if (len == 0) {
        log.logError("ASN.1 INTEGER is empty.");
        return false;
    }
    const unsigned char *p = m_content.getData2();
    if (p[0] & 0x80) {
        log.logError("ASN.1 INTEGER is negative.");
        return false;
    }
    if (len > 1 && p[0] == 0x00 && !(p[1] & 0x80)) {
        log.logError("ASN.1 INTEGER is not minimally encoded.");
        return false;
    }
    if (!TovarMp::mpint_from_bytes(out, p, len)) {
        log.logError("Failed to convert ASN.1 INTEGER.");
        return false;
    }
    return true;
}

namespace {

[[nodiscard]] bool contentLength(const tv_asnItem *item, unsigned long long &len) {
    if (!item->isConstructed()) {
        len = item->content().getSize();
        return true;
    }
    len = 0;
    for (int i = 0; i < item->numSubItems(); ++i) {
        const tv_asnItem *child = item->getSubItem_doNotDelete(i);
        unsigned long long childLen = 0;
        if (!contentLength(child, childLen))
            return false;
        unsigned char header[10];
        len += DerReader::writeHeader(child->getTagClass(), child->isConstructed(), child->getTag(),
                                      (unsigned)childLen, header) +
               childLen;
        if (len > 0xffff0000ull)
            return false;
    }
    return true;
}

[[nodiscard]] bool encodeItem(const tv_asnItem *item, DataBuffer &out) {
    unsigned long long len = 0;
    if (!contentLength(item, len))
        return false;
    unsigned char header[10];
    const unsigned headerLen = DerReader::writeHeader(item->getTagClass(), item->isConstructed(),
                                                      item->getTag(), (unsigned)len, header);
    if (!out.append(header, headerLen))
        return false;
    if (!item->isConstructed())
        return out.append(item->content());
    for (int i = 0; i < item->numSubItems(); ++i) {
        if (!encodeItem(item->getSubItem_doNotDelete(i), out))
            return false;
    }
    return true;
}

}  // namespace

bool _tvDer::EncodeAsn(const tv_asnItem *item, DataBuffer &out) {
    unsigned long long contentLen = 0;
    if (!item || !contentLength(item, contentLen))
        return false;
    // Reserve everything first so that the appends cannot fail half-way.
    const unsigned long long totalLen = out.getSize() + contentLen + 10;
    return totalLen <= 0xffffffffull && out.ensureCapacity((unsigned)totalLen) && encodeItem(item, out);
}

tv_asnItem *_tvDer::DecodeAsn(const unsigned char *bytes, unsigned count, unsigned &consumed, LogBase &log) {
    // A local class of a friend's member shares its access to tv_asnItem's constructor and members.
    struct Decoder {
        const unsigned char *base;  // start of the whole input, for the offsets in messages
        LogBase &log;

        tv_asnItem *fail(const char *message, const unsigned char *at) {
            log.logError(message);
            log.LogDataUint32("offset", (unsigned)(at - base));
            return nullptr;
        }

        // Decodes the element at the front of bytes; the children of a constructed element must fill
        // its content exactly.
        tv_asnItem *decode(const unsigned char *bytes, unsigned count, unsigned &consumed, int depth) {
            if (depth > DerReader::kMaxDepth)
                return fail(kMsgDerTooDeep, bytes);
            DerHeader hdr;
            if (!DerReader::readHeader(bytes, count, hdr))
                return fail(kMsgDerTruncated, bytes);
            const unsigned char *content = bytes + hdr.headerLen;
            if (!hdr.constructed &&
                !DerReader::validPrimitiveContent(hdr.tagClass, hdr.tag, content, hdr.contentLen))
                return fail(kMsgDerBadContent, bytes);
            ObjectOwner<tv_asnItem> item(new (std::nothrow)
                                             tv_asnItem(hdr.tagClass, hdr.constructed, hdr.tag));
            if (!item.get() || (!hdr.constructed && !item.get()->m_content.append(content, hdr.contentLen)))
                return fail(kMsgDerOutOfMemory, bytes);
            unsigned pos = 0;
            while (hdr.constructed && pos < hdr.contentLen) {
                unsigned used = 0;
                ObjectOwner<tv_asnItem> child(decode(content + pos, hdr.contentLen - pos, used, depth + 1));
                if (!child.get())
                    return nullptr;
                try {
                    item.get()->m_children.push_back(child.get());
                } catch (const std::bad_alloc &) {
                    return fail(kMsgDerOutOfMemory, bytes);
                }
                child.release();
                pos += used;
            }
            consumed = hdr.headerLen + hdr.contentLen;
            return item.release();
        }
    };

    consumed = 0;
    if (!bytes || count == 0) {
        log.logError(kMsgDerNoInput);
        return nullptr;
    }
    Decoder decoder{bytes, log};
    return decoder.decode(bytes, count, consumed, 1);
}

namespace {

// Element names of the dump, for the universal types a key or signature holds.
const char *universalName(int tag) {
    switch (tag) {
        case 1:
            return "bool";
        case 2:
            return "int";
        case 3:
            return "bits";
        case 4:
            return "octets";
        case 5:
            return "null";
        case 6:
            return "oid";
        case 12:
            return "utf8";
        case 16:
            return "sequence";
        case 17:
            return "set";
        case 19:
            return "printable";
        case 22:
            return "ia5";
        case 23:
            return "utctime";
        case 24:
            return "gentime";
        default:
            return nullptr;
    }
}

[[nodiscard]] bool isTextType(int tag) {
    return tag == 12 || tag == 19 || tag == 22 || tag == 23 || tag == 24;
}

[[nodiscard]] bool appendEscaped(StringBuffer &out, const unsigned char *text, unsigned len) {
    bool ok = true;
    for (unsigned i = 0; i < len && ok; ++i) {
        const unsigned char c = text[i];
        if (c == '<')
            ok = out.append("&lt;");
        else if (c == '>')
            ok = out.append("&gt;");
        else if (c == '&')
            ok = out.append("&amp;");
        else if (c < 0x20 || c > 0x7e)
            ok = out.appendChar('.');
        else
            ok = out.appendChar((char)c);
    }
    return ok;
}

// One line per element, two spaces of indent per level. Only structure, OIDs, texts and INTEGERs of at
// most 8 octets are shown: OCTET STRINGs, BIT STRINGs and long INTEGERs may hold a private key, so
// they appear with their length only.
[[nodiscard]] bool dumpNode(const _tvAsn1 &node, int depth, StringBuffer &out) {
    bool ok = true;
    for (int i = 0; i < depth; ++i)
        ok = out.append("  ") && ok;
    static const char *const classNames[] = {"universal", "application", "contextSpecific", "private"};
    const char *name =
        node.tagClass() == _tvAsn1::CLASS_UNIVERSAL ? universalName(node.tagNumber()) : nullptr;
    const char *closeName = name ? name : classNames[node.tagClass() & 3];
    StringBuffer open;
    if (name)
        ok = open.append(name) && ok;
    else
        ok =
            open.append2(closeName, " tag=\"") && open.append(node.tagNumber()) && open.appendChar('"') && ok;
    if (node.isConstructed()) {
        ok = out.append3("<", open.getString(), ">\n") && ok;
        for (int i = 0; i < node.numAsnParts(); ++i)
            ok = dumpNode(*node.getAsnPart(i), depth + 1, out) && ok;
        for (int i = 0; i < depth; ++i)
            ok = out.append("  ") && ok;
        return out.append3("</", closeName, ">\n") && ok;
    }
    DataBuffer content;
    content.setSensitive();
    // A constructed node never gets here, so the content is always there to read.
    ok = node.getAsnContent(content) && ok;
    StringBuffer oid;
    ok = out.append2("<", open.getString()) && ok;
    if (node.tagClass() == _tvAsn1::CLASS_UNIVERSAL && node.tagNumber() == _tvAsn1::TAG_OID &&
        node.GetOid(oid)) {
        ok = out.append3(">", oid.getString(), "</oid>\n") && ok;
    } else if (name && (isTextType(node.tagNumber()) || (node.tagNumber() == 2 && content.getSize() <= 8) ||
                        node.tagNumber() == 1)) {
        ok = out.append(">") && ok;
        if (isTextType(node.tagNumber()))
            ok = appendEscaped(out, content.getData2(), content.getSize()) && ok;
        else
            ok = DataBuffer::toHexString2(content.getData2(), content.getSize(), false, out) && ok;
        ok = out.append3("</", name, ">\n") && ok;
    } else {
        ok = out.append(" len=\"") && out.append((int)content.getSize()) && out.append("\"/>\n") && ok;
    }
    return ok;
}

}  // namespace

void _tvDer::logDerAsXml(const DataBuffer &der, LogBase &log) {
    StringBuffer dump;
    unsigned consumed = 0;
    LogNull quiet;
    _tvAsn1 *root = _tvAsn1::DecodeToAsn(der.getData2(), der.getSize(), consumed, quiet);
    RefCountedObjectOwner rootOwner(root);
    bool ok;
    if (!root) {
        ok = dump.append("<invalidDer len=\"") && dump.append((int)der.getSize()) && dump.append("\"/>\n");
    } else {
        ok = dumpNode(*root, 0, dump);
        if (consumed < der.getSize()) {
            ok = dump.append("<trailing len=\"") && dump.append((int)(der.getSize() - consumed)) &&
                 dump.append("\"/>\n") && ok;
        }
    }
    // A dump with lines missing would mislead whoever reads it.
    if (!ok) {
        log.logError("Out of memory writing the DER dump.");
        return;
    }
    log.LogDataSb("der", dump);
}

}  // namespace ecckey
