// Helpers for masks and declassifying, shared by the fixed-width code: the secp256k1 engine, the
// generic curves' field and scalars (ecc/arith/) and the conversions of secrets to and from mp_int
// (support/TovarMp.cpp). Internal to the library.
#pragma once

#include <cstddef>
#include <cstdint>

#include "support/Invariant.h"

#if __has_include(<valgrind/memcheck.h>)
#include <valgrind/memcheck.h>
#define ECCKEY_MARK_DEFINED(p, n) VALGRIND_MAKE_MEM_DEFINED(p, n)
#else
#define ECCKEY_MARK_DEFINED(p, n) ((void)(p), (void)(n))
#endif

namespace ecckey {
namespace ct {

// Prevents the optimiser from knowing what a value is. Applied to a mask it stops the compiler from
// proving the mask is 0 or ~0 and rewriting the blend as a branch on the condition it came from.
inline std::uint32_t opaque(std::uint32_t v) {
    __asm__("" : "+r"(v));
    return v;
}

inline std::uint64_t opaque64(std::uint64_t v) {
    __asm__("" : "+r"(v));
    return v;
}

// m = -c: all ones when c is 1, zero when c is 0.
inline std::uint32_t takeMask(unsigned c) {
    ECCKEY_INVARIANT(c <= 1u);
    return opaque(0u - c);
}
// k = c - 1: all ones when c is 0, zero when c is 1.
inline std::uint32_t keepMask(unsigned c) {
    ECCKEY_INVARIANT(c <= 1u);
    return opaque(c - 1u);
}

// m = all ones when c is true, zero when it is false; c must come from arithmetic, not from a branch.
inline std::uint64_t mask64(bool c) {
    return opaque64(0 - (std::uint64_t)c);
}

// Declares a value computed from a secret to be public from here on, so that the code after it may branch
// on it. Each caller says why the value may be known: an output the caller hands out (a public key, a
// signature, a shared secret), or a verdict that only a broken key or generator turns the other way. For
// valgrind's constant-time check (tests/ctcheck), which reports every branch and memory index that depends
// on data marked secret, it marks the bytes defined; run natively it costs a few instructions and changes
// nothing.
inline void declassify(const void *p, std::size_t len) {
    ECCKEY_MARK_DEFINED(p, len);
}
template <class T>
inline T declassified(T v) {
    declassify(&v, sizeof v);
    return v;
}

}  // namespace ct
}  // namespace ecckey
