// Writes the seed corpora of the fuzz targets: keys made by OpenSSL on all thirteen curves in every form
// the module reads, and signatures by the verification target's fixed keys.
//
//   build-fuzz/bin/make_seeds fuzz/corpus
//
// Each corpus stays small: a few files per curve. Everything is built from OpenSSL output and the
// published layouts, not from the module's own writers, so that a writer fault cannot shape the seeds.
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "../FuzzKeys.h"
#include "support/DataBuffer.h"
#include "support/TovarMp.h"

using namespace ecckey_fuzz;
typedef std::vector<unsigned char> Bytes;

namespace {

std::filesystem::path s_root;

void die(const char *what) {
    std::fprintf(stderr, "make_seeds: %s\n", what);
    std::exit(1);
}

void writeFile(const char *target, const std::string &name, const Bytes &bytes) {
    std::filesystem::path dir = s_root / target;
    std::filesystem::create_directories(dir);
    std::ofstream out(dir / name, std::ios::binary);
    out.write(reinterpret_cast<const char *>(bytes.data()), (std::streamsize)bytes.size());
    if (!out)
        die("cannot write a seed");
}

void writeText(const char *target, const std::string &name, const std::string &text) {
    writeFile(target, name, Bytes(text.begin(), text.end()));
}

Bytes cat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes &p : parts)
        out.insert(out.end(), p.begin(), p.end());
    return out;
}

std::string base64(const Bytes &b, bool url) {
    const char *alphabet = url ? "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_"
                               : "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    size_t i = 0;
    for (; i + 3 <= b.size(); i += 3) {
        unsigned v = (unsigned)b[i] << 16 | (unsigned)b[i + 1] << 8 | b[i + 2];
        for (int k = 18; k >= 0; k -= 6)
            out += alphabet[(v >> k) & 63];
    }
    size_t rest = b.size() - i;
    if (rest) {
        unsigned v = (unsigned)b[i] << 16 | (rest == 2 ? (unsigned)b[i + 1] << 8 : 0);
        out += alphabet[v >> 18];
        out += alphabet[(v >> 12) & 63];
        if (rest == 2)
            out += alphabet[(v >> 6) & 63];
        if (!url)
            out += rest == 2 ? "=" : "==";
    }
    return out;
}

std::string hexUpper(const Bytes &b) {
    static const char digits[] = "0123456789ABCDEF";
    std::string s;
    for (unsigned char c : b)
        s += digits[c >> 4], s += digits[c & 15];
    return s;
}

Bytes bnBytes(const BIGNUM *bn, int width) {
    Bytes out((size_t)width);
    if (BN_bn2binpad(bn, out.data(), width) != width)
        die("BN_bn2binpad");
    return out;
}

Bytes bnMinimal(const BIGNUM *bn) {
    Bytes out((size_t)BN_num_bytes(bn));
    BN_bn2bin(bn, out.data());
    return out;
}

Bytes sshString(const Bytes &b) {
    Bytes out = {(unsigned char)(b.size() >> 24), (unsigned char)(b.size() >> 16),
                 (unsigned char)(b.size() >> 8), (unsigned char)b.size()};
    out.insert(out.end(), b.begin(), b.end());
    return out;
}

Bytes sshString(const std::string &s) {
    return sshString(Bytes(s.begin(), s.end()));
}

Bytes sshMpint(const BIGNUM *bn) {
    Bytes m = bnMinimal(bn);
    if (!m.empty() && (m[0] & 0x80))
        m.insert(m.begin(), 0);
    return sshString(m);
}

template <typename F>
Bytes i2d(F encode) {
    unsigned char *der = nullptr;
    int len = encode(&der);
    if (len <= 0)
        die("DER encoding failed");
    Bytes out(der, der + len);
    OPENSSL_free(der);
    return out;
}

std::string pemOf(EVP_PKEY *pkey, int kind) {
    BIO *bio = BIO_new(BIO_s_mem());
    int ok = kind == 0 ? PEM_write_bio_PUBKEY(bio, pkey)
             : kind == 1
                 ? PEM_write_bio_PrivateKey(bio, pkey, nullptr, nullptr, 0, nullptr, nullptr)
                 : PEM_write_bio_PrivateKey_traditional(bio, pkey, nullptr, nullptr, 0, nullptr, nullptr);
    if (!ok)
        die("PEM encoding failed");
    char *data = nullptr;
    long len = BIO_get_mem_data(bio, &data);
    std::string out(data, (size_t)len);
    BIO_free(bio);
    return out;
}

// One OpenSSL key and its parts.
struct Key {
    EVP_PKEY *pkey = nullptr;
    BIGNUM *d = nullptr;
    Bytes point;  // 04 || X || Y
    ~Key() {
        EVP_PKEY_free(pkey);
        BN_clear_free(d);
    }
};

// A key with the given scalar (or a fresh one when d is null).
void makeKey(const CurveRef &curve, const BIGNUM *d, Key &key) {
    const char *group = OBJ_nid2sn(curve.nid);
    if (!d) {
        key.pkey = EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", group);
        if (!key.pkey)
            die("keygen failed");
    } else {
        EC_GROUP *g = EC_GROUP_new_by_curve_name(curve.nid);
        EC_POINT *q = EC_POINT_new(g);
        EC_POINT_mul(g, q, d, nullptr, nullptr, nullptr);
        unsigned char pub[200];
        size_t pubLen = EC_POINT_point2oct(g, q, POINT_CONVERSION_UNCOMPRESSED, pub, sizeof pub, nullptr);
        OSSL_PARAM_BLD *bld = OSSL_PARAM_BLD_new();
        OSSL_PARAM_BLD_push_utf8_string(bld, OSSL_PKEY_PARAM_GROUP_NAME, group, 0);
        OSSL_PARAM_BLD_push_BN(bld, OSSL_PKEY_PARAM_PRIV_KEY, d);
        OSSL_PARAM_BLD_push_octet_string(bld, OSSL_PKEY_PARAM_PUB_KEY, pub, pubLen);
        OSSL_PARAM *params = OSSL_PARAM_BLD_to_param(bld);
        EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr);
        if (EVP_PKEY_fromdata_init(ctx) <= 0 ||
            EVP_PKEY_fromdata(ctx, &key.pkey, EVP_PKEY_KEYPAIR, params) <= 0)
            die("fromdata failed");
        EVP_PKEY_CTX_free(ctx);
        OSSL_PARAM_free(params);
        OSSL_PARAM_BLD_free(bld);
        EC_POINT_free(q);
        EC_GROUP_free(g);
    }
    if (!EVP_PKEY_get_bn_param(key.pkey, OSSL_PKEY_PARAM_PRIV_KEY, &key.d))
        die("no private key");
    unsigned char pub[200];
    size_t pubLen = 0;
    if (!EVP_PKEY_get_octet_string_param(key.pkey, OSSL_PKEY_PARAM_PUB_KEY, pub, sizeof pub, &pubLen))
        die("no public key");
    key.point.assign(pub, pub + pubLen);
}

std::string jwkCurveName(const CurveRef &curve) {
    std::string oid = curve.oid;
    if (oid == "1.2.840.10045.3.1.7")
        return "P-256";
    if (oid == "1.3.132.0.34")
        return "P-384";
    if (oid == "1.3.132.0.35")
        return "P-521";
    return curve.name;
}

bool hasExplicitForm(const CurveRef &curve) {
    std::string n = curve.name;
    return n == "secp256r1" || n == "secp384r1" || n == "secp521r1" || n == "secp256k1";
}

void writeKeySeeds(int index) {
    const CurveRef &curve = curveAt(index);
    const std::string base = curve.name;
    Key key;
    makeKey(curve, nullptr, key);
    const int L = curve.byteLen;
    const Bytes x(key.point.begin() + 1, key.point.begin() + 1 + L);
    const Bytes y(key.point.begin() + 1 + L, key.point.end());
    const Bytes dBytes = bnBytes(key.d, L);

    // DER: SEC 1, SEC 1 without the point, PKCS #8, SubjectPublicKeyInfo; explicit parameters.
    const Bytes sec1 = i2d([&](unsigned char **p) { return i2d_PrivateKey(key.pkey, p); });
    const Bytes spki = i2d([&](unsigned char **p) { return i2d_PUBKEY(key.pkey, p); });
    PKCS8_PRIV_KEY_INFO *p8 = EVP_PKEY2PKCS8(key.pkey);
    const Bytes pkcs8 = i2d([&](unsigned char **p) { return i2d_PKCS8_PRIV_KEY_INFO(p8, p); });
    PKCS8_PRIV_KEY_INFO_free(p8);
    EVP_PKEY_set_int_param(key.pkey, OSSL_PKEY_PARAM_EC_INCLUDE_PUBLIC, 0);
    const Bytes sec1NoPub = i2d([&](unsigned char **p) { return i2d_PrivateKey(key.pkey, p); });
    EVP_PKEY_set_int_param(key.pkey, OSSL_PKEY_PARAM_EC_INCLUDE_PUBLIC, 1);
    for (const char *t : {"der_key", "asn1"}) {
        writeFile(t, base + "_sec1.der", sec1);
        writeFile(t, base + "_sec1_nopub.der", sec1NoPub);
        writeFile(t, base + "_pkcs8.der", pkcs8);
        writeFile(t, base + "_spki.der", spki);
    }
    writeFile("der_item", base + "_spki.der", spki);
    if (hasExplicitForm(curve) || curve.name == std::string("brainpoolp256r1")) {
        EVP_PKEY_set_utf8_string_param(key.pkey, OSSL_PKEY_PARAM_EC_ENCODING, OSSL_PKEY_EC_ENCODING_EXPLICIT);
        const Bytes spkiExplicit = i2d([&](unsigned char **p) { return i2d_PUBKEY(key.pkey, p); });
        const Bytes sec1Explicit = i2d([&](unsigned char **p) { return i2d_PrivateKey(key.pkey, p); });
        EVP_PKEY_set_utf8_string_param(key.pkey, OSSL_PKEY_PARAM_EC_ENCODING, OSSL_PKEY_EC_ENCODING_GROUP);
        writeFile("der_key", base + "_spki_explicit.der", spkiExplicit);
        writeFile("der_key", base + "_sec1_explicit.der", sec1Explicit);
        writeFile("asn1", base + "_spki_explicit.der", spkiExplicit);
    }

    // PEM, for the three curves with JOSE names (the reader does not look at the content).
    if (jwkCurveName(curve) != curve.name) {
        writeText("pem", base + "_public.pem", pemOf(key.pkey, 0));
        writeText("pem", base + "_pkcs8.pem", pemOf(key.pkey, 1));
        writeText("pem", base + "_sec1.pem", pemOf(key.pkey, 2));
    }

    // JWK (RFC 7518): private and public.
    const std::string crv = jwkCurveName(curve);
    const std::string pubMembers = "\"x\":\"" + base64(x, true) + "\",\"y\":\"" + base64(y, true) + "\"";
    writeText(
        "jwk", base + "_private.json",
        "{\"kty\":\"EC\",\"crv\":\"" + crv + "\"," + pubMembers + ",\"d\":\"" + base64(dBytes, true) + "\"}");
    writeText("jwk", base + "_public.json", "{\"crv\":\"" + crv + "\",\"kty\":\"EC\"," + pubMembers + "}");

    // XML: the library's two forms and the XML Signature 1.1 ECKeyValue.
    writeText("xml", base + "_private.xml",
              "<ECCKeyValue curve=\"" + base + "\">" + base64(sec1, false) + "</ECCKeyValue>");
    writeText("xml", base + "_public.xml",
              "<ECCPublicKey curve=\"" + base + "\" x=\"" + hexUpper(x) + "\" y=\"" + hexUpper(y) + "\">" +
                  base64(spki, false) + "</ECCPublicKey>");
    writeText("xml", base + "_dsig11.xml",
              "<dsig11:ECKeyValue xmlns:dsig11=\"http://www.w3.org/2009/xmldsig11#\"><dsig11:NamedCurve "
              "URI=\"urn:oid:" +
                  std::string(curve.oid) + "\" /><dsig11:PublicKey>" + base64(key.point, false) +
                  "</dsig11:PublicKey></dsig11:ECKeyValue>");

    // X9.63 points: uncompressed, behind a 0x00, hybrid.
    writeFile("point", base + "_04.bin", key.point);
    if (index < 3) {
        writeFile("point", base + "_0004.bin", cat({{0x00}, key.point}));
        Bytes hybrid = key.point;
        hybrid[0] = (unsigned char)(6 | (y.back() & 1));
        writeFile("point", base + "_hybrid.bin", hybrid);
    }

    // Raw keys: the three sizes the loaders know, and secp256k1 through the flag.
    std::string oid = curve.oid;
    if (oid == "1.2.840.10045.3.1.7" || oid == "1.3.132.0.34" || oid == "1.3.132.0.35") {
        writeFile("raw_public", base + ".bin", key.point);
        writeFile("raw_private", base + ".bin", cat({{0x00}, dBytes}));
    }
    if (base == "secp256k1")
        writeFile("raw_private", base + ".bin", cat({{0x01}, dBytes}));

    // PuTTY: byte 0 the curve, byte 1 the point length, the point, then the private blob in the four-field
    // form and, where it stays below 57 bytes, as a single mpint.
    const std::string sshId = base == "secp256r1"   ? "nistp256"
                              : base == "secp384r1" ? "nistp384"
                              : base == "secp521r1" ? "nistp521"
                              : base == "secp224r1" ? "nistp224"
                              : base == "secp256k1" ? "nistk256"
                                                    : "nistp256";
    const Bytes head = {(unsigned char)index, (unsigned char)key.point.size()};
    const Bytes fourField =
        cat({sshString("ecdsa-sha2-" + sshId), sshString(sshId), sshString(key.point), sshMpint(key.d)});
    writeFile("putty", base + "_long.bin", cat({head, key.point, fourField}));
    const Bytes shortForm = sshMpint(key.d);
    if (shortForm.size() < 57)
        writeFile("putty", base + "_short.bin", cat({head, key.point, shortForm}));
    if (index == 0)
        writeFile("putty", base + "_public_only.bin", cat({head, key.point}));
}

// Signs hash with the verification target's fixed key and returns the DER signature.
Bytes signFixed(int index, const Bytes &hash) {
    const CurveRef &curve = curveAt(index);
    ecckey::mp_int dInt;
    fixedScalar(index, dInt);
    ecckey::DataBuffer dBytes;
    ecckey::TovarMp::mpint_to_db(dInt, dBytes);
    BIGNUM *d = BN_bin2bn(dBytes.getData2(), (int)dBytes.getSize(), nullptr);
    Key key;
    makeKey(curve, d, key);
    BN_free(d);
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new(key.pkey, nullptr);
    size_t sigLen = 0;
    if (EVP_PKEY_sign_init(ctx) <= 0 || EVP_PKEY_sign(ctx, nullptr, &sigLen, hash.data(), hash.size()) <= 0)
        die("sign init failed");
    Bytes sig(sigLen);
    if (EVP_PKEY_sign(ctx, sig.data(), &sigLen, hash.data(), hash.size()) <= 0)
        die("sign failed");
    sig.resize(sigLen);
    EVP_PKEY_CTX_free(ctx);
    return sig;
}

Bytes rawOf(const Bytes &der, int byteLen) {
    const unsigned char *p = der.data();
    ECDSA_SIG *sig = d2i_ECDSA_SIG(nullptr, &p, (long)der.size());
    if (!sig)
        die("d2i_ECDSA_SIG");
    Bytes raw = cat({bnBytes(ECDSA_SIG_get0_r(sig), byteLen), bnBytes(ECDSA_SIG_get0_s(sig), byteLen)});
    ECDSA_SIG_free(sig);
    return raw;
}

void writeSignatureSeeds(int index) {
    const CurveRef &curve = curveAt(index);
    const std::string base = curve.name;
    const bool k1 = base == "secp256k1";
    Bytes hash32(32), hash64(64);
    for (size_t i = 0; i < hash64.size(); ++i)
        hash64[i] = (unsigned char)(i * 7 + index);
    for (size_t i = 0; i < hash32.size(); ++i)
        hash32[i] = (unsigned char)(i * 13 + index + 1);

    // Header: curve, hash length, r length for the split, split flag.
    const Bytes der32 = signFixed(index, hash32);
    writeFile("verify", base + "_der_h32.bin", cat({{(unsigned char)index, 32, 0, 0}, hash32, der32}));
    writeFile("der_item", base + "_sig.der", der32);
    writeFile("asn1", base + "_sig.der", der32);

    // Raw r || s over a 64-byte hash (cut to the curve's length on both sides; secp256k1 takes 32 bytes).
    const Bytes &hashRaw = k1 ? hash32 : hash64;
    const Bytes raw = rawOf(signFixed(index, hashRaw), curve.byteLen);
    const bool known =
        raw.size() == 48 || raw.size() == 64 || raw.size() == 96 || raw.size() == 128 || raw.size() == 132;
    const unsigned char split = known ? 0 : 1;
    const unsigned char rLen = known ? 0 : (unsigned char)curve.byteLen;
    writeFile("verify", base + "_raw.bin",
              cat({{(unsigned char)index, (unsigned char)hashRaw.size(), rLen, split}, hashRaw, raw}));
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s CORPUS_DIR\n", argv[0]);
        return 2;
    }
    s_root = argv[1];
    for (int i = 0; i < numCurves(); ++i) {
        writeKeySeeds(i);
        writeSignatureSeeds(i);
    }
    std::printf("seeds written under %s\n", s_root.c_str());
    return 0;
}
