#include "support/TestPrng.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace ecckey_test {

std::uint64_t testSeed() {
    static const std::uint64_t seed = [] {
        const char *env = std::getenv("ECCKEY_TEST_SEED");
        std::uint64_t s = env ? std::strtoull(env, nullptr, 0)
                              : (std::uint64_t)std::chrono::steady_clock::now().time_since_epoch().count();
        std::printf("ECCKEY_TEST_SEED=%llu (set it to replay this run)\n", (unsigned long long)s);
        return s;
    }();
    return seed;
}

int testIterations(int defaultCount) {
    const char *env = std::getenv("ECCKEY_TEST_ITERATIONS");
    if (!env)
        return defaultCount;
    int n = std::atoi(env);
    return n > 0 ? n : defaultCount;
}

bool TestPrng::genRandom(unsigned count, ecckey::DataBuffer &out, ecckey::LogBase &) {
    ++m_calls;
    m_bytesServed += count;
    // Byte by byte, the stream bytes() gives: the allocation-failure test needs a generator that does not
    // allocate itself.
    for (unsigned i = 0; i < count; ++i)
        if (!out.appendChar((unsigned char)(m_rng() & 0xFF)))
            return false;
    return true;
}

std::vector<unsigned char> TestPrng::bytes(unsigned count) {
    std::vector<unsigned char> b(count);
    for (unsigned i = 0; i < count; ++i)
        b[i] = (unsigned char)(m_rng() & 0xFF);
    return b;
}

bool ScriptedPrng::genRandom(unsigned count, ecckey::DataBuffer &out, ecckey::LogBase &) {
    ++m_calls;
    for (unsigned i = 0; i < count; ++i) {
        if ((m_queue.empty() && m_failWhenEmpty) || !out.appendChar(m_queue.empty() ? 0 : m_queue.front()))
            return false;
        if (!m_queue.empty())
            m_queue.erase(m_queue.begin());
    }
    return true;
}

}  // namespace ecckey_test
