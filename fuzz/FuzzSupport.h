// What must hold whenever a decoder accepts its input, shared by the fuzz targets (each a one-file program
// over these names).
//
// A broken invariant prints what broke and aborts, which libFuzzer (and the corpus replay under CTest)
// reports as a finding together with the input that caused it.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "ecc/EccKey.h"
#include "support/LogBase.h"
#include "support/TovarMp.h"

using namespace ecckey;

[[noreturn]] inline void fuzzFail(const char *what, const char *file, int line) {
    std::fprintf(stderr, "\n*** fuzz invariant broken: %s (%s:%d)\n", what, file, line);
    std::abort();
}
#define FUZZ_REQUIRE(cond) ((cond) ? (void)0 : fuzzFail(#cond, __FILE__, __LINE__))

// A verbose logger (so that the data items written only when debugging are exercised too) that copies
// every text, reading each to its terminator, so that AddressSanitizer catches an unterminated or dangling
// one.
struct FuzzLog : LogRecorder {
    FuzzLog() { m_verbose = true; }
};

// True when both coordinates of the key's point fit in len bytes: the curve's byte length, for an X9.63
// export to carry them whole, or 256, the point writer's limit.
inline bool pointFits(const EccKey &key, int len) {
    return TovarMp::mp_unsigned_bin_size(key.m_pubPoint.m_x) <= len &&
           TovarMp::mp_unsigned_bin_size(key.m_pubPoint.m_y) <= len;
}

// The engine's zero point (0, 1, 0), which secp256k1 derives from a zero scalar.
inline bool isK1Zero(const EccKey &key) {
    const EccPoint &q = key.m_pubPoint;
    return key.m_curve.m_name.equals("secp256k1") && TovarMp::isZero(q.m_x) &&
           TovarMp::mp_cmp_d(q.m_y, 1) == 0 && TovarMp::isZero(q.m_z);
}

// A key that a reader accepted: its curve is the catalogue's curve of its OID (every reader loads the
// record from the catalogue, explicit parameters included), the key type is 0 or 1, the integers are not
// negative, a public key has no scalar and the point is affine.
inline void requireLoadedKey(const EccKey &key) {
    FuzzLog log;
    EccCurve ref;
    FUZZ_REQUIRE(ref.loadCurveByOid(key.m_curve.m_oid, log) && ref.m_name.equals(key.m_curve.m_name));
    FUZZ_REQUIRE(key.m_keyType == 0 || key.m_keyType == 1);
    FUZZ_REQUIRE(!TovarMp::isNegative(key.m_pubPoint.m_x) && !TovarMp::isNegative(key.m_pubPoint.m_y));
    FUZZ_REQUIRE(!TovarMp::isNegative(key.m_privKey) && (key.isPrivate() || TovarMp::isZero(key.m_privKey)));
    FUZZ_REQUIRE(TovarMp::mp_cmp_d(key.m_pubPoint.m_z, 1) == 0 || (key.isPrivate() && isK1Zero(key)));
}

// Same type, same curve, same scalar (private keys) and the same point, unless the point does not fit the
// curve and `whole` is false (the X9.63 writer cuts such a coordinate).
inline void requireSameKey(const EccKey &key, const EccKey &back, bool whole = false) {
    requireLoadedKey(back);
    FUZZ_REQUIRE(back.m_keyType == key.m_keyType && back.m_curve.m_oid.equals(key.m_curve.m_oid));
    FUZZ_REQUIRE(!key.isPrivate() || TovarMp::mp_cmp(back.m_privKey, key.m_privKey) == 0);
    if (whole || pointFits(key, key.m_curve.m_byteLen))
        FUZZ_REQUIRE(TovarMp::mp_cmp(back.m_pubPoint.m_x, key.m_pubPoint.m_x) == 0 &&
                     TovarMp::mp_cmp(back.m_pubPoint.m_y, key.m_pubPoint.m_y) == 0);
}

// Parses text into a Doc (ClsJsonObject, ClsXml) and reads the key from it.
template <class Doc, bool (Doc::*parse)(const char *, LogBase &), bool (EccKey::*load)(Doc &, LogBase &)>
bool readKey(const char *text, EccKey &key, LogBase &log) {
    Doc doc;
    return (doc.*parse)(text, log) && (key.*load)(doc, log);
}

// The text `write` makes of the key (a writer of EccKey, or a callable taking the key) reads back through
// `read` as the same key.
template <class Write, class Read>
void requireRoundTrip(EccKey &key, Write write, Read read, bool whole = false) {
    FuzzLog log;
    FUZZ_REQUIRE(log.m_options.setString("EMIT_ECC_PKCS1_PUBKEY"));
    StringBuffer text;
    EccKey back;
    FUZZ_REQUIRE(std::invoke(write, key, text, log) && read(text.getString(), back, log));
    requireSameKey(key, back, whole);
    text.secureClear();
}

// A loaded key (above) that re-exports as DER in both forms that apply to it, each loading back as the
// same key. Private keys are written with their public point, so a point that was trusted on input comes
// back unchanged. Nothing is written for a point beyond the writer's limit, nor for a zero scalar ("k is
// empty"), which only the PKCS #8 curve override yields.
inline void requireDerRoundTrip(EccKey &key) {
    requireLoadedKey(key);
    const bool writable = pointFits(key, 256) && !(key.isPrivate() && TovarMp::isZero(key.m_privKey));
    FuzzLog log;
    FUZZ_REQUIRE(log.m_options.setString("EMIT_ECC_PKCS1_PUBKEY"));
    for (auto write :
         {key.isPrivate() ? &EccKey::toEccPkcs1PrivateKeyDer : &EccKey::toPublicKeyDer_shortFmt,
          key.isPrivate() ? &EccKey::toEccPkcs8PrivateKeyDer : &EccKey::toPublicKeyDer_longFmt}) {
        DataBuffer der;
        EccKey back;
        FUZZ_REQUIRE((key.*write)(der, log) == writable);
        if (!writable)
            return;
        FUZZ_REQUIRE(der.isSensitive() && back.loadEccDer(der, log));
        requireSameKey(key, back);
    }
}
