#include "bench/AllocCounter.h"

#include <cstddef>

namespace {
// A plain per-thread count: an atomic shared by all threads would slow every allocation of the libraries
// measured beside ecckey (LibTomCrypt allocates inside its point formulas) and bounce between threads.
thread_local std::uint64_t s_allocations = 0;
}  // namespace

#ifndef ECCKEY_NO_ALLOC_HOOK

// glibc's allocator under its internal names: the definitions below take the public names, so every
// library of the program (LibTomMath and libstdc++'s operator new among them) allocates through them.
extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *ptr, std::size_t size);

void *malloc(std::size_t size) {
    ++s_allocations;
    return __libc_malloc(size);
}

void *calloc(std::size_t count, std::size_t size) {
    ++s_allocations;
    return __libc_calloc(count, size);
}

void *realloc(void *ptr, std::size_t size) {
    ++s_allocations;
    return __libc_realloc(ptr, size);
}
}

namespace ecckey_alloc {
bool allocationCounterActive() {
    return true;
}
}  // namespace ecckey_alloc

#else

namespace ecckey_alloc {
bool allocationCounterActive() {
    return false;
}
}  // namespace ecckey_alloc

#endif

namespace ecckey_alloc {
std::uint64_t allocationCount() {
    return s_allocations;
}
}  // namespace ecckey_alloc
