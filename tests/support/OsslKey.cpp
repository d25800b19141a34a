// EC_KEY and ECDSA_SIG are deprecated in OpenSSL 3 but remain the plainest way to sign a bare digest
// with a chosen key; the oracle is test code only.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "support/OsslKey.h"

#include <openssl/asn1.h>
#include <openssl/core_names.h>
#include <openssl/decoder.h>
#include <openssl/ecdsa.h>
#include <openssl/encoder.h>
#include <openssl/objects.h>
#include <openssl/param_build.h>

#include <string>

namespace ecckey_test {

namespace {

struct CtxFree {
    void operator()(EVP_PKEY_CTX *p) const { EVP_PKEY_CTX_free(p); }
};
struct BldFree {
    void operator()(OSSL_PARAM_BLD *p) const { OSSL_PARAM_BLD_free(p); }
};
struct ParamFree {
    void operator()(OSSL_PARAM *p) const { OSSL_PARAM_free(p); }
};
struct EncFree {
    void operator()(OSSL_ENCODER_CTX *p) const { OSSL_ENCODER_CTX_free(p); }
};
struct DecFree {
    void operator()(OSSL_DECODER_CTX *p) const { OSSL_DECODER_CTX_free(p); }
};
struct BnCtxFree {
    void operator()(BN_CTX *p) const { BN_CTX_free(p); }
};
struct SigFree {
    void operator()(ECDSA_SIG *s) const { ECDSA_SIG_free(s); }
};
using SigPtr = std::unique_ptr<ECDSA_SIG, SigFree>;

std::uint64_t nextOf(void *ctx) {
    return static_cast<TestPrng *>(ctx)->next();
}

SigPtr sigOf(const BIGNUM *r, const BIGNUM *s) {
    SigPtr sig(ECDSA_SIG_new());
    ECDSA_SIG_set0(sig.get(), BN_dup(r), BN_dup(s));
    return sig;
}

Bytes pointBytes(const EC_GROUP *g, const EC_POINT *q) {
    size_t n = EC_POINT_point2oct(g, q, POINT_CONVERSION_UNCOMPRESSED, nullptr, 0, nullptr);
    Bytes out(n);
    EC_POINT_point2oct(g, q, POINT_CONVERSION_UNCOMPRESSED, out.data(), n, nullptr);
    return out;
}

PkeyPtr fromParams(const CurveInfo &c, const BIGNUM *d, const Bytes &pub) {
    std::unique_ptr<OSSL_PARAM_BLD, BldFree> bld(OSSL_PARAM_BLD_new());
    OSSL_PARAM_BLD_push_utf8_string(bld.get(), OSSL_PKEY_PARAM_GROUP_NAME, OBJ_nid2sn(c.nid), 0);
    if (d)
        OSSL_PARAM_BLD_push_BN(bld.get(), OSSL_PKEY_PARAM_PRIV_KEY, d);
    OSSL_PARAM_BLD_push_octet_string(bld.get(), OSSL_PKEY_PARAM_PUB_KEY, pub.data(), pub.size());
    std::unique_ptr<OSSL_PARAM, ParamFree> params(OSSL_PARAM_BLD_to_param(bld.get()));
    std::unique_ptr<EVP_PKEY_CTX, CtxFree> ctx(EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr));
    EVP_PKEY *pkey = nullptr;
    if (EVP_PKEY_fromdata_init(ctx.get()) <= 0 ||
        EVP_PKEY_fromdata(ctx.get(), &pkey, d ? EVP_PKEY_KEYPAIR : EVP_PKEY_PUBLIC_KEY, params.get()) <= 0) {
        return nullptr;
    }
    return PkeyPtr(pkey);
}

}  // namespace

PkeyPtr osslKeyFromScalar(const CurveInfo &c, const BIGNUM *d) {
    GroupPtr g = groupFor(c);
    PointPtr q(EC_POINT_new(g.get()));
    EC_POINT_mul(g.get(), q.get(), d, nullptr, nullptr, nullptr);
    return fromParams(c, d, pointBytes(g.get(), q.get()));
}

PkeyPtr osslRandomKey(const CurveInfo &c, TestPrng &prng) {
    GroupPtr g = groupFor(c);
    BnPtr d = randomScalar(EC_GROUP_get0_order(g.get()), nextOf, &prng);
    return osslKeyFromScalar(c, d.get());
}

PkeyPtr osslKeyWithShortX(const CurveInfo &c, TestPrng &prng) {
    // Walk d, d + 1, d + 2, ... with one point addition a step until x starts with a zero byte.
    GroupPtr g = groupFor(c);
    std::unique_ptr<BN_CTX, BnCtxFree> bnCtx(BN_CTX_new());
    BnPtr d = randomScalar(EC_GROUP_get0_order(g.get()), nextOf, &prng);
    PointPtr q(EC_POINT_new(g.get()));
    EC_POINT_mul(g.get(), q.get(), d.get(), nullptr, nullptr, bnCtx.get());
    const EC_POINT *gen = EC_GROUP_get0_generator(g.get());
    BnPtr x(BN_new());
    for (;;) {
        EC_POINT_get_affine_coordinates(g.get(), q.get(), x.get(), nullptr, bnCtx.get());
        if (BN_num_bytes(x.get()) < c.byteLen)
            return osslKeyFromScalar(c, d.get());
        EC_POINT_add(g.get(), q.get(), q.get(), gen, bnCtx.get());
        BN_add_word(d.get(), 1);
        if (BN_cmp(d.get(), EC_GROUP_get0_order(g.get())) >= 0) {
            BN_set_word(d.get(), 1);
            EC_POINT_copy(q.get(), gen);
        }
    }
}

PkeyPtr osslPublicOnly(EVP_PKEY *pkey) {
    Bytes der = osslEncode(pkey, false, "DER", "SubjectPublicKeyInfo", false);
    return osslDecode(der, false);
}

BnPtr osslPrivScalar(EVP_PKEY *pkey) {
    BIGNUM *d = nullptr;
    if (!EVP_PKEY_get_bn_param(pkey, OSSL_PKEY_PARAM_PRIV_KEY, &d))
        return nullptr;
    return BnPtr(d);
}

Bytes osslPubPoint(EVP_PKEY *pkey) {
    // Ask for the uncompressed form whatever the key was read with.
    EVP_PKEY_set_utf8_string_param(pkey, OSSL_PKEY_PARAM_EC_POINT_CONVERSION_FORMAT,
                                   OSSL_PKEY_EC_POINT_CONVERSION_FORMAT_UNCOMPRESSED);
    size_t n = 0;
    if (!EVP_PKEY_get_octet_string_param(pkey, OSSL_PKEY_PARAM_PUB_KEY, nullptr, 0, &n))
        return {};
    Bytes out(n);
    EVP_PKEY_get_octet_string_param(pkey, OSSL_PKEY_PARAM_PUB_KEY, out.data(), n, &n);
    out.resize(n);
    return out;
}

bool osslHasNamedGroup(EVP_PKEY *pkey) {
    // OpenSSL maps explicit parameters of a known curve to its name, but remembers how they were encoded.
    char encoding[40];
    size_t n = 0;
    if (EVP_PKEY_get_utf8_string_param(pkey, OSSL_PKEY_PARAM_EC_ENCODING, encoding, sizeof encoding, &n) != 1)
        return false;
    return std::string(encoding) == OSSL_PKEY_EC_ENCODING_GROUP;
}

bool osslGroupIs(EVP_PKEY *pkey, const CurveInfo &c) {
    OSSL_PARAM *raw = nullptr;
    if (EVP_PKEY_todata(pkey, EVP_PKEY_KEY_PARAMETERS, &raw) != 1)
        return false;
    std::unique_ptr<OSSL_PARAM, ParamFree> params(raw);
    GroupPtr g(EC_GROUP_new_from_params(params.get(), nullptr, nullptr));
    if (!g)
        return false;
    GroupPtr want = groupFor(c);
    std::unique_ptr<BN_CTX, BnCtxFree> bnCtx(BN_CTX_new());
    return EC_GROUP_cmp(g.get(), want.get(), bnCtx.get()) == 0;
}

Bytes osslEncode(EVP_PKEY *pkey, bool privatePart, const char *output, const char *structure,
                 bool explicitParams) {
    EVP_PKEY_set_utf8_string_param(
        pkey, OSSL_PKEY_PARAM_EC_ENCODING,
        explicitParams ? OSSL_PKEY_EC_ENCODING_EXPLICIT : OSSL_PKEY_EC_ENCODING_GROUP);
    int selection = privatePart ? EVP_PKEY_KEYPAIR : EVP_PKEY_PUBLIC_KEY;
    std::unique_ptr<OSSL_ENCODER_CTX, EncFree> ctx(
        OSSL_ENCODER_CTX_new_for_pkey(pkey, selection, output, structure, nullptr));
    unsigned char *data = nullptr;
    size_t len = 0;
    Bytes out;
    if (ctx && OSSL_ENCODER_to_data(ctx.get(), &data, &len) == 1) {
        out.assign(data, data + len);
        OPENSSL_free(data);
    }
    // Leave the key as it was found for later encodings.
    EVP_PKEY_set_utf8_string_param(pkey, OSSL_PKEY_PARAM_EC_ENCODING, OSSL_PKEY_EC_ENCODING_GROUP);
    return out;
}

PkeyPtr osslDecode(const Bytes &in, bool privatePart) {
    EVP_PKEY *pkey = nullptr;
    int selection = privatePart ? EVP_PKEY_KEYPAIR : EVP_PKEY_PUBLIC_KEY;
    std::unique_ptr<OSSL_DECODER_CTX, DecFree> ctx(
        OSSL_DECODER_CTX_new_for_pkey(&pkey, nullptr, nullptr, "EC", selection, nullptr, nullptr));
    if (!ctx)
        return nullptr;
    const unsigned char *p = in.data();
    size_t len = in.size();
    if (OSSL_DECODER_from_data(ctx.get(), &p, &len) != 1) {
        EVP_PKEY_free(pkey);
        return nullptr;
    }
    return PkeyPtr(pkey);
}

void setEccKeyFrom(EVP_PKEY *pkey, const CurveInfo &c, ecckey::EccKey &key) {
    ecckey::LogNull log;
    key.clearEccKey();
    key.m_curve.loadCurveByName(c.name, log);
    Bytes q = osslPubPoint(pkey);
    size_t h = (q.size() - 1) / 2;
    ecckey::TovarMp::mpint_from_bytes(key.m_pubPoint.m_x, q.data() + 1, (unsigned)h);
    ecckey::TovarMp::mpint_from_bytes(key.m_pubPoint.m_y, q.data() + 1 + h, (unsigned)h);
    ecckey::TovarMp::mp_set(key.m_pubPoint.m_z, 1);
    BnPtr d = osslPrivScalar(pkey);
    if (d) {
        fromBn(d.get(), key.m_privKey);
        key.m_keyType = 1;
    } else {
        key.m_keyType = 0;
    }
}

Bytes eccPubPoint(const ecckey::EccKey &key, const CurveInfo &c) {
    Bytes out(1 + 2 * c.byteLen, 0);
    out[0] = 4;
    BnPtr x = toBn(key.m_pubPoint.m_x);
    BnPtr y = toBn(key.m_pubPoint.m_y);
    if (BN_num_bytes(x.get()) > c.byteLen || BN_num_bytes(y.get()) > c.byteLen)
        return {};
    BN_bn2binpad(x.get(), out.data() + 1, c.byteLen);
    BN_bn2binpad(y.get(), out.data() + 1 + c.byteLen, c.byteLen);
    return out;
}

::testing::AssertionResult sameKey(const ecckey::EccKey &key, EVP_PKEY *pkey, const CurveInfo &c,
                                   bool expectPrivate) {
    if (!key.m_curve.m_name.equals(c.name))
        return ::testing::AssertionFailure()
               << "curve " << key.m_curve.m_name.getString() << " != " << c.name;
    if (!osslGroupIs(pkey, c))
        return ::testing::AssertionFailure() << "OpenSSL key is not on " << c.name;
    Bytes mine = eccPubPoint(key, c);
    Bytes theirs = osslPubPoint(pkey);
    if (mine != theirs)
        return ::testing::AssertionFailure() << "Q differs: " << hexOf(mine.data(), mine.size()) << " vs "
                                             << hexOf(theirs.data(), theirs.size());
    BnPtr d = osslPrivScalar(pkey);
    if (expectPrivate) {
        if (key.m_keyType != 1)
            return ::testing::AssertionFailure() << "m_keyType " << key.m_keyType;
        if (!d)
            return ::testing::AssertionFailure() << "OpenSSL key has no private part";
        if (hexOf(key.m_privKey) != hexOf(d.get()))
            return ::testing::AssertionFailure()
                   << "d differs: " << hexOf(key.m_privKey) << " vs " << hexOf(d.get());
    } else if (key.m_keyType != 0) {
        return ::testing::AssertionFailure() << "m_keyType " << key.m_keyType << " for a public key";
    }
    return ::testing::AssertionSuccess();
}

int osslSequenceLength(const Bytes &der) {
    const unsigned char *p = der.data();
    ASN1_SEQUENCE_ANY *seq = d2i_ASN1_SEQUENCE_ANY(nullptr, &p, (long)der.size());
    if (!seq)
        return -1;
    int n = sk_ASN1_TYPE_num(seq);
    sk_ASN1_TYPE_pop_free(seq, ASN1_TYPE_free);
    return n;
}

PkeyPtr evpGenerate(const CurveInfo &c) {
    return PkeyPtr(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", OBJ_nid2sn(c.nid)));
}

Bytes opensslPublicPoint(const CurveInfo &c, const BIGNUM *d) {
    GroupPtr g = groupFor(c);
    PointPtr q(EC_POINT_new(g.get()));
    if (!EC_POINT_mul(g.get(), q.get(), d, nullptr, nullptr, nullptr))
        return {};
    return pointBytes(g.get(), q.get());
}

Bytes opensslMultiply(const CurveInfo &c, const BIGNUM *d, const Bytes &point) {
    GroupPtr g = groupFor(c);
    PointPtr q(EC_POINT_new(g.get()));
    PointPtr r(EC_POINT_new(g.get()));
    if (!EC_POINT_oct2point(g.get(), q.get(), point.data(), point.size(), nullptr))
        return {};
    if (!EC_POINT_mul(g.get(), r.get(), nullptr, q.get(), d, nullptr))
        return {};
    return pointBytes(g.get(), r.get());
}

PkeyPtr evpFromPublic(const CurveInfo &c, const Bytes &point) {
    return fromParams(c, nullptr, point);
}

Bytes evpDerive(EVP_PKEY *priv, EVP_PKEY *peer) {
    std::unique_ptr<EVP_PKEY_CTX, CtxFree> ctx(EVP_PKEY_CTX_new_from_pkey(nullptr, priv, nullptr));
    size_t len = 0;
    if (!ctx || EVP_PKEY_derive_init(ctx.get()) <= 0 || EVP_PKEY_derive_set_peer(ctx.get(), peer) <= 0 ||
        EVP_PKEY_derive(ctx.get(), nullptr, &len) <= 0)
        return {};
    Bytes out(len);
    if (EVP_PKEY_derive(ctx.get(), out.data(), &len) <= 0)
        return {};
    out.resize(len);
    return out;
}

struct OsslEcKey::Impl {
    EC_KEY *key = nullptr;
    BnPtr order;
};

OsslEcKey::OsslEcKey(const CurveInfo &curve, TestPrng &prng) : m_curve(curve), m_impl(new Impl) {
    m_impl->key = EC_KEY_new_by_curve_name(curve.nid);
    const EC_GROUP *g = EC_KEY_get0_group(m_impl->key);
    m_impl->order.reset(BN_dup(EC_GROUP_get0_order(g)));
    BnPtr d = randomScalar(m_impl->order.get(), nextOf, &prng);
    PointPtr q(EC_POINT_new(g));
    EC_POINT_mul(g, q.get(), d.get(), nullptr, nullptr, nullptr);
    EC_KEY_set_private_key(m_impl->key, d.get());
    EC_KEY_set_public_key(m_impl->key, q.get());
}

OsslEcKey::~OsslEcKey() {
    EC_KEY_free(m_impl->key);
    delete m_impl;
}

const BIGNUM *OsslEcKey::order() const {
    return m_impl->order.get();
}

const BIGNUM *OsslEcKey::priv() const {
    return EC_KEY_get0_private_key(m_impl->key);
}

std::string OsslEcKey::privHex() const {
    Bytes d = bytesOf(priv(), m_curve.byteLen);
    return hexOf(d.data(), d.size());
}

Bytes OsslEcKey::publicPoint() const {
    const EC_GROUP *g = EC_KEY_get0_group(m_impl->key);
    size_t len = EC_POINT_point2oct(g, EC_KEY_get0_public_key(m_impl->key), POINT_CONVERSION_UNCOMPRESSED,
                                    nullptr, 0, nullptr);
    Bytes out(len);
    EC_POINT_point2oct(g, EC_KEY_get0_public_key(m_impl->key), POINT_CONVERSION_UNCOMPRESSED, out.data(), len,
                       nullptr);
    return out;
}

void OsslEcKey::loadPrivateInto(ecckey::EccKey &key) const {
    ecckey::LogRecorder log;
    ASSERT_TRUE(key.generateNewKey2(ecckey::StringBuffer(m_curve.name), privHex().c_str(), "hex", log))
        << log.errorText();
}

void OsslEcKey::loadPublicInto(ecckey::EccKey &key) const {
    ecckey::LogRecorder log;
    Bytes point = publicPoint();
    ecckey::DataBuffer db;
    db.append(point.data(), (unsigned)point.size());
    ASSERT_TRUE(key.loadEcPubKeyByCurveAndPoint(m_curve.name, db, log)) << log.errorText();
}

bool OsslEcKey::verifyDer(const Bytes &digest, const Bytes &der) const {
    return ECDSA_verify(0, digest.data(), (int)digest.size(), der.data(), (int)der.size(), m_impl->key) == 1;
}

bool OsslEcKey::verifyRs(const Bytes &digest, const BIGNUM *r, const BIGNUM *s) const {
    SigPtr sig = sigOf(r, s);
    return ECDSA_do_verify(digest.data(), (int)digest.size(), sig.get(), m_impl->key) == 1;
}

Bytes OsslEcKey::signDer(const Bytes &digest) const {
    Bytes der(ECDSA_size(m_impl->key));
    unsigned len = 0;
    ECDSA_sign(0, digest.data(), (int)digest.size(), der.data(), &len, m_impl->key);
    der.resize(len);
    return der;
}

bool OsslEcKey::signWithNonce(const BIGNUM *k, const BIGNUM *e, BnPtr &r, BnPtr &s) const {
    const EC_GROUP *g = EC_KEY_get0_group(m_impl->key);
    const BIGNUM *n = order();
    std::unique_ptr<BN_CTX, BnCtxFree> ctx(BN_CTX_new());
    PointPtr R(EC_POINT_new(g));
    BnPtr x(BN_new()), kInv(BN_new()), t(BN_new());
    r.reset(BN_new());
    s.reset(BN_new());
    EC_POINT_mul(g, R.get(), k, nullptr, nullptr, ctx.get());
    if (EC_POINT_is_at_infinity(g, R.get()))
        return false;
    EC_POINT_get_affine_coordinates(g, R.get(), x.get(), nullptr, ctx.get());
    BN_nnmod(r.get(), x.get(), n, ctx.get());                // r = x mod n
    BN_mod_mul(t.get(), priv(), r.get(), n, ctx.get());      // t = d·r
    BN_mod_add(t.get(), t.get(), e, n, ctx.get());           // t = e + d·r
    BN_mod_inverse(kInv.get(), k, n, ctx.get());             // k^-1
    BN_mod_mul(s.get(), t.get(), kInv.get(), n, ctx.get());  // s = k^-1·(e + d·r)
    return !BN_is_zero(r.get()) && !BN_is_zero(s.get());
}

Bytes derOf(const BIGNUM *r, const BIGNUM *s) {
    SigPtr sig = sigOf(r, s);
    unsigned char *der = nullptr;
    int len = i2d_ECDSA_SIG(sig.get(), &der);
    Bytes out(der, der + (len > 0 ? len : 0));
    OPENSSL_free(der);
    return out;
}

bool rsOf(const Bytes &der, BnPtr &r, BnPtr &s) {
    const unsigned char *p = der.data();
    SigPtr sig(d2i_ECDSA_SIG(nullptr, &p, (long)der.size()));
    if (!sig || p != der.data() + der.size())
        return false;
    r.reset(BN_dup(ECDSA_SIG_get0_r(sig.get())));
    s.reset(BN_dup(ECDSA_SIG_get0_s(sig.get())));
    return true;
}

Bytes rawOf(const BIGNUM *r, const BIGNUM *s, int len) {
    Bytes out = bytesOf(r, len);
    Bytes sb = bytesOf(s, len);
    out.insert(out.end(), sb.begin(), sb.end());
    return out;
}

void rsOfRaw(const Bytes &raw, BnPtr &r, BnPtr &s) {
    size_t half = raw.size() / 2;
    r = bnOf(Bytes(raw.begin(), raw.begin() + half));
    s = bnOf(Bytes(raw.begin() + half, raw.end()));
}

}  // namespace ecckey_test
