// The heap, seen from the module. The scalar multiplications of the generic arithmetic touch it only while
// they set up: the ladder steps and the joint-table loop run on temporaries grown once, so a one-step scalar
// and a full-length one cost the same, and the ladder for secret scalars no more; an allocation per group
// operation would show as hundreds more. The few that may differ come from LibTomMath's division (set-up
// and map back), whose working integers grow with the values. And every allocation may fail: for
// n = 1, 2, ... the n-th allocation of a key's whole life (reading its DER, writing and reading PEM, SPKI,
// JWK and XML, the SSH blob and fingerprint, signing, verifying, ECDH, generating) returns null, and each
// run must end in false or in exactly the clean run's results: no crash, no exception out of the module
// and no half-written output. A program of its own, since it replaces malloc, which a sanitizer build
// cannot do.
#include <gtest/gtest.h>

#include <cstddef>

#include "ecc/arith/EccArith.h"
#include "support/ArithCurve.h"
#include "support/Hash.h"
#include "support/JsonObject.h"
#include "support/Oracle.h"
#include "support/PublicKey.h"
#include "support/Xml.h"

extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *ptr, std::size_t size);
}

namespace {
thread_local bool s_armed = false;  // counting: only the module's calls, not the test's own set-up
thread_local long s_count = 0;      // allocations since the count began
thread_local long s_failAt = 0;     // the one that fails; 0: none

bool failNow() {
    return s_armed && ++s_count == s_failAt;
}
}  // namespace

extern "C" {
void *malloc(std::size_t size) {
    return failNow() ? nullptr : __libc_malloc(size);
}
void *calloc(std::size_t count, std::size_t size) {
    return failNow() ? nullptr : __libc_calloc(count, size);
}
void *realloc(void *ptr, std::size_t size) {
    return failNow() ? nullptr : __libc_realloc(ptr, size);
}
}

using namespace ecckey;
using namespace ecckey_test;

namespace {

template <class Operation>
long allocations(Operation operation) {
    s_count = 0;
    s_failAt = 0;
    s_armed = true;
    EXPECT_TRUE(operation());
    s_armed = false;
    return s_count;
}

class ArithAlloc : public ::testing::TestWithParam<CurveInfo> {};

TEST_P(ArithAlloc, MultiplicationsAllocateOnlyForSetUp) {
    ArithCurve curve;
    ASSERT_TRUE(curve.load(GetParam().nid));
    TestPrng prng(testSeed() ^ (std::uint64_t)GetParam().nid);
    mp_int one, three, k, u1, u2;
    EXPECT_EQ(0, TovarMp::mp_set(one, 1));
    EXPECT_EQ(0, TovarMp::mp_set(three, 3));
    for (mp_int *v : {&k, &u1, &u2})
        mpOf(randomScalar(GetParam(), prng).get(), *v);
    EccPoint R, Q;
    LogNull log;
    ASSERT_TRUE(pointMult_tmr(k, curve.G, Q, curve.aArg(), curve.p, 1, log));
    auto mult = [&](mp_int &s) {
        return allocations([&] { return pointMult_tmr(s, curve.G, R, curve.aArg(), curve.p, 1, log); });
    };
    auto mul2add = [&](mp_int &a, mp_int &b) {
        return allocations([&] { return EccKey::mul2add(curve.G, a, Q, b, R, curve.aArg(), curve.p, log); });
    };
    const long small = mult(three), full = mult(k);
    EXPECT_LE(full, small + 4) << "k·G allocations, k = 3 and k full-length";
    EXPECT_LE(
        allocations([&] { return pointMultSecret(k, curve.n, curve.G, R, curve.aArg(), curve.p, log); }),
        small + 4)
        << "k·G allocations on the ladder for secret scalars, against the variable one's for k = 3";
    const long smallPair = mul2add(one, one), fullPair = mul2add(u1, u2);
    EXPECT_LE(fullPair, smallPair + 4) << "u1·G + u2·Q allocations, u1 = u2 = 1 and full-length";
}

INSTANTIATE_TEST_SUITE_P(AllCurves, ArithAlloc, ::testing::ValuesIn(genericCurves()), curveParamName);

// The key's life, its outputs appended to out; false at the first step that fails. Its keys travel as
// SEC 1: the PKCS #8 reader deliberately loads a key whose inner scalar could not be read, with d = 0.
bool keyLife(const Bytes &der, const Bytes &peerPoint, const Bytes &hash, std::string &out) {
    LogNull log;
    DataBuffer in = toDb(der), point = toDb(peerPoint);
    ClsJsonObject json;  // their constructors throw std::bad_alloc, as a standard container's do
    ClsXml node;
    s_armed = true;
    EccKey key, peer, fromJwk, fromXml, fromPem, fromSpki, made;
    DataBuffer sig, shared, der2, spki, blob, madeSig;
    TestPrng prng(1);  // the same stream on every run, so the same key and signature
    StringBuffer pem, jwk, xml, label, fingerprint;
    bool valid = false;
    bool ok = key.loadEccDer(in, log) && key.toEccPrivateKeyPem(true, pem, log) &&
              _tvPublicKey::pemToDer(pem.getString(), label, der2, log) && fromPem.loadEccDer(der2, log) &&
              fromPem.toPublicKeyDer_longFmt(spki, log) && fromSpki.loadEccDer(spki, log) &&
              fromSpki.puttyPublicKeyBlob(blob, log) && fromSpki.calc_fingerprint(fingerprint, log) &&
              key.toEccPrivateKeyJwk(jwk, log) && key.toEccPrivateKeyXml(xml, log);
    // nlohmann's json allocates while it destroys a parsed tree, and ends the program when that fails:
    // the JSON reader is left out of the runs.
    s_armed = false;
    ok = ok && json.load(jwk.getString(), log);
    s_armed = true;
    ok = ok && fromJwk.loadAnyJwk(json, log) && node.loadXml(xml.getString(), log) &&
         fromXml.loadAnyXml(node, log) &&
         fromXml.eccSignHashDeterministic(hash.data(), 32, HASH_SHA256, true, sig, log) &&
         fromJwk.eccVerifyHash(sig.getData2(), sig.getSize(), false, hash.data(), 32, valid, log, 0) &&
         valid && peer.loadEcPubKeyByCurveAndPoint(key.m_curve.m_name.getString(), point, log) &&
         key.sharedSecret(peer, shared, log) && made.generateNewKey(key.m_curve.m_name, prng, log) &&
         made.eccSignHash(hash.data(), 32, prng, false, madeSig, log);
    s_armed = false;
    if (!ok)
        return false;
    out = std::string(pem.getString()) + hexOf(toBytes(spki)) + hexOf(toBytes(blob)) +
          fingerprint.getString() + jwk.getString() + xml.getString() + hexOf(toBytes(sig)) +
          hexOf(toBytes(shared)) + hexOf(made.m_privKey) + hexOf(toBytes(madeSig));
    return ok;
}

class FailingAlloc : public ::testing::TestWithParam<CurveInfo> {};

TEST_P(FailingAlloc, EveryAllocationFailureEndsInFalseOrTheSameResults) {
    TestPrng prng(testSeed() ^ (std::uint64_t)GetParam().nid);
    const Bytes der = Ossl::random(GetParam(), prng).encode("type-specific", "DER", false);
    const Bytes peer = Ossl::random(GetParam(), prng).point(), hash = digestOf("SHA256", {'a'});
    std::string clean, results;
    s_failAt = 0;
    ASSERT_TRUE(keyLife(der, peer, hash, clean));
    long failures = 0;
    for (s_failAt = 1;; ++s_failAt, ++failures) {
        s_count = 0;
        bool ok = false;
        try {
            ok = keyLife(der, peer, hash, results);
        } catch (...) {
            s_armed = false;
            FAIL() << "an exception left the module when allocation " << failures + 1 << " failed";
        }
        if (s_count < s_failAt)
            break;  // the run made fewer allocations than that: none failed
        if (ok) {
            EXPECT_EQ(results, clean) << "allocation " << s_failAt << " failed";
        }
    }
    EXPECT_GT(failures, 100);
}

INSTANTIATE_TEST_SUITE_P(Curves, FailingAlloc, ::testing::ValuesIn(allCurves()), curveParamName);

}  // namespace
