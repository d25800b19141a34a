// Secret hygiene: no secret survives in memory the library gives back.
//
// The program replaces free and realloc with wrappers around glibc's own allocator. While the watch is
// armed, every released block is searched for the watched secrets: each value as big- and little-endian
// bytes and as LibTomMath digits, the private scalar also as upper- and lower-case hexadecimal and as base64
// and base64url at the three alignments a scalar takes inside a longer text. realloc always moves, so a
// secret left behind by growing a buffer is found too. Each row runs twice on the same key and generator
// bytes: unarmed, to learn what it computed (a signature's r and s give k, k⁻¹, d·r, d·r mod n and e + d·r;
// ECDH gives the shared x; key generation its scalar), then armed. Single-threaded by design; not for
// sanitizer or valgrind builds, which bring allocators of their own.
#include <gtest/gtest.h>
#include <malloc.h>
#include <openssl/crypto.h>

#include <algorithm>
#include <cstring>

#include "ecckey/ecckey.hpp"
#include "formats/CoseKey.h"
#include "formats/EcdhKdf.h"
#include "formats/JwkThumbprint.h"
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

// Shapes every representation of v holds, whatever its leading zeros: its low 16 bytes both ways round
// and its two lowest LibTomMath digits.
void watch(const BIGNUM *v, const std::string &name) {
    const Bytes be = bytesOf(v, 16), low(be.end() - 16, be.end()), le(low.rbegin(), low.rend());
    mp_int m;
    mpOf(v, m);
    MpDigit digits[2] = {m.get_digit(0), m.get_digit(1)};
    g_patterns.insert(g_patterns.end(),
                      {{std::string(low.begin(), low.end()), name + " (big-endian)"},
                       {std::string(le.begin(), le.end()), name + " (little-endian)"},
                       {std::string((const char *)digits, sizeof digits), name + " (digits)"}});
    OPENSSL_cleanse(digits, sizeof digits);
}

// The scalar's texts. Its first byte is 0x00, which minimal encodings leave out: the hex windows start past
// it, and the base64 ones at bytes 1, 2 and 3, one of which falls on a group boundary in any text, whether
// that text carries the first byte or not.
void watchTexts(const Bytes &be) {
    std::string hex = hexOf(be), lower = hex;
    std::transform(hex.begin(), hex.end(), lower.begin(), ::tolower);
    g_patterns.insert(g_patterns.end(),
                      {{hex.substr(4, 24), "scalar (hex)"}, {lower.substr(4, 24), "scalar (hex)"}});
    for (unsigned k = 1; k <= 3; ++k) {
        for (const char *encoding : {"base64", "base64url"}) {
            DataBuffer run;
            StringBuffer text;
            EXPECT_TRUE(run.append(be.data() + k, 15));
            EXPECT_TRUE(run.encodeDB(encoding, text));
            g_patterns.push_back(
                {std::string(text.getString(), 20), std::string("scalar (") + encoding + ")"});
        }
    }
}

// What a signature's r and s give with d and e: k = s⁻¹·(e + d·r) mod n (and n − k, for a low-S signer),
// both inverses, d·r, d·r mod n, e + (d·r mod n) and that sum mod n.
void watchSignature(const CurveInfo &c, const Bytes &sig, int form, const Bytes &d, const Bytes &hash) {
    BnPtr r, s, n = orderOf(c),
                e = bnOf(Bytes(hash.begin(), hash.begin() + (form == 2 ? 32 : std::min(c.byteLen, 32))));
    const auto part = [&sig](size_t from, size_t to) {
        return bnOf(Bytes(sig.begin() + from, sig.begin() + to));
    };
    if (form == 1) {  // raw r||s
        r = part(0, sig.size() / 2);
        s = part(sig.size() / 2, sig.size());
    } else if (form == 2) {  // two SSH mpints, each shorter than 256 bytes
        r = part(4, 4 + sig[3]);
        s = part(8 + sig[3], sig.size());
    } else {
        ASSERT_TRUE(rsOf(sig, r, s));
    }
    std::unique_ptr<BN_CTX, void (*)(BN_CTX *)> ctx(BN_CTX_new(), BN_CTX_free);
    std::vector<BnPtr> v;
    for (int i = 0; i < 8; ++i)
        v.emplace_back(BN_new());  // d·r, d·r mod n, e + d·r, its residue, k, n − k, their inverses
    ASSERT_TRUE(BN_mul(v[0].get(), bnOf(d).get(), r.get(), ctx.get()) &&
                BN_nnmod(v[1].get(), v[0].get(), n.get(), ctx.get()) &&
                BN_add(v[2].get(), e.get(), v[1].get()) &&
                BN_nnmod(v[3].get(), v[2].get(), n.get(), ctx.get()) &&
                BN_mod_inverse(v[4].get(), s.get(), n.get(), ctx.get()) &&
                BN_mod_mul(v[4].get(), v[4].get(), v[3].get(), n.get(), ctx.get()) &&
                BN_sub(v[5].get(), n.get(), v[4].get()) &&
                BN_mod_inverse(v[6].get(), v[4].get(), n.get(), ctx.get()) &&
                BN_mod_inverse(v[7].get(), v[5].get(), n.get(), ctx.get()));
    const char *names[] = {"d*r", "d*r mod n", "e + d*r", "e + d*r mod n",
                           "k",   "n - k",     "k^-1",    "(n - k)^-1"};
    for (int i = 0; i < 8; ++i)
        watch(v[i].get(), names[i]);
}

class Hygiene;
struct Row {
    const char *name;
    bool control;  // the row leaves d behind on purpose, and the watch must see it
    bool (*run)(Hygiene &);
};
// What a row computed, beside d: a signature of a form (0 DER, 1 raw, 2 SSH, 3 deterministic), a shared x,
// or a generated scalar.
enum Output { kDer, kRaw, kSsh, kDeterministic, kShared, kGenerated };

// One operation on one curve: the private scalar d (below n: a zero top byte), its hex text, the key
// loaded from it, and a generator whose first bytes are a draw above n (one more leading 0xFF byte than n
// has), then as many more as any run of redraws takes.
class Hygiene : public ::testing::TestWithParam<std::tuple<CurveInfo, Row>> {
  public:
    void SetUp() override {
        TestPrng rng(testSeed() ^ (std::uint64_t)curve.nid);
        d = rng.bytes(curve.byteLen);
        hash = rng.bytes(32);
        queue = rng.bytes(4096);
        d[0] = 0;
        d[1] |= 0x10;
        const Bytes n = bytesOf(orderOf(curve).get(), curve.byteLen);
        for (size_t i = 0; i == 0 || n[i - 1] == 0xFF; ++i)
            queue[i] = 0xFF;
        hex = hexOf(d);
    }

    // The row, on a fresh key and generator.
    bool runOnce() {
        EccKey k;
        key = &k;
        prng.m_queue = queue;
        prng.m_failWhenEmpty = true;
        outputs.clear();
        return load(k) && row.run(*this);
    }
    bool load(EccKey &k) { return k.generateNewKey2(StringBuffer(curve.name), hex.c_str(), "hex", log); }
    bool keep(bool ok, Output kind, const DataBuffer &out) {
        outputs.push_back({kind, toBytes(out)});
        return ok;
    }
    bool sign(Output form) {
        DataBuffer sig;
        const bool ok = form == kDeterministic
                            ? key->eccSignHashDeterministic(hash.data(), 32, HASH_SHA256, true, sig, log)
                        : form == kSsh ? key->eccSignHash_forSsh(hash.data(), 32, prng, sig, log)
                                       : key->eccSignHash(hash.data(), 32, prng, form == kDer, sig, log);
        return keep(ok, form, sig);
    }
    bool generate(const char *options) {
        EccKey k;
        LogNull withOptions;
        EXPECT_TRUE(withOptions.m_options.setString(options));
        DataBuffer scalar;
        scalar.setSensitive();
        const bool ok = k.generateNewKey(StringBuffer(curve.name), prng, withOptions) &&
                        TovarMp::mpint_to_db(k.m_privKey, scalar);
        return keep(ok, kGenerated, scalar);
    }
    // Both loaders mark their input sensitive themselves: the copies here are left unmarked on purpose.
    bool loadsDer(const DataBuffer &der) {
        DataBuffer input, copy;
        EXPECT_TRUE(input.append(der));
        EXPECT_TRUE(copy.append(der));
        const bool checked = EccKey().loadEccDerChecked(copy, log);
        return EccKey().loadEccDer(input, log) && checked;
    }
    bool der(bool (EccKey::*write)(DataBuffer &, LogBase &) const, bool readBack) {
        DataBuffer o;
        return (key->*write)(o, log) && (!readBack || loadsDer(o));
    }
    // The SEC 1 key as PEM, its body spoilt or not, back to DER and read.
    bool pem(bool spoil) {
        StringBuffer text, label;
        DataBuffer bin;
        EXPECT_TRUE(key->toEccPrivateKeyPem(true, text, log));
        if (spoil)
            *(const_cast<char *>(std::strchr(text.getString(), '\n')) + 5) = '*';
        return _tvPublicKey::pemToDer(text.getString(), label, bin, log) && loadsDer(bin);
    }
    // The SEC 1 or PKCS #8 export, written with the point, whose 04 prefix (2·len + 1 bytes from the end)
    // becomes 02: a compressed form the reader refuses after it has read d.
    DataBuffer spoilt(bool pkcs8) {
        LogNull options;
        EXPECT_TRUE(options.m_options.setString("EMIT_ECC_PKCS1_PUBKEY"));
        DataBuffer o;
        EXPECT_TRUE(pkcs8 ? key->toEccPkcs8PrivateKeyDer(o, options)
                          : key->toEccPkcs1PrivateKeyDer(o, options));
        unsigned char &prefix = o.getDataMutable()[o.getSize() - 2 * d.size() - 1];
        EXPECT_EQ(prefix, 0x04);
        prefix = 0x02;
        return o;
    }
    // PuTTY's private blob (names, point, d; or d alone in dLen bytes), read with the point given apart.
    bool loadsPutty(bool spoilPoint, unsigned dLen) {
        DataBuffer blob, q;
        EXPECT_TRUE(key->exportEccPoint(q, log));
        if (dLen == d.size()) {
            EXPECT_TRUE(blob.append("\0\0\0\x08nistp256\0\0\0\x08nistp256", 24));
            EXPECT_TRUE(blob.appendUint32_be(q.getSize()));
            EXPECT_TRUE(blob.append(q));
        }
        EXPECT_TRUE(blob.appendUint32_be(dLen));
        EXPECT_TRUE(blob.append(d.data() + d.size() - dLen, dLen));  // not marked here: the loader marks it
        q.getDataMutable()[0] = spoilPoint ? 0x02 : 0x04;
        return EccKey().loadPrivateFromPuttySsh(curve.name, q, blob, log);
    }

    const CurveInfo curve = std::get<0>(GetParam());
    const Row row = std::get<1>(GetParam());
    Bytes d, hash, queue;
    std::string hex;
    std::vector<std::pair<Output, Bytes>> outputs;
    ScriptedPrng prng;
    LogNull log;
    EccKey *key = nullptr;
};

const Row kRows[] = {
    {"Control", true,
     [](Hygiene &t) {
         DataBuffer plain;  // not sensitive: growing it leaves a copy behind, as does the hex text's copy
         EXPECT_TRUE(plain.append(t.d.data(), (unsigned)t.d.size()));
         EXPECT_TRUE(plain.append(t.queue.data(), (unsigned)t.queue.size()));
         plain.secureClear();
         return !std::string(t.hex).empty();
     }},
    // The default draw (above n, so reduced on every curve but secp256k1), then the uniform one.
    {"Generate", false, [](Hygiene &t) { return t.generate("") && t.generate(EccKey::kOptDrawUniform); }},
    {"Sign", false,
     [](Hygiene &t) { return t.sign(kDer) && t.sign(kRaw) && t.sign(kSsh) && t.sign(kDeterministic); }},
    {"Ecdh", false,
     [](Hygiene &t) {
         EccKey peer;  // the same scalar: only its point is used
         DataBuffer shared, checked;
         const bool ok = t.load(peer) && t.key->sharedSecret(peer, shared, t.log) &&
                         t.key->checkPrivateKey(t.log) && t.key->sharedSecretChecked(peer, checked, t.log) &&
                         checked.equals(shared);
         return t.keep(ok, kShared, shared);
     }},
    {"Der", false,
     [](Hygiene &t) {
         return t.der(&EccKey::toEccPkcs1PrivateKeyDer, true) &&
                t.der(&EccKey::toEccPkcs8PrivateKeyDer, true) &&
                t.der(&EccKey::toEccPkcs1PrivateKeyDer_forPkcs11, false);
     }},
    {"Pem", false, [](Hygiene &t) { return t.pem(false) && !t.pem(true); }},
    {"JwkXmlAndRawHex", false,
     [](Hygiene &t) {
         StringBuffer jwk, xmlText, priv, pub;
         ClsJsonObject json, unknown;
         ClsXml xml;
         bool ok = t.key->toEccPrivateKeyJwk(jwk, t.log) && json.load(jwk.getString(), t.log) &&
                   EccKey().loadAnyJwk(json, t.log) && t.key->toEccPrivateKeyXml(xmlText, t.log) &&
                   xml.loadXml(xmlText.getString(), t.log) && EccKey().loadAnyXml(xml, t.log) &&
                   t.key->toRawHex(priv, pub, t.log);
         // A JWK whose curve is unknown, refused after its d was read.
         return ok && jwk.replaceFirstOccurance("\"crv\":\"", "\"crv\":\"x", false) &&
                unknown.load(jwk.getString(), t.log) && !EccKey().loadAnyJwk(unknown, t.log);
     }},
    {"SshString", false,
     [](Hygiene &t) {
         DataBuffer blob, read;  // read is left unmarked: the parser marks what it takes from a secret blob
         blob.setSensitive();
         EXPECT_TRUE(blob.appendUint32_be((unsigned)t.d.size()));
         EXPECT_TRUE(blob.append(t.d.data(), (unsigned)t.d.size()));
         unsigned offset = 0;
         return SshMessage::parseBinaryString(blob, offset, read, t.log) &&
                read.equals(t.d.data(), (unsigned)t.d.size());
     }},
    // The blob read, then with its separate point refused, in both forms where the short one fits.
    {"Putty", false,
     [](Hygiene &t) {
         const unsigned n = (unsigned)t.d.size();
         return t.loadsPutty(false, n) && !t.loadsPutty(true, n) &&
                (n + 4 >= 57 || !t.loadsPutty(true, n - 1));
     }},
    // Loaders that took the private bytes and then refused a compressed point.
    {"DerCompressedPoint", false,
     [](Hygiene &t) { return !t.loadsDer(t.spoilt(false)) && !t.loadsDer(t.spoilt(true)); }},
    // COSE keys written and read back on the four curves that have them; a key derived from the shared x.
    {"CoseAndKdf", false,
     [](Hygiene &t) {
         EccKey peer, back;
         DataBuffer cose, shared, derived;
         const bool named = registeredJwkCurve(*t.key) != nullptr;
         const EcdhKdfParams hkdf{EcdhKdfKind::Hkdf, HASH_SHA256, 42, nullptr, nullptr};
         const bool ok = toCoseKey(*t.key, true, nullptr, 0, true, cose, t.log) == named &&
                         (!named || loadCoseKey(back, cose, t.log)) && t.load(peer) &&
                         agreeAndDerive(*t.key, peer, hkdf, derived, t.log) &&
                         t.key->sharedSecretChecked(peer, shared, t.log);
         return t.keep(ok, kShared, shared);
     }},
    // The face: loading, copying, moving, signing, ECDH and saving.
    {"Face", false,
     [](Hygiene &t) {
         DataBuffer sec1, secret;
         secret.setSensitive();
         EXPECT_TRUE(t.key->toEccPkcs1PrivateKeyDer(sec1, t.log));
         auto key = ecckey::PrivateKey::load(ecckey::ByteView(sec1.getData2(), sec1.getSize()));
         ecckey::PrivateKey copy = *key, moved = std::move(copy);
         auto der = moved.signDigest(t.hash, ecckey::SigFormat::Der);
         auto raw = moved.signDigest(t.hash, ecckey::SigFormat::Raw);
         auto fixed = moved.signDigest(t.hash, ecckey::SigFormat::Der, ecckey::Nonce::Deterministic);
         auto shared = key->agree(key->publicKey());
         auto jwk = moved.save(ecckey::KeyFormat::Jwk);
         const bool ok = der && raw && fixed && shared && jwk && t.keep(true, kDer, toDb(*der)) &&
                         t.keep(true, kRaw, toDb(*raw)) && t.keep(true, kDeterministic, toDb(*fixed)) &&
                         secret.append(shared->data(), (unsigned)shared->size()) &&
                         t.keep(true, kShared, secret);
         OPENSSL_cleanse(shared->data(),
                         shared->size());  // the caller's secrets, wiped as a careful caller would
         OPENSSL_cleanse(&(*jwk)[0], jwk->size());
         return ok;
     }},
    {"Raw", false,
     [](Hygiene &t) {
         DataBuffer raw;  // the caller's: marked as a careful caller would
         raw.setSensitive();
         EXPECT_TRUE(raw.append(t.d.data(), (unsigned)t.d.size()));
         const bool knownLength = raw.getSize() == 32 || raw.getSize() == 48 || raw.getSize() == 66;
         return EccKey().loadEccPrivateRaw(raw, isK1(t.curve), t.log) == knownLength;
     }},
};

// Unarmed, the row shows what to watch for; armed, the loading of the key and the row run again, and the
// key's own release is searched too.
TEST_P(Hygiene, FreedMemoryHoldsNoSecret) {
    ASSERT_TRUE(runOnce());
    g_patterns.clear();
    watch(bnOf(d).get(), "scalar");
    watchTexts(d);
    watch(bnOf(Bytes(queue.begin(), queue.begin() + curve.byteLen)).get(), "draw");  // a key's, or a nonce
    for (const auto &[kind, bytes] : outputs) {
        if (kind <= kDeterministic)
            watchSignature(curve, bytes, kind == kDeterministic ? kDer : kind, d, hash);
        else
            watch(bnOf(bytes).get(), kind == kShared ? "shared x" : "generated scalar");
    }
    std::vector<std::pair<Output, Bytes>>().swap(outputs);
    g_hits = 0;
    g_armed = true;
    EXPECT_TRUE(runOnce());
    g_armed = false;
    if (row.control)
        EXPECT_GT(g_hits, 0u) << "the watch missed a secret left in a buffer that is not marked sensitive";
    else
        EXPECT_EQ(g_hits, 0u) << g_first.first->label << " in a freed block of " << g_first.second
                              << " bytes";
}

INSTANTIATE_TEST_SUITE_P(Curves, Hygiene,
                         ::testing::Combine(::testing::ValuesIn(allCurves()), ::testing::ValuesIn(kRows)),
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
