// OpenSSL as the independent oracle of the fuzz targets that compute: d·G and ECDSA verification.
#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/objects.h>

#include "FuzzSupport.h"
#include "support/DataBuffer.h"

namespace ecckey_fuzz {

namespace {

// One computation on a curve, found by its OID: the group, two points and numbers that live in the BN_CTX.
struct Ossl {
    explicit Ossl(const EccCurve &curve)
        : group(EC_GROUP_new_by_curve_name(OBJ_txt2nid(curve.m_oid.getString()))) {
        FUZZ_REQUIRE(ctx && group && p && q);
        BN_CTX_start(ctx);
    }
    ~Ossl() {
        EC_POINT_free(p);
        EC_POINT_free(q);
        EC_GROUP_free(group);
        BN_CTX_end(ctx);
        BN_CTX_free(ctx);
    }
    // A number from the context: zero, or v when given.
    BIGNUM *bn(const mp_int *v = nullptr) {
        DataBuffer bytes;
        BIGNUM *out = BN_CTX_get(ctx);
        FUZZ_REQUIRE(out && (!v || TovarMp::mpint_to_db(*v, bytes)));
        FUZZ_REQUIRE(BN_bin2bn(bytes.getData2(), (int)bytes.getSize(), out));
        return out;
    }
    BN_CTX *ctx = BN_CTX_new();
    EC_GROUP *group;
    EC_POINT *p = EC_POINT_new(group), *q = EC_POINT_new(group);
};

}  // namespace

int oracleMulBase(const EccCurve &curve, const mp_int &d, const EccPoint &q) {
    Ossl o(curve);
    BIGNUM *x = o.bn(), *y = o.bn();
    FUZZ_REQUIRE(EC_POINT_mul(o.group, o.p, o.bn(&d), nullptr, nullptr, o.ctx));
    if (EC_POINT_is_at_infinity(o.group, o.p))
        return -1;
    FUZZ_REQUIRE(EC_POINT_get_affine_coordinates(o.group, o.p, x, y, o.ctx));
    return BN_cmp(x, o.bn(&q.m_x)) == 0 && BN_cmp(y, o.bn(&q.m_y)) == 0 && TovarMp::mp_cmp_d(q.m_z, 1) == 0;
}

bool oracleVerify(const EccKey &key, const mp_int &r, const mp_int &s, const mp_int &e) {
    Ossl o(key.m_curve);
    const BIGNUM *n = EC_GROUP_get0_order(o.group);
    BIGNUM *br = o.bn(&r), *bs = o.bn(&s), *w = o.bn(), *u1 = o.bn(), *u2 = o.bn(), *x = o.bn();
    if (BN_is_zero(br) || BN_is_zero(bs) || BN_cmp(br, n) >= 0 || BN_cmp(bs, n) >= 0)
        return false;
    const EccPoint &q = key.m_pubPoint;
    FUZZ_REQUIRE(EC_POINT_set_affine_coordinates(o.group, o.q, o.bn(&q.m_x), o.bn(&q.m_y), o.ctx));
    FUZZ_REQUIRE(BN_mod_inverse(w, bs, n, o.ctx) && BN_mod_mul(u1, o.bn(&e), w, n, o.ctx));
    FUZZ_REQUIRE(BN_mod_mul(u2, br, w, n, o.ctx) && EC_POINT_mul(o.group, o.p, u1, o.q, u2, o.ctx));
    if (EC_POINT_is_at_infinity(o.group, o.p))
        return false;
    FUZZ_REQUIRE(EC_POINT_get_affine_coordinates(o.group, o.p, x, nullptr, o.ctx) &&
                 BN_nnmod(x, x, n, o.ctx));
    return BN_cmp(x, br) == 0;
}

}  // namespace ecckey_fuzz
