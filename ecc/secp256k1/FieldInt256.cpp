#include "ecc/secp256k1/FieldInt256.h"

#include <cstdint>

namespace ecckey {

FieldInt256::FieldInt256(const _tvUnsigned256 &v) : _tvUnsigned256(v) {
    // 2p > 2^256, so one conditional subtraction reduces any 256-bit value.
    _tvUnsigned256::subtract(m_Modulus, static_cast<unsigned>(*this >= m_Modulus));
}

void FieldInt256::add(const FieldInt256 &other) {
    unsigned carry = _tvUnsigned256::add(other, 1);
    _tvUnsigned256::subtract(m_Modulus, carry | static_cast<unsigned>(*this >= m_Modulus));
}

void FieldInt256::subtract(const FieldInt256 &other) {
    unsigned borrow = _tvUnsigned256::subtract(other, 1);
    _tvUnsigned256::add(m_Modulus, borrow);
}

void FieldInt256::multiply2() {
    unsigned carry = shiftLeft1();
    _tvUnsigned256::subtract(m_Modulus, carry | static_cast<unsigned>(*this >= m_Modulus));
}

void FieldInt256::multiply(const FieldInt256 &other) {
    // p = 2^256 - 2^32 - 977; the Barrett factor floor(2^512 / p) = 2^256 + 2^32 + 977.
    const std::uint64_t c977 = 977;

    // product0 = this · other (512 bits), schoolbook over 32-bit words. The sum a·b + p + carry never
    // exceeds 2^64 - 1, so a 64-bit intermediate holds it.
    std::uint32_t product0[16] = {0};
    for (int i = 0; i < 8; ++i) {
        std::uint64_t ai = value[i];
        std::uint64_t carry = 0;
        for (int j = 0; j < 8; ++j) {
            carry += ai * other.value[j] + product0[i + j];
            product0[i + j] = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
        product0[i + 8] = static_cast<std::uint32_t>(carry);
    }

    // product1 = product0 · (2^256 + 2^32 + 977), 24 words: the 977 part, the 2^32 part (one word up)
    // and the 2^256 part (eight words up), in one carry pass. Words 16..23 are the quotient estimate
    // q = floor(product0 · factor / 2^512), one below the true quotient at most.
    std::uint32_t q[8];
    {
        std::uint64_t carry = 0;
        for (int i = 0; i < 24; ++i) {
            if (i < 16) carry += product0[i] * c977;
            if (i >= 1 && i <= 16) carry += product0[i - 1];
            if (i >= 8) carry += product0[i - 8];
            if (i >= 16) q[i - 16] = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
    }

    // product2 = q · p = q·2^256 - q·2^32 - q·977, with a signed running carry. Only its low nine words
    // enter the 288-bit difference below, so higher words are not formed.
    std::uint32_t product2[9];
    {
        std::int64_t carry = 0;
        for (int i = 0; i < 9; ++i) {
            if (i < 8) carry -= static_cast<std::int64_t>(q[i] * c977);
            if (i >= 1 && i <= 8) carry -= static_cast<std::int64_t>(q[i - 1]);
            if (i >= 8) carry += static_cast<std::int64_t>(q[i - 8]);
            product2[i] = static_cast<std::uint32_t>(carry);
            carry >>= 32;  // arithmetic shift: the carry is a signed multiple of 2^32
        }
    }

    // difference = product0 - product2 over the low 288 bits; the true remainder (below 2p) fits there.
    std::uint32_t difference[9];
    {
        std::uint64_t borrow = 0;
        for (int i = 0; i < 9; ++i) {
            std::uint64_t d = static_cast<std::uint64_t>(product0[i]) - product2[i] - borrow;
            difference[i] = static_cast<std::uint32_t>(d);
            borrow = d >> 63;
        }
    }

    // One final conditional subtraction of p.
    for (int i = 0; i < 8; ++i) value[i] = difference[i];
    unsigned over = static_cast<unsigned>(difference[8] != 0) | static_cast<unsigned>(*this >= m_Modulus);
    _tvUnsigned256::subtract(m_Modulus, over);
}

void FieldInt256::square() { multiply(*this); }

void FieldInt256::reciprocal() { _tvUnsigned256::reciprocal(m_Modulus); }

void FieldInt256::replace(const FieldInt256 &other, unsigned enable) { _tvUnsigned256::replace(other, enable); }

bool FieldInt256::operator==(const FieldInt256 &other) const { return _tvUnsigned256::operator==(other); }
bool FieldInt256::operator!=(const FieldInt256 &other) const { return _tvUnsigned256::operator!=(other); }
bool FieldInt256::operator<(const FieldInt256 &other) const { return _tvUnsigned256::operator<(other); }
bool FieldInt256::operator<=(const FieldInt256 &other) const { return _tvUnsigned256::operator<=(other); }
bool FieldInt256::operator>(const FieldInt256 &other) const { return _tvUnsigned256::operator>(other); }
bool FieldInt256::operator>=(const FieldInt256 &other) const { return _tvUnsigned256::operator>=(other); }
bool FieldInt256::operator<(const _tvUnsigned256 &other) const { return _tvUnsigned256::operator<(other); }
bool FieldInt256::operator>=(const _tvUnsigned256 &other) const { return _tvUnsigned256::operator>=(other); }

}  // namespace ecckey
