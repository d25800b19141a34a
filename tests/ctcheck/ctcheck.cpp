// Constant-time check of the secp256k1 engine, run under valgrind's memcheck.
//
// Secret inputs are marked undefined with VALGRIND_MAKE_MEM_UNDEFINED. Memcheck then reports every
// conditional jump and every memory address that depends on them, so a clean run shows that no branch
// and no table index in the exercised code depends on a secret. Results are marked defined again before
// they are looked at. With --canary the program also branches on a secret on purpose, and memcheck must
// report it: that proves the check can fail.
//
//   valgrind --error-exitcode=42 ecckey-ctcheck            -> exit 0, no report
//   valgrind --error-exitcode=42 ecckey-ctcheck --canary   -> exit 42
//
// Run natively, the client requests do nothing and the program only checks its own arithmetic.
#include <cstdio>
#include <cstring>

#include "ecc/secp256k1/CurvePt.h"

#if defined(__has_include)
#if __has_include(<valgrind/memcheck.h>)
#include <valgrind/memcheck.h>
#define ECCKEY_HAVE_MEMCHECK 1
#endif
#endif
#ifndef ECCKEY_HAVE_MEMCHECK
#define VALGRIND_MAKE_MEM_UNDEFINED(p, n) ((void)(p), (void)(n))
#define VALGRIND_MAKE_MEM_DEFINED(p, n) ((void)(p), (void)(n))
#endif

using namespace ecckey;

namespace {

template <typename T>
void makeSecret(T &v) {
    VALGRIND_MAKE_MEM_UNDEFINED(&v, sizeof v);
}

template <typename T>
void declassify(T &v) {
    VALGRIND_MAKE_MEM_DEFINED(&v, sizeof v);
}

// Fixed, arbitrary inputs (a splitmix64 stream); they stand in for secrets and need not be random.
std::uint64_t g_state = 0x243F6A8885A308D3ull;
std::uint32_t nextWord() {
    std::uint64_t z = (g_state += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return static_cast<std::uint32_t>(z ^ (z >> 31));
}

// A value below 2^255, hence below both p and n.
_tvUnsigned256 arbitraryValue() {
    _tvUnsigned256 v;
    for (int i = 0; i < 8; ++i)
        v.value[i] = nextWord();
    v.value[7] &= 0x7FFFFFFFu;
    return v;
}

int g_failures = 0;
void check(bool ok, const char *what) {
    if (!ok) {
        std::printf("FAILED: %s\n", what);
        ++g_failures;
    }
}

// Every _tvUnsigned256 operation with secret operands and secret enable bits.
void integerOperations() {
    _tvUnsigned256 a = arbitraryValue(), b = arbitraryValue();
    unsigned enable = nextWord() & 1u;
    unsigned char bytes[32];
    for (unsigned char &c : bytes)
        c = static_cast<unsigned char>(nextWord());
    makeSecret(a);
    makeSecret(b);
    makeSecret(enable);
    makeSecret(bytes);

    unsigned flags = 0;
    _tvUnsigned256 r = a;
    flags |= r.add(b, enable);
    flags |= r.subtract(b, enable) << 1;
    flags |= r.shiftLeft1() << 2;
    r.shiftRight1(enable);
    r.replace(b, enable);
    _tvUnsigned256 s = b;
    r.swap(s, enable);
    flags |= static_cast<unsigned>(a == b) << 3;
    flags |= static_cast<unsigned>(a != b) << 4;
    flags |= static_cast<unsigned>(a < b) << 5;
    flags |= static_cast<unsigned>(a <= b) << 6;
    flags |= static_cast<unsigned>(a > b) << 7;
    flags |= static_cast<unsigned>(a >= b) << 8;
    _tvUnsigned256 fromBytes(bytes);
    unsigned char out[32];
    fromBytes.getBigEndian(out);

    // Inverse modulo n (the signer's k^-1) and the product modulo n (r·d, s = t·k^-1).
    _tvUnsigned256 inv = a;
    inv.reciprocal(_tvCurvePt::m_s_order);
    _tvUnsigned256 product = inv;
    multiplyModOrder(product, a);
    _tvUnsigned256 other = a;
    multiplyModOrder(other, b);

    declassify(flags);
    declassify(r);
    declassify(s);
    declassify(out);
    declassify(bytes);
    declassify(product);
    declassify(other);
    check(std::memcmp(out, bytes, 32) == 0, "bytes round trip");
    check(product == s_ONE, "a * a^-1 mod n");
    std::printf("integer flags %03x\n", flags);
}

// Every FieldInt256 operation with secret operands.
void fieldOperations() {
    FieldInt256 a(arbitraryValue()), b(arbitraryValue());
    _tvUnsigned256 wide;
    for (int i = 0; i < 8; ++i)
        wide.value[i] = nextWord() | 0x80000000u;  // at least 2^255
    unsigned enable = nextWord() & 1u;
    makeSecret(a);
    makeSecret(b);
    makeSecret(wide);
    makeSecret(enable);

    FieldInt256 reduced(wide);
    FieldInt256 r = a;
    r.add(b);
    r.subtract(a);  // = b
    FieldInt256 d = a;
    d.multiply2();
    FieldInt256 m = a;
    m.multiply(b);
    FieldInt256 sq = a;
    sq.square();
    FieldInt256 inv = a;
    inv.reciprocal();
    FieldInt256 one = inv;
    one.multiply(a);
    FieldInt256 sel = a;
    sel.replace(b, enable);
    unsigned flags = static_cast<unsigned>(a == b) | static_cast<unsigned>(a != b) << 1 |
                     static_cast<unsigned>(a < b) << 2 | static_cast<unsigned>(a <= b) << 3 |
                     static_cast<unsigned>(a > b) << 4 | static_cast<unsigned>(a >= b) << 5 |
                     static_cast<unsigned>(a < _tvCurvePt::m_s_order) << 6 |
                     static_cast<unsigned>(a >= _tvCurvePt::m_s_order) << 7;

    declassify(a);
    declassify(b);
    declassify(r);
    declassify(d);
    declassify(m);
    declassify(sq);
    declassify(one);
    declassify(sel);
    declassify(reduced);
    declassify(flags);
    check(r == b, "a + b - a");
    check(one == _tvCurvePt::m_s_fiOne, "a * a^-1 mod p");
    check(reduced < m_Modulus, "reduction of a wide value");
    std::printf("field flags %02x\n", flags);
}

// k·G, then normalisation, as in signing and public-key derivation: the scalar is secret.
void scalarMultiplication() {
    _tvUnsigned256 k = arbitraryValue();
    _tvUnsigned256 k2 = k;
    k2.add(s_ONE, 1);
    makeSecret(k);
    makeSecret(k2);

    _tvCurvePt p = _tvCurvePt::m_s_G;
    p.multiplyPt(k);
    _tvCurvePt q = p;
    q.addPt(_tvCurvePt::m_s_G);  // (k + 1)·G by addition
    p.normalizePt();
    q.normalizePt();
    _tvCurvePt q2 = _tvCurvePt::m_s_G;
    q2.multiplyPt(k2);
    q2.normalizePt();
    unsigned char compressed[33];
    p.toCompressedPoint(compressed);
    unsigned flags = static_cast<unsigned>(p.isOnCurve()) | static_cast<unsigned>(p.isZero()) << 1 |
                     static_cast<unsigned>(q == q2) << 2 | static_cast<unsigned>(q != q2) << 3;

    declassify(p);
    declassify(q);
    declassify(q2);
    declassify(compressed);
    declassify(flags);
    check(flags == 5u, "k·G on the curve, (k + 1)·G two ways");
    check(compressed[0] == (0x02 | (p.y.value[0] & 1u)), "compressed prefix");
}

// A secret point (an ECDH peer's point is public, but intermediate points of a secret multiple are not):
// doubling, addition with every special case reachable, and a multiple of the secret point.
void secretPointOperations() {
    _tvUnsigned256 k = arbitraryValue();
    _tvCurvePt base = _tvCurvePt::m_s_G;
    base.multiplyPt(k);  // public computation, a projective point with z != 1
    _tvUnsigned256 e = arbitraryValue();
    makeSecret(base);
    makeSecret(e);

    _tvCurvePt twice = base;
    twice.doublePt();
    _tvCurvePt sum = base;
    sum.addPt(base);  // equal points: the doubled candidate is selected
    _tvCurvePt zero = base;
    zero.addPt(_tvCurvePt::m_s_Zero);
    _tvCurvePt negated = base;
    negated.y = FieldInt256();
    negated.y.subtract(base.y);
    _tvCurvePt cancelled = base;
    cancelled.addPt(negated);  // P + (-P)
    _tvCurvePt multiple = base;
    multiple.multiplyPt(e);
    multiple.normalizePt();
    twice.normalizePt();
    sum.normalizePt();
    cancelled.normalizePt();

    declassify(base);
    declassify(twice);
    declassify(sum);
    declassify(zero);
    declassify(cancelled);
    declassify(multiple);
    check(twice == sum, "P + P = 2P");
    check(zero == base, "P + 0 = P");
    check(cancelled == _tvCurvePt::m_s_Zero, "P + (-P) = 0");
    check(multiple.isOnCurve(), "e·P on the curve");
}

// Deliberately leaks: a branch on a secret bit and a table index from a secret nibble.
void canary() {
    _tvUnsigned256 k = arbitraryValue();
    makeSecret(k);
    static const char *const parity[2] = {"even", "odd"};
    if (k.value[0] & 1u) {
        std::printf("canary: the secret is %s\n", parity[1]);
    } else {
        std::printf("canary: the secret is %s\n", parity[0]);
    }
}

}  // namespace

int main(int argc, char **argv) {
    bool runCanary = argc > 1 && std::strcmp(argv[1], "--canary") == 0;
    integerOperations();
    fieldOperations();
    scalarMultiplication();
    secretPointOperations();
    if (runCanary)
        canary();
    if (g_failures != 0) {
        std::printf("%d check(s) failed\n", g_failures);
        return 1;
    }
    std::printf("ctcheck: done\n");
    return 0;
}
