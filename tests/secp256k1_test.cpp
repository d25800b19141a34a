// The fixed-width secp256k1 engine: every integer and field operation against LibTomMath on boundary and
// random values. Its points meet OpenSSL in the key tests and Wycheproof, and their corner cases (P + P,
// P + 0, P + (-P)) in the constant-time program.
#include "ecc/secp256k1/CurvePt.h"
#include "support/Oracle.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

const char *const kP = "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEFFFFFC2F";
const char *const kN = "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEBAAEDCE6AF48A03BBFD25E8CD0364141";

mp_int mpOf(const char *hex) {
    mp_int m;
    EXPECT_TRUE(TovarMp::mpint_from_radix(m, hex, 16));
    return m;
}

// LibTomMath's side of each comparison, as values.
mp_int add(const mp_int &a, const mp_int &b) {
    mp_int r;
    EXPECT_EQ(0, TovarMp::mp_add(a, b, r));
    return r;
}
mp_int sub(const mp_int &a, const mp_int &b) {
    mp_int r;
    EXPECT_EQ(0, TovarMp::mp_sub(a, b, r));
    return r;
}
mp_int mod(mp_int v, const mp_int &m) {
    EXPECT_EQ(0, TovarMp::mp_mod(v, m, v));
    return v;
}
mp_int mulmod(const mp_int &a, const mp_int &b, const mp_int &m) {
    mp_int r;
    EXPECT_EQ(0, TovarMp::mp_mulmod(a, b, m, r));
    return r;
}

const mp_int kTwo256 = mpOf(("1" + std::string(64, '0')).c_str());

// 32 big-endian bytes of v mod 2^256.
Bytes wide(const mp_int &v) {
    DataBuffer db;
    EXPECT_TRUE(TovarMp::mpint_to_db(mod(v, kTwo256), db));
    Bytes b = toBytes(db);
    b.insert(b.begin(), 32 - b.size(), 0);
    return b;
}

Bytes bytesOf(const _tvUnsigned256 &u) {
    Bytes b(32);
    u.getBigEndian(b.data());
    return b;
}

// Boundary values (0, 1, word edges, around p and n, the top of the range) and random ones, some built
// from whole-word patterns that drive long carry and borrow chains.
std::vector<Bytes> values(TestPrng &prng) {
    std::vector<Bytes> out;
    for (const char *hex : {"00", "01", "02", "FFFFFFFF", "0100000000", kP, kN})
        for (int delta : {-2, -1, 0, 1}) {
            mp_int step = mpOf(std::to_string(std::abs(delta)).c_str());
            mp_int r = delta < 0 ? sub(mpOf(hex), step) : add(mpOf(hex), step);
            if (!TovarMp::isNegative(r))
                out.push_back(wide(r));
        }
    out.push_back(Bytes(32, 0xFF));
    for (int i = 0; i < testIterations(12); ++i) {
        Bytes b = prng.bytes(32);
        for (int w = 0; w < 8 && i % 2; ++w)
            for (int j = 0; j < 4; ++j)
                b[4 * w + j] = b[4 * w] & 1 ? 0xFF : b[4 * w] & 2 ? 0 : b[4 * w + j];
        out.push_back(b);
    }
    return out;
}

TEST(Secp256k1Engine, IntegerAndFieldOperationsMatchLibTomMath) {
    TestPrng prng(testSeed());
    const mp_int p = mpOf(kP), n = mpOf(kN), zero;
    std::vector<Bytes> vs = values(prng);
    for (const Bytes &ab : vs) {
        const mp_int a = mpOf(hexOf(ab).c_str());
        const _tvUnsigned256 ua(ab.data());
        _tvUnsigned256 t = ua;
        EXPECT_EQ(t.shiftLeft1(), (unsigned)(ab[0] >> 7));
        t.shiftRight1(0);
        EXPECT_EQ(bytesOf(t), wide(add(a, a)));
        t = ua;
        t.shiftRight1(1);
        mp_int half;
        EXPECT_EQ(0, TovarMp::mp_div_2(a, half));
        EXPECT_EQ(bytesOf(t), wide(half));
        const bool reduced = TovarMp::mp_cmp(a, p) < 0, belowN = TovarMp::mp_cmp(a, n) < 0;
        EXPECT_EQ(bytesOf(FieldInt256(ua)), wide(reduced ? a : sub(a, p)));  // one subtraction of p at most
        if (reduced) {
            FieldInt256 inv(ua), sq(ua), dbl(ua);
            inv.reciprocal();
            sq.square();
            dbl.multiply2();
            EXPECT_EQ(bytesOf(sq), wide(mulmod(a, a, p)));
            EXPECT_EQ(bytesOf(dbl), wide(mod(add(a, a), p)));
            mp_int r;
            EXPECT_EQ(bytesOf(inv), wide(TovarMp::isZero(a) || TovarMp::mp_invmod(a, p, r) ? zero : r));
        }
        if (belowN && !TovarMp::isZero(a)) {
            _tvUnsigned256 inv = ua;
            inv.reciprocal(_tvUnsigned256(unhex(kN).data()));
            mp_int r;
            EXPECT_EQ(0, TovarMp::mp_invmod(a, n, r));
            EXPECT_EQ(bytesOf(inv), wide(r));
        }
        for (const Bytes &bb : vs) {
            const mp_int b = mpOf(hexOf(bb).c_str());
            const _tvUnsigned256 ub(bb.data());
            _tvUnsigned256 sum = ua, diff = ua, kept = ua, x = ua, y = ub;
            EXPECT_EQ(sum.add(ub, 1), (unsigned)(TovarMp::mp_count_bits(add(a, b)) > 256));
            EXPECT_EQ(bytesOf(sum), wide(add(a, b)));
            EXPECT_EQ(kept.add(ub, 0) + kept.subtract(ub, 0), 0u);
            EXPECT_EQ(bytesOf(kept), ab);
            const int cmp = TovarMp::mp_cmp(a, b);
            EXPECT_EQ(diff.subtract(ub, 1), (unsigned)(cmp < 0));
            EXPECT_EQ(bytesOf(diff), wide(sub(add(a, kTwo256), b)));
            EXPECT_EQ((ua < ub) + 2 * (ua <= ub) + 4 * (ua > ub) + 8 * (ua >= ub) + 16 * (ua == ub) +
                          32 * (ua != ub),
                      (cmp < 0) + 2 * (cmp <= 0) + 4 * (cmp > 0) + 8 * (cmp >= 0) + 16 * (cmp == 0) +
                          32 * (cmp != 0));
            x.swap(y, 1);
            EXPECT_EQ(bytesOf(y), ab);
            x.replace(ua, 0);
            y.replace(ub, 1);
            EXPECT_EQ(bytesOf(x), bb);
            EXPECT_EQ(bytesOf(y), bb);
            if (reduced && TovarMp::mp_cmp(b, p) < 0) {
                FieldInt256 fm(ua), fs(ua), fd(ua), fb(ub);
                fm.multiply(fb);
                fs.add(fb);
                fd.subtract(fb);
                EXPECT_EQ(bytesOf(fm), wide(mulmod(a, b, p)));
                EXPECT_EQ(bytesOf(fs), wide(mod(add(a, b), p)));
                EXPECT_EQ(bytesOf(fd), wide(mod(sub(a, b), p)));
                EXPECT_EQ(FieldInt256(ua) < FieldInt256(ub), cmp < 0);
                EXPECT_EQ(FieldInt256(ua) >= ub, cmp >= 0);
            }
            if (belowN && TovarMp::mp_cmp(b, n) < 0) {
                _tvUnsigned256 prod = ua;
                multiplyModOrder(prod, ub);
                EXPECT_EQ(bytesOf(prod), wide(mulmod(a, b, n)));
            }
        }
    }
}

// k·G from the generator's tables against the windowed multiplyPt, normalised: the boundary values (0, n
// and above included), and for w the last window's weight of 4- or 5-bit windows (2^252, 2^255) and odd d
// below 32 the scalars ±2d·w and ±(1 + λ)·d·w mod n (λ the cube root of unity that maps (x, y) to (βx, y)),
// whose last window may add an entry equal to the sum so far or one of the same y.
TEST(Secp256k1Engine, GeneratorTablesMatchMultiplyPt) {
    TestPrng prng(testSeed());
    const mp_int n = mpOf(kN),
                 onePlusLambda = mpOf("5363AD4CC05C30E0A5261C028812645A122E22EA20816678DF02967C1B23BD73");
    std::vector<Bytes> ks = values(prng);
    for (const char *weight : {"1", "8"})
        for (unsigned d = 1; d < 32; d += 2) {
            const mp_int top =
                mulmod(mpOf(std::to_string(d).c_str()), mpOf((weight + std::string(63, '0')).c_str()), n);
            for (const mp_int &c : {mod(add(top, top), n), mulmod(top, onePlusLambda, n)}) {
                ks.push_back(wide(c));
                ks.push_back(wide(sub(n, c)));
            }
        }
    for (const Bytes &kb : ks) {
        const _tvUnsigned256 k(kb.data());
        _tvCurvePt table, windows = _tvCurvePt::m_s_G;
        table.multiplyGenerator(k);
        windows.multiplyPt(k);
        table.normalizePt();
        windows.normalizePt();
        EXPECT_TRUE(table == windows) << hexOf(kb);
    }
}

#ifdef ECCKEY_CHECK_INVARIANTS
// The invariant-check build stops at a field value that is not below p, naming the check.
TEST(Secp256k1EngineDeathTest, UnreducedFieldValueAborts) {
    FieldInt256 v;
    static_cast<_tvUnsigned256 &>(v) = m_Modulus;
    EXPECT_DEATH(v.square(), "invariant failed: isReduced.* at .*FieldInt256.cpp:[0-9]+");
}
#endif

}  // namespace
