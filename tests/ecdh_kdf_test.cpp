// Key derivation from ECDH secrets: published X9.63 and HKDF vectors, the JWE ECDH-ES example end to end,
// and the refusals with their messages. The random differential against pyca runs in tests/cli.
#include <fstream>
#include <sstream>

#include "formats/EcdhKdf.h"
#include "support/JsonObject.h"
#include "support/Oracle.h"

using namespace ecckey;

namespace {

DataBuffer fromHex(const std::string &hex) {
    DataBuffer out;
    EXPECT_TRUE(hex == "-" || out.appendEncoded(hex.c_str(), "hex"));
    return out;
}

TEST(EcdhKdf, PublishedVectors) {
    std::ifstream in(ECCKEY_VECTORS_DIR "/ecdh_kdf.txt");
    ASSERT_TRUE(in) << "missing tests/vectors/ecdh_kdf.txt";
    int numRows = 0;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream row(line);
        std::string kdf, hash, secret, info, salt, want;
        row >> kdf >> hash >> secret >> info >> salt >> want;
        EcdhKdfParams params;
        ASSERT_TRUE(parseEcdhKdfName((kdf + ":" + hash).c_str(), params.kind, params.hashAlg)) << line;
        const DataBuffer infoBytes = fromHex(info), saltBytes = fromHex(salt), expected = fromHex(want);
        params.info = &infoBytes;
        params.salt = &saltBytes;
        params.outLen = expected.getSize();
        DataBuffer out;
        LogRecorder log;
        ASSERT_TRUE(deriveFromSecret(fromHex(secret), params, out, log)) << line;
        EXPECT_TRUE(out.equals(expected) && out.isSensitive()) << line;
        ++numRows;
    }
    EXPECT_EQ(numRows, 9);
}

// RFC 7518 appendix C: the two JWKs agree, and the Concat KDF over A128GCM, "Alice", "Bob" gives the key.
TEST(EcdhKdf, JweEcdhEsExample) {
    const char *alice =
        R"({"kty":"EC","crv":"P-256","x":"gI0GAILBdu7T53akrFmMyGcsF3n5dO7MmwNBHKW5SV0",)"
        R"("y":"SLW_xSffzlPWrHEVI30DHM_4egVwt3NQqeUD7nMFpps","d":"0_NxaRPUMQoAJt50Gz8YiTr8gRTwyEaCumd-MToTmIo"})";
    const char *bob =
        R"({"kty":"EC","crv":"P-256","x":"weNJy2HscCSM6AEDTDg04biOvhFhyyWvOHQfeF_PxMQ",)"
        R"("y":"e8lnCO-AlStT-NJVX-crhB7QRYhiix03illJOVAOyck","d":"VEmDZpDXXK8p8N0Cndsxs924q6nS1RXFASRl6BfUqdw"})";
    LogRecorder log;
    EccKey keys[2];
    for (int i = 0; i < 2; ++i) {
        ClsJsonObject json;
        ASSERT_TRUE(json.load(i == 0 ? alice : bob, log) && keys[i].loadAnyJwk(json, log));
    }
    DataBuffer partyU, partyV, otherInfo, out, b64;
    ASSERT_TRUE(partyU.append("Alice", 5) && partyV.append("Bob", 3) &&
                jweConcatOtherInfo("A128GCM", partyU, partyV, 128, otherInfo));
    const EcdhKdfParams params{EcdhKdfKind::Concat, HASH_SHA256, 16, &otherInfo, nullptr};
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(agreeAndDerive(keys[i], keys[1 - i], params, out, log));
        StringBuffer text;
        ASSERT_TRUE(out.encodeDB("base64url", text));
        EXPECT_STREQ(text.getString(), "VqqN6vgjbSBcIijNcacQGg");
    }
}

TEST(EcdhKdf, Refusals) {
    const DataBuffer secret = fromHex("00112233"), salt = fromHex("55");
    const struct {
        EcdhKdfParams params;
        const char *message;
    } rows[] = {
        {{EcdhKdfKind::X963, HASH_SHA1, 16, nullptr, nullptr},
         "The key derivation takes SHA-224, SHA-256, SHA-384 or SHA-512."},
        {{EcdhKdfKind::X963, HASH_SHA256, 0, nullptr, nullptr},
         "The derived key length must be at least one byte."},
        {{EcdhKdfKind::Hkdf, HASH_SHA256, 255 * 32 + 1, nullptr, nullptr},
         "HKDF derives at most 255 hash lengths."},
        {{EcdhKdfKind::Concat, HASH_SHA256, 16, nullptr, &salt}, "Only HKDF takes a salt."},
    };
    for (const auto &row : rows) {
        DataBuffer out;
        LogRecorder log;
        EXPECT_FALSE(deriveFromSecret(secret, row.params, out, log));
        EXPECT_TRUE(log.hasError(row.message) && out.isEmpty()) << row.message;
    }
    DataBuffer out;
    LogRecorder log;
    EXPECT_FALSE(deriveFromSecret(DataBuffer(), rows[0].params, out, log));
    EXPECT_TRUE(log.hasError("The shared secret is empty."));
}

}  // namespace
