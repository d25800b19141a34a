// Shared checks for the fuzz targets: what must hold whenever a decoder accepts its input.
//
// A broken invariant prints what broke and aborts, which libFuzzer (and the corpus replay under CTest)
// reports as a finding together with the input that caused it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ecc/EccKey.h"
#include "support/LogBase.h"

namespace ecckey_fuzz {

[[noreturn]] void fail(const char *what, const char *file, int line);

#define FUZZ_REQUIRE(cond)                                  \
    do {                                                    \
        if (!(cond))                                        \
            ::ecckey_fuzz::fail(#cond, __FILE__, __LINE__); \
    } while (0)

// A logger that keeps nothing but reads every text it is given to its terminator (so an unterminated or
// dangling text is caught by AddressSanitizer) and checks that contexts are balanced. Verbose, so that
// the data items written only when debugging are exercised too.
class FuzzLog : public ecckey::LogBase {
  public:
    FuzzLog();
    ~FuzzLog() override;
    void logError(const char *text) override;
    void logInfo(const char *text) override;
    void enterContext(const char *name) override;
    void leaveContext() override;
    void logData(const char *name, const char *value) override;

    int depth() const { return m_depth; }
    std::size_t numErrors() const { return m_numErrors; }

  private:
    int m_depth = 0;
    std::size_t m_numErrors = 0;
    std::size_t m_chars = 0;  // total text length seen; keeps the reads from being optimised away
};

// The thirteen catalogue curves with their parameters, taken from OpenSSL.
struct CurveRef {
    const char *name;  // the catalogue's canonical name
    const char *oid;
    int nid;
    int byteLen;
    bool hasA;  // Brainpool: the record carries a
};
int numCurves();
const CurveRef &curveAt(int index);
const CurveRef *findCurveByOid(const char *oid);

// The record is exactly one of the thirteen curves: name, OID, byte length and every parameter agree with
// OpenSSL's definition of that curve.
void requireCatalogueCurve(const ecckey::EccCurve &curve);

// A key that a loader accepted: a catalogue curve, a key type of 0 or 1, an affine public point.
void requireLoadedKey(const ecckey::EccKey &key);

// Byte length of |v|.
int byteLen(const ecckey::mp_int &v);
bool equalInts(const ecckey::mp_int &a, const ecckey::mp_int &b);
bool isZero(const ecckey::mp_int &v);

// True when both coordinates fit the curve's byte length, so that an X9.63 export carries them whole.
bool pointFitsCurve(const ecckey::EccKey &key);
// True when both coordinates fit the 256-byte limit of the point writer.
bool pointExportable(const ecckey::EccKey &key);

// Same type, same curve, same scalar (private keys) and, when the point fits the curve, the same point.
void requireSameKey(const ecckey::EccKey &loaded, const ecckey::EccKey &reloaded);

// The key re-exports as DER in every form that applies to it and each export loads back as the same key.
// Private keys are written with their public point, so a point that was trusted on input comes back
// unchanged.
void requireDerRoundTrip(ecckey::EccKey &key);

}  // namespace ecckey_fuzz
