// OpenSSL's column: libcrypto 3 called as its manual pages show. Key operations through EVP_PKEY (the key
// imported from the same bytes with EVP_PKEY_fromdata, the digest signed as it stands: no digest is set
// on the context, so it is taken as prehashed); the two multiplications through EC_POINT_mul followed by
// the affine conversion ecckey's results include; one field multiplication as BN_mod_mul_montgomery
// modulo p (OpenSSL's generic Montgomery product; its P-224, P-256 and P-521 code has faster fixed-width
// arithmetic that the public interface does not reach).
#include <benchmark/benchmark.h>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>

#include <memory>

#include "bench/BenchSetup.h"

namespace ecckey_bench {

namespace {

struct Freer {
    void operator()(EVP_PKEY *p) const { EVP_PKEY_free(p); }
    void operator()(EVP_PKEY_CTX *p) const { EVP_PKEY_CTX_free(p); }
    void operator()(BIGNUM *p) const { BN_free(p); }
    void operator()(BN_CTX *p) const { BN_CTX_free(p); }
    void operator()(BN_MONT_CTX *p) const { BN_MONT_CTX_free(p); }
    void operator()(EC_GROUP *p) const { EC_GROUP_free(p); }
    void operator()(EC_POINT *p) const { EC_POINT_free(p); }
    void operator()(OSSL_PARAM_BLD *p) const { OSSL_PARAM_BLD_free(p); }
    void operator()(OSSL_PARAM *p) const { OSSL_PARAM_free(p); }
};
template <class T>
using Owned = std::unique_ptr<T, Freer>;

Owned<BIGNUM> bn(const Bytes &bytes) {
    return Owned<BIGNUM>(BN_bin2bn(bytes.data(), (int)bytes.size(), nullptr));
}

// The key pair (d, Q) as an EVP_PKEY of the named group.
Owned<EVP_PKEY> importKey(const BenchCurve &curve, const Bytes &d, const Bytes &q) {
    Owned<OSSL_PARAM_BLD> bld(OSSL_PARAM_BLD_new());
    Owned<BIGNUM> priv = bn(d);
    if (!bld || !priv ||
        !OSSL_PARAM_BLD_push_utf8_string(bld.get(), OSSL_PKEY_PARAM_GROUP_NAME, curve.opensslName, 0) ||
        !OSSL_PARAM_BLD_push_BN(bld.get(), OSSL_PKEY_PARAM_PRIV_KEY, priv.get()) ||
        !OSSL_PARAM_BLD_push_octet_string(bld.get(), OSSL_PKEY_PARAM_PUB_KEY, q.data(), q.size()))
        return nullptr;
    Owned<OSSL_PARAM> params(OSSL_PARAM_BLD_to_param(bld.get()));
    Owned<EVP_PKEY_CTX> ctx(EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr));
    EVP_PKEY *pkey = nullptr;
    if (!params || !ctx || EVP_PKEY_fromdata_init(ctx.get()) <= 0 ||
        EVP_PKEY_fromdata(ctx.get(), &pkey, EVP_PKEY_KEYPAIR, params.get()) <= 0)
        return nullptr;
    return Owned<EVP_PKEY>(pkey);
}

void keyGen(benchmark::State &state, const BenchCurve *curve) {
    Owned<EVP_PKEY_CTX> ctx(EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr));
    if (!ctx || EVP_PKEY_keygen_init(ctx.get()) <= 0 ||
        EVP_PKEY_CTX_set_group_name(ctx.get(), curve->opensslName) <= 0) {
        state.SkipWithError("OpenSSL set-up failed");
        return;
    }
    for (auto _ : state) {
        EVP_PKEY *pkey = nullptr;
        if (EVP_PKEY_generate(ctx.get(), &pkey) <= 0) {
            state.SkipWithError("EVP_PKEY_generate failed");
            return;
        }
        EVP_PKEY_free(pkey);
    }
}

void sign(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    Owned<EVP_PKEY> key = importKey(*curve, m.d, m.q);
    Owned<EVP_PKEY_CTX> ctx(key ? EVP_PKEY_CTX_new_from_pkey(nullptr, key.get(), nullptr) : nullptr);
    if (!ctx || EVP_PKEY_sign_init(ctx.get()) <= 0) {
        state.SkipWithError("OpenSSL set-up failed");
        return;
    }
    unsigned char sig[160];
    for (auto _ : state) {
        size_t sigLen = sizeof sig;
        if (EVP_PKEY_sign(ctx.get(), sig, &sigLen, m.hash.data(), m.hash.size()) <= 0) {
            state.SkipWithError("EVP_PKEY_sign failed");
            return;
        }
    }
}

void verify(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    Owned<EVP_PKEY> key = importKey(*curve, m.d, m.q);
    Owned<EVP_PKEY_CTX> ctx(key ? EVP_PKEY_CTX_new_from_pkey(nullptr, key.get(), nullptr) : nullptr);
    if (!ctx || EVP_PKEY_verify_init(ctx.get()) <= 0) {
        state.SkipWithError("OpenSSL set-up failed");
        return;
    }
    for (auto _ : state) {
        if (EVP_PKEY_verify(ctx.get(), m.sigDer.data(), m.sigDer.size(), m.hash.data(), m.hash.size()) != 1) {
            state.SkipWithError("EVP_PKEY_verify rejected ecckey's signature");
            return;
        }
    }
}

void ecdh(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    Owned<EVP_PKEY> key = importKey(*curve, m.d, m.q);
    Owned<EVP_PKEY> peer = importKey(*curve, m.peerD, m.peerQ);
    Owned<EVP_PKEY_CTX> ctx(key ? EVP_PKEY_CTX_new_from_pkey(nullptr, key.get(), nullptr) : nullptr);
    if (!peer || !ctx || EVP_PKEY_derive_init(ctx.get()) <= 0 ||
        EVP_PKEY_derive_set_peer(ctx.get(), peer.get()) <= 0) {
        state.SkipWithError("OpenSSL set-up failed");
        return;
    }
    unsigned char secret[80];
    for (auto _ : state) {
        size_t len = sizeof secret;
        if (EVP_PKEY_derive(ctx.get(), secret, &len) <= 0) {
            state.SkipWithError("EVP_PKEY_derive failed");
            return;
        }
    }
}

struct GroupState {
    Owned<EC_GROUP> group;
    Owned<BN_CTX> ctx{BN_CTX_new()};
    Owned<EC_POINT> R, Q;
    Owned<BIGNUM> x{BN_new()}, y{BN_new()};

    bool load(const BenchCurve &curve, const Bytes &q) {
        group.reset(EC_GROUP_new_by_curve_name(curve.nid));
        if (!group || !ctx || !x || !y)
            return false;
        R.reset(EC_POINT_new(group.get()));
        Q.reset(EC_POINT_new(group.get()));
        return R && Q && EC_POINT_oct2point(group.get(), Q.get(), q.data(), q.size(), ctx.get()) == 1;
    }
};

void scalarMultG(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    GroupState g;
    Owned<BIGNUM> k = bn(m.d);
    if (!k || !g.load(*curve, m.q)) {
        state.SkipWithError("OpenSSL set-up failed");
        return;
    }
    for (auto _ : state) {
        if (EC_POINT_mul(g.group.get(), g.R.get(), k.get(), nullptr, nullptr, g.ctx.get()) != 1 ||
            EC_POINT_get_affine_coordinates(g.group.get(), g.R.get(), g.x.get(), g.y.get(), g.ctx.get()) !=
                1) {
            state.SkipWithError("EC_POINT_mul failed");
            return;
        }
    }
}

void doubleScalarMult(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    GroupState g;
    Owned<BIGNUM> u1 = bn(m.u1), u2 = bn(m.u2);
    if (!u1 || !u2 || !g.load(*curve, m.q)) {
        state.SkipWithError("OpenSSL set-up failed");
        return;
    }
    for (auto _ : state) {
        if (EC_POINT_mul(g.group.get(), g.R.get(), u1.get(), g.Q.get(), u2.get(), g.ctx.get()) != 1 ||
            EC_POINT_get_affine_coordinates(g.group.get(), g.R.get(), g.x.get(), g.y.get(), g.ctx.get()) !=
                1) {
            state.SkipWithError("EC_POINT_mul failed");
            return;
        }
    }
}

// BN_mod_mul_montgomery chained on its own result, as ecckey's Montgomery product is measured.
void fieldMultiply(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    Owned<BN_CTX> ctx(BN_CTX_new());
    BIGNUM *prime = nullptr;
    BN_hex2bn(&prime, m.p.c_str());
    Owned<BIGNUM> p(prime), a(BN_new()), b(BN_new());
    Owned<BN_MONT_CTX> mont(BN_MONT_CTX_new());
    const int len = m.byteLen;
    if (!ctx || !p || !a || !b || !mont || !BN_MONT_CTX_set(mont.get(), p.get(), ctx.get()) ||
        !BN_bin2bn(m.q.data() + 1, len, a.get()) || !BN_bin2bn(m.q.data() + 1 + len, len, b.get())) {
        state.SkipWithError("OpenSSL set-up failed");
        return;
    }
    for (auto _ : state) {
        if (!BN_mod_mul_montgomery(a.get(), a.get(), b.get(), mont.get(), ctx.get())) {
            state.SkipWithError("BN_mod_mul_montgomery failed");
            return;
        }
    }
}

}  // namespace

void registerOpenSslCase(const BenchCurve &curve, BenchOp op) {
    static const BenchFns fns = {
        {keyGen, sign, verify, ecdh, scalarMultG, scalarMultG, doubleScalarMult, fieldMultiply}};
    registerComparison(curve, op, kImplOpenSsl, fns);
}

}  // namespace ecckey_bench
