// Counts the heap allocations of the whole program: malloc, calloc and realloc are replaced by wrappers
// that count and then call glibc's own allocator. Linked into the benchmark program and into the
// allocation test program only; a sanitizer build, whose runtime owns malloc, leaves the counter at zero
// and allocationCounterActive() false.
#pragma once

#include <cstdint>

namespace ecckey_alloc {

// Allocations (malloc, calloc and realloc calls) made by the calling thread since it started. Per thread,
// so that one thread's count is not disturbed by another's and counting costs no shared cache line.
std::uint64_t allocationCount();
bool allocationCounterActive();

}  // namespace ecckey_alloc
