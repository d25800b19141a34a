// tv_asnItem and _tvDer: the item model used for ECDSA signatures.
//
// An item is a tree owned by its parent: a caller owns the root it got from newSequence or
// _tvDer::DecodeAsn (hold it in an ObjectOwner) and borrows the sub-items.
#pragma once

#include <memory>
#include <vector>

#include "support/DataBuffer.h"

namespace ecckey {

class mp_int;
class LogBase;

class tv_asnItem {
  public:
    ~tv_asnItem();
    tv_asnItem(const tv_asnItem &) = delete;
    tv_asnItem &operator=(const tv_asnItem &) = delete;

    static tv_asnItem *newSequence();  // null when memory is short

    // Appends an INTEGER holding a non-negative value: always positive DER (a 0x00 octet in front of a
    // leading byte of 0x80 or more). Fails for a negative value.
    [[nodiscard]] bool appendUnsignedInt(const mp_int &value, LogBase &log);
    // The same; kept as a separate entry because callers rely on the first content byte being below 0x80.
    [[nodiscard]] bool appendUnsignedInt_ensure7bit(const mp_int &value, LogBase &log);

    [[nodiscard]] bool isConstructed() const { return m_constructed; }
    int getTag() const { return m_tag; }
    int getTagClass() const { return m_class; }
    int numSubItems() const { return (int)m_children.size(); }
    tv_asnItem *getSubItem_doNotDelete(int index) const;  // null when out of range
    const DataBuffer &content() const { return m_content; }
    // Reads an INTEGER; rejects a negative or non-minimally encoded one and anything that is not an
    // INTEGER.
    [[nodiscard]] bool get_mp(mp_int &out, LogBase &log) const;

  private:
    tv_asnItem(int tagClass, bool constructed, int tag);

    int m_class;
    bool m_constructed;
    int m_tag;
    DataBuffer m_content;
    std::vector<tv_asnItem *> m_children;

    friend class _tvDer;
};

class _tvDer {
  public:
    [[nodiscard]] static bool EncodeAsn(const tv_asnItem *item, DataBuffer &out);  // appends DER
    // Decodes one element from the front of bytes; a new item the caller owns, or null (logged).
    static tv_asnItem *DecodeAsn(const unsigned char *bytes, unsigned count, unsigned &consumed,
                                 LogBase &log);
    // Writes a readable dump of DER to the log (data item "der", one XML-ish line per element).
    static void logDerAsXml(const DataBuffer &der, LogBase &log);
};

}  // namespace ecckey
