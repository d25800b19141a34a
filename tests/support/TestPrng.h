// Deterministic random sources for tests.
//
// testSeed() is the seed of a test run: ECCKEY_TEST_SEED from the environment, else a fresh one; it is
// printed once so that a failure can be replayed. testIterations(n) scales loop counts through
// ECCKEY_TEST_ITERATIONS.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "ecc/ecckey.h"

namespace ecckey_test {

std::uint64_t testSeed();
int testIterations(int defaultCount);

// A _tvPrng that yields a reproducible stream (std::mt19937_64 under a given seed) and counts requests.
class TestPrng : public ecckey::_tvPrng {
  public:
    explicit TestPrng(std::uint64_t seed) : m_rng(seed) {}
    bool genRandom(unsigned count, ecckey::DataBuffer &out, ecckey::LogBase &log) override;
    std::vector<unsigned char> bytes(unsigned count);
    std::uint64_t next() { return m_rng(); }

    int m_calls = 0;
    unsigned m_bytesServed = 0;

  private:
    std::mt19937_64 m_rng;
};

// Serves fixed bytes: the queue in order, then zeros forever (or fails when failWhenEmpty is set).
class ScriptedPrng : public ecckey::_tvPrng {
  public:
    bool genRandom(unsigned count, ecckey::DataBuffer &out, ecckey::LogBase &log) override;

    std::vector<unsigned char> m_queue;
    bool m_failWhenEmpty = false;
    int m_calls = 0;
};

}  // namespace ecckey_test
