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

::mp_int *L(mp_int &a) {
    return static_cast<::mp_int *>(a.raw());
}
const ::mp_int *L(const mp_int &a) {
    return static_cast<const ::mp_int *>(a.raw());
}

// The sign bit of a digit: set after a subtraction that went below zero.
const int kSignShift = (int)(sizeof(mp_digit) * 8 - 1);

// True when a has a value, is non-negative and has at most n digits.
bool inRange(const ::mp_int *a, int n) {
    return a->dp && a->sign == MP_ZPOS && a->used <= n;
}

// True when m is a usable positive modulus.
[[nodiscard]] bool isModulus(const ::mp_int *m) {
    return m->dp && m->sign == MP_ZPOS && m->used > 0;
}

// c's first len digits hold the result: clamps the count, zeroes the digits from len up to the old
// count, and sets the sign. c then holds what LibTomMath's own arithmetic would leave.
void finish(::mp_int *c, int len, int oldUsed, mp_sign sign) {
    for (int i = len; i < oldUsed; ++i)
        c->dp[i] = 0;
    int used = len;
    while (used > 0 && c->dp[used - 1] == 0)
        --used;
    c->used = used;
    c->sign = used == 0 ? MP_ZPOS : sign;
}

}  // namespace

// Digit loops read digit i of each operand before writing digit i of the result, so the result may be
// either operand.
int TovarMp::mp_add_sub_once(const mp_int &a, const mp_int &b, const mp_int &m, mp_int &c) {
    const ::mp_int *A = L(a), *B = L(b), *M = L(m);
    ::mp_int *C = L(c);
    const int n = M->used;
    if (!isModulus(M) || !inRange(A, n) || !inRange(B, n) || !C->dp || C->alloc < n + 1) {
        int err = mp_add(a, b, c);
        if (err == MP_OKAY && mp_cmp(c, m) != -1)
            err = mp_sub(c, m, c);
        return err;
    }
    const int oldUsed = C->used, aUsed = A->used, bUsed = B->used;
    mp_digit *r = C->dp;
    // r = a + b over n + 1 digits.
    mp_digit carry = 0;
    for (int i = 0; i < n; ++i) {
        const mp_digit t = (i < aUsed ? A->dp[i] : 0) + (i < bUsed ? B->dp[i] : 0) + carry;
        r[i] = t & MP_MASK;
        carry = t >> MP_DIGIT_BIT;
    }
    r[n] = carry;
    // r >= m: a carry out of digit n - 1 decides it, else the first differing digit from the top.
    bool notBelow = carry != 0;
    if (!notBelow) {
        int i = n - 1;
        while (i >= 0 && r[i] == M->dp[i])
            --i;
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
    finish(C, n + 1, oldUsed, MP_ZPOS);
    return MP_OKAY;
}

int TovarMp::mp_sub_add_once(const mp_int &a, const mp_int &b, const mp_int &m, mp_int &c) {
    const ::mp_int *A = L(a), *B = L(b), *M = L(m);
    ::mp_int *C = L(c);
    const int n = M->used;
    if (!isModulus(M) || !inRange(A, n) || !inRange(B, n) || !C->dp || C->alloc < n) {
        int err = mp_sub(a, b, c);
        if (err == MP_OKAY && mp_cmp_d(c, 0) == -1)
            err = mp_add(c, m, c);
        return err;
    }
    const int oldUsed = C->used, aUsed = A->used, bUsed = B->used;
    mp_digit *r = C->dp;
    // r = a - b modulo β^n; a borrow out of the top digit means a < b.
    mp_digit borrow = 0;
    for (int i = 0; i < n; ++i) {
        const mp_digit t = (i < aUsed ? A->dp[i] : 0) - (i < bUsed ? B->dp[i] : 0) - borrow;
        borrow = t >> kSignShift;
        r[i] = t & MP_MASK;
    }
    mp_sign sign = MP_ZPOS;
    if (borrow) {
        // r + m - β^n = a - b + m: the carry out of the top digit is 1 exactly when that is non-negative.
        mp_digit carry = 0;
        for (int i = 0; i < n; ++i) {
            const mp_digit t = r[i] + M->dp[i] + carry;
            r[i] = t & MP_MASK;
            carry = t >> MP_DIGIT_BIT;
        }
        if (carry == 0) {
            // b > a + m (b out of range): the result is -(b - a - m), whose magnitude is β^n - r.
            mp_digit negBorrow = 0;
            for (int i = 0; i < n; ++i) {
                const mp_digit t = (mp_digit)0 - r[i] - negBorrow;
                negBorrow = t >> kSignShift;
                r[i] = t & MP_MASK;
            }
            sign = MP_NEG;
        }
    }
    finish(C, n, oldUsed, sign);
    return MP_OKAY;
}

int TovarMp::mp_halve_add_odd(mp_int &a, const mp_int &m) {
    ::mp_int *A = L(a);
    const ::mp_int *M = L(m);
    const int n = M->used;
    if (!isModulus(M) || !inRange(A, n) || A->alloc < n + 1) {
        int err = isOdd(a) ? mp_add(a, m, a) : MP_OKAY;
        return err == MP_OKAY ? mp_div_2(a, a) : err;
    }
    const int oldUsed = A->used;
    mp_digit *r = A->dp;
    int len = oldUsed;
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
    finish(A, len, oldUsed, MP_ZPOS);
    return MP_OKAY;
}

}  // namespace ecckey
