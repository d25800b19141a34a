// Public-key derivation (Q = d·G), regeneration of a key from another key's scalar, and the a = −3
// curve-equation test.
//
// secp256k1 goes to the constant-time fixed-width engine; every other curve to the generic multiplier of
// the generator from its tables. The generic branch reduces a scalar that is not below n in place: callers
// that store the key afterwards (key generation, the loaders) keep the reduced scalar.

#include "ecc/EccKey.h"
#include "ecc/EccMessages.h"
#include "ecc/arith/EccArith.h"
#include "ecc/arith/ScalarField.h"
#include "ecc/secp256k1/CurvePt.h"
#include "support/ConstantTime.h"
#include "support/LogBase.h"
#include "support/TovarMp.h"
#include "support/Wipe.h"

namespace ecckey {

namespace {

const char kMsgFailed[] = "Failed.";

// Q = d·G on secp256k1. A scalar wider than 256 bits is not converted and acts as zero, which gives the
// canonical zero point (0, 1, 0); a scalar not below n is used as it stands. False only when Q's
// coordinates cannot hold the result (memory).
[[nodiscard]] bool derivePubKeyK(const mp_int &d, EccPoint &Q) {
    // The scalar and the point it produced stay on the stack otherwise.
    Wiped<_tvUnsigned256> k;
    (void)mp_int_to_uint256(d, k.get());  // a scalar that does not fit stays zero: the zero point

    Wiped<_tvCurvePt> R;
    R.get().multiplyGenerator(k.get());
    R.get().normalizePt();
    ct::declassify(&R.get(), sizeof R.get());  // the public key

    return uint256_to_mp_int(R.get().x, Q.m_x) && uint256_to_mp_int(R.get().y, Q.m_y) &&
           uint256_to_mp_int(R.get().z, Q.m_z);
}

}  // namespace

bool EccKey::genPubKey(LogBase &log) {
    LogContextExitor ctx(log, "genPubKey");

    if (m_curve.isSecp256k1()) {
        if (derivePubKeyK(m_privKey, m_pubPoint))
            return true;
        log.logError(kMsgBigIntFailed);
        return false;
    }

    mp_int p;
    mp_int n;
    EccPoint G;  // m_format 4
    if (!TovarMp::mpint_from_radix(p, m_curve.m_p.getString(), 16) ||
        !TovarMp::mpint_from_radix(n, m_curve.m_order.getString(), 16) ||
        !TovarMp::mpint_from_radix(G.m_x, m_curve.m_Gx.getString(), 16) ||
        !TovarMp::mpint_from_radix(G.m_y, m_curve.m_Gy.getString(), 16) ||
        TovarMp::mp_set_int(G.m_z, 1) != 0) {
        log.logError(kMsgBigIntFailed);
        return false;
    }

    // Reduced in place: the stored scalar becomes d mod n. It is reduced on the fixed-width limbs and
    // written back whatever it was (unchanged when below n), so nothing tells whether it needed reducing.
    // A negative scalar, which no loader makes, is below n and stays as it is.
    if (!TovarMp::isNegative(m_privKey) && !reduceScalarModOrder(n, m_privKey))
        return false;

    bool ok;
    if (m_curve.m_hasA) {
        mp_int a;
        if (!TovarMp::mpint_from_radix(a, m_curve.m_a.getString(), 16)) {
            log.logError(kMsgDecodeAFailed);
            return false;
        }
        ok = pointMultBase(m_privKey, n, G, m_pubPoint, &a, p, log);
    } else {
        ok = pointMultBase(m_privKey, n, G, m_pubPoint, nullptr, p, log);
    }
    if (!ok) {
        log.logError("point multiply failed.");
        return false;
    }
    return true;
}

bool EccKey::regeneratePubKey(EccKey &other, LogBase &log) {
    LogContextExitor ctx(log, "regeneratePubKey");

    // Regenerating a key from itself checks its own stored point; work from a copy, since clearing this
    // key would otherwise wipe the source.
    EccKey self;
    const EccKey *src = &other;
    if (&other == this) {
        self.copyFromEccKey(other);
        src = &self;
    }

    clearEccKey();
    m_keyType = 1;
    if (!m_curve.loadCurveByName(src->m_curve.m_name.getString(), log))
        return false;

    if (TovarMp::mp_copy(src->m_privKey, m_privKey) != 0 || !genPubKey(log)) {
        log.logError(kMsgFailed);
        return false;
    }

    // All three coordinates are compared, so every difference is reported.
    bool same = true;
    if (TovarMp::mp_cmp(src->m_pubPoint.m_x, m_pubPoint.m_x) != 0) {
        log.logError("x is different!");
        same = false;
    }
    if (TovarMp::mp_cmp(src->m_pubPoint.m_y, m_pubPoint.m_y) != 0) {
        log.logError("y is different!");
        same = false;
    }
    if (TovarMp::mp_cmp(src->m_pubPoint.m_z, m_pubPoint.m_z) != 0) {
        log.logError("z is different!");
        same = false;
    }
    if (!same) {
        log.logError(kMsgFailed);
        return false;
    }
    return true;
}

bool EccKey::isPoint(LogBase &log) const {
    // A prime that is not positive is refused with the undecodable ones: the reduction loops below
    // would never end on it.
    mp_int p;
    if (!TovarMp::mpint_from_radix(p, m_curve.m_p.getString(), 16) || TovarMp::mp_cmp_d(p, 0) <= 0) {
        log.LogDataSb(kDataCurvePrime, m_curve.m_p);
        log.logError(kMsgDecodePrimeFailed);
        return false;
    }
    mp_int b;
    if (!TovarMp::mpint_from_radix(b, m_curve.m_b.getString(), 16)) {
        log.LogDataSb("curveB", m_curve.m_b);
        log.logError("Failed to decode curve B.");
        return false;
    }

    const mp_int &x = m_pubPoint.m_x;
    const mp_int &y = m_pubPoint.m_y;
    mp_int t1;
    mp_int t2;
    if (TovarMp::mp_sqr(y, t1) != 0 ||       // t1 = y^2
        TovarMp::mp_sqr(x, t2) != 0 ||       // t2 = x^2
        TovarMp::mp_mod(t2, p, t2) != 0 ||   // t2 = x^2 mod p
        TovarMp::mp_mul(x, t2, t2) != 0 ||   // t2 = x^3
        TovarMp::mp_sub(t1, t2, t1) != 0 ||  // t1 = y^2 - x^3
        TovarMp::mp_add(t1, x, t1) != 0 ||   // t1 = y^2 - x^3 + 3x: the a = -3 form only
        TovarMp::mp_add(t1, x, t1) != 0 ||   //
        TovarMp::mp_add(t1, x, t1) != 0 ||   //
        TovarMp::mp_mod(t1, p, t1) != 0) {   // t1 = t1 mod p
        return false;
    }
    while (TovarMp::isNegative(t1)) {
        if (TovarMp::mp_add(t1, p, t1) != 0)
            return false;
    }
    while (TovarMp::mp_cmp(t1, p) >= 0) {
        if (TovarMp::mp_sub(t1, p, t1) != 0)
            return false;
    }
    return TovarMp::mp_cmp(t1, b) == 0;
}

}  // namespace ecckey
