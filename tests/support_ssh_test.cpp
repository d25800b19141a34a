// SSH wire encodings (with truncated blobs and lengths near 2^32), digests against OpenSSL, the system
// random source, and the key base class (PKCS #8 attributes, JWK integers).
#include <gtest/gtest.h>
#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <string>
#include <vector>

#include "support/Asn1.h"
#include "support/DataBuffer.h"
#include "support/Hash.h"
#include "support/JsonObject.h"
#include "support/KeyBase.h"
#include "support/LogBase.h"
#include "support/Oracle.h"
#include "support/Prng.h"
#include "support/SshMessage.h"
#include "support/StringBuffer.h"
#include "support/TestPrng.h"
#include "support/TovarMp.h"

using namespace ecckey;
using Bytes = std::vector<unsigned char>;

namespace {

DataBuffer bufferOf(const Bytes &b) {
    DataBuffer db;
    db.append(b.data(), (unsigned)b.size());
    return db;
}

// ---- SSH strings and mpints ----

TEST(SshWire, StringsRoundTrip) {
    DataBuffer blob;
    ASSERT_TRUE(SshMessage::pack_string("ecdsa-sha2-nistp256", blob));
    ASSERT_TRUE(SshMessage::pack_string("", blob));
    DataBuffer point = bufferOf({0x04, 0x00, 0xff});
    ASSERT_TRUE(SshMessage::pack_db(point, blob));
    EXPECT_EQ(4u + 19 + 4 + 4 + 3, blob.getSize());
    const std::string head((const char *)blob.getData2(), 27);
    EXPECT_EQ(std::string("\0\0\0\x13"
                          "ecdsa-sha2-nistp256\0\0\0\0",
                          27),
              head);

    LogRecorder log;
    unsigned offset = 0;
    StringBuffer name("stale"), empty("stale");
    DataBuffer bytes;
    ASSERT_TRUE(SshMessage::parseString(blob, offset, name));
    EXPECT_STREQ("ecdsa-sha2-nistp256", name.getString());
    ASSERT_TRUE(SshMessage::parseString(blob, offset, empty));
    EXPECT_STREQ("", empty.getString());
    ASSERT_TRUE(SshMessage::parseBinaryString(blob, offset, bytes, log));
    EXPECT_TRUE(bytes.equals(point));
    EXPECT_EQ(blob.getSize(), offset);
    EXPECT_FALSE(SshMessage::parseString(blob, offset, name));  // nothing left
    EXPECT_EQ(blob.getSize(), offset);
}

TEST(SshWire, TruncatedOrOverlongStringsLeaveTheOffsetAlone) {
    const std::vector<Bytes> bad = {
        {},                                       // no length
        {0x00, 0x00, 0x00},                       // length cut short
        {0x00, 0x00, 0x00, 0x05, 'a', 'b'},       // content cut short
        {0x00, 0x00, 0x01, 0x00, 'a'},            // 256 announced
        {0xff, 0xff, 0xff, 0xff, 'a', 'b', 'c'},  // 2^32 - 1 announced
        {0xff, 0xff, 0xff, 0xfc, 'a', 'b', 'c'},  // 2^32 - 4: offset + 4 + length would wrap
    };
    for (const Bytes &b : bad) {
        SCOPED_TRACE(ecckey_test::hexOf(b.data(), b.size()));
        const DataBuffer blob = bufferOf(b);
        LogRecorder log;
        unsigned offset = 0;
        StringBuffer text;
        DataBuffer bytes;
        mp_int value;
        EXPECT_FALSE(SshMessage::parseString(blob, offset, text));
        EXPECT_FALSE(SshMessage::parseBinaryString(blob, offset, bytes, log));
        EXPECT_FALSE(SshMessage::parseMpInt(blob, offset, value, log));
        EXPECT_EQ(0u, offset);
    }
    // Offsets past the end, up to the largest unsigned value.
    const DataBuffer blob = bufferOf({0x00, 0x00, 0x00, 0x00});
    for (unsigned offset : {5u, 0xfffffffcu, 0xffffffffu}) {
        StringBuffer text;
        const unsigned before = offset;
        EXPECT_FALSE(SshMessage::parseString(blob, offset, text));
        EXPECT_EQ(before, offset);
    }
    // A NUL inside is taken like any byte: only the length decides.
    unsigned offset = 0;
    StringBuffer text;
    EXPECT_TRUE(SshMessage::parseString(bufferOf({0, 0, 0, 3, 'a', 0, 'b'}), offset, text));
    EXPECT_EQ(7u, offset);
    EXPECT_EQ(3u, text.getSize());
}

TEST(SshWire, MpIntsMatchOpensslAndRefuseNegatives) {
    ecckey_test::TestPrng prng(ecckey_test::testSeed());
    const int iterations = ecckey_test::testIterations(100);
    for (int i = 0; i < iterations; ++i) {
        Bytes magnitude = prng.bytes((unsigned)(prng.next() % 67));
        if (i == 0)
            magnitude.clear();
        BIGNUM *bn = BN_bin2bn(magnitude.data(), (int)magnitude.size(), nullptr);
        Bytes mpi((size_t)BN_bn2mpi(bn, nullptr));
        BN_bn2mpi(bn, mpi.data());  // a 4-byte length and the two's complement bytes: the SSH layout
        mpi.push_back(0xaa);        // a following field

        LogRecorder log;
        unsigned offset = 0;
        mp_int value;
        ASSERT_TRUE(SshMessage::parseMpInt(bufferOf(mpi), offset, value, log));
        EXPECT_EQ(mpi.size() - 1, offset);
        EXPECT_EQ(ecckey_test::hexOf(bn), ecckey_test::hexOf(value));
        BN_free(bn);
    }
    LogRecorder log;
    unsigned offset = 0;
    mp_int value;
    EXPECT_FALSE(SshMessage::parseMpInt(bufferOf({0, 0, 0, 1, 0x80}), offset, value, log));
    EXPECT_EQ(std::vector<std::string>{"SSH mpint is negative."}, log.errors());
    EXPECT_EQ(0u, offset);
    // A redundant leading zero is taken as part of the magnitude.
    ASSERT_TRUE(SshMessage::parseMpInt(bufferOf({0, 0, 0, 3, 0x00, 0x00, 0x05}), offset, value, log));
    EXPECT_EQ(0, TovarMp::mp_cmp_d(value, 5));
}

TEST(SshWire, BytesFromASensitiveBlobStaySensitive) {
    DataBuffer blob;
    blob.setSensitive();
    DataBuffer secret = bufferOf({1, 2, 3});
    SshMessage::pack_db(secret, blob);
    DataBuffer out;
    unsigned offset = 0;
    LogNull log;
    ASSERT_TRUE(SshMessage::parseBinaryString(blob, offset, out, log));
    EXPECT_TRUE(out.isSensitive());
}

// ---- Digests ----

TEST(Digests, MatchOpensslForEveryIdentifier) {
    struct Alg {
        int id;
        const EVP_MD *md;
    };
    const Alg algs[] = {{HASH_SHA1, EVP_sha1()},     {HASH_SHA224, EVP_sha224()}, {HASH_SHA256, EVP_sha256()},
                        {HASH_SHA384, EVP_sha384()}, {HASH_SHA512, EVP_sha512()}, {HASH_MD5, EVP_md5()}};
    ecckey_test::TestPrng prng(ecckey_test::testSeed());
    for (unsigned len : {0u, 1u, 55u, 56u, 64u, 1000u}) {
        const Bytes data = prng.bytes(len);
        for (const Alg &a : algs) {
            unsigned char expected[EVP_MAX_MD_SIZE];
            unsigned expectedLen = 0;
            EVP_Digest(data.data(), len, expected, &expectedLen, a.md, nullptr);
            DataBuffer out = bufferOf({0x99});
            ASSERT_TRUE(_tvHash::doHash(data.data(), len, a.id, out)) << a.id;
            EXPECT_EQ(expectedLen, _tvHash::hashLen(a.id));
            Bytes want = {0x99};
            want.insert(want.end(), expected, expected + expectedLen);
            EXPECT_TRUE(out.equals(want.data(), (unsigned)want.size())) << a.id << " len " << len;
        }
        unsigned char fingerprint[16];
        FingerprintDigest digest;
        digest.digestData(bufferOf(data), fingerprint);
        unsigned char md5[16];
        EVP_Digest(data.data(), len, md5, nullptr, EVP_md5(), nullptr);
        EXPECT_EQ(Bytes(md5, md5 + 16), Bytes(fingerprint, fingerprint + 16));
    }
}

TEST(Digests, UnknownIdentifiersAreRefused) {
    for (int id : {0, 4, 6, 9, -1}) {
        DataBuffer out;
        EXPECT_FALSE(_tvHash::doHash("abc", 3, id, out)) << id;
        EXPECT_EQ(0u, out.getSize());
        EXPECT_EQ(0u, _tvHash::hashLen(id));
    }
}

// ---- The system random source ----

TEST(SystemRandom, AppendsTheBytesAskedFor) {
    SystemPrng prng;
    LogRecorder log;
    DataBuffer out = bufferOf({0x42});
    ASSERT_TRUE(prng.genRandom(0, out, log));
    EXPECT_EQ(1u, out.getSize());
    // More than getrandom hands out in one call when interrupted: the loop must collect it all.
    ASSERT_TRUE(prng.genRandom(100000, out, log));
    EXPECT_EQ(100001u, out.getSize());
    EXPECT_EQ(0x42, out[0]);
    DataBuffer a, b;
    ASSERT_TRUE(prng.genRandom(32, a, log));
    ASSERT_TRUE(prng.genRandom(32, b, log));
    EXPECT_FALSE(a.equals(b));
    EXPECT_TRUE(log.errors().empty());
}

// ---- KeyBase ----

class TestKey : public KeyBase {};

// [0] { Attribute { friendlyName, SET { BMPString "AB" } } }
_tvAsn1 *makeAttributes() {
    const unsigned char der[] = {0xa0, 0x15, 0x30, 0x13, 0x06, 0x09, 0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d,
                                 0x01, 0x09, 0x14, 0x31, 0x06, 0x1e, 0x04, 0x00, 0x41, 0x00, 0x42};
    unsigned consumed = 0;
    LogNull log;
    return _tvAsn1::DecodeToAsn(der, sizeof der, consumed, log);
}

TEST(KeyBaseAttributes, AppendedToPkcs8WhenSetAndSharedByCopies) {
    LogRecorder log;
    TestKey key;
    _tvAsn1 *empty = _tvAsn1::newSequence();
    RefCountedObjectOwner emptyOwner(empty);
    ASSERT_TRUE(key.addAttributesToPkcs8(*empty, log));
    EXPECT_EQ(0, empty->numAsnParts());

    key.setPkcs8Attributes(makeAttributes());
    TestKey copy;
    copy.copyFromKeyBase(key);
    key.clearKeyBase();  // the copy keeps its reference

    const unsigned char inner[] = {0x30, 0x03, 0x02, 0x01, 0x01};
    _tvAsn1 *pki = _tvAsn1::newSequence();
    RefCountedObjectOwner pkiOwner(pki);
    pki->AppendPart(_tvAsn1::newInteger(0));
    _tvAsn1 *alg = _tvAsn1::newSequence();
    alg->AppendPart(_tvAsn1::newOid("1.2.840.10045.2.1"));
    alg->AppendPart(_tvAsn1::newOid("1.2.840.10045.3.1.7"));
    pki->AppendPart(alg);
    pki->AppendPart(_tvAsn1::newOctetString(inner, sizeof inner));
    ASSERT_TRUE(copy.addAttributesToPkcs8(*pki, log));
    ASSERT_EQ(4, pki->numAsnParts());
    EXPECT_EQ(_tvAsn1::CLASS_CONTEXT, pki->getAsnPart(3)->tagClass());

    DataBuffer der;
    ASSERT_TRUE(pki->EncodeToDer(der, false, log));
    const unsigned char *p = der.getData2();
    PKCS8_PRIV_KEY_INFO *parsed = d2i_PKCS8_PRIV_KEY_INFO(nullptr, &p, (long)der.getSize());
    ASSERT_NE(nullptr, parsed);
    EXPECT_EQ(1, X509at_get_attr_count(PKCS8_pkey_get0_attrs(parsed)));
    PKCS8_PRIV_KEY_INFO_free(parsed);
    EXPECT_TRUE(log.errors().empty());
}

TEST(KeyBaseAttributes, RefuseANodeThatIsNotContextZero) {
    LogRecorder log;
    TestKey key;
    key.setPkcs8Attributes(_tvAsn1::newSequence());
    _tvAsn1 *pki = _tvAsn1::newSequence();
    RefCountedObjectOwner owner(pki);
    EXPECT_FALSE(key.addAttributesToPkcs8(*pki, log));
    EXPECT_EQ(std::vector<std::string>{"PKCS8 attributes are not a [0] IMPLICIT SET."}, log.errors());
    EXPECT_EQ(0, pki->numAsnParts());
}

TEST(KeyBaseJwk, ReadsBase64UrlMembersAndNamesWhatIsWrong) {
    ClsJsonObject json;
    LogRecorder log;
    ASSERT_TRUE(
        json.load("{\"d\":\"AP-_\",\"bad\":\"AP+/"
                  "\",\"empty\":\"\",\"pad\":\"AQ==\",\"padOnly\":\"==\",\"blank\":\" \"}",
                  log));
    TestKey key;
    mp_int value;
    ASSERT_TRUE(key.jwkContentToMpInt(json, "d", value, log));
    EXPECT_EQ("FFBF", ecckey_test::hexOf(value));
    EXPECT_TRUE(log.errors().empty());

    EXPECT_FALSE(key.jwkContentToMpInt(json, "x", value, log));
    EXPECT_EQ(std::vector<std::string>{"JWK member is missing."}, log.errors());
    std::string member;
    EXPECT_TRUE(log.dataValue("member", member));
    EXPECT_EQ("x", member);

    for (const char *name : {"bad", "empty", "padOnly", "blank"}) {
        log.reset();
        EXPECT_FALSE(key.jwkContentToMpInt(json, name, value, log)) << name;
        EXPECT_EQ(std::vector<std::string>{"JWK member is not valid base64url."}, log.errors()) << name;
    }
}

}  // namespace
