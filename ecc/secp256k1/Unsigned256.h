// _tvUnsigned256: a fixed-width 256-bit unsigned integer, the base of the secp256k1 engine.
//
// Eight 32-bit words, word 0 least significant. Every operation runs in time independent of the values:
// a condition is an unsigned int that is exactly 0 or 1, widened into an all-zeros/all-ones mask, and
// both outcomes are computed and blended. No branch and no memory index depends on the operands, and
// every loop has a fixed trip count. Nothing here allocates (the mp_int conversions aside).
#pragma once

#include <cstdint>

namespace ecckey {

class FieldInt256;
class mp_int;

class _tvUnsigned256 {
public:
    _tvUnsigned256();
    // Exactly 64 hex characters, most significant first; no terminator is looked for. A character that
    // is not a hex digit maps to all ones (it sets its nibble and every higher bit of its word): the
    // parser only ever sees the engine's own constants.
    explicit _tvUnsigned256(const char *hex);
    explicit _tvUnsigned256(const unsigned char *bigEndian32);
    explicit _tvUnsigned256(const FieldInt256 &f);

    unsigned add(const _tvUnsigned256 &other, unsigned enable);       // returns the carry out
    unsigned subtract(const _tvUnsigned256 &other, unsigned enable);  // returns the borrow out
    unsigned shiftLeft1();                                            // returns the old bit 255
    void shiftRight1(unsigned enable);
    // Inverse modulo an odd modulus (input below it) by a 512-step binary extended Euclid; zero stays zero.
    void reciprocal(const _tvUnsigned256 &modulus);
    void replace(const _tvUnsigned256 &other, unsigned enable);
    void swap(_tvUnsigned256 &other, unsigned enable);
    void getBigEndian(unsigned char *out32) const;

    bool operator==(const _tvUnsigned256 &other) const;
    bool operator!=(const _tvUnsigned256 &other) const;
    bool operator<(const _tvUnsigned256 &other) const;
    bool operator<=(const _tvUnsigned256 &other) const;
    bool operator>(const _tvUnsigned256 &other) const;
    bool operator>=(const _tvUnsigned256 &other) const;

    std::uint32_t value[8];
};

// Engine constants, built once by the engine's static initialiser (ecc/secp256k1/Secp256k1Constants.cpp).
extern const _tvUnsigned256 s_ZERO;
extern const _tvUnsigned256 s_ONE;
extern const _tvUnsigned256 m_Modulus;  // p = 2^256 - 2^32 - 977

// x = x·y mod n (the group order); both below n. Constant time: 256 fixed double-and-add steps.
void multiplyModOrder(_tvUnsigned256 &x, const _tvUnsigned256 &y);
// True and out set when in fits in 32 bytes; false, out untouched, otherwise.
bool mp_int_to_uint256(const mp_int &in, _tvUnsigned256 &out);
void uint256_to_mp_int(const _tvUnsigned256 &in, mp_int &out);

}  // namespace ecckey
