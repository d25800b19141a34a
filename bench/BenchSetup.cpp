#include "bench/BenchSetup.h"

#include <openssl/evp.h>
#include <openssl/obj_mac.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "bench/EcckeyBench.h"
#include "ecc/EccKey.h"
#include "support/LogBase.h"
#include "support/TovarMp.h"

namespace ecckey_bench {

using namespace ecckey;

const char *const kImplEcckey = "ecckey";
const char *const kImplOpenSsl = "openssl";
const char *const kImplTomCrypt = "tomcrypt";
const char *const kImplSecp256k1 = "libsecp256k1";

const char *const kCounterAllocs = "allocs";
const char *const kCounterProducts = "products";
const char *const kCounterNonces = "nonces";

const std::vector<BenchCurve> &benchCurves() {
    static const std::vector<BenchCurve> curves = {
        {"secp192r1", "P-192", "prime192v1", NID_X9_62_prime192v1, false},
        {"secp224r1", "P-224", "secp224r1", NID_secp224r1, false},
        {"secp256r1", "P-256", "prime256v1", NID_X9_62_prime256v1, false},
        {"secp384r1", "P-384", "secp384r1", NID_secp384r1, false},
        {"secp521r1", "P-521", "secp521r1", NID_secp521r1, false},
        {"secp256k1", "secp256k1", "secp256k1", NID_secp256k1, true},
        {"brainpoolP160r1", "brainpoolP160r1", "brainpoolP160r1", NID_brainpoolP160r1, false},
        {"brainpoolP192r1", "brainpoolP192r1", "brainpoolP192r1", NID_brainpoolP192r1, false},
        {"brainpoolP224r1", "brainpoolP224r1", "brainpoolP224r1", NID_brainpoolP224r1, false},
        {"brainpoolP256r1", "brainpoolP256r1", "brainpoolP256r1", NID_brainpoolP256r1, false},
        {"brainpoolP320r1", "brainpoolP320r1", "brainpoolP320r1", NID_brainpoolP320r1, false},
        {"brainpoolP384r1", "brainpoolP384r1", "brainpoolP384r1", NID_brainpoolP384r1, false},
        {"brainpoolP512r1", "brainpoolP512r1", "brainpoolP512r1", NID_brainpoolP512r1, false},
    };
    return curves;
}

const std::vector<BenchOp> &benchOps() {
    static const std::vector<BenchOp> ops = {BenchOp::KeyGen,           BenchOp::Sign,
                                             BenchOp::Verify,           BenchOp::Ecdh,
                                             BenchOp::ScalarMultG,      BenchOp::ScalarMultGFixed,
                                             BenchOp::DoubleScalarMult, BenchOp::FieldMultiply};
    return ops;
}

const char *opKey(BenchOp op) {
    switch (op) {
        case BenchOp::KeyGen:
            return "keygen";
        case BenchOp::Sign:
            return "sign";
        case BenchOp::Verify:
            return "verify";
        case BenchOp::Ecdh:
            return "ecdh";
        case BenchOp::ScalarMultG:
            return "kG";
        case BenchOp::ScalarMultGFixed:
            return "kGfixed";
        case BenchOp::DoubleScalarMult:
            return "u1G+u2Q";
        case BenchOp::FieldMultiply:
            return "fieldmul";
    }
    return "?";
}

const char *opLabel(BenchOp op) {
    switch (op) {
        case BenchOp::KeyGen:
            return "key generation";
        case BenchOp::Sign:
            return "sign";
        case BenchOp::Verify:
            return "verify";
        case BenchOp::Ecdh:
            return "ECDH";
        case BenchOp::ScalarMultG:
            return "k·G, ladder";
        case BenchOp::ScalarMultGFixed:
            return "k·G, fixed base";
        case BenchOp::DoubleScalarMult:
            return "u1·G + u2·Q";
        case BenchOp::FieldMultiply:
            return "field multiplication";
    }
    return "?";
}

std::string comparisonName(const BenchCurve &curve, BenchOp op, const char *impl) {
    return std::string("cmp/") + curve.name + "/" + opKey(op) + "/" + impl;
}

std::string threadName(const BenchCurve &curve, BenchOp op) {
    return std::string("mt/") + curve.name + "/" + opKey(op);
}

FastRandom::FastRandom(std::uint64_t seed) {
    // splitmix64 spreads the seed over the four words of the state.
    for (std::uint64_t &s : m_s) {
        seed += 0x9E3779B97F4A7C15ull;
        std::uint64_t z = seed;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        s = z ^ (z >> 31);
    }
}

std::uint64_t FastRandom::next() {
    const std::uint64_t result = ((m_s[1] * 5) << 7 | (m_s[1] * 5) >> 57) * 9;
    const std::uint64_t t = m_s[1] << 17;
    m_s[2] ^= m_s[0];
    m_s[3] ^= m_s[1];
    m_s[1] ^= m_s[2];
    m_s[0] ^= m_s[3];
    m_s[2] ^= t;
    m_s[3] = (m_s[3] << 45) | (m_s[3] >> 19);
    return result;
}

void FastRandom::fill(unsigned char *out, std::size_t count) {
    for (std::size_t i = 0; i < count; i += 8) {
        std::uint64_t v = next();
        for (std::size_t j = 0; j < 8 && i + j < count; ++j, v >>= 8)
            out[i + j] = (unsigned char)v;
    }
}

namespace {

[[noreturn]] void setupFailed(const BenchCurve &curve, const char *what) {
    std::fprintf(stderr, "ecckey-bench: %s failed on %s\n", what, curve.name);
    std::exit(2);
}

Bytes padded(const mp_int &v, int len) {
    Bytes out((std::size_t)len, 0);
    const int size = TovarMp::mp_unsigned_bin_size(v);
    if (size > len || (size > 0 && !TovarMp::mpint_to_bytes(v, out.data() + (len - size))))
        out.clear();
    return out;
}

Bytes pointBytes(const EccKey &key) {
    DataBuffer out;
    LogNull log;
    if (!key.m_pubPoint.exportEccPoint(key.m_curve.m_byteLen, out, log))
        return Bytes();
    return Bytes(out.getData2(), out.getData2() + out.getSize());
}

// A digest of the size a careful caller pairs with the curve.
Bytes digestFor(int byteLen) {
    const EVP_MD *md = byteLen <= 32 ? EVP_sha256() : byteLen <= 48 ? EVP_sha384() : EVP_sha512();
    static const char kMessage[] = "side-by-side benchmark message";
    unsigned char out[EVP_MAX_MD_SIZE];
    unsigned len = 0;
    if (EVP_Digest(kMessage, sizeof kMessage - 1, out, &len, md, nullptr) != 1)
        return Bytes();
    return Bytes(out, out + len);
}

// A scalar in [1, n), drawn from the key's generator.
Bytes scalarBelowOrder(const mp_int &n, int byteLen, FastRandom &rng) {
    Bytes raw((std::size_t)byteLen + 8);
    rng.fill(raw.data(), raw.size());
    mp_int v, r;
    if (!TovarMp::mpint_from_bytes(v, raw.data(), (unsigned)raw.size()) || TovarMp::mp_mod(v, n, r) != 0 ||
        TovarMp::isZero(r))
        return Bytes();
    return padded(r, byteLen);
}

std::unique_ptr<BenchMaterial> makeMaterial(const BenchCurve &curve, int threadIndex) {
    BenchPrng prng(caseSeed(curve, 0x6563636B65792Dull + (std::uint64_t)threadIndex * 0x10001ull));
    LogNull log;

    auto m = std::make_unique<BenchMaterial>();
    m->curve = &curve;
    EccKey key, peer;
    if (!key.generateNewKey(StringBuffer(curve.name), prng, log) ||
        !peer.generateNewKey(StringBuffer(curve.name), prng, log))
        setupFailed(curve, "key generation");
    m->byteLen = key.m_curve.m_byteLen;
    m->p = key.m_curve.m_p.getString();
    m->d = padded(key.m_privKey, m->byteLen);
    m->q = pointBytes(key);
    m->peerD = padded(peer.m_privKey, m->byteLen);
    m->peerQ = pointBytes(peer);
    m->hash = digestFor(m->byteLen);
    if (m->d.empty() || m->q.empty() || m->peerD.empty() || m->peerQ.empty() || m->hash.empty())
        setupFailed(curve, "key export");

    DataBuffer sig;
    if (!key.eccSignHash(m->hash.data(), (unsigned)m->hash.size(), prng, true, sig, log))
        setupFailed(curve, "signing");
    m->sigDer.assign(sig.getData2(), sig.getData2() + sig.getSize());

    mp_int n;
    if (!TovarMp::mpint_from_radix(n, key.m_curve.m_order.getString(), 16))
        setupFailed(curve, "order parsing");
    m->u1 = scalarBelowOrder(n, m->byteLen, prng.random());
    m->u2 = scalarBelowOrder(n, m->byteLen, prng.random());
    if (m->u1.empty() || m->u2.empty())
        setupFailed(curve, "scalar generation");
    return m;
}

}  // namespace

std::uint64_t caseSeed(const BenchCurve &curve, std::uint64_t salt) {
    std::uint64_t seed = salt;
    for (const char *c = curve.name; *c; ++c)
        seed = seed * 131 + (unsigned char)*c;
    return seed;
}

bool loadPrivateKey(const BenchCurve &curve, const Bytes &d, EccKey &key) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string hex;
    for (unsigned char b : d) {
        hex += kDigits[b >> 4];
        hex += kDigits[b & 15];
    }
    LogNull log;
    return key.generateNewKey2(StringBuffer(curve.name), hex.c_str(), "hex", log);
}

const BenchMaterial &benchMaterial(const BenchCurve &curve, int threadIndex) {
    static std::mutex s_lock;
    static std::map<std::pair<std::string, int>, std::unique_ptr<BenchMaterial>> s_made;
    std::lock_guard<std::mutex> guard(s_lock);
    std::unique_ptr<BenchMaterial> &slot = s_made[{curve.name, threadIndex}];
    if (!slot)
        slot = makeMaterial(curve, threadIndex);
    return *slot;
}

void registerComparison(const BenchCurve &curve, BenchOp op, const char *impl, const BenchFns &fns) {
    BenchFn fn = fns.byOp[static_cast<int>(op)];
    if (fn)
        benchmark::RegisterBenchmark(comparisonName(curve, op, impl).c_str(), fn, &curve);
}

}  // namespace ecckey_bench
