// TovarMp: static big-integer operations over mp_int, with LibTomMath's names and semantics.
//
// Arithmetic returns 0 (MP_OKAY) on success, else LibTomMath's error code: MP_MEM (-2) when memory is
// short or any operand is broken (mp_int::isBroken), MP_VAL (-3) for an argument outside the operation's
// domain; a result is undefined after a failure. Conversions return bool (true on success). Results may
// alias inputs, as in LibTomMath. Values are signed, as in LibTomMath. Nothing here logs,
// log_mpint aside.
//
// LibTomMath frees its temporaries unwiped and moves a growing digit block without wiping the old one:
// the comments below say which calls a value computed from a secret may enter.
#pragma once

#include <cstdint>

#include "support/MpInt.h"

namespace ecckey {

class DataBuffer;
class StringBuffer;
class LogBase;

class TovarMp {
  public:
    // Arithmetic: c = a + b, a - b, a·b, a², a mod m (in [0, m) for m > 0; MP_VAL for m = 0) and
    // a·b mod m.
    [[nodiscard]] static int mp_add(const mp_int &a, const mp_int &b, mp_int &c);
    [[nodiscard]] static int mp_sub(const mp_int &a, const mp_int &b, mp_int &c);
    [[nodiscard]] static int mp_mul(const mp_int &a, const mp_int &b, mp_int &c);
    [[nodiscard]] static int mp_sqr(const mp_int &a, mp_int &c);
    [[nodiscard]] static int mp_mod(const mp_int &a, const mp_int &m, mp_int &c);
    [[nodiscard]] static int mp_mulmod(const mp_int &a, const mp_int &b, const mp_int &m, mp_int &c);
    // c = a⁻¹ mod m, in [0, m); MP_VAL when no inverse exists (a ≡ 0, or gcd(a, m) > 1). For an odd
    // m > 1 (every curve's p and n) an a in [0, m) is inverted on temporaries sized up front and wiped, so
    // a secret (a nonce) may enter. Any other a is first reduced by mp_mod, and an even m runs LibTomMath's
    // own inversion: neither path is for secrets.
    [[nodiscard]] static int mp_invmod(const mp_int &a, const mp_int &m, mp_int &c);
    // c = a square root of a modulo the odd prime p (LibTomMath's mp_sqrtmod_prime); fails when a has none.
    // Variable time, and its temporaries are freed unwiped: for public values only (point decompression).
    [[nodiscard]] static int mp_sqrtmod_prime(const mp_int &a, const mp_int &p, mp_int &c);
    [[nodiscard]] static int mp_div_2(const mp_int &a, mp_int &c);  // c = a / 2, rounded toward zero
    [[nodiscard]] static int mp_copy(const mp_int &a, mp_int &c);   // c = a
    // mp_set: a = digit, of which only the low MP_DIGIT_BIT bits are kept; mp_set_int: a = value.
    [[nodiscard]] static int mp_set(mp_int &a, MpDigit digit);
    [[nodiscard]] static int mp_set_int(mp_int &a, unsigned long value);
    // a = 0 and a <-> b (the digit blocks change owners); both do nothing when a value is broken.
    static void mp_zero(mp_int &a);
    static void mp_exch(mp_int &a, mp_int &b);
    // Makes room for at least numDigits digits so that later arithmetic up to that size allocates nothing.
    // A block that grows is reallocated unwiped: grow a value before a secret is written into it.
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

    // Comparison of the signed values: -1, 0 or 1 as a is below, equal to or above b (or digit). 0 when
    // a value is broken. Not constant time.
    static int mp_cmp(const mp_int &a, const mp_int &b);
    static int mp_cmp_d(const mp_int &a, MpDigit digit);
    // Named apart from LibTomMath's macros of the same purpose, so both headers can be included together.
    // A broken value is zero, even and not negative.
    [[nodiscard]] static bool isZero(const mp_int &a);
    [[nodiscard]] static bool isOdd(const mp_int &a);
    [[nodiscard]] static bool isNegative(const mp_int &a);
    static int mp_unsigned_bin_size(const mp_int &a);  // byte length of |a|; 0 for zero and broken values
    static int mp_count_bits(const mp_int &a);         // bit length of |a|; 0 for zero and broken values

    // Montgomery reduction modulo an odd m of k digits, with β = 2^MP_DIGIT_BIT (60 bits here) and
    // R = β^k. setup gives rho = -1/m mod β (MP_VAL for an even m); normalization r = R mod m; reduce
    // x = x / R mod m, for 0 <= x < m·R.
    [[nodiscard]] static int mp_montgomery_setup(const mp_int &m, MpDigit &rho);
    [[nodiscard]] static int mp_montgomery_normalization(mp_int &r, const mp_int &m);
    [[nodiscard]] static int mp_montgomery_reduce(mp_int &x, const mp_int &m, MpDigit rho);

    // Conversions. Each fails for a broken value and a null pointer, and when memory is short.
    // a = the non-negative value of text in radix 2 to 36, letters in either case. False, a unchanged,
    // for another radix, empty text, a sign or any character that is not a digit of the radix.
    [[nodiscard]] static bool mpint_from_radix(mp_int &a, const char *text, int radix);
    // a = bytes read as an unsigned big-endian number (zero for no bytes); a undefined after a failure.
    [[nodiscard]] static bool mpint_from_bytes(mp_int &a, const unsigned char *bytes, unsigned count);
    // Appends the minimal big-endian bytes of |a| (none for zero); out unchanged on failure.
    [[nodiscard]] static bool mpint_to_db(const mp_int &a, DataBuffer &out);
    // Appends the content of the SSH mpint of a: the minimal bytes, with a 0x00 in front of a leading byte
    // of 0x80 or more (none for zero). False for a negative a; after a failure to append out may hold the
    // 0x00.
    [[nodiscard]] static bool unsigned_mpint_to_db(const mp_int &a, DataBuffer &out);
    // Writes the mp_unsigned_bin_size(a) big-endian bytes of |a| at out (nothing for zero).
    [[nodiscard]] static bool mpint_to_bytes(const mp_int &a, unsigned char *out);
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
    // The text conversions append to out, which may hold part of the text after a failure.
    // Unpadded base64url of the minimal big-endian |a|; zero is written as one 0x00 byte ("AA"), since a
    // JWK member is never empty and readers refuse one that is. Logs nothing.
    [[nodiscard]] static bool mpint_to_base64url(const mp_int &a, StringBuffer &out, LogBase &log);
    // Upper-case hex of |a| as big-endian bytes, zero-extended to byteCount bytes (longer when |a| needs
    // more; nothing for zero with byteCount 0).
    [[nodiscard]] static bool mpint_to_hex_zero_extended(const mp_int &a, unsigned byteCount,
                                                         StringBuffer &out);
    // Upper-case hex, minimal, "0" for zero, with a '-' in front of a negative value.
    [[nodiscard]] static bool mpint_to_hex(const mp_int &a, StringBuffer &out);

    // Writes the data item name with a's mpint_to_hex text (an empty value when that fails). For public
    // values only.
    static void log_mpint(const char *name, const mp_int &a, LogBase &log);
};

}  // namespace ecckey
