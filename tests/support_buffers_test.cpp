// Byte and text buffers and their codecs: round trips against OpenSSL's base64, the edge lengths of
// each codec, refusal of undecodable text, and the wiping promised by the sensitive-data flag.
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <algorithm>
#include <climits>
#include <string>
#include <vector>

#include "support/DataBuffer.h"
#include "support/Oracle.h"
#include "support/StringBuffer.h"
#include "support/TestPrng.h"

using namespace ecckey;
using Bytes = std::vector<unsigned char>;

namespace {

std::string opensslBase64(const Bytes &b) {
    std::string out(4 * ((b.size() + 2) / 3) + 1, '\0');
    const int n = EVP_EncodeBlock((unsigned char *)&out[0], b.data(), (int)b.size());
    out.resize((size_t)n);
    return out;
}

std::string toUrl(std::string b64) {
    std::replace(b64.begin(), b64.end(), '+', '-');
    std::replace(b64.begin(), b64.end(), '/', '_');
    b64.erase(std::remove(b64.begin(), b64.end(), '='), b64.end());
    return b64;
}

DataBuffer bufferOf(const Bytes &b) {
    DataBuffer db;
    db.append(b.data(), (unsigned)b.size());
    return db;
}

Bytes bytesOf(const DataBuffer &db) {
    return Bytes(db.getData2(), db.getData2() + db.getSize());
}

TEST(Codecs, EncodeAndDecodeEveryLengthModThree) {
    ecckey_test::TestPrng prng(ecckey_test::testSeed());
    for (unsigned len = 0; len <= 70; ++len) {
        SCOPED_TRACE(len);
        const Bytes raw = prng.bytes(len);
        const DataBuffer db = bufferOf(raw);
        struct Case {
            const char *encoding;
            std::string expected;
        };
        const Case cases[] = {{"hex", ecckey_test::hexOf(raw.data(), raw.size())},
                              {"base64", opensslBase64(raw)},
                              {"base64url", toUrl(opensslBase64(raw))}};
        for (const Case &c : cases) {
            StringBuffer text("prefix:");
            ASSERT_TRUE(db.encodeDB(c.encoding, text));
            EXPECT_EQ("prefix:" + c.expected, text.getString()) << c.encoding;
            DataBuffer back;
            back.appendChar(0xee);
            ASSERT_TRUE(back.appendEncoded(c.expected.c_str(), c.encoding)) << c.encoding;
            Bytes expectedBack = {0xee};
            expectedBack.insert(expectedBack.end(), raw.begin(), raw.end());
            EXPECT_EQ(expectedBack, bytesOf(back)) << c.encoding;
        }
    }
}

TEST(Codecs, DecodersTakeWhiteSpaceAndEitherHexCase) {
    DataBuffer db;
    ASSERT_TRUE(db.appendEncoded("0a Bc\r\n\tfF", "hex"));
    EXPECT_EQ((Bytes{0x0a, 0xbc, 0xff}), bytesOf(db));
    db.clear();
    ASSERT_TRUE(db.appendEncoded("QU JD\nRA==", "base64"));
    EXPECT_EQ("ABCD", std::string(db.getData2(), db.getData2() + db.getSize()));
    db.clear();
    ASSERT_TRUE(db.appendEncoded("QUJDRA==", "base64url"));  // padding tolerated in base64url
    EXPECT_EQ(4u, db.getSize());
}

TEST(Codecs, RefuseUndecodableTextAndLeaveTheBufferAlone) {
    struct Case {
        const char *text;
        const char *encoding;
    };
    const Case bad[] = {
        {"abc", "hex"},         {"0g", "hex"},       {"0x12", "hex"},
        {"QQ", "base64"},       {"QQ=", "base64"},   {"QR==", "base64"},
        {"Q===", "base64"},     {"QUJD=", "base64"}, {"QUJ*", "base64"},
        {"QQ==QQ==", "base64"}, {"-_8=", "base64"},  {"Q", "base64url"},
        {"+/8", "base64url"},   {"QR", "base64url"}, {"QUJDR", "base64url"},
        {"QQ===", "base64url"}, {"00", "base32"},    {"00", ""},
    };
    for (const Case &c : bad) {
        DataBuffer db;
        db.appendChar(0x42);
        EXPECT_FALSE(db.appendEncoded(c.text, c.encoding)) << c.encoding << " '" << c.text << "'";
        EXPECT_EQ((Bytes{0x42}), bytesOf(db)) << c.encoding << " '" << c.text << "'";
    }
    DataBuffer db;
    EXPECT_FALSE(db.appendEncoded(nullptr, "hex"));
    StringBuffer out;
    EXPECT_FALSE(db.encodeDB("base32", out));
}

TEST(Codecs, HexStringsWithAndWithoutSeparators) {
    const unsigned char bytes[] = {0x00, 0xAB, 0x7f};
    StringBuffer out("x");
    DataBuffer::toHexString2(bytes, 3, true, out);
    EXPECT_STREQ("x00:ab:7f", out.getString());
    out.clear();
    DataBuffer::toHexString2(bytes, 3, false, out);
    EXPECT_STREQ("00ab7f", out.getString());
    out.clear();
    DataBuffer::toHexString2(bytes, 0, true, out);
    EXPECT_STREQ("", out.getString());
}

TEST(DataBufferEdit, AppendPrependReverseAndAliasing) {
    DataBuffer db;
    EXPECT_TRUE(db.isEmpty());
    EXPECT_TRUE(db.append("", 0));
    EXPECT_TRUE(db.appendUint32_be(0x01020304));
    const unsigned char pad[] = {0, 0};
    EXPECT_TRUE(db.prepend(pad, 2));
    EXPECT_EQ((Bytes{0, 0, 1, 2, 3, 4}), bytesOf(db));
    db.reverseBytes();
    EXPECT_EQ((Bytes{4, 3, 2, 1, 0, 0}), bytesOf(db));
    // Appending a buffer to itself, and a range of itself, across a reallocation.
    for (int i = 0; i < 5; ++i)
        ASSERT_TRUE(db.append(db));
    EXPECT_EQ(6u * 32, db.getSize());
    ASSERT_TRUE(db.append(db.getData2() + 1, 3));
    ASSERT_TRUE(db.prepend(db.getData2() + 2, 2));
    const Bytes all = bytesOf(db);
    EXPECT_EQ((Bytes{2, 1, 4, 3}), Bytes(all.begin(), all.begin() + 4));
    EXPECT_EQ((Bytes{3, 2, 1}), Bytes(all.end() - 3, all.end()));
    EXPECT_FALSE(db.append(nullptr, 1));
    EXPECT_TRUE(db.truncate(2));
    EXPECT_FALSE(db.truncate(3));
    EXPECT_TRUE(db.equals("\x02\x01", 2));

    StringBuffer text("ab");
    DataBuffer fromText;
    ASSERT_TRUE(fromText.append(text));
    EXPECT_EQ((Bytes{'a', 'b'}), bytesOf(fromText));  // no terminator
}

TEST(DataBufferSensitive, ClearAndTruncateZeroTheMemoryTheyGiveUp) {
    const Bytes secret(40, 0x5a);
    DataBuffer db;
    db.setSensitive();
    ASSERT_TRUE(db.append(secret.data(), (unsigned)secret.size()));
    const unsigned char *memory = db.getData2();
    ASSERT_TRUE(db.truncate(8));
    EXPECT_EQ(Bytes(32, 0), Bytes(memory + 8, memory + 40));
    db.clear();
    EXPECT_EQ(0u, db.getSize());
    EXPECT_EQ(memory, db.getData2());  // still allocated, so still readable here
    EXPECT_EQ(Bytes(40, 0), Bytes(memory, memory + 40));

    // Without the flag clear() only empties; secureClear() always zeroes.
    DataBuffer plain;
    plain.append(secret.data(), 8);
    const unsigned char *plainMemory = plain.getData2();
    plain.clear();
    EXPECT_EQ(Bytes(8, 0x5a), Bytes(plainMemory, plainMemory + 8));
    plain.append(secret.data(), 8);
    plain.secureClear();
    EXPECT_EQ(Bytes(8, 0), Bytes(plainMemory, plainMemory + 8));
}

TEST(DataBufferSensitive, FlagTravelsWithCopiesAndMoves) {
    DataBuffer secret;
    secret.setSensitive();
    secret.append("k", 1);
    DataBuffer copy(secret);
    EXPECT_TRUE(copy.isSensitive());
    DataBuffer assigned;
    assigned = secret;
    EXPECT_TRUE(assigned.isSensitive());
    DataBuffer moved(std::move(copy));
    EXPECT_TRUE(moved.isSensitive());
    EXPECT_TRUE(moved.equals("k", 1));
    DataBuffer plain;
    plain = std::move(moved);
    EXPECT_TRUE(plain.isSensitive());
}

TEST(StringBufferText, BuildCompareAndEdit) {
    StringBuffer sb;
    EXPECT_STREQ("", sb.getString());
    sb.append2("ab", "cd");
    sb.append3("-", "", "x");
    sb.appendChar('!');
    sb.append(-42);
    sb.append(INT_MIN);
    EXPECT_STREQ("abcd-x!-42-2147483648", sb.getString());
    EXPECT_EQ(21u, sb.getSize());
    EXPECT_TRUE(sb.beginsWith("abcd"));
    EXPECT_FALSE(sb.beginsWith("abcd-x!-42-2147483648+"));
    EXPECT_TRUE(sb.containsSubstring("!-42"));
    EXPECT_FALSE(sb.equals("ABCD-x!-42-2147483648"));

    sb.setString("  \tEMIT_ECC_PKCS1_PUBKEY Other\r\n");
    sb.trim2();
    EXPECT_STREQ("EMIT_ECC_PKCS1_PUBKEY Other", sb.getString());
    sb.toLowerCase();
    EXPECT_STREQ("emit_ecc_pkcs1_pubkey other", sb.getString());

    StringBuffer uri("urn:oid:urn:oid:1.2.3");
    EXPECT_TRUE(uri.replaceFirstOccurance("urn:oid:", "", false));
    EXPECT_STREQ("urn:oid:1.2.3", uri.getString());
    EXPECT_FALSE(uri.replaceFirstOccurance("absent", "x", false));

    sb.setString("self");
    sb.append(sb);
    sb.append(sb.getString() + 2);
    EXPECT_STREQ("selfselflfself", sb.getString());
    StringBuffer blank("   ");
    blank.trim2();
    EXPECT_TRUE(blank.isEmpty());
}

TEST(StringBufferText, ScrambledLiteralsAndCopies) {
    char label[] = "EC PRIVATE KEY";
    StringBuffer::litScram(label);
    EXPECT_STRNE("EC PRIVATE KEY", label);
    StringBuffer::litScram(label);
    EXPECT_STREQ("EC PRIVATE KEY", label);
    char dst[16];
    tvStrCpy(dst, "P-256");
    EXPECT_STREQ("P-256", dst);
}

TEST(StringBufferText, SecureClearZeroesTheCharacters) {
    StringBuffer sb("secret scalar text");
    const char *memory = sb.getString();
    sb.secureClear();
    EXPECT_STREQ("", sb.getString());
    EXPECT_EQ(std::string(18, '\0'), std::string(memory, memory + 18));
}

}  // namespace
