// The secp256k1 engine: k·G (multiplyPt then normalizePt, the cost of a signature or a key derivation)
// and its building blocks, one field multiplication first of all.
#include <benchmark/benchmark.h>

#include "ecc/secp256k1/CurvePt.h"

using namespace ecckey;

namespace {

const char *const kScalarHex = "C9AFA9D845BA75166B5C215767B1D6934E50C3DB36E89B127B8A622B120F6721";
const char *const kFieldAHex = "79BE667EF9DCBBAC55A06295CE870B07029BFCDB2DCE28D959F2815B16F81798";
const char *const kFieldBHex = "483ADA7726A3C4655DA4FBFC0E1108A8FD17B448A68554199C47D08FFB10D4B8";

void BM_Secp256k1_ScalarMultiplyG(benchmark::State &state) {
    _tvUnsigned256 k(kScalarHex);
    for (auto _ : state) {
        _tvCurvePt p = _tvCurvePt::m_s_G;
        p.multiplyPt(k);
        p.normalizePt();
        benchmark::DoNotOptimize(p);
        k.value[0] += 1;  // a different scalar each time; the cost does not depend on it
    }
}
BENCHMARK(BM_Secp256k1_ScalarMultiplyG)->Unit(benchmark::kMicrosecond);

// One multiplication per iteration, each depending on the previous result: the latency of a multiply.
void BM_Secp256k1_FieldMultiply(benchmark::State &state) {
    FieldInt256 a(kFieldAHex);
    const FieldInt256 b(kFieldBHex);
    for (auto _ : state) {
        a.multiply(b);
        benchmark::DoNotOptimize(a);
    }
}
BENCHMARK(BM_Secp256k1_FieldMultiply);

void BM_Secp256k1_FieldAdd(benchmark::State &state) {
    FieldInt256 a(kFieldAHex);
    const FieldInt256 b(kFieldBHex);
    for (auto _ : state) {
        a.add(b);
        benchmark::DoNotOptimize(a);
    }
}
BENCHMARK(BM_Secp256k1_FieldAdd);

void BM_Secp256k1_FieldReciprocal(benchmark::State &state) {
    FieldInt256 a(kFieldAHex);
    for (auto _ : state) {
        a.reciprocal();
        benchmark::DoNotOptimize(a);
    }
}
BENCHMARK(BM_Secp256k1_FieldReciprocal)->Unit(benchmark::kMicrosecond);

void BM_Secp256k1_PointDouble(benchmark::State &state) {
    _tvCurvePt p = _tvCurvePt::m_s_G;
    for (auto _ : state) {
        p.doublePt();
        benchmark::DoNotOptimize(p);
    }
}
BENCHMARK(BM_Secp256k1_PointDouble);

void BM_Secp256k1_PointAdd(benchmark::State &state) {
    _tvCurvePt p = _tvCurvePt::m_s_G;
    p.doublePt();
    for (auto _ : state) {
        p.addPt(_tvCurvePt::m_s_G);
        benchmark::DoNotOptimize(p);
    }
}
BENCHMARK(BM_Secp256k1_PointAdd);

void BM_Secp256k1_MultiplyModOrder(benchmark::State &state) {
    _tvUnsigned256 x(kFieldBHex);
    const _tvUnsigned256 y(kScalarHex);
    for (auto _ : state) {
        multiplyModOrder(x, y);
        benchmark::DoNotOptimize(x);
    }
}
BENCHMARK(BM_Secp256k1_MultiplyModOrder)->Unit(benchmark::kMicrosecond);

}  // namespace
