// _tvUnsigned256: a fixed-width 256-bit unsigned integer, the base of the secp256k1 engine.
//
// Eight 32-bit words, word 0 least significant. Every operation runs in time independent of the values:
// a condition is an unsigned int that is exactly 0 or 1, widened into an all-zeros/all-ones mask, and
// both outcomes are computed and blended. No branch and no memory index depends on the operands, and
// every loop has a fixed trip count. Nothing here allocates (the mp_int conversions aside).
//
// The constructors that build the engine's constants are constexpr, so that those constants are
// constant-initialised (see Secp256k1Constants.cpp).
#pragma once

#include <cstdint>

namespace ecckey {

class FieldInt256;
class mp_int;

class _tvUnsigned256 {
  public:
    constexpr _tvUnsigned256() : value{} {}
    // Exactly 64 hex characters, most significant first; no terminator is looked for. A character that
    // is not a hex digit maps to all ones (it sets its nibble and every higher bit of its word): the
    // parser only ever sees the engine's own constants, so it never reports an error.
    constexpr explicit _tvUnsigned256(const char *hex) : value{} {
        for (int i = 0; i < 64; ++i) {
            value[i / 8] |= hexDigitValue(hex[63 - i]) << (4 * (i % 8));
        }
    }
    // Exactly 32 bytes, big-endian (bytes[0] is the most significant).
    explicit _tvUnsigned256(const unsigned char *bigEndian32);
    // The eight words of the field element, unchanged.
    explicit _tvUnsigned256(const FieldInt256 &f);

    // Adds other modulo 2^256 when enable is 1; leaves the value unchanged when it is 0. The full carry
    // chain runs either way. Returns the carry out of word 7 (always 0 when enable is 0).
    unsigned add(const _tvUnsigned256 &other, unsigned enable);
    // Subtracts other modulo 2^256 when enable is 1. Returns the borrow out of word 7.
    unsigned subtract(const _tvUnsigned256 &other, unsigned enable);
    unsigned shiftLeft1();  // returns the old bit 255
    void shiftRight1(unsigned enable);
    // Inverse modulo an odd modulus (input below it) by a 512-step binary extended Euclid; zero stays zero.
    // An even modulus or a non-invertible input gives an unspecified value.
    void reciprocal(const _tvUnsigned256 &modulus);
    void replace(const _tvUnsigned256 &other, unsigned enable);
    void swap(_tvUnsigned256 &other, unsigned enable);
    void getBigEndian(unsigned char *out32) const;

    // Branch-free comparisons as plain 256-bit integers.
    [[nodiscard]] bool operator==(const _tvUnsigned256 &other) const;
    [[nodiscard]] bool operator!=(const _tvUnsigned256 &other) const;
    [[nodiscard]] bool operator<(const _tvUnsigned256 &other) const;
    [[nodiscard]] bool operator<=(const _tvUnsigned256 &other) const;
    [[nodiscard]] bool operator>(const _tvUnsigned256 &other) const;
    [[nodiscard]] bool operator>=(const _tvUnsigned256 &other) const;

    std::uint32_t value[8];

  private:
    // '0'-'9', 'a'-'f', 'A'-'F' to 0-15; anything else to 0xFFFFFFFF.
    static constexpr std::uint32_t hexDigitValue(char c) {
        if (c >= '0' && c <= '9')
            return static_cast<std::uint32_t>(c - '0');
        if (c >= 'a' && c <= 'f')
            return static_cast<std::uint32_t>(c - 'a' + 10);
        if (c >= 'A' && c <= 'F')
            return static_cast<std::uint32_t>(c - 'A' + 10);
        return 0xFFFFFFFFu;
    }
};

// Engine constants, constant-initialised in ecc/secp256k1/Secp256k1Constants.cpp.
extern const _tvUnsigned256 s_ZERO;
extern const _tvUnsigned256 s_ONE;
extern const _tvUnsigned256 m_Modulus;  // p = 2^256 - 2^32 - 977

// x = x·y mod n (the group order) for x below n and any 256-bit y (the verifier hands it an unreduced
// hash). Constant time: 256 fixed double-and-add steps.
void multiplyModOrder(_tvUnsigned256 &x, const _tvUnsigned256 &y);
// True and out set when in fits in 32 bytes; false, out untouched, otherwise. The magnitude of a
// negative input is taken. in may be a private scalar: its digits are read with no branch on their values
// (TovarMp::mpint_to_fixed_bytes) into a stack buffer that is wiped.
[[nodiscard]] bool mp_int_to_uint256(const mp_int &in, _tvUnsigned256 &out);
// Sets out to the (non-negative) value of in. False, with out zero, when out cannot grow: callers must not
// take that zero for a result (an all-zero shared secret, a key at (0, 0)).
[[nodiscard]] bool uint256_to_mp_int(const _tvUnsigned256 &in, mp_int &out);

}  // namespace ecckey
