// Loading keys from DER: every structure OpenSSL writes (SEC 1, PKCS #8, SubjectPublicKeyInfo; named and
// explicit parameters; DER and PEM) on every curve, and each shape and failure of the reader with its
// exact messages.
#include <gtest/gtest.h>

#include <string>

#include "ecc/ecckey.h"
#include "support/Asn1.h"
#include "support/DerBuild.h"
#include "support/OsslKey.h"
#include "support/PublicKey.h"

using namespace ecckey;
using namespace ecckey_test;
namespace der = ecckey_test::der;

namespace {

bool hasExplicitForm(const CurveInfo &c) {
    std::string n = c.name;
    return n == "secp256r1" || n == "secp384r1" || n == "secp521r1" || n == "secp256k1";
}

bool loadDer(EccKey &key, const Bytes &bytes, LogRecorder &log) {
    DataBuffer db = toDb(bytes);
    return key.loadEccDer(db, log);
}

// PEM goes through the library's PEM reader first, as callers do.
bool loadPem(EccKey &key, const Bytes &pem, LogRecorder &log) {
    std::string text(pem.begin(), pem.end());
    StringBuffer label;
    DataBuffer db;
    if (!_tvPublicKey::pemToDer(text.c_str(), label, db, log))
        return false;
    return key.loadEccDer(db, log);
}

class AsnImportCurve : public ::testing::TestWithParam<CurveInfo> {};

struct OsslForm {
    const char *what;
    bool privatePart;
    const char *structure;
    bool explicitParams;
};

const OsslForm s_forms[] = {
    {"SEC 1, named curve", true, "type-specific", false},
    {"SEC 1, explicit parameters", true, "type-specific", true},
    {"PKCS #8, named curve", true, "PrivateKeyInfo", false},
    {"PKCS #8, explicit parameters", true, "PrivateKeyInfo", true},
    {"SubjectPublicKeyInfo, named curve", false, "SubjectPublicKeyInfo", false},
    {"SubjectPublicKeyInfo, explicit parameters", false, "SubjectPublicKeyInfo", true},
};

// What the reader makes of each OpenSSL structure: named curves always load; explicit parameters load
// through an AlgorithmIdentifier only for the four curves whose base point is recognised, and never from
// a bare SEC 1 structure, whose [0] then holds a SEQUENCE instead of an OID.
void checkOsslForm(const CurveInfo &c, EVP_PKEY *pkey, const OsslForm &f, const char *output) {
    SCOPED_TRACE(std::string(f.what) + " " + output);
    Bytes enc = osslEncode(pkey, f.privatePart, output, f.structure, f.explicitParams);
    ASSERT_FALSE(enc.empty());

    EccKey key;
    LogRecorder log;
    bool ok = std::string(output) == "PEM" ? loadPem(key, enc, log) : loadDer(key, enc, log);

    bool sec1 = std::string(f.structure) == "type-specific";
    bool expectOk = !f.explicitParams || (!sec1 && hasExplicitForm(c));
    ASSERT_EQ(ok, expectOk) << log.toText();
    if (ok) {
        EXPECT_TRUE(sameKey(key, pkey, c, f.privatePart));
        EXPECT_TRUE(log.errors().empty()) << log.errorText();
        return;
    }
    if (sec1) {
        EXPECT_EQ(log.errors(),
                  (std::vector<std::string>{"curve OID not found.", "Invalid ASN.1 for ECC private key."}));
    } else if (f.privatePart) {
        EXPECT_EQ(log.errors(), (std::vector<std::string>{"Invalid ASN.1 for ECC key."}));
    } else {
        EXPECT_EQ(log.errors(), (std::vector<std::string>{"Failed to parse AlgorithmIdentifier",
                                                          "Invalid ASN.1 for ECC key."}));
    }
    EXPECT_EQ(key.m_curve.m_byteLen, 0);
    EXPECT_TRUE((TovarMp::mp_cmp_d(key.m_privKey, 0) == 0));
}

TEST_P(AsnImportCurve, LoadsEveryStructureOpenSslWrites) {
    const CurveInfo &c = GetParam();
    TestPrng prng(curveSeed(c, 1));
    for (int i = 0; i < testIterations(2); ++i) {
        PkeyPtr pkey = osslRandomKey(c, prng);
        for (const OsslForm &f : s_forms) {
            checkOsslForm(c, pkey.get(), f, "DER");
            checkOsslForm(c, pkey.get(), f, "PEM");
        }
    }
}

// OpenSSL's PKCS #8 leaves the curve out of the inner ECPrivateKey; the outer AlgorithmIdentifier supplies
// it. Its SEC 1 output carries [1] publicKey, which the reader trusts as it stands.
TEST_P(AsnImportCurve, Pkcs8TakesTheCurveFromTheAlgorithmIdentifier) {
    const CurveInfo &c = GetParam();
    TestPrng prng(curveSeed(c, 2));
    PkeyPtr pkey = osslRandomKey(c, prng);
    BnPtr d = osslPrivScalar(pkey.get());
    std::vector<unsigned char> dBytes(c.byteLen);
    BN_bn2binpad(d.get(), dBytes.data(), c.byteLen);
    Bytes q = osslPubPoint(pkey.get());

    Bytes inner = der::seq({der::integer(1), der::octets(dBytes), der::ctx(1, {der::bits(q)})});
    Bytes pkcs8 = der::seq(
        {der::integer(0), der::seq({der::oid(der::ecPublicKeyOid()), der::oid(c.oid)}), der::octets(inner)});
    EccKey key;
    LogRecorder log;
    ASSERT_TRUE(loadDer(key, pkcs8, log)) << log.toText();
    EXPECT_TRUE(sameKey(key, pkey.get(), c, true));
    std::string passed;
    ASSERT_TRUE(log.dataValue("passedInCurveOid", passed));
    EXPECT_EQ(passed, c.oid);
}

// Without [1] publicKey the point is computed from d; without [0] and [1] in PKCS #8, likewise.
TEST_P(AsnImportCurve, MissingPublicKeyIsComputed) {
    const CurveInfo &c = GetParam();
    TestPrng prng(curveSeed(c, 3));
    PkeyPtr pkey = osslRandomKey(c, prng);
    BnPtr d = osslPrivScalar(pkey.get());
    Bytes dBytes((size_t)BN_num_bytes(d.get()));
    BN_bn2bin(d.get(), dBytes.data());

    Bytes sec1 = der::seq({der::integer(1), der::octets(dBytes), der::ctx(0, {der::oid(c.oid)})});
    EccKey key;
    LogRecorder log;
    log.m_verbose = true;
    ASSERT_TRUE(loadDer(key, sec1, log)) << log.toText();
    EXPECT_TRUE(sameKey(key, pkey.get(), c, true));
    EXPECT_TRUE(log.hasError("No public key bits found (this is not an error)"));
    EXPECT_TRUE(log.hasInfo("computing the public key..."));
    EXPECT_TRUE(log.hasInfo("ECC parsing success."));

    Bytes bare = der::seq({der::integer(1), der::octets(dBytes)});
    Bytes pkcs8 = der::seq(
        {der::integer(0), der::seq({der::oid(der::ecPublicKeyOid()), der::oid(c.oid)}), der::octets(bare)});
    EccKey key2;
    LogRecorder log2;
    ASSERT_TRUE(loadDer(key2, pkcs8, log2)) << log2.toText();
    EXPECT_TRUE(sameKey(key2, pkey.get(), c, true));
    EXPECT_TRUE(log2.errors().empty()) << log2.errorText();  // the note is written only when verbose
}

INSTANTIATE_TEST_SUITE_P(AllCurves, AsnImportCurve, ::testing::ValuesIn(allCurves()), curveParamName);

// ---- Shapes and failures, on P-256 ----

class AsnImport : public ::testing::Test {
  protected:
    void SetUp() override {
        TestPrng prng(testSeed() ^ 0xA51);
        m_pkey = osslRandomKey(curveInfo("secp256r1"), prng);
        BnPtr d = osslPrivScalar(m_pkey.get());
        m_d.resize(32);
        BN_bn2binpad(d.get(), m_d.data(), 32);
        m_q = osslPubPoint(m_pkey.get());
    }
    const CurveInfo &p256() { return curveInfo("secp256r1"); }
    Bytes algId(const std::string &algOid = der::ecPublicKeyOid()) {
        return der::seq({der::oid(algOid), der::oid("1.2.840.10045.3.1.7")});
    }
    Bytes spki(const Bytes &alg) { return der::seq({alg, der::bits(m_q)}); }
    Bytes sec1(std::initializer_list<Bytes> tail, int version = 1) {
        Bytes body = der::cat({der::integer(version), der::octets(m_d)});
        for (const Bytes &t : tail)
            body.insert(body.end(), t.begin(), t.end());
        return der::tlv(0x30, body);
    }
    Bytes curveParam() { return der::ctx(0, {der::oid("1.2.840.10045.3.1.7")}); }
    Bytes pubParam() { return der::ctx(1, {der::bits(m_q)}); }

    PkeyPtr m_pkey;
    Bytes m_d;
    Bytes m_q;
};

TEST_F(AsnImport, NamedCurveSpkiLoadsAPublicKey) {
    EccKey key;
    LogRecorder log;
    ASSERT_TRUE(loadDer(key, spki(algId()), log));
    EXPECT_EQ(key.m_keyType, 0);
    EXPECT_TRUE(sameKey(key, m_pkey.get(), p256(), false));
    EXPECT_TRUE(log.hasContext("loadEccDer"));
    EXPECT_TRUE(log.hasContext("loadAnyEccAsn"));
    EXPECT_TRUE(log.hasContext("parseAldId"));
    EXPECT_TRUE(log.hasContext("loadEccPublicAsn"));
}

TEST_F(AsnImport, VerboseSpkiLoadLogsCurveAndSize) {
    EccKey key;
    LogRecorder log;
    log.m_verbose = true;
    ASSERT_TRUE(loadDer(key, spki(algId()), log));
    std::string v;
    ASSERT_TRUE(log.dataValue("curveOid", v));
    EXPECT_EQ(v, "1.2.840.10045.3.1.7");
    ASSERT_TRUE(log.dataValue("dbPubKeySize", v));
    EXPECT_EQ(v, "66");  // the unused-bits byte and 65 bytes of point
}

TEST_F(AsnImport, InputIsMarkedSensitive) {
    DataBuffer db = toDb(sec1({curveParam()}));
    EccKey key;
    LogRecorder log;
    ASSERT_TRUE(key.loadEccDer(db, log));
    EXPECT_TRUE(db.isSensitive());
}

TEST_F(AsnImport, UndecodableInput) {
    EccKey key;
    LogRecorder log;
    EXPECT_FALSE(loadDer(key, Bytes{0x30, 0x05, 0x02}, log));
    EXPECT_TRUE(log.hasError("Failed to decode ECC key ASN.1"));
    EccKey key2;
    LogRecorder log2;
    EXPECT_FALSE(loadDer(key2, Bytes{}, log2));
    EXPECT_TRUE(log2.hasError("Failed to decode ECC key ASN.1"));
}

TEST_F(AsnImport, FailedLoadDumpsTheInput) {
    EccKey key;
    LogRecorder log;
    EXPECT_FALSE(loadDer(key, der::seq({}), log));
    EXPECT_EQ(log.errors(), (std::vector<std::string>{"Invalid ASN.1 for ECC key."}));
    std::string dump;
    EXPECT_TRUE(log.dataValue("der", dump));
}

TEST_F(AsnImport, SpkiShapeFailures) {
    struct Case {
        const char *what;
        Bytes input;
        std::vector<std::string> errors;
    };
    const Case cases[] = {
        {"not id-ecPublicKey", spki(algId("1.2.840.113549.1.1.1")), {"Not an ECC key."}},
        {"no BIT STRING", der::seq({algId()}), {"Invalid ASN.1 for ECC key."}},
        {"OCTET STRING instead of BIT STRING",
         der::seq({algId(), der::octets(m_q)}),
         {"Expected an ASN.1 bitstring."}},
        {"NULL parameters",
         spki(der::seq({der::oid(der::ecPublicKeyOid()), der::null()})),
         {"Failed to parse AlgorithmIdentifier", "Invalid ASN.1 for ECC key."}},
        {"AlgorithmIdentifier without parameters",
         spki(der::seq({der::oid(der::ecPublicKeyOid())})),
         {"Failed to parse AlgorithmIdentifier", "Invalid ASN.1 for ECC key."}},
        {"unknown named curve",
         spki(der::seq({der::oid(der::ecPublicKeyOid()), der::oid("1.3.132.0.99")})),
         {"Unsupported ECDSA curve."}},
        {"BIT STRING first",
         der::seq({der::bits(m_q), algId()}),
         {"The ECC curve OID is unknown.", "Invalid ASN.1 for ECC key."}},
        {"empty SEQUENCE", der::seq({}), {"Invalid ASN.1 for ECC key."}},
        {"compressed point",
         der::seq({algId(), der::bits(Bytes{0x02, 1, 2, 3, 4})}),
         {"First byte of ECC point is invalid.", "Invalid ANSI X9.63 ECC point.",
          "Failed to load ECC point."}},
    };
    for (const Case &tc : cases) {
        SCOPED_TRACE(tc.what);
        EccKey key;
        LogRecorder log;
        EXPECT_FALSE(loadDer(key, tc.input, log));
        EXPECT_EQ(log.errors(), tc.errors) << log.errorText();
    }
}

// Explicit parameters are recognised by the base point alone; the rest is not looked at.
TEST_F(AsnImport, ExplicitParametersByBasePoint) {
    const CurveInfo &c = p256();
    Bytes g = unhex(
        "046B17D1F2E12C4247F8BCE6E563A440F277037D812DEB33A0F4A13945D898C2964FE342E2FE1A7F9B8EE7EB4A7C0F"
        "9E162BCE33576B315ECECBB6406837BF51F5");
    auto explicitSpki = [&](const Bytes &base) {
        Bytes params = der::seq({der::integer(1), der::seq({}), der::seq({}), der::octets(base)});
        return spki(der::seq({der::oid(der::ecPublicKeyOid()), params}));
    };
    {
        EccKey key;
        LogRecorder log;
        ASSERT_TRUE(loadDer(key, explicitSpki(g), log)) << log.toText();
        EXPECT_TRUE(sameKey(key, m_pkey.get(), c, false));
    }
    // The same base point compressed, cut below 20 bytes, or missing altogether.
    Bytes compressed(g.begin(), g.begin() + 33);
    compressed[0] = 0x03;
    Bytes short19(g.begin(), g.begin() + 19);
    Bytes short20(g.begin(), g.begin() + 20);
    for (const Bytes &base : {compressed, short19}) {
        EccKey key;
        LogRecorder log;
        EXPECT_FALSE(loadDer(key, explicitSpki(base), log));
        EXPECT_EQ(log.errors(), (std::vector<std::string>{"Failed to parse AlgorithmIdentifier",
                                                          "Invalid ASN.1 for ECC key."}));
    }
    {
        // Twenty bytes of prefix cannot reach the end of P-256's prefix, so even that fails.
        EccKey key;
        LogRecorder log;
        EXPECT_FALSE(loadDer(key, explicitSpki(short20), log));
    }
    {
        Bytes params = der::seq({der::integer(1), der::seq({}), der::seq({})});
        EccKey key;
        LogRecorder log;
        EXPECT_FALSE(loadDer(key, spki(der::seq({der::oid(der::ecPublicKeyOid()), params})), log));
        EXPECT_TRUE(log.hasError("Failed to parse AlgorithmIdentifier"));
    }
}

TEST_F(AsnImport, ExplicitPrefixesSelectTheirCurves) {
    struct Row {
        const char *curve;
        const char *prefix;
    };
    const Row rows[] = {
        {"secp256r1", "046B17D1F2E12C4247F8BCE6E563A440F277037D812DEB33A0F4A13945D898C2964FE"},
        {"secp521r1", "0400C6858E06B70404E9CD9E3ECB"},
        {"secp384r1", "04AA87CA22BE8B05378EB1C71EF320AD746E1D3B628BA79B9859"},
        {"secp256k1", "0479BE667EF9DCBBAC55A06295CE870B07029BFCD"},
    };
    for (const Row &r : rows) {
        SCOPED_TRACE(r.curve);
        // The prefix padded with zero digits to 20 bytes and beyond: only the prefix matters.
        std::string hex = r.prefix;
        while (hex.size() < 80)
            hex += "0";
        Bytes params = der::seq({der::integer(1), der::seq({}), der::seq({}), der::octets(unhex(hex))});
        _tvAsn1 *alg = nullptr;
        Bytes algDer = der::seq({der::oid(der::ecPublicKeyOid()), params});
        LogRecorder log;
        unsigned consumed = 0;
        alg = _tvAsn1::DecodeToAsn(algDer.data(), (unsigned)algDer.size(), consumed, log);
        ASSERT_NE(alg, nullptr);
        RefCountedObjectOwner owner(alg);
        EccKey key;
        StringBuffer algOid("junk");
        StringBuffer curveOid("junk");
        ASSERT_TRUE(key.parseAldId(alg, algOid, curveOid, log));
        EXPECT_STREQ(algOid.getString(), der::ecPublicKeyOid());
        EXPECT_STREQ(curveOid.getString(), curveInfo(r.curve).oid);
        EXPECT_TRUE(log.errors().empty());
    }
    EccKey key;
    StringBuffer a, b;
    LogRecorder log;
    EXPECT_FALSE(key.parseAldId(nullptr, a, b, log));
}

TEST_F(AsnImport, Pkcs8ShapeFailures) {
    Bytes inner = sec1({curveParam()});
    struct Case {
        const char *what;
        Bytes input;
        std::vector<std::string> errors;
    };
    const Case cases[] = {
        {"not id-ecPublicKey",
         der::seq({der::integer(0), algId("1.2.840.113549.1.1.1"), der::octets(inner)}),
         {"Not an ECC key."}},
        {"NULL parameters",
         der::seq(
             {der::integer(0), der::seq({der::oid(der::ecPublicKeyOid()), der::null()}), der::octets(inner)}),
         {"Invalid ASN.1 for ECC key."}},
        {"no private key", der::seq({der::integer(0), algId()}), {"Invalid ASN.1 for ECC key."}},
        {"BIT STRING private key",
         der::seq({der::integer(0), algId(), der::bits(inner)}),
         {"Invalid ASN.1 for ECC key."}},
        {"undecodable private key",
         der::seq({der::integer(0), algId(), der::octets(Bytes{0x30, 0x09})}),
         {"Failed to decode ECC key ASN.1"}},
    };
    for (const Case &tc : cases) {
        SCOPED_TRACE(tc.what);
        EccKey key;
        LogRecorder log;
        EXPECT_FALSE(loadDer(key, tc.input, log));
        // The DER reader may add its own diagnosis before the module's message.
        std::vector<std::string> errors = log.errors();
        ASSERT_GE(errors.size(), tc.errors.size()) << log.errorText();
        std::vector<std::string> tail(errors.end() - (long)tc.errors.size(), errors.end());
        EXPECT_EQ(tail, tc.errors) << log.errorText();
    }
}

TEST_F(AsnImport, Sec1ParametersInAnyOrder) {
    for (const Bytes &input : {sec1({curveParam(), pubParam()}), sec1({pubParam(), curveParam()}),
                               sec1({der::ctx(2, {der::integer(5)}), curveParam(), pubParam()}),
                               sec1({curveParam(), der::ctx(0, {der::oid("1.3.132.0.34")}), pubParam()})}) {
        EccKey key;
        LogRecorder log;
        ASSERT_TRUE(loadDer(key, input, log)) << log.toText();
        EXPECT_TRUE(sameKey(key, m_pkey.get(), p256(), true));
        EXPECT_TRUE(log.hasContext("loadEccPrivateDer"));
    }
}

// The public point in the structure is taken as it stands, even when it does not belong to d.
TEST_F(AsnImport, Sec1PublicPointIsTrusted) {
    Bytes other = m_q;
    other[5] ^= 1;
    EccKey key;
    LogRecorder log;
    ASSERT_TRUE(loadDer(key, sec1({curveParam(), der::ctx(1, {der::bits(other)})}), log));
    EXPECT_EQ(eccPubPoint(key, p256()), other);
}

TEST_F(AsnImport, Sec1Failures) {
    Bytes badPoint = Bytes{0x05, 1, 2};
    struct Case {
        const char *what;
        Bytes input;
        std::vector<std::string> errors;
    };
    const Case cases[] = {
        {"version 2",
         sec1({curveParam()}, 2),
         {"curve OID not found.", "Invalid ASN.1 for ECC private key."}},
        {"no curve anywhere",
         sec1({pubParam()}),
         {"curve OID not found.", "Invalid ASN.1 for ECC private key."}},
        {"K not an OCTET STRING",
         der::seq({der::integer(1), der::integer(7), curveParam()}),
         {"Did not get octets for K", "curve OID not found.", "Invalid ASN.1 for ECC private key."}},
        {"empty K",
         der::seq({der::integer(1), der::octets({}), curveParam()}),
         {"Failed to get K bytes", "curve OID not found.", "Invalid ASN.1 for ECC private key."}},
        {"unknown curve OID",
         sec1({der::ctx(0, {der::oid("1.2.3.4")}), pubParam()}),
         {"Unsupported ECDSA curve.", "Failed to load curve by OID.", "curve OID not found.",
          "Invalid ASN.1 for ECC private key."}},
        {"bad point",
         sec1({curveParam(), der::ctx(1, {der::bits(badPoint)})}),
         {"First byte of ECC point is invalid.", "Invalid ANSI X9.63 ECC point.", "Failed to load ECC point.",
          "Invalid ASN.1 for ECC private key."}},
        {"empty wrapper",
         sec1({der::ctx(2, {}), curveParam()}),
         {"curve OID not found.", "Invalid ASN.1 for ECC private key."}},
    };
    for (const Case &tc : cases) {
        SCOPED_TRACE(tc.what);
        EccKey key;
        LogRecorder log;
        EXPECT_FALSE(loadDer(key, tc.input, log));
        EXPECT_EQ(log.errors(), tc.errors) << log.errorText();
        // A failed private-key load leaves an empty key.
        EXPECT_EQ(key.m_keyType, 0);
        EXPECT_EQ(key.m_curve.m_byteLen, 0);
        EXPECT_TRUE((TovarMp::mp_cmp_d(key.m_privKey, 0) == 0));
        EXPECT_TRUE((TovarMp::mp_cmp_d(key.m_pubPoint.m_x, 0) == 0));
    }
}

// Inside PKCS #8 the passed-in curve resets the failed version check, and the point is computed from the
// scalar that was never read (zero): the outcome is whatever deriving 0·G gives.
TEST_F(AsnImport, Pkcs8OverridesABadInnerVersion) {
    Bytes pkcs8 = der::seq({der::integer(0), algId(), der::octets(sec1({}, 2))});
    EccKey key;
    LogRecorder log;
    bool ok = loadDer(key, pkcs8, log);
    EXPECT_FALSE(log.hasError("curve OID not found."));
    std::string passed;
    EXPECT_TRUE(log.dataValue("passedInCurveOid", passed));

    EccKey zero;
    LogNull quiet;
    ASSERT_TRUE(zero.m_curve.loadCurveByName("secp256r1", quiet));
    bool derived = zero.genPubKey(quiet);
    EXPECT_EQ(ok, derived);
    if (ok) {
        EXPECT_EQ(key.m_keyType, 1);
        EXPECT_TRUE((TovarMp::mp_cmp_d(key.m_privKey, 0) == 0));
    } else {
        EXPECT_TRUE(log.hasError("Invalid ASN.1 for ECC private key."));
    }
}

TEST_F(AsnImport, Pkcs8UnknownPassedCurve) {
    Bytes pkcs8 = der::seq({der::integer(0), der::seq({der::oid(der::ecPublicKeyOid()), der::oid("1.2.3.4")}),
                            der::octets(sec1({}))});
    EccKey key;
    LogRecorder log;
    EXPECT_FALSE(loadDer(key, pkcs8, log));
    EXPECT_EQ(log.errors(), (std::vector<std::string>{"Unsupported ECDSA curve.", "curve OID not found.",
                                                      "Invalid ASN.1 for ECC private key."}));
    std::string v;
    ASSERT_TRUE(log.dataValue("oidNotFound", v));
    EXPECT_EQ(v, "1.2.3.4");
}

TEST_F(AsnImport, DirectEntryPoints) {
    EccKey key;
    LogRecorder log;
    EXPECT_FALSE(key.loadEccPublicAsn(nullptr, StringBuffer("1.2.840.10045.3.1.7"), log));
    EXPECT_EQ(log.errors(), (std::vector<std::string>{"No bitstring for ECC public key."}));

    LogRecorder log2;
    EXPECT_FALSE(key.loadAnyEccAsn(nullptr, log2));
    EXPECT_EQ(log2.errors(), (std::vector<std::string>{"Invalid ASN.1 for ECC key."}));

    LogRecorder log3;
    EXPECT_FALSE(key.loadEccPrivateAsn(nullptr, StringBuffer(), log3));
    EXPECT_EQ(log3.errors(),
              (std::vector<std::string>{"curve OID not found.", "Invalid ASN.1 for ECC private key."}));
}

}  // namespace

namespace {

// Hostile input: truncations and byte flips of every structure OpenSSL writes never crash the reader, and
// a load that succeeds always leaves a key on a catalogue curve; one that fails leaves no private scalar.
TEST(AsnImportHostile, MutatedStructuresAreHandled) {
    TestPrng prng(testSeed() ^ 0xF022);
    const char *curves[] = {"secp256r1", "secp521r1", "secp256k1", "brainpoolp320r1"};
    for (const char *name : curves) {
        const CurveInfo &c = curveInfo(name);
        PkeyPtr pkey = osslRandomKey(c, prng);
        for (const OsslForm &f : s_forms) {
            Bytes good = osslEncode(pkey.get(), f.privatePart, "DER", f.structure, f.explicitParams);
            for (int i = 0; i < testIterations(60); ++i) {
                Bytes bad = good;
                switch (prng.next() % 3) {
                    case 0:
                        bad.resize(prng.next() % bad.size());
                        break;
                    case 1:
                        bad[prng.next() % bad.size()] ^= (unsigned char)(1u << (prng.next() % 8));
                        break;
                    default:
                        bad[prng.next() % bad.size()] = (unsigned char)prng.next();
                        break;
                }
                EccKey key;
                LogRecorder log;
                if (loadDer(key, bad, log)) {
                    EXPECT_GT(key.m_curve.m_byteLen, 0) << hexOf(bad.data(), bad.size());
                } else if (key.m_keyType == 1) {
                    ADD_FAILURE() << "failed load left a private key: " << hexOf(bad.data(), bad.size());
                }
            }
        }
    }
}

}  // namespace
