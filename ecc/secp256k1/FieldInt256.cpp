#include "ecc/secp256k1/FieldInt256.h"

#include <cstdint>

#include "support/ConstantTime.h"
#include "support/Invariant.h"
#include "support/Wipe.h"

namespace ecckey {

namespace {

// Whether 0 <= v < p: what every operation takes and gives. Only the invariant checks call it, and a
// build without them does not emit it.
[[maybe_unused]] bool isReduced(const _tvUnsigned256 &v) {
    return v < m_Modulus;
}

}  // namespace

FieldInt256::FieldInt256(const _tvUnsigned256 &v) : _tvUnsigned256(v) {
    // 2p > 2^256, so one conditional subtraction reduces any 256-bit value.
    _tvUnsigned256::subtract(m_Modulus, static_cast<unsigned>(*this >= m_Modulus));
    ECCKEY_INVARIANT(isReduced(*this));
}

void FieldInt256::add(const FieldInt256 &other) {
    ECCKEY_INVARIANT(isReduced(*this) && isReduced(other));
    unsigned carry = _tvUnsigned256::add(other, 1);
    _tvUnsigned256::subtract(m_Modulus, carry | static_cast<unsigned>(*this >= m_Modulus));
    ECCKEY_INVARIANT(isReduced(*this));
}

void FieldInt256::subtract(const FieldInt256 &other) {
    ECCKEY_INVARIANT(isReduced(*this) && isReduced(other));
    unsigned borrow = _tvUnsigned256::subtract(other, 1);
    _tvUnsigned256::add(m_Modulus, borrow);
    ECCKEY_INVARIANT(isReduced(*this));
}

void FieldInt256::multiply2() {
    ECCKEY_INVARIANT(isReduced(*this));
    unsigned carry = shiftLeft1();
    _tvUnsigned256::subtract(m_Modulus, carry | static_cast<unsigned>(*this >= m_Modulus));
    ECCKEY_INVARIANT(isReduced(*this));
}

namespace {

// The multiplication runs on 64-bit limbs with 128-bit intermediates (GCC and Clang on 64-bit targets):
// a quarter of the partial products of 32-bit words. Its loops are unrolled: the trip counts are fixed
// and the straight-line carry chains are what makes a multiplication cheap.
typedef unsigned __int128 u128;

// p = 2^256 - 2^32 - 977 as 64-bit limbs.
constexpr std::uint64_t kModulusLimbs[4] = {0xFFFFFFFEFFFFFC2Full, 0xFFFFFFFFFFFFFFFFull,
                                            0xFFFFFFFFFFFFFFFFull, 0xFFFFFFFFFFFFFFFFull};

// The words taken in pairs as 64-bit limbs, least significant first (limb i = words 2i and 2i + 1).
inline void toLimbs(const std::uint32_t *w, std::uint64_t *limb) {
    for (std::size_t i = 0; i < 4; ++i)
        limb[i] = w[2 * i] | static_cast<std::uint64_t>(w[2 * i + 1]) << 32;
}

}  // namespace

void FieldInt256::multiply(const FieldInt256 &other) {
    ECCKEY_INVARIANT(isReduced(*this) && isReduced(other));
    // p = 2^256 - c and the Barrett factor floor(2^512 / p) = 2^256 + c, with c = 2^32 + 977.
    // The steps run on 64-bit limbs, each a pair of 32-bit words, with 128-bit intermediates; every
    // quantity below is the same integer a word-by-word evaluation would form.
    const std::uint64_t c = 0x1000003D1ull;
    std::uint64_t a[4], b[4];
    toLimbs(value, a);
    toLimbs(other.value, b);

    // product0 = this · other, 512 bits, schoolbook. a·b + p + carry stays below 2^128.
    std::uint64_t product0[8] = {0};
#pragma GCC unroll 16
    for (int i = 0; i < 4; ++i) {
        u128 carry = 0;
#pragma GCC unroll 16
        for (int j = 0; j < 4; ++j) {
            carry += static_cast<u128>(a[i]) * b[j] + product0[i + j];
            product0[i + j] = static_cast<std::uint64_t>(carry);
            carry >>= 64;
        }
        product0[i + 4] = static_cast<std::uint64_t>(carry);
    }

    // product1 = product0 · (2^256 + c), 768 bits: the c part and the 2^256 part (four limbs up) in one
    // carry pass. Its top 256 bits are the quotient estimate q = floor(product0 · factor / 2^512), at most
    // one below the true quotient.
    std::uint64_t q[4];
    {
        u128 carry = 0;
#pragma GCC unroll 16
        for (int i = 0; i < 12; ++i) {
            if (i < 8)
                carry += static_cast<u128>(product0[i]) * c;
            if (i >= 4)
                carry += product0[i - 4];
            if (i >= 8)
                q[i - 8] = static_cast<std::uint64_t>(carry);
            carry >>= 64;
        }
    }

    // product2 = q · p = q·2^256 - q·c. Only its low 288 bits enter the difference, so five limbs are
    // formed: q·c first, then subtracted from q[0]·2^256.
    std::uint64_t product2[5];
    {
        std::uint64_t qc[5];
        u128 carry = 0;
#pragma GCC unroll 16
        for (int i = 0; i < 4; ++i) {
            carry += static_cast<u128>(q[i]) * c;
            qc[i] = static_cast<std::uint64_t>(carry);
            carry >>= 64;
        }
        qc[4] = static_cast<std::uint64_t>(carry);
        std::uint64_t borrow = 0;
#pragma GCC unroll 16
        for (int i = 0; i < 5; ++i) {
            u128 d = static_cast<u128>(i == 4 ? q[0] : 0) - qc[i] - borrow;
            product2[i] = static_cast<std::uint64_t>(d);
            borrow = static_cast<std::uint64_t>(d >> 127);
        }
    }

    // difference = product0 - product2 over the low 288 bits; the true remainder (below 2p) fits there.
    std::uint64_t difference[5];
    {
        std::uint64_t borrow = 0;
#pragma GCC unroll 16
        for (int i = 0; i < 5; ++i) {
            u128 d = static_cast<u128>(product0[i]) - product2[i] - borrow;
            difference[i] = static_cast<std::uint64_t>(d);
            borrow = static_cast<std::uint64_t>(d >> 127);
        }
    }

    // One final conditional subtraction of p, when bits 256..287 are set or the low 256 bits reach p
    // (the subtraction of p from them does not borrow).
    std::uint64_t reduced[4];
    std::uint64_t borrow = 0;
#pragma GCC unroll 16
    for (int i = 0; i < 4; ++i) {
        u128 d = static_cast<u128>(difference[i]) - kModulusLimbs[i] - borrow;
        reduced[i] = static_cast<std::uint64_t>(d);
        borrow = static_cast<std::uint64_t>(d >> 127);
    }
    unsigned over = static_cast<unsigned>(static_cast<std::uint32_t>(difference[4]) != 0) |
                    static_cast<unsigned>(borrow ^ 1u);
    std::uint64_t take = ct::opaque64(0ull - over);
#pragma GCC unroll 16
    for (std::size_t i = 0; i < 4; ++i) {
        std::uint64_t limb = (reduced[i] & take) | (difference[i] & ~take);
        value[2 * i] = static_cast<std::uint32_t>(limb);
        value[2 * i + 1] = static_cast<std::uint32_t>(limb >> 32);
    }
    ECCKEY_INVARIANT(isReduced(*this));
}

void FieldInt256::square() {
    multiply(*this);
}

namespace {

// v = v^(2^count)·factor.
void squareThenMultiply(FieldInt256 &v, int count, const FieldInt256 &factor) {
    for (int i = 0; i < count; ++i)
        v.square();
    v.multiply(factor);
}

}  // namespace

// Fermat: x^(p − 2). p − 2 reads, from the top, 223 ones, a zero, 22 ones, 0000, 1, 0, 11, 0, 1; the chain
// builds x^(2^k − 1) for the runs' lengths k, then shifts each run in: 255 squarings, 15 products, a third
// of the binary Euclid's time.
void FieldInt256::reciprocal() {
    ECCKEY_INVARIANT(isReduced(*this));
    FieldInt256 x = *this;
    FieldInt256 x2 = x, x3, x6, x9, x11, x22, x44, x88, t;  // xk = x^(2^k − 1)
    squareThenMultiply(x2, 1, x);
    x3 = x2;
    squareThenMultiply(x3, 1, x);
    x6 = x3;
    squareThenMultiply(x6, 3, x3);
    x9 = x6;
    squareThenMultiply(x9, 3, x3);
    x11 = x9;
    squareThenMultiply(x11, 2, x2);
    x22 = x11;
    squareThenMultiply(x22, 11, x11);
    x44 = x22;
    squareThenMultiply(x44, 22, x22);
    x88 = x44;
    squareThenMultiply(x88, 44, x44);
    t = x88;
    squareThenMultiply(t, 88, x88);  // x176
    squareThenMultiply(t, 44, x44);  // x220
    squareThenMultiply(t, 3, x3);    // x223
    squareThenMultiply(t, 23, x22);  // the zero and the 22 ones
    squareThenMultiply(t, 5, x);     // 0000 1
    squareThenMultiply(t, 3, x2);    // 0 11
    squareThenMultiply(t, 2, x);     // 0 1
    *this = t;
    FieldInt256 *secrets[] = {&x, &x2, &x3, &x6, &x9, &x11, &x22, &x44, &x88, &t};
    for (FieldInt256 *v : secrets)
        wipe(v, sizeof *v);
    ECCKEY_INVARIANT(isReduced(*this));
}

void FieldInt256::replace(const FieldInt256 &other, unsigned enable) {
    _tvUnsigned256::replace(other, enable);
}

bool FieldInt256::operator==(const FieldInt256 &other) const {
    return _tvUnsigned256::operator==(other);
}
bool FieldInt256::operator!=(const FieldInt256 &other) const {
    return _tvUnsigned256::operator!=(other);
}
bool FieldInt256::operator<(const FieldInt256 &other) const {
    return _tvUnsigned256::operator<(other);
}
bool FieldInt256::operator<=(const FieldInt256 &other) const {
    return _tvUnsigned256::operator<=(other);
}
bool FieldInt256::operator>(const FieldInt256 &other) const {
    return _tvUnsigned256::operator>(other);
}
bool FieldInt256::operator>=(const FieldInt256 &other) const {
    return _tvUnsigned256::operator>=(other);
}
bool FieldInt256::operator<(const _tvUnsigned256 &other) const {
    return _tvUnsigned256::operator<(other);
}
bool FieldInt256::operator>=(const _tvUnsigned256 &other) const {
    return _tvUnsigned256::operator>=(other);
}

}  // namespace ecckey
