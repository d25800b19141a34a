// The generic arithmetic's hot path on each of the twelve curves it serves: k·G through the ladder,
// u1·G + u2·Q through the joint table (an ECDSA verification's cost), and one ladder step alone on the
// fixed-width field. Each reports "allocs/op", the heap allocations per call counted by
// bench/AllocCounter.cpp.
#include <benchmark/benchmark.h>
#include <openssl/obj_mac.h>

#include <random>
#include <string>
#include <vector>

#include "bench/AllocCounter.h"
#include "ecc/EccKey.h"
#include "ecc/arith/EccArith.h"
#include "ecc/arith/FixedField.h"
#include "ecc/arith/PointFormulas.h"
#include "support/LogBase.h"
#include "tests/support/ArithCurve.h"

using namespace ecckey;
using ecckey_test::ArithCurve;

namespace {

struct ArithBenchCurve {
    const char *name;
    int nid;
};

const std::vector<ArithBenchCurve> &arithBenchCurves() {
    static const std::vector<ArithBenchCurve> curves = {
        {"secp192r1", NID_X9_62_prime192v1},
        {"secp224r1", NID_secp224r1},
        {"secp256r1", NID_X9_62_prime256v1},
        {"secp384r1", NID_secp384r1},
        {"secp521r1", NID_secp521r1},
        {"brainpoolP160r1", NID_brainpoolP160r1},
        {"brainpoolP192r1", NID_brainpoolP192r1},
        {"brainpoolP224r1", NID_brainpoolP224r1},
        {"brainpoolP256r1", NID_brainpoolP256r1},
        {"brainpoolP320r1", NID_brainpoolP320r1},
        {"brainpoolP384r1", NID_brainpoolP384r1},
        {"brainpoolP512r1", NID_brainpoolP512r1},
    };
    return curves;
}

// A fixed pseudo-random scalar below n, so that runs compare.
void scalarBelowOrder(const ArithCurve &c, std::mt19937_64 &rng, mp_int &k) {
    std::vector<unsigned char> bytes(TovarMp::mp_unsigned_bin_size(c.n));
    for (unsigned char &b : bytes)
        b = (unsigned char)rng();
    mp_int v;
    if (!TovarMp::mpint_from_bytes(v, bytes.data(), (unsigned)bytes.size()))
        std::abort();  // out of memory: nothing to measure or compare
    if (TovarMp::mp_mod(v, c.n, k) != 0)
        std::abort();  // out of memory: nothing to measure or compare
}

void reportAllocations(benchmark::State &state, std::uint64_t allocations) {
    state.counters["allocs/op"] = benchmark::Counter((double)allocations, benchmark::Counter::kAvgIterations);
}

void BM_PointMult(benchmark::State &state, ArithBenchCurve bc) {
    ArithCurve c;
    if (!c.load(bc.nid)) {
        state.SkipWithError("OpenSSL does not know the curve");
        return;
    }
    std::mt19937_64 rng(1);
    mp_int k;
    scalarBelowOrder(c, rng, k);
    EccPoint R;
    LogNull log;
    std::uint64_t allocations = 0;
    for (auto _ : state) {
        const std::uint64_t before = ecckey_alloc::allocationCount();
        bool ok = pointMult_tmr(k, c.G, R, c.aArg(), c.p, 1, log);
        allocations += ecckey_alloc::allocationCount() - before;
        benchmark::DoNotOptimize(ok);
    }
    reportAllocations(state, allocations);
}

void BM_Mul2Add(benchmark::State &state, ArithBenchCurve bc) {
    ArithCurve c;
    if (!c.load(bc.nid)) {
        state.SkipWithError("OpenSSL does not know the curve");
        return;
    }
    std::mt19937_64 rng(2);
    mp_int u1, u2, d;
    scalarBelowOrder(c, rng, u1);
    scalarBelowOrder(c, rng, u2);
    scalarBelowOrder(c, rng, d);
    EccPoint Q, R;
    LogNull log;
    if (!pointMult_tmr(d, c.G, Q, c.aArg(), c.p, 1, log)) {
        state.SkipWithError("Q = d·G failed");
        return;
    }
    std::uint64_t allocations = 0;
    for (auto _ : state) {
        const std::uint64_t before = ecckey_alloc::allocationCount();
        bool ok = EccKey::mul2add(c.G, u1, Q, u2, R, c.aArg(), c.p, log);
        allocations += ecckey_alloc::allocationCount() - before;
        benchmark::DoNotOptimize(ok);
    }
    reportAllocations(state, allocations);
}

// One ladder step (an addition and a doubling) on the fixed-width field, set up once: what the loop of
// both multiplications costs per bit, and what it allocates (nothing).
template <int N>
bool ladderSteps(benchmark::State &state, ArithCurve &c) {
    FixedField<N> f;
    typename FixedField<N>::Point tG, M0, M1;
    typename FixedField<N>::Scratch s;
    if (!f.setUp(c.p, c.aArg()) || !f.load(c.G, tG) || !jacobianDouble(f, tG, M1, s))
        return false;
    M0 = tG;
    typename FixedField<N>::Point *M[2] = {&M0, &M1};
    int bit = 0;
    std::uint64_t allocations = 0;
    for (auto _ : state) {
        const std::uint64_t before = ecckey_alloc::allocationCount();
        bool ok = jacobianAdd(f, M0, M1, *M[1 - bit], s) && jacobianDouble(f, *M[bit], *M[bit], s);
        allocations += ecckey_alloc::allocationCount() - before;
        benchmark::DoNotOptimize(ok);
        bit ^= 1;
    }
    reportAllocations(state, allocations);
    return true;
}

void BM_LadderStep(benchmark::State &state, ArithBenchCurve bc) {
    ArithCurve c;
    if (!c.load(bc.nid) || !withFixedFieldLimbs(
                               c.p, [&](auto limbs) { return ladderSteps<decltype(limbs)::value>(state, c); },
                               [] { return false; }))
        state.SkipWithError("set-up failed");
}

const bool s_registered = [] {
    for (const ArithBenchCurve &c : arithBenchCurves()) {
        benchmark::RegisterBenchmark((std::string("pointMult_kG/") + c.name).c_str(), BM_PointMult, c)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark((std::string("mul2add_u1G_u2Q/") + c.name).c_str(), BM_Mul2Add, c)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark((std::string("ladderStep/") + c.name).c_str(), BM_LadderStep, c)
            ->Unit(benchmark::kMicrosecond);
    }
    return true;
}();

}  // namespace
