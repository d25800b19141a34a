// OpenSSL as the independent oracle of the fuzz targets that compute: d·G and ECDSA verification. OpenSSL's
// EC_KEY calls are deprecated but take a bare point and hash, as the module does.
#pragma once

#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/ecdsa.h>
#include <openssl/objects.h>

#include "FuzzSupport.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

// v as a new OpenSSL number.
inline BIGNUM *bnOf(const mp_int &v) {
    DataBuffer bytes;
    FUZZ_REQUIRE(TovarMp::mpint_to_db(v, bytes));
    return BN_bin2bn(bytes.getData2(), (int)bytes.getSize(), nullptr);
}

// Compares q with d·G on the curve: 1 when q is d·G and affine, 0 when it is not, -1 when d·G is the point
// at infinity.
inline int oracleMulBase(const EccCurve &curve, const mp_int &d, const EccPoint &q) {
    EC_GROUP *group = EC_GROUP_new_by_curve_name(OBJ_txt2nid(curve.m_oid.getString()));
    EC_POINT *p = EC_POINT_new(group);
    BIGNUM *k = bnOf(d), *x = BN_new(), *y = BN_new(), *qx = bnOf(q.m_x), *qy = bnOf(q.m_y);
    FUZZ_REQUIRE(p && k && x && y && qx && qy && EC_POINT_mul(group, p, k, nullptr, nullptr, nullptr));
    const bool atInfinity = EC_POINT_is_at_infinity(group, p);
    const bool same = !atInfinity && EC_POINT_get_affine_coordinates(group, p, x, y, nullptr) &&
                      !BN_cmp(x, qx) && !BN_cmp(y, qy) && TovarMp::mp_cmp_d(q.m_z, 1) == 0;
    for (BIGNUM *b : {k, x, y, qx, qy})
        BN_free(b);
    EC_POINT_free(p);
    EC_GROUP_free(group);
    return atInfinity ? -1 : same;
}

// OpenSSL's ECDSA verdict for (r, s) over the big-endian integer e of eLen bytes under the key's point.
inline bool oracleVerify(const EccKey &key, const mp_int &r, const mp_int &s, const uint8_t *e,
                         unsigned eLen) {
    EC_KEY *ec = EC_KEY_new_by_curve_name(OBJ_txt2nid(key.m_curve.m_oid.getString()));
    ECDSA_SIG *sig = ECDSA_SIG_new();
    BIGNUM *qx = bnOf(key.m_pubPoint.m_x), *qy = bnOf(key.m_pubPoint.m_y);
    FUZZ_REQUIRE(ec && sig && EC_KEY_set_public_key_affine_coordinates(ec, qx, qy));
    FUZZ_REQUIRE(ECDSA_SIG_set0(sig, bnOf(r), bnOf(s)));
    const bool valid = ECDSA_do_verify(e, (int)eLen, sig, ec) == 1;
    BN_free(qx);
    BN_free(qy);
    ECDSA_SIG_free(sig);
    EC_KEY_free(ec);
    return valid;
}

#pragma GCC diagnostic pop
