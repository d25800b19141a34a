// Key generation and ECDH per curve, with OpenSSL's figures alongside for scale.

#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/objects.h>

#include <vector>

#include "ecc/ecckey.h"

using namespace ecckey;

namespace {

struct BenchCurve {
    const char *name;
    const char *opensslName;
};

const std::vector<BenchCurve> &benchCurves() {
    static const std::vector<BenchCurve> curves = {
        {"secp192r1", "prime192v1"},
        {"secp224r1", "secp224r1"},
        {"secp256r1", "prime256v1"},
        {"secp384r1", "secp384r1"},
        {"secp521r1", "secp521r1"},
        {"secp256k1", "secp256k1"},
        {"brainpoolp160r1", "brainpoolP160r1"},
        {"brainpoolp192r1", "brainpoolP192r1"},
        {"brainpoolp224r1", "brainpoolP224r1"},
        {"brainpoolp256r1", "brainpoolP256r1"},
        {"brainpoolp320r1", "brainpoolP320r1"},
        {"brainpoolp384r1", "brainpoolP384r1"},
        {"brainpoolp512r1", "brainpoolP512r1"},
    };
    return curves;
}

void BM_GenerateNewKey(benchmark::State &state, const BenchCurve &c) {
    SystemPrng prng;
    LogNull log;
    StringBuffer name(c.name);
    for (auto _ : state) {
        EccKey key;
        if (!key.generateNewKey(name, prng, log)) {
            state.SkipWithError("generateNewKey failed");
            break;
        }
        benchmark::DoNotOptimize(key.m_pubPoint.m_x);
    }
}

void BM_SharedSecret(benchmark::State &state, const BenchCurve &c) {
    SystemPrng prng;
    LogNull log;
    StringBuffer name(c.name);
    EccKey mine;
    EccKey peer;
    if (!mine.generateNewKey(name, prng, log) || !peer.generateNewKey(name, prng, log)) {
        state.SkipWithError("key generation failed");
        return;
    }
    DataBuffer secret;
    for (auto _ : state) {
        if (!mine.sharedSecret(peer, secret, log)) {
            state.SkipWithError("sharedSecret failed");
            break;
        }
        benchmark::DoNotOptimize(secret.getData2());
    }
}

// OpenSSL's ECDH on the same curve, as a yardstick.
void BM_OpenSslDerive(benchmark::State &state, const BenchCurve &c) {
    EVP_PKEY *a = EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", c.opensslName);
    EVP_PKEY *b = EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", c.opensslName);
    EVP_PKEY_CTX *ctx = a ? EVP_PKEY_CTX_new_from_pkey(nullptr, a, nullptr) : nullptr;
    if (!b || !ctx || EVP_PKEY_derive_init(ctx) <= 0 || EVP_PKEY_derive_set_peer(ctx, b) <= 0) {
        state.SkipWithError("OpenSSL setup failed");
    } else {
        unsigned char out[66];
        for (auto _ : state) {
            size_t len = sizeof out;
            EVP_PKEY_derive(ctx, out, &len);
            benchmark::DoNotOptimize(out);
        }
    }
    EVP_PKEY_CTX_free(ctx);
    EVP_PKEY_free(a);
    EVP_PKEY_free(b);
}

const bool s_registered = [] {
    for (const BenchCurve &c : benchCurves()) {
        benchmark::RegisterBenchmark((std::string("keygen/") + c.name).c_str(), BM_GenerateNewKey, c)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark((std::string("ecdh/") + c.name).c_str(), BM_SharedSecret, c)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark((std::string("ecdh_openssl/") + c.name).c_str(), BM_OpenSslDerive, c)
            ->Unit(benchmark::kMicrosecond);
    }
    return true;
}();

}  // namespace
