// ECDH: the x-coordinate of d·Q_peer, big-endian, left-padded with zero bytes to the curve's byte length.
//
// The peer's point is multiplied as given: it is not checked against the curve equation, nor for the
// point at infinity, and the private scalar is used as stored. secp256k1 goes to the constant-time engine,
// where a product at infinity yields x = 0 (an all-zero secret); the generic curves take the ladder for
// secret scalars, where it fails. The x-coordinate is written from the digits straight into the output.

#include "ecc/EccKey.h"
#include "ecc/EccMessages.h"
#include "ecc/arith/EccArith.h"
#include "ecc/secp256k1/CurvePt.h"
#include "support/ConstantTime.h"
#include "support/DataBuffer.h"
#include "support/LogBase.h"
#include "support/TovarMp.h"
#include "support/Wipe.h"

namespace ecckey {

namespace {

const char kMsgPointMultFailed[] = "Point multiply failed.";

// S.X = x(d·Q) on secp256k1. A value wider than 256 bits is not converted and acts as zero. False only when
// S.X cannot hold the result (memory).
[[nodiscard]] bool sharedXK(const mp_int &d, const EccPoint &Q, EccPoint &S) {
    // The scalar and the shared point stay on the stack otherwise.
    Wiped<_tvUnsigned256> k;
    _tvUnsigned256 qx;
    _tvUnsigned256 qy;
    // A value that does not fit is left zero, as it always was: the secret is then all zero bytes.
    (void)mp_int_to_uint256(d, k.get());
    (void)mp_int_to_uint256(Q.m_x, qx);
    (void)mp_int_to_uint256(Q.m_y, qy);

    // Peer coordinates not below p are brought into the field by one masked subtraction of p.
    Wiped<_tvCurvePt> R(_tvCurvePt{FieldInt256(qx), FieldInt256(qy)});
    R.get().z = _tvCurvePt::m_s_fiOne;
    R.get().multiplyPt(k.get());
    R.get().normalizePt();
    ct::declassify(&R.get().x, sizeof R.get().x);  // the shared secret, handed to the caller
    return uint256_to_mp_int(R.get().x, S.m_x);
}

}  // namespace

bool EccKey::ecdhKeysMatch(const EccKey &peer, LogBase &log) const {
    if (m_keyType != 1) {
        log.logError(kMsgMustBePrivateKey);
        return false;
    }
    if (!m_curve.m_name.equals(peer.m_curve.m_name)) {
        log.logError(kMsgCurvesDiffer);
        log.LogDataSb(kDataPrivKeyCurve, m_curve.m_name);
        log.LogDataSb(kDataPubKeyCurve, peer.m_curve.m_name);
        return false;
    }
    return true;
}

bool EccKey::sharedSecret(EccKey &peer, DataBuffer &out, LogBase &log) {
    LogContextExitor ctx(log, "sharedSecret");
    // The secret is about to be written into the caller's buffer: have it wiped when released (and
    // whatever it held before wiped by the clear).
    out.setSensitive();
    out.clear();
    EccPoint S;  // m_format 4

    if (!ecdhKeysMatch(peer, log))
        return false;

    // Parsed for every curve, secp256k1 included, where the engine has its own modulus.
    mp_int p;
    if (!TovarMp::mpint_from_radix(p, m_curve.m_p.getString(), 16)) {
        log.LogDataSb(kDataCurvePrime, m_curve.m_p);
        log.logError(kMsgDecodePrimeFailed);
        return false;
    }

    if (m_curve.isSecp256k1()) {
        if (!sharedXK(m_privKey, peer.m_pubPoint, S)) {
            log.logError(kMsgPointMultFailed);
            return false;
        }
    } else {
        // An order that does not parse stays zero, and the scalar then takes the variable ladder.
        mp_int n;
        (void)TovarMp::mpint_from_radix(n, m_curve.m_order.getString(), 16);
        bool ok;
        if (m_curve.m_hasA) {
            mp_int a;
            if (!TovarMp::mpint_from_radix(a, m_curve.m_a.getString(), 16)) {
                log.logError(kMsgDecodeAFailed);
                return false;
            }
            ok = pointMultSecret(m_privKey, n, peer.m_pubPoint, S, &a, p, log);
        } else {
            ok = pointMultSecret(m_privKey, n, peer.m_pubPoint, S, nullptr, p, log);
        }
        if (!ok) {
            log.logError(kMsgPointMultFailed);
            return false;
        }
    }

    // The secret is a fixed-length string, whatever its leading bytes: x left-padded to the field length.
    unsigned char x[66];
    const unsigned len = (unsigned)m_curve.m_byteLen;
    const bool ok = len <= sizeof x && TovarMp::mpint_to_fixed_bytes(S.m_x, x, len) && out.append(x, len);
    wipe(x, sizeof x);
    return ok;
}

}  // namespace ecckey
