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
#include "support/SshMessage.h"

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
size_t g_hits = 0;
std::pair<const Pattern *, size_t> g_first;  // the first hit: the pattern, and the size of its block

void inspect(void *block) {
    const size_t size = malloc_usable_size(block);
    for (const Pattern &p : g_patterns)
        if (memmem(block, size, p.bytes.data(), p.bytes.size()) && g_hits++ == 0)
            g_first = {&p, size};
}

// The shapes of the secret be. The first byte of the secrets here is 0x00, which minimal encodings leave
// out: the byte and hex windows start past it, and the base64 ones at bytes 1, 2 and 3, one of which falls
// on a group boundary in any text, whether that text carries the first byte or not. The copies made here live
// on the heap, which the free below wipes; only the digit on the stack is wiped by hand.
void watchSecret(const Bytes &be, const std::string &name) {
    const Bytes le(be.rbegin(), be.rend());
    mp_int v;
    ASSERT_TRUE(TovarMp::mpint_from_bytes(v, be.data(), (unsigned)be.size()));
    MpDigit digit = v.get_digit(1);
    std::string hex = hexOf(be), lower = hex;
    std::transform(hex.begin(), hex.end(), lower.begin(), ::tolower);
    g_patterns.insert(g_patterns.end(),
                      {{std::string(be.begin() + 2, be.begin() + 18), name + " (big-endian)"},
                       {std::string(le.begin() + 2, le.begin() + 18), name + " (little-endian)"},
                       {std::string((const char *)&digit, sizeof digit), name + " (digit)"},
                       {hex.substr(4, 24), name + " (upper-case hex)"},
                       {lower.substr(4, 24), name + " (lower-case hex)"}});
    OPENSSL_cleanse(&digit, sizeof digit);
    for (unsigned k = 1; k <= 3; ++k) {
        for (const char *encoding : {"base64", "base64url"}) {
            DataBuffer run;
            StringBuffer text;
            run.append(be.data() + k, 15);
            run.encodeDB(encoding, text);
            g_patterns.push_back({std::string(text.getString(), 20), name + " (" + encoding + ")"});
        }
    }
}

enum Secret { kScalar = 1, kNonce = 2, kControl = 4 };  // kControl: the row leaves the secret on purpose
class Hygiene;
struct Row {
    const char *name;
    int secrets;  // which the watch looks for
    bool (*run)(Hygiene &);
};
void PrintTo(const Row &row, std::ostream *os) {
    *os << row.name;
}

// One operation on one curve: the private scalar d (below n: a zero top byte), its hex text, the key
// loaded from it, and a generator whose first bytes are a signature's nonce or a new key's scalar.
class Hygiene : public ::testing::TestWithParam<std::tuple<CurveInfo, Row>> {
  public:
    void SetUp() override {
        TestPrng rng(testSeed() ^ (std::uint64_t)curve.nid);
        d = rng.bytes(curve.byteLen);
        // Enough for any run of redraws (a signer redraws k for a leading byte it refuses); a constant tail
        // could be refused forever, so running out fails the operation instead.
        prng.m_queue = rng.bytes(4096);
        prng.m_failWhenEmpty = true;
        for (Bytes *b : {&d, &prng.m_queue}) {
            (*b)[0] = 0;  // below n
            (*b)[1] |= 0x10;
        }
        hex = hexOf(d);
        g_patterns.clear();
        if (std::get<1>(GetParam()).secrets & kScalar)
            watchSecret(d, "private scalar");
        if (std::get<1>(GetParam()).secrets & kNonce)
            watchSecret(Bytes(prng.m_queue.begin(), prng.m_queue.begin() + curve.byteLen), "nonce");
    }

    bool load(EccKey &k) { return k.generateNewKey2(StringBuffer(curve.name), hex.c_str(), "hex", log); }
    bool sign(int form) {
        const unsigned char hash[32] = {0x5C};
        DataBuffer sig;
        return form == 3   ? key->eccSignHashDeterministic(hash, 32, HASH_SHA256, true, sig, log)
               : form == 2 ? key->eccSignHash_forSsh(hash, 32, prng, sig, log)
                           : key->eccSignHash(hash, 32, prng, form == 0, sig, log);
    }
    // Both loaders mark their input sensitive themselves: the copies here are left unmarked on purpose.
    bool loadsDer(const DataBuffer &der) {
        DataBuffer input, copy;
        input.append(der);
        copy.append(der);
        const bool checked = EccKey().loadEccDerChecked(copy, log);
        return EccKey().loadEccDer(input, log) && checked;
    }
    bool der(bool (EccKey::*write)(DataBuffer &, LogBase &), bool readBack) {
        DataBuffer out;
        return (key->*write)(out, log) && (!readBack || loadsDer(out));
    }
    // The SEC 1 key as PEM, its body spoilt or not, back to DER and read.
    bool pem(bool spoil) {
        StringBuffer text, label;
        DataBuffer der;
        EXPECT_TRUE(key->toEccPrivateKeyPem(true, text, log));
        if (spoil)
            *(const_cast<char *>(std::strchr(text.getString(), '\n')) + 5) = '*';
        return _tvPublicKey::pemToDer(text.getString(), label, der, log) && loadsDer(der);
    }
    // The SEC 1 or PKCS #8 export, written with the point, whose 04 prefix (2·len + 1 bytes from the end)
    // becomes 02: a compressed form the reader refuses after it has read d.
    DataBuffer spoilt(bool pkcs8) {
        LogNull options;
        options.m_options.setString("EMIT_ECC_PKCS1_PUBKEY");
        DataBuffer out;
        EXPECT_TRUE(pkcs8 ? key->toEccPkcs8PrivateKeyDer(out, options)
                          : key->toEccPkcs1PrivateKeyDer(out, options));
        unsigned char &prefix = out.getDataMutable()[out.getSize() - 2 * d.size() - 1];
        EXPECT_EQ(prefix, 0x04);
        prefix = 0x02;
        return out;
    }
    // PuTTY's private blob (names, point, d; or d alone in dLen bytes), read with the point given apart.
    bool loadsPutty(bool spoilPoint, unsigned dLen) {
        DataBuffer blob, q;
        EXPECT_TRUE(key->exportEccPoint(q, log));
        if (dLen == d.size()) {
            blob.append("\0\0\0\x08nistp256\0\0\0\x08nistp256", 24);
            blob.appendUint32_be(q.getSize());
            blob.append(q);
        }
        blob.appendUint32_be(dLen);
        blob.append(d.data() + d.size() - dLen, dLen);  // not marked here: the loader marks it
        q.getDataMutable()[0] = spoilPoint ? 0x02 : 0x04;
        return EccKey().loadPrivateFromPuttySsh(curve.name, q, blob, log);
    }

    const CurveInfo curve = std::get<0>(GetParam());
    Bytes d;
    std::string hex;
    ScriptedPrng prng;
    LogNull log;
    EccKey *key = nullptr;
};

const Row kRows[] = {
    {"ControlGrownPlainBuffer", kScalar | kControl,
     [](Hygiene &t) {
         DataBuffer plain;  // not sensitive: growing it leaves a copy behind
         plain.append(t.d.data(), (unsigned)t.d.size());
         plain.append(t.prng.m_queue.data(), (unsigned)t.prng.m_queue.size());
         plain.secureClear();
         return true;
     }},
    {"ControlHexString", kScalar | kControl, [](Hygiene &t) { return !std::string(t.hex).empty(); }},
    {"GenerateFromPrng", kNonce,
     [](Hygiene &t) { return EccKey().generateNewKey(StringBuffer(t.curve.name), t.prng, t.log); }},
    {"SignDer", kScalar | kNonce, [](Hygiene &t) { return t.sign(0); }},
    {"SignRaw", kScalar | kNonce, [](Hygiene &t) { return t.sign(1); }},
    {"SignSsh", kScalar | kNonce, [](Hygiene &t) { return t.sign(2); }},
    {"SignDeterministic", kScalar, [](Hygiene &t) { return t.sign(3); }},
    {"Ecdh", kScalar,
     [](Hygiene &t) {
         EccKey peer;  // the same scalar: only its point is used
         DataBuffer shared, checked;
         return t.load(peer) && t.key->sharedSecret(peer, shared, t.log) && t.key->checkPrivateKey(t.log) &&
                t.key->sharedSecretChecked(peer, checked, t.log);
     }},
    {"Sec1Der", kScalar, [](Hygiene &t) { return t.der(&EccKey::toEccPkcs1PrivateKeyDer, true); }},
    {"Pkcs8Der", kScalar, [](Hygiene &t) { return t.der(&EccKey::toEccPkcs8PrivateKeyDer, true); }},
    {"Pkcs11Der", kScalar,
     [](Hygiene &t) { return t.der(&EccKey::toEccPkcs1PrivateKeyDer_forPkcs11, false); }},
    {"Pem", kScalar, [](Hygiene &t) { return t.pem(false); }},
    {"JwkXmlAndRawHex", kScalar,
     [](Hygiene &t) {
         StringBuffer jwk, xmlText, priv, pub;
         ClsJsonObject json;
         ClsXml xml;
         return t.key->toEccPrivateKeyJwk(jwk, t.log) && json.load(jwk.getString(), t.log) &&
                EccKey().loadAnyJwk(json, t.log) && t.key->toEccPrivateKeyXml(xmlText, t.log) &&
                xml.loadXml(xmlText.getString(), t.log) && EccKey().loadAnyXml(xml, t.log) &&
                t.key->toRawHex(priv, pub, t.log);
     }},
    {"SshString", kScalar,
     [](Hygiene &t) {
         DataBuffer blob, read;  // read is left unmarked: the parser marks what it takes from a secret blob
         blob.setSensitive();
         blob.appendUint32_be((unsigned)t.d.size());
         blob.append(t.d.data(), (unsigned)t.d.size());
         unsigned offset = 0;
         return SshMessage::parseBinaryString(blob, offset, read, t.log) &&
                read.equals(t.d.data(), (unsigned)t.d.size());
     }},
    {"Putty", kScalar, [](Hygiene &t) { return t.loadsPutty(false, (unsigned)t.d.size()); }},
    // Loaders that took the private bytes and then failed.
    {"Sec1CompressedPoint", kScalar, [](Hygiene &t) { return !t.loadsDer(t.spoilt(false)); }},
    {"Pkcs8CompressedPoint", kScalar, [](Hygiene &t) { return !t.loadsDer(t.spoilt(true)); }},
    {"PemBrokenBody", kScalar, [](Hygiene &t) { return !t.pem(true); }},
    {"JwkUnknownCurve", kScalar,
     [](Hygiene &t) {
         StringBuffer jwk;
         ClsJsonObject json;
         return t.key->toEccPrivateKeyJwk(jwk, t.log) &&
                jwk.replaceFirstOccurance("\"crv\":\"", "\"crv\":\"x", false) &&
                json.load(jwk.getString(), t.log) && !EccKey().loadAnyJwk(json, t.log);
     }},
    // d read, then the separate point refused; in both blob forms where the short one fits.
    {"PuttyCompressedPoint", kScalar,
     [](Hygiene &t) {
         const unsigned n = (unsigned)t.d.size();
         return !t.loadsPutty(true, n) && (n + 4 >= 57 || !t.loadsPutty(true, n - 1));
     }},
    {"Raw", kScalar,
     [](Hygiene &t) {
         DataBuffer raw;  // the caller's: marked as a careful caller would
         raw.setSensitive();
         raw.append(t.d.data(), (unsigned)t.d.size());
         return EccKey().loadEccPrivateRaw(raw, isK1(t.curve), t.log);
     }},
};

// The generator (the key set up from hex text) runs armed too, and the key's own release is searched.
TEST_P(Hygiene, FreedMemoryHoldsNoSecret) {
    const Row &row = std::get<1>(GetParam());
    g_hits = 0;
    g_armed = true;
    {
        EccKey k;
        key = &k;
        EXPECT_TRUE(load(k));
        EXPECT_TRUE(row.run(*this));
    }
    g_armed = false;
    if (row.secrets & kControl)
        EXPECT_GT(g_hits, 0u) << "the watch missed a secret left in a buffer that is not marked sensitive";
    else
        EXPECT_EQ(g_hits, 0u) << g_first.first->label << " in a freed block of " << g_first.second
                              << " bytes";
}

// secp256r1, secp521r1 and brainpoolp384r1 on the generic arithmetic; secp256k1 on its own engine.
INSTANTIATE_TEST_SUITE_P(Curves, Hygiene,
                         ::testing::Combine(::testing::Values(allCurves()[0], allCurves()[2], allCurves()[11],
                                                              allCurves()[3]),
                                            ::testing::ValuesIn(kRows)),
                         [](const ::testing::TestParamInfo<std::tuple<CurveInfo, Row>> &i) {
                             return std::string(std::get<0>(i.param).name) + "_" + std::get<1>(i.param).name;
                         });

}  // namespace

// Every block is zeroed once searched, armed or not: a copy the test itself let go while the watch was off
// cannot then turn up in a block the library reuses and releases while it is on.
extern "C" void free(void *ptr) {
    if (ptr && g_armed)
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
