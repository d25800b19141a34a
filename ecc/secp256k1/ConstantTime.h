// Helpers for masks and wiping, shared by the fixed-width code: the secp256k1 engine and the generic
// curves' field (ecc/arith/FieldMont.h). Internal to the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

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
    return opaque(0u - c);
}
// k = c - 1: all ones when c is 0, zero when c is 1.
inline std::uint32_t keepMask(unsigned c) {
    return opaque(c - 1u);
}

// Zeroes a temporary that held secret-dependent values; the barrier keeps the store from being elided
// as dead.
inline void wipe(void *p, std::size_t len) {
    std::memset(p, 0, len);
    __asm__ __volatile__("" : : "r"(p) : "memory");
}

}  // namespace ct
}  // namespace ecckey
