// Parallel use: several threads generate keys, sign, verify, agree secrets and read keys back at once, each
// on keys of its own, over all thirteen curves. They share only the library's read-only constants (the
// secp256k1 engine's above all), so each must get exactly what one thread alone gets from the same seed.
// `make test-tsan` runs this program under ThreadSanitizer, which must report nothing.
#include <gtest/gtest.h>

#include <thread>

#include "support/Oracle.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

// All that one seed yields on one curve: two keys from the generator, a DER signature (its nonce drawn
// from the same generator) that verifies, ECDH both ways, and the PKCS #8 export read back to the same d.
std::string work(const CurveInfo &c, std::uint64_t seed) {
    TestPrng rng(seed);
    LogNull log;
    EccKey a, b, back;
    DataBuffer sig, ab, ba, der;
    ab.setSensitive();
    ba.setSensitive();
    const Bytes hash = rng.bytes(32);
    bool valid = false;
    const bool ok = a.generateNewKey(StringBuffer(c.name), rng, log) &&
                    b.generateNewKey(StringBuffer(c.name), rng, log) &&
                    a.eccSignHash(hash.data(), 32, rng, true, sig, log) &&
                    a.eccVerifyHash(sig.getData2(), sig.getSize(), false, hash.data(), 32, valid, log, 0) &&
                    valid && a.sharedSecret(b, ab, log) && b.sharedSecret(a, ba, log) && ab.equals(ba) &&
                    a.toEccPkcs8PrivateKeyDer(der, log) && back.loadEccDer(der, log) &&
                    TovarMp::mp_cmp(back.m_privKey, a.m_privKey) == 0;
    return ok ? hexOf(toBytes(sig)) + " " + hexOf(toBytes(ab)) + " " + hexOf(b.m_pubPoint.m_x) : "failed";
}

TEST(Threads, ParallelResultsEqualSingleThreadResults) {
    const std::vector<CurveInfo> &curves = allCurves();
    const size_t jobs = curves.size() * (size_t)testIterations(2);
    const int numThreads = 4;
    std::vector<std::vector<std::string>> got(numThreads, std::vector<std::string>(jobs));
    std::vector<std::thread> threads;
    // The first use of the library is from every thread at once; each walks the jobs from its own start.
    for (int t = 0; t < numThreads; ++t) {
        threads.emplace_back([&, t] {
            for (size_t i = 0; i < jobs; ++i) {
                const size_t j = (i + 5 * (size_t)t) % jobs;
                got[t][j] = work(curves[j % curves.size()], testSeed() + j);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    for (size_t j = 0; j < jobs; ++j) {
        const std::string alone = work(curves[j % curves.size()], testSeed() + j);
        EXPECT_NE(alone, "failed") << curves[j % curves.size()].name;
        for (int t = 0; t < numThreads; ++t)
            EXPECT_EQ(got[t][j], alone) << curves[j % curves.size()].name << " in thread " << t;
    }
}

}  // namespace
