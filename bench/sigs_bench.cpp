// ECDSA sign and verify per curve: the generic signer (one ephemeral key per signature, plus the attempts
// the leading-byte rule throws away) and the joint-table verifier, and the fixed-width engine on secp256k1.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "ecc/ecckey.h"

namespace {

const char *const kCurves[] = {"secp192r1",       "secp224r1",       "secp256r1",       "secp384r1",
                               "secp521r1",       "secp256k1",       "brainpoolp160r1", "brainpoolp192r1",
                               "brainpoolp224r1", "brainpoolp256r1", "brainpoolp320r1", "brainpoolp384r1",
                               "brainpoolp512r1"};

// A 32-byte hash: cut to the curve on the shorter curves, used whole on the longer ones.
const unsigned char kHash[32] = {0x3a, 0x7b, 0xd3, 0xe2, 0x36, 0x0a, 0x3d, 0x29, 0xee, 0xa4, 0x36,
                                 0xfc, 0xfb, 0x7e, 0x44, 0xc7, 0x35, 0xd1, 0x17, 0xc4, 0x2d, 0x1c,
                                 0x18, 0x35, 0x42, 0x0b, 0x6b, 0x99, 0x42, 0xdd, 0x4f, 0x1b};

bool makeKey(const char *curve, ecckey::EccKey &key) {
    ecckey::SystemPrng prng;
    ecckey::LogNull log;
    return key.generateNewKey(ecckey::StringBuffer(curve), prng, log);
}

void BM_EcdsaSign(benchmark::State &state, const char *curve) {
    ecckey::EccKey key;
    if (!makeKey(curve, key)) {
        state.SkipWithError("key generation failed");
        return;
    }
    ecckey::SystemPrng prng;
    ecckey::LogNull log;
    ecckey::DataBuffer sig;
    for (auto _ : state) {
        if (!key.eccSignHash(kHash, sizeof kHash, prng, true, sig, log)) {
            state.SkipWithError("signing failed");
            return;
        }
        benchmark::DoNotOptimize(sig.getData2());
    }
}

void BM_EcdsaVerify(benchmark::State &state, const char *curve) {
    ecckey::EccKey key;
    ecckey::SystemPrng prng;
    ecckey::LogNull log;
    ecckey::DataBuffer sig;
    if (!makeKey(curve, key) || !key.eccSignHash(kHash, sizeof kHash, prng, true, sig, log)) {
        state.SkipWithError("setup failed");
        return;
    }
    for (auto _ : state) {
        bool valid = false;
        if (!key.eccVerifyHash(sig.getData2(), sig.getSize(), false, kHash, sizeof kHash, valid, log, 0) ||
            !valid) {
            state.SkipWithError("verification failed");
            return;
        }
    }
}

int registerAll() {
    for (const char *c : kCurves) {
        benchmark::RegisterBenchmark((std::string("EcdsaSign/") + c).c_str(), BM_EcdsaSign, c)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((std::string("EcdsaVerify/") + c).c_str(), BM_EcdsaVerify, c)
            ->Unit(benchmark::kMillisecond);
    }
    return 0;
}

const int s_registered = registerAll();

}  // namespace
