// Shared set-up of the side-by-side benchmark: the curves, the key material every library is given, the
// names under which the cases register and the run configuration.
//
// This header uses plain bytes only. The peer adapters (OpenSSL, LibTomCrypt, libsecp256k1) include it
// without any ecckey header: LibTomCrypt's math macros (mp_init, mp_add, ...) would otherwise rewrite the
// names of ecckey's TovarMp.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ecckey_bench {

typedef std::vector<unsigned char> Bytes;

struct BenchCurve {
    const char *name;         // ecckey catalogue name
    const char *label;        // as printed in the tables
    const char *opensslName;  // OpenSSL group name
    int nid;                  // OpenSSL NID
    bool isSecp256k1;
};

// The thirteen curves in table order: NIST P-192..P-521, secp256k1, then the seven Brainpool curves.
const std::vector<BenchCurve> &benchCurves();

// Key material for one curve, made once by ecckey from a fixed seed and handed to every library as bytes
// so that all of them work with the same keys, digest and scalars.
struct BenchMaterial {
    const BenchCurve *curve = nullptr;
    int byteLen = 0;     // field element and scalar length
    std::string p;       // the prime, hexadecimal (LibTomCrypt's curve table is matched on it)
    Bytes d;             // private scalar, big-endian, byteLen bytes
    Bytes q;             // public point, X9.63 uncompressed
    Bytes peerD, peerQ;  // the other party of ECDH
    Bytes hash;          // prehashed digest: SHA-256, SHA-384 or SHA-512 by curve size
    Bytes sigDer;        // ecckey's DER signature of hash under d (verified by every library)
    Bytes u1, u2;        // two scalars below n for u1·G + u2·Q
};

// The material for a curve, built on first use; a thread gets its own (distinct keys) for threadIndex > 0.
// Aborts the program when ecckey cannot make it: nothing can be measured without it.
const BenchMaterial &benchMaterial(const BenchCurve &curve, int threadIndex = 0);

// The operations of the comparison table, in row order.
// ScalarMultG is ecckey's ladder for any base point, ScalarMultGFixed its multiplier of the generator from
// tables; a peer's k·G is the same call in both rows.
enum class BenchOp {
    KeyGen,
    Sign,
    Verify,
    Ecdh,
    ScalarMultG,
    ScalarMultGFixed,
    DoubleScalarMult,
    FieldMultiply
};
const char *opKey(BenchOp op);    // in benchmark names
const char *opLabel(BenchOp op);  // in the table
const std::vector<BenchOp> &benchOps();

// Implementations, in column order.
extern const char *const kImplEcckey;
extern const char *const kImplOpenSsl;
extern const char *const kImplTomCrypt;
extern const char *const kImplSecp256k1;

// "cmp/<curve>/<op>/<impl>" (comparison table) and "mt/<curve>/<op>" (thread table).
std::string comparisonName(const BenchCurve &curve, BenchOp op, const char *impl);
std::string threadName(const BenchCurve &curve, BenchOp op);

// Counters a case reports besides its time.
extern const char *const kCounterAllocs;    // heap allocations per operation (ecckey)
extern const char *const kCounterProducts;  // field products per operation (the floor of a multiplication)
extern const char *const kCounterNonces;    // nonces drawn per signature (attempts of the signer)

// A fast deterministic byte stream (xoshiro256**) for the key generators and signers of every library:
// the operating system's generator would add a system call to each operation.
class FastRandom {
  public:
    explicit FastRandom(std::uint64_t seed);
    void fill(unsigned char *out, std::size_t count);
    std::uint64_t next();

  private:
    std::uint64_t m_s[4];
};

// One library's benchmark function per operation, in BenchOp order; null where it has none.
using BenchFn = void (*)(benchmark::State &, const BenchCurve *);
struct BenchFns {
    BenchFn byOp[8];
};
// Registers impl's case for curve and op, or nothing where the table has no function for op.
void registerComparison(const BenchCurve &curve, BenchOp op, const char *impl, const BenchFns &fns);

// Each adapter registers its case for one curve and operation, or nothing where it has none. main calls
// them curve by curve and operation by operation, so that the libraries compared in one row run one
// after the other and meet the same machine load.
void registerEcckeyCase(const BenchCurve &curve, BenchOp op);
void registerOpenSslCase(const BenchCurve &curve, BenchOp op);
void registerTomCryptCase(const BenchCurve &curve, BenchOp op);
void registerSecp256k1Case(const BenchCurve &curve, BenchOp op);
// The thread table: sign and verify on one and on two threads, each thread with its own key.
void registerThreadCases(const BenchCurve &curve);
// The nonce-length table (nonce_bench.cpp): the generic signer's time per nonce on the curves that have
// cases (P-256, brainpoolP256r1), for nonces shortened by each of nonceShortenings() bits (0: full length),
// under the names "nonce/<curve label>/-<bits>".
const std::vector<unsigned> &nonceShortenings();
bool hasNonceCases(const BenchCurve &curve);
std::string nonceName(const BenchCurve &curve, unsigned shorterBits);
void registerNonceCases();

}  // namespace ecckey_bench
