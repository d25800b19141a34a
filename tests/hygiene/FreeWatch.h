// FreeWatch: proves that secrets are wiped before their memory goes back to the allocator.
//
// The hygiene test program replaces malloc, free, realloc and friends (FreeWatch.cpp) with thin wrappers
// around glibc's own allocator. While the watch is armed, every block handed back is searched for the
// registered secret patterns before it is released; a block that still holds one is a violation,
// recorded with the call stack of the release. realloc always moves the block, so a secret in a block that
// is grown without being wiped is caught whether or not glibc would have moved it.
//
// Only for the single-threaded hygiene program: no locks, fixed-size tables, nothing allocated while a
// block is inspected. Not usable under AddressSanitizer or valgrind, which bring allocators of their own.
#pragma once

#include <cstddef>
#include <string>

namespace ecckey_test {

class FreeWatch {
  public:
    static const std::size_t kMaxPatterns = 96;
    static const std::size_t kMaxPatternLen = 64;

    // Adds a byte pattern to look for; label names it in the report (a string literal). False when the
    // table is full or the pattern too long or shorter than 8 bytes.
    static bool addPattern(const void *bytes, std::size_t len, const char *label);
    static void clearPatterns();
    static std::size_t numPatterns();

    static void arm();
    static void disarm();
    static bool armed();

    // Violations since the last reset, and a readable account of them (patterns found, block sizes,
    // call stacks of the releases).
    static std::size_t numViolations();
    static std::string report();
    static void resetViolations();

    // Blocks inspected since the last reset: proves that the wrappers are in use.
    static std::size_t numInspected();
};

// Disarms the watch on every path out of a scope.
class ArmedScope {
  public:
    ArmedScope() { FreeWatch::arm(); }
    ~ArmedScope() { FreeWatch::disarm(); }
    ArmedScope(const ArmedScope &) = delete;
    ArmedScope &operator=(const ArmedScope &) = delete;
};

}  // namespace ecckey_test
