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

// The sign bit of a digit: set after a subtraction that went below zero.
const int kSignShift = (int)(sizeof(mp_digit) * 8 - 1);

// True when a has a value, is non-negative and has at most n digits.
bool inRange(const ::mp_int *a, int n) { return a->dp && a->sign == MP_ZPOS && a->used <= n; }

// True when m is a usable positive modulus.
bool isModulus(const ::mp_int *m) { return m->dp && m->sign == MP_ZPOS && m->used > 0; }

// c's first len digits hold the result: clamps the count, zeroes the digits from len up to the old
// count, and sets the sign. c then holds what LibTomMath's own arithmetic would leave.
void finish(::mp_int *c, int len, int oldUsed, mp_sign sign) {
    for (int i = len; i < oldUsed; ++i) c->dp[i] = 0;
    int used = len;
    while (used > 0 && c->dp[used - 1] == 0) --used;
    c->used = used;
    c->sign = used == 0 ? MP_ZPOS : sign;
}

}  // namespace

namespace {

// The largest modulus the digit-level path handles, in digits (3840 bits; P-521 needs 9).
const int kMaxDigits = 64;

// Digit i of a, zero past its used digits.
inline mp_digit digitAt(const ::mp_int *a, int i) { return i < a->used ? a->dp[i] : 0; }

// r = a + b over n digits; returns the carry out of digit n - 1. r may be a's or b's digits.
inline mp_digit addDigits(const ::mp_int *a, const ::mp_int *b, int n, mp_digit *r) {
    mp_digit carry = 0;
    if (a->used == n && b->used == n) {
        const mp_digit *ad = a->dp, *bd = b->dp;
        for (int i = 0; i < n; ++i) {
            const mp_digit t = ad[i] + bd[i] + carry;
            r[i] = t & MP_MASK;
            carry = t >> MP_DIGIT_BIT;
        }
    } else {
        for (int i = 0; i < n; ++i) {
            const mp_digit t = digitAt(a, i) + digitAt(b, i) + carry;
            r[i] = t & MP_MASK;
            carry = t >> MP_DIGIT_BIT;
        }
    }
    return carry;
}

// r = a - b modulo β^n; returns the borrow out of digit n - 1. r may be a's or b's digits.
inline mp_digit subtractDigits(const ::mp_int *a, const ::mp_int *b, int n, mp_digit *r) {
    mp_digit borrow = 0;
    if (a->used == n && b->used == n) {
        const mp_digit *ad = a->dp, *bd = b->dp;
        for (int i = 0; i < n; ++i) {
            const mp_digit t = ad[i] - bd[i] - borrow;
            r[i] = t & MP_MASK;
            borrow = t >> kSignShift;
        }
    } else {
        for (int i = 0; i < n; ++i) {
            const mp_digit t = digitAt(a, i) - digitAt(b, i) - borrow;
            r[i] = t & MP_MASK;
            borrow = t >> kSignShift;
        }
    }
    return borrow;
}

}  // namespace

// Both outcomes of a correction are formed and the right one is kept with a mask: half the sums need the
// correction, and a mispredicted branch costs more than the few digits.
int TovarMp::mp_add_sub_once(const mp_int &a, const mp_int &b, const mp_int &m, mp_int &c) {
    const ::mp_int *A = L(a), *B = L(b), *M = L(m);
    ::mp_int *C = L(c);
    const int n = M->used;
    if (!isModulus(M) || n > kMaxDigits || !inRange(A, n) || !inRange(B, n) || !C->dp || C->alloc < n + 1) {
        int err = mp_add(a, b, c);
        if (err == MP_OKAY && mp_cmp(c, m) != -1) err = mp_sub(c, m, c);
        return err;
    }
    const int oldUsed = C->used;
    mp_digit *r = C->dp;
    // r (n digits) + carry·β^n = a + b.
    const mp_digit carry = addDigits(A, B, n, r);
    // s = r - m over n digits; r + carry·β^n is not below m exactly when carry is set or s did not borrow.
    mp_digit s[kMaxDigits];
    mp_digit borrow = 0;
    for (int i = 0; i < n; ++i) {
        const mp_digit t = r[i] - M->dp[i] - borrow;
        s[i] = t & MP_MASK;
        borrow = t >> kSignShift;
    }
    const mp_digit take = (mp_digit)0 - (carry | (borrow ^ 1u));
    for (int i = 0; i < n; ++i) r[i] = (s[i] & take) | (r[i] & ~take);
    r[n] = ((carry - borrow) & take) | (carry & ~take);
    finish(C, n + 1, oldUsed, MP_ZPOS);
    return MP_OKAY;
}

int TovarMp::mp_sub_add_once(const mp_int &a, const mp_int &b, const mp_int &m, mp_int &c) {
    const ::mp_int *A = L(a), *B = L(b), *M = L(m);
    ::mp_int *C = L(c);
    const int n = M->used;
    if (!isModulus(M) || n > kMaxDigits || !inRange(A, n) || !inRange(B, n) || !C->dp || C->alloc < n) {
        int err = mp_sub(a, b, c);
        if (err == MP_OKAY && mp_cmp_d(c, 0) == -1) err = mp_add(c, m, c);
        return err;
    }
    const int oldUsed = C->used;
    mp_digit *r = C->dp;
    // r = a - b modulo β^n; a borrow out of the top digit means a < b.
    const mp_digit borrow = subtractDigits(A, B, n, r);
    // s = r + m - β^n = a - b + m; its carry out of the top digit is 1 exactly when that is non-negative.
    mp_digit s[kMaxDigits];
    mp_digit carry = 0;
    for (int i = 0; i < n; ++i) {
        const mp_digit t = r[i] + M->dp[i] + carry;
        s[i] = t & MP_MASK;
        carry = t >> MP_DIGIT_BIT;
    }
    const mp_digit take = (mp_digit)0 - borrow;
    for (int i = 0; i < n; ++i) r[i] = (s[i] & take) | (r[i] & ~take);
    mp_sign sign = MP_ZPOS;
    if (borrow && !carry) {
        // b > a + m (b out of range): the result is -(b - a - m), whose magnitude is β^n - r.
        mp_digit negBorrow = 0;
        for (int i = 0; i < n; ++i) {
            const mp_digit t = (mp_digit)0 - r[i] - negBorrow;
            negBorrow = t >> kSignShift;
            r[i] = t & MP_MASK;
        }
        sign = MP_NEG;
    }
    finish(C, n, oldUsed, sign);
    return MP_OKAY;
}

int TovarMp::mp_halve_add_odd(mp_int &a, const mp_int &m) {
    ::mp_int *A = L(a);
    const ::mp_int *M = L(m);
    const int n = M->used;
    if (!isModulus(M) || n > kMaxDigits || !inRange(A, n) || A->alloc < n + 1) {
        int err = isOdd(a) ? mp_add(a, m, a) : MP_OKAY;
        return err == MP_OKAY ? mp_div_2(a, a) : err;
    }
    const int oldUsed = A->used;
    mp_digit *r = A->dp;
    // r = a + (m when a is odd) over n + 1 digits.
    const mp_digit odd = oldUsed > 0 ? (r[0] & 1u) : 0;
    const mp_digit addM = (mp_digit)0 - odd;
    mp_digit carry = 0;
    for (int i = 0; i < n; ++i) {
        const mp_digit t = digitAt(A, i) + (M->dp[i] & addM) + carry;
        r[i] = t & MP_MASK;
        carry = t >> MP_DIGIT_BIT;
    }
    r[n] = carry;
    // r = r / 2: each digit takes the low bit of the digit above it as its top bit.
    for (int i = 0; i < n; ++i) r[i] = (r[i] >> 1) | ((r[i + 1] & 1u) << (MP_DIGIT_BIT - 1));
    r[n] >>= 1;
    finish(A, n + 1, oldUsed, MP_ZPOS);
    return MP_OKAY;
}

}  // namespace ecckey
