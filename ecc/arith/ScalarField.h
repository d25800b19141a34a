// ScalarField<N>: the integers modulo the group order n of a generic curve, on fixed-width limbs, for the
// secret scalars of key generation and signing (d, k, k⁻¹, d·r, e + d·r).
//
// LibTomMath would do this arithmetic in variable time and leave copies of its operands in the blocks it
// frees unwiped; here every value lives in N 64-bit limbs on the stack, in FieldMont<N> modulo n (odd,
// of 3 to 9 limbs like p), and every operation runs the same instructions on the same addresses whatever
// the values. Reductions of longer values go limb by limb (Horner's rule), an inverse is Fermat's
// k^(n − 2) over the public exponent. Values are in normal form below n unless a name says otherwise.
//
// The non-template functions after the class serve the key generator and the signers: each takes n as an
// mp_int, picks the limb count (fixedFieldLimbs), works on the stack, wipes what it used and writes its
// result into an mp_int through TovarMp::mpint_from_limbs. Each returns false, writing nothing, when n
// has no limb count of the field's.
#pragma once

#include "ecc/arith/FieldMont.h"
#include "support/ConstantTime.h"
#include "support/MpInt.h"
#include "support/TovarMp.h"
#include "support/Wipe.h"

namespace ecckey {

template <int N>
class ScalarField {
  public:
    typedef typename FieldMont<N>::Elem Elem;

    // n: the group order (odd, N limbs). False when it does not fit.
    [[nodiscard]] bool setUp(const mp_int &n);

    // c = v mod n. Only v's digit count steers the work; its digits are read whatever they hold.
    void reduce(const mp_int &v, Elem &c) const;
    // c = the big-endian bytes be[0..len) read as an integer, mod n.
    void reduceBytes(const unsigned char *be, unsigned len, Elem &c) const;
    // Whether 1 <= v < n, for v of N limbs, decided without a branch: the caller decides what may be known.
    [[nodiscard]] bool inRange(const Elem &v) const;
    // s = k⁻¹·(e + d·r) mod n. k = 0 gives s = 0.
    void sign(const Elem &k, const Elem &d, const Elem &e, const Elem &r, Elem &s) const;

  private:
    // acc = acc·2^b + v mod n, shifted in by one Montgomery product with 2^b in Montgomery form.
    void shiftIn(Elem &acc, const Elem &shift, std::uint64_t v) const;

    FieldMont<N> m_f;
    Elem m_digitShift{};  // 2^D·R mod n, D the mp_int digit width
    Elem m_limbShift{};   // 2^64·R mod n
};

template <int N>
bool ScalarField<N>::setUp(const mp_int &n) {
    Elem modulus;
    if (!TovarMp::mpint_to_limbs(n, modulus.w, N) || !m_f.setUp(modulus))
        return false;
    // n is above 2^128 (3 limbs or more), so 2^64 and 2^D are plain values below it.
    Elem power{};
    power.w[0] = std::uint64_t(1) << mp_int::digitBits();
    m_f.toMont(power, m_digitShift);
    power.w[0] = 0;
    power.w[1] = 1;
    m_f.toMont(power, m_limbShift);
    return true;
}

template <int N>
void ScalarField<N>::shiftIn(Elem &acc, const Elem &shift, std::uint64_t v) const {
    Elem low{};
    low.w[0] = v;
    m_f.mul(acc, shift, acc);
    m_f.add(acc, low, acc);
    wipe(&low, sizeof low);
}

template <int N>
void ScalarField<N>::reduce(const mp_int &v, Elem &c) const {
    c = Elem{};
    for (int i = v.get_digit_count() - 1; i >= 0; --i)
        shiftIn(c, m_digitShift, v.get_digit(i));
}

template <int N>
void ScalarField<N>::reduceBytes(const unsigned char *be, unsigned len, Elem &c) const {
    c = Elem{};
    // The first group takes len mod 8 bytes (8 when none are left over); the shift of an empty
    // accumulator changes nothing.
    unsigned i = 0, group = len % 8 ? len % 8 : 8;
    while (i < len) {
        std::uint64_t limb = 0;
        for (unsigned j = 0; j < group; ++j)
            limb = (limb << 8) | be[i + j];
        shiftIn(c, m_limbShift, limb);
        i += group;
        group = 8;
    }
}

template <int N>
bool ScalarField<N>::inRange(const Elem &v) const {
    std::uint64_t borrow = 0, any = 0;
    for (int j = 0; j < N; ++j) {
        const unsigned __int128 difference = (unsigned __int128)v.w[j] - m_f.modulus().w[j] - borrow;
        borrow = (std::uint64_t)(difference >> 127);
        any |= v.w[j];
    }
    // v − n borrows exactly when v < n; any is zero exactly when v is.
    return (borrow & ((any | (0 - any)) >> 63)) != 0;
}

// d·r with d in Montgomery form gives d·r in normal form; k⁻¹ stays in Montgomery form, so the last
// product gives s in normal form.
template <int N>
void ScalarField<N>::sign(const Elem &k, const Elem &d, const Elem &e, const Elem &r, Elem &s) const {
    Elem dMont, t, kMont, kInverse;
    m_f.toMont(d, dMont);
    m_f.mul(dMont, r, t);  // t = d·r
    m_f.add(t, e, t);      // t = e + d·r
    m_f.toMont(k, kMont);
    m_f.invert(kMont, kInverse);  // k⁻¹·R
    m_f.mul(t, kInverse, s);      // s = (e + d·r)·k⁻¹
    wipe(&dMont, sizeof dMont);
    wipe(&t, sizeof t);
    wipe(&kMont, sizeof kMont);
    wipe(&kInverse, sizeof kInverse);
}

// d = be, unreduced (secp256k1 keeps its default draw as it is), through limbs: LibTomMath's reader would
// branch on the bytes. False for more than 72 bytes.
[[nodiscard]] bool scalarFromBytesUnreduced(const unsigned char *be, unsigned len, mp_int &d);
// d = be mod n (the key generator's default draw: its byte length is the field's, so it may be n or
// above).
[[nodiscard]] bool scalarFromBytesModOrder(const mp_int &n, const unsigned char *be, unsigned len, mp_int &d);
// d = be when 1 <= be < n (the uniform draw's test of a candidate); false, d untouched, otherwise. Only
// the verdict is made public: refusing a candidate tells nothing about the one that is kept.
[[nodiscard]] bool scalarFromBytesInRange(const mp_int &n, const unsigned char *be, unsigned len, mp_int &d);
// v = v mod n, in place, for a non-negative v of any length.
[[nodiscard]] bool reduceScalarModOrder(const mp_int &n, mp_int &v);
// Whether 1 <= v < n (a non-negative v of any length); the verdict is made public.
[[nodiscard]] bool scalarInRange(const mp_int &n, const mp_int &v);
// s = k⁻¹·(e + d·r) mod n for a private scalar d and a nonce k of any length (both reduced first), a
// public e of any length and a public r below n. s is made public: it is the signature's second half.
// False, s untouched, when k is 0 modulo n (it has no inverse; the verdict is made public).
[[nodiscard]] bool signScalars(const mp_int &n, const mp_int &d, const mp_int &k, const mp_int &e,
                               const mp_int &r, mp_int &s);

}  // namespace ecckey
