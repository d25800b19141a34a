// Curve parameters for the generic-arithmetic tests and benchmarks, read from OpenSSL's EC_GROUP so that
// they check the arithmetic independently of the curve catalogue. Header-only: the benchmark program
// includes it too, without the GoogleTest-based test support library.
#pragma once

#include <openssl/bn.h>
#include <openssl/ec.h>

#include <cstdlib>
#include <memory>
#include <vector>

#include "ecc/EccPoint.h"
#include "support/MpInt.h"
#include "support/TovarMp.h"

namespace ecckey_test {

// The value of an OpenSSL integer as the module's.
inline void mpOf(const BIGNUM *bn, ecckey::mp_int &out) {
    const int len = BN_num_bytes(bn);
    if (len <= 0) {
        ecckey::TovarMp::mp_zero(out);
        return;
    }
    std::vector<unsigned char> b((size_t)len);
    BN_bn2bin(bn, b.data());
    if (!ecckey::TovarMp::mpint_from_bytes(out, b.data(), (unsigned)b.size()))
        std::abort();  // out of memory: nothing to measure or compare
}

// y² = x³ + ax + b over p, base point G of order n.
struct ArithCurve {
    int nid = 0;
    ecckey::mp_int p, a, b, n;
    ecckey::EccPoint G;  // affine, normal form, Z = 1
    bool aIsMinus3 = false;

    // The coefficient pointer the library's callers pass: null for a = −3 curves.
    ecckey::mp_int *aArg() { return aIsMinus3 ? nullptr : &a; }

    // False when OpenSSL does not know the curve.
    bool load(int curveNid) {
        nid = curveNid;
        std::unique_ptr<EC_GROUP, void (*)(EC_GROUP *)> group(EC_GROUP_new_by_curve_name(curveNid),
                                                              EC_GROUP_free);
        if (!group)
            return false;
        std::unique_ptr<BN_CTX, void (*)(BN_CTX *)> ctx(BN_CTX_new(), BN_CTX_free);
        BIGNUM *bp = BN_CTX_get(ctx.get());
        BIGNUM *ba = BN_CTX_get(ctx.get());
        BIGNUM *bb = BN_CTX_get(ctx.get());
        BIGNUM *gx = BN_CTX_get(ctx.get());
        BIGNUM *gy = BN_CTX_get(ctx.get());
        BIGNUM *pm3 = BN_CTX_get(ctx.get());
        if (!pm3 || !EC_GROUP_get_curve(group.get(), bp, ba, bb, ctx.get()) ||
            !EC_POINT_get_affine_coordinates(group.get(), EC_GROUP_get0_generator(group.get()), gx, gy,
                                             ctx.get()))
            return false;
        mpOf(bp, p);
        mpOf(ba, a);
        mpOf(bb, b);
        mpOf(EC_GROUP_get0_order(group.get()), n);
        mpOf(gx, G.m_x);
        mpOf(gy, G.m_y);
        if (ecckey::TovarMp::mp_set(G.m_z, 1) != 0)
            std::abort();  // out of memory: nothing to measure or compare
        BN_copy(pm3, bp);
        BN_sub_word(pm3, 3);
        aIsMinus3 = BN_cmp(pm3, ba) == 0;
        return true;
    }
};

}  // namespace ecckey_test
