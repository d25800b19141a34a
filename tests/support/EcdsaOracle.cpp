// EC_KEY and ECDSA_SIG are deprecated in OpenSSL 3 but remain the plainest way to sign a bare digest
// with a chosen key; the oracle is test code only.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "support/EcdsaOracle.h"

#include <gtest/gtest.h>
#include <openssl/ec.h>
#include <openssl/ecdsa.h>
#include <openssl/evp.h>

namespace ecckey_test {

namespace {

std::uint64_t nextOf(void *ctx) {
    return static_cast<TestPrng *>(ctx)->next();
}

struct CtxFree {
    void operator()(BN_CTX *c) const { BN_CTX_free(c); }
};
struct SigFree {
    void operator()(ECDSA_SIG *s) const { ECDSA_SIG_free(s); }
};
using CtxPtr = std::unique_ptr<BN_CTX, CtxFree>;
using SigPtr = std::unique_ptr<ECDSA_SIG, SigFree>;

SigPtr sigOf(const BIGNUM *r, const BIGNUM *s) {
    SigPtr sig(ECDSA_SIG_new());
    ECDSA_SIG_set0(sig.get(), BN_dup(r), BN_dup(s));
    return sig;
}

}  // namespace

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
    CtxPtr ctx(BN_CTX_new());
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

Bytes digestOf(const char *name, const Bytes &msg) {
    Bytes out(EVP_MAX_MD_SIZE);
    unsigned len = 0;
    EVP_Digest(msg.data(), msg.size(), out.data(), &len, EVP_get_digestbyname(name), nullptr);
    out.resize(len);
    return out;
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

BnPtr bnOf(const Bytes &bigEndian) {
    return BnPtr(BN_bin2bn(bigEndian.data(), (int)bigEndian.size(), nullptr));
}

Bytes bytesOf(const BIGNUM *bn, int len) {
    int n = BN_num_bytes(bn);
    Bytes out(len > n ? len : n);
    BN_bn2binpad(bn, out.data(), (int)out.size());
    return out;
}

Bytes randomBytes(TestPrng &prng, size_t count) {
    return prng.bytes((unsigned)count);
}

}  // namespace ecckey_test
