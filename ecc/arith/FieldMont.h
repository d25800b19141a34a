// FieldMont<N>: the integers modulo an odd m below 2^(64N), in N 64-bit limbs and Montgomery form.
//
// An element v is held as v·R mod m with R = 2^(64N), fully reduced into [0, m), limbs least significant
// first. A product is a Montgomery product (a·b·R⁻¹ mod m) with its carries in unsigned __int128; a sum, a
// difference and a halving make one correction by m, chosen with a mask. No branch and no memory index
// depends on an element: every loop runs a count fixed by N, and every mask comes from a carry or a low
// bit. (The one exponent, m − 2 in invert, is public.)
//
// Nothing here is tied to a curve's prime: the generic curves use it modulo p (FixedField.h), and any odd
// modulus of the same size, the group order included, fits it the same way. N runs from 3 to 9 (P-192 to
// P-521); each size is its own instantiation, so every loop count is a compile-time constant.
#pragma once

#include <cstdint>

#include "ecc/secp256k1/ConstantTime.h"

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
    // c = a + b mod m, c = a − b mod m, c = −a mod m (0 stays 0), c = a/2 mod m. Inputs below m.
    void add(const Elem &a, const Elem &b, Elem &c) const;
    void sub(const Elem &a, const Elem &b, Elem &c) const;
    void neg(const Elem &a, Elem &c) const;
    void halve(const Elem &a, Elem &c) const;
    // c = a·R mod m for a plain value a below m, and back: c = a·R⁻¹ mod m.
    void toMont(const Elem &a, Elem &c) const { mul(a, m_r2, c); }
    void fromMont(const Elem &a, Elem &c) const;
    // c = a^(m−2) by Montgomery products: for a prime m, the inverse of a Montgomery-form a, in Montgomery
    // form. 0 gives 0. A fixed 4-bit window over the public exponent; the table is wiped afterwards.
    void invert(const Elem &a, Elem &c) const;

    // 1 when a = b (a = 0), else 0; every limb is compared, whatever the earlier ones held.
    static bool isEqual(const Elem &a, const Elem &b);
    static bool isZero(const Elem &a);

  private:
    typedef unsigned __int128 u128;
    typedef std::uint64_t u64;

    // c = t − m when that does not go below zero, else t; t is N limbs plus a top carry (t < 2m).
    void subtractOnce(const u64 *t, u64 top, Elem &c) const;

    Elem m_m{};
    Elem m_one{};  // R mod m
    Elem m_r2{};   // R² mod m
    u64 m_n0 = 0;  // −m⁻¹ mod 2^64
};

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
void FieldMont<N>::subtractOnce(const u64 *t, u64 top, Elem &c) const {
    u64 d[N];
    u64 borrow = 0;
#pragma GCC unroll 16
    for (int j = 0; j < N; ++j) {
        const u128 x = (u128)t[j] - m_m.w[j] - borrow;
        d[j] = (u64)x;
        borrow = (u64)(x >> 64) & 1u;
    }
    // t − m = (top − borrow)·2^(64N) + d, and t < 2m: all ones when t < m (keep t), zero otherwise.
    const u64 keep = ct::opaque64(top - borrow);
#pragma GCC unroll 16
    for (int j = 0; j < N; ++j)
        c.w[j] = (t[j] & keep) | (d[j] & ~keep);
}

// Operand-scanning Montgomery product with the reduction folded into each row: row i adds a·b[i] and
// q·m, where q = (t[0] + a[0]·b[i])·(−m⁻¹) mod 2^64 makes the row's lowest limb zero, and shifts down by
// one limb. The two products of a row ride separate carries, which lets their multiplications overlap.
// t stays below 2m, so N limbs and a carry hold it.
template <int N>
void FieldMont<N>::mul(const Elem &a, const Elem &b, Elem &c) const {
    u64 t[N + 1] = {0};
#pragma GCC unroll 16
    for (int i = 0; i < N; ++i) {
        const u64 bi = b.w[i];
        u128 x = (u128)a.w[0] * bi + t[0];
        const u64 q = (u64)x * m_n0;
        u128 y = (u128)q * m_m.w[0] + (u64)x;  // low limb 0 by the choice of q
        u64 carryAB = (u64)(x >> 64);
        u64 carryQM = (u64)(y >> 64);
#pragma GCC unroll 16
        for (int j = 1; j < N; ++j) {
            x = (u128)a.w[j] * bi + t[j] + carryAB;  // below 2^128: (2^64 − 1)² + 2(2^64 − 1)
            carryAB = (u64)(x >> 64);
            y = (u128)q * m_m.w[j] + (u64)x + carryQM;
            carryQM = (u64)(y >> 64);
            t[j - 1] = (u64)y;
        }
        const u128 top = (u128)t[N] + carryAB + carryQM;
        t[N - 1] = (u64)top;
        t[N] = (u64)(top >> 64);
    }
    subtractOnce(t, t[N], c);
}

// The square in full (each cross product once, then doubled, then the squares of the limbs added),
// followed by a Montgomery reduction of its 2N limbs.
template <int N>
void FieldMont<N>::sqr(const Elem &a, Elem &c) const {
    u64 t[2 * N] = {0};
#pragma GCC unroll 16
    for (int i = 0; i < N - 1; ++i) {
        u128 acc = 0;
#pragma GCC unroll 16
        for (int j = i + 1; j < N; ++j) {
            acc += (u128)a.w[i] * a.w[j] + t[i + j];
            t[i + j] = (u64)acc;
            acc >>= 64;
        }
        t[i + N] = (u64)acc;
    }
    // t = 2·t + the squares of the limbs; the doubling's carry moves up one limb at a time.
    u128 acc = 0;
    u64 shiftedOut = 0;
#pragma GCC unroll 16
    for (int i = 0; i < N; ++i) {
        const u128 square = (u128)a.w[i] * a.w[i];
        const u64 lo = t[2 * i], hi = t[2 * i + 1];
        acc += (u128)((lo << 1) | shiftedOut) + (u64)square;
        t[2 * i] = (u64)acc;
        acc >>= 64;
        acc += (u128)((hi << 1) | (lo >> 63)) + (u64)(square >> 64);
        t[2 * i + 1] = (u64)acc;
        acc >>= 64;
        shiftedOut = hi >> 63;
    }
    // Reduction: limb i is cleared by adding q·m·2^(64i); the carry out of the top limb is kept apart.
    u64 top = 0;
#pragma GCC unroll 16
    for (int i = 0; i < N; ++i) {
        const u64 q = t[i] * m_n0;
        u128 r = ((u128)q * m_m.w[0] + t[i]) >> 64;
#pragma GCC unroll 16
        for (int j = 1; j < N; ++j) {
            r += (u128)q * m_m.w[j] + t[i + j];
            t[i + j] = (u64)r;
            r >>= 64;
        }
        r += (u128)t[i + N] + top;
        t[i + N] = (u64)r;
        top = (u64)(r >> 64);
    }
    subtractOnce(t + N, top, c);
}

template <int N>
void FieldMont<N>::add(const Elem &a, const Elem &b, Elem &c) const {
    u64 s[N];
    u128 carry = 0;
#pragma GCC unroll 16
    for (int j = 0; j < N; ++j) {
        carry += (u128)a.w[j] + b.w[j];
        s[j] = (u64)carry;
        carry >>= 64;
    }
    subtractOnce(s, (u64)carry, c);
}

template <int N>
void FieldMont<N>::sub(const Elem &a, const Elem &b, Elem &c) const {
    u64 d[N];
    u64 borrow = 0;
#pragma GCC unroll 16
    for (int j = 0; j < N; ++j) {
        const u128 x = (u128)a.w[j] - b.w[j] - borrow;
        d[j] = (u64)x;
        borrow = (u64)(x >> 64) & 1u;
    }
    // Went below zero: add m back (mask all ones), else add nothing.
    const u64 addMask = ct::opaque64(0 - borrow);
    u128 carry = 0;
#pragma GCC unroll 16
    for (int j = 0; j < N; ++j) {
        carry += (u128)d[j] + (m_m.w[j] & addMask);
        c.w[j] = (u64)carry;
        carry >>= 64;
    }
}

template <int N>
void FieldMont<N>::neg(const Elem &a, Elem &c) const {
    const Elem zero{};
    sub(zero, a, c);
}

// An odd a is made even by adding m (odd); the sum, below 2m, is shifted right with its carry on top.
template <int N>
void FieldMont<N>::halve(const Elem &a, Elem &c) const {
    const u64 addMask = ct::opaque64(0 - (a.w[0] & 1u));
    u64 s[N];
    u128 carry = 0;
#pragma GCC unroll 16
    for (int j = 0; j < N; ++j) {
        carry += (u128)a.w[j] + (m_m.w[j] & addMask);
        s[j] = (u64)carry;
        carry >>= 64;
    }
#pragma GCC unroll 16
    for (int j = 0; j < N - 1; ++j)
        c.w[j] = (s[j] >> 1) | (s[j + 1] << 63);
    c.w[N - 1] = (s[N - 1] >> 1) | ((u64)carry << 63);
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
    ct::wipe(powers, sizeof powers);
    ct::wipe(&r, sizeof r);
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

}  // namespace ecckey
