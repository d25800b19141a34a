#include "ecc/arith/ScalarField.h"

#include <type_traits>

#include "ecc/arith/FixedField.h"
#include "support/Wipe.h"

namespace ecckey {

namespace {

// The field's elements of one call, wiped on every way out.
template <int N>
struct Scalars {
    typename ScalarField<N>::Elem a, b, c, d;
    ~Scalars() { wipe(this, sizeof *this); }
};

// Runs run(field, scalars) on a ScalarField of n's limb count; false when n has none or does not fit.
template <class Run>
[[nodiscard]] bool withScalarField(const mp_int &n, Run run) {
    return withFixedFieldLimbs(
        n,
        [&](auto limbs) {
            constexpr int N = decltype(limbs)::value;
            ScalarField<N> f;
            Scalars<N> v;
            return f.setUp(n) && run(f, v);
        },
        [] { return false; });
}

// e = the big-endian bytes, in N limbs; false when they need more.
template <class Elem>
[[nodiscard]] bool limbsOfBytes(const unsigned char *be, unsigned len, Elem &e) {
    constexpr unsigned kLimbs = std::extent_v<decltype(Elem::w)>;
    if (len > 8 * kLimbs)
        return false;
    e = Elem{};
    for (unsigned i = 0; i < len; ++i)
        e.w[i / 8] |= (std::uint64_t)be[len - 1 - i] << (8 * (i % 8));
    return true;
}

template <class Elem>
bool store(const Elem &v, mp_int &out) {
    return TovarMp::mpint_from_limbs(out, v.w, (int)std::extent_v<decltype(Elem::w)>);
}

}  // namespace

bool scalarFromBytesUnreduced(const unsigned char *be, unsigned len, mp_int &d) {
    struct {
        std::uint64_t w[9];
    } limbs;
    const bool ok = limbsOfBytes(be, len, limbs) && TovarMp::mpint_from_limbs(d, limbs.w, (int)(len + 7) / 8);
    wipe(&limbs, sizeof limbs);
    return ok;
}

bool scalarFromBytesModOrder(const mp_int &n, const unsigned char *be, unsigned len, mp_int &d) {
    return withScalarField(n, [&](const auto &f, auto &v) {
        f.reduceBytes(be, len, v.a);
        return store(v.a, d);
    });
}

bool scalarFromBytesInRange(const mp_int &n, const unsigned char *be, unsigned len, mp_int &d) {
    return withScalarField(n, [&](const auto &f, auto &v) {
        return limbsOfBytes(be, len, v.a) && ct::declassified(f.inRange(v.a)) && store(v.a, d);
    });
}

bool reduceScalarModOrder(const mp_int &n, mp_int &v) {
    return withScalarField(n, [&](const auto &f, auto &s) {
        f.reduce(v, s.a);
        return store(s.a, v);
    });
}

bool scalarInRange(const mp_int &n, const mp_int &v) {
    return withScalarField(n, [&](const auto &f, auto &s) {
        constexpr int N = std::extent_v<decltype(s.a.w)>;
        return TovarMp::mpint_to_limbs(v, s.a.w, N) && ct::declassified(f.inRange(s.a));
    });
}

bool signScalars(const mp_int &n, const mp_int &d, const mp_int &k, const mp_int &e, const mp_int &r,
                 mp_int &s) {
    return withScalarField(n, [&](const auto &f, auto &v) {
        constexpr int N = std::extent_v<decltype(v.a.w)>;
        f.reduce(k, v.a);
        // k = 0 mod n: the only scalar without an inverse; only a broken generator draws it.
        if (!ct::declassified(f.inRange(v.a)) || !TovarMp::mpint_to_limbs(r, v.d.w, N))
            return false;
        f.reduce(d, v.b);
        f.reduce(e, v.c);
        f.sign(v.a, v.b, v.c, v.d, v.a);
        ct::declassify(&v.a, sizeof v.a);  // s, the signature's second half
        return store(v.a, s);
    });
}

}  // namespace ecckey
