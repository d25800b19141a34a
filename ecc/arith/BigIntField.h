// BigIntField: the field of the point formulas (PointFormulas.h) over LibTomMath, for EccPoint records
// whose mp_int coordinates are in Montgomery form modulo p with LibTomMath's radix β.
//
// Coordinates stay in [0, p): a sum is followed by one conditional subtraction of p, a difference by one
// conditional addition of p, and a product or square by one Montgomery reduction (LibTomMath's reduce ends
// below p for inputs below p², so no further correction is needed). The coefficient a is the plain
// integer; the scratch may hold its Montgomery form. Not constant time.
#pragma once

#include "ecc/EccPoint.h"
#include "ecc/arith/EccArith.h"
#include "support/TovarMp.h"

namespace ecckey {

class BigIntField {
  public:
    typedef mp_int Elem;
    typedef EccPoint Point;
    typedef EccArithScratch Scratch;

    // a: null for a = −3. s: the scratch the formulas get, read here for a's Montgomery form.
    BigIntField(const mp_int *a, const mp_int &p, MpDigit digit, const EccArithScratch &s)
        : m_a(a), m_p(p), m_digit(digit), m_s(s) {}

    // c = a·b·β⁻¹ mod p, c = a²·β⁻¹ mod p.
    [[nodiscard]] bool mul(const mp_int &a, const mp_int &b, mp_int &c) const {
        return TovarMp::mp_mul(a, b, c) == 0 && TovarMp::mp_montgomery_reduce(c, m_p, m_digit) == 0;
    }
    [[nodiscard]] bool sqr(const mp_int &a, mp_int &c) const {
        return TovarMp::mp_sqr(a, c) == 0 && TovarMp::mp_montgomery_reduce(c, m_p, m_digit) == 0;
    }
    // c = a + b, minus p once when the sum is not below p; c = a − b, plus p once when it is negative.
    [[nodiscard]] bool add(const mp_int &a, const mp_int &b, mp_int &c) const {
        return TovarMp::mp_add_sub_once(a, b, m_p, c) == 0;
    }
    [[nodiscard]] bool sub(const mp_int &a, const mp_int &b, mp_int &c) const {
        return TovarMp::mp_sub_add_once(a, b, m_p, c) == 0;
    }
    // An odd t is made even by adding p (no reduction; t + p < 2p halves below p).
    [[nodiscard]] bool halve(mp_int &t) const { return TovarMp::mp_halve_add_odd(t, m_p) == 0; }

    [[nodiscard]] bool hasA() const { return m_a != nullptr; }
    // c = v·a mod p: one Montgomery product with a's Montgomery form when the scratch holds it, else a
    // modular multiplication by the plain a (which allocates).
    [[nodiscard]] bool mulByA(const mp_int &v, mp_int &c) const {
        if (m_s.hasA)
            return mul(v, m_s.aMont, c);
        return TovarMp::mp_mulmod(v, *m_a, m_p, c) == 0;
    }

    // p − a, not reduced: p itself for a = 0, which no reduced Y equals (a Y of 0 matches Q.Y first).
    [[nodiscard]] bool negate(const mp_int &a, mp_int &c) const { return TovarMp::mp_sub(m_p, a, c) == 0; }
    [[nodiscard]] bool isEqual(const mp_int &a, const mp_int &b) const { return TovarMp::mp_cmp(a, b) == 0; }
    [[nodiscard]] bool isPlainOne(const mp_int &z) const { return TovarMp::mp_cmp_d(z, 1) == 0; }
    [[nodiscard]] bool isReduced(const mp_int &a) const {
        return !TovarMp::isNegative(a) && TovarMp::mp_cmp(a, m_p) < 0;
    }
    [[nodiscard]] bool copy(const mp_int &a, mp_int &c) const { return TovarMp::mp_copy(a, c) == 0; }
    // m_format, X, Y and Z; the copies are not checked (the coordinates have room by then).
    void copyPoint(const EccPoint &P, EccPoint &R) const {
        R.m_format = P.m_format;
        (void)TovarMp::mp_copy(P.m_x, R.m_x);
        (void)TovarMp::mp_copy(P.m_y, R.m_y);
        (void)TovarMp::mp_copy(P.m_z, R.m_z);
    }

    [[nodiscard]] bool leaveMontgomery(mp_int &a) const {
        return TovarMp::mp_montgomery_reduce(a, m_p, m_digit) == 0;
    }
    [[nodiscard]] bool invert(const mp_int &a, mp_int &c) const { return TovarMp::mp_invmod(a, m_p, c) == 0; }
    [[nodiscard]] bool sqrPlain(const mp_int &a, mp_int &c) const {
        return TovarMp::mp_sqr(a, c) == 0 && TovarMp::mp_mod(c, m_p, c) == 0;
    }
    [[nodiscard]] bool mulPlain(const mp_int &a, const mp_int &b, mp_int &c) const {
        return TovarMp::mp_mul(a, b, c) == 0 && TovarMp::mp_mod(c, m_p, c) == 0;
    }
    void setOne(mp_int &a) const { (void)TovarMp::mp_set(a, 1); }

  private:
    const mp_int *m_a;
    const mp_int &m_p;
    MpDigit m_digit;
    const EccArithScratch &m_s;
};

}  // namespace ecckey
