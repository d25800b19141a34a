// SSH identity of a key: the RFC 5656 public-key blob, its fingerprints, and the import of a private key
// from the SSH wire layout used in PuTTY (.ppk) and OpenSSH private-key files.
#include "ecc/EccKey.h"

#include "ecc/EccMessages.h"
#include "support/Hash.h"
#include "support/LogBase.h"
#include "support/SshMessage.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

// A private blob this long or longer is the four-field form (curve name, alternative name, point, d);
// anything shorter is one bare mpint holding d.
const unsigned kFourFieldMinLen = 57;

}  // namespace

bool EccKey::puttyPublicKeyBlob(DataBuffer &out, LogBase &log) const {
    LogContextExitor ctx(log, "puttyPublicKeyBlob");
    out.clear();
    const char *curveId = m_curve.puttyCurveName();

    StringBuffer keyType;  // appended, not constructed from the prefix: a constructor cannot report failure
    if (!keyType.append("ecdsa-sha2-") || !keyType.append(curveId) ||
        !SshMessage::pack_string(keyType.getString(), out) || !SshMessage::pack_string(curveId, out)) {
        log.logError("Out of memory writing the SSH key blob.");
        return false;
    }

    DataBuffer point;
    if (!exportEccPoint(point, log))
        return false;
    return SshMessage::pack_db(point, out);
}

bool EccKey::calc_fingerprint_digest(int hashAlg, DataBuffer &out, LogBase &log) const {
    LogContextExitor ctx(log, "calc_fingerprint_digest");
    out.clear();
    DataBuffer blob;
    if (!puttyPublicKeyBlob(blob, log))
        return false;
    // An unknown hashAlg leaves out empty and still returns true: the result only says the blob was built.
    (void)_tvHash::doHash(blob.getData2(), blob.getSize(), hashAlg, out);
    return true;
}

bool EccKey::calc_fingerprint(StringBuffer &out, LogBase &log) const {
    LogContextExitor ctx(log, "calc_fingerprint");
    DataBuffer blob;
    if (!puttyPublicKeyBlob(blob, log))
        return false;

    unsigned char digest[16];
    FingerprintDigest md;
    out.clear();
    if (!md.digestData(blob, digest) || !out.append("ecdsa-sha2-") || !out.append(m_curve.puttyCurveName()) ||
        !out.appendChar(' ') || !out.append(m_curve.m_byteLen * 8) || !out.appendChar(' ') ||
        !DataBuffer::toHexString2(digest, 16, true, out)) {
        out.clear();
        log.logError("Out of memory writing the fingerprint.");
        return false;
    }
    out.toLowerCase();
    return true;
}

bool EccKey::loadPrivateFromPuttySsh(const char *curveName, const DataBuffer &pubPoint, DataBuffer &privBlob,
                                     LogBase &log) {
    LogContextExitor ctx(log, "loadPrivateFromPuttySsh");
    clearEccKey();
    m_keyType = privBlob.getSize() == 0 ? 0 : 1;

    if (!m_curve.loadCurveByName(curveName, log))
        return false;

    privBlob.setSensitive();
    unsigned offset = 0;
    if (privBlob.getSize() < kFourFieldMinLen) {
        if (privBlob.getSize() != 0 && !SshMessage::parseMpInt(privBlob, offset, m_privKey, log)) {
            log.logError("Failed to parse private key mp_int");
            return false;
        }
    } else {
        StringBuffer longName;
        if (!SshMessage::parseString(privBlob, offset, longName)) {
            log.logError("no long curve name");
            return false;
        }
        log.LogDataSb(kDataCurveName, longName);

        StringBuffer altName;
        if (!SshMessage::parseString(privBlob, offset, altName)) {
            log.logError("no alt curve name");
            return false;
        }
        log.LogDataSb("altCurveName", altName);

        // The point embedded in the blob is not used: the key takes the separately stored public point.
        DataBuffer embeddedPoint;
        if (!SshMessage::parseBinaryString(privBlob, offset, embeddedPoint, log)) {
            log.logError("no embedded ecc point");
            return false;
        }

        DataBuffer dBytes;
        dBytes.setSensitive();
        if (!SshMessage::parseBinaryString(privBlob, offset, dBytes, log)) {
            log.logError("no private key within ecdsa private key blob");
            return false;
        }
        if (!TovarMp::mpint_from_bytes(m_privKey, dBytes.getData2(), dBytes.getSize())) {
            log.logError("Failed to parse private key bytes");
            return false;
        }
    }

    if (!m_pubPoint.loadEccPoint(pubPoint, log)) {
        log.logError("Failed to load ECC point");
        return false;
    }
    return true;
}

}  // namespace ecckey
