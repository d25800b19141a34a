// Signing time per nonce by the nonce's bit length: the generic signer on P-256 and brainpoolP256r1 with
// nonces drawn at full length, 32 bits shorter and 128 bits shorter. A signer whose time follows its
// nonces' length hands them to the lattice attacks on ECDSA; the table (BenchReport.cpp) prints each time
// per nonce with its ratio to the full-length one, which a constant-time signer keeps at 1.00.
//
// A signature costs one ephemeral key per nonce drawn (the leading-byte rule redraws), so the time per
// signature is divided by the nonces the generator served.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>

#include "bench/BenchSetup.h"
#include "bench/EcckeyBench.h"
#include "ecc/EccKey.h"
#include "support/LogBase.h"

namespace ecckey_bench {

namespace {

// Each repetition runs this long, five times the other cases' default: the ratios are read to within a
// few per cent, on a machine whose load may change while the cases run.
const double kNonceMinSeconds = 0.5;

// The bench generator, with the first bytes of every draw set to zero.
class ShortNoncePrng : public BenchPrng {
  public:
    ShortNoncePrng(std::uint64_t seed, unsigned zeroBytes) : BenchPrng(seed), m_zeroBytes(zeroBytes) {}

    bool genRandom(unsigned count, ecckey::DataBuffer &out, ecckey::LogBase &log) override {
        const unsigned start = out.getSize();
        if (!BenchPrng::genRandom(count, out, log))
            return false;
        std::memset(out.getDataMutable() + start, 0, std::min(count, m_zeroBytes));
        return true;
    }

  private:
    unsigned m_zeroBytes;
};

void signShortNonces(benchmark::State &state, const BenchCurve *curve, unsigned shorterBits) {
    const BenchMaterial &m = benchMaterial(*curve);
    ecckey::EccKey key;
    if (!loadPrivateKey(*curve, m.d, key)) {
        state.SkipWithError("key load failed");
        return;
    }
    ShortNoncePrng prng(caseSeed(*curve, 0x4E4F4E43ull + shorterBits), shorterBits / 8);
    ecckey::LogNull log;
    ecckey::DataBuffer sig;
    for (auto _ : state) {
        if (!key.eccSignHash(m.hash.data(), (unsigned)m.hash.size(), prng, true, sig, log)) {
            state.SkipWithError("eccSignHash failed");
            return;
        }
    }
    state.counters[kCounterNonces] =
        benchmark::Counter((double)prng.requests(), benchmark::Counter::kAvgIterations);
}

}  // namespace

const std::vector<unsigned> &nonceShortenings() {
    static const std::vector<unsigned> bits = {0, 32, 128};
    return bits;
}

bool hasNonceCases(const BenchCurve &curve) {
    return std::string(curve.name) == "secp256r1" || std::string(curve.name) == "brainpoolP256r1";
}

std::string nonceName(const BenchCurve &curve, unsigned shorterBits) {
    return std::string("nonce/") + curve.label + "/-" + std::to_string(shorterBits);
}

void registerNonceCases() {
    for (const BenchCurve &curve : benchCurves())
        for (unsigned bits : hasNonceCases(curve) ? nonceShortenings() : std::vector<unsigned>())
            benchmark::RegisterBenchmark(nonceName(curve, bits).c_str(), signShortNonces, &curve, bits)
                ->Unit(benchmark::kMicrosecond)
                ->MinTime(kNonceMinSeconds);
}

}  // namespace ecckey_bench
