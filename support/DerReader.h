// DerReader: the strict DER tokenizer under both ASN.1 models.
//
// Accepts only DER: single-byte and high-tag-number identifiers (tag numbers up to 2^28), definite
// lengths in minimal form (no 0x80 indefinite length, no 0x81 for a length below 128, no leading zero
// length octets, at most four length octets), each length checked against the bytes that remain before
// anything is read. Nesting deeper than kMaxDepth is refused.
#pragma once

namespace ecckey {

struct DerHeader {
    int tagClass = 0;  // 0 universal, 1 application, 2 context, 3 private
    bool constructed = false;
    int tag = 0;
    unsigned headerLen = 0;  // identifier plus length octets
    unsigned contentLen = 0;
};

class DerReader {
  public:
    // The deepest nesting the decoders accept, the outermost element being level 1.
    static const int kMaxDepth = 32;

    // Reads the identifier and length octets of the element at the front of bytes into hdr. False, hdr
    // unchanged, for null or fewer than two bytes, anything that is not DER (see above; also a universal tag
    // 0, and a universal type in the other form: SEQUENCE and SET are constructed, the rest primitive), and
    // content that would run past count. Nothing is logged.
    [[nodiscard]] static bool readHeader(const unsigned char *bytes, unsigned count, DerHeader &hdr);
    // Writes a header (identifier and minimal length) into out[0..]; returns its length (at most 10, so
    // out needs room for 10). tagClass is taken modulo 4; tag must lie in [0, 2^28).
    static unsigned writeHeader(int tagClass, bool constructed, int tag, unsigned contentLen,
                                unsigned char *out);
    // The content rules DER adds for a few primitive universal types: BOOLEAN is one octet, 0x00 or
    // 0xFF; NULL is empty; BIT STRING starts with an unused-bits octet of at most 7 (0 when no data
    // octets follow) and its unused bits are zero. Every other type, and every non-universal tag, is
    // accepted here; INTEGER and OID contents are checked by their readers. content must hold len bytes.
    [[nodiscard]] static bool validPrimitiveContent(int tagClass, int tag, const unsigned char *content,
                                                    unsigned len);
};

}  // namespace ecckey
