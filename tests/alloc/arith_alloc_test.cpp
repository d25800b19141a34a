// The scalar multiplications of the generic arithmetic touch the heap only while they set up: the ladder
// steps and the joint-table loop run on temporaries grown once. Counted with the malloc wrapper of
// bench/AllocCounter.cpp, which this program links instead of the unit-test program.
#include <gtest/gtest.h>

#include <cstdio>

#include "bench/AllocCounter.h"
#include "ecc/EccKey.h"
#include "ecc/arith/EccArith.h"
#include "support/ArithCurve.h"
#include "support/Oracle.h"
#include "support/TestPrng.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

std::uint64_t nextOf(void *ctx) {
    return static_cast<TestPrng *>(ctx)->next();
}

class ArithAllocTest : public ::testing::TestWithParam<CurveInfo> {
  protected:
    void SetUp() override {
        ASSERT_TRUE(ecckey_alloc::allocationCounterActive());
        ASSERT_TRUE(m_curve.load(GetParam().nid));
        m_prng = std::make_unique<TestPrng>(testSeed() ^ (std::uint64_t)GetParam().nid);
    }

    // A random scalar below n (full length but for chance), as an mp_int.
    void randomScalar(mp_int &k) {
        BnPtr n(toBn(m_curve.n));
        BnPtr r = ecckey_test::randomScalar(n.get(), nextOf, m_prng.get());
        fromBn(r.get(), k);
    }

    std::uint64_t countPointMult(mp_int &k) {
        EccPoint R;
        LogNull log;
        const std::uint64_t before = ecckey_alloc::allocationCount();
        const bool ok = pointMult_tmr(k, m_curve.G, R, m_curve.aArg(), m_curve.p, 1, log);
        const std::uint64_t used = ecckey_alloc::allocationCount() - before;
        EXPECT_TRUE(ok);
        return used;
    }

    std::uint64_t countMul2add(mp_int &kA, EccPoint &B, mp_int &kB) {
        EccPoint R;
        LogNull log;
        const std::uint64_t before = ecckey_alloc::allocationCount();
        const bool ok = EccKey::mul2add(m_curve.G, kA, B, kB, R, m_curve.aArg(), m_curve.p, log);
        const std::uint64_t used = ecckey_alloc::allocationCount() - before;
        EXPECT_TRUE(ok);
        return used;
    }

    ArithCurve m_curve;
    std::unique_ptr<TestPrng> m_prng;
};

TEST_P(ArithAllocTest, LadderStepsAllocateNothing) {
    // The ladder's own set-up: scratch and working points grown, G in Montgomery form, M1 = 2G. tG is
    // what mp_mulmod writes (its division hands the result over in a buffer of its own size), so the
    // working points are copies, as in pointMult_tmr.
    MpDigit digit = 0;
    mp_int mu;
    EccArithScratch s;
    EccPoint tG, M0, M1;
    ASSERT_EQ(TovarMp::mp_montgomery_setup(m_curve.p, digit), 0);
    ASSERT_EQ(TovarMp::mp_montgomery_normalization(mu, m_curve.p), 0);
    ASSERT_TRUE(s.setUp(m_curve.p, m_curve.aArg(), mu));
    ASSERT_TRUE(EccArithScratch::growPoint(M0, m_curve.p));
    ASSERT_TRUE(EccArithScratch::growPoint(M1, m_curve.p));
    ASSERT_EQ(TovarMp::mp_mulmod(m_curve.G.m_x, mu, m_curve.p, tG.m_x), 0);
    ASSERT_EQ(TovarMp::mp_mulmod(m_curve.G.m_y, mu, m_curve.p, tG.m_y), 0);
    ASSERT_EQ(TovarMp::mp_mulmod(m_curve.G.m_z, mu, m_curve.p, tG.m_z), 0);
    ASSERT_TRUE(M0.copyFromEccPoint(tG));
    ASSERT_TRUE(pointDouble(tG, M1, m_curve.aArg(), m_curve.p, digit, s));
    std::vector<int> bits(2 * TovarMp::mp_count_bits(m_curve.p));
    for (int &b : bits)
        b = (int)(m_prng->next() & 1);

    EccPoint *M[2] = {&M0, &M1};
    bool ok = true;
    const std::uint64_t before = ecckey_alloc::allocationCount();
    for (int b : bits) {
        ok = ok && pointAdd(M0, M1, *M[1 - b], m_curve.aArg(), m_curve.p, digit, s);
        ok = ok && pointDouble(*M[b], *M[b], m_curve.aArg(), m_curve.p, digit, s);
    }
    const std::uint64_t used = ecckey_alloc::allocationCount() - before;
    ASSERT_TRUE(ok);
    EXPECT_EQ(used, 0u) << "allocations in " << bits.size() << " ladder steps";
}

TEST_P(ArithAllocTest, PointMultiplicationAllocatesOnlyForSetUp) {
    // A one-step scalar and a full-length one cost the same set-up; an allocation per group operation
    // would show as hundreds more. The few that may differ come from LibTomMath's division (set-up and
    // map back), whose working integers grow with the values.
    mp_int small, full;
    TovarMp::mp_set(small, 3);
    randomScalar(full);
    const std::uint64_t smallCount = countPointMult(small);
    const std::uint64_t fullCount = countPointMult(full);
    std::printf("%s: k·G allocations per call: %llu (k = 3: %llu)\n", GetParam().name,
                (unsigned long long)fullCount, (unsigned long long)smallCount);
    EXPECT_LE(fullCount, smallCount + 4);
}

TEST_P(ArithAllocTest, DoubleMultiplicationAllocatesOnlyForSetUp) {
    mp_int one, u1, u2, d;
    TovarMp::mp_set(one, 1);
    randomScalar(u1);
    randomScalar(u2);
    randomScalar(d);
    EccPoint Q;
    LogNull log;
    ASSERT_TRUE(pointMult_tmr(d, m_curve.G, Q, m_curve.aArg(), m_curve.p, 1, log));
    const std::uint64_t smallCount = countMul2add(one, Q, one);
    const std::uint64_t fullCount = countMul2add(u1, Q, u2);
    std::printf("%s: u1·G + u2·Q allocations per call: %llu (u1 = u2 = 1: %llu)\n", GetParam().name,
                (unsigned long long)fullCount, (unsigned long long)smallCount);
    EXPECT_LE(fullCount, smallCount + 4);
}

INSTANTIATE_TEST_SUITE_P(AllCurves, ArithAllocTest, ::testing::ValuesIn(genericCurves()),
                         [](const ::testing::TestParamInfo<CurveInfo> &param) {
                             return curveParamName(param.param);
                         });

}  // namespace
