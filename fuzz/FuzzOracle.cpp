// OpenSSL as the independent oracle of the fuzz targets that compute: d·G and ECDSA verification.
#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/objects.h>

#include <memory>

#include "FuzzSupport.h"
#include "support/DataBuffer.h"
#include "support/TovarMp.h"

namespace ecckey_fuzz {

namespace {

typedef std::unique_ptr<EC_POINT, decltype(&EC_POINT_free)> Point;

// One computation on a curve, found by its OID; every number it uses lives in its BN_CTX.
struct Ossl {
    explicit Ossl(const EccCurve &curve)
        : ctx(BN_CTX_new()), group(EC_GROUP_new_by_curve_name(OBJ_txt2nid(curve.m_oid.getString()))) {
        FUZZ_REQUIRE(ctx && group);
        BN_CTX_start(ctx);
    }
    ~Ossl() {
        BN_CTX_end(ctx);
        BN_CTX_free(ctx);
        EC_GROUP_free(group);
    }
    BIGNUM *bn() { return BN_CTX_get(ctx); }
    BIGNUM *bn(const mp_int &v) {
        DataBuffer bytes;
        FUZZ_REQUIRE(TovarMp::mpint_to_db(v, bytes));
        BIGNUM *out = BN_bin2bn(bytes.getData2(), (int)bytes.getSize(), bn());
        FUZZ_REQUIRE(out != nullptr);
        return out;
    }
    Point point() {
        Point p(EC_POINT_new(group), EC_POINT_free);
        FUZZ_REQUIRE(p != nullptr);
        return p;
    }
    BN_CTX *ctx;
    EC_GROUP *group;
};

}  // namespace

int oracleMulBase(const EccCurve &curve, const mp_int &d, const EccPoint &q) {
    Ossl o(curve);
    Point p = o.point();
    BIGNUM *x = o.bn(), *y = o.bn();
    FUZZ_REQUIRE(EC_POINT_mul(o.group, p.get(), o.bn(d), nullptr, nullptr, o.ctx));
    if (EC_POINT_is_at_infinity(o.group, p.get()))
        return -1;
    FUZZ_REQUIRE(EC_POINT_get_affine_coordinates(o.group, p.get(), x, y, o.ctx));
    return BN_cmp(x, o.bn(q.m_x)) == 0 && BN_cmp(y, o.bn(q.m_y)) == 0 && TovarMp::mp_cmp_d(q.m_z, 1) == 0;
}

bool oracleVerify(const EccKey &key, const mp_int &r, const mp_int &s, const mp_int &e) {
    Ossl o(key.m_curve);
    const BIGNUM *n = EC_GROUP_get0_order(o.group);
    BIGNUM *br = o.bn(r), *bs = o.bn(s), *w = o.bn(), *u1 = o.bn(), *u2 = o.bn(), *x = o.bn();
    if (BN_is_zero(br) || BN_is_zero(bs) || BN_cmp(br, n) >= 0 || BN_cmp(bs, n) >= 0)
        return false;
    Point q = o.point(), sum = o.point();
    if (!EC_POINT_set_affine_coordinates(o.group, q.get(), o.bn(key.m_pubPoint.m_x), o.bn(key.m_pubPoint.m_y),
                                         o.ctx))
        return false;
    FUZZ_REQUIRE(BN_mod_inverse(w, bs, n, o.ctx) && BN_mod_mul(u1, o.bn(e), w, n, o.ctx));
    FUZZ_REQUIRE(BN_mod_mul(u2, br, w, n, o.ctx));
    FUZZ_REQUIRE(EC_POINT_mul(o.group, sum.get(), u1, q.get(), u2, o.ctx));
    if (EC_POINT_is_at_infinity(o.group, sum.get()))
        return false;
    FUZZ_REQUIRE(EC_POINT_get_affine_coordinates(o.group, sum.get(), x, nullptr, o.ctx));
    FUZZ_REQUIRE(BN_nnmod(x, x, n, o.ctx));
    return BN_cmp(x, br) == 0;
}

}  // namespace ecckey_fuzz
