// The collaborator services under the key code, each against OpenSSL: big-integer steps, text codecs,
// buffers and the DER writer.
#include <numeric>

#include <openssl/asn1.h>
#include <openssl/evp.h>
#include <openssl/objects.h>

#include "support/Asn1.h"
#include "support/AsnItem.h"
#include "support/Hash.h"
#include "support/Oracle.h"
#include "support/Owners.h"
#include "support/PublicKey.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

// The one-call modular steps and LibTomMath's own operations, on values in and around [0, m).
TEST(Support, ModularStepsMatchOpenSsl) {
    TestPrng prng(testSeed());
    std::unique_ptr<BN_CTX, void (*)(BN_CTX *)> ctx(BN_CTX_new(), BN_CTX_free);
    for (const CurveInfo &c : allCurves()) {
        BnPtr m = orderOf(c), want(BN_new());
        mp_int mm, a, b, r;
        mpOf(m.get(), mm);
        for (int i = 0; i < testIterations(20); ++i) {
            BnPtr x = randomScalar(c, prng), y = randomScalar(c, prng);
            if (i == 0)
                BN_sub(y.get(), m.get(), BN_value_one());
            mpOf(x.get(), a);
            mpOf(y.get(), b);
            auto check = [&](int rc, const char *what) {
                ASSERT_EQ(rc, 0) << what;
                DataBuffer mine;
                EXPECT_TRUE(TovarMp::mpint_to_db(r, mine));
                EXPECT_EQ(toBytes(mine), BN_is_zero(want.get()) ? Bytes() : bytesOf(want.get(), 0))
                    << what << " " << c.name;
            };
            BN_mod_add(want.get(), x.get(), y.get(), m.get(), ctx.get());
            check(TovarMp::mp_add_sub_once(a, b, mm, r), "add");
            BN_mod_sub(want.get(), x.get(), y.get(), m.get(), ctx.get());
            check(TovarMp::mp_sub_add_once(a, b, mm, r), "sub");
            BN_mod_mul(want.get(), x.get(), y.get(), m.get(), ctx.get());
            check(TovarMp::mp_mulmod(a, b, mm, r), "mulmod");
            BN_mod_inverse(want.get(), x.get(), m.get(), ctx.get());
            check(TovarMp::mp_invmod(a, mm, r), "invmod");
            BN_mul(want.get(), x.get(), y.get(), ctx.get());
            BN_nnmod(want.get(), want.get(), m.get(), ctx.get());
            EXPECT_EQ(0, TovarMp::mp_mul(a, b, r));
            check(TovarMp::mp_mod(r, mm, r), "mod");
            // Halving mod m: (x + m·(x odd)) / 2.
            BN_copy(want.get(), x.get());
            if (BN_is_odd(want.get()))
                BN_add(want.get(), want.get(), m.get());
            BN_rshift1(want.get(), want.get());
            EXPECT_EQ(0, TovarMp::mp_copy(a, r));
            check(TovarMp::mp_halve_add_odd(r, mm), "halve");
            // A negative value is inverted as itself, not as its magnitude.
            BN_sub(want.get(), m.get(), x.get());
            BN_mod_inverse(want.get(), want.get(), m.get(), ctx.get());
            mp_int neg, twoM;
            EXPECT_EQ(0, TovarMp::mp_sub(neg, a, neg));
            check(TovarMp::mp_invmod(neg, mm, r), "invmod of a negative");
            BN_sub(want.get(), y.get(), x.get());  // outside [0, m): a plain sum, m taken off only above m
            check(TovarMp::mp_add_sub_once(b, neg, mm, r), "add of a negative");
            BN_sub(want.get(), m.get(), x.get());  // -x - y + m: the magnitude, whatever the sign
            BN_sub(want.get(), want.get(), y.get());
            check(TovarMp::mp_sub_add_once(neg, b, mm, r), "sub from a negative");
            BN_sub(want.get(), m.get(), x.get());  // x - 2m + m, negative: 2m has m's digit count here
            EXPECT_EQ(0, TovarMp::mp_add(mm, mm, twoM));
            check(TovarMp::mp_sub_add_once(a, twoM, mm, r), "sub of a value above x + m");
            EXPECT_TRUE(TovarMp::isNegative(r));
            BN_rshift1(want.get(), BN_is_odd(x.get()) ? want.get() : x.get());  // (m - x) / 2 or x / 2
            EXPECT_EQ(0, TovarMp::mp_copy(neg, r));
            check(TovarMp::mp_halve_add_odd(r, mm), "halve a negative");
            EXPECT_EQ(TovarMp::mp_cmp(a, b),
                      BN_cmp(x.get(), y.get()) < 0 ? -1 : BN_cmp(x.get(), y.get()) > 0);
        }
    }
}

// Text the key readers rarely meet: bad base64, base64url and hex leave the buffer as it was, whitespace
// inside base64, and the fingerprint form of hex. (Good text in every length modulo three is read in the
// key tests.)
TEST(Support, TextCodecEdges) {
    for (auto [encoding, text] : {std::pair<const char *, const char *>{"base64", "QUJD!"},
                                  {"base64", "QQ==QQ=="},
                                  {"base64", "QR=="},
                                  {"base64url", "a+b"},
                                  {"hex", "0G"},
                                  {"hex", "ABC"},
                                  {"nope", "00"}}) {
        DataBuffer db;
        EXPECT_TRUE(db.append("ab", 2));
        EXPECT_FALSE(db.appendEncoded(text, encoding)) << encoding << " " << text;
        EXPECT_EQ(toBytes(db), (Bytes{'a', 'b'}));
    }
    DataBuffer spaced;  // whitespace inside encoded text is skipped: XML and PEM bodies carry it
    ASSERT_TRUE(spaced.appendEncoded(" QU\tJD\r\n", "base64"));
    EXPECT_EQ(toBytes(spaced), (Bytes{'A', 'B', 'C'}));
    // A buffer appended to itself, whole or from inside, through a reallocation.
    StringBuffer text("ab");
    DataBuffer bytes = toDb({1, 2});
    EXPECT_TRUE(text.append(text) && text.append(text.getString() + 1) && text.equals("ababbab"));
    EXPECT_TRUE(bytes.append(bytes) && bytes.append(bytes.getData2() + 1, 3) &&
                toBytes(bytes) == (Bytes{1, 2, 1, 2, 2, 1, 2}));
    StringBuffer pairs, label;
    LogNull log;
    EXPECT_FALSE(_tvPublicKey::derToPem("EC KEY-----\n", bytes, label, log));  // a label ends at its line
    EXPECT_TRUE(
        _tvPublicKey::pemToDer("-----BEGIN X-----\t \r\nMAA=\r\n-----END X----- \r\n", label, bytes, log) &&
        toBytes(bytes) == (Bytes{0x30, 0}));  // CRLF and trailing blanks on every line
    EXPECT_TRUE(DataBuffer::toHexString2(unhex("00A1FF").data(), 3, true, pairs));
    EXPECT_STREQ(pairs.getString(), "00:a1:ff");
    // No input at all (an empty file gives none) still has its digest.
    DataBuffer digest;
    ASSERT_TRUE(_tvHash::doHash(nullptr, 0, HASH_SHA256, digest));
    EXPECT_EQ(toBytes(digest), digestOf("SHA256", {}));
    EXPECT_FALSE(_tvHash::doHash("x", 1, 999, digest));  // an unknown algorithm
    // The Wycheproof runner's SHAKE digests have the vectors' lengths (FIPS 202's empty-message values).
    EXPECT_EQ(digestOf("SHAKE128", {}),
              unhex("7F9C2BA4E88F827D616045507605853ED73B8093F6EFBC88EB1A6EACFA66EF26"));
    EXPECT_EQ(digestOf("SHAKE256", {}),
              unhex("46B9DD2B0BA88D13233B3FEB743EEB243FCD52EA62B81B82B50C27646ED5762F"
                    "D75DC4DDD8C0F200CB05019D67B592F6FC821C49479AB48640292EACB3B7C4BE"));
}

// Every byte value through the computed hex and base64 alphabets, against OpenSSL's base64 and printf's hex,
// and back.
TEST(Support, EveryByteEncodesAsOpenSslAndPrintfDo) {
    Bytes all(256);
    std::iota(all.begin(), all.end(), 0);
    std::string base64(344, '\0'), hex, url;
    base64.resize((size_t)EVP_EncodeBlock((unsigned char *)&base64[0], all.data(), 256));
    char pair[3];
    for (unsigned char b : all)
        hex += (std::snprintf(pair, sizeof pair, "%02X", b), pair);
    for (char c : base64.substr(0, 342))
        url += c == '+' ? '-' : c == '/' ? '_' : c;
    for (const auto &[encoding, want] :
         {std::pair<const char *, std::string>{"hex", hex}, {"base64", base64}, {"base64url", url}}) {
        StringBuffer text;
        DataBuffer back;
        EXPECT_TRUE(toDb(all).encodeDB(encoding, text) && text.getString() == want &&
                    back.appendEncoded(want.c_str(), encoding) && toBytes(back) == all)
            << encoding;
    }
}

// An OID's first subidentifier packs two arcs, split at 40 and 80: each boundary prints as OpenSSL prints
// it and builds the same bytes again; text that is not an OID builds nothing.
TEST(Support, OidArcsMatchOpenSsl) {
    for (unsigned char first : {0, 39, 40, 79, 80, 81, 127}) {
        const Bytes der = {0x06, 0x02, first, 0x05};
        const unsigned char *p = der.data();
        std::unique_ptr<ASN1_OBJECT, void (*)(ASN1_OBJECT *)> obj(d2i_ASN1_OBJECT(nullptr, &p, 4),
                                                                  ASN1_OBJECT_free);
        char want[64];
        OBJ_obj2txt(want, sizeof want, obj.get(), 1);
        LogNull log;
        unsigned consumed = 0;
        StringBuffer dotted;
        _tvAsn1 *node = _tvAsn1::DecodeToAsn(der.data(), 4, consumed, log), *again = _tvAsn1::newOid(want);
        RefCountedObjectOwner owners[] = {RefCountedObjectOwner(node), RefCountedObjectOwner(again)};
        DataBuffer bytes;
        ASSERT_TRUE(node && node->GetOid(dotted) && again && again->EncodeToDer(bytes, false, log));
        EXPECT_STREQ(dotted.getString(), want);
        EXPECT_EQ(toBytes(bytes), der) << want;
    }
    for (const char *text : {"1.01", "1..2", "1.2.", "", "1"})
        EXPECT_EQ(RefCountedObjectOwner(_tvAsn1::newOid(text)).release(), nullptr) << text;
}

// The DER dump a refused key logs: structure, OIDs, small INTEGERs and lengths, never a key's octets.
TEST(Support, DerDumpShowsNoKeyOctets) {
    LogRecorder log;
    _tvDer::logDerAsXml(toDb(unhex("3011020101040411223344A00606042B810400")), log);
    _tvDer::logDerAsXml(toDb(Bytes{0x30, 0x05}), log);
    std::string dump;
    ASSERT_TRUE(log.dataValue("der", dump));
    EXPECT_EQ(dump, "<invalidDer len=\"2\"/>\n");
    EXPECT_EQ(log.entries()[0].text,
              "<sequence>\n  <int>01</int>\n  <octets len=\"4\"/>\n  <contextSpecific tag=\"0\">\n"
              "    <oid>1.3.132.0</oid>\n  </contextSpecific>\n</sequence>\n");
}

// A DER INTEGER for every value is OpenSSL's encoding of it (inside a SEQUENCE of two, as a signature is),
// and reads back to the value.
TEST(Support, DerIntegersMatchOpenSsl) {
    TestPrng prng(testSeed());
    for (int i = 0; i < 200; ++i) {
        Bytes v = prng.bytes(1 + i % 70);
        if (i % 3 == 0)
            v[0] = (unsigned char)(i % 2 ? 0x80 : 0);
        mp_int m;
        EXPECT_TRUE(TovarMp::mpint_from_bytes(m, v.data(), (unsigned)v.size()));
        ObjectOwner<tv_asnItem> seq(tv_asnItem::newSequence());
        LogRecorder log;
        ASSERT_TRUE(seq.get()->appendUnsignedInt(m, log) && seq.get()->appendUnsignedInt(m, log));
        DataBuffer der;
        ASSERT_TRUE(_tvDer::EncodeAsn(seq.get(), der));
        EXPECT_EQ(toBytes(der), derOf(bnOf(v).get(), bnOf(v).get()));  // OpenSSL's SEQUENCE of two INTEGERs
        mp_int back;
        ASSERT_TRUE(seq.get()->getSubItem_doNotDelete(1)->get_mp(back, log));
        EXPECT_EQ(hexOf(back), hexOf(m));
    }
}

}  // namespace
