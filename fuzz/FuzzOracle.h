// OpenSSL as the independent oracle of the fuzz targets that compute: d·G and ECDSA verification.
#pragma once

#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/objects.h>

#include "FuzzSupport.h"

// One computation on a curve, found by its OID: the group, a point and numbers that live in the BN_CTX.
struct Ossl {
    explicit Ossl(const EccCurve &curve)
        : group(EC_GROUP_new_by_curve_name(OBJ_txt2nid(curve.m_oid.getString()))) {
        FUZZ_REQUIRE(ctx && group && p);
        BN_CTX_start(ctx);
    }
    ~Ossl() {
        EC_POINT_free(p);
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
    // Sets p to u1·G + u2·Q and (x, y) to its affine coordinates; false when p is the point at infinity.
    bool mul(BIGNUM *u1, const EccPoint *q, BIGNUM *u2, BIGNUM *x, BIGNUM *y) {
        EC_POINT *pq = EC_POINT_new(group);
        FUZZ_REQUIRE(pq && (!q || EC_POINT_set_affine_coordinates(group, pq, bn(&q->m_x), bn(&q->m_y), ctx)));
        FUZZ_REQUIRE(EC_POINT_mul(group, p, u1, q ? pq : nullptr, q ? u2 : nullptr, ctx));
        EC_POINT_free(pq);
        return !EC_POINT_is_at_infinity(group, p) && EC_POINT_get_affine_coordinates(group, p, x, y, ctx);
    }
    BN_CTX *ctx = BN_CTX_new();
    EC_GROUP *group;
    EC_POINT *p = EC_POINT_new(group);
};

// Compares q with d·G on the curve: 1 when q is d·G and affine, 0 when it is not, -1 when d·G is the point
// at infinity.
inline int oracleMulBase(const EccCurve &curve, const mp_int &d, const EccPoint &q) {
    Ossl o(curve);
    BIGNUM *x = o.bn(), *y = o.bn();
    if (!o.mul(o.bn(&d), nullptr, nullptr, x, y))
        return -1;
    return BN_cmp(x, o.bn(&q.m_x)) == 0 && BN_cmp(y, o.bn(&q.m_y)) == 0 && TovarMp::mp_cmp_d(q.m_z, 1) == 0;
}

// The ECDSA verdict for (r, s) over the big-endian integer e of eLen bytes under the key's point: true
// exactly when 0 < r, s < n and the x-coordinate of (e/s)·G + (r/s)·Q, reduced modulo n, equals r.
inline bool oracleVerify(const EccKey &key, const mp_int &r, const mp_int &s, const uint8_t *e,
                         unsigned eLen) {
    Ossl o(key.m_curve);
    const BIGNUM *n = EC_GROUP_get0_order(o.group);
    BIGNUM *br = o.bn(&r), *bs = o.bn(&s), *w = o.bn(), *u1 = o.bn(), *u2 = o.bn(), *x = o.bn();
    if (BN_is_zero(br) || BN_is_zero(bs) || BN_cmp(br, n) >= 0 || BN_cmp(bs, n) >= 0)
        return false;
    FUZZ_REQUIRE(BN_mod_inverse(w, bs, n, o.ctx) &&
                 BN_mod_mul(u1, BN_bin2bn(e, (int)eLen, o.bn()), w, n, o.ctx));
    FUZZ_REQUIRE(BN_mod_mul(u2, br, w, n, o.ctx));
    return o.mul(u1, &key.m_pubPoint, u2, x, nullptr) && BN_nnmod(x, x, n, o.ctx) && BN_cmp(x, br) == 0;
}
