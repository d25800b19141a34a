// FixedField<N>: the field of the point formulas (PointFormulas.h) on fixed-width limbs, for the scalar
// multiplications of the generic curves. Coordinates are FieldMont<N> elements (Montgomery form with
// R = 2^(64N)); the operations are constant time, and none can fail except the inversion of zero.
//
// It reproduces the big-integer path's results exactly. Both paths hold the same values, only under
// different radices (R here, LibTomMath's β there), and every comparison the formulas make is between
// values, with one exception: the addition's test for "Q.Z is the plain integer 1", a raw-digit test that
// in value terms asks whether Z = β⁻¹ mod p. isPlainOne therefore compares with the form of β⁻¹ here.
#pragma once

#include <cstdint>
#include <type_traits>

#include "ecc/EccPoint.h"
#include "ecc/arith/FieldMont.h"
#include "ecc/arith/PointFormulas.h"
#include "support/MpInt.h"
#include "support/TovarMp.h"
#include "support/Wipe.h"

namespace ecckey {

// The limb count of the fixed-width field for modulus p: the number of 64-bit limbs an odd p needs, for
// the sizes the catalogue uses (3, 4, 5, 6, 8 and 9 limbs: 129 to 576 bits but 385 to 448); 0 for an even
// p or another size, which the big-integer path then serves.
int fixedFieldLimbs(const mp_int &p);

// Runs run(std::integral_constant<int, N>()) for p's limb count, or fallback() when it has none.
template <class Run, class Fallback>
[[nodiscard]] bool withFixedFieldLimbs(const mp_int &p, Run run, Fallback fallback) {
    switch (fixedFieldLimbs(p)) {
        case 3:
            return run(std::integral_constant<int, 3>());
        case 4:
            return run(std::integral_constant<int, 4>());
        case 5:
            return run(std::integral_constant<int, 5>());
        case 6:
            return run(std::integral_constant<int, 6>());
        case 8:
            return run(std::integral_constant<int, 8>());
        case 9:
            return run(std::integral_constant<int, 9>());
        default:
            return fallback();
    }
}

template <int N>
class FixedField {
  public:
    typedef FieldMont<N> Field;
    typedef typename Field::Elem Elem;
    struct Point {
        Elem m_x, m_y, m_z;
    };
    struct Scratch {
        Elem t1, t2, x, y, z;
        Point q;  // the masked addition's copy of Q
    };

    // Modulus p (odd, N limbs; see fixedFieldLimbs) and the coefficient a, plain, or null for a = −3.
    // False when p does not fit or a big-integer step fails.
    [[nodiscard]] bool setUp(const mp_int &p, const mp_int *a);

    // out = P in Montgomery form. P's coordinates are taken modulo p (public values: the reduction, when
    // one is needed, is LibTomMath's).
    [[nodiscard]] bool load(const EccPoint &P, Point &out) const;
    // R = M mapped to affine normal form, Z = 1; M is not modified and R's m_format is not written. For Z = 0
    // it returns false and leaves in R what the big-integer map leaves: X and Y in LibTomMath's Montgomery
    // form, Z = 0. Every temporary is wiped.
    [[nodiscard]] bool store(const Point &M, EccPoint &R) const;

    const Field &field() const { return m_f; }

    // The point formulas' operations (PointFormulas.h).
    [[nodiscard]] bool mul(const Elem &a, const Elem &b, Elem &c) const {
        m_f.mul(a, b, c);
        return true;
    }
    [[nodiscard]] bool sqr(const Elem &a, Elem &c) const {
        m_f.sqr(a, c);
        return true;
    }
    [[nodiscard]] bool add(const Elem &a, const Elem &b, Elem &c) const {
        m_f.add(a, b, c);
        return true;
    }
    [[nodiscard]] bool sub(const Elem &a, const Elem &b, Elem &c) const {
        m_f.sub(a, b, c);
        return true;
    }
    [[nodiscard]] bool halve(Elem &t) const {
        m_f.halve(t, t);
        return true;
    }
    [[nodiscard]] bool hasA() const { return m_hasA; }
    // a in Montgomery form: a Montgomery product keeps v's form.
    [[nodiscard]] bool mulByA(const Elem &v, Elem &c) const {
        m_f.mul(v, m_aMont, c);
        return true;
    }
    [[nodiscard]] bool negate(const Elem &a, Elem &c) const {
        m_f.neg(a, c);
        return true;
    }
    [[nodiscard]] bool isEqual(const Elem &a, const Elem &b) const { return Field::isEqual(a, b); }
    [[nodiscard]] bool isPlainOne(const Elem &z) const { return Field::isEqual(z, m_plainOne); }
    [[nodiscard]] bool isZero(const Elem &a) const { return Field::isZero(a); }
    const Elem &one() const { return m_f.one(); }
    void select(std::uint64_t mask, const Elem &a, const Elem &b, Elem &c) const {
        Field::select(mask, a, b, c);
    }
    [[nodiscard]] bool isReduced(const Elem &a) const { return m_f.isReduced(a); }
    [[nodiscard]] bool copy(const Elem &a, Elem &c) const {
        c = a;
        return true;
    }
    void copyPoint(const Point &P, Point &R) const { R = P; }
    [[nodiscard]] bool leaveMontgomery(Elem &a) const {
        m_f.fromMont(a, a);
        return true;
    }
    // c = a⁻¹ for a normal-form a: into Montgomery form, inverted there, and back. The map inverts Z, and
    // Z = 0 is the point at infinity, which every caller reports as a failure: whether a is zero is made
    // public, and only it.
    [[nodiscard]] bool invert(const Elem &a, Elem &c) const {
        if (ct::declassified(Field::isZero(a)))
            return false;
        m_f.toMont(a, c);
        m_f.invert(c, c);
        m_f.fromMont(c, c);
        return true;
    }
    // c = a·b mod p for normal-form values: a Montgomery product leaves a factor R⁻¹, a second one with R²
    // turns it into R⁰.
    [[nodiscard]] bool mulPlain(const Elem &a, const Elem &b, Elem &c) const {
        m_f.mul(a, b, c);
        m_f.toMont(c, c);
        return true;
    }
    [[nodiscard]] bool sqrPlain(const Elem &a, Elem &c) const { return mulPlain(a, a, c); }
    void setOne(Elem &a) const {
        a = Elem{};
        a.w[0] = 1;
    }

  private:
    // c = v mod p as limbs, in normal form.
    [[nodiscard]] bool loadReduced(const mp_int &v, Elem &c) const;

    Field m_f;
    const mp_int *m_p = nullptr;
    Elem m_aMont{};
    bool m_hasA = false;
    Elem m_plainOne{};  // β⁻¹·R mod p
};

template <int N>
bool FixedField<N>::setUp(const mp_int &p, const mp_int *a) {
    Elem modulus;
    if (fixedFieldLimbs(p) != N || !TovarMp::mpint_to_limbs(p, modulus.w, N) || !m_f.setUp(modulus))
        return false;
    m_p = &p;
    m_hasA = a != nullptr;
    if (m_hasA) {
        if (!loadReduced(*a, m_aMont))
            return false;
        m_f.toMont(m_aMont, m_aMont);
    }
    // β = 2^(D·u) for u digits of D bits in p, so β⁻¹·R = 2^(64N − D·u): a power of two mod p, reached by
    // doubling or halving 1.
    const int exponent = 64 * N - mp_int::digitBits() * p.get_digit_count();
    setOne(m_plainOne);
    for (int i = 0; i < exponent; ++i)
        m_f.add(m_plainOne, m_plainOne, m_plainOne);
    for (int i = 0; i > exponent; --i)
        m_f.halve(m_plainOne, m_plainOne);
    return true;
}

template <int N>
bool FixedField<N>::loadReduced(const mp_int &v, Elem &c) const {
    if (!TovarMp::isNegative(v) && TovarMp::mp_cmp(v, *m_p) < 0)
        return TovarMp::mpint_to_limbs(v, c.w, N);
    mp_int reduced;
    return TovarMp::mp_mod(v, *m_p, reduced) == 0 && TovarMp::mpint_to_limbs(reduced, c.w, N);
}

template <int N>
bool FixedField<N>::load(const EccPoint &P, Point &out) const {
    if (!loadReduced(P.m_x, out.m_x) || !loadReduced(P.m_y, out.m_y) || !loadReduced(P.m_z, out.m_z))
        return false;
    m_f.toMont(out.m_x, out.m_x);
    m_f.toMont(out.m_y, out.m_y);
    m_f.toMont(out.m_z, out.m_z);
    return true;
}

template <int N>
bool FixedField<N>::store(const Point &M, EccPoint &R) const {
    Point P = M;
    Scratch s;
    bool ok = jacobianToAffine(*this, P, s);
    if (ok) {
        ok = TovarMp::mpint_from_limbs(R.m_x, P.m_x.w, N) && TovarMp::mpint_from_limbs(R.m_y, P.m_y.w, N) &&
             TovarMp::mp_set(R.m_z, 1) == 0;
    } else {
        // The point at infinity: X and Y into normal form, then times β mod p, as the big-integer path
        // holds them; Z is already 0.
        mp_int mu;
        m_f.fromMont(P.m_x, P.m_x);
        m_f.fromMont(P.m_y, P.m_y);
        if (TovarMp::mp_montgomery_normalization(mu, *m_p) == 0 &&
            TovarMp::mpint_from_limbs(R.m_x, P.m_x.w, N) && TovarMp::mpint_from_limbs(R.m_y, P.m_y.w, N) &&
            TovarMp::mpint_from_limbs(R.m_z, P.m_z.w, N)) {
            (void)TovarMp::mp_mulmod(R.m_x, mu, *m_p, R.m_x);
            (void)TovarMp::mp_mulmod(R.m_y, mu, *m_p, R.m_y);
        }
    }
    wipe(&P, sizeof P);
    wipe(&s, sizeof s);
    return ok;
}

}  // namespace ecckey
