// COSE_Key EC2: RFC 9052 C.7.2's private key loads and writes back; its public form is RFC 9679 section 6's
// encoding byte for byte (whose SHA-256 is the published thumbprint); each refusal logs its reason. cbor-x
// reads and writes the keys of all four curves in tests/cli/jose_interop_test.mjs.
#include "formats/CoseKey.h"
#include "support/Hash.h"
#include "support/Oracle.h"

using namespace ecckey;

namespace {

const std::string kX = "65eda5a12577c2bae829437fe338701a10aaa375e1bb5b5de108de439c08551d";
const std::string kY = "1e52ed75701163f7f9e40ddf9f341b3dc9ba860af7e0ca7ca7e9eecd0084d19c";
const std::string kD = "aff907c99f9ad3aae6c4cdf21122bce2bd68b5283e6907154ad911840fa208cf";
const std::string kKid = "6d65726961646f632e6272616e64796275636b406275636b6c616e642e6578616d706c65";

DataBuffer hex(const std::string &text) {
    DataBuffer out;
    EXPECT_TRUE(out.appendEncoded(text.c_str(), "hex"));
    return out;
}

TEST(CoseKey, Rfc9052AndRfc9679AndRefusals) {
    const std::string pub = "a40102200121582065eda5" + kX.substr(6) + "225820" + kY;
    const std::string priv =
        "a601020258" + std::string("24") + kKid + "2001215820" + kX + "225820" + kY + "235820";
    LogRecorder log;
    EccKey key;
    ASSERT_TRUE(loadCoseKey(key, hex(priv + kD), log) && key.isPrivate());
    DataBuffer out, digest;
    ASSERT_TRUE(toCoseKey(key, false, nullptr, 0, false, out, log));
    EXPECT_TRUE(out.equals(hex(pub)));
    ASSERT_TRUE(_tvHash::doHash(out.getData2(), out.getSize(), HASH_SHA256, digest));
    EXPECT_TRUE(digest.equals(hex("496bd8afadf307e5b08c64b0421bf9dc01528a344a43bda88fadd1669da253ec")));
    const DataBuffer kid = hex(kKid);
    ASSERT_TRUE(toCoseKey(key, true, kid.getData2(), kid.getSize(), false, out, log));
    EXPECT_TRUE(out.equals(hex(priv + kD)) && out.isSensitive());

    // y as its sign bit: false is the example's even y; true is the other root, odd.
    const std::string signBit = "a40102200121582065eda5" + kX.substr(6) + "22";
    ASSERT_TRUE(loadCoseKey(key, hex(signBit + "f4"), log) &&
                toCoseKey(key, false, nullptr, 0, false, out, log));
    EXPECT_TRUE(out.equals(hex(pub)));
    ASSERT_TRUE(loadCoseKey(key, hex(signBit + "f5"), log) &&
                toCoseKey(key, false, nullptr, 0, false, out, log));
    EXPECT_TRUE(out.getSize() == 75 && !out.equals(hex(pub)) && (out[74] & 1) == 1);

    const struct {
        std::string cbor;
        const char *message;
    } rows[] = {
        {"a40101200121582065eda5" + kX.substr(6) + "225820" + kY, "Not a COSE EC2 key."},
        {"a40102200221582065eda5" + kX.substr(6) + "225820" + kY, "Not a COSE EC2 key."},
        {"a401022001215820" + std::string(62, '0') + "0122f5", "The COSE key's x is not on its curve."},
        {"a40102200121582065eda5" + kX.substr(6) + "2201", "Not a COSE EC2 key."},
        {priv + kD.substr(0, 62) + "ce", "The COSE key's d does not match its x and y."},
        {pub + "00", "Not a COSE EC2 key."},
    };
    for (const auto &row : rows) {
        log.reset();
        EXPECT_FALSE(loadCoseKey(key, hex(row.cbor), log));
        EXPECT_TRUE(log.hasError(row.message) && key.m_curve.m_byteLen == 0) << row.message;
    }
}

}  // namespace
