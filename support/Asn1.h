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

    // Builders: each returns a new node holding one reference (the caller's), or null when memory is
    // short or, as stated, the arguments are refused. Nothing is logged.
    static _tvAsn1 *newSequence();
    static _tvAsn1 *newInteger(int value);  // minimal two's complement
    // Null for a null text, or one that is not two or more dotted decimal arcs (no sign, no leading zero,
    // each within 64 bits), a first arc above 2, or a second arc above 39 under a first arc of 0 or 1.
    static _tvAsn1 *newOid(const char *dottedText);
    // The two strings refuse null bytes with a non-zero count; a BIT STRING gets the unused-bits byte 0
    // in front of the bytes.
    static _tvAsn1 *newOctetString(const unsigned char *bytes, unsigned count);
    static _tvAsn1 *newBitString(const unsigned char *bytes, unsigned count);
    // An empty explicit [tagNumber] wrapper; null for a tag number outside [0, 2^28).
    static _tvAsn1 *newContextSpecificContructed(int tagNumber);
    // Adds child as the last part, taking over the caller's reference. False for a null child (nothing
    // released), and, with child released, when child is this node, this node is primitive, or memory
    // is short.
    [[nodiscard]] bool AppendPart(_tvAsn1 *child);
    // Releases part index and closes the gap; false, nothing changed, when index is out of range.
    [[nodiscard]] bool deletePart(int index);
    // Puts child in the place of part index, which is released. Takes the reference; false for a null
    // child (nothing released), and, with child released, when index is out of range or child is this
    // node.
    [[nodiscard]] bool replacePart(int index, _tvAsn1 *child);

    // Readers. None logs.
    int numAsnParts() const;               // 0 for a primitive node
    _tvAsn1 *getAsnPart(int index) const;  // borrowed; null when out of range
    // True for a universal node of the type in its DER form (SEQUENCE constructed, the others primitive).
    [[nodiscard]] bool isSequence() const;
    [[nodiscard]] bool isBitString() const;
    [[nodiscard]] bool isOctetString() const;
    [[nodiscard]] bool isOid() const;
    [[nodiscard]] bool isConstructed() const { return m_constructed; }
    int tagNumber() const { return m_tag; }
    int tagClass() const { return m_class; }  // a TagClass
    // Replaces out with the OID in dotted decimal. False, out unchanged, for a node that is not an OID, an
    // empty one, a subidentifier that is not minimal, runs past 64 bits or is cut short; out may be empty
    // after a false when memory is short.
    [[nodiscard]] bool GetOid(StringBuffer &out) const;
    // Appends the content octets (BIT STRING: with its unused-bits byte). False for a constructed node
    // and when memory is short; out is then unchanged.
    [[nodiscard]] bool getAsnContent(DataBuffer &out) const;
    // The value of a universal INTEGER of one to four minimal octets; 0 for anything else, which a caller
    // cannot tell from an INTEGER 0.
    int asnIntValue() const;

    // Coding.
    // Decodes the one element at the front of der (bytes after it are left to the caller) and returns a
    // new tree holding one reference; consumed receives the element's length. Null, with consumed 0, on
    // the first fault, logged as "No DER input to decode." (null or empty der), "ASN.1 nesting exceeds
    // the depth limit.", "Invalid or truncated DER element.", "Invalid DER content for its ASN.1 type."
    // (each followed by the data item "offset", the fault's position in der) or "Out of memory decoding
    // ASN.1.". Content octets are held in sensitive buffers.
    static _tvAsn1 *DecodeToAsn(const unsigned char *der, unsigned size, unsigned &consumed, LogBase &log);
    // Appends the tree's DER (the flag is accepted and has no effect). Room for the whole encoding is
    // reserved first: on failure out is unchanged, with "ASN.1 tree is too large to encode." (it would
    // pass 2^32 - 1 bytes) or "Out of memory encoding ASN.1." logged.
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
