// The thread table: ecckey's sign and verify on one thread and on two at once, each thread with its own
// key (distinct keys may be used in parallel; a key object belongs to one thread). Times are wall-clock,
// so that the table can set the throughput of two threads against that of one.
#include <benchmark/benchmark.h>

#include "bench/EcckeyBench.h"
#include "support/LogBase.h"

namespace ecckey_bench {

using namespace ecckey;

namespace {

void threadedSign(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve, state.thread_index());
    EccKey key;
    if (!loadPrivateKey(*curve, m.d, key)) {
        state.SkipWithError("key load failed");
        return;
    }
    BenchPrng prng(caseSeed(*curve, 0x7448ull + (std::uint64_t)state.thread_index()));
    LogNull log;
    DataBuffer sig;
    for (auto _ : state) {
        if (!key.eccSignHash(m.hash.data(), (unsigned)m.hash.size(), prng, true, sig, log)) {
            state.SkipWithError("eccSignHash failed");
            return;
        }
    }
    // The number of attempts per signature varies with the nonces; the table compares time per attempt.
    state.counters[kCounterNonces] =
        benchmark::Counter((double)prng.requests(), benchmark::Counter::kAvgIterations);
}

void threadedVerify(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve, state.thread_index());
    EccKey key;
    if (!loadPrivateKey(*curve, m.d, key)) {
        state.SkipWithError("key load failed");
        return;
    }
    LogNull log;
    for (auto _ : state) {
        bool valid = false;
        if (!key.eccVerifyHash(m.sigDer.data(), (unsigned)m.sigDer.size(), false, m.hash.data(),
                               (unsigned)m.hash.size(), valid, log, 0) ||
            !valid) {
            state.SkipWithError("eccVerifyHash failed");
            return;
        }
    }
}

}  // namespace

void registerThreadCases(const BenchCurve &curve) {
    // Material for the second thread is made here, before any timing starts.
    benchMaterial(curve, 1);
    benchmark::RegisterBenchmark(threadName(curve, BenchOp::Sign).c_str(), threadedSign, &curve)
        ->Threads(1)
        ->Threads(2)
        ->UseRealTime();
    benchmark::RegisterBenchmark(threadName(curve, BenchOp::Verify).c_str(), threadedVerify, &curve)
        ->Threads(1)
        ->Threads(2)
        ->UseRealTime();
}

}  // namespace ecckey_bench
