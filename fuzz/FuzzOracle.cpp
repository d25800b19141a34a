#include "FuzzOracle.h"

#include <openssl/bn.h>
#include <openssl/ec.h>

#include <memory>
#include <vector>

#include "support/DataBuffer.h"
#include "support/TovarMp.h"

using namespace ecckey;

namespace ecckey_fuzz {

namespace {

struct BnDeleter {
    void operator()(BIGNUM *b) const { BN_free(b); }
};
struct PointDeleter {
    void operator()(EC_POINT *p) const { EC_POINT_free(p); }
};
typedef std::unique_ptr<BIGNUM, BnDeleter> Bn;
typedef std::unique_ptr<EC_POINT, PointDeleter> Point;

Bn toBn(const mp_int &v) {
    DataBuffer bytes;
    TovarMp::mpint_to_db(v, bytes);
    static const unsigned char zero = 0;
    const unsigned char *p = bytes.getSize() ? bytes.getData2() : &zero;
    return Bn(BN_bin2bn(p, (int)bytes.getSize(), nullptr));
}

void fromBn(const BIGNUM *bn, mp_int &out) {
    std::vector<unsigned char> bytes((size_t)BN_num_bytes(bn) + 1);
    int len = BN_bn2bin(bn, bytes.data());
    TovarMp::mpint_from_bytes(out, bytes.data(), (unsigned)len);
}

// One group per curve for the life of the process, in plain static storage: nothing destroys the table
// at exit, so the leak check that runs then still sees the groups as reachable. The fuzz targets are
// single-threaded.
EC_GROUP *s_groups[32];

const EC_GROUP *groupOf(const CurveRef &curve) {
    for (int i = 0; i < numCurves(); ++i) {
        if (&curveAt(i) != &curve)
            continue;
        if (!s_groups[i])
            s_groups[i] = EC_GROUP_new_by_curve_name(curve.nid);
        FUZZ_REQUIRE(s_groups[i] != nullptr);
        return s_groups[i];
    }
    fail("curve not in the catalogue table", __FILE__, __LINE__);
}

BN_CTX *bnCtx() {
    static BN_CTX *s_ctx = BN_CTX_new();
    return s_ctx;
}

}  // namespace

bool oracleMulBase(const CurveRef &curve, const mp_int &d, mp_int &x, mp_int &y) {
    const EC_GROUP *group = groupOf(curve);
    Bn k = toBn(d);
    Point point(EC_POINT_new(group));
    FUZZ_REQUIRE(k && point);
    FUZZ_REQUIRE(EC_POINT_mul(group, point.get(), k.get(), nullptr, nullptr, bnCtx()));
    if (EC_POINT_is_at_infinity(group, point.get()))
        return false;
    Bn bx(BN_new()), by(BN_new());
    FUZZ_REQUIRE(EC_POINT_get_affine_coordinates(group, point.get(), bx.get(), by.get(), bnCtx()));
    fromBn(bx.get(), x);
    fromBn(by.get(), y);
    return true;
}

void oracleModOrder(const CurveRef &curve, const mp_int &d, mp_int &out) {
    Bn k = toBn(d);
    Bn rem(BN_new());
    FUZZ_REQUIRE(BN_nnmod(rem.get(), k.get(), EC_GROUP_get0_order(groupOf(curve)), bnCtx()));
    fromBn(rem.get(), out);
}

bool oracleVerify(const CurveRef &curve, const mp_int &qx, const mp_int &qy, const mp_int &r, const mp_int &s,
                  const mp_int &e) {
    const EC_GROUP *group = groupOf(curve);
    const BIGNUM *n = EC_GROUP_get0_order(group);
    Bn br = toBn(r), bs = toBn(s), be = toBn(e), bx = toBn(qx), by = toBn(qy);
    if (BN_is_zero(br.get()) || BN_cmp(br.get(), n) >= 0)
        return false;
    if (BN_is_zero(bs.get()) || BN_cmp(bs.get(), n) >= 0)
        return false;

    Point q(EC_POINT_new(group));
    FUZZ_REQUIRE(q);
    if (!EC_POINT_set_affine_coordinates(group, q.get(), bx.get(), by.get(), bnCtx()))
        return false;

    Bn w(BN_mod_inverse(nullptr, bs.get(), n, bnCtx()));
    FUZZ_REQUIRE(w);
    Bn u1(BN_new()), u2(BN_new()), v(BN_new());
    FUZZ_REQUIRE(BN_mod_mul(u1.get(), be.get(), w.get(), n, bnCtx()));
    FUZZ_REQUIRE(BN_mod_mul(u2.get(), br.get(), w.get(), n, bnCtx()));
    Point sum(EC_POINT_new(group));
    FUZZ_REQUIRE(sum);
    FUZZ_REQUIRE(EC_POINT_mul(group, sum.get(), u1.get(), q.get(), u2.get(), bnCtx()));
    if (EC_POINT_is_at_infinity(group, sum.get()))
        return false;
    Bn x(BN_new());
    FUZZ_REQUIRE(EC_POINT_get_affine_coordinates(group, sum.get(), x.get(), nullptr, bnCtx()));
    FUZZ_REQUIRE(BN_nnmod(v.get(), x.get(), n, bnCtx()));
    return BN_cmp(v.get(), br.get()) == 0;
}

}  // namespace ecckey_fuzz
