#include "FuzzSupport.h"

#include <cstdio>
#include <cstdlib>

namespace ecckey_fuzz {

void fail(const char *what, const char *file, int line) {
    std::fprintf(stderr, "\n*** fuzz invariant broken: %s (%s:%d)\n", what, file, line);
    std::fflush(stderr);
    std::abort();
}

bool pointFits(const EccKey &key, int len) {
    return TovarMp::mp_unsigned_bin_size(key.m_pubPoint.m_x) <= len &&
           TovarMp::mp_unsigned_bin_size(key.m_pubPoint.m_y) <= len;
}

bool isK1Zero(const EccKey &key) {
    const EccPoint &q = key.m_pubPoint;
    return key.m_curve.m_name.equals("secp256k1") && TovarMp::isZero(q.m_x) &&
           TovarMp::mp_cmp_d(q.m_y, 1) == 0 && TovarMp::isZero(q.m_z);
}

void requireLoadedKey(const EccKey &key) {
    FuzzLog log;
    EccCurve ref;
    const EccCurve &c = key.m_curve;
    FUZZ_REQUIRE(ref.loadCurveByOid(c.m_oid, log));
    FUZZ_REQUIRE(c.m_name.equals(ref.m_name) && c.m_byteLen == ref.m_byteLen && c.m_hasA == ref.m_hasA);
    FUZZ_REQUIRE(c.m_p.equals(ref.m_p) && c.m_a.equals(ref.m_a) && c.m_b.equals(ref.m_b));
    FUZZ_REQUIRE(c.m_order.equals(ref.m_order) && c.m_Gx.equals(ref.m_Gx) && c.m_Gy.equals(ref.m_Gy));
    FUZZ_REQUIRE(key.m_keyType == 0 || key.m_keyType == 1);
    FUZZ_REQUIRE(!TovarMp::isNegative(key.m_pubPoint.m_x) && !TovarMp::isNegative(key.m_pubPoint.m_y));
    FUZZ_REQUIRE(!TovarMp::isNegative(key.m_privKey) && (key.isPrivate() || TovarMp::isZero(key.m_privKey)));
    FUZZ_REQUIRE(TovarMp::mp_cmp_d(key.m_pubPoint.m_z, 1) == 0 || (key.isPrivate() && isK1Zero(key)));
}

void requireSameKey(const EccKey &key, const EccKey &back, bool whole) {
    requireLoadedKey(back);
    FUZZ_REQUIRE(back.m_keyType == key.m_keyType && back.m_curve.m_oid.equals(key.m_curve.m_oid));
    FUZZ_REQUIRE(!key.isPrivate() || equalInts(back.m_privKey, key.m_privKey));
    if (whole || pointFits(key, key.m_curve.m_byteLen))
        FUZZ_REQUIRE(equalInts(back.m_pubPoint.m_x, key.m_pubPoint.m_x) &&
                     equalInts(back.m_pubPoint.m_y, key.m_pubPoint.m_y));
}

void requireDerRoundTrip(EccKey &key) {
    requireLoadedKey(key);
    typedef bool (EccKey::*DerWriter)(DataBuffer &, LogBase &);
    const DerWriter forms[2][2] = {{&EccKey::toPublicKeyDer_shortFmt, &EccKey::toPublicKeyDer_longFmt},
                                   {&EccKey::toEccPkcs1PrivateKeyDer, &EccKey::toEccPkcs8PrivateKeyDer}};
    // Nothing is written for a point beyond the writer's limit, nor for a zero scalar ("k is empty"),
    // which only the PKCS #8 curve override yields.
    const bool writable = pointFits(key, 256) && !(key.isPrivate() && TovarMp::isZero(key.m_privKey));
    FuzzLog log;
    log.m_options.setString("EMIT_ECC_PKCS1_PUBKEY");
    for (DerWriter write : forms[key.m_keyType]) {
        DataBuffer der;
        EccKey back;
        FUZZ_REQUIRE((key.*write)(der, log) == writable);
        if (!writable)
            return;
        FUZZ_REQUIRE(der.isSensitive() && back.loadEccDer(der, log));
        requireSameKey(key, back);
    }
}

}  // namespace ecckey_fuzz
