// Building and reading ASN.1: the builders of both models against OpenSSL's encoders, the readers
// (OIDs, small INTEGERs, get_mp) against malformed content, tree round trips and the readable dump.
#include <gtest/gtest.h>
#include <openssl/asn1.h>
#include <openssl/bn.h>
#include <openssl/objects.h>
#include <openssl/x509.h>

#include <climits>
#include <string>
#include <vector>

#include "support/Asn1.h"
#include "support/AsnItem.h"
#include "support/LogBase.h"
#include "support/Oracle.h"
#include "support/TestPrng.h"

using namespace ecckey;
using Bytes = std::vector<unsigned char>;

namespace {

Bytes encode(const _tvAsn1 &node) {
    DataBuffer out;
    LogNull log;
    EXPECT_TRUE(node.EncodeToDer(out, false, log));
    return Bytes(out.getData2(), out.getData2() + out.getSize());
}

_tvAsn1 *decode(const Bytes &der) {
    unsigned consumed = 0;
    LogNull log;
    return _tvAsn1::DecodeToAsn(der.data(), (unsigned)der.size(), consumed, log);
}

Bytes opensslInteger(long value) {
    ASN1_INTEGER *ai = ASN1_INTEGER_new();
    ASN1_INTEGER_set_int64(ai, value);
    unsigned char *p = nullptr;
    const int n = i2d_ASN1_INTEGER(ai, &p);
    Bytes der(p, p + n);
    OPENSSL_free(p);
    ASN1_INTEGER_free(ai);
    return der;
}

Bytes opensslOid(const char *dotted) {
    ASN1_OBJECT *obj = OBJ_txt2obj(dotted, 1);
    if (!obj)
        return {};
    unsigned char *p = nullptr;
    const int n = i2d_ASN1_OBJECT(obj, &p);
    Bytes der(p, p + n);
    OPENSSL_free(p);
    ASN1_OBJECT_free(obj);
    return der;
}

// Structural equality of two trees: class, form, tag, content and children.
bool sameTree(const _tvAsn1 &a, const _tvAsn1 &b) {
    if (a.tagClass() != b.tagClass() || a.isConstructed() != b.isConstructed() ||
        a.tagNumber() != b.tagNumber() || a.numAsnParts() != b.numAsnParts())
        return false;
    DataBuffer ca, cb;
    a.getAsnContent(ca);
    b.getAsnContent(cb);
    if (!ca.equals(cb))
        return false;
    for (int i = 0; i < a.numAsnParts(); ++i)
        if (!sameTree(*a.getAsnPart(i), *b.getAsnPart(i)))
            return false;
    return true;
}

TEST(Asn1Builders, IntegersMatchOpensslAndReadBack) {
    const long values[] = {0, 1, -1, 127, 128, -128, -129, 255, 256, 32767, -32768, 65535, INT_MAX, INT_MIN};
    for (long v : values) {
        _tvAsn1 *node = _tvAsn1::newInteger((int)v);
        ASSERT_NE(nullptr, node);
        RefCountedObjectOwner owner(node);
        EXPECT_EQ(opensslInteger(v), encode(*node)) << v;
        EXPECT_EQ((int)v, node->asnIntValue()) << v;
    }
}

TEST(Asn1Builders, OidsMatchOpensslAndReadBack) {
    const char *oids[] = {"1.2.840.10045.2.1",
                          "1.2.840.10045.3.1.7",
                          "1.3.132.0.35",
                          "1.3.36.3.3.2.8.1.1.13",
                          "0.0",
                          "0.39",
                          "1.39.5",
                          "2.0",
                          "2.39",
                          "2.40",
                          "2.999.3",
                          "1.2.18446744073709551615"};
    for (const char *text : oids) {
        SCOPED_TRACE(text);
        _tvAsn1 *node = _tvAsn1::newOid(text);
        const Bytes expected = opensslOid(text);
        ASSERT_NE(nullptr, node);
        RefCountedObjectOwner owner(node);
        EXPECT_EQ(expected, encode(*node));
        StringBuffer back;
        ASSERT_TRUE(node->GetOid(back));
        EXPECT_STREQ(text, back.getString());
        EXPECT_TRUE(node->isOid());
    }
}

TEST(Asn1Builders, RefuseMalformedOidText) {
    const char *bad[] = {"", "1", "3.1", "1.40", "0.40", "1..2", "1.2.", ".1.2", "1.02", "01.2", "1.2.a",
                         "1.2 ", "-1.2", "1.+2", "1.2.18446744073709551616", "2.18446744073709551600",
                         // UUID arcs are 128 bits; arcs are kept to 64 bits, and no key OID needs more.
                         "2.25.329800735698586629295641978511506172918"};
    for (const char *text : bad)
        EXPECT_EQ(nullptr, _tvAsn1::newOid(text)) << "'" << text << "'";
    EXPECT_EQ(nullptr, _tvAsn1::newOid(nullptr));
}

TEST(Asn1Readers, RefuseMalformedOidContent) {
    const std::vector<Bytes> bad = {
        {0x06, 0x00},                    // empty
        {0x06, 0x02, 0x80, 0x01},        // first subidentifier padded with 0x80
        {0x06, 0x03, 0x2a, 0x80, 0x01},  // later subidentifier padded
        {0x06, 0x02, 0x2a, 0x81},        // last subidentifier cut short
        {0x06, 0x0b, 0x2a, 0x82, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00},  // over 64 bits
        {0x04, 0x01, 0x2a},                                                              // not an OID at all
    };
    for (const Bytes &der : bad) {
        _tvAsn1 *node = decode(der);
        ASSERT_NE(nullptr, node) << ecckey_test::hexOf(der.data(), der.size());
        RefCountedObjectOwner owner(node);
        StringBuffer out("unchanged");
        EXPECT_FALSE(node->GetOid(out)) << ecckey_test::hexOf(der.data(), der.size());
        EXPECT_STREQ("unchanged", out.getString());
    }
}

TEST(Asn1Readers, SmallIntegerValueOnlyForMinimalSmallIntegers) {
    struct Case {
        Bytes der;
        int value;
    };
    const Case cases[] = {
        {{0x02, 0x01, 0x01}, 1},
        {{0x02, 0x02, 0x00, 0x80}, 128},
        {{0x02, 0x01, 0xff}, -1},
        {{0x02, 0x04, 0x7f, 0xff, 0xff, 0xff}, INT_MAX},
        {{0x02, 0x02, 0x00, 0x01}, 0},                    // non-minimal
        {{0x02, 0x02, 0xff, 0xff}, 0},                    // non-minimal negative
        {{0x02, 0x05, 0x01, 0x00, 0x00, 0x00, 0x00}, 0},  // too large
        {{0x02, 0x00}, 0},                                // empty
        {{0x0a, 0x01, 0x01}, 0},                          // ENUMERATED, not INTEGER
        {{0x30, 0x03, 0x02, 0x01, 0x01}, 0},              // SEQUENCE
    };
    for (const Case &c : cases) {
        _tvAsn1 *node = decode(c.der);
        ASSERT_NE(nullptr, node);
        RefCountedObjectOwner owner(node);
        EXPECT_EQ(c.value, node->asnIntValue()) << ecckey_test::hexOf(c.der.data(), c.der.size());
    }
}

// A PKCS #8-like tree built node by node; OpenSSL must parse what it encodes to.
TEST(Asn1Trees, BuiltTreeEncodesToWhatOpensslParsesAndDecodesToItself) {
    const unsigned char secret[32] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 16,
                                      17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32};
    _tvAsn1 *ecPrivateKey = _tvAsn1::newSequence();
    RefCountedObjectOwner keyOwner(ecPrivateKey);
    ASSERT_TRUE(ecPrivateKey->AppendPart(_tvAsn1::newInteger(1)));
    ASSERT_TRUE(ecPrivateKey->AppendPart(_tvAsn1::newOctetString(secret, sizeof secret)));
    _tvAsn1 *params = _tvAsn1::newContextSpecificContructed(0);
    ASSERT_TRUE(params->AppendPart(_tvAsn1::newOid("1.2.840.10045.3.1.7")));
    ASSERT_TRUE(ecPrivateKey->AppendPart(params));
    const Bytes inner = encode(*ecPrivateKey);

    _tvAsn1 *pki = _tvAsn1::newSequence();
    RefCountedObjectOwner pkiOwner(pki);
    _tvAsn1 *algId = _tvAsn1::newSequence();
    ASSERT_TRUE(algId->AppendPart(_tvAsn1::newOid("1.2.840.10045.2.1")));
    ASSERT_TRUE(algId->AppendPart(_tvAsn1::newOid("1.2.840.10045.3.1.7")));
    ASSERT_TRUE(pki->AppendPart(_tvAsn1::newInteger(0)));
    ASSERT_TRUE(pki->AppendPart(algId));
    ASSERT_TRUE(pki->AppendPart(_tvAsn1::newOctetString(inner.data(), (unsigned)inner.size())));
    const Bytes der = encode(*pki);

    const unsigned char *p = der.data();
    PKCS8_PRIV_KEY_INFO *parsed = d2i_PKCS8_PRIV_KEY_INFO(nullptr, &p, (long)der.size());
    ASSERT_NE(nullptr, parsed);
    EXPECT_EQ(der.data() + der.size(), p);
    const unsigned char *pk = nullptr;
    int pkLen = 0;
    const X509_ALGOR *alg = nullptr;
    ASSERT_EQ(1, PKCS8_pkey_get0(nullptr, &pk, &pkLen, &alg, parsed));
    EXPECT_EQ(inner, Bytes(pk, pk + pkLen));
    PKCS8_PRIV_KEY_INFO_free(parsed);

    _tvAsn1 *back = decode(der);
    ASSERT_NE(nullptr, back);
    RefCountedObjectOwner backOwner(back);
    EXPECT_TRUE(sameTree(*pki, *back));
    EXPECT_EQ(der, encode(*back));
}

TEST(Asn1Trees, BitStringCarriesItsUnusedBitsOctetAndPartsCanBeReplaced) {
    const unsigned char point[] = {0x04, 0xaa, 0xbb};
    _tvAsn1 *root = _tvAsn1::newSequence();
    RefCountedObjectOwner owner(root);
    ASSERT_TRUE(root->AppendPart(_tvAsn1::newInteger(5)));
    ASSERT_TRUE(root->AppendPart(_tvAsn1::newBitString(point, sizeof point)));
    EXPECT_EQ((Bytes{0x30, 0x09, 0x02, 0x01, 0x05, 0x03, 0x04, 0x00, 0x04, 0xaa, 0xbb}), encode(*root));
    EXPECT_TRUE(root->getAsnPart(1)->isBitString());
    EXPECT_EQ(3, root->getAsnPart(1)->tagNumber());

    EXPECT_FALSE(root->deletePart(2));
    EXPECT_FALSE(root->deletePart(-1));
    ASSERT_TRUE(root->deletePart(1));
    ASSERT_TRUE(root->AppendPart(_tvAsn1::newBitString(nullptr, 0)));
    EXPECT_EQ((Bytes{0x30, 0x06, 0x02, 0x01, 0x05, 0x03, 0x01, 0x00}), encode(*root));

    // Primitive nodes take no children; the refused child is released, not leaked.
    EXPECT_FALSE(root->getAsnPart(0)->AppendPart(_tvAsn1::newInteger(1)));
    EXPECT_FALSE(root->AppendPart(nullptr));
    DataBuffer content;
    EXPECT_FALSE(root->getAsnContent(content));
}

TEST(Asn1Trees, SharedNodeOutlivesEitherParent) {
    _tvAsn1 *shared = _tvAsn1::newOid("1.3.132.0.10");
    _tvAsn1 *first = _tvAsn1::newSequence();
    RefCountedObjectOwner secondOwner(_tvAsn1::newSequence());
    ASSERT_TRUE(first->AppendPart(shared));
    shared->incRefCount();
    _tvAsn1 *second = _tvAsn1::newSequence();
    ASSERT_TRUE(second->AppendPart(shared));
    first->decRefCount();  // the shared node stays alive through second
    StringBuffer oid;
    EXPECT_TRUE(second->getAsnPart(0)->GetOid(oid));
    EXPECT_STREQ("1.3.132.0.10", oid.getString());
    second->decRefCount();
}

TEST(Asn1Dump, ShowsStructureButNoKeyBytes) {
    const unsigned char secret[] = {0xde, 0xad, 0xbe, 0xef, 0x55, 0x66, 0x77, 0x88, 0x99};
    _tvAsn1 *root = _tvAsn1::newSequence();
    RefCountedObjectOwner owner(root);
    root->AppendPart(_tvAsn1::newInteger(1));
    root->AppendPart(_tvAsn1::newOctetString(secret, sizeof secret));
    _tvAsn1 *tagged = _tvAsn1::newContextSpecificContructed(0);
    tagged->AppendPart(_tvAsn1::newOid("1.3.132.0.34"));
    root->AppendPart(tagged);
    Bytes der = encode(*root);
    der.push_back(0x00);  // one trailing byte

    DataBuffer input;
    input.append(der.data(), (unsigned)der.size());
    LogRecorder log;
    _tvDer::logDerAsXml(input, log);
    std::string dump;
    ASSERT_TRUE(log.dataValue("der", dump));
    EXPECT_NE(std::string::npos, dump.find("<sequence>")) << dump;
    EXPECT_NE(std::string::npos, dump.find("<int>01</int>")) << dump;
    EXPECT_NE(std::string::npos, dump.find("<octets len=\"9\"/>")) << dump;
    EXPECT_NE(std::string::npos, dump.find("<contextSpecific tag=\"0\">")) << dump;
    EXPECT_NE(std::string::npos, dump.find("<oid>1.3.132.0.34</oid>")) << dump;
    EXPECT_NE(std::string::npos, dump.find("<trailing len=\"1\"/>")) << dump;
    EXPECT_EQ(std::string::npos, dump.find("dead")) << dump;
    EXPECT_EQ(std::string::npos, dump.find("DEAD")) << dump;
    EXPECT_TRUE(log.errors().empty());

    log.reset();
    DataBuffer garbage;
    garbage.append("\x30\x80", 2);
    _tvDer::logDerAsXml(garbage, log);
    ASSERT_TRUE(log.dataValue("der", dump));
    EXPECT_EQ("<invalidDer len=\"2\"/>\n", dump);
}

// ---- The item model: unsigned INTEGERs and get_mp ----

Bytes opensslUnsignedInteger(const Bytes &magnitude) {
    BIGNUM *bn = BN_bin2bn(magnitude.data(), (int)magnitude.size(), nullptr);
    ASN1_INTEGER *ai = BN_to_ASN1_INTEGER(bn, nullptr);
    unsigned char *p = nullptr;
    const int n = i2d_ASN1_INTEGER(ai, &p);
    Bytes der(p, p + n);
    OPENSSL_free(p);
    ASN1_INTEGER_free(ai);
    BN_free(bn);
    return der;
}

TEST(AsnItems, UnsignedIntegersMatchOpensslAndReadBack) {
    ecckey_test::TestPrng prng(ecckey_test::testSeed());
    std::vector<Bytes> magnitudes = {{},     {0x00}, {0x01},       {0x7f},
                                     {0x80}, {0xff}, {0x01, 0x00}, Bytes(66, 0xff)};
    const int iterations = ecckey_test::testIterations(200);
    for (int i = 0; i < iterations; ++i) {
        Bytes m = prng.bytes(1 + (unsigned)(prng.next() % 70));
        if (i % 2)
            m[0] |= 0x80;  // half with the top bit set
        magnitudes.push_back(m);
    }
    for (const Bytes &m : magnitudes) {
        SCOPED_TRACE(ecckey_test::hexOf(m.data(), m.size()));
        mp_int value;
        ASSERT_TRUE(TovarMp::mpint_from_bytes(value, m.data(), (unsigned)m.size()));
        LogRecorder log;
        ObjectOwner<tv_asnItem> seq(tv_asnItem::newSequence());
        ASSERT_TRUE(seq.get()->appendUnsignedInt(value, log));
        ASSERT_TRUE(seq.get()->appendUnsignedInt_ensure7bit(value, log));
        DataBuffer der;
        ASSERT_TRUE(_tvDer::EncodeAsn(seq.get(), der));

        const Bytes integer = opensslUnsignedInteger(m);
        Bytes expected = {0x30};
        const size_t contentLen = 2 * integer.size();
        if (contentLen >= 128)
            expected.push_back(0x81);
        expected.push_back((unsigned char)contentLen);
        expected.insert(expected.end(), integer.begin(), integer.end());
        expected.insert(expected.end(), integer.begin(), integer.end());
        EXPECT_EQ(expected, Bytes(der.getData2(), der.getData2() + der.getSize()));

        unsigned consumed = 0;
        ObjectOwner<tv_asnItem> back(_tvDer::DecodeAsn(der.getData2(), der.getSize(), consumed, log));
        ASSERT_TRUE(back.get());
        mp_int read;
        ASSERT_TRUE(back.get()->getSubItem_doNotDelete(1)->get_mp(read, log));
        EXPECT_EQ(0, TovarMp::mp_cmp(value, read));
        EXPECT_EQ(nullptr, back.get()->getSubItem_doNotDelete(2));
    }
}

TEST(AsnItems, RefuseNegativeValues) {
    mp_int one, minusOne;
    TovarMp::mp_set(one, 1);
    mp_int zero;
    TovarMp::mp_sub(zero, one, minusOne);
    LogRecorder log;
    ObjectOwner<tv_asnItem> seq(tv_asnItem::newSequence());
    EXPECT_FALSE(seq.get()->appendUnsignedInt(minusOne, log));
    EXPECT_TRUE(log.hasError("Cannot write a negative value as an unsigned INTEGER."));
    EXPECT_EQ(0, seq.get()->numSubItems());
}

TEST(AsnItems, GetMpRefusesWhatIsNotAPositiveMinimalInteger) {
    struct Case {
        Bytes der;
        const char *error;  // null: accepted
    };
    const Case cases[] = {
        {{0x02, 0x01, 0x80}, "ASN.1 INTEGER is negative."},
        {{0x02, 0x02, 0xff, 0x01}, "ASN.1 INTEGER is negative."},
        {{0x02, 0x02, 0x00, 0x01}, "ASN.1 INTEGER is not minimally encoded."},
        {{0x02, 0x03, 0x00, 0x00, 0x80}, "ASN.1 INTEGER is not minimally encoded."},
        {{0x02, 0x00}, "ASN.1 INTEGER is empty."},
        {{0x04, 0x01, 0x01}, "ASN.1 item is not an INTEGER."},
        {{0x82, 0x01, 0x01}, "ASN.1 item is not an INTEGER."},  // [2] IMPLICIT, same tag number
        {{0x30, 0x03, 0x02, 0x01, 0x01}, "ASN.1 item is not an INTEGER."},
        {{0x02, 0x01, 0x00}, nullptr},
        {{0x02, 0x02, 0x00, 0x80}, nullptr},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(ecckey_test::hexOf(c.der.data(), c.der.size()));
        LogRecorder log;
        unsigned consumed = 0;
        ObjectOwner<tv_asnItem> item(_tvDer::DecodeAsn(c.der.data(), (unsigned)c.der.size(), consumed, log));
        ASSERT_TRUE(item.get());
        mp_int value;
        EXPECT_EQ(c.error == nullptr, item.get()->get_mp(value, log));
        if (c.error) {
            EXPECT_EQ(std::vector<std::string>{c.error}, log.errors());
        }
    }
}

}  // namespace
