// What must hold whenever a decoder accepts its input, shared by the fuzz targets.
//
// A broken invariant prints what broke and aborts, which libFuzzer (and the corpus replay under CTest)
// reports as a finding together with the input that caused it.
#pragma once

#include <cstdint>
#include <cstring>
#include <functional>

#include "ecc/EccKey.h"
#include "support/LogBase.h"
#include "support/TovarMp.h"

namespace ecckey_fuzz {

using namespace ecckey;

[[noreturn]] void fail(const char *what, const char *file, int line);

#define FUZZ_REQUIRE(cond)                                  \
    do {                                                    \
        if (!(cond))                                        \
            ::ecckey_fuzz::fail(#cond, __FILE__, __LINE__); \
    } while (0)

// A verbose logger (so that the data items written only when debugging are exercised too) that keeps
// nothing but reads every text to its terminator, so that AddressSanitizer catches an unterminated or
// dangling one.
class FuzzLog : public LogBase {
  public:
    FuzzLog() { m_verbose = true; }
    void logError(const char *text) override { m_chars += std::strlen(text); }
    void logInfo(const char *text) override { m_chars += std::strlen(text); }
    void enterContext(const char *name) override { m_chars += std::strlen(name); }
    void logData(const char *name, const char *value) override {
        m_chars += std::strlen(name) + std::strlen(value);
    }

  private:
    size_t m_chars = 0;  // keeps the reads from being optimised away
};

inline bool equalInts(const mp_int &a, const mp_int &b) {
    return TovarMp::mp_cmp(a, b) == 0;
}
// True when both coordinates of the key's point fit in len bytes: the curve's byte length, for an X9.63
// export to carry them whole, or 256, the point writer's limit.
bool pointFits(const EccKey &key, int len);
// The engine's zero point (0, 1, 0), which secp256k1 derives from a zero scalar.
bool isK1Zero(const EccKey &key);

// A key that a reader accepted: its curve record is exactly the catalogue's record for its OID, the key
// type is 0 or 1, the integers are not negative, a public key has no scalar and the point is affine.
void requireLoadedKey(const EccKey &key);
// Same type, same curve, same scalar (private keys) and the same point, unless the point does not fit the
// curve and `whole` is false (the X9.63 writer cuts such a coordinate).
void requireSameKey(const EccKey &key, const EccKey &back, bool whole = false);

// A loaded key (above) that re-exports as DER in both forms that apply to it, each loading back as the
// same key. Private keys are written with their public point, so a point that was trusted on input comes
// back unchanged.
void requireDerRoundTrip(EccKey &key);

// The text `write` makes of the key (a writer of EccKey, or a callable taking the key) reads back through
// `read` as the same key.
template <class Write, class Read>
void requireRoundTrip(EccKey &key, Write write, Read read, bool whole = false) {
    FuzzLog log;
    log.m_options.setString("EMIT_ECC_PKCS1_PUBKEY");
    StringBuffer text;
    EccKey back;
    FUZZ_REQUIRE(std::invoke(write, key, text, log) && read(text.getString(), back, log));
    requireSameKey(key, back, whole);
    text.secureClear();
}

// OpenSSL as the independent oracle (FuzzOracle.cpp), on the key's curve. Compares q with d·G: 1 when q is
// d·G and affine, 0 when it is not, -1 when d·G is the point at infinity.
int oracleMulBase(const EccCurve &curve, const mp_int &d, const EccPoint &q);
// The ECDSA verdict for (r, s) over the integer e under the key's point: true exactly when 0 < r, s < n
// and the x-coordinate of (e/s)·G + (r/s)·Q, reduced modulo n, equals r.
bool oracleVerify(const EccKey &key, const mp_int &r, const mp_int &s, const mp_int &e);

}  // namespace ecckey_fuzz

// The harnesses are one-file programs over these names.
using namespace ecckey_fuzz;
