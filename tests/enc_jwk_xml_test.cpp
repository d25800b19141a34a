// JWK and the three XML key forms: exact texts on every curve, round trips through the loaders, Node.js's
// JOSE implementation reading our JWKs and writing ones we read, and an independent XML parser reading
// our XML Signature 1.1 ECKeyValue.
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "ecc/ecckey.h"
#include "support/OsslKey.h"
#include "support/ToolRunner.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

// The x and y of OpenSSL's key, at their minimal lengths.
void coordinates(EVP_PKEY *pkey, const CurveInfo &c, Bytes &x, Bytes &y) {
    Bytes q = osslPubPoint(pkey);
    x.assign(q.begin() + 1, q.begin() + 1 + c.byteLen);
    y.assign(q.begin() + 1 + c.byteLen, q.end());
    while (!x.empty() && x[0] == 0)
        x.erase(x.begin());
    while (!y.empty() && y[0] == 0)
        y.erase(y.begin());
}

std::string jwkCurveName(const CurveInfo &c) {
    std::string n = c.name;
    if (n == "secp256r1")
        return "P-256";
    if (n == "secp384r1")
        return "P-384";
    if (n == "secp521r1")
        return "P-521";
    return n;
}

class JwkXmlCurve : public ::testing::TestWithParam<CurveInfo> {
  protected:
    void SetUp() override {
        TestPrng prng(curveSeed(GetParam(), 1));
        m_pkey = osslRandomKey(GetParam(), prng);
        setEccKeyFrom(m_pkey.get(), GetParam(), m_key);
        coordinates(m_pkey.get(), GetParam(), m_x, m_y);
        m_d = bytesOf(osslPrivScalar(m_pkey.get()).get());
    }
    // The XML text read back through loadAnyXml is this key (its private half when withPrivate).
    ::testing::AssertionResult readsBack(const StringBuffer &xml, bool withPrivate, LogRecorder &log) {
        ClsXml node;
        EccKey back;
        if (!node.loadXml(xml.getString(), log) || !back.loadAnyXml(node, log))
            return ::testing::AssertionFailure() << "not loaded: " << log.toText();
        PkeyPtr pubOnly = osslPublicOnly(m_pkey.get());
        return sameKey(back, withPrivate ? m_pkey.get() : pubOnly.get(), GetParam(), withPrivate);
    }
    PkeyPtr m_pkey;
    EccKey m_key;
    Bytes m_x, m_y, m_d;
};

TEST_P(JwkXmlCurve, JwkTextsAreExact) {
    const CurveInfo &c = GetParam();
    std::string crv = jwkCurveName(c);
    StringBuffer name;
    LogRecorder log;
    m_key.getJwkCurveName(name, log);
    EXPECT_EQ(name.getString(), crv);

    StringBuffer out("stale");
    ASSERT_TRUE(m_key.toEccPrivateKeyJwk(out, log));
    EXPECT_EQ(std::string(out.getString()), "{\"kty\":\"EC\",\"crv\":\"" + crv + "\",\"x\":\"" +
                                                base64url(m_x) + "\",\"y\":\"" + base64url(m_y) +
                                                "\",\"d\":\"" + base64url(m_d) + "\"}");
    EXPECT_TRUE(log.hasContext("toEccPrivateKeyJwk"));

    ASSERT_TRUE(m_key.toEccPublicKeyJwk(out, false, log));
    EXPECT_EQ(std::string(out.getString()), "{\"kty\":\"EC\",\"crv\":\"" + crv + "\",\"x\":\"" +
                                                base64url(m_x) + "\",\"y\":\"" + base64url(m_y) + "\"}");
    ASSERT_TRUE(m_key.toEccPublicKeyJwk(out, true, log));
    EXPECT_EQ(std::string(out.getString()), "{\"crv\":\"" + crv + "\",\"kty\":\"EC\",\"x\":\"" +
                                                base64url(m_x) + "\",\"y\":\"" + base64url(m_y) + "\"}");
    EXPECT_TRUE(log.hasContext("toEccPublicKeyJwk"));
}

TEST_P(JwkXmlCurve, JwkRoundTrips) {
    const CurveInfo &c = GetParam();
    LogRecorder log;
    StringBuffer text;
    ASSERT_TRUE(m_key.toEccPrivateKeyJwk(text, log));
    ClsJsonObject json;
    ASSERT_TRUE(json.load(text.getString(), log));
    EccKey back;
    ASSERT_TRUE(back.loadAnyJwk(json, log)) << log.toText();
    EXPECT_TRUE(sameKey(back, m_pkey.get(), c, true));
    EXPECT_TRUE(log.hasContext("loadAnyJwk_ecc"));

    for (bool crvFirst : {false, true}) {
        ASSERT_TRUE(m_key.toEccPublicKeyJwk(text, crvFirst, log));
        ClsJsonObject pubJson;
        ASSERT_TRUE(pubJson.load(text.getString(), log));
        EccKey pub;
        ASSERT_TRUE(pub.loadAnyJwk(pubJson, log));
        PkeyPtr pubOnly = osslPublicOnly(m_pkey.get());
        EXPECT_TRUE(sameKey(pub, pubOnly.get(), c, false));
    }
    EXPECT_TRUE(log.errors().empty()) << log.errorText();
}

TEST_P(JwkXmlCurve, PrivateXmlIsBase64OfSec1) {
    const CurveInfo &c = GetParam();
    LogRecorder log;
    DataBuffer sec1;
    ASSERT_TRUE(m_key.toEccPkcs1PrivateKeyDer(sec1, log));
    StringBuffer xml("stale");
    ASSERT_TRUE(m_key.toEccPrivateKeyXml(xml, log));
    EXPECT_TRUE(log.hasContext("toEccPrivateKeyXml"));
    EXPECT_EQ(std::string(xml.getString()), std::string("<ECCKeyValue curve=\"") + c.name + "\">" +
                                                base64(toBytes(sec1)) + "</ECCKeyValue>");

    EXPECT_TRUE(readsBack(xml, true, log));
    EXPECT_TRUE(log.hasContext("loadAnyXml"));
}

TEST_P(JwkXmlCurve, PublicXmlCarriesFixedWidthCoordinatesAndTheLongForm) {
    const CurveInfo &c = GetParam();
    LogRecorder log;
    DataBuffer spki;
    ASSERT_TRUE(m_key.toPublicKeyDer_longFmt(spki, log));
    Bytes q = osslPubPoint(m_pkey.get());
    std::string xHex = hexOf(q.data() + 1, (size_t)c.byteLen);
    std::string yHex = hexOf(q.data() + 1 + c.byteLen, (size_t)c.byteLen);

    StringBuffer xml;
    ASSERT_TRUE(m_key.toEccPublicKeyXml(xml, log));
    EXPECT_TRUE(log.hasContext("toEccPublicKeyXml"));
    EXPECT_EQ(std::string(xml.getString()), std::string("<ECCPublicKey curve=\"") + c.name + "\" x=\"" +
                                                xHex + "\" y=\"" + yHex + "\">" + base64(toBytes(spki)) +
                                                "</ECCPublicKey>");

    EXPECT_TRUE(readsBack(xml, false, log));
}

TEST_P(JwkXmlCurve, XmlDSigTextIsExactAndLoads) {
    const CurveInfo &c = GetParam();
    LogRecorder log;
    StringBuffer xml;
    ASSERT_TRUE(m_key.toEccPublicKeyXmlDSig(xml, log));
    EXPECT_TRUE(log.hasContext("toEccPublicKeyXmlDSig"));
    EXPECT_EQ(
        std::string(xml.getString()),
        std::string("<ECKeyValue xmlns=\"http://www.w3.org/2009/xmldsig11#\"><NamedCurve URI=\"urn:oid:") +
            c.oid + "\" /><PublicKey>" + base64(osslPubPoint(m_pkey.get())) + "</PublicKey></ECKeyValue>");

    EXPECT_TRUE(readsBack(xml, false, log));
}

// Coordinates with a leading zero byte: the JWK numbers get shorter, the ECCPublicKey hex keeps its width.
TEST_P(JwkXmlCurve, LeadingZeroCoordinate) {
    const CurveInfo &c = GetParam();
    TestPrng prng(curveSeed(c, 2));
    PkeyPtr pkey = osslKeyWithShortX(c, prng);
    EccKey key;
    setEccKeyFrom(pkey.get(), c, key);
    LogRecorder log;
    StringBuffer xml;
    ASSERT_TRUE(key.toEccPublicKeyXml(xml, log));
    std::string text = xml.getString();
    size_t at = text.find(" x=\"");
    ASSERT_NE(at, std::string::npos);
    std::string x = text.substr(at + 4, text.find('"', at + 4) - at - 4);
    EXPECT_EQ(x.size(), (size_t)(2 * c.byteLen));
    EXPECT_EQ(x.substr(0, 2), "00");

    StringBuffer jwk;
    ASSERT_TRUE(key.toEccPublicKeyJwk(jwk, false, log));
    nlohmann::json j = nlohmann::json::parse(jwk.getString());
    EXPECT_LT(fromBase64url(j["x"].get<std::string>()).size(), (size_t)c.byteLen);
}

TEST_P(JwkXmlCurve, PublicKeyHasNoPrivateXml) {
    EccKey pub;
    PkeyPtr pubOnly = osslPublicOnly(m_pkey.get());
    setEccKeyFrom(pubOnly.get(), GetParam(), pub);
    StringBuffer xml("stale");
    LogRecorder log;
    EXPECT_FALSE(pub.toEccPrivateKeyXml(xml, log));
    EXPECT_EQ(xml.getSize(), 0u);
    EXPECT_TRUE(log.hasError("k is empty"));
}

INSTANTIATE_TEST_SUITE_P(AllCurves, JwkXmlCurve, ::testing::ValuesIn(allCurves()), curveParamName);

// ---- Loader edge cases ----

bool loadJwk(EccKey &key, const std::string &text, LogRecorder &log) {
    ClsJsonObject json;
    if (!json.load(text.c_str(), log))
        return false;
    return key.loadAnyJwk(json, log);
}

TEST(JwkLoad, MissingCurve) {
    EccKey key;
    LogRecorder log;
    EXPECT_FALSE(loadJwk(key, "{\"kty\":\"EC\",\"x\":\"AQ\",\"y\":\"AQ\"}", log));
    EXPECT_EQ(log.errors(), (std::vector<std::string>{"JWK crv member in ECC key is missing"}));
}

TEST(JwkLoad, UnknownCurve) {
    EccKey key;
    LogRecorder log;
    EXPECT_FALSE(loadJwk(key, "{\"kty\":\"EC\",\"crv\":\"P-999\",\"x\":\"AQ\",\"y\":\"AQ\"}", log));
    ASSERT_FALSE(log.errors().empty());
    EXPECT_EQ(log.errors().back(), "Invalid ECC curve name");
    std::string v;
    ASSERT_TRUE(log.dataValue("crv", v));
    EXPECT_EQ(v, "P-999");
}

TEST(JwkLoad, PublicAndPrivateByPresenceOfD) {
    EccKey key;
    LogRecorder log;
    ASSERT_TRUE(loadJwk(key, "{\"kty\":\"EC\",\"crv\":\"P-256\",\"x\":\"AQ\",\"y\":\"Ag\"}", log));
    EXPECT_EQ(key.m_keyType, 0);
    EXPECT_EQ(hexOf(key.m_pubPoint.m_x), "1");
    EXPECT_EQ(hexOf(key.m_pubPoint.m_y), "2");
    EXPECT_EQ(hexOf(key.m_pubPoint.m_z), "1");  // not validated: this is no curve point

    // d without x: d and the curve are loaded, the call fails.
    EccKey priv;
    LogRecorder log2;
    EXPECT_FALSE(loadJwk(priv, "{\"kty\":\"EC\",\"crv\":\"secp256k1\",\"y\":\"Ag\",\"d\":\"BQ\"}", log2));
    EXPECT_EQ(priv.m_keyType, 1);
    EXPECT_EQ(hexOf(priv.m_privKey), "5");
    EXPECT_STREQ(priv.m_curve.m_name.getString(), "secp256k1");
    EXPECT_EQ(hexOf(priv.m_pubPoint.m_y), "2");
}

// A coordinate of zero is written as "AA" and reads back as zero; a member that decodes to no bytes at all
// (padding or blanks only) is refused rather than read as zero.
TEST(JwkLoad, ZeroCoordinateRoundTripsAndBlankMembersAreRefused) {
    EccKey key;
    LogRecorder log;
    ASSERT_TRUE(loadJwk(key, "{\"kty\":\"EC\",\"crv\":\"P-256\",\"x\":\"AA\",\"y\":\"AAAA\"}", log));
    EXPECT_EQ(hexOf(key.m_pubPoint.m_x), "0");
    EXPECT_EQ(hexOf(key.m_pubPoint.m_y), "0");
    StringBuffer out;
    ASSERT_TRUE(key.toEccPublicKeyJwk(out, true, log));
    EXPECT_STREQ(out.getString(), "{\"crv\":\"P-256\",\"kty\":\"EC\",\"x\":\"AA\",\"y\":\"AA\"}");
    EccKey back;
    ASSERT_TRUE(loadJwk(back, out.getString(), log)) << log.toText();
    EXPECT_EQ(hexOf(back.m_pubPoint.m_y), "0");

    for (const char *y : {"", "==", " ", "\\n"}) {
        EccKey blank;
        LogRecorder blankLog;
        EXPECT_FALSE(
            loadJwk(blank, std::string("{\"kty\":\"EC\",\"crv\":\"P-256\",\"x\":\"AQ\",\"y\":\"") + y + "\"}",
                    blankLog))
            << y;
        EXPECT_EQ(blankLog.errors(), (std::vector<std::string>{"JWK member is not valid base64url."})) << y;
    }
}

TEST(JwkLoad, CatalogueAliasesAsCurveNames) {
    for (const char *crv : {"P-384", "secp384r1", "nistp384", "1.3.132.0.34"}) {
        EccKey key;
        LogRecorder log;
        ASSERT_TRUE(loadJwk(
            key, std::string("{\"crv\":\"") + crv + "\",\"kty\":\"EC\",\"x\":\"AQ\",\"y\":\"AQ\"}", log))
            << crv;
        EXPECT_STREQ(key.m_curve.m_name.getString(), "secp384r1");
    }
}

TEST(XmlLoad, XmlDSigWithPrefixAndWithoutUrn) {
    const CurveInfo &c = curveInfo("secp384r1");
    TestPrng prng(testSeed() ^ 0x55);
    PkeyPtr pkey = osslRandomKey(c, prng);
    PkeyPtr pubOnly = osslPublicOnly(pkey.get());
    std::string point = base64(osslPubPoint(pkey.get()));
    const std::string docs[] = {
        "<dsig11:ECKeyValue xmlns:dsig11=\"http://www.w3.org/2009/xmldsig11#\"><dsig11:NamedCurve "
        "URI=\"urn:oid:1.3.132.0.34\"/><dsig11:PublicKey>" +
            point + "</dsig11:PublicKey></dsig11:ECKeyValue>",
        // A URI without "urn:oid:" is passed on as the OID.
        "<ECKeyValue xmlns=\"http://www.w3.org/2009/xmldsig11#\"><NamedCurve URI=\"1.3.132.0.34\" />"
        "<PublicKey>" +
            point + "</PublicKey></ECKeyValue>",
    };
    for (const std::string &doc : docs) {
        ClsXml xml;
        LogRecorder log;
        ASSERT_TRUE(xml.loadXml(doc.c_str(), log));
        EccKey key;
        ASSERT_TRUE(key.loadAnyXml(xml, log)) << log.toText();
        EXPECT_TRUE(sameKey(key, pubOnly.get(), c, false));
    }
}

// The library's own forms are read from their DER content alone; the attributes are not consulted.
TEST(XmlLoad, OwnFormsIgnoreAttributes) {
    const CurveInfo &c = curveInfo("secp256r1");
    TestPrng prng(testSeed() ^ 0x56);
    PkeyPtr pkey = osslRandomKey(c, prng);
    EccKey key;
    setEccKeyFrom(pkey.get(), c, key);
    LogRecorder log;
    StringBuffer text;
    ASSERT_TRUE(key.toEccPrivateKeyXml(text, log));
    std::string doc = text.getString();
    doc.replace(doc.find("secp256r1"), 9, "brainpoolp512r1");
    ClsXml xml;
    ASSERT_TRUE(xml.loadXml(doc.c_str(), log));
    EccKey back;
    ASSERT_TRUE(back.loadAnyXml(xml, log));
    EXPECT_TRUE(sameKey(back, pkey.get(), c, true));

    ClsXml broken;
    ASSERT_TRUE(broken.loadXml("<ECCKeyValue curve=\"secp256r1\">not base64!</ECCKeyValue>", log));
    EccKey none;
    LogRecorder log2;
    EXPECT_FALSE(none.loadAnyXml(broken, log2));
    EXPECT_TRUE(log2.hasError("Failed to decode ECC key ASN.1"));
}

// ---- Independent readers ----

// Python's xml.etree reads our ECKeyValue into the XML Signature 1.1 namespace, the curve OID and the
// point OpenSSL reports for the key, on every curve.
TEST(XmlDSigInterop, PythonParsesOurECKeyValue) {
    if (!haveTool("python3"))
        GTEST_SKIP() << "python3 not installed: XML Signature interop not checked";
    TempDir dir;
    std::string input;
    std::vector<std::string> expected;
    for (const CurveInfo &c : allCurves()) {
        TestPrng prng(curveSeed(c, 9));
        PkeyPtr pkey = osslRandomKey(c, prng);
        EccKey key;
        setEccKeyFrom(pkey.get(), c, key);
        StringBuffer xml;
        LogRecorder log;
        ASSERT_TRUE(key.toEccPublicKeyXmlDSig(xml, log));
        input += std::string(xml.getString()) + "\n";
        char oidText[80];
        ASN1_OBJECT *obj = OBJ_nid2obj(c.nid);
        OBJ_obj2txt(oidText, sizeof oidText, obj, 1);
        Bytes q = osslPubPoint(pkey.get());
        expected.push_back(std::string("http://www.w3.org/2009/xmldsig11#\turn:oid:") + oidText + "\t" +
                           hexOf(q.data(), q.size()));
    }
    std::string out;
    ASSERT_EQ(runCommandWithInput("python3 " + shellQuote(interopDir() + "/xmldsig_parse.py"), input, out,
                                  dir.path()),
              0)
        << out;
    std::istringstream lines(out);
    std::string line;
    size_t i = 0;
    while (std::getline(lines, line)) {
        ASSERT_LT(i, expected.size());
        EXPECT_EQ(line, expected[i]) << allCurves()[i].name;
        ++i;
    }
    EXPECT_EQ(i, expected.size());
}

// Node.js's JOSE implementation (createPrivateKey / createPublicKey with format 'jwk', and export as
// 'jwk') reads the JWKs we write and writes JWKs we read, on the four curves it names in JWKs.
class JwkNodeInterop : public ::testing::TestWithParam<const char *> {};

TEST_P(JwkNodeInterop, NodeReadsOursAndWeReadNodes) {
    if (!haveTool("node"))
        GTEST_SKIP() << "node not installed: JOSE interop not checked";
    const CurveInfo &c = curveInfo(GetParam());
    TestPrng prng(curveSeed(c, 3));
    std::vector<PkeyPtr> keys;
    for (int i = 0; i < testIterations(3); ++i)
        keys.push_back(osslRandomKey(c, prng));
    // Our JWK numbers are minimal: a key whose x starts with a zero byte has a shorter "x" than the
    // fixed-length coordinate RFC 7518 asks for. Node accepts it; the test pins both facts below.
    keys.push_back(osslKeyWithShortX(c, prng));
    const size_t shortIndex = keys.size() - 1;

    nlohmann::json req;
    req["crv"] = jwkCurveName(c);
    req["ours"] = nlohmann::json::array();
    req["pems"] = nlohmann::json::array();
    std::vector<std::string> ourPubX;
    for (PkeyPtr &k : keys) {
        EccKey key;
        setEccKeyFrom(k.get(), c, key);
        StringBuffer priv, pub, pubCrvFirst;
        LogRecorder log;
        ASSERT_TRUE(key.toEccPrivateKeyJwk(priv, log));
        ASSERT_TRUE(key.toEccPublicKeyJwk(pub, false, log));
        ASSERT_TRUE(key.toEccPublicKeyJwk(pubCrvFirst, true, log));
        req["ours"].push_back(
            {{"priv", priv.getString()}, {"pub", pub.getString()}, {"pubCrvFirst", pubCrvFirst.getString()}});
        ourPubX.push_back(nlohmann::json::parse(pub.getString())["x"].get<std::string>());
        Bytes pem = osslEncode(k.get(), true, "PEM", "PrivateKeyInfo", false);
        req["pems"].push_back(std::string(pem.begin(), pem.end()));
    }

    TempDir dir;
    std::string out;
    ASSERT_EQ(
        runCommandWithInput("node " + shellQuote(interopDir() + "/jwk_node.js"), req.dump(), out, dir.path()),
        0)
        << out;
    nlohmann::json reply = nlohmann::json::parse(out);
    ASSERT_EQ(reply["ours"].size(), keys.size());

    for (size_t i = 0; i < keys.size(); ++i) {
        SCOPED_TRACE("key " + std::to_string(i));
        Bytes q = osslPubPoint(keys[i].get());
        std::string xFixed = base64url(Bytes(q.begin() + 1, q.begin() + 1 + c.byteLen));
        std::string yFixed = base64url(Bytes(q.begin() + 1 + c.byteLen, q.end()));
        Bytes dFixed((size_t)c.byteLen);
        BN_bn2binpad(osslPrivScalar(keys[i].get()).get(), dFixed.data(), c.byteLen);

        const nlohmann::json &o = reply["ours"][i];
        for (const char *form : {"priv", "pub", "pubCrvFirst"}) {
            ASSERT_FALSE(o[form].contains("error")) << form << ": " << o[form]["error"];
            EXPECT_EQ(o[form]["crv"], jwkCurveName(c));
            EXPECT_EQ(o[form]["x"], xFixed) << form;
            EXPECT_EQ(o[form]["y"], yFixed) << form;
        }
        EXPECT_EQ(o["priv"]["d"], base64url(dFixed));
        if (!o["webcrypto"].is_null()) {
            ASSERT_FALSE(o["webcrypto"].contains("error")) << o["webcrypto"]["error"];
            EXPECT_EQ(o["webcrypto"]["x"], xFixed);
        }
        if (i == shortIndex) {
            // Node writes the fixed-length coordinate; ours is one byte shorter and still the same key.
            EXPECT_NE(ourPubX[i], xFixed);
            EXPECT_EQ(fromBase64url(ourPubX[i]).size(), (size_t)c.byteLen - 1);
        } else if (q[1] != 0) {
            EXPECT_EQ(ourPubX[i], xFixed);
        }

        // Node's own JWK, written from OpenSSL's PKCS #8, loads here to the same key.
        const nlohmann::json &theirs = reply["pems"][i];
        ASSERT_FALSE(theirs.contains("error")) << theirs["error"];
        EccKey key;
        LogRecorder log;
        ASSERT_TRUE(loadJwk(key, theirs.dump(), log)) << log.toText();
        EXPECT_TRUE(sameKey(key, keys[i].get(), c, true));
    }
}

INSTANTIATE_TEST_SUITE_P(JoseCurves, JwkNodeInterop,
                         ::testing::Values("secp256r1", "secp384r1", "secp521r1", "secp256k1"),
                         [](const ::testing::TestParamInfo<const char *> &i) {
                             return std::string(i.param);
                         });

}  // namespace
