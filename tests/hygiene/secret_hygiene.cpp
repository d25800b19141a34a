// Secret hygiene: no private scalar, nonce or private-key encoding survives in memory the program gives
// back. FreeWatch (FreeWatch.h) searches every released block for the secret's patterns while armed.
//
// A secret is looked for in every shape the module handles it in: big-endian bytes (DER, raw, SSH),
// little-endian bytes (the secp256k1 engine's words, reversed buffers), a LibTomMath digit, upper- and
// lower-case hexadecimal, and base64 and base64url at each of the three alignments a scalar can take
// inside a longer encoding.
//
// Inputs the caller owns are marked sensitive by the test, as a careful caller would, except the two the
// module itself must mark: the DER handed to loadEccDer and the PuTTY private blob.

#include <gtest/gtest.h>
#include <openssl/crypto.h>

#include <cctype>
#include <cstring>
#include <deque>
#include <string>

#include "FreeWatch.h"
#include "support/Asn1.h"
#include "support/AsnItem.h"
#include "support/Oracle.h"
#include "support/PublicKey.h"
#include "support/SshMessage.h"
#include "support/TestPrng.h"
#include "support/Xml.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

const unsigned kMaxScalarLen = 66;

// A private scalar held on the stack, wiped when it goes.
struct Secret {
    unsigned char be[kMaxScalarLen];  // big-endian, left-padded to len
    unsigned len = 0;
    char hex[2 * kMaxScalarLen + 1];
    ~Secret() { OPENSSL_cleanse(this, sizeof *this); }
};

// Bytes from a fixed pool, marked sensitive on arrival by whoever asked; the pool's first bytes are the
// nonce of every signature made with a fresh generator.
class PoolPrng : public _tvPrng {
  public:
    explicit PoolPrng(const unsigned char *pool, unsigned size) : m_pool(pool), m_size(size) {}
    bool genRandom(unsigned count, DataBuffer &out, LogBase &) override {
        for (unsigned i = 0; i < count; ++i) {
            unsigned char b = m_pool[m_pos % m_size] ^ (unsigned char)(m_pos / m_size);
            ++m_pos;
            if (!out.appendChar(b))
                return false;
        }
        return true;
    }

  private:
    const unsigned char *m_pool;
    unsigned m_size;
    unsigned m_pos = 0;
};

unsigned char s_noncePool[512];

// Labels of the registered patterns: the secret's name and the shape, kept for the life of the program.
const char *patternLabel(const char *secret, const char *shape) {
    static std::deque<std::string> s_labels;
    s_labels.push_back(std::string(secret) + " (" + shape + ")");
    return s_labels.back().c_str();
}

// Registers the shapes of secret[0..len) under label. The windows skip the first two bytes, which may be
// zero (the scalars here start with 0x00) and are absent from minimal encodings.
void watchSecret(const unsigned char *be, unsigned len, const char *label) {
    ASSERT_GE(len, 20u);
    const unsigned window = 16;
    ASSERT_TRUE(FreeWatch::addPattern(be + 2, window, patternLabel(label, "big-endian")));

    unsigned char le[kMaxScalarLen];
    for (unsigned i = 0; i < len; ++i)
        le[i] = be[len - 1 - i];
    ASSERT_TRUE(FreeWatch::addPattern(le + 2, window, patternLabel(label, "little-endian")));

    {
        mp_int v;
        ASSERT_TRUE(TovarMp::mpint_from_bytes(v, be, len));
        MpDigit digit = v.get_digit(1);
        ASSERT_TRUE(FreeWatch::addPattern(&digit, sizeof digit, patternLabel(label, "big-integer digit")));
        OPENSSL_cleanse(&digit, sizeof digit);
    }

    DataBuffer bytes;
    bytes.setSensitive();
    bytes.append(be, len);
    StringBuffer hex;
    bytes.encodeDB("hex", hex);
    ASSERT_TRUE(FreeWatch::addPattern(hex.getString() + 4, 24, patternLabel(label, "upper-case hex")));
    hex.toLowerCase();
    ASSERT_TRUE(FreeWatch::addPattern(hex.getString() + 4, 24, patternLabel(label, "lower-case hex")));

    for (unsigned k = 0; k < 3; ++k) {
        DataBuffer run;
        run.setSensitive();
        run.append(be + k, 15);
        for (const char *encoding : {"base64", "base64url"}) {
            StringBuffer text;
            run.encodeDB(encoding, text);
            ASSERT_TRUE(FreeWatch::addPattern(text.getString(), 20, patternLabel(label, encoding)));
        }
    }
    OPENSSL_cleanse(le, sizeof le);
}

// A random scalar below n for every curve: a zero top byte, a non-zero second byte.
void makeSecret(const CurveInfo &c, TestPrng &rng, Secret &s) {
    s.len = (unsigned)c.byteLen;
    for (unsigned i = 0; i < s.len; ++i)
        s.be[i] = (unsigned char)rng.next();
    s.be[0] = 0;
    s.be[1] |= 0x10;
    static const char digits[] = "0123456789abcdef";
    for (unsigned i = 0; i < s.len; ++i) {
        s.hex[2 * i] = digits[s.be[i] >> 4];
        s.hex[2 * i + 1] = digits[s.be[i] & 15];
    }
    s.hex[2 * s.len] = 0;
}

// Fails the test with the watch's account when anything was found.
void expectNoViolations(const char *what) {
    EXPECT_EQ(FreeWatch::numViolations(), 0u) << what << ":\n" << FreeWatch::report();
}

class Hygiene : public ::testing::TestWithParam<CurveInfo> {
  protected:
    void SetUp() override {
        FreeWatch::disarm();
        FreeWatch::clearPatterns();
        FreeWatch::resetViolations();
        TestPrng rng(testSeed() ^ (std::uint64_t)GetParam().nid);
        makeSecret(GetParam(), rng, m_secret);
        watchSecret(m_secret.be, m_secret.len, "private scalar");
        for (unsigned i = 0; i < sizeof s_noncePool; ++i)
            s_noncePool[i] = (unsigned char)rng.next();
        s_noncePool[0] = 0;  // the first nonce lies below n
        s_noncePool[1] |= 0x10;
        watchSecret(s_noncePool, (unsigned)GetParam().byteLen, "nonce bytes");
    }
    void TearDown() override {
        FreeWatch::disarm();
        FreeWatch::clearPatterns();
    }

    bool loadKey(EccKey &key) {
        LogNull log;
        return key.generateNewKey2(StringBuffer(GetParam().name), m_secret.hex, "hex", log);
    }

    Secret m_secret;
};

}  // namespace

// ---- The watch itself ----

TEST(FreeWatchSelfTest, FindsASecretInAnUnwipedBuffer) {
    FreeWatch::clearPatterns();
    FreeWatch::resetViolations();
    const unsigned char secret[20] = {0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18};
    watchSecret(secret, sizeof secret, "self test");
    {
        ArmedScope armed;
        DataBuffer plain;  // not sensitive: keeps its bytes when freed
        plain.append(secret, sizeof secret);
    }
    EXPECT_EQ(FreeWatch::numViolations(), 1u);
    EXPECT_NE(FreeWatch::report().find("self test"), std::string::npos);

    // A copy left behind by growing a buffer that is not sensitive is found too.
    FreeWatch::resetViolations();
    {
        ArmedScope armed;
        DataBuffer plain;
        plain.append(secret, sizeof secret);
        for (int i = 0; i < 100; ++i)
            plain.appendChar(0);
        plain.secureClear();
    }
    EXPECT_GE(FreeWatch::numViolations(), 1u);
    EXPECT_GT(FreeWatch::numInspected(), 0u);

    // The text forms: hexadecimal in a std::string.
    FreeWatch::resetViolations();
    {
        ArmedScope armed;
        std::string hex = hexOf(secret, sizeof secret);
        for (char &ch : hex)
            ch = (char)std::tolower((unsigned char)ch);
    }
    EXPECT_GE(FreeWatch::numViolations(), 1u);
    FreeWatch::clearPatterns();
    FreeWatch::resetViolations();
}

// ---- The buffers that carry secrets ----

TEST(SensitiveBuffers, WipeOnGrowthClearCopyAndRelease) {
    FreeWatch::clearPatterns();
    FreeWatch::resetViolations();
    unsigned char secret[32];
    for (unsigned i = 0; i < sizeof secret; ++i)
        secret[i] = (unsigned char)(0xA5 ^ (i * 37));
    watchSecret(secret, sizeof secret, "buffer secret");
    {
        ArmedScope armed;
        DataBuffer a;
        a.setSensitive();
        a.append(secret, sizeof secret);
        for (int i = 0; i < 300; ++i)
            a.appendChar((unsigned char)i);  // several reallocations
        a.prepend(secret, sizeof secret);
        DataBuffer copy(a);  // inherits the flag
        DataBuffer assigned;
        assigned = a;  // takes the flag
        DataBuffer moved(std::move(copy));
        a.truncate(10);
        a.clear();
        assigned.secureClear();

        StringBuffer text;
        DataBuffer b;
        b.setSensitive();
        b.append(secret, sizeof secret);
        b.encodeDB("hex", text);
        b.encodeDB("base64", text);
        for (int i = 0; i < 50; ++i)
            text.append("0123456789");  // grows the string
        StringBuffer textCopy(text);
        StringBuffer hexText;
        b.encodeDB("hex", hexText);
        DataBuffer decoded;
        decoded.setSensitive();
        decoded.appendEncoded(hexText.getString(), "hex");
    }
    expectNoViolations("sensitive DataBuffer or StringBuffer");
}

// ---- The pieces that read and write private encodings ----

// SEQUENCE { INTEGER 1, OCTET STRING scalar, [0] { OID P-256 } }: a SEC 1 key without its point.
const unsigned char kSec1[] = {0x30, 0x31, 0x02, 0x01, 0x01, 0x04, 0x20, 0xd1, 0x5e, 0xa5, 0xe0, 0x9b, 0x3c,
                               0x77, 0x14, 0x62, 0xc8, 0x0f, 0x4e, 0x9a, 0x21, 0x5b, 0xe3, 0x6d, 0x88, 0x31,
                               0xf7, 0x0c, 0x92, 0x4b, 0xaa, 0x17, 0xe6, 0x58, 0x3d, 0xc0, 0x29, 0x84, 0x71,
                               0xa0, 0x0a, 0x06, 0x08, 0x2a, 0x86, 0x48, 0xce, 0x3d, 0x03, 0x01, 0x07};
const unsigned char *const kSec1Scalar = kSec1 + 7;

// A decoded tree, its re-encoding and its logged dump (which shows content bytes) keep no copy.
TEST(SupportHygiene, AsnTreesAndTheirDumpLeaveNoCopy) {
    FreeWatch::clearPatterns();
    FreeWatch::resetViolations();
    watchSecret(kSec1Scalar, 32, "SEC 1 scalar");
    {
        ArmedScope armed;
        LogRecorder log;
        unsigned consumed = 0;
        _tvAsn1 *root = _tvAsn1::DecodeToAsn(kSec1, sizeof kSec1, consumed, log);
        ASSERT_NE(nullptr, root);
        RefCountedObjectOwner owner(root);
        DataBuffer scalar, der, input;
        scalar.setSensitive();
        der.setSensitive();
        input.setSensitive();
        ASSERT_TRUE(root->getAsnPart(1)->getAsnContent(scalar));
        ASSERT_TRUE(root->EncodeToDer(der, false, log));
        EXPECT_TRUE(der.equals(kSec1, sizeof kSec1));
        input.append(kSec1, sizeof kSec1);
        _tvDer::logDerAsXml(input, log);
    }
    expectNoViolations("ASN.1 tree");
}

// SSH strings and mpints read into sensitive buffers and integers, and written back out, keep no copy.
TEST(SupportHygiene, SshStringsAndIntegersLeaveNoCopy) {
    FreeWatch::clearPatterns();
    FreeWatch::resetViolations();
    watchSecret(kSec1Scalar, 32, "SSH scalar");
    {
        ArmedScope armed;
        LogNull log;
        DataBuffer scalar, blob, read, mpint, out;
        for (DataBuffer *b : {&scalar, &blob, &mpint, &out})
            b->setSensitive();
        scalar.append(kSec1Scalar, 32);
        SshMessage::pack_db(scalar, blob);
        unsigned offset = 0;
        ASSERT_TRUE(SshMessage::parseBinaryString(blob, offset, read, log));
        EXPECT_TRUE(read.equals(kSec1Scalar, 32));

        mpint.appendUint32_be(33);  // the top bit is set: a zero octet keeps the mpint positive
        mpint.appendChar(0);
        mpint.append(kSec1Scalar, 32);
        mp_int d;
        offset = 0;
        ASSERT_TRUE(SshMessage::parseMpInt(mpint, offset, d, log));
        ASSERT_TRUE(TovarMp::mpint_to_db(d, out));
        ASSERT_TRUE(TovarMp::unsigned_mpint_to_db(d, out));
        StringBuffer hex;
        ASSERT_TRUE(TovarMp::mpint_to_hex_zero_extended(d, 32, hex));
        mp_int copy(d);
    }
    expectNoViolations("SSH blob");
}

// ---- Private keys through every operation ----

// Generation, signing in every form, ECDH, every private export and every loader that reads them back.
TEST_P(Hygiene, KeyLifeLeavesNoSecretInFreedMemory) {
    const CurveInfo &c = GetParam();
    {
        ArmedScope armed;
        LogNull log;
        EccKey key;
        ASSERT_TRUE(loadKey(key));

        // Signatures: DER, raw and SSH; each with a fresh generator, so that the watched nonce is used.
        std::vector<unsigned char> hash(32, 0x5C);
        for (int form = 0; form < 3; ++form) {
            PoolPrng prng(s_noncePool, sizeof s_noncePool);
            DataBuffer sig;
            bool ok = form == 2 ? key.eccSignHash_forSsh(hash.data(), 32, prng, sig, log)
                                : key.eccSignHash(hash.data(), 32, prng, form == 0, sig, log);
            EXPECT_TRUE(ok) << "signature form " << form;
        }
        // A key generated from the generator: its scalar is the nonce pool's first bytes.
        {
            PoolPrng prng(s_noncePool, sizeof s_noncePool);
            EccKey generated;
            EXPECT_TRUE(generated.generateNewKey(StringBuffer(c.name), prng, log));
        }

        // ECDH with a peer made from the same scalar (only its public point is used).
        {
            EccKey peer;
            ASSERT_TRUE(loadKey(peer));
            DataBuffer shared;
            EXPECT_TRUE(key.sharedSecret(peer, shared, log));
        }

        // Every private export, each read back by its loader.
        DataBuffer sec1, pkcs8, pkcs11;
        EXPECT_TRUE(key.toEccPkcs1PrivateKeyDer(sec1, log));
        EXPECT_TRUE(key.toEccPkcs8PrivateKeyDer(pkcs8, log));
        EXPECT_TRUE(key.toEccPkcs1PrivateKeyDer_forPkcs11(pkcs11, log));
        for (DataBuffer *der : {&sec1, &pkcs8}) {
            DataBuffer input;
            input.append(*der);  // not marked here: loadEccDer marks its input
            EccKey loaded;
            EXPECT_TRUE(loaded.loadEccDer(input, log));
        }
        for (bool pkcs1 : {true, false}) {
            StringBuffer pem, label;
            EXPECT_TRUE(key.toEccPrivateKeyPem(pkcs1, pem, log));
            DataBuffer der;
            EXPECT_TRUE(_tvPublicKey::pemToDer(pem.getString(), label, der, log));
            EccKey loaded;
            EXPECT_TRUE(loaded.loadEccDer(der, log));
        }
        {
            StringBuffer jwk;
            EXPECT_TRUE(key.toEccPrivateKeyJwk(jwk, log));
            ClsJsonObject json;
            EXPECT_TRUE(json.load(jwk.getString(), log));
            EccKey loaded;
            EXPECT_TRUE(loaded.loadAnyJwk(json, log));
        }
        {
            StringBuffer xmlText;
            EXPECT_TRUE(key.toEccPrivateKeyXml(xmlText, log));
            ClsXml xml;
            EXPECT_TRUE(xml.loadXml(xmlText.getString(), log));
            EccKey loaded;
            EXPECT_TRUE(loaded.loadAnyXml(xml, log));
        }
        {
            StringBuffer privHex, pubHex;
            EXPECT_TRUE(key.toRawHex(privHex, pubHex, log));
        }
        // The PuTTY four-field blob: names, the point and d as an SSH string.
        {
            DataBuffer point;
            EXPECT_TRUE(key.exportEccPoint(point, log));
            DataBuffer blob;  // not marked here: the loader marks it
            blob.appendUint32_be(8);
            blob.append("nistp256", 8);
            blob.appendUint32_be(8);
            blob.append("nistp256", 8);
            blob.appendUint32_be(point.getSize());
            blob.append(point);
            blob.appendUint32_be(m_secret.len);
            blob.append(m_secret.be, m_secret.len);
            EccKey loaded;
            EXPECT_TRUE(loaded.loadPrivateFromPuttySsh(c.name, point, blob, log));
        }
    }
    expectNoViolations(c.name);
}

// Loaders that took the private bytes and then failed leave no copy behind.
TEST_P(Hygiene, FailedLoadsLeaveNoSecretInFreedMemory) {
    const CurveInfo &c = GetParam();
    LogNull log;
    {
        ArmedScope armed;
        EccKey key;
        ASSERT_TRUE(loadKey(key));
        LogNull withPoint;
        withPoint.m_options.setString("EMIT_ECC_PKCS1_PUBKEY");
        DataBuffer sec1, pkcs8;
        ASSERT_TRUE(key.toEccPkcs1PrivateKeyDer(sec1, withPoint));
        ASSERT_TRUE(key.toEccPkcs8PrivateKeyDer(pkcs8, withPoint));
        DataBuffer point;
        ASSERT_TRUE(key.exportEccPoint(point, log));

        // Finds the encoded curve OID (06 len ...) and changes its last arc into one no curve has.
        auto breakCurveOid = [&](DataBuffer &der) {
            _tvAsn1 *oid = _tvAsn1::newOid(c.oid);
            DataBuffer enc;
            oid->EncodeToDer(enc, false, log);
            oid->decRefCount();
            unsigned char *p = der.getDataMutable();
            for (unsigned i = 0; i + enc.getSize() <= der.getSize(); ++i) {
                if (std::memcmp(p + i, enc.getData2(), enc.getSize()) == 0) {
                    p[i + enc.getSize() - 1] ^= 0x40;
                    return true;
                }
            }
            return false;
        };
        // Finds the point (04 || X || Y) and makes it compressed-form, which the reader refuses.
        auto breakPoint = [&](DataBuffer &der) {
            unsigned char *p = der.getDataMutable();
            for (unsigned i = 0; i + point.getSize() <= der.getSize(); ++i) {
                if (std::memcmp(p + i, point.getData2(), point.getSize()) == 0) {
                    p[i] = 0x02;
                    return true;
                }
            }
            return false;
        };

        // SEC 1: unknown curve; refused point; truncated.
        {
            DataBuffer der;
            der.append(sec1);
            ASSERT_TRUE(breakCurveOid(der));
            EccKey loaded;
            EXPECT_FALSE(loaded.loadEccDer(der, log));
        }
        {
            DataBuffer der;
            der.append(sec1);
            ASSERT_TRUE(breakPoint(der));
            EccKey loaded;
            EXPECT_FALSE(loaded.loadEccDer(der, log));
        }
        {
            DataBuffer der;
            der.append(sec1.getData2(), sec1.getSize() - 1);
            EccKey loaded;
            EXPECT_FALSE(loaded.loadEccDer(der, log));
        }
        // PKCS #8: the inner structure's point refused.
        {
            DataBuffer der;
            der.append(pkcs8);
            ASSERT_TRUE(breakPoint(der));
            EccKey loaded;
            EXPECT_FALSE(loaded.loadEccDer(der, log));
        }
        // PEM with a broken body.
        {
            StringBuffer pem, label;
            ASSERT_TRUE(key.toEccPrivateKeyPem(true, pem, log));
            char *body = const_cast<char *>(std::strchr(pem.getString(), '\n')) + 5;
            *body = '*';
            DataBuffer der;
            EXPECT_FALSE(_tvPublicKey::pemToDer(pem.getString(), label, der, log));
        }
        // JWK with d and a curve nobody knows.
        {
            StringBuffer jwk;
            ASSERT_TRUE(key.toEccPrivateKeyJwk(jwk, log));
            ASSERT_TRUE(jwk.replaceFirstOccurance("\"crv\":\"", "\"crv\":\"x", false));
            ClsJsonObject json;
            ASSERT_TRUE(json.load(jwk.getString(), log));
            EccKey loaded;
            EXPECT_FALSE(loaded.loadAnyJwk(json, log));
        }
        // XML holding a SEC 1 key with an unknown curve.
        {
            DataBuffer der;
            der.setSensitive();
            der.append(sec1);
            ASSERT_TRUE(breakCurveOid(der));
            StringBuffer xmlText("<ECCKeyValue>");
            der.encodeDB("base64", xmlText);
            xmlText.append("</ECCKeyValue>");
            ClsXml xml;
            ASSERT_TRUE(xml.loadXml(xmlText.getString(), log));
            EccKey loaded;
            EXPECT_FALSE(loaded.loadAnyXml(xml, log));
        }
        // PuTTY: d read, then the separate point refused; both blob forms where they fit.
        {
            DataBuffer badPoint;
            badPoint.append(point);
            badPoint.getDataMutable()[0] = 0x02;
            DataBuffer blob;
            blob.appendUint32_be(8);
            blob.append("nistp256", 8);
            blob.appendUint32_be(8);
            blob.append("nistp256", 8);
            blob.appendUint32_be(point.getSize());
            blob.append(point);
            blob.appendUint32_be(m_secret.len);
            blob.append(m_secret.be, m_secret.len);
            EccKey loaded;
            EXPECT_FALSE(loaded.loadPrivateFromPuttySsh(c.name, badPoint, blob, log));
            if (m_secret.len + 4 < 57) {
                DataBuffer mpintBlob;
                mpintBlob.appendUint32_be(m_secret.len - 1);
                mpintBlob.append(m_secret.be + 1, m_secret.len - 1);
                EccKey loaded2;
                EXPECT_FALSE(loaded2.loadPrivateFromPuttySsh(c.name, badPoint, mpintBlob, log));
            }
        }
        // Raw scalar of a size no curve has.
        {
            DataBuffer raw;
            raw.setSensitive();
            raw.append(m_secret.be, m_secret.len);
            raw.appendChar(0x01);
            EccKey loaded;
            EXPECT_FALSE(loaded.loadEccPrivateRaw(raw, false, log));
        }
        // Generation from text on an unknown curve.
        {
            EccKey loaded;
            EXPECT_FALSE(loaded.generateNewKey2(StringBuffer("no-such-curve"), m_secret.hex, "hex", log));
        }
    }
    expectNoViolations(c.name);
}

INSTANTIATE_TEST_SUITE_P(AllCurves, Hygiene, ::testing::ValuesIn(allCurves()),
                         [](const ::testing::TestParamInfo<CurveInfo> &i) {
                             return curveParamName(i.param);
                         });
