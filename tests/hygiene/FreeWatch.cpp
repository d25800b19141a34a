#include "FreeWatch.h"

#include <execinfo.h>
#include <malloc.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

extern "C" {
void *__libc_malloc(size_t size);
void __libc_free(void *ptr);
void *__libc_calloc(size_t count, size_t size);
void *__libc_memalign(size_t alignment, size_t size);
}

namespace ecckey_test {

namespace {

struct Pattern {
    unsigned char bytes[FreeWatch::kMaxPatternLen];
    std::size_t len;
    const char *label;
};

const std::size_t kMaxViolations = 64;
const int kMaxFrames = 24;

struct Violation {
    const char *label;
    std::size_t blockSize;
    std::size_t offset;
    void *frames[kMaxFrames];
    int numFrames;
};

Pattern s_patterns[FreeWatch::kMaxPatterns];
std::size_t s_numPatterns = 0;
Violation s_violations[kMaxViolations];
std::size_t s_numViolations = 0;
std::size_t s_numInspected = 0;
bool s_armed = false;
bool s_inside = false;  // set while a block is inspected: backtrace() must not re-enter

// backtrace() loads its unwinder on first use, which allocates: do that once before anything is armed.
struct WarmUp {
    WarmUp() {
        void *frames[2];
        backtrace(frames, 2);
    }
} s_warmUp;

void inspect(void *block) {
    if (!s_armed || s_inside || !block)
        return;
    s_inside = true;
    ++s_numInspected;
    const std::size_t size = malloc_usable_size(block);
    for (std::size_t i = 0; i < s_numPatterns; ++i) {
        const Pattern &p = s_patterns[i];
        const void *hit = memmem(block, size, p.bytes, p.len);
        if (!hit)
            continue;
        if (s_numViolations < kMaxViolations) {
            Violation &v = s_violations[s_numViolations];
            v.label = p.label;
            v.blockSize = size;
            v.offset = (std::size_t)((const unsigned char *)hit - (const unsigned char *)block);
            v.numFrames = backtrace(v.frames, kMaxFrames);
        }
        ++s_numViolations;
        break;
    }
    s_inside = false;
}

}  // namespace

bool FreeWatch::addPattern(const void *bytes, std::size_t len, const char *label) {
    if (s_numPatterns == kMaxPatterns || len < 8 || len > kMaxPatternLen)
        return false;
    Pattern &p = s_patterns[s_numPatterns++];
    std::memcpy(p.bytes, bytes, len);
    p.len = len;
    p.label = label;
    return true;
}

void FreeWatch::clearPatterns() {
    std::memset(s_patterns, 0, sizeof s_patterns);
    s_numPatterns = 0;
}

std::size_t FreeWatch::numPatterns() {
    return s_numPatterns;
}
void FreeWatch::arm() {
    s_armed = true;
}
void FreeWatch::disarm() {
    s_armed = false;
}
bool FreeWatch::armed() {
    return s_armed;
}
std::size_t FreeWatch::numViolations() {
    return s_numViolations;
}
std::size_t FreeWatch::numInspected() {
    return s_numInspected;
}

void FreeWatch::resetViolations() {
    s_numViolations = 0;
    s_numInspected = 0;
}

std::string FreeWatch::report() {
    const bool wasArmed = s_armed;
    s_armed = false;
    std::string text;
    char line[160];
    for (std::size_t i = 0; i < s_numViolations && i < kMaxViolations; ++i) {
        const Violation &v = s_violations[i];
        std::snprintf(line, sizeof line,
                      "freed block of %zu bytes still held \"%s\" at offset %zu, released at:\n", v.blockSize,
                      v.label, v.offset);
        text += line;
        char **symbols = backtrace_symbols(v.frames, v.numFrames);
        for (int f = 0; f < v.numFrames; ++f) {
            text += "    ";
            text += symbols ? symbols[f] : "?";
            text += "\n";
        }
        __libc_free(symbols);
    }
    if (s_numViolations > kMaxViolations)
        text += "(more violations not recorded)\n";
    s_armed = wasArmed;
    return text;
}

}  // namespace ecckey_test

// ---- The allocator wrappers: glibc's allocator underneath, every release inspected first ----

extern "C" {

void *malloc(size_t size) {
    return __libc_malloc(size);
}

void free(void *ptr) {
    ecckey_test::inspect(ptr);
    __libc_free(ptr);
}

void *calloc(size_t count, size_t size) {
    return __libc_calloc(count, size);
}

// Always moves, so that the old block is inspected as it is released.
void *realloc(void *ptr, size_t size) {
    if (!ptr)
        return __libc_malloc(size);
    if (size == 0) {
        free(ptr);
        return nullptr;
    }
    void *moved = __libc_malloc(size);
    if (!moved)
        return nullptr;
    const size_t old = malloc_usable_size(ptr);
    std::memcpy(moved, ptr, old < size ? old : size);
    free(ptr);
    return moved;
}

void *memalign(size_t alignment, size_t size) {
    return __libc_memalign(alignment, size);
}

void *aligned_alloc(size_t alignment, size_t size) {
    return __libc_memalign(alignment, size);
}

int posix_memalign(void **out, size_t alignment, size_t size) {
    if (alignment < sizeof(void *) || (alignment & (alignment - 1)) != 0)
        return EINVAL;
    void *p = __libc_memalign(alignment, size);
    if (!p)
        return ENOMEM;
    *out = p;
    return 0;
}

void *valloc(size_t size) {
    return __libc_memalign((size_t)sysconf(_SC_PAGESIZE), size);
}

void *pvalloc(size_t size) {
    const size_t page = (size_t)sysconf(_SC_PAGESIZE);
    return __libc_memalign(page, (size + page - 1) / page * page);
}

}  // extern "C"
