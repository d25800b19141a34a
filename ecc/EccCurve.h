// EccCurve: the record of one named curve, filled from a compiled-in catalogue of thirteen curves.
//
// Parameters are held as hexadecimal text exactly as the catalogue stores them and are parsed into
// big integers wherever they are needed. m_a is set only for the Brainpool curves (m_hasA); the NIST
// curves (a = p - 3) and secp256k1 (a = 0) leave it empty. Clearing leaves m_a and m_hasA alone: a
// cleared record may still carry a Brainpool a until the next successful load replaces it.
#pragma once

#include "support/StringBuffer.h"

namespace ecckey {

class LogBase;
class mp_int;

// One row of the compiled-in catalogue as callers outside the loader see it (the command-line tool lists
// them). The domain parameters are reached by loading the curve.
struct EccCatalogEntry {
    const char *name;  // canonical, lower case
    const char *oid;   // dotted decimal
    int byteLen;
    const char *exactNames[5];  // accepted whole (after trimming and lower-casing); unused slots null
    const char *substringName;  // accepted anywhere in the lower-cased text; null when none
};

class EccCurve {
  public:
    EccCurve();
    virtual ~EccCurve();
    EccCurve(const EccCurve &) = delete;
    EccCurve &operator=(const EccCurve &) = delete;

    // Fills the record from a name or alias (trimmed, case-insensitive) or, failing those, from the
    // untrimmed text taken as an OID. Logs "Unsupported ECC curve.." when neither matches; the record is
    // then empty (but for m_a and m_hasA), as it is when memory is short.
    [[nodiscard]] bool loadCurveByName(const char *name, LogBase &log);
    // Fills the record from a dotted OID (exact text). Logs "Unsupported ECDSA curve." and leaves the
    // record as it was when the OID is unknown.
    [[nodiscard]] bool loadCurveByOid(const StringBuffer &oid, LogBase &log);
    // Empties every field but m_a and m_hasA (plain clear, no wipe: nothing here is secret).
    void clearEccCurve();
    // Copies all ten fields, m_a and m_hasA included. When memory is short the record is left empty instead.
    void copyFromEccCurve(const EccCurve &other);

    // The catalogue rows in the order names are tested. catalogEntry is null for an index out of range.
    static int numCatalogCurves();
    static const EccCatalogEntry *catalogEntry(int index);

    // The coefficient a of y² = x³ + a·x + b: the catalogue's for the Brainpool curves, p − 3 for the NIST
    // curves, 0 for secp256k1. False when the record is empty or a parameter does not parse.
    [[nodiscard]] bool getCoefficientA(mp_int &a) const;
    // Whether the record holds secp256k1: the one test that decides whether a key goes to the fixed-width
    // secp256k1 engine (ecc/secp256k1/) or to the generic arithmetic (ecc/arith/).
    [[nodiscard]] bool isSecp256k1() const;

    // Whether the big-endian scalar d[0..len) as written is in [1, n-1], judged on the bytes before any
    // conversion or reduction: a scalar longer than m_byteLen is refused whatever its value, so no loader
    // hands LibTomMath an integer longer than the curve, except for one leading zero byte (SSH's mpint and
    // DER's INTEGER need it before a top bit that is set, and puttygen writes it in SEC 1 too). Constant
    // time in the value of d; its length is public. False for an empty record.
    [[nodiscard]] bool scalarBytesInRange(const unsigned char *d, unsigned len) const;

    // SSH key-type name for the curve's OID ("ecdsa-sha2-nistp256", ...). Logs "Unsupported ecdsa curve."
    // for a record without a catalogue OID.
    [[nodiscard]] bool getPpkType(StringBuffer &out, LogBase &log) const;
    // SSH curve identifier used inside public-key blobs; "nistp256" for curves it has no name for.
    const char *puttyCurveName() const;

    int m_byteLen;        // bytes of a field element and of a scalar; 0 when empty
    StringBuffer m_name;  // canonical lower-case name
    StringBuffer m_oid;   // dotted decimal
    StringBuffer m_p;
    StringBuffer m_a;
    bool m_hasA;
    StringBuffer m_b;
    StringBuffer m_order;
    StringBuffer m_Gx;
    StringBuffer m_Gy;
};

}  // namespace ecckey
