// FieldMont<N>: the integers modulo an odd m below 2^(64N), in N 64-bit limbs and Montgomery form.
//
// An element v is held as v·R mod m with R = 2^(64N), fully reduced into [0, m), limbs least significant
// first. A product is a Montgomery product (a·b·R⁻¹ mod m): 64 × 64 → 128-bit products in unsigned
// __int128, summed by add-with-carry chains. A sum, a difference and a halving make one correction by m,
// chosen with a mask. No branch and no memory index depends on an element: every loop runs a count fixed
// by N, and every mask comes from a carry or a low bit. (The one exponent, m − 2 in invert, is public.)
//
// Nothing here is tied to a curve's prime: the generic curves use it modulo p (FixedField.h), and any odd
// modulus of the same size, the group order included, fits it the same way. The curves use N from 3 to 9
// (P-192 to P-521); each size is its own instantiation, so every loop count is a compile-time constant.
#pragma once

#include <cstdint>

#if defined(__x86_64__)
#include <x86intrin.h>
#endif

#include "support/ConstantTime.h"
#include "support/Invariant.h"
#include "support/Wipe.h"

namespace ecckey {

template <int N>
class FieldMont {
    static_assert(N >= 2 && N <= 9, "FieldMont serves moduli of 2 to 9 limbs");

  public:
    struct Elem {
        std::uint64_t w[N];
    };

    // Takes the modulus m (N limbs) and derives the Montgomery constants. False, leaving the field unusable,
    // when m is even or below 3. Runs in time that depends on m only.
    [[nodiscard]] bool setUp(const Elem &m);

    const Elem &modulus() const { return m_m; }
    // 1 in Montgomery form: R mod m.
    const Elem &one() const { return m_one; }

    // c = a·b·R⁻¹ mod m: the product of two Montgomery-form values, in Montgomery form. c may be a or b.
    void mul(const Elem &a, const Elem &b, Elem &c) const;
    // c = a²·R⁻¹ mod m, cheaper than mul(a, a, c): each cross product is formed once.
    void sqr(const Elem &a, Elem &c) const;
    // c = a + b mod m, c = a − b mod m, c = −a mod m (0 stays 0), c = a/2 mod m. Inputs below m. Each is
    // a few instructions a limb, so each is inlined where it is used.
    __attribute__((always_inline)) void add(const Elem &a, const Elem &b, Elem &c) const;
    __attribute__((always_inline)) void sub(const Elem &a, const Elem &b, Elem &c) const;
    __attribute__((always_inline)) void neg(const Elem &a, Elem &c) const;
    __attribute__((always_inline)) void halve(const Elem &a, Elem &c) const;
    // c = a·R mod m for a plain value a below m, and back: c = a·R⁻¹ mod m.
    void toMont(const Elem &a, Elem &c) const { mul(a, m_r2, c); }
    void fromMont(const Elem &a, Elem &c) const;
    // c = a^(m−2) by Montgomery products: for a prime m, the inverse of a Montgomery-form a, in Montgomery
    // form. 0 gives 0. A fixed 4-bit window over the public exponent; the table is wiped afterwards.
    void invert(const Elem &a, Elem &c) const;

    // True when a = b (isZero: when a = 0). Every limb is compared, whatever the earlier ones held, and the
    // answer is formed without a branch; only the caller's use of it may branch.
    [[nodiscard]] static bool isEqual(const Elem &a, const Elem &b);
    [[nodiscard]] static bool isZero(const Elem &a);
    // True when a < m: every element the operations above take and give is. Branch-free; the invariant
    // checks (support/Invariant.h) are its callers.
    [[nodiscard]] bool isReduced(const Elem &a) const;
    // c = a where mask is all ones, b where it is zero (a mask from ct::mask64). c may be a or b.
    static void select(std::uint64_t mask, const Elem &a, const Elem &b, Elem &c) {
        ECCKEY_INVARIANT(mask == 0 || mask == ~std::uint64_t(0));
        for (int j = 0; j < N; ++j)
            c.w[j] = (a.w[j] & mask) | (b.w[j] & ~mask);
    }

  private:
    typedef unsigned __int128 u128;
    typedef std::uint64_t u64;

    // out = a + b + carry, returning the carry out (0 or 1); out = a − b − borrow, returning the borrow.
    // On x86-64 these are the compiler's add-with-carry intrinsics, which it chains into adc and sbb: the
    // same sums through unsigned __int128 cost GCC three times the instructions (a zeroed high half, a
    // shift and a mask per limb). Elsewhere they are written through unsigned __int128.
    static unsigned char addCarry(unsigned char carry, u64 a, u64 b, u64 &out);
    static unsigned char subBorrow(unsigned char borrow, u64 a, u64 b, u64 &out);
    // t[0..len] += x·y[0..len − 1] for a fresh limb t[len] (its old value is overwritten) and a partial sum
    // in t[0..len − 1]: the total then fits, and no carry leaves t[len].
    __attribute__((always_inline)) static void addProductRow(u64 *t, u64 x, const u64 *y, int len);
    // t[0..N] += x·m + carryIn·2^(64N); returns the carry out of t[N] (0 or 1), which belongs one limb up.
    __attribute__((always_inline)) u64 addReductionRow(u64 *t, u64 x, u64 carryIn) const;
    // lo[j], hi[j] = the halves of x·y[j] for j below len.
    __attribute__((always_inline)) static void rowProducts(u64 x, const u64 *y, int len, u64 *lo, u64 *hi);
    // c = t·R⁻¹ mod m for a t of 2N limbs below m·R (a product of two values below m). Inlined into mul
    // and sqr, which then keep part of t in registers between the product and its reduction.
    __attribute__((always_inline)) void reduce(u64 *t, Elem &c) const;
    // c = t − m when that does not go below zero, else t; t is N limbs plus a top carry (t < 2m). Inlined
    // into every caller: a call would send t through memory.
    __attribute__((always_inline)) void subtractOnce(const u64 *t, u64 top, Elem &c) const;

    Elem m_m{};
    Elem m_one{};  // R mod m
    Elem m_r2{};   // R² mod m
    u64 m_n0 = 0;  // −m⁻¹ mod 2^64
};

template <int N>
inline unsigned char FieldMont<N>::addCarry(unsigned char carry, u64 a, u64 b, u64 &out) {
#if defined(__x86_64__)
    unsigned long long sum;
    carry = _addcarry_u64(carry, a, b, &sum);
    out = sum;
    return carry;
#else
    const u128 sum = (u128)a + b + carry;
    out = (u64)sum;
    return (unsigned char)(sum >> 64);
#endif
}

template <int N>
inline unsigned char FieldMont<N>::subBorrow(unsigned char borrow, u64 a, u64 b, u64 &out) {
#if defined(__x86_64__)
    unsigned long long difference;
    borrow = _subborrow_u64(borrow, a, b, &difference);
    out = difference;
    return borrow;
#else
    const u128 difference = (u128)a - b - borrow;
    out = (u64)difference;
    return (unsigned char)(difference >> 127);
#endif
}

template <int N>
bool FieldMont<N>::setUp(const Elem &m) {
    int bits = 0;
    for (int i = N - 1; i >= 0 && bits == 0; --i)
        for (int b = 63; b >= 0 && bits == 0; --b)
            if ((m.w[i] >> b) & 1u)
                bits = 64 * i + b + 1;
    if ((m.w[0] & 1u) == 0 || bits < 2)
        return false;
    m_m = m;
    // Newton's iteration doubles the correct low bits of m⁻¹ mod 2^64: 3 from m itself (m·m = 1 mod 8 for
    // odd m), then 6, 12, 24, 48, 96.
    u64 inverse = m.w[0];
    for (int i = 0; i < 5; ++i)
        inverse *= 2 - m.w[0] * inverse;
    m_n0 = 0 - inverse;
    // R mod m: 2^(bits − 1) is below m; doubling it 64N − bits + 1 times reaches 2^(64N).
    Elem r{};
    r.w[(bits - 1) / 64] = u64(1) << ((bits - 1) % 64);
    for (int i = 0; i < 64 * N - bits + 1; ++i)
        add(r, r, r);
    m_one = r;
    // R² mod m is the Montgomery form of R = (2^64)^N: 2^64 in Montgomery form by 64 doublings of R mod m,
    // then its N-th power by Montgomery products.
    Elem two64 = m_one;
    for (int i = 0; i < 64; ++i)
        add(two64, two64, two64);
    m_r2 = two64;
    for (int i = 1; i < N; ++i)
        mul(m_r2, two64, m_r2);
    return true;
}

template <int N>
inline void FieldMont<N>::subtractOnce(const u64 *t, u64 top, Elem &c) const {
    u64 d[N];
    unsigned char borrow = 0;
#pragma GCC unroll 32
    for (int j = 0; j < N; ++j)
        borrow = subBorrow(borrow, t[j], m_m.w[j], d[j]);
    // t − m = (top − borrow)·2^(64N) + d, and t < 2m: all ones when t < m (keep t), zero otherwise.
    const u64 keep = ct::opaque64(top - borrow);
#pragma GCC unroll 32
    for (int j = 0; j < N; ++j)
        c.w[j] = (t[j] & keep) | (d[j] & ~keep);
}

template <int N>
inline void FieldMont<N>::rowProducts(u64 x, const u64 *y, int len, u64 *lo, u64 *hi) {
#pragma GCC unroll 32
    for (int j = 0; j < len; ++j) {
        const u128 product = (u128)x * y[j];
        lo[j] = (u64)product;
        hi[j] = (u64)(product >> 64);
    }
}

// The low halves of the products go into one carry chain and the high halves, one limb up, into a second:
// two runs of plain add-with-carry, where a single chain would have to carry two bits at every limb.
template <int N>
inline void FieldMont<N>::addProductRow(u64 *t, u64 x, const u64 *y, int len) {
    u64 lo[N], hi[N];
    rowProducts(x, y, len, lo, hi);
    unsigned char carry = 0;
#pragma GCC unroll 32
    for (int j = 0; j < len; ++j)
        carry = addCarry(carry, t[j], lo[j], t[j]);
    t[len] = carry;
    carry = 0;
#pragma GCC unroll 32
    for (int j = 0; j < len; ++j)
        carry = addCarry(carry, t[j + 1], hi[j], t[j + 1]);
}

template <int N>
inline typename FieldMont<N>::u64 FieldMont<N>::addReductionRow(u64 *t, u64 x, u64 carryIn) const {
    u64 lo[N], hi[N];
    rowProducts(x, m_m.w, N, lo, hi);
    unsigned char carry = 0;
#pragma GCC unroll 32
    for (int j = 0; j < N; ++j)
        carry = addCarry(carry, t[j], lo[j], t[j]);
    const unsigned char carryOfLow = addCarry(carry, t[N], carryIn, t[N]);
    carry = 0;
#pragma GCC unroll 32
    for (int j = 0; j < N; ++j)
        carry = addCarry(carry, t[j + 1], hi[j], t[j + 1]);
    // The row's sum stays below 2^(64(N + 2)), so at most one of the two carries is set.
    return (u64)carryOfLow + carry;
}

// Montgomery reduction by rows: row i adds q·m at limb i, with q = t[i]·(−m⁻¹) mod 2^64 chosen to clear
// limb i. A row's carry out lands where the next row's top limb is, and is added there. The result,
// t/R, is below 2m.
template <int N>
inline void FieldMont<N>::reduce(u64 *t, Elem &c) const {
    u64 carry = 0;
#pragma GCC unroll 32
    for (int i = 0; i < N; ++i)
        carry = addReductionRow(t + i, t[i] * m_n0, carry);
    subtractOnce(t + N, carry, c);
}

// The full product by rows, row i adding a[i]·b at limb i (its top limb, i + N, is fresh), then the
// reduction.
template <int N>
void FieldMont<N>::mul(const Elem &a, const Elem &b, Elem &c) const {
    ECCKEY_INVARIANT(isReduced(a) && isReduced(b));
    u64 t[2 * N] = {0};
#pragma GCC unroll 32
    for (int i = 0; i < N; ++i)
        addProductRow(t + i, a.w[i], b.w, N);
    reduce(t, c);
    ECCKEY_INVARIANT(isReduced(c));
}

// The full square: the cross products a[i]·a[j], i < j, each once (row i adds a[i]·a[i+1..N−1] at limb
// 2i + 1; its top limb, i + N, is fresh), doubled, plus the squares of the limbs; then the reduction.
template <int N>
void FieldMont<N>::sqr(const Elem &a, Elem &c) const {
    ECCKEY_INVARIANT(isReduced(a));
    u64 t[2 * N] = {0};
#pragma GCC unroll 32
    for (int i = 0; i < N - 1; ++i)
        addProductRow(t + 2 * i + 1, a.w[i], a.w + i + 1, N - 1 - i);
    // The cross sum is below 2^(128N − 1): doubling it loses no bit.
    unsigned char bit = 0;
#pragma GCC unroll 32
    for (int j = 0; j < 2 * N; ++j)
        bit = addCarry(bit, t[j], t[j], t[j]);
    unsigned char sumCarry = 0;
#pragma GCC unroll 32
    for (int i = 0; i < N; ++i) {
        const u128 square = (u128)a.w[i] * a.w[i];
        sumCarry = addCarry(sumCarry, t[2 * i], (u64)square, t[2 * i]);
        sumCarry = addCarry(sumCarry, t[2 * i + 1], (u64)(square >> 64), t[2 * i + 1]);
    }
    reduce(t, c);
    ECCKEY_INVARIANT(isReduced(c));
}

template <int N>
inline void FieldMont<N>::add(const Elem &a, const Elem &b, Elem &c) const {
    ECCKEY_INVARIANT(isReduced(a) && isReduced(b));
    u64 s[N];
    unsigned char carry = 0;
#pragma GCC unroll 32
    for (int j = 0; j < N; ++j)
        carry = addCarry(carry, a.w[j], b.w[j], s[j]);
    subtractOnce(s, carry, c);
    ECCKEY_INVARIANT(isReduced(c));
}

template <int N>
inline void FieldMont<N>::sub(const Elem &a, const Elem &b, Elem &c) const {
    ECCKEY_INVARIANT(isReduced(a) && isReduced(b));
    u64 d[N];
    unsigned char borrow = 0;
#pragma GCC unroll 32
    for (int j = 0; j < N; ++j)
        borrow = subBorrow(borrow, a.w[j], b.w[j], d[j]);
    // Went below zero: add m back (mask all ones), else add nothing.
    const u64 addMask = ct::opaque64(0 - (u64)borrow);
    unsigned char carry = 0;
#pragma GCC unroll 32
    for (int j = 0; j < N; ++j)
        carry = addCarry(carry, d[j], m_m.w[j] & addMask, c.w[j]);
    ECCKEY_INVARIANT(isReduced(c));
}

template <int N>
inline void FieldMont<N>::neg(const Elem &a, Elem &c) const {
    const Elem zero{};
    sub(zero, a, c);
}

// An odd a is made even by adding m (odd); the sum, below 2m, is shifted right with its carry on top.
template <int N>
inline void FieldMont<N>::halve(const Elem &a, Elem &c) const {
    ECCKEY_INVARIANT(isReduced(a));
    const u64 addMask = ct::opaque64(0 - (a.w[0] & 1u));
    u64 s[N];
    unsigned char carry = 0;
#pragma GCC unroll 32
    for (int j = 0; j < N; ++j)
        carry = addCarry(carry, a.w[j], m_m.w[j] & addMask, s[j]);
#pragma GCC unroll 32
    for (int j = 0; j < N - 1; ++j)
        c.w[j] = (s[j] >> 1) | (s[j + 1] << 63);
    c.w[N - 1] = (s[N - 1] >> 1) | ((u64)carry << 63);
    ECCKEY_INVARIANT(isReduced(c));
}

template <int N>
void FieldMont<N>::fromMont(const Elem &a, Elem &c) const {
    Elem plainOne{};
    plainOne.w[0] = 1;
    mul(a, plainOne, c);
}

template <int N>
void FieldMont<N>::invert(const Elem &a, Elem &c) const {
    // e = m − 2 (at least 1: m is odd and at least 3).
    Elem e;
    u64 borrow = 2;
    for (int j = 0; j < N; ++j) {
        e.w[j] = m_m.w[j] - borrow;
        borrow = m_m.w[j] < borrow ? 1 : 0;
    }
    // powers[i] = a^i for i = 0..15.
    Elem powers[16];
    powers[0] = m_one;
    powers[1] = a;
    for (int i = 2; i < 16; ++i)
        mul(powers[i - 1], a, powers[i]);
    Elem r = m_one;
    bool started = false;
    for (int nibble = 16 * N - 1; nibble >= 0; --nibble) {
        const unsigned digit = (unsigned)(e.w[nibble / 16] >> (4 * (nibble % 16))) & 15u;
        if (started) {
            for (int s = 0; s < 4; ++s)
                sqr(r, r);
        }
        // The exponent is public: skipping its leading zero nibbles and its zero nibbles' products, and
        // indexing the table by its nibbles, tells nothing about a.
        if (digit != 0) {
            mul(r, powers[digit], r);
            started = true;
        }
    }
    c = r;
    wipe(powers, sizeof powers);
    wipe(&r, sizeof r);
}

template <int N>
bool FieldMont<N>::isEqual(const Elem &a, const Elem &b) {
    u64 diff = 0;
    for (int j = 0; j < N; ++j)
        diff |= a.w[j] ^ b.w[j];
    // The top bit of diff | −diff is set exactly when diff is not zero.
    return (((diff | (0 - diff)) >> 63) ^ 1u) != 0;
}

template <int N>
bool FieldMont<N>::isZero(const Elem &a) {
    const Elem zero{};
    return isEqual(a, zero);
}

template <int N>
bool FieldMont<N>::isReduced(const Elem &a) const {
    u64 ignored;
    unsigned char borrow = 0;
    for (int j = 0; j < N; ++j)
        borrow = subBorrow(borrow, a.w[j], m_m.w[j], ignored);
    return borrow != 0;  // a − m went below zero
}

}  // namespace ecckey
