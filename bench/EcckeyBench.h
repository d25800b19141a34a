// ecckey's side of the benchmark set-up: the random source handed to key generation and signing, and the
// loading of the shared key material into an EccKey.
#pragma once

#include <cstdint>

#include "bench/BenchSetup.h"
#include "ecc/EccKey.h"
#include "support/DataBuffer.h"
#include "support/Prng.h"

namespace ecckey_bench {

// A fast deterministic stream, so that an operation's time is the library's and not the operating
// system's generator's.
class BenchPrng : public ecckey::_tvPrng {
  public:
    explicit BenchPrng(std::uint64_t seed) : m_random(seed) {}

    bool genRandom(unsigned count, ecckey::DataBuffer &out, ecckey::LogBase &) override {
        ++m_requests;
        unsigned char block[64];
        while (count > 0) {
            const unsigned n = count < sizeof block ? count : (unsigned)sizeof block;
            m_random.fill(block, n);
            if (!out.append(block, n))
                return false;
            count -= n;
        }
        return true;
    }

    FastRandom &random() { return m_random; }
    // Requests served: one per nonce a signer draws.
    std::uint64_t requests() const { return m_requests; }

  private:
    FastRandom m_random;
    std::uint64_t m_requests = 0;
};

// key = the private key d on the curve, its public point derived (generateNewKey2 on the hex of d).
bool loadPrivateKey(const BenchCurve &curve, const Bytes &d, ecckey::EccKey &key);

// A seed for one case: the curve name mixed into a per-case constant.
std::uint64_t caseSeed(const BenchCurve &curve, std::uint64_t salt);

}  // namespace ecckey_bench
