// _tvAsn1: a reference-counted ASN.1 tree node, used to read and write keys.
//
// Decoding is strict DER (see DerReader.h): definite lengths with minimal length octets, every length
// checked against what remains, bounded nesting. A node holds either content octets (primitive) or
// children (constructed). Builders return a node with one reference (null when memory is short);
// AppendPart takes over the caller's reference.
#pragma once

#include <vector>

#include "support/DataBuffer.h"
#include "support/Owners.h"

namespace ecckey {

class StringBuffer;
class LogBase;

class _tvAsn1 : public RefCountedObject {
  public:
    // Universal tag numbers tested by the module.
    enum Tag {
        TAG_INTEGER = 2,
        TAG_BIT_STRING = 3,
        TAG_OCTET_STRING = 4,
        TAG_NULL = 5,
        TAG_OID = 6,
        TAG_SEQUENCE = 16,
        TAG_SET = 17
    };
    enum TagClass { CLASS_UNIVERSAL = 0, CLASS_APPLICATION = 1, CLASS_CONTEXT = 2, CLASS_PRIVATE = 3 };

    // Builders.
    static _tvAsn1 *newSequence();
    static _tvAsn1 *newInteger(int value);
    static _tvAsn1 *newOid(const char *dottedText);  // null for malformed text
    static _tvAsn1 *newOctetString(const unsigned char *bytes, unsigned count);
    static _tvAsn1 *newBitString(const unsigned char *bytes, unsigned count);  // adds the unused-bits byte 0
    static _tvAsn1 *newContextSpecificContructed(int tagNumber);               // explicit [n] wrapper
    [[nodiscard]] bool AppendPart(
        _tvAsn1 *child);  // takes the reference; false (child released) when memory is short
    [[nodiscard]] bool deletePart(int index);
    // Puts child in the place of part index, which is released. Takes the reference; false (child released)
    // when index is out of range.
    [[nodiscard]] bool replacePart(int index, _tvAsn1 *child);

    // Readers.
    int numAsnParts() const;
    _tvAsn1 *getAsnPart(int index) const;  // borrowed; null when out of range
    [[nodiscard]] bool isSequence() const;
    [[nodiscard]] bool isBitString() const;
    [[nodiscard]] bool isOctetString() const;
    [[nodiscard]] bool isOid() const;
    [[nodiscard]] bool isConstructed() const { return m_constructed; }
    int tagNumber() const { return m_tag; }
    int tagClass() const { return m_class; }
    [[nodiscard]] bool GetOid(StringBuffer &out) const;  // dotted decimal; false when not a valid OID
    [[nodiscard]] bool getAsnContent(
        DataBuffer &out) const;  // appends the content octets (BIT STRING: with its
                                 // unused-bits byte); false for a constructed node
    int asnIntValue() const;     // value of a small INTEGER; 0 when not one

    // Coding. DecodeToAsn reads one element from the front of der and returns a new tree (null on any
    // malformation, logged); consumed receives its length. EncodeToDer appends DER.
    static _tvAsn1 *DecodeToAsn(const unsigned char *der, unsigned size, unsigned &consumed, LogBase &log);
    [[nodiscard]] bool EncodeToDer(DataBuffer &out, bool unused, LogBase &log) const;

  private:
    _tvAsn1(int tagClass, bool constructed, int tag);
    ~_tvAsn1() override;
    [[nodiscard]] bool encodedLength(unsigned &len) const;
    [[nodiscard]] bool encodeInto(DataBuffer &out) const;

    int m_class;
    bool m_constructed;
    int m_tag;
    DataBuffer m_content;            // primitive content (sensitive: it may carry a private scalar)
    std::vector<_tvAsn1 *> m_parts;  // constructed children, one reference each

    friend class Asn1Builder;
};

}  // namespace ecckey
