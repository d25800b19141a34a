// Every sum and every doubling on small curves against naive affine arithmetic. With about a hundred
// points per curve each pair is tried with equal Z, with different Z and with a Q whose Z is the plain
// integer 1, so the doubling fallback, the general formula and the skipped Z2 steps all meet every kind
// of operand: equal points, opposite points, points of order two and ordinary pairs.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ecc/EccPoint.h"
#include "ecc/arith/EccArith.h"
#include "support/TestPrng.h"
#include "support/TovarMp.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

struct SmallCurve {
    const char *label;
    long p, a, b;
    bool nullA;  // pass a null coefficient (a must then be p − 3)
};

const SmallCurve kSmallCurves[] = {
    {"p103_aMinus3_null", 103, 100, 7, true},  // one point of order two
    {"p103_aMinus3_explicit", 103, 100, 7, false},
    {"p97_a2", 97, 2, 3, false},  // three points of order two
    {"p89_a0", 89, 0, 7, false},
};

long md(long v, long p) {
    v %= p;
    return v < 0 ? v + p : v;
}

long inverse(long v, long p) {
    long r = 1, base = md(v, p);
    for (long e = p - 2; e > 0; e >>= 1) {
        if (e & 1)
            r = r * base % p;
        base = base * base % p;
    }
    return r;
}

struct Affine {
    long x = 0, y = 0;
    bool infinity = false;
};

Affine affineDouble(const Affine &P, const SmallCurve &c) {
    Affine r;
    if (P.y == 0) {
        r.infinity = true;
        return r;
    }
    long l = md((3 * P.x % c.p * P.x + c.a) % c.p * inverse(2 * P.y, c.p), c.p);
    r.x = md(l * l - 2 * P.x, c.p);
    r.y = md(l * (P.x - r.x) - P.y, c.p);
    return r;
}

Affine affineAdd(const Affine &P, const Affine &Q, const SmallCurve &c) {
    if (P.x == Q.x) {
        if (P.y == Q.y)
            return affineDouble(P, c);
        Affine r;
        r.infinity = true;
        return r;
    }
    Affine r;
    long l = md((Q.y - P.y) * inverse(Q.x - P.x, c.p), c.p);
    r.x = md(l * l - P.x - Q.x, c.p);
    r.y = md(l * (P.x - r.x) - P.y, c.p);
    return r;
}

long valueOf(const mp_int &v) {
    return v.get_digit_count() == 0 ? 0 : (long)v.get_digit(0);
}

std::string text(const Affine &a) {
    return a.infinity ? "infinity" : std::to_string(a.x) + "," + std::to_string(a.y);
}

// Raw Jacobian Montgomery coordinates of an affine point with Jacobian Z = z (beta = β mod p).
struct Raw {
    long X, Y, Z;
};

Raw jacobian(const Affine &P, long z, long beta, long p) {
    long z2 = z * z % p;
    long z3 = z2 * z % p;
    return {P.x * z2 % p * beta % p, P.y * z3 % p * beta % p, z * beta % p};
}

void load(EccPoint &pt, const Raw &r) {
    TovarMp::mp_set_int(pt.m_x, (unsigned long)r.X);
    TovarMp::mp_set_int(pt.m_y, (unsigned long)r.Y);
    TovarMp::mp_set_int(pt.m_z, (unsigned long)r.Z);
}

class SmallCurveTest : public ::testing::TestWithParam<SmallCurve> {
  protected:
    void SetUp() override {
        const SmallCurve &c = GetParam();
        ASSERT_NE(md(4 * c.a * c.a % c.p * c.a + 27 * c.b * c.b, c.p), 0) << "singular curve";
        if (c.nullA) {
            ASSERT_EQ(c.a, c.p - 3);
        }
        for (long x = 0; x < c.p; ++x)
            for (long y = 0; y < c.p; ++y)
                if (md(y * y - (x * x % c.p * x + c.a * x + c.b), c.p) == 0)
                    m_points.push_back({x, y, false});
        TovarMp::mp_set_int(m_p, (unsigned long)c.p);
        TovarMp::mp_set_int(m_a, (unsigned long)c.a);
        ASSERT_EQ(TovarMp::mp_montgomery_setup(m_p, m_digit), 0);
        mp_int mu;
        ASSERT_EQ(TovarMp::mp_montgomery_normalization(mu, m_p), 0);
        m_beta = valueOf(mu);
        m_betaInverse = inverse(m_beta, c.p);
        ASSERT_TRUE(m_scratch.setUp(m_p, coefficient()));
    }

    mp_int *coefficient() { return GetParam().nullA ? nullptr : &m_a; }

    // A random Jacobian Z whose Montgomery form is not the plain 1 (which pointAdd reads as Z2 = 1).
    long randomZ(TestPrng &prng) {
        for (;;) {
            long z = 1 + (long)(prng.next() % (std::uint64_t)(GetParam().p - 1));
            if (z != m_betaInverse)
                return z;
        }
    }

    // Every coordinate is kept in [0, p), so a sum equal to p must have been brought back to 0.
    bool fullyReduced(const EccPoint &pt) {
        const mp_int *coords[] = {&pt.m_x, &pt.m_y, &pt.m_z};
        for (const mp_int *v : coords)
            if (TovarMp::mp_cmp(*v, m_p) != -1)
                return false;
        return true;
    }

    // mapPointBack's result as text, "infinity" when it fails.
    std::string mapped(EccPoint &pt) {
        if (!mapPointBack(pt, m_p, m_digit, m_scratch))
            return "infinity";
        EXPECT_EQ(valueOf(pt.m_z), 1);
        return std::to_string(valueOf(pt.m_x)) + "," + std::to_string(valueOf(pt.m_y));
    }

    std::vector<Affine> m_points;
    mp_int m_p, m_a;
    MpDigit m_digit = 0;
    long m_beta = 0, m_betaInverse = 0;
    EccArithScratch m_scratch;
};

TEST_P(SmallCurveTest, EveryDoublingMatchesAffineArithmetic) {
    const SmallCurve &c = GetParam();
    TestPrng prng(testSeed() ^ (std::uint64_t)c.p);
    int atInfinity = 0;
    for (const Affine &P : m_points) {
        const Raw r = jacobian(P, randomZ(prng), m_beta, c.p);
        EccPoint src, distinct, inPlace;
        load(src, r);
        load(inPlace, r);
        ASSERT_TRUE(pointDouble(src, distinct, coefficient(), m_p, m_digit, m_scratch));
        ASSERT_TRUE(pointDouble(inPlace, inPlace, coefficient(), m_p, m_digit, m_scratch));
        ASSERT_TRUE(fullyReduced(distinct)) << "2·(" << text(P) << ")";
        ASSERT_TRUE(fullyReduced(inPlace)) << "2·(" << text(P) << ") in place";
        const Affine want = affineDouble(P, c);
        atInfinity += want.infinity;
        ASSERT_EQ(mapped(distinct), text(want)) << "2·(" << text(P) << ") with Z " << r.Z;
        ASSERT_EQ(mapped(inPlace), text(want)) << "2·(" << text(P) << ") in place";
    }
    EXPECT_GT(atInfinity, 0) << "the curve should have a point of order two";
}

TEST_P(SmallCurveTest, EverySumMatchesAffineArithmetic) {
    const SmallCurve &c = GetParam();
    TestPrng prng(testSeed() ^ ((std::uint64_t)c.p << 8));
    enum Variant { EqualZ, DifferentZ, QZIsPlainOne };
    int fallbacks = 0, zeroZ = 0;
    for (size_t i = 0; i < m_points.size(); ++i) {
        for (size_t j = 0; j < m_points.size(); ++j) {
            const Affine &P = m_points[i];
            const Affine &Q = m_points[j];
            for (int v = EqualZ; v <= QZIsPlainOne; ++v) {
                const long zP = randomZ(prng);
                long zQ = zP;
                while (v == DifferentZ && zQ == zP)
                    zQ = randomZ(prng);
                const Raw rp = jacobian(P, zP, m_beta, c.p);
                // Z written as the plain 1: Q's X and Y are then just x·β and y·β.
                const Raw rq = v == QZIsPlainOne ? Raw{Q.x * m_beta % c.p, Q.y * m_beta % c.p, 1}
                                                 : jacobian(Q, zQ, m_beta, c.p);

                // The doubling fallback compares the raw coordinates; otherwise equal or opposite
                // points meet H = 0 and the general formula gives Z = 0.
                const bool fallback = rp.X == rq.X && rp.Z == rq.Z && (rp.Y == rq.Y || rp.Y == c.p - rq.Y);
                Affine want;
                if (fallback) {
                    want = affineDouble(P, c);
                    ++fallbacks;
                } else if (P.x == Q.x) {
                    want.infinity = true;
                    ++zeroZ;
                } else {
                    want = affineAdd(P, Q, c);
                }

                EccPoint ep, eq, er;
                load(ep, rp);
                load(eq, rq);
                // Rotate the result over a distinct point and each operand, and once add P to itself.
                EccPoint *R = &er;
                EccPoint *Qp = &eq;
                if (i == j && v == EqualZ)
                    Qp = &ep;
                else if ((i + j + (size_t)v) % 3 == 1)
                    R = &ep;
                else if ((i + j + (size_t)v) % 3 == 2)
                    R = &eq;
                ASSERT_TRUE(pointAdd(ep, *Qp, *R, coefficient(), m_p, m_digit, m_scratch));
                ASSERT_TRUE(fullyReduced(*R)) << "(" << text(P) << ") + (" << text(Q) << ")";
                ASSERT_EQ(TovarMp::isZero(R->m_z), want.infinity);
                ASSERT_EQ(mapped(*R), text(want))
                    << "(" << text(P) << ") + (" << text(Q) << "), raw P " << rp.X << "," << rp.Y << ","
                    << rp.Z << " Q " << rq.X << "," << rq.Y << "," << rq.Z;
            }
        }
    }
    EXPECT_GT(fallbacks, 0);
    EXPECT_GT(zeroZ, 0);
}

INSTANTIATE_TEST_SUITE_P(SmallCurves, SmallCurveTest, ::testing::ValuesIn(kSmallCurves),
                         [](const ::testing::TestParamInfo<SmallCurve> &param) { return param.param.label; });

}  // namespace
