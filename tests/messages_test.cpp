// What a caller sees when an operation fails: the exact error lines, in order, for each kind of refusal.
#include <functional>
#include <sstream>

#include "support/JsonObject.h"
#include "support/Oracle.h"

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
    EccKey p256, p256pub, bp256, k1;
    Fixture() {
        LogNull log;
        p256.generateNewKey(StringBuffer("P-256"), prng, log);
        p256pub.loadEcPubKeyByCurveAndPoint("P-256", toDb(unhex(kG)), log);
        bp256.generateNewKey(StringBuffer("brainpoolP256r1"), prng, log);
        k1.generateNewKey(StringBuffer("secp256k1"), prng, log);
    }
};

bool der(const std::string &hex, LogBase &log) {
    EccKey key;
    DataBuffer db = toDb(unhex(hex));
    return key.loadEccDer(db, log);
}

bool jwk(const std::string &text, LogBase &log) {
    ClsJsonObject json;
    EccKey key;
    return json.load(text.c_str(), log) && key.loadAnyJwk(json, log);
}

bool verify(EccKey &key, const Bytes &sig, const Bytes &hash, LogBase &log) {
    bool valid = true;
    return key.eccVerifyHash(sig.data(), (unsigned)sig.size(), false, hash.data(), (unsigned)hash.size(),
                             valid, log, 0);
}

struct Case {
    const char *what;
    std::function<bool(Fixture &, LogBase &)> act;
    std::vector<std::string>
        errors;  // the last error lines, in order (a decoder may add its own before them)
};

const std::vector<std::string> kUnknownCurve = {"Unsupported ECDSA curve.", "Unsupported ECC curve.."};
const std::vector<std::string> kBadPoint = {"First byte of ECC point is invalid.",
                                            "Invalid ANSI X9.63 ECC point.", "Failed to load ECC point."};
const std::string kSec1Tail = "Invalid ASN.1 for ECC private key.";

const Case kCases[] = {
    {"SPKI of another algorithm",
     [](Fixture &, LogBase &l) {
         return der("305B301506092A864886F70D01010106082A8648CE3D030107034200" + kG, l);
     },
     {"Not an ECC key."}},
    {"compressed point", [](Fixture &, LogBase &l) { return der("301D" + kAlgId + "0306000201020304", l); },
     kBadPoint},
    {"unknown named curve",
     [](Fixture &, LogBase &l) { return der("3056301006072A8648CE3D020106052B81040063034200" + kG, l); },
     {"Unsupported ECDSA curve."}},
    {"BIT STRING first",
     [](Fixture &, LogBase &l) { return der("3059034200" + kG + kAlgId, l); },
     {"The ECC curve OID is unknown.", "Invalid ASN.1 for ECC key."}},
    {"empty SEQUENCE", [](Fixture &, LogBase &l) { return der("3000", l); }, {"Invalid ASN.1 for ECC key."}},
    {"no DER at all", [](Fixture &, LogBase &l) { return der("", l); }, {"Failed to decode ECC key ASN.1"}},
    {"SEC 1 version 2",
     [](Fixture &, LogBase &l) {
         return der("30310201020420" + std::string(64, '1') + "A00A06082A8648CE3D030107", l);
     },
     {"curve OID not found.", kSec1Tail}},
    {"SEC 1 unknown curve",
     [](Fixture &, LogBase &l) { return der("302C020101" + kD + "A00506032A0304", l); },
     {"Unsupported ECDSA curve.", "Failed to load curve by OID.", "curve OID not found.", kSec1Tail}},
    {"SEC 1 empty scalar",
     [](Fixture &, LogBase &l) { return der("30110201010400A00A06082A8648CE3D030107", l); },
     {"Failed to get K bytes", "curve OID not found.", kSec1Tail}},
    {"PKCS #8 without key",
     [](Fixture &, LogBase &l) { return der("3018020100" + kAlgId, l); },
     {"Invalid ASN.1 for ECC key."}},
    {"PKCS #8 undecodable key",
     [](Fixture &, LogBase &l) { return der("301C020100" + kAlgId + "04023009", l); },
     {"Failed to decode ECC key ASN.1"}},
    {"JWK without crv",
     [](Fixture &, LogBase &l) { return jwk(R"({"kty":"EC","x":"AQ","y":"AQ"})", l); },
     {"JWK crv member in ECC key is missing"}},
    {"JWK unknown crv",
     [](Fixture &, LogBase &l) { return jwk(R"({"kty":"EC","crv":"P-999","x":"AQ","y":"AQ"})", l); },
     {"Invalid ECC curve name"}},
    {"JWK blank member",
     [](Fixture &, LogBase &l) { return jwk(R"({"kty":"EC","crv":"P-256","x":"AQ","y":"=="})", l); },
     {"JWK member is not valid base64url."}},
    {"JWK missing member",
     [](Fixture &, LogBase &l) { return jwk(R"({"kty":"EC","crv":"P-256","x":"AQ"})", l); },
     {"JWK member is missing."}},
    {"unknown curve name",
     [](Fixture &f, LogBase &l) { return f.p256.generateNewKey2(StringBuffer("ed25519"), "01", "hex", l); },
     kUnknownCurve},
    {"generation on an unknown curve",
     [](Fixture &f, LogBase &l) { return EccKey().generateNewKey(StringBuffer("curve25519"), f.prng, l); },
     {"Unsupported ECDSA curve.", "Unsupported ECC curve..", "Failed to load curve by name."}},
    {"generator fails",
     [](Fixture &, LogBase &l) {
         ScriptedPrng failing;
         failing.m_failWhenEmpty = true;
         return EccKey().generateNewKey(StringBuffer("secp384r1"), failing, l);
     },
     {"Failed to generate random private key."}},
    {"undecodable scalar",
     [](Fixture &, LogBase &l) { return EccKey().generateNewKey2(StringBuffer("P-256"), "zz", "hex", l); },
     {"Failed to decode K."}},
    {"raw scalar of no known size",
     [](Fixture &, LogBase &l) { return EccKey().loadEccPrivateRaw(toDb(Bytes(64, 1)), false, l); },
     {"Invalid ECC key size."}},
    {"raw point not uncompressed",
     [](Fixture &, LogBase &l) {
         return EccKey().loadEccPublicRaw(toDb(Bytes{2, 1, 1}), l);
     },
     {"Not a raw ECC public key."}},
    {"raw point of P-224's size",
     [](Fixture &, LogBase &l) {
         Bytes pt(57, 1);
         pt[0] = 4;
         return EccKey().loadEccPublicRaw(toDb(pt), l);
     },
     {"Invalid ECC public key size."}},
    {"point of an unknown curve",
     [](Fixture &, LogBase &l) { return EccKey().loadEcPubKeyByCurveAndPoint("x25519", toDb(unhex(kG)), l); },
     kUnknownCurve},
    {"point of one byte",
     [](Fixture &, LogBase &l) { return EccKey().loadEcPubKeyByCurveAndPoint("P-256", toDb(Bytes{4}), l); },
     {"Invalid ANSI X9.63 ECC point.", "Failed to load ECC point."}},
    {"public key agrees",
     [](Fixture &f, LogBase &l) {
         DataBuffer o;
         return f.p256pub.sharedSecret(f.p256, o, l);
     },
     {"Must be a private key."}},
    {"keys on two curves",
     [](Fixture &f, LogBase &l) {
         DataBuffer o;
         return f.p256.sharedSecret(f.bp256, o, l);
     },
     {"ECC curves are different"}},
    {"public key signs",
     [](Fixture &f, LogBase &l) {
         DataBuffer o;
         return f.p256pub.eccSignHash(unhex(kD).data(), 32, f.prng, true, o, l);
     },
     {"Must be a private key."}},
    {"public key signs for SSH",
     [](Fixture &f, LogBase &l) {
         DataBuffer o;
         return f.p256pub.eccSignHash_forSsh(unhex(kD).data(), 32, f.prng, o, l);
     },
     {"Must be a private key."}},
    {"public secp256k1 key signs",
     [](Fixture &f, LogBase &l) {
         EccKey pub;
         DataBuffer point, o;
         f.k1.exportEccPoint(point, l);
         pub.loadEcPubKeyByCurveAndPoint("secp256k1", point, l);
         return pub.eccSignHash(unhex(kD).data(), 32, f.prng, true, o, l);
     },
     {"Must be a private key."}},
    {"signing nonce unavailable",
     [](Fixture &f, LogBase &l) {
         ScriptedPrng failing;
         failing.m_failWhenEmpty = true;
         DataBuffer o;
         return f.p256.eccSignHash(unhex(kD).data(), 32, failing, true, o, l);
     },
     {"Failed to generate point on curve."}},
    {"no hash",
     [](Fixture &f, LogBase &l) {
         DataBuffer o;
         return f.p256.eccSignHash(nullptr, 48, f.prng, true, o, l);
     },
     {"Failed to get e"}},
    {"secp256k1 signs a short hash",
     [](Fixture &f, LogBase &l) {
         DataBuffer o;
         return f.k1.eccSignHash(unhex(kD).data(), 20, f.prng, true, o, l);
     },
     {"secp256k1 must use SHA256"}},
    {"secp256k1 verifies a short hash",
     [](Fixture &f, LogBase &l) { return verify(f.k1, Bytes(64, 1), Bytes(20, 1), l); },
     {"hash length must be 32"}},
    {"null signature",
     [](Fixture &f, LogBase &l) { return verify(f.p256, Bytes(), Bytes(32, 1), l); },
     {"null inputs."}},
    {"raw signature of no known size",
     [](Fixture &f, LogBase &l) { return verify(f.p256, Bytes(56, 1), Bytes(32, 1), l); },
     {"Unexpected size for R,S signature.", "Failed to unpack ASN.1 DSA/ECDSA signature."}},
    {"curve with a broken order",
     [](Fixture &f, LogBase &l) {
         f.p256pub.m_curve.m_order.setString("XYZ");
         return verify(f.p256pub, Bytes(64, 1), Bytes(32, 1), l);
     },
     {"Failed to decode curve order."}},
    {"curve with a broken prime",
     [](Fixture &f, LogBase &l) {
         f.p256pub.m_curve.m_p.setString("XYZ");
         return f.p256pub.isPoint(l);
     },
     {"Failed to decode curve prime."}},
    {"Brainpool curve with a broken a",
     [](Fixture &f, LogBase &l) {
         f.bp256.m_curve.m_a.setString("XYZ");
         return verify(f.bp256, Bytes(64, 1), Bytes(32, 1), l);
     },
     {"Failed to decode curve A."}},
    {"regenerated key differs in y",
     [](Fixture &f, LogBase &l) {
         TovarMp::mp_add(f.p256.m_pubPoint.m_y, f.p256.m_pubPoint.m_z, f.p256.m_pubPoint.m_y);
         return EccKey().regeneratePubKey(f.p256, l);
     },
     {"y is different!", "Failed."}},
    {"PuTTY blob without its second name",
     [](Fixture &, LogBase &l) {
         DataBuffer blob =
             toDb(unhex("0000001365636473612D736861322D6E69737470323536FFFFFFFF" + std::string(66, '0')));
         return EccKey().loadPrivateFromPuttySsh("nistp256", toDb(unhex(kG)), blob, l);
     },
     {"no alt curve name"}},
    {"SSH type of a curve without OID",
     [](Fixture &, LogBase &l) {
         StringBuffer out;
         return EccCurve().getPpkType(out, l);
     },
     {"Unsupported ecdsa curve."}},
};

TEST(Messages, EachRefusalLogsItsLines) {
    for (const Case &tc : kCases) {
        Fixture f;
        LogRecorder log;
        EXPECT_FALSE(tc.act(f, log)) << tc.what;
        std::vector<std::string> errors = log.errors();
        if (errors.size() > tc.errors.size())
            errors.erase(errors.begin(), errors.end() - (long)tc.errors.size());
        EXPECT_EQ(errors, tc.errors) << tc.what << "\n" << log.errorText();
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
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Unsupported ECDSA curve."});
}

}  // namespace
