// What a caller sees when an operation fails: the exact error lines, in order, for each kind of refusal.
#include <functional>
#include <sstream>

#include "support/Asn1.h"
#include "support/Hash.h"
#include "support/JsonObject.h"
#include "support/Oracle.h"
#include "support/PublicKey.h"
#include "support/Xml.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

// The P-256 generator as an X9.63 point, and structures around it.
const std::string kG =
    "046B17D1F2E12C4247F8BCE6E563A440F277037D812DEB33A0F4A13945D898C2964FE342E2FE1A7F9B8EE7EB4A7C0F9E162BCE33"
    "57"
    "6B315ECECBB6406837BF51F5";
const std::string kAlgId = "301306072A8648CE3D020106082A8648CE3D030107";
const std::string kD = "0420" + std::string(64, '1');

struct Fixture {
    TestPrng prng{testSeed()};
    EccKey p256, p256pub, bp256, k1, k1pub;
    DataBuffer o;
    ScriptedPrng failing;
    Bytes h = Bytes(32, 1);
    Fixture() {
        LogNull log;
        failing.m_failWhenEmpty = true;
        EXPECT_TRUE(p256.generateNewKey(StringBuffer("P-256"), prng, log));
        EXPECT_TRUE(p256pub.loadEcPubKeyByCurveAndPoint("P-256", toDb(unhex(kG)), log));
        EXPECT_TRUE(bp256.generateNewKey(StringBuffer("brainpoolP256r1"), prng, log));
        EXPECT_TRUE(k1.generateNewKey(StringBuffer("secp256k1"), prng, log));
        EXPECT_TRUE(k1.exportEccPoint(o, log));
        EXPECT_TRUE(k1pub.loadEcPubKeyByCurveAndPoint("secp256k1", o, log));
    }
};

// Reads text as the caller would hand it over: "der" hex, a "jwk" text or a "pem" text.
bool load(const std::string &kind, const std::string &text, LogBase &log) {
    EccKey key;
    ClsJsonObject json;
    ClsXml xml;
    StringBuffer label;
    DataBuffer db;
    if (kind == "jwk")
        return json.load(text.c_str(), log) && key.loadAnyJwk(json, log);
    if (kind == "xml")
        return xml.loadXml(text.c_str(), log) && key.loadAnyXml(xml, log);
    if (kind == "pem")
        return _tvPublicKey::pemToDer(text.c_str(), label, db, log);
    db = toDb(unhex(text));
    return key.loadEccDer(db, log);
}

// A four-field PuTTY private blob for P-256: its key type, then the rest as given.
bool loadPutty(const std::string &restHex, LogBase &log) {
    DataBuffer blob = toDb(unhex("0000001365636473612D736861322D6E69737470323536" + restHex));
    return EccKey().loadPrivateFromPuttySsh("nistp256", toDb(unhex(kG)), blob, log);
}

bool verify(EccKey &key, const Bytes &sig, const Bytes &hash, LogBase &log) {
    bool valid = true;
    return key.eccVerifyHash(sig.data(), (unsigned)sig.size(), false, hash.data(), (unsigned)hash.size(),
                             valid, log, 0);
}

using Errors = std::vector<std::string>;  // the last error lines, in order (a decoder may add its own first)

Errors lastErrors(const LogRecorder &log, size_t count) {
    Errors errors = log.errors();
    errors.erase(errors.begin(), errors.end() - (long)std::min(count, errors.size()));
    return errors;
}
const Errors kUnknownCurve = {"Unsupported ECDSA curve.", "Unsupported ECC curve.."};
const std::string kSec1Tail = "Invalid ASN.1 for ECC private key.";
const std::string kPem = "-----BEGIN PUBLIC KEY-----\nMAA=\n-----END ";

const struct {
    const char *kind;
    std::string text;
    Errors errors;
} kInputs[] = {
    {"der", "305B301506092A864886F70D01010106082A8648CE3D030107034200" + kG, {"Not an ECC key."}},
    {"der",
     "301D" + kAlgId + "0306000201020304",
     {"First byte of ECC point is invalid.", "Invalid ANSI X9.63 ECC point.", "Failed to load ECC point."}},
    {"der", "3056301006072A8648CE3D020106052B81040063034200" + kG, {"Unsupported ECDSA curve."}},
    {"der", "3059034200" + kG + kAlgId, {"The ECC curve OID is unknown.", "Invalid ASN.1 for ECC key."}},
    {"der",
     "3059" + kAlgId + "034208" + kG,
     {"Invalid DER content for its ASN.1 type.", "Failed to decode ECC key ASN.1"}},
    {"der", "3031040101" + kD + "A00A06082A8648CE3D030107", {"curve OID not found.", kSec1Tail}},
    {"der", "3000", {"Invalid ASN.1 for ECC key."}},
    {"der", "", {"Failed to decode ECC key ASN.1"}},
    {"der",
     "30310201020420" + std::string(64, '1') + "A00A06082A8648CE3D030107",
     {"curve OID not found.", kSec1Tail}},
    {"der",
     "302C020101" + kD + "A00506032A0304",
     {"Unsupported ECDSA curve.", "Failed to load curve by OID.", "curve OID not found.", kSec1Tail}},
    {"der",
     "30110201010400A00A06082A8648CE3D030107",
     {"Failed to get K bytes", "curve OID not found.", kSec1Tail}},
    {"der", "3018020100" + kAlgId, {"Invalid ASN.1 for ECC key."}},
    {"der",
     "3012020101020105A00A06082A8648CE3D030107",
     {"Did not get octets for K", "curve OID not found.", kSec1Tail}},
    {"der", "301C020100" + kAlgId + "04023009", {"Failed to decode ECC key ASN.1"}},
    {"jwk", R"({"kty":"EC","x":"AQ","y":"AQ"})", {"JWK crv member in ECC key is missing"}},
    {"jwk", R"({"kty":"EC","crv":"P-999","x":"AQ","y":"AQ"})", {"Invalid ECC curve name"}},
    {"jwk", R"({"kty":"EC","crv":"P-256","x":"AQ","y":"=="})", {"JWK member is not valid base64url."}},
    {"jwk", R"({"kty":"EC","crv":"P-256","x":"AQ"})", {"JWK member is missing."}},
    {"jwk", R"(["EC"])", {"JSON text is not an object."}},
    {"jwk", R"({"kty":)", {"Invalid JSON."}},
    {"jwk", std::string(65, '[') + std::string(65, ']'), {"JSON nesting is too deep."}},
    {"jwk", std::string((1u << 20) + 1, ' '), {"JSON text is too large."}},
    {"xml", "<ECCPublicKey", {"Invalid XML."}},
    {"pem", "MAA=", {"No PEM BEGIN line found."}},
    {"pem", kPem, {"Invalid PEM END line."}},
    {"pem", kPem + "PRIVATE KEY-----\n", {"PEM BEGIN and END labels differ."}},
    {"pem", "-----BEGIN PUBLIC KEY-----\nMA!=\n-----END PUBLIC KEY-----\n", {"Invalid base64 in PEM body."}},
};

TEST(Messages, EachRefusedInputLogsItsLines) {
    for (const auto &in : kInputs) {
        LogRecorder log;
        EXPECT_FALSE(load(in.kind, in.text, log)) << in.text;
        EXPECT_EQ(lastErrors(log, in.errors.size()), in.errors) << in.text << "\n" << log.errorText();
    }
}

using F = Fixture;
using L = LogBase;
struct Case {
    const char *what;
    std::function<bool(F &, L &)> act;
    Errors errors;
};

const Case kCases[] = {
    {"curve", [](F &, L &l) { return EccKey().generateNewKey2(StringBuffer("ed25519"), "01", "hex", l); },
     kUnknownCurve},
    {"curve",
     [](F &f, L &l) { return EccKey().generateNewKey(StringBuffer("curve25519"), f.prng, l); },
     {"Unsupported ECDSA curve.", "Unsupported ECC curve..", "Failed to load curve by name."}},
    {"prng",
     [](F &f, L &l) { return EccKey().generateNewKey(StringBuffer("secp384r1"), f.failing, l); },
     {"Failed to generate random private key."}},
    {"k",
     [](F &, L &l) { return EccKey().generateNewKey2(StringBuffer("P-256"), "zz", "hex", l); },
     {"Failed to decode K."}},
    {"raw d",
     [](F &, L &l) { return EccKey().loadEccPrivateRaw(toDb(Bytes(64, 1)), false, l); },
     {"Invalid ECC key size."}},
    {"raw Q",
     [](F &, L &l) {
         return EccKey().loadEccPublicRaw(toDb(Bytes{2, 1, 1}), l);
     },
     {"Not a raw ECC public key."}},
    {"raw Q",
     [](F &, L &l) { return EccKey().loadEccPublicRaw(toDb(unhex("04" + kG.substr(0, 112))), l); },
     {"Invalid ECC public key size."}},
    {"Q",
     [](F &, L &l) { return EccKey().loadEcPubKeyByCurveAndPoint("P-256", toDb(Bytes{4}), l); },
     {"Invalid ANSI X9.63 ECC point.", "Failed to load ECC point."}},
    {"Q",
     [](F &f, L &l) {
         f.o.clear();  // empty, but with its storage: a buffer with no storage at all is refused silently
         EccKey key;   // a refused point is left with the uncompressed form byte
         return key.loadEcPubKeyByCurveAndPoint("P-256", f.o, l) || key.m_pubPoint.m_format != 4;
     },
     {"dbX963 is empty.", "Failed to load ECC point."}},
    {"pkcs8", [](F &f, L &l) { return f.p256pub.toEccPkcs8PrivateKeyDer(f.o, l); }, {"Not a private key."}},
    {"sec1",
     [](F &f, L &l) {
         StringBuffer pem;
         return f.p256pub.toEccPrivateKeyPem(true, pem, l);
     },
     {"k is empty"}},
    {"p11", [](F &f, L &l) { return f.p256pub.toEccPkcs1PrivateKeyDer_forPkcs11(f.o, l); }, {"k is empty"}},
    {"attributes",
     [](F &f, L &l) {
         f.p256.setPkcs8Attributes(_tvAsn1::newSequence());
         return f.p256.toEccPkcs8PrivateKeyDer(f.o, l);
     },
     {"PKCS8 attributes are not a [0] IMPLICIT SET."}},
    {"ecdh", [](F &f, L &l) { return f.p256pub.sharedSecret(f.p256, f.o, l); }, {"Must be a private key."}},
    {"ecdh", [](F &f, L &l) { return f.p256.sharedSecret(f.bp256, f.o, l); }, {"ECC curves are different"}},
    {"sign",
     [](F &f, L &l) { return f.p256pub.eccSignHash(f.h.data(), 32, f.prng, true, f.o, l); },
     {"Must be a private key."}},
    {"ssh",
     [](F &f, L &l) { return f.p256pub.eccSignHash_forSsh(f.h.data(), 32, f.prng, f.o, l); },
     {"Must be a private key."}},
    {"k1",
     [](F &f, L &l) { return f.k1pub.eccSignHash(f.h.data(), 32, f.prng, true, f.o, l); },
     {"Must be a private key."}},
    {"rfc6979",
     [](F &f, L &l) {
         EccKey zero;
         return zero.generateNewKey2(StringBuffer("P-256"), "00", "hex", l) &&
                zero.eccSignHashDeterministic(f.h.data(), 32, HASH_SHA256, true, f.o, l);
     },
     {"The private key is not in [1, n-1]."}},
    {"nonce",
     [](F &f, L &l) { return f.p256.eccSignHash(f.h.data(), 32, f.failing, true, f.o, l); },
     {"Failed to generate point on curve."}},
    {"e",
     [](F &f, L &l) { return f.p256.eccSignHash(nullptr, 48, f.prng, true, f.o, l); },
     {"Failed to get e"}},
    {"k1",
     [](F &f, L &l) { return f.k1.eccSignHash(f.h.data(), 20, f.prng, true, f.o, l); },
     {"secp256k1 must use SHA256"}},
    {"k1",
     [](F &f, L &l) { return verify(f.k1, Bytes(64, 1), Bytes(20, 1), l); },
     {"hash length must be 32"}},
    {"verify", [](F &f, L &l) { return verify(f.p256, Bytes(), f.h, l); }, {"null inputs."}},
    {"verify",
     [](F &f, L &l) { return verify(f.p256, Bytes(56, 1), f.h, l); },
     {"Unexpected size for R,S signature.", "Failed to unpack ASN.1 DSA/ECDSA signature."}},
    {"y",
     [](F &f, L &l) {
         return !TovarMp::mp_add(f.p256.m_pubPoint.m_y, f.p256.m_pubPoint.m_z, f.p256.m_pubPoint.m_y) &&
                EccKey().regeneratePubKey(f.p256, l);
     },
     {"y is different!", "Failed."}},
    {"xz",
     [](F &f, L &l) {
         return !TovarMp::mp_add(f.p256.m_pubPoint.m_x, f.p256.m_pubPoint.m_z, f.p256.m_pubPoint.m_x) &&
                !TovarMp::mp_add(f.p256.m_pubPoint.m_z, f.p256.m_pubPoint.m_z, f.p256.m_pubPoint.m_z) &&
                f.p256.regeneratePubKey(f.p256, l);
     },
     {"x is different!", "z is different!", "Failed."}},
    {"curve",
     [](F &f, L &l) {
         return f.bp256.m_curve.m_name.setString("nope") && EccKey().regeneratePubKey(f.bp256, l);
     },
     kUnknownCurve},
    {"ppk", [](F &, L &l) { return loadPutty("FFFFFFFF" + std::string(66, '0'), l); }, {"no alt curve name"}},
    {"ppk",
     [](F &, L &l) { return loadPutty("0000001E" + std::string(60, '4'), l); },
     {"no embedded ecc point"}},
    {"ppk",
     [](F &, L &l) {
         StringBuffer out;
         return EccCurve().getPpkType(out, l);
     },
     {"Unsupported ecdsa curve."}},
};

TEST(Messages, EachRefusedOperationLogsItsLines) {
    for (const Case &tc : kCases) {
        Fixture f;
        LogRecorder log;
        EXPECT_FALSE(tc.act(f, log)) << tc.what;
        EXPECT_EQ(lastErrors(log, tc.errors.size()), tc.errors) << tc.what << "\n" << log.errorText();
    }
}

// A curve field that does not parse, or a prime the Montgomery arithmetic cannot use (an even one): each
// operation names what it needed. Every row breaks one field of a copy of a brainpoolP256r1 private key.
TEST(Messages, UnusableCurveFields) {
    const struct {
        const char *op;
        StringBuffer EccCurve::*field;
        const char *value;
        const char *error;
    } rows[] = {
        {"derive", &EccCurve::m_Gx, "XYZ", "Big integer calculations failed."},
        {"derive", &EccCurve::m_a, "XYZ", "Failed to decode curve A."},
        {"derive", &EccCurve::m_p, "10", "point multiply failed."},
        {"isPoint", &EccCurve::m_p, "XYZ", "Failed to decode curve prime."},
        {"isPoint", &EccCurve::m_b, "XYZ", "Failed to decode curve B."},
        {"ecdh", &EccCurve::m_p, "XYZ", "Failed to decode curve prime."},
        {"ecdh", &EccCurve::m_a, "XYZ", "Failed to decode curve A."},
        {"ecdh", &EccCurve::m_p, "10", "Point multiply failed."},
        {"verify", &EccCurve::m_order, "XYZ", "Failed to decode curve order."},
        {"verify", &EccCurve::m_p, "XYZ", "Failed to decode curve prime."},
        {"verify", &EccCurve::m_a, "XYZ", "Failed to decode curve A."},
    };
    Fixture f;
    for (const auto &row : rows) {
        EccKey key;
        key.copyFromEccKey(f.bp256);
        EXPECT_TRUE((key.m_curve.*row.field).setString(row.value));
        LogRecorder log;
        const std::string op = row.op;
        DataBuffer out;
        EXPECT_FALSE(op == "derive"    ? key.genPubKey(log)
                     : op == "isPoint" ? key.isPoint(log)
                     : op == "ecdh"    ? key.sharedSecret(key, out, log)
                                       : verify(key, Bytes(64, 1), f.h, log));
        EXPECT_EQ(lastErrors(log, 1), Errors{row.error}) << op << " " << row.value;
    }
}

// The catalogue: every accepted spelling, and names that only look like one.
TEST(Messages, CurveNamesAndTheirLookalikes) {
    const std::pair<const char *, const char *> names[] = {
        {"secp256r1", "secp256r1 P-256 prime256v1 ecdsa-sha2-nistp256 nistp256 1.2.840.10045.3.1.7"},
        {"secp384r1", "secp384r1 p-384 ecdsa-sha2-nistp384 NISTP384 1.3.132.0.34"},
        {"secp521r1", "secp521r1 p-521 ecdsa-sha2-nistp521 nistp521 1.3.132.0.35"},
        {"secp256k1", "SECP256K1 1.3.132.0.10"},
        {"secp192r1", "secp192r1 p-192 prime192v1 1.2.840.10045.3.1.1"},
        {"secp224r1", "secp224r1 p-224 prime224v1 ecdsa-sha2-nistp224 nistp224 1.3.132.0.33"},
        {"brainpoolp160r1", "brainpoolP160r1 bp-160 bp160r1 bp160r1/bp512r1"},
        {"brainpoolp192r1", "brainpoolp192r1 bp-192 bp192r1"},
        {"brainpoolp224r1", "brainpoolp224r1 bp-224 bp224r1"},
        {"brainpoolp256r1", "brainpoolp256r1 bp-256 bp256r1 x-BP256R1-y bp512r1+bp256r1"},
        {"brainpoolp320r1", "brainpoolp320r1 bp-320 bp320r1"},
        {"brainpoolp384r1", "brainpoolp384r1 bp-384 bp384r1"},
        {"brainpoolp512r1", "brainpoolp512r1 bp-512 bp512r1 my-bp512r1-curve"},
    };
    for (const auto &row : names) {
        std::istringstream words(row.second);
        for (std::string w; words >> w;) {
            EccCurve curve;
            LogRecorder log;
            std::string text =
                isdigit((unsigned char)w[0]) ? w : "  " + w + " ";  // an OID is taken untrimmed
            ASSERT_TRUE(curve.loadCurveByName(text.c_str(), log)) << w;
            EXPECT_STREQ(curve.m_name.getString(), row.first) << w;
            EXPECT_TRUE(log.errors().empty()) << w;
        }
    }
    for (const char *name : {"prime384v1", "nistp192", "ecdsa-sha2-nistp192", "ed25519", "", "p-2566",
                             "secp256r1x", "xp-256", "p256", "bp-256r1", " 1.3.132.0.10"}) {
        EccCurve curve;
        LogRecorder log;
        EXPECT_FALSE(curve.loadCurveByName(name, log)) << name;
        EXPECT_EQ(log.errors(), kUnknownCurve) << name;
        EXPECT_EQ(curve.m_byteLen, 0);
    }
    EccCurve curve;
    LogRecorder log;
    EXPECT_FALSE(curve.loadCurveByOid(StringBuffer("1.3.132.0.34.0"), log));
    EXPECT_EQ(log.errors(), Errors{"Unsupported ECDSA curve."});
}

}  // namespace
