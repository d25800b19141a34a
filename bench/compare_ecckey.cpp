// ecckey's column of the comparison table: the four key operations through EccKey's public interface,
// the multiplications under them (k·G by the ladder for secret scalars that ECDH uses, k·G from the
// generator's tables that key generation and signing use, u1·G + u2·Q), and one field multiplication (the
// fixed-width Montgomery product FieldMont<N>::mul on the generic curves, FieldInt256::multiply on
// secp256k1).
//
// Every case counts the heap allocations of its operation, and the multiplications report how many
// field products they perform, so that the table can print each one's floor (products × the cost of one).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "bench/AllocCounter.h"
#include "bench/BenchSetup.h"
#include "bench/EcckeyBench.h"
#include "ecc/EccKey.h"
#include "ecc/arith/EccArith.h"
#include "ecc/arith/FixedField.h"
#include "ecc/secp256k1/CurvePt.h"
#include "support/LogBase.h"
#include "support/StringBuffer.h"
#include "support/TovarMp.h"

namespace ecckey_bench {

using namespace ecckey;

namespace {

// Field products of the generic formulas: a doubling costs 8 (a = −3) or 10 (with a, whose product is a
// Montgomery product with a in Montgomery form); an addition whose Q has Z ≠ 1, the only kind the
// multiplications make, costs 16.
const int kAddProducts = 16;
int doubleProducts(bool hasA) {
    return hasA ? 10 : 8;
}

// The affine map on the fixed-width field: Z out of Montgomery form (1), its inverse (1 into the form, a
// table of 14 powers, then for p − 2 one product at its top non-zero nibble and four squarings and, for a
// non-zero nibble, a product per nibble below it; 1 back out), two plain products of 2 each, X and Y (2).
int mapProducts(const mp_int &p) {
    mp_int e;
    StringBuffer hex;
    if (TovarMp::mp_set(e, 2) != 0 || TovarMp::mp_sub(p, e, e) != 0 || !TovarMp::mpint_to_hex(e, hex))
        return 0;
    int power = 1;
    for (const char *c = hex.getString() + 1; *c; ++c)
        power += 4 + (*c != '0' ? 1 : 0);
    return 1 + 1 + 14 + power + 1 + 2 * 2 + 2;
}

// The ladder for secret scalars: M1 = 2G, then an addition and a doubling for every bit of n after its
// top one, whatever k is, then the map.
int ladderProducts(const mp_int &n, const mp_int &p, bool hasA) {
    const int steps = TovarMp::mp_count_bits(n) - 1;
    return doubleProducts(hasA) + steps * (kAddProducts + doubleProducts(hasA)) + mapProducts(p);
}

// The generator's tables: a mixed addition (Q affine: 8 products and 3 squares) for every window after the
// first, a doubling for the last window's masked addition, then the map.
const int kMixedAddProducts = 11;
int baseProducts(const mp_int &n, const mp_int &p, bool hasA) {
    const int windows = (TovarMp::mp_count_bits(n) + kBaseMultWindowBits - 1) / kBaseMultWindowBits;
    return (windows - 1) * kMixedAddProducts + doubleProducts(hasA) + mapProducts(p);
}

// The joint table (two doublings, eleven additions), then per bit pair after the first non-zero one two
// doublings and, for a non-zero pair, an addition.
int jointProducts(const Bytes &u1, const Bytes &u2, const mp_int &p, bool hasA) {
    int products = 2 * doubleProducts(hasA) + 11 * kAddProducts;
    bool started = false;
    for (std::size_t i = 0; i < u1.size(); ++i) {
        for (int shift = 6; shift >= 0; shift -= 2) {
            const bool nonZero = ((u1[i] >> shift) & 3) != 0 || ((u2[i] >> shift) & 3) != 0;
            if (started)
                products += 2 * doubleProducts(hasA) + (nonZero ? kAddProducts : 0);
            started = started || nonZero;
        }
    }
    return products + mapProducts(p);
}

// The secp256k1 engine: a doubling is 11 field multiplications, an addition 15 plus its embedded doubling.
const int kK1Double = 11;
const int kK1Add = 15 + kK1Double;
// multiplyPt: the table (one doubling, thirteen additions), 63 × 4 doublings and 64 additions.
const int kK1MultiplyPt = kK1Double + 13 * kK1Add + 63 * 4 * kK1Double + 64 * kK1Add;
const int kK1Normalize = 2;
// multiplyGenerator: 51 mixed additions of 12 multiplications, the last with two more and a doubling.
const int kK1MultiplyGenerator = 51 * 12 + 2 + kK1Double;

// Heap allocations inside the measured operations, reported per operation.
class AllocationTally {
  public:
    void begin() { m_start = ecckey_alloc::allocationCount(); }
    void end() { m_total += ecckey_alloc::allocationCount() - m_start; }
    void report(benchmark::State &state) const {
        if (ecckey_alloc::allocationCounterActive())
            state.counters[kCounterAllocs] =
                benchmark::Counter((double)m_total, benchmark::Counter::kAvgIterations);
    }

  private:
    std::uint64_t m_start = 0;
    std::uint64_t m_total = 0;
};

std::uint64_t seedFor(const BenchCurve &curve, BenchOp op) {
    return caseSeed(curve, 0xBE4C4ull + (std::uint64_t)op);
}

bool fromBytes(const Bytes &bytes, mp_int &out) {
    return TovarMp::mpint_from_bytes(out, bytes.data(), (unsigned)bytes.size());
}

// The curve in the form the generic arithmetic takes: p, the optional a, G affine with Z = 1, and n.
struct GenericCurve {
    mp_int p, a, n;
    bool hasA = false;
    EccPoint G;

    bool load(const EccKey &key) {
        const EccCurve &c = key.m_curve;
        hasA = c.m_hasA;
        return TovarMp::mpint_from_radix(p, c.m_p.getString(), 16) &&
               TovarMp::mpint_from_radix(n, c.m_order.getString(), 16) &&
               (!hasA || TovarMp::mpint_from_radix(a, c.m_a.getString(), 16)) &&
               TovarMp::mpint_from_radix(G.m_x, c.m_Gx.getString(), 16) &&
               TovarMp::mpint_from_radix(G.m_y, c.m_Gy.getString(), 16) && TovarMp::mp_set(G.m_z, 1) == 0;
    }
    mp_int *aArg() { return hasA ? &a : nullptr; }
};

void keyGen(benchmark::State &state, const BenchCurve *curve) {
    BenchPrng prng(seedFor(*curve, BenchOp::KeyGen));
    LogNull log;
    const StringBuffer name(curve->name);
    AllocationTally allocs;
    for (auto _ : state) {
        allocs.begin();
        bool ok;
        {
            EccKey key;
            ok = key.generateNewKey(name, prng, log);
        }
        allocs.end();
        if (!ok) {
            state.SkipWithError("generateNewKey failed");
            return;
        }
    }
    allocs.report(state);
}

void sign(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    EccKey key;
    if (!loadPrivateKey(*curve, m.d, key)) {
        state.SkipWithError("key load failed");
        return;
    }
    BenchPrng prng(seedFor(*curve, BenchOp::Sign));
    LogNull log;
    DataBuffer sig;
    AllocationTally allocs;
    for (auto _ : state) {
        allocs.begin();
        const bool ok = key.eccSignHash(m.hash.data(), (unsigned)m.hash.size(), prng, true, sig, log);
        allocs.end();
        if (!ok) {
            state.SkipWithError("eccSignHash failed");
            return;
        }
    }
    // Every attempt of a signer draws one nonce (the generic signer: one ephemeral key).
    state.counters[kCounterNonces] =
        benchmark::Counter((double)prng.requests(), benchmark::Counter::kAvgIterations);
    allocs.report(state);
}

void verify(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    EccKey key;
    if (!loadPrivateKey(*curve, m.d, key)) {
        state.SkipWithError("key load failed");
        return;
    }
    LogNull log;
    AllocationTally allocs;
    for (auto _ : state) {
        bool valid = false;
        allocs.begin();
        const bool ok = key.eccVerifyHash(m.sigDer.data(), (unsigned)m.sigDer.size(), false, m.hash.data(),
                                          (unsigned)m.hash.size(), valid, log, 0);
        allocs.end();
        if (!ok || !valid) {
            state.SkipWithError("eccVerifyHash failed");
            return;
        }
    }
    allocs.report(state);
}

void ecdh(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    EccKey mine, peer;
    if (!loadPrivateKey(*curve, m.d, mine) || !loadPrivateKey(*curve, m.peerD, peer)) {
        state.SkipWithError("key load failed");
        return;
    }
    LogNull log;
    DataBuffer secret;
    AllocationTally allocs;
    for (auto _ : state) {
        allocs.begin();
        const bool ok = mine.sharedSecret(peer, secret, log);
        allocs.end();
        if (!ok) {
            state.SkipWithError("sharedSecret failed");
            return;
        }
    }
    allocs.report(state);
}

// k·G by the secret ladder or, with fixedBase, from the generator's tables as key generation and signing
// make it (the tables exist before timing); the product counts follow the method.
void generatorMult(benchmark::State &state, const BenchCurve *curve, bool fixedBase) {
    const BenchMaterial &m = benchMaterial(*curve);
    AllocationTally allocs;
    if (curve->isSecp256k1) {
        const _tvUnsigned256 k(m.d.data());
        for (auto _ : state) {
            allocs.begin();
            _tvCurvePt R = _tvCurvePt::m_s_G;
            if (fixedBase)
                R.multiplyGenerator(k);
            else
                R.multiplyPt(k);
            R.normalizePt();
            allocs.end();
            benchmark::DoNotOptimize(R);
        }
        state.counters[kCounterProducts] = (fixedBase ? kK1MultiplyGenerator : kK1MultiplyPt) + kK1Normalize;
        allocs.report(state);
        return;
    }
    EccKey key;
    GenericCurve c;
    mp_int k;
    if (!loadPrivateKey(*curve, m.d, key) || !c.load(key) || !fromBytes(m.d, k)) {
        state.SkipWithError("set-up failed");
        return;
    }
    EccPoint R;
    LogNull log;
    for (auto _ : state) {
        allocs.begin();
        const bool ok = fixedBase ? pointMultBase(k, c.n, c.G, R, c.aArg(), c.p, log)
                                  : pointMultSecret(k, c.n, c.G, R, c.aArg(), c.p, log);
        allocs.end();
        if (!ok) {
            state.SkipWithError(fixedBase ? "pointMultBase failed" : "pointMultSecret failed");
            return;
        }
    }
    state.counters[kCounterProducts] =
        fixedBase ? baseProducts(c.n, c.p, c.hasA) : ladderProducts(c.n, c.p, c.hasA);
    allocs.report(state);
}

void scalarMultG(benchmark::State &state, const BenchCurve *curve) {
    generatorMult(state, curve, false);
}

void scalarMultGFixed(benchmark::State &state, const BenchCurve *curve) {
    generatorMult(state, curve, true);
}

void doubleScalarMult(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    AllocationTally allocs;
    EccKey key;
    if (!loadPrivateKey(*curve, m.d, key)) {
        state.SkipWithError("key load failed");
        return;
    }
    if (curve->isSecp256k1) {
        // What the engine's verifier does: two multiplications (G's from the tables), one addition, one
        // normalisation.
        const _tvUnsigned256 u1(m.u1.data()), u2(m.u2.data());
        _tvUnsigned256 qx, qy;
        if (!mp_int_to_uint256(key.m_pubPoint.m_x, qx) || !mp_int_to_uint256(key.m_pubPoint.m_y, qy)) {
            state.SkipWithError("the public point does not fit 256 bits");
            return;
        }
        const _tvCurvePt Q{FieldInt256(qx), FieldInt256(qy)};
        for (auto _ : state) {
            allocs.begin();
            _tvCurvePt P;
            P.multiplyGenerator(u1);
            _tvCurvePt P2 = Q;
            P2.multiplyPt(u2);
            P.addPt(P2);
            P.normalizePt();
            allocs.end();
            benchmark::DoNotOptimize(P);
        }
        state.counters[kCounterProducts] = kK1MultiplyGenerator + kK1MultiplyPt + kK1Add + kK1Normalize;
        allocs.report(state);
        return;
    }
    GenericCurve c;
    mp_int u1, u2;
    if (!c.load(key) || !fromBytes(m.u1, u1) || !fromBytes(m.u2, u2)) {
        state.SkipWithError("set-up failed");
        return;
    }
    EccPoint R;
    LogNull log;
    for (auto _ : state) {
        allocs.begin();
        const bool ok = EccKey::mul2add(c.G, u1, key.m_pubPoint, u2, R, c.aArg(), c.p, log);
        allocs.end();
        if (!ok) {
            state.SkipWithError("mul2add failed");
            return;
        }
    }
    state.counters[kCounterProducts] = jointProducts(m.u1, m.u2, c.p, c.hasA);
    allocs.report(state);
}

// The generic curves' product: FieldMont<N>::mul on the public point's coordinates in Montgomery form.
template <int N>
bool fixedProducts(benchmark::State &state, GenericCurve &c, const EccKey &key, AllocationTally &allocs) {
    FixedField<N> f;
    typename FixedField<N>::Point q;
    if (!f.setUp(c.p, nullptr) || !f.load(key.m_pubPoint, q))
        return false;
    typename FixedField<N>::Elem a = q.m_x;
    const typename FixedField<N>::Elem b = q.m_y;
    for (auto _ : state) {
        allocs.begin();
        f.field().mul(a, b, a);
        allocs.end();
        benchmark::DoNotOptimize(a);
    }
    allocs.report(state);
    return true;
}

// One multiplication per iteration, each depending on the previous result: the latency of a product, as
// the point formulas' chains of products meet it.
void fieldMultiply(benchmark::State &state, const BenchCurve *curve) {
    const BenchMaterial &m = benchMaterial(*curve);
    AllocationTally allocs;
    EccKey key;
    if (!loadPrivateKey(*curve, m.d, key)) {
        state.SkipWithError("key load failed");
        return;
    }
    if (curve->isSecp256k1) {
        _tvUnsigned256 x, y;
        if (!mp_int_to_uint256(key.m_pubPoint.m_x, x) || !mp_int_to_uint256(key.m_pubPoint.m_y, y)) {
            state.SkipWithError("the public point does not fit 256 bits");
            return;
        }
        FieldInt256 a(x);
        const FieldInt256 b(y);
        for (auto _ : state) {
            allocs.begin();
            a.multiply(b);
            allocs.end();
            benchmark::DoNotOptimize(a);
        }
        allocs.report(state);
        return;
    }
    GenericCurve c;
    if (!c.load(key) ||
        !withFixedFieldLimbs(
            c.p, [&](auto limbs) { return fixedProducts<decltype(limbs)::value>(state, c, key, allocs); },
            [] { return false; }))
        state.SkipWithError("set-up failed");
}

}  // namespace

void registerEcckeyCase(const BenchCurve &curve, BenchOp op) {
    static const BenchFns fns = {
        {keyGen, sign, verify, ecdh, scalarMultG, scalarMultGFixed, doubleScalarMult, fieldMultiply}};
    registerComparison(curve, op, kImplEcckey, fns);
}

}  // namespace ecckey_bench
