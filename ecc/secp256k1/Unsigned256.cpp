#include "ecc/secp256k1/Unsigned256.h"

#include <cstring>

#include "ecc/secp256k1/CurvePt.h"
#include "ecc/secp256k1/FieldInt256.h"
#include "support/ConstantTime.h"
#include "support/DataBuffer.h"
#include "support/Invariant.h"
#include "support/MpInt.h"
#include "support/TovarMp.h"
#include "support/Wipe.h"

namespace ecckey {

// The mp_int conversions copy the object's 32-byte image as the little-endian byte string of the value.
static_assert(sizeof(_tvUnsigned256) == 32, "_tvUnsigned256 must be exactly eight 32-bit words");
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "the secp256k1 engine copies its words as a little-endian image"
#endif

// The fixed eight-word loops below are unrolled (#pragma GCC unroll): straight-line carry chains, and
// nothing in them could depend on the data anyway.

namespace {

// The running ordering comparison: r = (a[i] > b[i]) | ((a[i] == b[i]) & r) from word 0 up to word 7.
// The last word that differs decides; equal values leave the starting r (0 for strict, 1 otherwise).
// Each step turns flags into bits, never into a branch.
unsigned greaterThan(const std::uint32_t *a, const std::uint32_t *b, unsigned r) {
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) {
        unsigned gt = static_cast<unsigned>(a[i] > b[i]);
        unsigned eq = static_cast<unsigned>(a[i] == b[i]);
        r = gt | (eq & r);
    }
    return r;
}

}  // namespace

_tvUnsigned256::_tvUnsigned256(const unsigned char *bigEndian32) : value{} {
    // Byte j of the big-endian string is byte 31 - j of the little-endian image.
#pragma GCC unroll 32
    for (int j = 0; j < 32; ++j) {
        int le = 31 - j;
        value[le / 4] |= static_cast<std::uint32_t>(bigEndian32[j]) << (8 * (le % 4));
    }
}

_tvUnsigned256::_tvUnsigned256(const FieldInt256 &f) : value{} {
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i)
        value[i] = f.value[i];
}

unsigned _tvUnsigned256::add(const _tvUnsigned256 &other, unsigned enable) {
    std::uint32_t m = ct::takeMask(enable);
    std::uint64_t carry = 0;
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) {
        carry += static_cast<std::uint64_t>(value[i]) + (other.value[i] & m);
        value[i] = static_cast<std::uint32_t>(carry);
        carry >>= 32;
    }
    return static_cast<unsigned>(carry);
}

unsigned _tvUnsigned256::subtract(const _tvUnsigned256 &other, unsigned enable) {
    std::uint32_t m = ct::takeMask(enable);
    std::uint64_t borrow = 0;
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) {
        // A negative step wraps the 64-bit difference, setting its top bit: that is the borrow.
        std::uint64_t d = static_cast<std::uint64_t>(value[i]) - (other.value[i] & m) - borrow;
        value[i] = static_cast<std::uint32_t>(d);
        borrow = d >> 63;
    }
    return static_cast<unsigned>(borrow);
}

unsigned _tvUnsigned256::shiftLeft1() {
    unsigned out = value[7] >> 31;
#pragma GCC unroll 8
    for (int i = 7; i > 0; --i)
        value[i] = (value[i] << 1) | (value[i - 1] >> 31);
    value[0] <<= 1;
    return out;
}

void _tvUnsigned256::shiftRight1(unsigned enable) {
    std::uint32_t m = ct::takeMask(enable);
    std::uint32_t k = ct::keepMask(enable);
#pragma GCC unroll 8
    for (int i = 0; i < 7; ++i) {
        std::uint32_t shifted = (value[i] >> 1) | (value[i + 1] << 31);
        value[i] = (shifted & m) | (value[i] & k);
    }
    value[7] = ((value[7] >> 1) & m) | (value[7] & k);
}

void _tvUnsigned256::reciprocal(const _tvUnsigned256 &modulus) {
    // Invariant: x ≡ a·v and y ≡ b·v (mod modulus), v the input; x stays odd. Each step halves y (with b
    // halved modulo the modulus) when y is even, then, when y is odd, orders x <= y and replaces y by the
    // even y - x. The product x·y starts below 2^512 and halves at least once per step, so after 512
    // steps y = 0 and x = gcd = 1, leaving a = v^-1.
    _tvUnsigned256 x = modulus;
    _tvUnsigned256 y = *this;
    _tvUnsigned256 a = s_ZERO;
    _tvUnsigned256 b = s_ONE;
    _tvUnsigned256 halfModulus = modulus;  // (modulus + 1) / 2
    halfModulus.add(s_ONE, 1);
    halfModulus.shiftRight1(1);

    for (int step = 0; step < 512; ++step) {
        unsigned yEven = 1u - (y.value[0] & 1u);
        unsigned bOdd = b.value[0] & 1u;
        // y /= 2; b /= 2 mod modulus: b/2 when b is even, (b - 1)/2 + (modulus + 1)/2 when it is odd.
        y.shiftRight1(yEven);
        b.shiftRight1(yEven);
        b.add(halfModulus, yEven & bOdd);

        unsigned enable = y.value[0] & 1u;
        unsigned doSwap = enable & static_cast<unsigned>(x > y);
        x.swap(y, doSwap);
        y.subtract(x, enable);
        a.swap(b, doSwap);
        unsigned borrow = b.subtract(a, enable);
        b.add(modulus, borrow);
    }
    replace(a, static_cast<unsigned>(*this != s_ZERO));

    wipe(&x, sizeof x);
    wipe(&y, sizeof y);
    wipe(&a, sizeof a);
    wipe(&b, sizeof b);
}

void _tvUnsigned256::replace(const _tvUnsigned256 &other, unsigned enable) {
    std::uint32_t m = ct::takeMask(enable);
    std::uint32_t k = ct::keepMask(enable);
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i)
        value[i] = (other.value[i] & m) | (value[i] & k);
}

void _tvUnsigned256::swap(_tvUnsigned256 &other, unsigned enable) {
    std::uint32_t m = ct::takeMask(enable);
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) {
        std::uint32_t t = (value[i] ^ other.value[i]) & m;
        value[i] ^= t;
        other.value[i] ^= t;
    }
}

void _tvUnsigned256::getBigEndian(unsigned char *out32) const {
#pragma GCC unroll 32
    for (int j = 0; j < 32; ++j) {
        int le = 31 - j;
        out32[j] = static_cast<unsigned char>(value[le / 4] >> (8 * (le % 4)));
    }
}

bool _tvUnsigned256::operator==(const _tvUnsigned256 &other) const {
    std::uint32_t diff = 0;
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i)
        diff |= value[i] ^ other.value[i];
    return diff == 0;
}

bool _tvUnsigned256::operator!=(const _tvUnsigned256 &other) const {
    return !(*this == other);
}

bool _tvUnsigned256::operator<(const _tvUnsigned256 &other) const {
    return greaterThan(other.value, value, 0) != 0;
}

bool _tvUnsigned256::operator<=(const _tvUnsigned256 &other) const {
    return greaterThan(other.value, value, 1) != 0;
}

bool _tvUnsigned256::operator>(const _tvUnsigned256 &other) const {
    return greaterThan(value, other.value, 0) != 0;
}

bool _tvUnsigned256::operator>=(const _tvUnsigned256 &other) const {
    return greaterThan(value, other.value, 1) != 0;
}

void multiplyModOrder(_tvUnsigned256 &x, const _tvUnsigned256 &y) {
    const _tvUnsigned256 &n = _tvCurvePt::m_s_order;
    ECCKEY_INVARIANT(x < n);
    // r < n holds before every step, and x < n, so one conditional subtraction of n after the doubling
    // and one after the addition keep it there (a carry out of bit 255 means r went past 2^256 > n).
    _tvUnsigned256 r = s_ZERO;
    for (int i = 255; i >= 0; --i) {
        unsigned carry = r.shiftLeft1();
        r.subtract(n, carry | static_cast<unsigned>(r >= n));
        unsigned bit = (y.value[i / 32] >> (i % 32)) & 1u;
        carry = r.add(x, bit);
        r.subtract(n, carry | static_cast<unsigned>(r >= n));
    }
    ECCKEY_INVARIANT(r < n);
    x = r;
    wipe(&r, sizeof r);
}

// Read from the digits on the stack, with no branch on their values (d reaches the engine this way).
bool mp_int_to_uint256(const mp_int &in, _tvUnsigned256 &out) {
    unsigned char bytes[32];
    const bool fits = TovarMp::mpint_to_fixed_bytes(in, bytes, sizeof bytes);
    if (fits)
        out = _tvUnsigned256(bytes);
    wipe(bytes, sizeof bytes);
    return fits;
}

bool uint256_to_mp_int(const _tvUnsigned256 &in, mp_int &out) {
    DataBuffer bytes;
    bytes.setSensitive();
    if (bytes.append(in.value, 32)) {
        bytes.reverseBytes();
        if (TovarMp::mpint_from_bytes(out, bytes.getData2(), 32))
            return true;
    }
    TovarMp::mp_zero(out);
    return false;
}

}  // namespace ecckey
