// FieldInt256: an element of the secp256k1 base field, integers modulo p = 2^256 - 2^32 - 977.
//
// Values stay fully reduced (0 <= v < p) after every operation, given reduced inputs; the hex
// constructor alone does not reduce. Constant time throughout: reductions are masked subtractions or
// additions of p, never branches.
#pragma once

#include "ecc/secp256k1/Unsigned256.h"

namespace ecckey {

class FieldInt256 : public _tvUnsigned256 {
  public:
    constexpr FieldInt256() : _tvUnsigned256() {}
    constexpr explicit FieldInt256(const char *hex) : _tvUnsigned256(hex) {}  // no reduction
    explicit FieldInt256(const _tvUnsigned256 &value);  // subtracts p once when value >= p

    // this = this + other, this − other, 2·this mod p, each by one masked correction. Operands below p.
    void add(const FieldInt256 &other);
    void subtract(const FieldInt256 &other);
    void multiply2();
    // this = this·other mod p (other may be *this): schoolbook product, Barrett reduction by
    // floor(2^512 / p), one final conditional subtraction. square() is multiply(*this).
    void multiply(const FieldInt256 &other);
    void square();
    // this = this^-1 mod p by Fermat's little theorem (this^(p − 2), a fixed chain of products); zero stays
    // zero.
    void reciprocal();
    // this = other when enable is 1, unchanged when it is 0 (no other value allowed), by masks.
    void replace(const FieldInt256 &other, unsigned enable);

    [[nodiscard]] bool operator==(const FieldInt256 &other) const;
    [[nodiscard]] bool operator!=(const FieldInt256 &other) const;
    [[nodiscard]] bool operator<(const FieldInt256 &other) const;
    [[nodiscard]] bool operator<=(const FieldInt256 &other) const;
    [[nodiscard]] bool operator>(const FieldInt256 &other) const;
    [[nodiscard]] bool operator>=(const FieldInt256 &other) const;
    // Against a plain 256-bit integer (an x coordinate against the group order, say).
    [[nodiscard]] bool operator<(const _tvUnsigned256 &other) const;
    [[nodiscard]] bool operator>=(const _tvUnsigned256 &other) const;
};

}  // namespace ecckey
