// The strict DER reader under both ASN.1 models: malformed input of every kind is refused without a
// read past the input (run under -DECCKEY_SANITIZE=ON to make that visible), and real keys and
// signatures made by OpenSSL decode and re-encode to the same bytes.
#include <gtest/gtest.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "support/Asn1.h"
#include "support/AsnItem.h"
#include "support/DerReader.h"
#include "support/LogBase.h"
#include "support/Oracle.h"

using namespace ecckey;
using Bytes = std::vector<unsigned char>;

namespace {

// Both decoders behind one signature: success, the consumed count and the re-encoding.
struct DecoderUnderTest {
    const char *name;
    std::function<bool(const Bytes &, unsigned &, Bytes &, LogBase &)> decode;
};

bool viaTree(const Bytes &in, unsigned &consumed, Bytes &reencoded, LogBase &log) {
    // An exactly sized heap copy: a read past its end is a sanitizer report.
    std::unique_ptr<unsigned char[]> exact(new unsigned char[in.size() ? in.size() : 1]);
    std::copy(in.begin(), in.end(), exact.get());
    _tvAsn1 *root =
        _tvAsn1::DecodeToAsn(in.empty() ? nullptr : exact.get(), (unsigned)in.size(), consumed, log);
    if (!root)
        return false;
    RefCountedObjectOwner owner(root);
    DataBuffer out;
    EXPECT_TRUE(root->EncodeToDer(out, false, log));
    reencoded.assign(out.getData2(), out.getData2() + out.getSize());
    return true;
}

bool viaItems(const Bytes &in, unsigned &consumed, Bytes &reencoded, LogBase &log) {
    std::unique_ptr<unsigned char[]> exact(new unsigned char[in.size() ? in.size() : 1]);
    std::copy(in.begin(), in.end(), exact.get());
    ObjectOwner<tv_asnItem> item(
        _tvDer::DecodeAsn(in.empty() ? nullptr : exact.get(), (unsigned)in.size(), consumed, log));
    if (!item.get())
        return false;
    DataBuffer out;
    EXPECT_TRUE(_tvDer::EncodeAsn(item.get(), out));
    reencoded.assign(out.getData2(), out.getData2() + out.getSize());
    return true;
}

const DecoderUnderTest kDecoders[] = {{"tree", viaTree}, {"items", viaItems}};

Bytes withFill(Bytes prefix, size_t fill) {
    prefix.insert(prefix.end(), fill, 0x41);
    return prefix;
}

// n SEQUENCEs, each the only content of the one outside it; the innermost is empty.
Bytes nestedSequences(int n) {
    std::vector<Bytes> headers;  // innermost first
    unsigned innerLen = 0;
    for (int i = 0; i < n; ++i) {
        unsigned char header[10];
        const unsigned headerLen = DerReader::writeHeader(0, true, 16, innerLen, header);
        headers.emplace_back(header, header + headerLen);
        innerLen += headerLen;
    }
    Bytes der;
    for (auto it = headers.rbegin(); it != headers.rend(); ++it)
        der.insert(der.end(), it->begin(), it->end());
    return der;
}

struct Malformed {
    const char *what;
    Bytes der;
    const char *error;
};

const char kBadElement[] = "Invalid or truncated DER element.";
const char kBadContent[] = "Invalid DER content for its ASN.1 type.";

std::vector<Malformed> malformedInputs() {
    return {
        {"empty input", {}, "No DER input to decode."},
        {"identifier only", {0x30}, kBadElement},
        {"content cut short", {0x04, 0x05, 1, 2, 3}, kBadElement},
        {"long length past the end", {0x30, 0x82, 0x01, 0x00, 0x05, 0x00}, kBadElement},
        {"length octets cut short", {0x04, 0x82, 0x01}, kBadElement},
        {"indefinite length", {0x30, 0x80, 0x05, 0x00, 0x00, 0x00}, kBadElement},
        {"0x81 for a length below 128", {0x04, 0x81, 0x05, 1, 2, 3, 4, 5}, kBadElement},
        {"leading zero length octet", withFill({0x04, 0x82, 0x00, 0x80}, 128), kBadElement},
        {"five length octets", {0x04, 0x85, 0, 0, 0, 0, 1, 0x41}, kBadElement},
        {"length 2^32-1", {0x04, 0x84, 0xff, 0xff, 0xff, 0xff, 0x41}, kBadElement},
        {"reserved length octet 0xFF", {0x04, 0xff, 0x41}, kBadElement},
        {"child runs past its parent", {0x30, 0x03, 0x04, 0x05, 0x00, 0x00, 0x00, 0x00, 0x00}, kBadElement},
        {"child header cut by its parent", {0x30, 0x01, 0x04, 0x00}, kBadElement},
        {"primitive SEQUENCE", {0x10, 0x00}, kBadElement},
        {"constructed OCTET STRING", {0x24, 0x02, 0x04, 0x00}, kBadElement},
        {"constructed INTEGER", {0x22, 0x03, 0x02, 0x01, 0x01}, kBadElement},
        {"end-of-contents tag", {0x00, 0x00}, kBadElement},
        {"high tag with a 0x80 lead octet", {0x9f, 0x80, 0x21, 0x00}, kBadElement},
        {"high tag form for tag 5", {0x9f, 0x05, 0x00}, kBadElement},
        {"high tag above 2^28", {0x9f, 0x81, 0x80, 0x80, 0x80, 0x00, 0x00}, kBadElement},
        {"high tag cut short", {0x9f, 0x81}, kBadElement},
        {"BIT STRING without unused-bits octet", {0x03, 0x00}, kBadContent},
        {"BIT STRING with 8 unused bits", {0x03, 0x02, 0x08, 0x00}, kBadContent},
        {"BIT STRING with set padding bits", {0x03, 0x02, 0x01, 0x01}, kBadContent},
        {"BIT STRING with unused bits and no data", {0x03, 0x01, 0x03}, kBadContent},
        {"NULL with content", {0x05, 0x01, 0x00}, kBadContent},
        {"BOOLEAN that is neither 00 nor FF", {0x01, 0x01, 0x01}, kBadContent},
        {"malformed element deep inside", {0x30, 0x06, 0x30, 0x04, 0xa0, 0x02, 0x05, 0x80}, kBadElement},
    };
}

class DerDecoders : public ::testing::TestWithParam<DecoderUnderTest> {};

TEST_P(DerDecoders, RefuseMalformedInputWithOneClearError) {
    for (const Malformed &m : malformedInputs()) {
        SCOPED_TRACE(m.what);
        LogRecorder log;
        unsigned consumed = 99;
        Bytes out;
        EXPECT_FALSE(GetParam().decode(m.der, consumed, out, log));
        EXPECT_EQ(0u, consumed);
        EXPECT_EQ(std::vector<std::string>{m.error}, log.errors());
    }
}

TEST_P(DerDecoders, BoundTheNestingDepth) {
    LogRecorder log;
    unsigned consumed = 0;
    Bytes out;
    const Bytes deepest = nestedSequences(DerReader::kMaxDepth);
    EXPECT_TRUE(GetParam().decode(deepest, consumed, out, log));
    EXPECT_EQ(deepest, out);

    EXPECT_FALSE(GetParam().decode(nestedSequences(DerReader::kMaxDepth + 1), consumed, out, log));
    EXPECT_TRUE(log.hasError("ASN.1 nesting exceeds the depth limit."));

    // Far deeper than any stack could recurse: refused at the bound all the same.
    log.reset();
    EXPECT_FALSE(GetParam().decode(nestedSequences(100000), consumed, out, log));
    EXPECT_EQ(std::vector<std::string>{"ASN.1 nesting exceeds the depth limit."}, log.errors());
}

TEST_P(DerDecoders, ReportTrailingBytesThroughConsumed) {
    LogRecorder log;
    unsigned consumed = 0;
    Bytes out;
    EXPECT_TRUE(GetParam().decode({0x30, 0x03, 0x02, 0x01, 0x07, 0xde, 0xad}, consumed, out, log));
    EXPECT_EQ(5u, consumed);
    EXPECT_EQ((Bytes{0x30, 0x03, 0x02, 0x01, 0x07}), out);
    EXPECT_TRUE(log.errors().empty());
}

TEST_P(DerDecoders, AcceptTheLimitsOfValidDer) {
    const std::vector<Bytes> valid = {
        withFill({0x04, 0x81, 0x80}, 128),        // shortest long-form length
        withFill({0x04, 0x82, 0x01, 0x00}, 256),  // two length octets
        withFill({0x04, 0x7f}, 127),              // longest short-form length
        {0x9f, 0x1f, 0x00},                       // [31], the first high tag number
        {0xbf, 0x87, 0x68, 0x02, 0x05, 0x00},     // constructed [1000]
        {0xdf, 0xff, 0xff, 0xff, 0x7f, 0x00},     // private tag 2^28-1
        {0x30, 0x00},                             // empty SEQUENCE
        {0x03, 0x02, 0x04, 0xf0},                 // BIT STRING with zero padding bits
        {0x01, 0x01, 0xff},                       // BOOLEAN true
        {0x02, 0x02, 0x00, 0x01},                 // non-minimal INTEGER: structure only, readers judge
    };
    for (const Bytes &der : valid) {
        SCOPED_TRACE(ecckey_test::hexOf(der.data(), der.size()));
        LogRecorder log;
        unsigned consumed = 0;
        Bytes out;
        ASSERT_TRUE(GetParam().decode(der, consumed, out, log));
        EXPECT_EQ(der.size(), consumed);
        EXPECT_EQ(der, out);
    }
}

INSTANTIATE_TEST_SUITE_P(BothModels, DerDecoders, ::testing::ValuesIn(kDecoders),
                         [](const ::testing::TestParamInfo<DecoderUnderTest> &p) { return p.param.name; });

TEST(DerReaderHeader, WritesMinimalIdentifierAndLengthOctets) {
    struct Case {
        int tagClass;
        bool constructed;
        int tag;
        unsigned len;
        Bytes expected;
    };
    const Case cases[] = {
        {0, true, 16, 0, {0x30, 0x00}},
        {0, false, 4, 127, {0x04, 0x7f}},
        {0, false, 4, 128, {0x04, 0x81, 0x80}},
        {0, false, 4, 255, {0x04, 0x81, 0xff}},
        {0, false, 4, 256, {0x04, 0x82, 0x01, 0x00}},
        {0, false, 4, 65536, {0x04, 0x83, 0x01, 0x00, 0x00}},
        {0, false, 4, 0xffffffffu, {0x04, 0x84, 0xff, 0xff, 0xff, 0xff}},
        {2, true, 0, 3, {0xa0, 0x03}},
        {2, true, 30, 0, {0xbe, 0x00}},
        {2, false, 31, 0, {0x9f, 0x1f, 0x00}},
        {1, false, 128, 0, {0x5f, 0x81, 0x00, 0x00}},
        {3, true, (1 << 28) - 1, 0, {0xff, 0xff, 0xff, 0xff, 0x7f, 0x00}},
    };
    for (const Case &c : cases) {
        unsigned char out[10];
        const unsigned n = DerReader::writeHeader(c.tagClass, c.constructed, c.tag, c.len, out);
        EXPECT_EQ(c.expected, Bytes(out, out + n)) << "tag " << c.tag << " len " << c.len;
    }
}

// ---- Real structures from OpenSSL ----

struct PkeyFree {
    void operator()(EVP_PKEY *k) const { EVP_PKEY_free(k); }
};
using PkeyPtr = std::unique_ptr<EVP_PKEY, PkeyFree>;

template <typename F>
Bytes derOf(F i2d) {
    unsigned char *p = nullptr;
    const int n = i2d(&p);
    Bytes der(p, p + (n > 0 ? n : 0));
    OPENSSL_free(p);
    return der;
}

// SEC 1, PKCS #8, named and explicit SubjectPublicKeyInfo, and one ECDSA signature of a new key.
std::vector<std::pair<std::string, Bytes>> makeOpensslStructures(const ecckey_test::CurveInfo &curve) {
    PkeyPtr key(EVP_EC_gen(OBJ_nid2sn(curve.nid)));
    if (!key)
        return {};
    std::vector<std::pair<std::string, Bytes>> out;
    out.emplace_back("SEC1", derOf([&](unsigned char **p) { return i2d_PrivateKey(key.get(), p); }));
    PKCS8_PRIV_KEY_INFO *p8 = EVP_PKEY2PKCS8(key.get());
    out.emplace_back("PKCS8", derOf([&](unsigned char **p) { return i2d_PKCS8_PRIV_KEY_INFO(p8, p); }));
    PKCS8_PRIV_KEY_INFO_free(p8);
    out.emplace_back("SPKI", derOf([&](unsigned char **p) { return i2d_PUBKEY(key.get(), p); }));
    EVP_PKEY_set_utf8_string_param(key.get(), "encoding", "explicit");
    out.emplace_back("SPKI explicit", derOf([&](unsigned char **p) { return i2d_PUBKEY(key.get(), p); }));

    unsigned char sig[256];
    size_t sigLen = sizeof sig;
    const unsigned char msg[] = "ecckey";
    EVP_MD_CTX *ctx = EVP_MD_CTX_new();
    if (EVP_DigestSignInit(ctx, nullptr, EVP_sha256(), nullptr, key.get()) == 1 &&
        EVP_DigestSign(ctx, sig, &sigLen, msg, sizeof msg) == 1)
        out.emplace_back("ECDSA signature", Bytes(sig, sig + sigLen));
    EVP_MD_CTX_free(ctx);
    return out;
}

// One key per curve for the whole run.
const std::vector<std::pair<std::string, Bytes>> &opensslStructures(const ecckey_test::CurveInfo &curve) {
    static std::map<std::string, std::vector<std::pair<std::string, Bytes>>> cache;
    auto it = cache.find(curve.name);
    if (it == cache.end())
        it = cache.emplace(curve.name, makeOpensslStructures(curve)).first;
    return it->second;
}

class OpensslDer : public ::testing::TestWithParam<ecckey_test::CurveInfo> {};

TEST_P(OpensslDer, DecodesAndReencodesByteForByte) {
    const auto structures = opensslStructures(GetParam());
    ASSERT_EQ(5u, structures.size());
    for (const auto &s : structures) {
        ASSERT_FALSE(s.second.empty()) << s.first;
        for (const DecoderUnderTest &d : kDecoders) {
            SCOPED_TRACE(s.first + " via " + d.name);
            LogRecorder log;
            unsigned consumed = 0;
            Bytes out;
            ASSERT_TRUE(d.decode(s.second, consumed, out, log)) << log.errorText();
            EXPECT_EQ(s.second.size(), consumed);
            EXPECT_EQ(s.second, out);
        }
    }
}

TEST_P(OpensslDer, ReadsTheCurveOidOfAPublicKey) {
    const Bytes spki = opensslStructures(GetParam()).at(2).second;
    LogNull log;
    unsigned consumed = 0;
    _tvAsn1 *root = _tvAsn1::DecodeToAsn(spki.data(), (unsigned)spki.size(), consumed, log);
    ASSERT_NE(nullptr, root);
    RefCountedObjectOwner owner(root);
    _tvAsn1 *algId = root->getAsnPart(0);
    ASSERT_TRUE(algId && algId->isSequence());
    StringBuffer algOid, curveOid;
    ASSERT_TRUE(algId->getAsnPart(0)->GetOid(algOid));
    ASSERT_TRUE(algId->getAsnPart(1)->GetOid(curveOid));
    EXPECT_STREQ("1.2.840.10045.2.1", algOid.getString());
    EXPECT_STREQ(GetParam().oid, curveOid.getString());
    ASSERT_TRUE(root->getAsnPart(1)->isBitString());
    DataBuffer point;
    ASSERT_TRUE(root->getAsnPart(1)->getAsnContent(point));
    EXPECT_EQ(2u + 2u * GetParam().byteLen, point.getSize());  // unused-bits octet, 04, X, Y
    EXPECT_EQ(0x00, point[0]);
    EXPECT_EQ(0x04, point[1]);
    EXPECT_EQ(nullptr, root->getAsnPart(2));
    EXPECT_EQ(nullptr, root->getAsnPart(-1));
}

TEST_P(OpensslDer, SignatureIntegersMatchOpenssl) {
    const Bytes sig = opensslStructures(GetParam()).at(4).second;
    const unsigned char *p = sig.data();
    ECDSA_SIG *expected = d2i_ECDSA_SIG(nullptr, &p, (long)sig.size());
    ASSERT_NE(nullptr, expected);
    LogRecorder log;
    unsigned consumed = 0;
    ObjectOwner<tv_asnItem> item(_tvDer::DecodeAsn(sig.data(), (unsigned)sig.size(), consumed, log));
    ASSERT_TRUE(item.get() && item.get()->isConstructed() && item.get()->numSubItems() == 2);
    mp_int r, s;
    ASSERT_TRUE(item.get()->getSubItem_doNotDelete(0)->get_mp(r, log));
    ASSERT_TRUE(item.get()->getSubItem_doNotDelete(1)->get_mp(s, log));
    EXPECT_EQ(ecckey_test::hexOf(ECDSA_SIG_get0_r(expected)), ecckey_test::hexOf(r));
    EXPECT_EQ(ecckey_test::hexOf(ECDSA_SIG_get0_s(expected)), ecckey_test::hexOf(s));
    ECDSA_SIG_free(expected);
}

INSTANTIATE_TEST_SUITE_P(AllCurves, OpensslDer, ::testing::ValuesIn(ecckey_test::allCurves()),
                         ecckey_test::curveParamName);

}  // namespace
