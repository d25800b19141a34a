// Secret hygiene: no private scalar or nonce survives in memory the library gives back.
//
// The program replaces free and realloc with wrappers around glibc's own allocator. While the watch is
// armed, every released block is searched for the watched secret in each shape the library handles it in
// (big- and little-endian bytes, a LibTomMath digit, upper- and lower-case hexadecimal, base64 and
// base64url at the three alignments a scalar takes inside a longer text). realloc always moves, so a
// secret left behind by growing a buffer is found too. Single-threaded by design; not for sanitizer or
// valgrind builds, which bring allocators of their own.
#include <gtest/gtest.h>
#include <malloc.h>
#include <openssl/crypto.h>

#include <algorithm>
#include <cstring>

#include "support/Oracle.h"
#include "support/PublicKey.h"

extern "C" void *__libc_malloc(size_t size);
extern "C" void __libc_free(void *ptr);

using namespace ecckey;
using namespace ecckey_test;

namespace {

struct Pattern {
    std::string bytes, label;
};
std::vector<Pattern> g_patterns;
bool g_armed = false;
size_t g_hits = 0, g_firstSize = 0;
const Pattern *g_first = nullptr;

void inspect(void *block) {
    if (!g_armed || !block)
        return;
    const size_t size = malloc_usable_size(block);
    for (const Pattern &p : g_patterns) {
        if (memmem(block, size, p.bytes.data(), p.bytes.size())) {
            if (g_hits++ == 0) {
                g_first = &p;
                g_firstSize = size;
            }
            return;
        }
    }
}

// The shapes of the secret be. The windows skip the first two bytes, which may be zero (the secrets here
// start with 0x00) and are absent from minimal encodings.
void watchSecret(const Bytes &be, const std::string &name) {
    Bytes le(be.rbegin(), be.rend());
    mp_int v;
    ASSERT_TRUE(TovarMp::mpint_from_bytes(v, be.data(), (unsigned)be.size()));
    MpDigit digit = v.get_digit(1);
    std::string hex = hexOf(be), lower = hex;
    std::transform(hex.begin(), hex.end(), lower.begin(), ::tolower);
    std::vector<std::pair<std::string, std::string>> shapes = {
        {"big-endian", std::string(be.begin() + 2, be.begin() + 18)},
        {"little-endian", std::string(le.begin() + 2, le.begin() + 18)},
        {"big-integer digit", std::string((const char *)&digit, sizeof digit)},
        {"upper-case hex", hex.substr(4, 24)},
        {"lower-case hex", lower.substr(4, 24)}};
    for (unsigned k = 0; k < 3; ++k) {
        for (const char *encoding : {"base64", "base64url"}) {
            DataBuffer run;
            run.setSensitive();
            run.append(be.data() + k, 15);
            StringBuffer text;
            run.encodeDB(encoding, text);
            shapes.push_back({encoding, std::string(text.getString(), 20)});
        }
    }
    for (const auto &shape : shapes)
        g_patterns.push_back({shape.second, name + " (" + shape.first + ")"});
    for (std::string *s : {&hex, &lower})
        OPENSSL_cleanse(&(*s)[0], s->size());
    OPENSSL_cleanse(le.data(), le.size());
    OPENSSL_cleanse(&digit, sizeof digit);
}

// What one operation works with: the curve, the private scalar d (below n: a zero top byte) and its hex
// text, the key loaded from it, and a generator whose first bytes are a signature's nonce or a new key.
struct Case {
    CurveInfo curve;
    Bytes d, pool;
    std::string hex;
    ScriptedPrng prng;
    LogNull log;
    EccKey *key = nullptr;

    bool load(EccKey &k) { return k.generateNewKey2(StringBuffer(curve.name), hex.c_str(), "hex", log); }
    bool sign(int form) {
        const unsigned char hash[32] = {0x5C};
        DataBuffer sig;
        return form == 2 ? key->eccSignHash_forSsh(hash, 32, prng, sig, log)
                         : key->eccSignHash(hash, 32, prng, form == 0, sig, log);
    }
    // loadEccDer marks its input sensitive itself: the copy here is left unmarked on purpose.
    bool loadsDer(const DataBuffer &der) {
        DataBuffer input;
        input.append(der);
        return EccKey().loadEccDer(input, log);
    }
    bool derRoundTrip(bool (EccKey::*write)(DataBuffer &, LogBase &), bool readBack) {
        DataBuffer der;
        return (key->*write)(der, log) && (!readBack || loadsDer(der));
    }
    // The SEC 1 or PKCS #8 export with the byte `back` from its end flipped by x: written without the
    // point, the curve OID ends it; written with it, the point's 04 prefix lies 2·len + 1 from the end.
    DataBuffer broken(bool pkcs8, bool withPoint, unsigned back, unsigned char x) {
        LogNull options;
        options.m_options.setString(withPoint ? "EMIT_ECC_PKCS1_PUBKEY" : "");
        DataBuffer der;
        EXPECT_TRUE(pkcs8 ? key->toEccPkcs8PrivateKeyDer(der, options)
                          : key->toEccPkcs1PrivateKeyDer(der, options));
        EXPECT_TRUE(!withPoint || der.getData2()[der.getSize() - back] == 0x04);
        der.getDataMutable()[der.getSize() - back] ^= x;
        return der;
    }
    // PuTTY's private blob: two names, the point, and d in its last dLen bytes (the loader marks it).
    bool loadsPutty(const DataBuffer &pointGiven, unsigned dLen) {
        DataBuffer blob, q;
        EXPECT_TRUE(key->exportEccPoint(q, log));
        if (dLen == d.size()) {
            blob.append("\0\0\0\x08nistp256\0\0\0\x08nistp256", 24);
            blob.appendUint32_be(q.getSize());
            blob.append(q);
        }
        blob.appendUint32_be(dLen);
        blob.append(d.data() + d.size() - dLen, dLen);
        return EccKey().loadPrivateFromPuttySsh(curve.name, pointGiven.getSize() ? pointGiven : q, blob, log);
    }
};

enum Secret { kScalar = 1, kNonce = 2 };
struct Row {
    const char *name;
    int secrets;  // which the watch looks for
    bool leaks;   // a control leaving the secret behind on purpose: the watch must find it
    bool (*run)(Case &);
};
void PrintTo(const Row &row, std::ostream *os) {
    *os << row.name;
}

const Row kRows[] = {
    {"ControlGrownPlainBuffer", kScalar, true,
     [](Case &c) {
         DataBuffer plain;  // not sensitive: growing it leaves a copy behind
         plain.append(c.d.data(), (unsigned)c.d.size());
         plain.append(c.pool.data(), (unsigned)c.pool.size());
         plain.secureClear();
         return true;
     }},
    {"ControlHexString", kScalar, true, [](Case &c) { return !std::string(c.hex).empty(); }},
    {"GenerateFromPrng", kNonce, false,
     [](Case &c) { return EccKey().generateNewKey(StringBuffer(c.curve.name), c.prng, c.log); }},
    {"SignDer", kScalar | kNonce, false, [](Case &c) { return c.sign(0); }},
    {"SignRaw", kScalar | kNonce, false, [](Case &c) { return c.sign(1); }},
    {"SignSsh", kScalar | kNonce, false, [](Case &c) { return c.sign(2); }},
    {"Ecdh", kScalar, false,
     [](Case &c) {
         EccKey peer;  // the same scalar: only its point is used
         DataBuffer shared;
         return c.load(peer) && c.key->sharedSecret(peer, shared, c.log);
     }},
    {"Sec1Der", kScalar, false,
     [](Case &c) { return c.derRoundTrip(&EccKey::toEccPkcs1PrivateKeyDer, true); }},
    {"Pkcs8Der", kScalar, false,
     [](Case &c) { return c.derRoundTrip(&EccKey::toEccPkcs8PrivateKeyDer, true); }},
    {"Pkcs11Der", kScalar, false,
     [](Case &c) { return c.derRoundTrip(&EccKey::toEccPkcs1PrivateKeyDer_forPkcs11, false); }},
    {"Pem", kScalar, false,
     [](Case &c) {
         StringBuffer pem1, pem8, label;
         DataBuffer der1, der8;
         return c.key->toEccPrivateKeyPem(true, pem1, c.log) &&
                c.key->toEccPrivateKeyPem(false, pem8, c.log) &&
                _tvPublicKey::pemToDer(pem1.getString(), label, der1, c.log) && c.loadsDer(der1) &&
                _tvPublicKey::pemToDer(pem8.getString(), label, der8, c.log) && c.loadsDer(der8);
     }},
    {"JwkAndXml", kScalar, false,
     [](Case &c) {
         StringBuffer jwk, xmlText;
         ClsJsonObject json;
         ClsXml xml;
         return c.key->toEccPrivateKeyJwk(jwk, c.log) && json.load(jwk.getString(), c.log) &&
                EccKey().loadAnyJwk(json, c.log) && c.key->toEccPrivateKeyXml(xmlText, c.log) &&
                xml.loadXml(xmlText.getString(), c.log) && EccKey().loadAnyXml(xml, c.log);
     }},
    {"RawHex", kScalar, false,
     [](Case &c) {
         StringBuffer priv, pub;
         return c.key->toRawHex(priv, pub, c.log);
     }},
    {"Putty", kScalar, false, [](Case &c) { return c.loadsPutty(DataBuffer(), (unsigned)c.d.size()); }},
    // Loaders that took the private bytes and then failed.
    {"Sec1UnknownCurve", kScalar, false,
     [](Case &c) { return !c.loadsDer(c.broken(false, false, 1, 0x40)); }},
    {"Sec1CompressedPoint", kScalar, false,
     [](Case &c) { return !c.loadsDer(c.broken(false, true, 2 * c.d.size() + 1, 0x06)); }},
    {"Pkcs8CompressedPoint", kScalar, false,
     [](Case &c) { return !c.loadsDer(c.broken(true, true, 2 * c.d.size() + 1, 0x06)); }},
    {"Sec1Truncated", kScalar, false,
     [](Case &c) {
         DataBuffer der = c.broken(false, false, 1, 0);
         der.truncate(der.getSize() - 1);
         return !c.loadsDer(der);
     }},
    {"PemBrokenBody", kScalar, false,
     [](Case &c) {
         StringBuffer pem, label;
         DataBuffer der;
         EXPECT_TRUE(c.key->toEccPrivateKeyPem(true, pem, c.log));
         *(const_cast<char *>(std::strchr(pem.getString(), '\n')) + 5) = '*';
         return !_tvPublicKey::pemToDer(pem.getString(), label, der, c.log);
     }},
    {"JwkUnknownCurve", kScalar, false,
     [](Case &c) {
         StringBuffer jwk;
         ClsJsonObject json;
         EXPECT_TRUE(c.key->toEccPrivateKeyJwk(jwk, c.log) &&
                     jwk.replaceFirstOccurance("\"crv\":\"", "\"crv\":\"x", false) &&
                     json.load(jwk.getString(), c.log));
         return !EccKey().loadAnyJwk(json, c.log);
     }},
    {"XmlUnknownCurve", kScalar, false,
     [](Case &c) {
         StringBuffer text("<ECCKeyValue>");
         c.broken(false, false, 1, 0x40).encodeDB("base64", text);
         text.append("</ECCKeyValue>");
         ClsXml xml;
         return xml.loadXml(text.getString(), c.log) && !EccKey().loadAnyXml(xml, c.log);
     }},
    // d read, then the separate point refused; in both blob forms where the short one fits.
    {"PuttyCompressedPoint", kScalar, false,
     [](Case &c) {
         DataBuffer bad;
         EXPECT_TRUE(c.key->exportEccPoint(bad, c.log));
         bad.getDataMutable()[0] = 0x02;
         const unsigned n = (unsigned)c.d.size();
         return !c.loadsPutty(bad, n) && (n + 4 >= 57 || !c.loadsPutty(bad, n - 1));
     }},
    {"RawWrongSize", kScalar, false,
     [](Case &c) {
         DataBuffer raw;
         raw.setSensitive();
         raw.append(c.d.data(), (unsigned)c.d.size());
         raw.appendChar(0x01);
         return !EccKey().loadEccPrivateRaw(raw, false, c.log);
     }},
    {"GenerateUnknownCurve", kScalar, false,
     [](Case &c) {
         return !EccKey().generateNewKey2(StringBuffer("no-such-curve"), c.hex.c_str(), "hex", c.log);
     }},
};

std::vector<CurveInfo> hygieneCurves() {
    std::vector<CurveInfo> out;
    for (const CurveInfo &c : allCurves())
        for (const char *name : {"secp256r1", "secp521r1", "brainpoolp384r1", "secp256k1"})
            if (std::string(c.name) == name)
                out.push_back(c);
    return out;
}

class Hygiene : public ::testing::TestWithParam<std::tuple<CurveInfo, Row>> {
  protected:
    void SetUp() override {
        c.curve = std::get<0>(GetParam());
        TestPrng rng(testSeed() ^ (std::uint64_t)c.curve.nid);
        c.d = rng.bytes(c.curve.byteLen);
        c.pool = rng.bytes(512);
        for (Bytes *b : {&c.d, &c.pool}) {
            (*b)[0] = 0;  // below n
            (*b)[1] |= 0x10;
        }
        c.hex = hexOf(c.d);
        c.prng.m_queue = c.pool;
        c.prng.m_fill = 0x5A;
        if (std::get<1>(GetParam()).secrets & kScalar)
            watchSecret(c.d, "private scalar");
        if (std::get<1>(GetParam()).secrets & kNonce)
            watchSecret(Bytes(c.pool.begin(), c.pool.begin() + c.curve.byteLen), "nonce");
        g_hits = 0;
    }
    void TearDown() override {
        g_armed = false;
        for (Pattern &p : g_patterns)
            OPENSSL_cleanse(&p.bytes[0], p.bytes.size());
        g_patterns.clear();
        for (Bytes *b : {&c.d, &c.pool, &c.prng.m_queue})
            OPENSSL_cleanse(b->data(), b->size());
        OPENSSL_cleanse(&c.hex[0], c.hex.size());
    }
    Case c;
};

TEST_P(Hygiene, FreedMemoryHoldsNoSecret) {
    const Row &row = std::get<1>(GetParam());
    g_armed = true;
    {
        EccKey key;
        c.key = &key;
        EXPECT_TRUE(c.load(key));
        EXPECT_TRUE(row.run(c));
    }
    g_armed = false;
    if (row.leaks)
        EXPECT_GT(g_hits, 0u) << "the watch missed a secret left in a buffer that is not marked sensitive";
    else
        EXPECT_EQ(g_hits, 0u) << g_first->label << " in a freed block of " << g_firstSize << " bytes";
}

INSTANTIATE_TEST_SUITE_P(Curves, Hygiene,
                         ::testing::Combine(::testing::ValuesIn(hygieneCurves()), ::testing::ValuesIn(kRows)),
                         [](const ::testing::TestParamInfo<std::tuple<CurveInfo, Row>> &i) {
                             return std::string(std::get<0>(i.param).name) + "_" + std::get<1>(i.param).name;
                         });

}  // namespace

// Every block is zeroed once searched, armed or not: a copy the test itself let go while the watch was off
// cannot then turn up in a block the library reuses and releases while it is on.
extern "C" void free(void *ptr) {
    inspect(ptr);
    if (ptr)
        std::memset(ptr, 0, malloc_usable_size(ptr));
    __libc_free(ptr);
}

extern "C" void *realloc(void *ptr, size_t size) {
    void *moved = size || !ptr ? __libc_malloc(size) : nullptr;
    if (moved && ptr)
        std::memcpy(moved, ptr, std::min(size, malloc_usable_size(ptr)));
    if (moved || !size)
        free(ptr);
    return moved;
}
