// libsecp256k1's column, on secp256k1 only, called as its header documents: a context created with
// SECP256K1_CONTEXT_NONE and randomized once; key generation as secret-key check plus
// secp256k1_ec_pubkey_create (k·G is the same call on a given scalar); signing with the default RFC 6979
// nonce, serialised to DER as ecckey's output is; verification of ecckey's DER signature (normalised to
// low S once, since libsecp256k1 accepts only that form) including the DER parse; ECDH with a hash
// function that returns the bare x-coordinate, ecckey's shared secret. The library offers no public
// double-scalar multiplication or field multiplication, so those rows have no entry.
#include <benchmark/benchmark.h>
#include <secp256k1.h>
#include <secp256k1_ecdh.h>

#include <cstring>

#include "bench/BenchSetup.h"

namespace ecckey_bench {

namespace {

secp256k1_context *context() {
    static secp256k1_context *s_ctx = [] {
        secp256k1_context *ctx = secp256k1_context_create(SECP256K1_CONTEXT_NONE);
        unsigned char seed[32];
        FastRandom(0x5EC9ull).fill(seed, sizeof seed);
        if (ctx && !secp256k1_context_randomize(ctx, seed)) {
            secp256k1_context_destroy(ctx);
            ctx = nullptr;
        }
        return ctx;
    }();
    return s_ctx;
}

// ECDH output: the x-coordinate as it stands.
int copyX(unsigned char *output, const unsigned char *x32, const unsigned char *, void *) {
    std::memcpy(output, x32, 32);
    return 1;
}

bool loadPubkey(const Bytes &q, secp256k1_pubkey &out) {
    return secp256k1_ec_pubkey_parse(context(), &out, q.data(), q.size()) == 1;
}

void keyGen(benchmark::State &state, const BenchCurve *) {
    secp256k1_context *ctx = context();
    if (!ctx) {
        state.SkipWithError("libsecp256k1 set-up failed");
        return;
    }
    FastRandom rng(0x4B47ull);
    unsigned char seckey[32];
    secp256k1_pubkey pubkey;
    for (auto _ : state) {
        do {
            rng.fill(seckey, sizeof seckey);
        } while (!secp256k1_ec_seckey_verify(ctx, seckey));
        if (!secp256k1_ec_pubkey_create(ctx, &pubkey, seckey)) {
            state.SkipWithError("secp256k1_ec_pubkey_create failed");
            return;
        }
        benchmark::DoNotOptimize(pubkey);
    }
}

void sign(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    secp256k1_context *ctx = context();
    if (!ctx || m.hash.size() != 32) {
        state.SkipWithError("libsecp256k1 set-up failed");
        return;
    }
    secp256k1_ecdsa_signature sig;
    unsigned char der[80];
    for (auto _ : state) {
        size_t derLen = sizeof der;
        if (!secp256k1_ecdsa_sign(ctx, &sig, m.hash.data(), m.d.data(), nullptr, nullptr) ||
            !secp256k1_ecdsa_signature_serialize_der(ctx, der, &derLen, &sig)) {
            state.SkipWithError("secp256k1_ecdsa_sign failed");
            return;
        }
    }
}

void verify(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    secp256k1_context *ctx = context();
    secp256k1_pubkey pubkey;
    secp256k1_ecdsa_signature sig;
    unsigned char der[80];
    size_t derLen = sizeof der;
    if (!ctx || !loadPubkey(m.q, pubkey) ||
        !secp256k1_ecdsa_signature_parse_der(ctx, &sig, m.sigDer.data(), m.sigDer.size())) {
        state.SkipWithError("libsecp256k1 set-up failed");
        return;
    }
    secp256k1_ecdsa_signature_normalize(ctx, &sig, &sig);
    if (!secp256k1_ecdsa_signature_serialize_der(ctx, der, &derLen, &sig)) {
        state.SkipWithError("libsecp256k1 set-up failed");
        return;
    }
    for (auto _ : state) {
        if (!secp256k1_ecdsa_signature_parse_der(ctx, &sig, der, derLen) ||
            secp256k1_ecdsa_verify(ctx, &sig, m.hash.data(), &pubkey) != 1) {
            state.SkipWithError("secp256k1_ecdsa_verify rejected ecckey's signature");
            return;
        }
    }
}

void ecdh(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    secp256k1_context *ctx = context();
    secp256k1_pubkey peer;
    if (!ctx || !loadPubkey(m.peerQ, peer)) {
        state.SkipWithError("libsecp256k1 set-up failed");
        return;
    }
    unsigned char secret[32];
    for (auto _ : state) {
        if (!secp256k1_ecdh(ctx, secret, &peer, m.d.data(), copyX, nullptr)) {
            state.SkipWithError("secp256k1_ecdh failed");
            return;
        }
    }
}

void scalarMultG(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    secp256k1_context *ctx = context();
    if (!ctx) {
        state.SkipWithError("libsecp256k1 set-up failed");
        return;
    }
    secp256k1_pubkey R;
    for (auto _ : state) {
        if (!secp256k1_ec_pubkey_create(ctx, &R, m.d.data())) {
            state.SkipWithError("secp256k1_ec_pubkey_create failed");
            return;
        }
        benchmark::DoNotOptimize(R);
    }
}

}  // namespace

void registerSecp256k1Case(const BenchCurve &curve, BenchOp op) {
    if (!curve.isSecp256k1)
        return;
    static const BenchFns fns = {{keyGen, sign, verify, ecdh, scalarMultG, scalarMultG, nullptr, nullptr}};
    registerComparison(curve, op, kImplSecp256k1, fns);
}

}  // namespace ecckey_bench
