// The fixed-width secp256k1 engine: every integer and field operation against LibTomMath on boundary and
// random values, and points against OpenSSL.
#include "ecc/secp256k1/CurvePt.h"
#include "support/Oracle.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

const char *const kP = "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEFFFFFC2F";
const char *const kN = "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEBAAEDCE6AF48A03BBFD25E8CD0364141";

const mp_int &twoTo256() {
    static mp_int v;
    static bool set = TovarMp::mpint_from_radix(v, ("1" + std::string(64, '0')).c_str(), 16);
    (void)set;
    return v;
}

// 32 big-endian bytes of v mod 2^256.
Bytes wide(const mp_int &v) {
    mp_int r;
    TovarMp::mp_mod(v, twoTo256(), r);
    DataBuffer db;
    TovarMp::mpint_to_db(r, db);
    Bytes b = toBytes(db);
    b.insert(b.begin(), 32 - b.size(), 0);
    return b;
}

Bytes bytesOf(const _tvUnsigned256 &u) {
    Bytes b(32);
    u.getBigEndian(b.data());
    return b;
}

mp_int mpOf(const Bytes &b) {
    mp_int m;
    TovarMp::mpint_from_bytes(m, b.data(), (unsigned)b.size());
    return m;
}

// Boundary values (0, 1, word edges, around p and n, the top of the range) and random ones, some built
// from whole-word patterns that drive long carry and borrow chains.
std::vector<Bytes> values(TestPrng &prng) {
    std::vector<Bytes> out;
    for (const char *hex : {"00", "01", "02", "FFFFFFFF", "0100000000", kP, kN}) {
        mp_int v;
        TovarMp::mpint_from_radix(v, hex, 16);
        for (int delta = -2; delta <= 1; ++delta) {
            mp_int d, r;
            TovarMp::mp_set(d, (MpDigit)std::abs(delta));
            delta < 0 ? TovarMp::mp_sub(v, d, r) : TovarMp::mp_add(v, d, r);
            if (!TovarMp::isNegative(r))
                out.push_back(wide(r));
        }
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
    mp_int p = mpOf(unhex(kP)), n = mpOf(unhex(kN));
    std::vector<Bytes> vs = values(prng);
    for (const Bytes &ab : vs) {
        mp_int a = mpOf(ab), r;
        _tvUnsigned256 ua(ab.data());
        _tvUnsigned256 shifted = ua;
        EXPECT_EQ(shifted.shiftLeft1(), (unsigned)(ab[0] >> 7));
        TovarMp::mp_add(a, a, r);
        EXPECT_EQ(bytesOf(shifted), wide(r));
        shifted.shiftRight1(0);
        EXPECT_EQ(bytesOf(shifted), wide(r));
        shifted = ua;
        shifted.shiftRight1(1);
        TovarMp::mp_div_2(a, r);
        EXPECT_EQ(bytesOf(shifted), wide(r));
        bool reduced = TovarMp::mp_cmp(a, p) < 0, belowN = TovarMp::mp_cmp(a, n) < 0;
        FieldInt256 once(ua);  // one subtraction of p at most
        reduced ? TovarMp::mp_copy(a, r) : TovarMp::mp_sub(a, p, r);
        EXPECT_EQ(bytesOf(once), wide(r));
        if (reduced) {
            FieldInt256 fa(ua), inv = fa, sq = fa, dbl = fa;
            inv.reciprocal();
            sq.square();
            dbl.multiply2();
            TovarMp::mp_mulmod(a, a, p, r);
            EXPECT_EQ(bytesOf(sq), wide(r));
            TovarMp::mp_add(a, a, r);
            TovarMp::mp_mod(r, p, r);
            EXPECT_EQ(bytesOf(dbl), wide(r));
            if (!TovarMp::isZero(a)) {
                TovarMp::mp_invmod(a, p, r);
                EXPECT_EQ(bytesOf(inv), wide(r));
            } else {
                EXPECT_EQ(bytesOf(inv), Bytes(32, 0));
            }
        }
        if (belowN && !TovarMp::isZero(a)) {
            _tvUnsigned256 inv = ua;
            inv.reciprocal(_tvUnsigned256(unhex(kN).data()));
            TovarMp::mp_invmod(a, n, r);
            EXPECT_EQ(bytesOf(inv), wide(r));
        }
        for (const Bytes &bb : vs) {
            mp_int b = mpOf(bb);
            _tvUnsigned256 ub(bb.data()), sum = ua, diff = ua, kept = ua, x = ua, y = ub;
            TovarMp::mp_add(a, b, r);
            EXPECT_EQ(sum.add(ub, 1), (unsigned)(TovarMp::mp_count_bits(r) > 256));
            EXPECT_EQ(bytesOf(sum), wide(r));
            EXPECT_EQ(kept.add(ub, 0) + kept.subtract(ub, 0), 0u);
            EXPECT_EQ(bytesOf(kept), ab);
            int cmp = TovarMp::mp_cmp(a, b);
            EXPECT_EQ(diff.subtract(ub, 1), (unsigned)(cmp < 0));
            TovarMp::mp_add(a, twoTo256(), r);
            TovarMp::mp_sub(r, b, r);
            EXPECT_EQ(bytesOf(diff), wide(r));
            EXPECT_EQ((ua < ub) + 2 * (ua <= ub) + 4 * (ua > ub) + 8 * (ua >= ub) + 16 * (ua == ub) +
                          32 * (ua != ub),
                      (cmp < 0) + 2 * (cmp <= 0) + 4 * (cmp > 0) + 8 * (cmp >= 0) + 16 * (cmp == 0) +
                          32 * (cmp != 0));
            x.swap(y, 1);
            EXPECT_EQ(bytesOf(x), bb);
            EXPECT_EQ(bytesOf(y), ab);
            x.replace(ua, 0);
            y.replace(ub, 1);
            EXPECT_EQ(bytesOf(x), bb);
            EXPECT_EQ(bytesOf(y), bb);
            if (reduced && TovarMp::mp_cmp(b, p) < 0) {
                FieldInt256 fa(ua), fs(ua), fd(ua), fb(ub);
                fa.multiply(fb);
                fs.add(fb);
                fd.subtract(fb);
                TovarMp::mp_mulmod(a, b, p, r);
                EXPECT_EQ(bytesOf(fa), wide(r));
                TovarMp::mp_add(a, b, r);
                TovarMp::mp_mod(r, p, r);
                EXPECT_EQ(bytesOf(fs), wide(r));
                TovarMp::mp_sub(a, b, r);
                TovarMp::mp_mod(r, p, r);
                EXPECT_EQ(bytesOf(fd), wide(r));
                EXPECT_EQ(FieldInt256(ua) < FieldInt256(ub), cmp < 0);
                EXPECT_EQ(FieldInt256(ua) >= ub, cmp >= 0);
            }
            if (belowN && TovarMp::mp_cmp(b, n) < 0) {
                _tvUnsigned256 prod = ua;
                multiplyModOrder(prod, ub);
                TovarMp::mp_mulmod(a, b, n, r);
                EXPECT_EQ(bytesOf(prod), wide(r));
            }
        }
    }
}

// Point operations against OpenSSL, with the corner cases the constant-time formulas select by mask.
TEST(Secp256k1Engine, PointsMatchOpenSsl) {
    const CurveInfo &k1 = allCurves()[3];
    TestPrng prng(testSeed() + 1);
    std::unique_ptr<BN_CTX, void (*)(BN_CTX *)> ctx(BN_CTX_new(), BN_CTX_free);
    auto affine = [](_tvCurvePt P) {
        P.normalizePt();
        Bytes out{4};
        Bytes x = bytesOf(P.x), y = bytesOf(P.y);
        out.insert(out.end(), x.begin(), x.end());
        out.insert(out.end(), y.begin(), y.end());
        return out;
    };
    _tvCurvePt G(FieldInt256("79BE667EF9DCBBAC55A06295CE870B07029BFCDB2DCE28D959F2815B16F81798"),
                 FieldInt256("483ADA7726A3C4655DA4FBFC0E1108A8FD17B448A68554199C47D08FFB10D4B8"));
    EXPECT_TRUE(G.isOnCurve());
    for (int i = 0; i < testIterations(6); ++i) {
        BnPtr k = randomScalar(k1, prng), j = randomScalar(k1, prng), sum(BN_new());
        _tvCurvePt P = G, Q = G;
        P.multiplyPt(_tvUnsigned256(ecckey_test::bytesOf(k.get(), 32).data()));
        EXPECT_EQ(affine(P), Ossl(k1, k.get()).point());
        Q.multiplyPt(_tvUnsigned256(ecckey_test::bytesOf(j.get(), 32).data()));
        _tvCurvePt R = P;
        R.addPt(Q);
        BN_add(sum.get(), k.get(), j.get());
        BN_nnmod(sum.get(), sum.get(), orderOf(k1).get(), ctx.get());
        EXPECT_EQ(affine(R), Ossl(k1, sum.get()).point());
        R = P;
        R.addPt(P);
        _tvCurvePt D = P;
        D.doublePt();
        EXPECT_EQ(affine(R), affine(D));
        P.normalizePt();
        EXPECT_TRUE(P.isOnCurve());
        unsigned char compressed[33];
        P.toCompressedPoint(compressed);
        Bytes full = Ossl(k1, k.get()).point();
        EXPECT_EQ(compressed[0], 2 + (full[64] & 1));
        EXPECT_EQ(Bytes(compressed + 1, compressed + 33), Bytes(full.begin() + 1, full.begin() + 33));
        // The zero point on either side leaves the other operand; P + (-P) is a zero point.
        _tvCurvePt zero, left = zero, neg = P;
        left.addPt(P);
        EXPECT_EQ(affine(left), affine(P));
        neg.y = FieldInt256();
        neg.y.subtract(P.y);
        R = P;
        R.addPt(neg);
        EXPECT_TRUE(R.isZero());
        R.normalizePt();
        EXPECT_TRUE(R == zero);
        R.replace(P, 1);
        EXPECT_TRUE(R == P && !(R != P));
    }
}

}  // namespace
