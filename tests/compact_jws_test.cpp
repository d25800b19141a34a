// Compact JWS: RFC 7515 appendix A.3 (ES256) verifies and re-signs, and each refusal logs its reason. jose
// checks all four algorithms both ways in tests/cli/jose_interop_test.mjs.
#include "formats/CompactJws.h"
#include "support/JsonObject.h"
#include "support/Oracle.h"

using namespace ecckey;

namespace {

const char kA3Key[] =
    R"({"kty":"EC","crv":"P-256","x":"f83OJ3D2xF1Bg8vub9tLe1gHMzV76e8Tus9uPHvRVEU",)"
    R"("y":"x_FEzRu9m36HLN_tue659LNpXW6pCyStikYjKIWI5a0","d":"jpsQnnGQmL-YBIffH1136cspYG6-0iY7X1fCE9-E9LI"})";
const std::string kA3Payload =
    "eyJpc3MiOiJqb2UiLA0KICJleHAiOjEzMDA4MTkzODAsDQogImh0dHA6Ly9leGFtcGxlLmNvbS9pc19yb290Ijp0cnVlfQ";
const std::string kA3Sig =
    "DtEhU3ljbEg8L38VWAfUAqOyKAM6-Xx-F4GawxaepmXFCgfTjDxw5djxLa8ISlSApmWQxfKTUJqPP3-Kg6NU1Q";

TEST(CompactJws, Rfc7515A3AndRefusals) {
    LogRecorder log;
    ClsJsonObject json;
    EccKey key;
    ASSERT_TRUE(json.load(kA3Key, log) && key.loadAnyJwk(json, log));
    DataBuffer payload;
    bool valid = false;
    ASSERT_TRUE(verifyCompactJws(key, "ES256", ("eyJhbGciOiJFUzI1NiJ9." + kA3Payload + "." + kA3Sig).c_str(),
                                 payload, valid, log));
    EXPECT_TRUE(valid && payload.getSize() == 70 && payload[0] == '{');
    StringBuffer token;
    ASSERT_TRUE(signCompactJws(key, nullptr, R"({"alg":"ES256","kid":"a3"})", payload, token, log));
    ASSERT_TRUE(verifyCompactJws(key, nullptr, token.getString(), payload, valid, log) && valid);

    const std::string der70(94, 'A');  // 70 bytes of base64url: the length of a DER signature
    const struct {
        std::string token;
        const char *accepted;
        const char *message;
    } rows[] = {
        {"eyJhbGciOiJFUzI1NiJ9." + kA3Payload, nullptr, "A compact JWS has three parts."},
        {"eyJhbGciOiJFUzM4NCJ9." + kA3Payload + "." + kA3Sig, nullptr,
         "The JWS alg is not the one accepted."},
        {"eyJhbGciOiJFUzI1NiIsImNyaXQiOlsiYiJdfQ." + kA3Payload + "." + kA3Sig, nullptr,
         "The JWS header lists critical extensions."},
        {"eyJhbGciOiJFUzI1NiJ9." + kA3Payload + "." + der70, nullptr,
         "The JWS signature is not r||s of the curve's width."},
        {"eyJhbGciOiJFUzI1NiJ9." + kA3Payload + "." + kA3Sig, "ES512",
         "The JWS algorithm does not belong to the key's curve."},
        {"e30." + kA3Payload + "." + kA3Sig, nullptr,
         "The JWS parts are not base64url, or its header is not JSON with an alg."},
    };
    for (const auto &row : rows) {
        log.reset();
        EXPECT_FALSE(verifyCompactJws(key, row.accepted, row.token.c_str(), payload, valid, log));
        EXPECT_TRUE(log.hasError(row.message) && !valid && payload.isEmpty()) << row.message;
    }
    EXPECT_FALSE(signCompactJws(key, nullptr, R"({"typ":"JWT"})", payload, token, log));
    EXPECT_TRUE(log.hasError("The JWS header must be a JSON object whose alg is the algorithm used."));
    ecckey_test::TestPrng prng(1);
    ASSERT_TRUE(key.generateNewKey(StringBuffer("brainpoolP256r1"), prng, log));
    EXPECT_FALSE(signCompactJws(key, nullptr, nullptr, payload, token, log));
    EXPECT_TRUE(log.hasError("No JWS algorithm exists for this curve.") && token.isEmpty());
}

}  // namespace
