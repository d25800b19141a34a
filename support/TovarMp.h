// TovarMp: static big-integer operations over mp_int, with LibTomMath's names and semantics.
//
// Arithmetic returns 0 on success and non-zero on failure; conversions return bool (true on success).
// Results may alias inputs, as in LibTomMath.
#pragma once

#include <cstdint>

#include "support/MpInt.h"

namespace ecckey {

class DataBuffer;
class StringBuffer;
class LogBase;

class TovarMp {
  public:
    // Arithmetic.
    [[nodiscard]] static int mp_add(const mp_int &a, const mp_int &b, mp_int &c);
    [[nodiscard]] static int mp_sub(const mp_int &a, const mp_int &b, mp_int &c);
    [[nodiscard]] static int mp_mul(const mp_int &a, const mp_int &b, mp_int &c);
    [[nodiscard]] static int mp_sqr(const mp_int &a, mp_int &c);
    [[nodiscard]] static int mp_mod(const mp_int &a, const mp_int &m, mp_int &c);  // result in [0, m)
    [[nodiscard]] static int mp_mulmod(const mp_int &a, const mp_int &b, const mp_int &m, mp_int &c);
    [[nodiscard]] static int mp_invmod(const mp_int &a, const mp_int &m,
                                       mp_int &c);  // fails when no inverse exists
    // c = a square root of a modulo the odd prime p (LibTomMath's mp_sqrtmod_prime); fails when a has none.
    // Variable time, and its temporaries are freed unwiped: for public values only (point decompression).
    [[nodiscard]] static int mp_sqrtmod_prime(const mp_int &a, const mp_int &p, mp_int &c);
    [[nodiscard]] static int mp_div_2(const mp_int &a, mp_int &c);
    [[nodiscard]] static int mp_copy(const mp_int &a, mp_int &c);
    [[nodiscard]] static int mp_set(mp_int &a, MpDigit digit);
    [[nodiscard]] static int mp_set_int(mp_int &a, unsigned long value);
    static void mp_zero(mp_int &a);
    static void mp_exch(mp_int &a, mp_int &b);
    // Makes room for at least numDigits digits so that later arithmetic up to that size allocates nothing.
    [[nodiscard]] static int mp_grow(mp_int &a, int numDigits);

    // Modular steps of the generic point arithmetic (support/TovarMpModular.cpp). Each leaves exactly the
    // value, sign and digit count that the LibTomMath sequence in its comment leaves, in one call: operands
    // in [0, m) with room for the result take a digit-level path without LibTomMath's per-call set-up,
    // anything else runs the sequence itself. Results may alias inputs.
    // c = a + b; then c = c - m when c is not below m (mp_add, mp_cmp, mp_sub).
    [[nodiscard]] static int mp_add_sub_once(const mp_int &a, const mp_int &b, const mp_int &m, mp_int &c);
    // c = a - b; then c = c + m when c is negative (mp_sub, mp_cmp_d with 0, mp_add).
    [[nodiscard]] static int mp_sub_add_once(const mp_int &a, const mp_int &b, const mp_int &m, mp_int &c);
    // When a is odd, a = a + m (no reduction); then a = a / 2 (isOdd, mp_add, mp_div_2).
    [[nodiscard]] static int mp_halve_add_odd(mp_int &a, const mp_int &m);

    // Comparison: -1, 0 or 1.
    static int mp_cmp(const mp_int &a, const mp_int &b);
    static int mp_cmp_d(const mp_int &a, MpDigit digit);
    // Named apart from LibTomMath's macros of the same purpose, so both headers can be included together.
    [[nodiscard]] static bool isZero(const mp_int &a);
    [[nodiscard]] static bool isOdd(const mp_int &a);
    [[nodiscard]] static bool isNegative(const mp_int &a);
    static int mp_unsigned_bin_size(const mp_int &a);  // byte length of |a|; 0 for zero
    static int mp_count_bits(const mp_int &a);

    // Montgomery reduction. The Montgomery digit is a full LibTomMath digit (60 bits here).
    [[nodiscard]] static int mp_montgomery_setup(const mp_int &m, MpDigit &rho);
    [[nodiscard]] static int mp_montgomery_normalization(mp_int &r, const mp_int &m);  // r = beta mod m
    [[nodiscard]] static int mp_montgomery_reduce(mp_int &x, const mp_int &m,
                                                  MpDigit rho);  // x = x / beta mod m

    // Conversions.
    [[nodiscard]] static bool mpint_from_radix(mp_int &a, const char *text,
                                               int radix);  // radix 16: either case
    [[nodiscard]] static bool mpint_from_bytes(mp_int &a, const unsigned char *bytes, unsigned count);
    [[nodiscard]] static bool mpint_to_db(const mp_int &a, DataBuffer &out);  // minimal big-endian |a|
    [[nodiscard]] static bool unsigned_mpint_to_db(const mp_int &a, DataBuffer &out);  // SSH mpint content
    [[nodiscard]] static bool mpint_to_bytes(const mp_int &a,
                                             unsigned char *out);  // mp_unsigned_bin_size bytes
    // The three conversions below serve secrets. They read and write the digits directly, so no
    // LibTomMath temporary holds a copy that is freed unwiped, and they branch on no digit's value: only
    // a's digit count, which LibTomMath keeps in the open, and the verdict "fits or not" (which no scalar
    // of the catalogue's sizes turns) steer them.
    // |a| as exactly len big-endian bytes, zero-extended; false, out untouched, when it needs more.
    [[nodiscard]] static bool mpint_to_fixed_bytes(const mp_int &a, unsigned char *out, unsigned len);
    // a as count 64-bit limbs, least significant first. False, limbs untouched, when a is negative or
    // needs more limbs.
    [[nodiscard]] static bool mpint_to_limbs(const mp_int &a, std::uint64_t *limbs, int count);
    // a = the value of count 64-bit limbs. a is grown to its final size before any digit is written, so
    // a secret value is never left behind in a block that a reallocation frees; the digit count is found
    // with masks and only it is made public.
    [[nodiscard]] static bool mpint_from_limbs(mp_int &a, const std::uint64_t *limbs, int count);
    // Unpadded base64url of the minimal big-endian |a|; zero is written as one 0x00 byte ("AA"), since a
    // JWK member is never empty and readers refuse one that is.
    [[nodiscard]] static bool mpint_to_base64url(const mp_int &a, StringBuffer &out, LogBase &log);
    [[nodiscard]] static bool mpint_to_hex_zero_extended(const mp_int &a, unsigned byteCount,
                                                         StringBuffer &out);
    [[nodiscard]] static bool mpint_to_hex(const mp_int &a,
                                           StringBuffer &out);  // upper case, minimal, "0" for zero

    static void log_mpint(const char *name, const mp_int &a, LogBase &log);
};

}  // namespace ecckey
