// mp_int: a multi-precision integer with LibTomMath's layout and semantics.
//
// The storage is LibTomMath's own struct, held in place (no indirection), but LibTomMath's header is kept
// out of this one: it also declares a global type named mp_int, and a program must be able to include
// both. Only support/MpInt.cpp, TovarMp.cpp and TovarMpModular.cpp see the two side by side.
//
// Digits hold MP_DIGIT_BIT value bits each: 60 on x86-64 (LibTomMath 1.2 with 64-bit digits), not 28.
// Code that scans digits uses mp_int::digitBits().
#pragma once

#include <cstdint>

namespace ecckey {

typedef std::uint64_t MpDigit;

class mp_int {
  public:
    mp_int();  // zero; broken (see isBroken) when its digits cannot be allocated
    // A copy of other; broken when other is broken or memory is short.
    mp_int(const mp_int &other);
    // Copies other's value. A broken value stays broken and unchanged; a copy that fails (other broken,
    // memory short) breaks this one rather than leave its old value behind. Self-assignment does nothing.
    mp_int &operator=(const mp_int &other);
    ~mp_int();  // wipes and releases the digits

    int get_digit_count() const;     // the significant digits (0 for zero and for a broken value)
    MpDigit get_digit(int i) const;  // digit i, least significant first; 0 when out of range
    static int digitBits();          // value bits per digit (MP_DIGIT_BIT)

    // True when construction could not allocate, or a copy failed; every operation on such a value fails.
    [[nodiscard]] bool isBroken() const;

    // LibTomMath's struct, for support/TovarMp.cpp and TovarMpModular.cpp only.
    void *raw() { return m_raw; }
    const void *raw() const { return m_raw; }

  private:
    void breakValue();  // wipes and frees the digits; the value then fails every operation

    alignas(8) unsigned char m_raw[24];
};

}  // namespace ecckey
