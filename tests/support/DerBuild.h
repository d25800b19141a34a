// Hand-built DER for tests: each helper returns the complete TLV, so malformed and unusual key structures
// can be written without the module's own encoder.
#pragma once

#include <openssl/objects.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace ecckey_test {
namespace der {

using Bytes = std::vector<unsigned char>;

inline Bytes tlv(unsigned char tag, const Bytes &content) {
    Bytes out{tag};
    size_t n = content.size();
    if (n < 0x80) {
        out.push_back((unsigned char)n);
    } else {
        Bytes len;
        while (n) {
            len.insert(len.begin(), (unsigned char)(n & 0xFF));
            n >>= 8;
        }
        out.push_back((unsigned char)(0x80 | len.size()));
        out.insert(out.end(), len.begin(), len.end());
    }
    out.insert(out.end(), content.begin(), content.end());
    return out;
}

inline Bytes cat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes &p : parts)
        out.insert(out.end(), p.begin(), p.end());
    return out;
}

inline Bytes seq(std::initializer_list<Bytes> parts) {
    return tlv(0x30, cat(parts));
}
inline Bytes ctx(int n, std::initializer_list<Bytes> parts) {
    return tlv((unsigned char)(0xA0 | n), cat(parts));
}
inline Bytes integer(int v) {
    return tlv(0x02, Bytes{(unsigned char)v});
}
inline Bytes octets(const Bytes &b) {
    return tlv(0x04, b);
}
inline Bytes bits(const Bytes &b) {
    Bytes c{0};
    c.insert(c.end(), b.begin(), b.end());
    return tlv(0x03, c);
}
inline Bytes null() {
    return Bytes{0x05, 0x00};
}

// An OBJECT IDENTIFIER from dotted text, encoded by OpenSSL.
inline Bytes oid(const std::string &dotted) {
    ASN1_OBJECT *o = OBJ_txt2obj(dotted.c_str(), 1);
    int n = i2d_ASN1_OBJECT(o, nullptr);
    Bytes out((size_t)n);
    unsigned char *p = out.data();
    i2d_ASN1_OBJECT(o, &p);
    ASN1_OBJECT_free(o);
    return out;
}

inline const char *ecPublicKeyOid() {
    return "1.2.840.10045.2.1";
}

}  // namespace der
}  // namespace ecckey_test
