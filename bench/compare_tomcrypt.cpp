// LibTomCrypt's column: Debian's LibTomCrypt 1.18 on LibTomMath (ltm_desc), the same big-integer library
// under the same Montgomery-ladder and joint-table algorithms. Its curve table (ltc_ecc_sets) holds
// P-192, P-224, P-256, P-384 and P-521 of ecckey's curves, all with a = −3; the others have no case here.
//
// Called as its manual shows: ecc_make_key_ex, ecc_sign_hash, ecc_verify_hash (on ecckey's DER signature,
// the same SEQUENCE of two INTEGERs), ecc_shared_secret; ltc_ecc_mulmod and ltc_ecc_mul2add for the two
// multiplications; ltc_mp.mul + ltc_mp.montgomery_reduce, the product its point formulas make, for one
// field multiplication. Keys come in through ecc_ansi_x963_import_ex with the private scalar added. The
// random source is its ChaCha20 generator, seeded once.
//
// This file includes no ecckey header: the two libraries' names (mp_int above all) must not meet.
#define LTM_DESC
#include <benchmark/benchmark.h>
#include <tomcrypt.h>

#include <cctype>
#include <cstring>
#include <string>

#include "bench/BenchSetup.h"

namespace ecckey_bench {

namespace {

// ltm_desc installed as LibTomCrypt's math and its ChaCha20 generator registered, once.
int tomCryptPrng() {
    static const int s_prng = [] {
        ltc_mp = ltm_desc;
        if (register_prng(&chacha20_prng_desc) == -1)
            return -1;
        return find_prng("chacha20");
    }();
    return s_prng;
}

std::string normalHex(const char *hex) {
    std::string out;
    for (const char *c = hex; *c; ++c)
        if (!out.empty() || *c != '0')
            out += (char)std::toupper((unsigned char)*c);
    return out;
}

// The curve of LibTomCrypt's table with the same prime, or null.
const ltc_ecc_set_type *tomCryptCurve(const BenchMaterial &m) {
    if (m.curve->isSecp256k1)
        return nullptr;
    const std::string p = normalHex(m.p.c_str());
    for (int i = 0; ltc_ecc_sets[i].size != 0; ++i)
        if (normalHex(ltc_ecc_sets[i].prime) == p)
            return &ltc_ecc_sets[i];
    return nullptr;
}

class SeededPrng {
  public:
    explicit SeededPrng(std::uint64_t seed) {
        unsigned char entropy[40];
        FastRandom(seed).fill(entropy, sizeof entropy);
        m_ok = chacha20_prng_start(&m_state) == CRYPT_OK &&
               chacha20_prng_add_entropy(entropy, sizeof entropy, &m_state) == CRYPT_OK &&
               chacha20_prng_ready(&m_state) == CRYPT_OK;
    }
    ~SeededPrng() { chacha20_prng_done(&m_state); }
    SeededPrng(const SeededPrng &) = delete;
    SeededPrng &operator=(const SeededPrng &) = delete;

    bool ok() const { return m_ok; }
    prng_state *state() { return &m_state; }

  private:
    prng_state m_state;
    bool m_ok = false;
};

// An ecc_key holding (d, Q), freed with the object.
class TomKey {
  public:
    TomKey() { std::memset(&m_key, 0, sizeof m_key); }
    ~TomKey() {
        if (m_loaded)
            ecc_free(&m_key);
    }
    TomKey(const TomKey &) = delete;
    TomKey &operator=(const TomKey &) = delete;

    bool load(const Bytes &d, const Bytes &q, const ltc_ecc_set_type *dp) {
        if (ecc_ansi_x963_import_ex(q.data(), q.size(), &m_key, const_cast<ltc_ecc_set_type *>(dp)) !=
            CRYPT_OK)
            return false;
        m_loaded = true;
        if (ltc_mp.unsigned_read(m_key.k, const_cast<unsigned char *>(d.data()), (unsigned long)d.size()) !=
            CRYPT_OK)
            return false;
        m_key.type = PK_PRIVATE;
        return true;
    }
    ecc_key *get() { return &m_key; }

  private:
    ecc_key m_key;
    bool m_loaded = false;
};

// A LibTomMath integer through LibTomCrypt's descriptor, released with the object.
class TomInt {
  public:
    TomInt() { m_ok = ltc_mp.init(&m_v) == CRYPT_OK; }
    ~TomInt() {
        if (m_ok)
            ltc_mp.deinit(m_v);
    }
    TomInt(const TomInt &) = delete;
    TomInt &operator=(const TomInt &) = delete;

    bool ok() const { return m_ok; }
    void *get() { return m_v; }
    bool setBytes(const unsigned char *bytes, std::size_t len) {
        return m_ok &&
               ltc_mp.unsigned_read(m_v, const_cast<unsigned char *>(bytes), (unsigned long)len) == CRYPT_OK;
    }
    bool setHex(const char *hex) { return m_ok && ltc_mp.read_radix(m_v, hex, 16) == CRYPT_OK; }

  private:
    void *m_v = nullptr;
    bool m_ok = false;
};

class TomPoint {
  public:
    TomPoint() : m_p(ltc_ecc_new_point()) {}
    ~TomPoint() {
        if (m_p)
            ltc_ecc_del_point(m_p);
    }
    TomPoint(const TomPoint &) = delete;
    TomPoint &operator=(const TomPoint &) = delete;

    ecc_point *get() { return m_p; }
    bool setAffine(const char *xHex, const char *yHex) {
        return m_p && ltc_mp.read_radix(m_p->x, xHex, 16) == CRYPT_OK &&
               ltc_mp.read_radix(m_p->y, yHex, 16) == CRYPT_OK && ltc_mp.set_int(m_p->z, 1) == CRYPT_OK;
    }
    bool setFrom(const ecc_point &q) {
        return m_p && ltc_mp.copy(q.x, m_p->x) == CRYPT_OK && ltc_mp.copy(q.y, m_p->y) == CRYPT_OK &&
               ltc_mp.copy(q.z, m_p->z) == CRYPT_OK;
    }

  private:
    ecc_point *m_p;
};

std::uint64_t seedFor(const BenchCurve &curve, BenchOp op) {
    std::uint64_t seed = 0x7043ull + (std::uint64_t)op;
    for (const char *c = curve.name; *c; ++c)
        seed = seed * 131 + (unsigned char)*c;
    return seed;
}

void keyGen(benchmark::State &state, const BenchCurve *curve) {
    const ltc_ecc_set_type *dp = tomCryptCurve(benchMaterial(*curve));
    const int wprng = tomCryptPrng();
    SeededPrng prng(seedFor(*curve, BenchOp::KeyGen));
    if (!dp || wprng < 0 || !prng.ok()) {
        state.SkipWithError("LibTomCrypt set-up failed");
        return;
    }
    for (auto _ : state) {
        ecc_key key;
        if (ecc_make_key_ex(prng.state(), wprng, &key, dp) != CRYPT_OK) {
            state.SkipWithError("ecc_make_key_ex failed");
            return;
        }
        ecc_free(&key);
    }
}

void sign(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    const ltc_ecc_set_type *dp = tomCryptCurve(m);
    const int wprng = tomCryptPrng();
    SeededPrng prng(seedFor(*curve, BenchOp::Sign));
    TomKey key;
    if (!dp || wprng < 0 || !prng.ok() || !key.load(m.d, m.q, dp)) {
        state.SkipWithError("LibTomCrypt set-up failed");
        return;
    }
    unsigned char sig[160];
    for (auto _ : state) {
        unsigned long sigLen = sizeof sig;
        if (ecc_sign_hash(m.hash.data(), m.hash.size(), sig, &sigLen, prng.state(), wprng, key.get()) !=
            CRYPT_OK) {
            state.SkipWithError("ecc_sign_hash failed");
            return;
        }
    }
}

void verify(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    const ltc_ecc_set_type *dp = tomCryptCurve(m);
    TomKey key;
    if (!dp || tomCryptPrng() < 0 || !key.load(m.d, m.q, dp)) {
        state.SkipWithError("LibTomCrypt set-up failed");
        return;
    }
    for (auto _ : state) {
        int stat = 0;
        if (ecc_verify_hash(m.sigDer.data(), m.sigDer.size(), m.hash.data(), m.hash.size(), &stat,
                            key.get()) != CRYPT_OK ||
            stat != 1) {
            state.SkipWithError("ecc_verify_hash rejected ecckey's signature");
            return;
        }
    }
}

void ecdh(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    const ltc_ecc_set_type *dp = tomCryptCurve(m);
    TomKey mine, peer;
    if (!dp || tomCryptPrng() < 0 || !mine.load(m.d, m.q, dp) || !peer.load(m.peerD, m.peerQ, dp)) {
        state.SkipWithError("LibTomCrypt set-up failed");
        return;
    }
    unsigned char secret[80];
    for (auto _ : state) {
        unsigned long len = sizeof secret;
        if (ecc_shared_secret(mine.get(), peer.get(), secret, &len) != CRYPT_OK) {
            state.SkipWithError("ecc_shared_secret failed");
            return;
        }
    }
}

void scalarMultG(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    const ltc_ecc_set_type *dp = tomCryptCurve(m);
    if (!dp || tomCryptPrng() < 0) {
        state.SkipWithError("LibTomCrypt set-up failed");
        return;
    }
    TomInt k, modulus;
    TomPoint G, R;
    if (!k.setBytes(m.d.data(), m.d.size()) || !modulus.setHex(dp->prime) || !G.setAffine(dp->Gx, dp->Gy) ||
        !R.get()) {
        state.SkipWithError("LibTomCrypt set-up failed");
        return;
    }
    for (auto _ : state) {
        if (ltc_ecc_mulmod(k.get(), G.get(), R.get(), modulus.get(), 1) != CRYPT_OK) {
            state.SkipWithError("ltc_ecc_mulmod failed");
            return;
        }
    }
}

void doubleScalarMult(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    const ltc_ecc_set_type *dp = tomCryptCurve(m);
    TomKey key;
    if (!dp || tomCryptPrng() < 0 || !key.load(m.d, m.q, dp)) {
        state.SkipWithError("LibTomCrypt set-up failed");
        return;
    }
    TomInt u1, u2, modulus;
    TomPoint G, Q, R;
    if (!u1.setBytes(m.u1.data(), m.u1.size()) || !u2.setBytes(m.u2.data(), m.u2.size()) ||
        !modulus.setHex(dp->prime) || !G.setAffine(dp->Gx, dp->Gy) || !Q.setFrom(key.get()->pubkey) ||
        !R.get()) {
        state.SkipWithError("LibTomCrypt set-up failed");
        return;
    }
    for (auto _ : state) {
        if (ltc_ecc_mul2add(G.get(), u1.get(), Q.get(), u2.get(), R.get(), modulus.get()) != CRYPT_OK) {
            state.SkipWithError("ltc_ecc_mul2add failed");
            return;
        }
    }
}

void fieldMultiply(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    const ltc_ecc_set_type *dp = tomCryptCurve(m);
    if (!dp || tomCryptPrng() < 0) {
        state.SkipWithError("LibTomCrypt set-up failed");
        return;
    }
    const std::size_t len = (std::size_t)m.byteLen;
    TomInt a, b, modulus;
    void *rho = nullptr;
    if (!a.setBytes(m.q.data() + 1, len) || !b.setBytes(m.q.data() + 1 + len, len) ||
        !modulus.setHex(dp->prime) || ltc_mp.montgomery_setup(modulus.get(), &rho) != CRYPT_OK) {
        state.SkipWithError("LibTomCrypt set-up failed");
        return;
    }
    for (auto _ : state) {
        if (ltc_mp.mul(a.get(), b.get(), a.get()) != CRYPT_OK ||
            ltc_mp.montgomery_reduce(a.get(), modulus.get(), rho) != CRYPT_OK) {
            state.SkipWithError("Montgomery product failed");
            break;
        }
    }
    if (rho)
        ltc_mp.montgomery_deinit(rho);
}

}  // namespace

void registerTomCryptCase(const BenchCurve &curve, BenchOp op) {
    if (!tomCryptCurve(benchMaterial(curve)))
        return;
    static const BenchFns fns = {
        {keyGen, sign, verify, ecdh, scalarMultG, scalarMultG, doubleScalarMult, fieldMultiply}};
    registerComparison(curve, op, kImplTomCrypt, fns);
}

}  // namespace ecckey_bench
