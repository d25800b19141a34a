// Raw key forms: a bare X9.63 point as a public key, a bare big-endian scalar as a private key, a public
// key from a curve name and a point, and the hexadecimal pair of toRawHex.
//
// Raw keys carry no curve identifier, so the size alone selects it, and only three sizes are known:
// 65/32 bytes P-256, 97/48 P-384, 133/66 P-521. A 32-byte scalar becomes secp256k1 only when the caller
// says so; a 65-byte point is always P-256. The loaders clear the key first and do not clear it again on
// failure, so whatever was stored before the failing step stays.

#include "ecc/EccKey.h"
#include "ecc/EccMessages.h"
#include "ecc/EccOids.h"
#include "support/DataBuffer.h"
#include "support/LogBase.h"
#include "support/StringBuffer.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

// The curve a raw public point of this many bytes (04 || X || Y) selects; null for any other size.
const char *oidForRawPublicSize(unsigned size) {
    switch (size) {
        case 65:
            return kOidSecp256r1;
        case 97:
            return kOidSecp384r1;
        case 133:
            return kOidSecp521r1;
        default:
            return nullptr;
    }
}

// The curve a raw private scalar of this many bytes selects; null for any other size.
const char *oidForRawPrivateSize(unsigned size, bool isSecp256k1) {
    switch (size) {
        case 32:
            return isSecp256k1 ? kOidSecp256k1 : kOidSecp256r1;
        case 48:
            return kOidSecp384r1;
        case 66:
            return kOidSecp521r1;
        default:
            return nullptr;
    }
}

// Appends v as 2·numBytes lower-case hexadecimal digits.
[[nodiscard]] bool appendLowerHex(const mp_int &v, int numBytes, StringBuffer &out) {
    StringBuffer hex;
    bool ok = TovarMp::mpint_to_hex_zero_extended(v, (unsigned)numBytes, hex);
    hex.toLowerCase();
    ok = out.append(hex) && ok;
    hex.secureClear();
    return ok;
}

}  // namespace

bool EccKey::exportEccPoint(DataBuffer &out, LogBase &log) const {
    return m_pubPoint.exportEccPoint(m_curve.m_byteLen, out, log);
}

bool EccKey::loadEcPubKeyByCurveAndPoint(const char *curveName, const DataBuffer &point, LogBase &log) {
    LogContextExitor ctx(log, "loadEcPubKeyByCurveAndPoint");
    clearEccKey();

    // The catalogue logs why a name is unknown.
    if (!m_curve.loadCurveByName(curveName ? curveName : "", log))
        return false;
    if (!m_pubPoint.loadEccPoint(point, log)) {
        log.logError(kMsgLoadPointFailed);
        return false;
    }
    // Not checked against the curve: validation is the caller's choice.
    m_keyType = 0;
    return true;
}

bool EccKey::loadEccPublicRaw(const DataBuffer &in, LogBase &log) {
    LogContextExitor ctx(log, "_loadEccPublicRaw");
    clearEccKey();

    unsigned size = in.getSize();
    if (size == 0)
        return false;
    if (in.getData2()[0] != 0x04) {
        log.logError("Not a raw ECC public key.");
        return false;
    }
    const char *oid = oidForRawPublicSize(size);
    if (oid == nullptr) {
        log.logError("Invalid ECC public key size.");
        return false;
    }

    StringBuffer curveOid(oid);
    if (!m_curve.loadCurveByOid(curveOid, log))
        return false;
    bool ok = m_pubPoint.loadEccPoint(in, log);
    if (!ok)
        log.logError(kMsgLoadPointFailed);
    m_keyType = 0;
    return ok;
}

bool EccKey::loadEccPrivateRaw(const DataBuffer &in, bool isSecp256k1, LogBase &log) {
    LogContextExitor ctx(log, "loadEccPrivateRaw");
    clearEccKey();

    static const unsigned char s_none = 0;
    const unsigned char *bytes = in.getData2() ? in.getData2() : &s_none;
    if (!TovarMp::mpint_from_bytes(m_privKey, bytes, in.getSize())) {
        log.logError(kMsgParseKFailed);
        return false;
    }
    // The scalar is kept even when its size is refused (no curve is loaded then).
    const char *oid = oidForRawPrivateSize(in.getSize(), isSecp256k1);
    if (oid == nullptr) {
        log.logError("Invalid ECC key size.");
        return false;
    }

    StringBuffer curveOid(oid);
    if (!m_curve.loadCurveByOid(curveOid, log))
        return false;
    // No range check against n here: genPubKey reduces a generic-curve scalar that is not below n.
    if (!genPubKey(log)) {
        log.logError("Failed to generate EC public key from private.");
        return false;
    }
    m_keyType = 1;
    return true;
}

bool EccKey::toRawHex(StringBuffer &privHex, StringBuffer &pubHex, LogBase &log) const {
    // A public key has a zero scalar, which gives an all-zero private part.
    bool ok = appendLowerHex(m_privKey, m_curve.m_byteLen, privHex);

    StringBuffer pub;  // appended, not constructed from "04": a constructor cannot report failure
    ok = pub.append("04") && ok;
    ok = appendLowerHex(m_pubPoint.m_x, m_curve.m_byteLen, pub) && ok;
    ok = appendLowerHex(m_pubPoint.m_y, m_curve.m_byteLen, pub) && ok;
    ok = pubHex.append(pub) && ok;
    if (!ok)
        log.logError("Out of memory writing the raw key.");
    return ok;
}

}  // namespace ecckey
