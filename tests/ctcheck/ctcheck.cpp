// Constant-time check of the secp256k1 engine and of the generic curves' fixed-width field, run under
// valgrind's memcheck.
//
// Secret inputs are marked undefined; memcheck then reports every conditional jump and every memory
// address that depends on them, so a clean run shows that no branch and no table index in the exercised
// code depends on a secret. Results are marked defined again before they are looked at. With --canary the
// program also branches on a secret on purpose, and memcheck must report it: that proves the check can
// fail. Run natively, the client requests do nothing and the program only checks its own arithmetic.
//
//   valgrind --error-exitcode=42 ecckey-ctcheck            -> exit 0, no report
//   valgrind --error-exitcode=42 ecckey-ctcheck --canary   -> exit 42
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <utility>

#include "ecc/EccCurve.h"
#include "ecc/arith/EccArith.h"
#include "ecc/arith/FixedField.h"
#include "ecc/secp256k1/CurvePt.h"
#include "support/LogBase.h"

#if __has_include(<valgrind/memcheck.h>)
#include <valgrind/memcheck.h>
#else
#define VALGRIND_MAKE_MEM_UNDEFINED(p, n) ((void)(p), (void)(n))
#define VALGRIND_MAKE_MEM_DEFINED(p, n) ((void)(p), (void)(n))
#endif

using namespace ecckey;

namespace {

using Span = std::pair<void *, std::size_t>;
template <typename... T>
void makeSecret(T &...v) {
    for (Span s : {Span(&v, sizeof v)...})
        VALGRIND_MAKE_MEM_UNDEFINED(s.first, s.second);
}
template <typename... T>
void declassify(T &...v) {
    for (Span s : {Span(&v, sizeof v)...})
        VALGRIND_MAKE_MEM_DEFINED(s.first, s.second);
}

// Fixed, arbitrary inputs (a linear congruential stream); they stand in for secrets and need not be random.
std::uint64_t g_state = 0x243F6A8885A308D3ull;
std::uint32_t nextWord() {
    g_state = g_state * 6364136223846793005ull + 1442695040888963407ull;  // a 64-bit LCG; its top half
    return static_cast<std::uint32_t>(g_state >> 32);
}

// A value below 2^255, hence below both p and n; `top` sets bit 255 instead (a value to reduce).
_tvUnsigned256 arbitraryValue(bool top = false) {
    _tvUnsigned256 v;
    for (std::uint32_t &w : v.value)
        w = nextWord();
    v.value[7] = top ? v.value[7] | 0x80000000u : v.value[7] & 0x7FFFFFFFu;
    return v;
}

// Every _tvUnsigned256 operation with secret operands and secret enable bits.
bool integerOperations() {
    _tvUnsigned256 a = arbitraryValue(), b = arbitraryValue();
    unsigned enable = nextWord() & 1u;
    unsigned char bytes[32], out[32];
    arbitraryValue().getBigEndian(bytes);
    makeSecret(a, b, enable, bytes);

    _tvUnsigned256 r = a, s = b;
    unsigned flags = r.add(b, enable);
    flags |= r.subtract(b, enable) << 1;
    flags |= r.shiftLeft1() << 2;
    r.shiftRight1(enable);
    r.replace(b, enable);
    r.swap(s, enable);
    flags |= (a == b) << 3 | (a != b) << 4 | (a < b) << 5 | (a <= b) << 6 | (a > b) << 7 | (a >= b) << 8;
    _tvUnsigned256(bytes).getBigEndian(out);
    // Inverse modulo n (the signer's k^-1) and the product modulo n (r·d, s = t·k^-1).
    _tvUnsigned256 product = a, other = a;
    product.reciprocal(_tvCurvePt::m_s_order);
    multiplyModOrder(product, a);
    multiplyModOrder(other, b);

    declassify(flags, r, s, out, bytes, product, other);
    std::printf("integer flags %03x\n", flags);
    return std::memcmp(out, bytes, 32) == 0 && product == s_ONE;  // a·a^-1 mod n
}

// Every FieldInt256 operation with secret operands.
bool fieldOperations() {
    FieldInt256 a(arbitraryValue()), b(arbitraryValue());
    _tvUnsigned256 wide = arbitraryValue(true);
    unsigned enable = nextWord() & 1u;
    makeSecret(a, b, wide, enable);

    FieldInt256 reduced(wide), r = a, d = a, m = a, sq = a, one = a, sel = a;
    r.add(b);
    r.subtract(a);  // = b
    d.multiply2();
    m.multiply(b);
    sq.square();
    one.reciprocal();
    one.multiply(a);
    sel.replace(b, enable);
    unsigned flags = (a == b) | (a != b) << 1 | (a < b) << 2 | (a <= b) << 3 | (a > b) << 4 | (a >= b) << 5 |
                     (a < _tvCurvePt::m_s_order) << 6 | (a >= _tvCurvePt::m_s_order) << 7;

    declassify(a, b, r, d, m, sq, one, sel, reduced, flags);
    std::printf("field flags %02x\n", flags);
    return r == b && one == _tvCurvePt::m_s_fiOne && reduced < m_Modulus;
}

// k·G, then normalisation, as in signing and public-key derivation: the scalar is secret.
bool scalarMultiplication() {
    _tvUnsigned256 k = arbitraryValue(), k2 = k;
    k2.add(s_ONE, 1);
    makeSecret(k, k2);

    _tvCurvePt p = _tvCurvePt::m_s_G, q2 = _tvCurvePt::m_s_G;
    p.multiplyPt(k);
    _tvCurvePt q = p;
    q.addPt(_tvCurvePt::m_s_G);  // (k + 1)·G by addition
    q2.multiplyPt(k2);
    p.normalizePt();
    q.normalizePt();
    q2.normalizePt();
    unsigned char compressed[33];
    p.toCompressedPoint(compressed);
    unsigned flags = p.isOnCurve() | p.isZero() << 1 | (q == q2) << 2 | (q != q2) << 3;

    declassify(p, q, q2, compressed, flags);
    // k·G on the curve, (k + 1)·G the same two ways, the compressed prefix from y's parity.
    return flags == 5u && compressed[0] == (0x02 | (p.y.value[0] & 1u));
}

// A secret point (an ECDH peer's point is public, but intermediate points of a secret multiple are not):
// doubling, addition with every special case reachable, and a multiple of the secret point.
bool secretPointOperations() {
    _tvCurvePt base = _tvCurvePt::m_s_G;
    base.multiplyPt(arbitraryValue());  // public computation, a projective point with z != 1
    _tvUnsigned256 e = arbitraryValue();
    makeSecret(base, e);

    _tvCurvePt twice = base, sum = base, zero = base, negated = base, cancelled = base, multiple = base;
    twice.doublePt();
    sum.addPt(base);  // equal points: the doubled candidate is selected
    zero.addPt(_tvCurvePt::m_s_Zero);
    negated.y = FieldInt256();
    negated.y.subtract(base.y);
    cancelled.addPt(negated);  // P + (-P)
    multiple.multiplyPt(e);
    for (_tvCurvePt *pt : {&multiple, &twice, &sum, &cancelled})
        pt->normalizePt();

    declassify(base, twice, sum, zero, cancelled, multiple);
    return twice == sum && zero == base && cancelled == _tvCurvePt::m_s_Zero && multiple.isOnCurve();
}

// The generic curves' fixed-width field and one ladder step on it. The curve and G are public; the
// ladder's points M0 = G, M1 = 2G and two field values taken from them are then marked secret. The step
// declassifies only the outcomes of the formulas' two equality tests (the doubling fallback and "Q.Z is
// the plain integer 1"), which choose a path and are false on a ladder of a point of large order.
template <int N>
bool genericCurveOperations(const mp_int &p, const mp_int *a, EccPoint &G, EccPoint &threeG) {
    typedef FixedField<N> Field;
    Field f;
    typename Field::Point M0, M1, negated;
    typename Field::Scratch s;
    if (!f.setUp(p, a) || !f.load(G, M0) || !jacobianDouble(f, M0, M1, s))
        return false;
    typename Field::Elem x = M0.m_x, y = M1.m_y, sum, difference, half, square, product, inverse;
    makeSecret(M0, M1, x, y);

    const FieldMont<N> &field = f.field();
    field.add(x, y, sum);
    field.sub(sum, y, difference);  // = x
    field.halve(x, half);
    field.add(half, half, half);  // = x
    field.sqr(x, square);
    field.mul(x, x, product);  // = x²
    field.invert(x, inverse);
    field.mul(inverse, x, inverse);  // = 1
    // The step for a bit 0: M1 = M0 + M1, M0 = 2·M0, as jacobianAdd and jacobianDouble run it.
    f.negate(M1.m_y, negated.m_y);
    bool doubling = isDoublingCase(f, M0, M1, negated.m_y), plainOne = f.isPlainOne(M1.m_z);
    declassify(doubling, plainOne);
    s.x = M0.m_x, s.y = M0.m_y, s.z = M0.m_z;
    const bool stepped = !doubling && jacobianAddGeneral(f, M1, plainOne, s) && jacobianDouble(f, M0, M0, s);
    M1.m_x = s.x, M1.m_y = s.y, M1.m_z = s.z;

    declassify(M0, M1, x, difference, half, square, product, inverse);
    EccPoint R;
    const bool fieldOk = FieldMont<N>::isEqual(difference, x) && FieldMont<N>::isEqual(half, x) &&
                         FieldMont<N>::isEqual(square, product) &&
                         FieldMont<N>::isEqual(inverse, field.one());
    return fieldOk && stepped && f.store(M1, R) && TovarMp::mp_cmp(R.m_x, threeG.m_x) == 0 &&
           TovarMp::mp_cmp(R.m_y, threeG.m_y) == 0;
}

// Every generic curve, so every limb count and both kinds of a; 3G comes from the ladder on public data.
bool genericCurves() {
    bool ok = true;
    for (int i = 0; i < EccCurve::numCatalogCurves(); ++i) {
        LogNull log;
        EccCurve curve;
        mp_int p, a, three;
        EccPoint G, threeG;
        const char *name = EccCurve::catalogEntry(i)->name;
        if (std::strcmp(name, "secp256k1") == 0)
            continue;
        const bool loaded = curve.loadCurveByName(name, log) &&
                            TovarMp::mpint_from_radix(p, curve.m_p.getString(), 16) &&
                            (!curve.m_hasA || TovarMp::mpint_from_radix(a, curve.m_a.getString(), 16)) &&
                            TovarMp::mpint_from_radix(G.m_x, curve.m_Gx.getString(), 16) &&
                            TovarMp::mpint_from_radix(G.m_y, curve.m_Gy.getString(), 16) &&
                            TovarMp::mp_set(G.m_z, 1) == 0 && TovarMp::mp_set(three, 3) == 0;
        mp_int *aArg = curve.m_hasA ? &a : nullptr;
        const bool curveOk =
            loaded && pointMult_tmr(three, G, threeG, aArg, p, 1, log) &&
            withFixedFieldLimbs(
                p,
                [&](auto limbs) {
                    return genericCurveOperations<decltype(limbs)::value>(p, aArg, G, threeG);
                },
                [] { return false; });
        std::printf("%s %s\n", name, curveOk ? "ok" : "FAILED");
        ok = ok && curveOk;
    }
    return ok;
}

}  // namespace

int main(int argc, char **argv) {
    // Every part runs (&, not &&); each prints its flags, so a failing run shows how far it got.
    const bool ok = integerOperations() & fieldOperations() & scalarMultiplication() &
                    secretPointOperations() & genericCurves();
    if (argc > 1 && std::strcmp(argv[1], "--canary") == 0) {
        _tvUnsigned256 k = arbitraryValue();  // deliberately leaks: a branch on a secret bit
        makeSecret(k);
        std::printf("canary: the secret is %s\n", (k.value[0] & 1u) ? "odd" : "even");
    }
    std::puts(ok ? "ctcheck: done" : "ctcheck: FAILED, a part computed a wrong result");
    return ok ? 0 : 1;
}
