// ECCKEY_INVARIANT(cond): states a condition the code relies on (a field value below its modulus, a mask
// that is 0 or all ones, a point whose coordinates are reduced) and, in a build configured with
// ECCKEY_CHECK_INVARIANTS (`make test-sanitize` is one), checks it: a false cond prints the condition with
// its file and line to stderr and aborts. Elsewhere the macro compiles to nothing: cond sits inside a
// sizeof, so it is never evaluated and costs nothing, yet the names it uses still count as used.
//
// A check may branch on the secret values it inspects: that is why the release build, the one whose
// constant-time behaviour valgrind checks, has none. Installed: <ecckey/ecckey.hpp>'s Result reports through
// invariantFailed.
#pragma once

namespace ecckey {

// Prints "ecckey: invariant failed: <cond> at <file>:<line>" to stderr and aborts.
[[noreturn]] void invariantFailed(const char *cond, const char *file, int line);

}  // namespace ecckey

#ifdef ECCKEY_CHECK_INVARIANTS
#define ECCKEY_INVARIANT(cond) \
    ((cond) ? static_cast<void>(0) : ::ecckey::invariantFailed(#cond, __FILE__, __LINE__))
#else
#define ECCKEY_INVARIANT(cond) static_cast<void>(sizeof(!(cond)))
#endif
