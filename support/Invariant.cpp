#include "support/Invariant.h"

#include <cstdio>
#include <cstdlib>

namespace ecckey {

void invariantFailed(const char *cond, const char *file, int line) {
    std::fprintf(stderr, "ecckey: invariant failed: %s at %s:%d\n", cond, file, line);
    std::abort();
}

}  // namespace ecckey
