// The scalar multiplications of the generic arithmetic touch the heap only while they set up: the ladder
// steps and the joint-table loop run on temporaries grown once. A one-step scalar and a full-length one
// therefore cost the same, and the ladder for secret scalars no more; an allocation per group operation
// would show as hundreds more. The few that
// may differ come from LibTomMath's division (set-up and map back), whose working integers grow with the
// values. Counted with the malloc wrapper of bench/AllocCounter.cpp, which only this program links.
#include <gtest/gtest.h>

#include "bench/AllocCounter.h"
#include "ecc/arith/EccArith.h"
#include "support/ArithCurve.h"
#include "support/Oracle.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

class ArithAlloc : public ::testing::TestWithParam<CurveInfo> {};

template <class Operation>
std::uint64_t allocations(Operation operation) {
    const std::uint64_t before = ecckey_alloc::allocationCount();
    EXPECT_TRUE(operation());
    return ecckey_alloc::allocationCount() - before;
}

TEST_P(ArithAlloc, MultiplicationsAllocateOnlyForSetUp) {
    ASSERT_TRUE(ecckey_alloc::allocationCounterActive());
    ArithCurve curve;
    ASSERT_TRUE(curve.load(GetParam().nid));
    TestPrng prng(testSeed() ^ (std::uint64_t)GetParam().nid);
    mp_int one, three, k, u1, u2;
    EXPECT_EQ(0, TovarMp::mp_set(one, 1));
    EXPECT_EQ(0, TovarMp::mp_set(three, 3));
    for (mp_int *v : {&k, &u1, &u2})
        mpOf(randomScalar(GetParam(), prng).get(), *v);
    EccPoint R, Q;
    LogNull log;
    ASSERT_TRUE(pointMult_tmr(k, curve.G, Q, curve.aArg(), curve.p, 1, log));
    auto mult = [&](mp_int &s) {
        return allocations([&] { return pointMult_tmr(s, curve.G, R, curve.aArg(), curve.p, 1, log); });
    };
    auto mul2add = [&](mp_int &a, mp_int &b) {
        return allocations([&] { return EccKey::mul2add(curve.G, a, Q, b, R, curve.aArg(), curve.p, log); });
    };
    const std::uint64_t small = mult(three), full = mult(k);
    EXPECT_LE(full, small + 4) << "k·G allocations, k = 3 and k full-length";
    EXPECT_LE(
        allocations([&] { return pointMultSecret(k, curve.n, curve.G, R, curve.aArg(), curve.p, log); }),
        small + 4)
        << "k·G allocations on the ladder for secret scalars, against the variable one's for k = 3";
    const std::uint64_t smallPair = mul2add(one, one), fullPair = mul2add(u1, u2);
    EXPECT_LE(fullPair, smallPair + 4) << "u1·G + u2·Q allocations, u1 = u2 = 1 and full-length";
}

INSTANTIATE_TEST_SUITE_P(AllCurves, ArithAlloc, ::testing::ValuesIn(genericCurves()), curveParamName);

}  // namespace
