#include "support/EcdhOracle.h"

#include <openssl/core_names.h>
#include <openssl/objects.h>
#include <openssl/param_build.h>

namespace ecckey_test {

namespace {

struct CtxFree {
    void operator()(EVP_PKEY_CTX *c) const { EVP_PKEY_CTX_free(c); }
};
struct BldFree {
    void operator()(OSSL_PARAM_BLD *b) const { OSSL_PARAM_BLD_free(b); }
};
struct ParamsFree {
    void operator()(OSSL_PARAM *p) const { OSSL_PARAM_free(p); }
};
using CtxPtr = std::unique_ptr<EVP_PKEY_CTX, CtxFree>;

const char *groupName(const CurveInfo &c) {
    return OBJ_nid2sn(c.nid);
}

EvpPkeyPtr fromData(const CurveInfo &c, const BIGNUM *d, const Bytes &point) {
    std::unique_ptr<OSSL_PARAM_BLD, BldFree> bld(OSSL_PARAM_BLD_new());
    if (!bld)
        return nullptr;
    OSSL_PARAM_BLD_push_utf8_string(bld.get(), OSSL_PKEY_PARAM_GROUP_NAME, groupName(c), 0);
    OSSL_PARAM_BLD_push_octet_string(bld.get(), OSSL_PKEY_PARAM_PUB_KEY, point.data(), point.size());
    if (d)
        OSSL_PARAM_BLD_push_BN(bld.get(), OSSL_PKEY_PARAM_PRIV_KEY, d);
    std::unique_ptr<OSSL_PARAM, ParamsFree> params(OSSL_PARAM_BLD_to_param(bld.get()));
    CtxPtr ctx(EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr));
    if (!params || !ctx || EVP_PKEY_fromdata_init(ctx.get()) <= 0)
        return nullptr;
    EVP_PKEY *key = nullptr;
    if (EVP_PKEY_fromdata(ctx.get(), &key, d ? EVP_PKEY_KEYPAIR : EVP_PKEY_PUBLIC_KEY, params.get()) <= 0)
        return nullptr;
    return EvpPkeyPtr(key);
}

Bytes pointBytes(const EC_GROUP *g, const EC_POINT *p) {
    size_t len = EC_POINT_point2oct(g, p, POINT_CONVERSION_UNCOMPRESSED, nullptr, 0, nullptr);
    Bytes out(len);
    if (len)
        EC_POINT_point2oct(g, p, POINT_CONVERSION_UNCOMPRESSED, out.data(), len, nullptr);
    return out;
}

}  // namespace

EvpPkeyPtr evpGenerate(const CurveInfo &c) {
    return EvpPkeyPtr(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", groupName(c)));
}

BnPtr evpPrivate(const EVP_PKEY *key) {
    BIGNUM *d = nullptr;
    EVP_PKEY_get_bn_param(key, OSSL_PKEY_PARAM_PRIV_KEY, &d);
    return BnPtr(d);
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

EvpPkeyPtr evpFromPrivate(const CurveInfo &c, const BIGNUM *d) {
    return fromData(c, d, opensslPublicPoint(c, d));
}

EvpPkeyPtr evpFromPublic(const CurveInfo &c, const Bytes &point) {
    return fromData(c, nullptr, point);
}

Bytes evpDerive(EVP_PKEY *priv, EVP_PKEY *peer) {
    CtxPtr ctx(EVP_PKEY_CTX_new_from_pkey(nullptr, priv, nullptr));
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

Bytes evpPublicPoint(const CurveInfo &c, const EVP_PKEY *key) {
    BIGNUM *x = nullptr;
    BIGNUM *y = nullptr;
    EVP_PKEY_get_bn_param(key, OSSL_PKEY_PARAM_EC_PUB_X, &x);
    EVP_PKEY_get_bn_param(key, OSSL_PKEY_PARAM_EC_PUB_Y, &y);
    BnPtr bx(x);
    BnPtr by(y);
    if (!x || !y)
        return {};
    Bytes out{0x04};
    Bytes bxBytes = bnBytes(x, c.byteLen);
    Bytes byBytes = bnBytes(y, c.byteLen);
    out.insert(out.end(), bxBytes.begin(), bxBytes.end());
    out.insert(out.end(), byBytes.begin(), byBytes.end());
    return out;
}

Bytes mpBytes(const ecckey::mp_int &v, int len) {
    ecckey::DataBuffer db;
    ecckey::TovarMp::mpint_to_db(v, db);
    if ((int)db.getSize() > len)
        return {};
    Bytes out(len - db.getSize(), 0);
    out.insert(out.end(), db.getData2(), db.getData2() + db.getSize());
    return out;
}

Bytes pointOf(const ecckey::EccPoint &P, int len) {
    Bytes out{0x04};
    Bytes x = mpBytes(P.m_x, len);
    Bytes y = mpBytes(P.m_y, len);
    out.insert(out.end(), x.begin(), x.end());
    out.insert(out.end(), y.begin(), y.end());
    return out;
}

Bytes bnBytes(const BIGNUM *v, int len) {
    Bytes out(len);
    BN_bn2binpad(v, out.data(), len);
    return out;
}

std::string bnHex(const BIGNUM *v, int len) {
    Bytes b = bnBytes(v, len);
    return hexOf(b.data(), b.size());
}

}  // namespace ecckey_test
