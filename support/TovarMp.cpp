#include "support/TovarMp.h"

#include <cstring>
#include <vector>

#include "support/ConstantTime.h"
#include "support/DataBuffer.h"
#include "support/LogBase.h"
#include "support/StringBuffer.h"
#include "support/Wipe.h"

// LibTomMath comes last: its header declares a global mp_int and function-like macros.
#include <tommath.h>

namespace ecckey {

namespace {

::mp_int *L(mp_int &a) {
    return static_cast<::mp_int *>(a.raw());
}
const ::mp_int *L(const mp_int &a) {
    return static_cast<const ::mp_int *>(a.raw());
}

// An mp_int whose construction could not allocate fails every operation instead of crashing. (The test is
// mp_int::isBroken's, read here directly: it runs on every call of the point formulas.)
[[nodiscard]] bool usable(const mp_int &a) {
    return L(a)->dp != nullptr;
}
[[nodiscard]] bool usable(const mp_int &a, const mp_int &b) {
    return usable(a) && usable(b);
}
[[nodiscard]] bool usable(const mp_int &a, const mp_int &b, const mp_int &c) {
    return usable(a, b) && usable(c);
}

int ord(mp_ord o) {
    return o == MP_LT ? -1 : (o == MP_GT ? 1 : 0);
}

// Minimal big-endian bytes of |a| into a stack area when it fits; the area is wiped on the way out.
class MagnitudeBytes {
  public:
    explicit MagnitudeBytes(const mp_int &a) {
        if (a.isBroken())
            return;
        m_len = ::mp_ubin_size(L(a));
        m_data = m_len <= sizeof m_small ? m_small : (m_heap.resize(m_len), m_heap.data());
        size_t written = 0;
        m_ok = m_len == 0 || ::mp_to_ubin(L(a), m_data, m_len, &written) == MP_OKAY;
    }
    ~MagnitudeBytes() { wipe(m_data, m_len); }
    MagnitudeBytes(const MagnitudeBytes &) = delete;
    MagnitudeBytes &operator=(const MagnitudeBytes &) = delete;

    bool ok() const { return m_ok; }
    const unsigned char *data() const { return m_data; }
    unsigned size() const { return (unsigned)m_len; }

  private:
    unsigned char m_small[160];
    std::vector<unsigned char> m_heap;
    unsigned char *m_data = m_small;
    size_t m_len = 0;
    bool m_ok = false;
};

// a = the value of a run of hex digits (already checked), built digit by digit from the least significant
// end: curve parameters are parsed on every operation, and LibTomMath's reader multiplies the whole
// value by the radix once per character. Leaves what mp_read_radix leaves: the value, non-negative, the
// digit count clamped, the digits above it zero.
[[nodiscard]] bool readHex(const char *text, ::mp_int *a) {
    const int bitsPerDigit = MP_DIGIT_BIT;
    const size_t chars = std::strlen(text);
    const int digits = (int)((chars * 4 + (size_t)bitsPerDigit - 1) / (size_t)bitsPerDigit);
    if (a->alloc < digits && ::mp_grow(a, digits) != MP_OKAY)
        return false;
    const int oldUsed = a->used;
    mp_digit digit = 0;
    int bits = 0, index = 0;
    for (size_t i = chars; i-- > 0;) {
        const char c = text[i];
        const int nibble = (c >= '0' && c <= '9')   ? c - '0'
                           : (c >= 'a' && c <= 'f') ? c - 'a' + 10
                                                    : c - 'A' + 10;
        const mp_digit v = (mp_digit)nibble;
        digit |= v << bits;
        bits += 4;
        if (bits >= bitsPerDigit) {
            // A nibble can straddle two digits when the digit width is not a multiple of four.
            a->dp[index++] = digit & MP_MASK;
            bits -= bitsPerDigit;
            digit = bits > 0 ? v >> (4 - bits) : 0;
        }
    }
    if (bits > 0)
        a->dp[index++] = digit;
    for (int i = index; i < oldUsed; ++i)
        a->dp[i] = 0;
    a->used = index;
    a->sign = MP_ZPOS;
    ::mp_clamp(a);
    return true;
}

}  // namespace

int TovarMp::mp_add(const mp_int &a, const mp_int &b, mp_int &c) {
    return usable(a, b, c) ? ::mp_add(L(a), L(b), L(c)) : MP_MEM;
}

int TovarMp::mp_sub(const mp_int &a, const mp_int &b, mp_int &c) {
    return usable(a, b, c) ? ::mp_sub(L(a), L(b), L(c)) : MP_MEM;
}

int TovarMp::mp_mul(const mp_int &a, const mp_int &b, mp_int &c) {
    return usable(a, b, c) ? ::mp_mul(L(a), L(b), L(c)) : MP_MEM;
}

int TovarMp::mp_sqr(const mp_int &a, mp_int &c) {
    return usable(a, c) ? ::mp_sqr(L(a), L(c)) : MP_MEM;
}

int TovarMp::mp_mod(const mp_int &a, const mp_int &m, mp_int &c) {
    return usable(a, m, c) ? ::mp_mod(L(a), L(m), L(c)) : MP_MEM;
}

int TovarMp::mp_mulmod(const mp_int &a, const mp_int &b, const mp_int &m, mp_int &c) {
    if (!usable(a, b, m) || !usable(c))
        return MP_MEM;
    return ::mp_mulmod(L(a), L(b), L(m), L(c));
}

int TovarMp::mp_sqrtmod_prime(const mp_int &a, const mp_int &p, mp_int &c) {
    if (!usable(a, p, c))
        return MP_MEM;
    return ::mp_sqrtmod_prime(L(a), L(p), L(c));
}

namespace {

// Inverse modulo an odd m > 1 of 0 <= a < m, by the binary extended Euclidean algorithm. LibTomMath's own
// mp_invmod frees its temporaries without wiping them, and when signing a is the nonce: one freed copy of
// it gives away the private key. Here every temporary is one of ours (wiped when destroyed) and is sized
// up front, so none of the LibTomMath calls below allocates or moves a block.
// Invariants: x1·a = u and x2·a = v (mod m), with x1, x2 in [0, m).
[[nodiscard]] int invmodOddWiped(const mp_int &a, const mp_int &m, mp_int &c) {
    const int numDigits = L(m)->used + 2;
    mp_int u, v, x1, x2;
    for (mp_int *t : {&u, &v, &x1, &x2})
        if (::mp_grow(L(*t), numDigits) != MP_OKAY)
            return MP_MEM;
    if (::mp_copy(L(a), L(u)) != MP_OKAY || ::mp_copy(L(m), L(v)) != MP_OKAY)
        return MP_MEM;
    ::mp_set(L(x1), 1);
    ::mp_zero(L(x2));
    if (mp_iszero(L(u)))
        return MP_VAL;

    // Halves w while it is even, keeping x·a = w by halving x modulo m (adding m first when x is odd).
    auto halveWhileEven = [&m](mp_int &w, mp_int &x) {
        while (mp_iseven(L(w))) {
            if (::mp_div_2(L(w), L(w)) != MP_OKAY)
                return false;
            if (::mp_isodd(L(x)) && ::mp_add(L(x), L(m), L(x)) != MP_OKAY)
                return false;
            if (::mp_div_2(L(x), L(x)) != MP_OKAY)
                return false;
        }
        return true;
    };
    // w = w - z and x = x - y (mod m).
    auto subtract = [&m](mp_int &w, const mp_int &z, mp_int &x, const mp_int &y) {
        if (::mp_sub(L(w), L(z), L(w)) != MP_OKAY || ::mp_sub(L(x), L(y), L(x)) != MP_OKAY)
            return false;
        return !mp_isneg(L(x)) || ::mp_add(L(x), L(m), L(x)) == MP_OKAY;
    };

    while (::mp_cmp_d(L(u), 1) != MP_EQ && ::mp_cmp_d(L(v), 1) != MP_EQ) {
        if (!halveWhileEven(u, x1) || !halveWhileEven(v, x2))
            return MP_MEM;
        if (::mp_cmp_d(L(u), 1) == MP_EQ || ::mp_cmp_d(L(v), 1) == MP_EQ)
            break;
        const bool ok = ::mp_cmp(L(u), L(v)) != MP_LT ? subtract(u, v, x1, x2) : subtract(v, u, x2, x1);
        if (!ok)
            return MP_MEM;
        if (mp_iszero(L(u)) || mp_iszero(L(v)))
            return MP_VAL;  // gcd(a, m) > 1
    }
    return ::mp_copy(::mp_cmp_d(L(u), 1) == MP_EQ ? L(x1) : L(x2), L(c));
}

}  // namespace

// Odd moduli (every curve's p and n) take the wiping inversion above. LibTomMath 1.2 also inverts |a|
// rather than a when a is negative (and leaves the result negative): a negative a, or one not below m, is
// reduced into [0, m) first.
int TovarMp::mp_invmod(const mp_int &a, const mp_int &m, mp_int &c) {
    if (!usable(a, m, c))
        return MP_MEM;
    const bool oddModulus = ::mp_isodd(L(m)) && ::mp_cmp_d(L(m), 1) == MP_GT;
    if (oddModulus && !isNegative(a) && ::mp_cmp(L(a), L(m)) == MP_LT)
        return invmodOddWiped(a, m, c);
    if (!oddModulus && !isNegative(a))
        return ::mp_invmod(L(a), L(m), L(c));
    mp_int reduced;
    int err = mp_mod(a, m, reduced);
    if (err != MP_OKAY)
        return err;
    return oddModulus ? invmodOddWiped(reduced, m, c) : ::mp_invmod(L(reduced), L(m), L(c));
}

int TovarMp::mp_div_2(const mp_int &a, mp_int &c) {
    return usable(a, c) ? ::mp_div_2(L(a), L(c)) : MP_MEM;
}

int TovarMp::mp_copy(const mp_int &a, mp_int &c) {
    return usable(a, c) ? ::mp_copy(L(a), L(c)) : MP_MEM;
}

int TovarMp::mp_set(mp_int &a, MpDigit digit) {
    if (!usable(a))
        return MP_MEM;
    ::mp_set(L(a), digit);
    return MP_OKAY;
}

int TovarMp::mp_set_int(mp_int &a, unsigned long value) {
    if (!usable(a))
        return MP_MEM;
    ::mp_set_ul(L(a), value);
    return MP_OKAY;
}

void TovarMp::mp_zero(mp_int &a) {
    if (usable(a))
        ::mp_zero(L(a));
}

void TovarMp::mp_exch(mp_int &a, mp_int &b) {
    if (usable(a, b))
        ::mp_exch(L(a), L(b));
}

int TovarMp::mp_grow(mp_int &a, int numDigits) {
    return usable(a) ? ::mp_grow(L(a), numDigits) : MP_MEM;
}

int TovarMp::mp_cmp(const mp_int &a, const mp_int &b) {
    return usable(a, b) ? ord(::mp_cmp(L(a), L(b))) : 0;
}

int TovarMp::mp_cmp_d(const mp_int &a, MpDigit digit) {
    return usable(a) ? ord(::mp_cmp_d(L(a), digit)) : 0;
}

bool TovarMp::isZero(const mp_int &a) {
    return !usable(a) || L(a)->used == 0;
}

bool TovarMp::isOdd(const mp_int &a) {
    return usable(a) && L(a)->used > 0 && (L(a)->dp[0] & 1u) != 0;
}

bool TovarMp::isNegative(const mp_int &a) {
    return usable(a) && L(a)->sign == MP_NEG;
}

int TovarMp::mp_unsigned_bin_size(const mp_int &a) {
    return usable(a) ? (int)::mp_ubin_size(L(a)) : 0;
}

int TovarMp::mp_count_bits(const mp_int &a) {
    return usable(a) ? ::mp_count_bits(L(a)) : 0;
}

int TovarMp::mp_montgomery_setup(const mp_int &m, MpDigit &rho) {
    if (!usable(m))
        return MP_MEM;
    mp_digit r = 0;
    int err = ::mp_montgomery_setup(L(m), &r);
    rho = r;
    return err;
}

int TovarMp::mp_montgomery_normalization(mp_int &r, const mp_int &m) {
    return usable(r, m) ? ::mp_montgomery_calc_normalization(L(r), L(m)) : MP_MEM;
}

int TovarMp::mp_montgomery_reduce(mp_int &x, const mp_int &m, MpDigit rho) {
    return usable(x, m) ? ::mp_montgomery_reduce(L(x), L(m), rho) : MP_MEM;
}

// Texts only ever arrive here from the catalogue and from tests, in hexadecimal: anything unusual is refused.
bool TovarMp::mpint_from_radix(mp_int &a, const char *text, int radix) {
    if (!usable(a) || !text || !*text || radix < 2 || radix > 36)
        return false;
    for (const char *p = text; *p; ++p) {
        char c = *p;
        int v = (c >= '0' && c <= '9')   ? c - '0'
                : (c >= 'a' && c <= 'z') ? c - 'a' + 10
                : (c >= 'A' && c <= 'Z') ? c - 'A' + 10
                                         : 99;
        if (v >= radix)
            return false;
    }
    if (radix == 16)
        return readHex(text, L(a));
    return ::mp_read_radix(L(a), text, radix) == MP_OKAY;
}

bool TovarMp::mpint_from_bytes(mp_int &a, const unsigned char *bytes, unsigned count) {
    if (!usable(a) || (count && !bytes))
        return false;
    if (count == 0) {
        ::mp_zero(L(a));
        return true;
    }
    return ::mp_from_ubin(L(a), bytes, count) == MP_OKAY;
}

bool TovarMp::mpint_to_db(const mp_int &a, DataBuffer &out) {
    MagnitudeBytes mag(a);
    return mag.ok() && out.append(mag.data(), mag.size());
}

bool TovarMp::unsigned_mpint_to_db(const mp_int &a, DataBuffer &out) {
    if (isNegative(a))
        return false;
    MagnitudeBytes mag(a);
    if (!mag.ok())
        return false;
    if (mag.size() && mag.data()[0] >= 0x80 && !out.appendChar(0))
        return false;
    return out.append(mag.data(), mag.size());
}

bool TovarMp::mpint_to_bytes(const mp_int &a, unsigned char *out) {
    if (!usable(a) || !out)
        return false;
    size_t len = ::mp_ubin_size(L(a));
    if (len == 0)
        return true;
    size_t written = 0;
    return ::mp_to_ubin(L(a), out, len, &written) == MP_OKAY;
}

namespace {

// Whether the digits below bit `bits` hold all of |a|: every digit is read, whatever its value; only the
// digit count steers the loop. The verdict is made public: a scalar that fits never turns it.
[[nodiscard]] bool fitsInBits(const mp_int &a, unsigned bits) {
    const unsigned bitsPerDigit = MP_DIGIT_BIT;
    MpDigit overflow = 0;
    for (int i = 0; i < a.get_digit_count(); ++i) {
        const unsigned low = bitsPerDigit * (unsigned)i;
        if (low >= bits)
            overflow |= a.get_digit(i);
        else if (low + bitsPerDigit > bits)
            overflow |= a.get_digit(i) >> (bits - low);
    }
    return ct::declassified(overflow == 0);
}

}  // namespace

bool TovarMp::mpint_to_fixed_bytes(const mp_int &a, unsigned char *out, unsigned len) {
    if (!usable(a) || !out || !fitsInBits(a, 8 * len))
        return false;
    const unsigned bitsPerDigit = MP_DIGIT_BIT;
    for (unsigned i = 0; i < len; ++i) {  // byte i from the least significant end
        const unsigned bit = 8 * i;
        const int digit = (int)(bit / bitsPerDigit);
        const unsigned shift = bit % bitsPerDigit;
        MpDigit v = a.get_digit(digit) >> shift;
        if (shift + 8 > bitsPerDigit)  // the byte straddles two digits
            v |= a.get_digit(digit + 1) << (bitsPerDigit - shift);
        out[len - 1 - i] = (unsigned char)(v & 0xFF);
    }
    return true;
}

// Limb l holds bits 64l to 64l + 63 and digit i bits D·i to D·i + D − 1 (D = MP_DIGIT_BIT): a digit
// spans at most two limbs and a limb at most two digits plus part of a third.
bool TovarMp::mpint_to_limbs(const mp_int &a, std::uint64_t *limbs, int count) {
    if (!usable(a) || !limbs || count < 0 || isNegative(a) || !fitsInBits(a, 64 * (unsigned)count))
        return false;
    for (int l = 0; l < count; ++l)
        limbs[l] = 0;
    const ::mp_int *v = L(a);
    for (int i = 0; i < v->used; ++i) {
        const int bit = MP_DIGIT_BIT * i;
        const int l = bit / 64, shift = bit % 64;
        const std::uint64_t d = v->dp[i];
        if (l < count)
            limbs[l] |= d << shift;
        if (shift + MP_DIGIT_BIT > 64 && l + 1 < count)
            limbs[l + 1] |= d >> (64 - shift);
    }
    return true;
}

bool TovarMp::mpint_from_limbs(mp_int &a, const std::uint64_t *limbs, int count) {
    if (!usable(a) || !limbs || count < 0)
        return false;
    const int numDigits = (64 * count + MP_DIGIT_BIT - 1) / MP_DIGIT_BIT;
    ::mp_int *v = L(a);
    if (v->alloc < numDigits && ::mp_grow(v, numDigits) != MP_OKAY)
        return false;
    for (int i = 0; i < numDigits; ++i) {
        const int bit = MP_DIGIT_BIT * i;
        const int l = bit / 64, shift = bit % 64;
        std::uint64_t d = limbs[l] >> shift;
        if (shift + MP_DIGIT_BIT > 64 && l + 1 < count)
            d |= limbs[l + 1] << (64 - shift);
        v->dp[i] = (mp_digit)(d & MP_MASK);
    }
    for (int i = numDigits; i < v->used; ++i)
        v->dp[i] = 0;
    // LibTomMath's clamp would branch on each top digit's value. Here the count of significant digits is
    // found with masks over every digit, and only that count is made public: LibTomMath keeps it in the
    // open, and the time of every later operation on the value follows it.
    std::uint64_t used = 0;
    for (int i = 0; i < numDigits; ++i) {
        const std::uint64_t nonZero = ct::mask64(v->dp[i] != 0);
        used = (nonZero & (std::uint64_t)(i + 1)) | (~nonZero & used);
    }
    v->used = (int)ct::declassified(used);
    v->sign = MP_ZPOS;
    return true;
}

bool TovarMp::mpint_to_base64url(const mp_int &a, StringBuffer &out, LogBase &) {
    MagnitudeBytes mag(a);
    if (!mag.ok())
        return false;
    DataBuffer db;
    db.setSensitive();
    if (mag.size() == 0)
        return db.appendChar(0) && db.encodeDB("base64url", out);
    return db.append(mag.data(), mag.size()) && db.encodeDB("base64url", out);
}

bool TovarMp::mpint_to_hex_zero_extended(const mp_int &a, unsigned byteCount, StringBuffer &out) {
    MagnitudeBytes mag(a);
    if (!mag.ok())
        return false;
    DataBuffer db;
    db.setSensitive();
    for (unsigned i = mag.size(); i < byteCount; ++i) {
        if (!db.appendChar(0))
            return false;
    }
    return db.append(mag.data(), mag.size()) && db.encodeDB("hex", out);
}

bool TovarMp::mpint_to_hex(const mp_int &a, StringBuffer &out) {
    if (!usable(a))
        return false;
    if (isNegative(a) && !out.appendChar('-'))
        return false;
    if (isZero(a))
        return out.append("0");
    StringBuffer hex;
    if (!mpint_to_hex_zero_extended(a, 0, hex))
        return false;
    const char *s = hex.getString();
    if (*s == '0')
        ++s;  // a byte-aligned text has at most one leading zero digit
    return out.append(s);
}

void TovarMp::log_mpint(const char *name, const mp_int &a, LogBase &log) {
    StringBuffer hex;
    // When memory is short the item is written empty rather than cut.
    log.logData(name, mpint_to_hex(a, hex) ? hex.getString() : "");
}

}  // namespace ecckey
