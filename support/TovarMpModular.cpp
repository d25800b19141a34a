// The modular steps of the generic point arithmetic: a sum or difference brought back into [0, m) by one
// conditional correction, and the halving of a value modulo m.
//
// The point formulas make about as many of these steps as products, and on curve-sized operands
// LibTomMath's set-up around a few digits of work (sign dispatch, growth checks, the separate compare)
// costs more than the work itself. Operands in the formulas' range take a digit-level path here that
// leaves exactly what the LibTomMath sequence leaves: the same value, non-negative sign, the digit count
// clamped, the digits above it zero. Anything else (a negative operand, an operand longer than m, a
// result without room) runs the LibTomMath sequence itself.
#include "support/TovarMp.h"

// LibTomMath comes last: its header declares a global mp_int and function-like macros.
#include <tommath.h>

namespace ecckey {

namespace {

::mp_int *L(mp_int &a) { return static_cast<::mp_int *>(a.raw()); }
const ::mp_int *L(const mp_int &a) { return static_cast<const ::mp_int *>(a.raw()); }

// The largest modulus the digit-level path handles, in digits (3840 bits; P-521 needs 9).
const int kMaxDigits = 64;
// The sign bit of a digit: set after a subtraction that went below zero.
const int kSignShift = (int)(sizeof(mp_digit) * 8 - 1);

// True when a has a value, is non-negative and has at most n digits.
bool inRange(const ::mp_int *a, int n) { return a->dp && a->sign == MP_ZPOS && a->used <= n; }

// Writes len digits of r into c, clamps, and zeroes c's digits from its new count up to the larger of
// len and its old count: c then holds what LibTomMath's own arithmetic would leave.
void store(const mp_digit *r, int len, ::mp_int *c) {
    const int oldUsed = c->used;
    int used = len;
    while (used > 0 && r[used - 1] == 0) --used;
    for (int i = 0; i < used; ++i) c->dp[i] = r[i];
    const int end = oldUsed > len ? oldUsed : len;
    for (int i = used; i < end; ++i) c->dp[i] = 0;
    c->used = used;
    c->sign = MP_ZPOS;
}

}  // namespace

int TovarMp::mp_add_sub_once(const mp_int &a, const mp_int &b, const mp_int &m, mp_int &c) {
    const ::mp_int *A = L(a), *B = L(b), *M = L(m);
    ::mp_int *C = L(c);
    const int n = M->used;
    if (!inRange(A, n) || !inRange(B, n) || !M->dp || M->sign != MP_ZPOS || n == 0 || n > kMaxDigits ||
        !C->dp || C->alloc < n + 1) {
        int err = mp_add(a, b, c);
        if (err == MP_OKAY && mp_cmp(c, m) != -1) err = mp_sub(c, m, c);
        return err;
    }
    // r = a + b over n + 1 digits.
    mp_digit r[kMaxDigits + 1];
    mp_digit carry = 0;
    for (int i = 0; i < n; ++i) {
        const mp_digit t = (i < A->used ? A->dp[i] : 0) + (i < B->used ? B->dp[i] : 0) + carry;
        r[i] = t & MP_MASK;
        carry = t >> MP_DIGIT_BIT;
    }
    r[n] = carry;
    // r >= m: a carry out of digit n - 1 decides it, else the first differing digit from the top.
    bool notBelow = carry != 0;
    if (!notBelow) {
        int i = n - 1;
        while (i >= 0 && r[i] == M->dp[i]) --i;
        notBelow = i < 0 || r[i] > M->dp[i];
    }
    if (notBelow) {
        mp_digit borrow = 0;
        for (int i = 0; i < n; ++i) {
            const mp_digit t = r[i] - M->dp[i] - borrow;
            borrow = t >> kSignShift;
            r[i] = t & MP_MASK;
        }
        r[n] -= borrow;
    }
    store(r, n + 1, C);
    return MP_OKAY;
}

int TovarMp::mp_sub_add_once(const mp_int &a, const mp_int &b, const mp_int &m, mp_int &c) {
    const ::mp_int *A = L(a), *B = L(b), *M = L(m);
    ::mp_int *C = L(c);
    const int n = M->used;
    const auto sequence = [&]() {
        int err = mp_sub(a, b, c);
        if (err == MP_OKAY && mp_cmp_d(c, 0) == -1) err = mp_add(c, m, c);
        return err;
    };
    if (!inRange(A, n) || !inRange(B, n) || !M->dp || M->sign != MP_ZPOS || n == 0 || n > kMaxDigits ||
        !C->dp || C->alloc < n)
        return sequence();
    // r = a - b modulo β^n; a borrow out of the top digit means a < b.
    mp_digit r[kMaxDigits];
    mp_digit borrow = 0;
    for (int i = 0; i < n; ++i) {
        const mp_digit t = (i < A->used ? A->dp[i] : 0) - (i < B->used ? B->dp[i] : 0) - borrow;
        borrow = t >> kSignShift;
        r[i] = t & MP_MASK;
    }
    if (borrow) {
        // r + m - β^n = a - b + m: the carry out of the top digit is 1 exactly when that is non-negative.
        mp_digit carry = 0;
        for (int i = 0; i < n; ++i) {
            const mp_digit t = r[i] + M->dp[i] + carry;
            r[i] = t & MP_MASK;
            carry = t >> MP_DIGIT_BIT;
        }
        // b > a + m (b out of range): the sum stays negative, which only the sequence represents.
        if (carry == 0) return sequence();
    }
    store(r, n, C);
    return MP_OKAY;
}

int TovarMp::mp_halve_add_odd(mp_int &a, const mp_int &m) {
    ::mp_int *A = L(a);
    const ::mp_int *M = L(m);
    const int n = M->used;
    if (!inRange(A, n) || !M->dp || M->sign != MP_ZPOS || n == 0 || n > kMaxDigits || A->alloc < n + 1) {
        int err = isOdd(a) ? mp_add(a, m, a) : MP_OKAY;
        return err == MP_OKAY ? mp_div_2(a, a) : err;
    }
    mp_digit r[kMaxDigits + 1];
    int len = A->used;
    for (int i = 0; i < len; ++i) r[i] = A->dp[i];
    if (len > 0 && (r[0] & 1u) != 0) {
        // r = a + m over n + 1 digits.
        mp_digit carry = 0;
        for (int i = 0; i < n; ++i) {
            const mp_digit t = (i < len ? r[i] : 0) + M->dp[i] + carry;
            r[i] = t & MP_MASK;
            carry = t >> MP_DIGIT_BIT;
        }
        r[n] = carry;
        len = n + 1;
    }
    // r = r / 2: each digit takes the low bit of the digit above it as its top bit.
    for (int i = 0; i < len; ++i) {
        const mp_digit above = i + 1 < len ? r[i + 1] : 0;
        r[i] = (r[i] >> 1) | ((above & 1u) << (MP_DIGIT_BIT - 1));
    }
    store(r, len, A);
    return MP_OKAY;
}

}  // namespace ecckey
