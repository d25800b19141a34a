// Parallel use: several threads generate, sign, verify, agree secrets and load keys at once, each on keys
// of its own, over all thirteen curves. The only state the threads share is the module's read-only
// constants (the secp256k1 engine's above all), so every result must be what one thread alone would get.
//
// The test runs in the ordinary suite, where it checks the results; `make test-tsan` runs it under
// ThreadSanitizer, which must report nothing.

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/JsonObject.h"
#include "support/Oracle.h"
#include "support/TestPrng.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

const int kNumThreads = 4;

// Failures seen by the workers, reported by the main thread after the join.
class Failures {
  public:
    void add(const std::string &what) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_list.push_back(what);
    }
    const std::vector<std::string> &list() const { return m_list; }

  private:
    std::mutex m_mutex;
    std::vector<std::string> m_list;
};

// Holds every worker until all have started, so that they really run at the same time.
class StartLine {
  public:
    explicit StartLine(int count) : m_waiting(count) {}
    void arriveAndWait() {
        m_waiting.fetch_sub(1);
        while (m_waiting.load() > 0)
            std::this_thread::yield();
    }

  private:
    std::atomic<int> m_waiting;
};

std::vector<unsigned char> hashFor(TestPrng &rng, unsigned len) {
    return rng.bytes(len);
}

bool sameBytes(const DataBuffer &a, const DataBuffer &b) {
    return a.equals(b);
}

bool samePoint(const EccKey &a, const EccKey &b) {
    return TovarMp::mp_cmp(a.m_pubPoint.m_x, b.m_pubPoint.m_x) == 0 &&
           TovarMp::mp_cmp(a.m_pubPoint.m_y, b.m_pubPoint.m_y) == 0;
}

// One round on one curve: two fresh keys, signatures in both formats verified (and a wrong hash refused),
// ECDH in both directions, and the private key through PKCS #8 DER and JWK and back.
void exerciseCurve(const CurveInfo &c, TestPrng &rng, Failures &failures) {
    const std::string where = std::string(c.name) + ": ";
    LogNull log;
    EccKey a, b;
    if (!a.generateNewKey(StringBuffer(c.name), rng, log) ||
        !b.generateNewKey(StringBuffer(c.name), rng, log)) {
        failures.add(where + "key generation failed");
        return;
    }

    const unsigned hashLen = c.byteLen >= 48 ? 48 : 32;
    std::vector<unsigned char> hash = hashFor(rng, hashLen);
    for (bool asn : {true, false}) {
        DataBuffer sig;
        if (!a.eccSignHash(hash.data(), hashLen, rng, asn, sig, log)) {
            failures.add(where + "signing failed");
            continue;
        }
        bool valid = false;
        if (!a.eccVerifyHash(sig.getData2(), sig.getSize(), !asn, hash.data(), hashLen, valid, log,
                             (unsigned)c.byteLen) ||
            !valid)
            failures.add(where + "own signature did not verify");
        std::vector<unsigned char> other = hash;
        other[0] ^= 0x01;
        valid = true;
        a.eccVerifyHash(sig.getData2(), sig.getSize(), !asn, other.data(), hashLen, valid, log,
                        (unsigned)c.byteLen);
        if (valid)
            failures.add(where + "signature verified over another hash");
    }

    DataBuffer ab, ba;
    ab.setSensitive();
    ba.setSensitive();
    if (!a.sharedSecret(b, ab, log) || !b.sharedSecret(a, ba, log) || !sameBytes(ab, ba) ||
        ab.getSize() != (unsigned)c.byteLen)
        failures.add(where + "ECDH secrets differ");

    DataBuffer der;
    EccKey fromDer;
    if (!a.toEccPkcs8PrivateKeyDer(der, log) || !fromDer.loadEccDer(der, log) ||
        TovarMp::mp_cmp(fromDer.m_privKey, a.m_privKey) != 0 || !samePoint(fromDer, a))
        failures.add(where + "PKCS #8 round trip changed the key");

    StringBuffer jwk;
    ClsJsonObject json;
    EccKey fromJwk;
    if (!a.toEccPrivateKeyJwk(jwk, log) || !json.load(jwk.getString(), log) ||
        !fromJwk.loadAnyJwk(json, log) || TovarMp::mp_cmp(fromJwk.m_privKey, a.m_privKey) != 0 ||
        !samePoint(fromJwk, a))
        failures.add(where + "JWK round trip changed the key");
    jwk.secureClear();
}

// secp256k1 alone, many times: the engine's shared constants are read by every thread at once.
void exerciseSecp256k1(TestPrng &rng, Failures &failures) {
    LogNull log;
    EccKey key;
    if (!key.generateNewKey(StringBuffer("secp256k1"), rng, log)) {
        failures.add("secp256k1: key generation failed");
        return;
    }
    // The public point derived again from the scalar through the raw loader.
    DataBuffer scalar;
    scalar.setSensitive();
    TovarMp::mpint_to_db(key.m_privKey, scalar);
    while (scalar.getSize() < 32) {
        const unsigned char zero = 0;
        scalar.prepend(&zero, 1);
    }
    EccKey again;
    if (!again.loadEccPrivateRaw(scalar, true, log) || !samePoint(again, key))
        failures.add("secp256k1: raw private key gave another point");

    std::vector<unsigned char> hash = hashFor(rng, 32);
    DataBuffer sig;
    bool valid = false;
    if (!key.eccSignHashK(hash.data(), 32, rng, true, sig, log) ||
        !key.eccVerifyHashK(sig.getData2(), sig.getSize(), false, hash.data(), 32, valid, log, 0) || !valid)
        failures.add("secp256k1: engine signature did not verify");
}

void worker(int index, StartLine &start, Failures &failures) {
    TestPrng rng(testSeed() + 7919u * (std::uint64_t)(index + 1));
    start.arriveAndWait();
    const std::vector<CurveInfo> &curves = allCurves();
    const int rounds = testIterations(1);
    for (int round = 0; round < rounds; ++round) {
        // Each thread walks the catalogue from its own starting point, so different curves overlap.
        for (size_t i = 0; i < curves.size(); ++i) {
            exerciseCurve(curves[(i + (size_t)index * 3) % curves.size()], rng, failures);
            exerciseSecp256k1(rng, failures);
        }
    }
}

}  // namespace

TEST(Threads, ParallelKeysOnAllCurvesGiveSingleThreadResults) {
    Failures failures;
    StartLine start(kNumThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < kNumThreads; ++i)
        threads.emplace_back(worker, i, std::ref(start), std::ref(failures));
    for (std::thread &t : threads)
        t.join();
    for (const std::string &f : failures.list())
        ADD_FAILURE() << f;
    EXPECT_TRUE(failures.list().empty());
}

// The first use of the secp256k1 engine from many threads at once: its constants are built before main,
// so no thread can see them half-built.
TEST(Threads, Secp256k1FromManyThreadsAtOnce) {
    Failures failures;
    const int numThreads = 8;
    StartLine start(numThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < numThreads; ++i) {
        threads.emplace_back([i, &start, &failures] {
            TestPrng rng(testSeed() ^ (0x9E3779B97F4A7C15ull * (std::uint64_t)(i + 1)));
            start.arriveAndWait();
            for (int n = 0; n < testIterations(3); ++n)
                exerciseSecp256k1(rng, failures);
        });
    }
    for (std::thread &t : threads)
        t.join();
    for (const std::string &f : failures.list())
        ADD_FAILURE() << f;
    EXPECT_TRUE(failures.list().empty());
}
