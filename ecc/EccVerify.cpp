// ECDSA verification on the generic arithmetic: v = x(u1·G + u2·Q) mod n with w = s^-1, u1 = e·w,
// u2 = r·w, and the signature holds when v = r. secp256k1 keys go to the fixed-width verifier.
#include "ecc/EccKey.h"
#include "ecc/EccMessages.h"
#include "ecc/EcdsaSig.h"
#include "ecc/arith/EccArith.h"
#include "support/LogBase.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

// Failures past the decoding of the curve are reported as a code under "EccVerifyError", whatever the
// verbose flag: they come from the signature or the key, not from the caller's inputs.
enum VerifyError {
    kRangeRS = 1,  // r or s is zero or not below n
    kHashToInt = 2,
    kInvertS = 3,
    kU1 = 4,
    kU2 = 5,
    kGx = 6,
    kGy = 7,
    kQx = 8,
    kQy = 9,
    kQz = 10,
    kMul2Add = 11,
    kReduceV = 12,
};

[[nodiscard]] bool verifyError(VerifyError code, LogBase &log) {
    log.LogDataLong(kDataVerifyError, (long)code);
    return false;
}

bool inRange(const mp_int &v, const mp_int &n) {
    return !TovarMp::isZero(v) && TovarMp::mp_cmp(v, n) == -1;
}

}  // namespace

bool EccKey::eccVerifyHash(const unsigned char *sig, unsigned sigLen, bool split, const unsigned char *hash,
                           unsigned hashLen, bool &valid, LogBase &log, unsigned rLen) const {
    LogContextExitor ctx(log, "eccVerifyHash");
    valid = false;

    unsigned eLen = ecdsaHashLen(m_curve.m_byteLen, hashLen);
    // The fixed-width verifier makes its own input checks.
    if (m_curve.isSecp256k1())
        return eccVerifyHashK(sig, sigLen, split, hash, eLen, valid, log, rLen);

    if (!sig || sigLen == 0 || !hash || eLen == 0) {
        log.logError(kMsgNullInputs);
        return false;
    }

    mp_int r, s;
    if (!unpackDsaSig(sig, sigLen, split, r, s, log, rLen)) {
        log.logError("Failed to unpack ASN.1 DSA/ECDSA signature.");
        return false;
    }

    mp_int n, p;
    if (!TovarMp::mpint_from_radix(n, m_curve.m_order.getString(), 16)) {
        log.logError(kMsgDecodeOrderFailed);
        return false;
    }
    if (!TovarMp::mpint_from_radix(p, m_curve.m_p.getString(), 16)) {
        log.logError(kMsgDecodePrimeFailed);
        return false;
    }

    if (!inRange(r, n) || !inRange(s, n))
        return verifyError(kRangeRS, log);

    mp_int e, w, u1, u2;
    if (!TovarMp::mpint_from_bytes(e, hash, eLen))
        return verifyError(kHashToInt, log);  // not reduced mod n
    if (TovarMp::mp_invmod(s, n, w) != 0)
        return verifyError(kInvertS, log);  // w = s^-1 mod n
    if (TovarMp::mp_mulmod(e, w, n, u1) != 0)
        return verifyError(kU1, log);  // u1 = e·w mod n
    if (TovarMp::mp_mulmod(r, w, n, u2) != 0)
        return verifyError(kU2, log);  // u2 = r·w mod n

    EccPoint G, Q;
    if (!TovarMp::mpint_from_radix(G.m_x, m_curve.m_Gx.getString(), 16))
        return verifyError(kGx, log);
    if (!TovarMp::mpint_from_radix(G.m_y, m_curve.m_Gy.getString(), 16) || TovarMp::mp_set(G.m_z, 1) != 0)
        return verifyError(kGy, log);
    if (TovarMp::mp_copy(m_pubPoint.m_x, Q.m_x) != 0)
        return verifyError(kQx, log);
    if (TovarMp::mp_copy(m_pubPoint.m_y, Q.m_y) != 0)
        return verifyError(kQy, log);
    if (TovarMp::mp_copy(m_pubPoint.m_z, Q.m_z) != 0)
        return verifyError(kQz, log);

    mp_int a;
    if (m_curve.m_hasA && !TovarMp::mpint_from_radix(a, m_curve.m_a.getString(), 16)) {
        log.logError(kMsgDecodeAFailed);
        return false;
    }
    // G = u1·G + u2·Q. The public point is trusted as loaded: it is not checked against the curve here.
    if (!mul2add(G, u1, Q, u2, G, m_curve.m_hasA ? &a : nullptr, p, log))
        return verifyError(kMul2Add, log);

    mp_int v;
    if (TovarMp::mp_mod(G.m_x, n, v) != 0)
        return verifyError(kReduceV, log);  // v = x mod n
    valid = TovarMp::mp_cmp(v, r) == 0;
    return true;
}

// The method is the generic arithmetic's, which logs nothing: log is not written.
bool EccKey::mul2add(EccPoint &A, mp_int &kA, EccPoint &B, mp_int &kB, EccPoint &R, mp_int *a, mp_int &p,
                     LogBase &log) {
    (void)log;
    return pointMul2Add(A, kA, B, kB, R, a, p);
}

}  // namespace ecckey
