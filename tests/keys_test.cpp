// The differential core: on every curve, keys, encodings, signatures and shared secrets against OpenSSL.
#include "support/Hash.h"
#include "support/JsonObject.h"
#include "support/Oracle.h"
#include "support/PublicKey.h"
#include "support/SshMessage.h"
#include "support/Xml.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

class Curve : public ::testing::TestWithParam<CurveInfo> {
  protected:
    const CurveInfo &c() const { return GetParam(); }
    TestPrng prng{testSeed() ^ (std::uint64_t)GetParam().nid};
};

// DER from a PEM text (the module's reader), or the bytes as they are.
DataBuffer pemOrDer(const Bytes &in) {
    StringBuffer label;
    DataBuffer der;
    LogNull log;
    if (in.empty() || in[0] != '-')
        return toDb(in);
    EXPECT_TRUE(_tvPublicKey::pemToDer(std::string(in.begin(), in.end()).c_str(), label, der, log));
    return der;
}

// base64 as OpenSSL writes it; base64url is the URL alphabet without padding.
std::string base64(const Bytes &b, bool url) {
    std::string t(4 * ((b.size() + 2) / 3) + 1, '\0');
    t.resize((size_t)EVP_EncodeBlock(reinterpret_cast<unsigned char *>(&t[0]), b.data(), (int)b.size()));
    for (char &ch : t)
        ch = !url ? ch : ch == '+' ? '-' : ch == '/' ? '_' : ch;
    return url ? t.substr(0, t.find('=')) : t;
}

const std::vector<std::string> kSec1Refused = {"curve OID not found.", "Invalid ASN.1 for ECC private key."};
const std::vector<std::string> kSpkiRefused = {"Failed to parse AlgorithmIdentifier",
                                               "Invalid ASN.1 for ECC key."};

// Reading what OpenSSL writes, in every structure and parameter form, gives OpenSSL's key.
TEST_P(Curve, ReadsEveryKeyOpenSslWrites) {
    for (int i = 0; i < testIterations(2); ++i) {
        Ossl o = Ossl::random(c(), prng);
        Ossl pub(c(), o.point());
        for (bool explicitParams : {false, true}) {
            for (const char *output : {"DER", "PEM"}) {
                for (const char *structure : {"type-specific", "PrivateKeyInfo", "SubjectPublicKeyInfo"}) {
                    bool priv = std::string(structure) != "SubjectPublicKeyInfo";
                    for (bool withPublic : {true, false}) {
                        if (!priv && !withPublic)
                            continue;
                        DataBuffer der = pemOrDer(o.encode(structure, output, explicitParams, withPublic));
                        EccKey key;
                        LogRecorder log;
                        log.m_verbose = true;
                        // Explicit parameters are recognised for P-256, P-384, P-521 and secp256k1, and never
                        // inside SEC 1.
                        bool sec1 = std::string(structure) == "type-specific";
                        bool known = std::string(c().name).rfind("secp", 0) == 0 && c().byteLen >= 32;
                        DataBuffer copy = der;
                        if (key.loadEccDer(der, log)) {
                            EXPECT_TRUE(!explicitParams || (!sec1 && known)) << structure;
                            LogRecorder checkedLog;
                            EXPECT_TRUE(EccKey().loadEccDerChecked(copy, checkedLog))
                                << checkedLog.errorText();
                            EXPECT_TRUE(sameKey(key, priv ? o : pub, c()))
                                << structure << output << explicitParams;
                            EXPECT_EQ(log.hasInfo("ECC parsing success."), priv);
                            EXPECT_EQ(log.hasInfo("computing the public key..."), priv && !withPublic);
                            EXPECT_EQ(log.errors().size(), priv && !withPublic ? 1u : 0u);  // a verbose note
                            continue;
                        }
                        EXPECT_TRUE(explicitParams && (sec1 || !known)) << structure << log.toText();
                        std::vector<std::string> want =
                            sec1   ? kSec1Refused
                            : priv ? std::vector<std::string>{"Invalid ASN.1 for ECC key."}
                                   : kSpkiRefused;
                        std::vector<std::string> got = log.errors();
                        EXPECT_EQ(std::vector<std::string>(got.end() - std::min(got.size(), want.size()),
                                                           got.end()),
                                  want);
                        EXPECT_EQ(key.m_curve.m_byteLen, 0);
                    }
                }
            }
        }
    }
}

// The writers: SubjectPublicKeyInfo and SEC 1 are OpenSSL's bytes; every other form OpenSSL reads back or
// the module reads back to the same key.
TEST_P(Curve, WritesWhatOpenSslWrites) {
    Ossl o = Ossl::random(c(), prng);
    EccKey key;
    loadInto(o, c(), key, true);
    LogRecorder log;
    log.m_verbose = true;  // the data items written only when debugging run too
    DataBuffer spki, longSpki, sec1, pkcs8, p11;
    ASSERT_TRUE(key.toPublicKeyDer_shortFmt(spki, log));
    EXPECT_EQ(toBytes(spki), o.encode("SubjectPublicKeyInfo", "DER", false));
    // SEC 1 holds d in its minimal bytes where OpenSSL pads it to the order's length: equal when d is full.
    bool fullD = (int)o.d(0).size() == c().byteLen;
    for (bool withPublic : {false, true}) {
        EXPECT_TRUE(log.m_options.setString(withPublic ? "EMIT_ECC_PKCS1_PUBKEY" : ""));
        sec1.clear();
        ASSERT_TRUE(key.toEccPkcs1PrivateKeyDer(sec1, log));
        EXPECT_TRUE(!fullD || toBytes(sec1) == o.encode("type-specific", "DER", false, withPublic));
        EXPECT_EQ(Ossl::decode(toBytes(sec1), true).point(), o.point());
    }
    ASSERT_TRUE(key.toPublicKeyDer_longFmt(longSpki, log));
    EXPECT_TRUE(Ossl::decode(toBytes(longSpki), false).point() == o.point());
    EXPECT_TRUE(Ossl::decode(toBytes(longSpki), false).isOn(c()));
    ASSERT_TRUE(key.toEccPkcs8PrivateKeyDer(pkcs8, log));
    EXPECT_EQ(Ossl::decode(toBytes(pkcs8), true).d(c().byteLen), o.d(c().byteLen));
    // The PKCS #11 form holds the version and the scalar only: the module reads it back, with no curve.
    ASSERT_TRUE(key.toEccPkcs1PrivateKeyDer_forPkcs11(p11, log));
    EXPECT_EQ(toBytes(p11).size(), 2 + 3 + 2 + BN_num_bytes(bnOf(key.m_privKey).get()));
    for (bool shortFmt : {true, false}) {
        StringBuffer pem, privPem;
        ASSERT_TRUE(key.toEccPublicKeyPem(shortFmt, pem, log) &&
                    key.toEccPrivateKeyPem(shortFmt, privPem, log));
        EXPECT_EQ(Ossl::decode(toBytes(pem), false).point(), o.point());
        EXPECT_EQ(Ossl::decode(toBytes(pemOrDer(toBytes(privPem))), true).d(0), o.d(0));
    }
    EXPECT_TRUE(log.errors().empty()) << log.errorText();
}

// "EMIT_ECC_FIXED_LENGTH" writes d and the JWK integers at the curve's byte length (RFC 5915, RFC 7518): SEC
// 1 is then OpenSSL's bytes for a d whose first bytes are zero, and d ends the PKCS #11 form at full length.
TEST_P(Curve, FixedLengthOptionGivesFullLengthIntegers) {
    Ossl o(c(), bnOf(Bytes{0x01, 0x02}).get());
    EccKey key;
    loadInto(o, c(), key, true);
    LogRecorder log;
    EXPECT_TRUE(log.m_options.setString("EMIT_ECC_PKCS1_PUBKEY EMIT_ECC_FIXED_LENGTH"));
    DataBuffer sec1, p11;
    StringBuffer jwk;
    ASSERT_TRUE(key.toEccPkcs1PrivateKeyDer(sec1, log) && key.toEccPkcs1PrivateKeyDer_forPkcs11(p11, log) &&
                key.toEccPrivateKeyJwk(jwk, log));
    EXPECT_EQ(toBytes(sec1), o.encode("type-specific", "DER", false, true));
    Bytes d = o.d(c().byteLen), q = o.point();
    Bytes p11Want{0x30, (unsigned char)(5 + d.size()), 2, 1, 1, 4, (unsigned char)d.size()};
    p11Want.insert(p11Want.end(), d.begin(), d.end());
    EXPECT_EQ(toBytes(p11), p11Want);
    Bytes x(q.begin() + 1, q.begin() + 1 + c().byteLen), y(q.begin() + 1 + c().byteLen, q.end());
    std::string members = "\"x\":\"" + base64(x, true) + "\",\"y\":\"" + base64(y, true) + "\",\"d\":\"" +
                          base64(d, true) + "\"}";
    EXPECT_NE(std::string(jwk.getString()).find(members), std::string::npos) << jwk.getString();
}

// Text forms: exact layouts built from OpenSSL's numbers, and each read back to the same key.
TEST_P(Curve, TextFormsHaveTheirLayoutAndRoundTrip) {
    Ossl o = Ossl::random(c(), prng);
    EccKey key;
    loadInto(o, c(), key, true);
    LogRecorder log;
    auto b64url = [](Bytes b) {
        while (b.size() > 1 && b[0] == 0)
            b.erase(b.begin());
        return base64(b, true);
    };
    Bytes q = o.point();
    Bytes x(q.begin() + 1, q.begin() + 1 + c().byteLen), y(q.begin() + 1 + c().byteLen, q.end());
    std::string crv = c().byteLen == 32 && c().nid == NID_X9_62_prime256v1 ? "P-256"
                      : c().nid == NID_secp384r1                           ? "P-384"
                      : c().nid == NID_secp521r1                           ? "P-521"
                                                                           : c().name;
    std::string xy = "\"x\":\"" + b64url(x) + "\",\"y\":\"" + b64url(y) + "\"";
    StringBuffer jwk, pubJwk, crvFirst, xml, pubXml, dsig;
    ASSERT_TRUE(key.toEccPrivateKeyJwk(jwk, log) && key.toEccPublicKeyJwk(pubJwk, false, log) &&
                key.toEccPublicKeyJwk(crvFirst, true, log) && key.toEccPrivateKeyXml(xml, log) &&
                key.toEccPublicKeyXml(pubXml, log) && key.toEccPublicKeyXmlDSig(dsig, log));
    EXPECT_EQ(jwk.getString(),
              "{\"kty\":\"EC\",\"crv\":\"" + crv + "\"," + xy + ",\"d\":\"" + b64url(o.d(0)) + "\"}");
    EXPECT_EQ(pubJwk.getString(), "{\"kty\":\"EC\",\"crv\":\"" + crv + "\"," + xy + "}");
    EXPECT_EQ(crvFirst.getString(), "{\"crv\":\"" + crv + "\",\"kty\":\"EC\"," + xy + "}");
    EXPECT_EQ(dsig.getString(),
              std::string("<ECKeyValue xmlns=\"http://www.w3.org/2009/xmldsig11#\"><NamedCurve "
                          "URI=\"urn:oid:") +
                  c().oid + "\" /><PublicKey>" + base64(q, false) + "</PublicKey></ECKeyValue>");
    std::string xmlHead = std::string("<ECCPublicKey curve=\"") + c().name + "\" x=\"" + hexOf(x) +
                          "\" y=\"" + hexOf(y) + "\">";
    EXPECT_EQ(std::string(pubXml.getString()).substr(0, xmlHead.size()), xmlHead);
    Ossl pubOnly(c(), q);
    for (StringBuffer *text : {&jwk, &pubJwk, &crvFirst}) {
        ClsJsonObject json;
        EccKey back;
        ASSERT_TRUE(json.load(text->getString(), log) && back.loadAnyJwk(json, log)) << text->getString();
        EXPECT_TRUE(sameKey(back, text == &jwk ? o : pubOnly, c()));
    }
    for (StringBuffer *text : {&xml, &pubXml, &dsig}) {
        ClsXml node;
        EccKey back;
        ASSERT_TRUE(node.loadXml(text->getString(), log) && back.loadAnyXml(node, log)) << text->getString();
        EXPECT_TRUE(sameKey(back, text == &xml ? o : pubOnly, c()));
    }
    // The bare point reads by its size alone: 65, 97 and 133 bytes are P-256, P-384 and P-521.
    EccKey raw;
    LogNull quiet;
    EXPECT_EQ(raw.loadEccPublicRaw(toDb(q), quiet) && sameKey(raw, pubOnly, c()), crv.rfind("P-", 0) == 0);
    EXPECT_TRUE(log.errors().empty()) << log.errorText();
}

// Per curve, in catalogue order: the PuTTY key type and the curve name inside SSH blobs. P-521's type says
// "nistp512" and secp256k1's blob "nistk256"; curves SSH has no name for write P-256's name into the blob.
const std::pair<std::string, std::string> kSshNames[] = {
    {"ecdsa-sha2-nistp256", "nistp256"},        {"ecdsa-sha2-nistp384", "nistp384"},
    {"ecdsa-sha2-nistp512", "nistp521"},        {"ecdsa-sha2-secp256k1", "nistk256"},
    {"ecdsa-sha2-nistp192", "nistp256"},        {"ecdsa-sha2-nistp224", "nistp224"},
    {"ecdsa-sha2-brainpoolP256r1", "nistp256"}, {"ecdsa-sha2-brainpoolP160r1", "nistp256"},
    {"ecdsa-sha2-brainpoolP192r1", "nistp256"}, {"ecdsa-sha2-brainpoolP224r1", "nistp256"},
    {"ecdsa-sha2-brainpoolP320r1", "nistp256"}, {"ecdsa-sha2-brainpoolP384r1", "nistp256"},
    {"ecdsa-sha2-brainpoolP512r1", "nistp256"}};

// SSH and PuTTY: the blob's layout, its fingerprints, and the private blob in both of its forms.
TEST_P(Curve, SshBlobFingerprintsAndPuttyKeys) {
    Ossl o = Ossl::random(c(), prng);
    EccKey key;
    loadInto(o, c(), key, true);
    LogRecorder log;
    log.m_verbose = true;
    size_t row = 0;
    while (allCurves()[row].nid != c().nid)
        ++row;
    StringBuffer type;
    ASSERT_TRUE(key.m_curve.getPpkType(type, log));
    EXPECT_EQ(type.getString(), kSshNames[row].first);
    const std::string id = kSshNames[row].second;
    DataBuffer blob, want, md5, sha256;
    ASSERT_TRUE(key.puttyPublicKeyBlob(blob, log));
    EXPECT_TRUE(SshMessage::pack_string(("ecdsa-sha2-" + id).c_str(), want));
    EXPECT_TRUE(SshMessage::pack_string(id.c_str(), want));
    EXPECT_TRUE(SshMessage::pack_db(toDb(o.point()), want));
    EXPECT_EQ(toBytes(blob), toBytes(want));
    ASSERT_TRUE(key.calc_fingerprint_digest(HASH_SHA256, sha256, log) &&
                key.calc_fingerprint_digest(HASH_MD5, md5, log));
    EXPECT_EQ(toBytes(sha256), digestOf("SHA256", toBytes(blob)));
    StringBuffer line, pairs;
    ASSERT_TRUE(key.calc_fingerprint(line, log));
    EXPECT_TRUE(DataBuffer::toHexString2(md5.getData2(), md5.getSize(), true, pairs));
    pairs.toLowerCase();
    EXPECT_EQ(line.getString(),
              "ecdsa-sha2-" + id + " " + std::to_string(8 * c().byteLen) + " " + pairs.getString());
    // A private blob of 57 bytes or more is the four-field form; below that, one mpint holding d.
    DataBuffer mpint, fourFields;
    Bytes dBytes = o.d(0);
    if (dBytes[0] & 0x80)
        dBytes.insert(dBytes.begin(), 0);
    EXPECT_TRUE(SshMessage::pack_db(toDb(dBytes), mpint));
    EXPECT_TRUE(SshMessage::pack_string(type.getString(), fourFields));
    EXPECT_TRUE(SshMessage::pack_string(id.c_str(), fourFields));
    EXPECT_TRUE(SshMessage::pack_db(toDb(o.point()), fourFields));
    EXPECT_TRUE(fourFields.append(mpint));
    for (DataBuffer *priv : {&mpint, &fourFields}) {
        if ((priv->getSize() >= 57) != (priv == &fourFields))
            continue;
        EccKey back;
        ASSERT_TRUE(back.loadPrivateFromPuttySsh(c().name, toDb(o.point()), *priv, log)) << log.errorText();
        EXPECT_TRUE(sameKey(back, o, c()));
    }
}

// ECDSA both ways with OpenSSL over four hash sizes, in DER, raw and SSH forms; a changed hash is refused.
TEST_P(Curve, SignaturesInteroperate) {
    Ossl o = Ossl::random(c(), prng);
    EccKey priv, pub;
    loadInto(o, c(), priv, true);
    loadInto(o, c(), pub, false);
    for (const char *hashName : {"SHA1", "SHA256", "SHA384", "SHA512"}) {
        Bytes h = digestOf(hashName, prng.bytes(20));
        LogRecorder log;
        log.m_verbose = true;
        DataBuffer der, raw, ssh;
        if (isK1(c()) && h.size() < 32) {
            EXPECT_FALSE(priv.eccSignHash(h.data(), (unsigned)h.size(), prng, true, der, log));
            continue;
        }
        ASSERT_TRUE(priv.eccSignHash(h.data(), (unsigned)h.size(), prng, true, der, log)) << log.errorText();
        ASSERT_TRUE(priv.eccSignHash(h.data(), (unsigned)h.size(), prng, false, raw, log)) << log.errorText();
        EXPECT_TRUE(o.verify(h, toBytes(der))) << hashName;
        ASSERT_EQ(raw.getSize(), 2u * c().byteLen);
        Bytes r(raw.getData2(), raw.getData2() + c().byteLen),
            s(raw.getData2() + c().byteLen, raw.getData2() + raw.getSize());
        EXPECT_TRUE(o.verify(h, derOf(bnOf(r).get(), bnOf(s).get())));
        // The SSH blob signs the whole hash: OpenSSL agrees whenever it does not cut the hash itself.
        ASSERT_TRUE(priv.eccSignHash_forSsh(h.data(), (unsigned)h.size(), prng, ssh, log));
        mp_int sr, ss;
        unsigned off = 0;
        ASSERT_TRUE(SshMessage::parseMpInt(ssh, off, sr, log) && SshMessage::parseMpInt(ssh, off, ss, log));
        EXPECT_EQ(off, ssh.getSize());
        EXPECT_TRUE((int)h.size() > c().byteLen || o.verify(h, derOf(bnOf(sr).get(), bnOf(ss).get())));
        // OpenSSL's signature, as DER and as raw r||s, verifies here; one changed hash bit does not.
        Bytes theirs = o.sign(h);
        BnPtr tr, ts;
        ASSERT_TRUE(rsOf(theirs, tr, ts));
        Bytes theirRaw = bytesOf(tr.get(), c().byteLen), sPart = bytesOf(ts.get(), c().byteLen);
        theirRaw.insert(theirRaw.end(), sPart.begin(), sPart.end());
        Bytes ours = toBytes(der);
        for (const Bytes *sig : {&theirs, &theirRaw, &ours}) {
            for (int flip : {0, 1}) {
                Bytes hh = h;
                hh[0] ^= (unsigned char)flip;
                bool valid = !flip;
                // Raw signatures of 40, 56 and 80 bytes have no size of their own: the caller splits them.
                bool split =
                    sig == &theirRaw && c().byteLen % 16 != 0 && c().byteLen != 24 && c().byteLen != 66;
                ASSERT_TRUE(pub.eccVerifyHash(sig->data(), (unsigned)sig->size(), split, hh.data(),
                                              (unsigned)hh.size(), valid, log, split ? c().byteLen : 0))
                    << log.errorText();
                EXPECT_EQ(valid, !flip) << hashName << " flip " << flip;
            }
        }
        EXPECT_TRUE(log.errors().empty()) << log.errorText();
    }
}

// ECDH agrees with OpenSSL in both directions, padded to the curve's length, in a sensitive buffer.
TEST_P(Curve, SharedSecretsMatchOpenSsl) {
    for (int i = 0; i < testIterations(3); ++i) {
        Ossl a = Ossl::random(c(), prng), b = Ossl::random(c(), prng);
        EccKey privA, pubB;
        loadInto(a, c(), privA, true);
        loadInto(b, c(), pubB, false);
        DataBuffer secret;
        EXPECT_TRUE(secret.append("junk", 4));
        LogRecorder log;
        log.m_verbose = true;
        ASSERT_TRUE(privA.sharedSecret(pubB, secret, log)) << log.errorText();
        EXPECT_EQ(toBytes(secret), a.derive(Ossl(c(), b.point())));
        EXPECT_EQ((int)secret.getSize(), c().byteLen);
        EXPECT_TRUE(secret.isSensitive());
    }
}

// Generated keys draw exactly byteLen bytes, reduced modulo n but on secp256k1, into a private key whose Q
// OpenSSL derives from its d. With the uniform draw, candidates cut to n's bit length are refused when
// they are n or more (all ones) or 0, and the first one in [1, n - 1] is taken as it is.
TEST_P(Curve, GeneratedKeysAreConsistent) {
    EccKey key, uniform;
    LogRecorder log;
    log.m_verbose = true;
    TestPrng copy = prng;
    BnPtr draw = bnOf(copy.bytes(c().byteLen)), n = orderOf(c()), v = randomScalar(c(), copy);
    ASSERT_TRUE(key.generateNewKey(StringBuffer(c().oid), prng, log)) << log.errorText();
    EXPECT_EQ(prng.m_bytesServed, (unsigned)c().byteLen);
    EXPECT_TRUE(sameKey(key, Ossl(c(), bnOf(key.m_privKey).get()), c()));
    while (!isK1(c()) && BN_cmp(draw.get(), n.get()) >= 0)
        BN_sub(draw.get(), draw.get(), n.get());
    EXPECT_EQ(BN_cmp(bnOf(key.m_privKey).get(), draw.get()), 0);
    ScriptedPrng candidates;
    candidates.m_queue = Bytes(c().byteLen, 0xFF);
    candidates.m_queue.resize(2 * c().byteLen);
    for (unsigned char b : bytesOf(v.get(), c().byteLen))
        candidates.m_queue.push_back(b);
    EXPECT_TRUE(log.m_options.setString(EccKey::kOptDrawUniform));
    ASSERT_TRUE(uniform.generateNewKey(StringBuffer(c().oid), candidates, log));
    EXPECT_EQ(candidates.m_calls, 3);
    EXPECT_EQ(BN_cmp(bnOf(uniform.m_privKey).get(), v.get()), 0);
    EXPECT_EQ(key.get_ModulusBitLen(), 8u * c().byteLen);
    EXPECT_EQ(key.isPoint(log),
              std::string(c().name).rfind("secp", 0) == 0 && !isK1(c()));  // NIST curves only
}

INSTANTIATE_TEST_SUITE_P(AllCurves, Curve, ::testing::ValuesIn(allCurves()), curveParamName);

}  // namespace
