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
    ~tv_asnItem();  // deletes the sub-items
    tv_asnItem(const tv_asnItem &) = delete;
    tv_asnItem &operator=(const tv_asnItem &) = delete;

    static tv_asnItem *newSequence();  // an empty SEQUENCE the caller owns; null when memory is short

    // Appends an INTEGER holding a non-negative value: minimal positive DER (zero is the octet 0x00, and
    // a leading byte of 0x80 or more gets a 0x00 in front). False, the item unchanged, with "Cannot
    // append an INTEGER to a primitive ASN.1 item.", "Cannot write a negative value as an unsigned
    // INTEGER.", "Out of memory building ASN.1." or "Failed to append an INTEGER to the ASN.1 item.".
    [[nodiscard]] bool appendUnsignedInt(const mp_int &value, LogBase &log);
    // The same; kept as a separate entry because callers rely on the first content byte being below 0x80.
    [[nodiscard]] bool appendUnsignedInt_ensure7bit(const mp_int &value, LogBase &log);

    [[nodiscard]] bool isConstructed() const { return m_constructed; }
    int getTag() const { return m_tag; }
    int getTagClass() const { return m_class; }  // 0 universal, 1 application, 2 context, 3 private
    int numSubItems() const { return (int)m_children.size(); }  // 0 for a primitive item
    tv_asnItem *getSubItem_doNotDelete(int index) const;        // borrowed; null when out of range
    const DataBuffer &content() const { return m_content; }     // content octets; empty when constructed
    // Replaces out with the value of a universal INTEGER. False, out unchanged, with "ASN.1 item is not
    // an INTEGER.", "ASN.1 INTEGER is empty.", "ASN.1 INTEGER is negative." or "ASN.1 INTEGER is not
    // minimally encoded."; with "Failed to convert ASN.1 INTEGER." when memory is short (out undefined).
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
    // Appends the item's DER. Room for it is reserved first: false, out unchanged and nothing logged,
    // for a null item, an encoding too large for 32-bit sizes, or when memory is short.
    [[nodiscard]] static bool EncodeAsn(const tv_asnItem *item, DataBuffer &out);
    // Decodes the one element at the front of bytes (bytes after it are left to the caller) into a new
    // item the caller owns; consumed receives its length. Null, consumed 0, on the first fault, logged as "No
    // DER input to decode.", "ASN.1 nesting exceeds the depth limit.", "Invalid or truncated DER element.",
    // "Invalid DER content for its ASN.1 type." or "Out of memory decoding ASN.1.", each but the first
    // followed by the data item "offset".
    static tv_asnItem *DecodeAsn(const unsigned char *bytes, unsigned count, unsigned &consumed,
                                 LogBase &log);
    // Writes a readable dump of der to the log as the data item "der": one XML-like line per element, two
    // spaces of indent per level. OIDs, texts, BOOLEANs and INTEGERs of up to 8 octets show their value;
    // everything else, which may hold a private key, only its length. DER that does not decode gives
    // <invalidDer len="N"/>, bytes after the first element <trailing len="N"/>. When memory is short it
    // logs "Out of memory writing the DER dump." instead of a partial dump.
    static void logDerAsXml(const DataBuffer &der, LogBase &log);
};

}  // namespace ecckey
