// Loading keys from DER: SubjectPublicKeyInfo (named or explicit parameters), PKCS #8 PrivateKeyInfo and
// the SEC 1 ECPrivateKey. The structure is recognised from its shape; the caller never names it.
//
// Explicit parameters are accepted only for the four curves whose base points are listed in
// s_explicitBasePoints: the rest of the parameters is not examined, so an explicit key always ends up on a
// catalogue curve and no caller ever computes on parameters taken from the input.
#include "ecc/EccKey.h"

#include "ecc/EccMessages.h"
#include "ecc/EccOids.h"
#include "support/Asn1.h"
#include "support/AsnItem.h"
#include "support/LogBase.h"
#include "support/Owners.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

const char kMsgInvalidEccAsn[] = "Invalid ASN.1 for ECC key.";
const char kMsgDecodeEccAsnFailed[] = "Failed to decode ECC key ASN.1";
const char kMsgNotEccKey[] = "Not an ECC key.";
const char kMsgCurveOidNotFound[] = "curve OID not found.";
const char kDataCurveOid[] = "curveOid";

// A base point shorter than this cannot identify a curve.
const unsigned kMinBasePointLen = 20;

struct ExplicitBasePoint {
    const char *hexPrefix;  // 04 and enough of Gx (and Gy) to tell the four curves apart
    const char *curveOid;
};

// Tested in order against the upper-case hex of the uncompressed base point.
const ExplicitBasePoint s_explicitBasePoints[] = {
    // P-256: 04, the whole Gx, and the first three digits of Gy.
    {"046B17D1F2E12C4247F8BCE6E563A440F277037D812DEB33A0F4A13945D898C2964FE", kOidSecp256r1},
    // P-521: 04, then Gx with its leading zero byte.
    {"0400C6858E06B70404E9CD9E3ECB", kOidSecp521r1},
    // P-384: 04, then the start of Gx.
    {"04AA87CA22BE8B05378EB1C71EF320AD746E1D3B628BA79B9859", kOidSecp384r1},
    // secp256k1: 04, then the start of Gx.
    {"0479BE667EF9DCBBAC55A06295CE870B07029BFCD", kOidSecp256k1},
};

}  // namespace

bool EccKey::loadEccDer(DataBuffer &der, LogBase &log) {
    LogContextExitor ctx(log, "loadEccDer");
    der.setSensitive();
    clearEccKey();

    unsigned consumed = 0;
    _tvAsn1 *root = _tvAsn1::DecodeToAsn(der.getData2(), der.getSize(), consumed, log);
    if (!root) {
        log.logError(kMsgDecodeEccAsnFailed);
        return false;
    }
    RefCountedObjectOwner rootOwner(root);

    bool ok = loadAnyEccAsn(root, log);
    if (!ok)
        _tvDer::logDerAsXml(der, log);
    return ok;
}

bool EccKey::loadAnyEccAsn(_tvAsn1 *root, LogBase &log) {
    LogContextExitor ctx(log, "loadAnyEccAsn");
    clearEccKey();
    StringBuffer algOid;
    StringBuffer curveOid;

    _tvAsn1 *first = root ? root->getAsnPart(0) : nullptr;
    if (!first) {
        log.logError(kMsgInvalidEccAsn);
        return false;
    }

    if (first->isSequence()) {
        // SubjectPublicKeyInfo: { AlgorithmIdentifier, BIT STRING point }
        if (!parseAldId(first, algOid, curveOid, log)) {
            log.logError("Failed to parse AlgorithmIdentifier");
            log.logError(kMsgInvalidEccAsn);
            return false;
        }
        if (!algOid.equals(kOidEcPublicKey)) {
            log.logError(kMsgNotEccKey);
            return false;
        }
        _tvAsn1 *bits = root->getAsnPart(1);
        if (!bits) {
            log.logError(kMsgInvalidEccAsn);
            return false;
        }
        if (!bits->isBitString()) {
            log.logError("Expected an ASN.1 bitstring.");
            return false;
        }
        return loadEccPublicAsn(bits, curveOid, log);
    }

    if (first->isBitString()) {
        log.logError("The ECC curve OID is unknown.");
        log.logError(kMsgInvalidEccAsn);
        return false;
    }

    _tvAsn1 *second = root->getAsnPart(1);
    if (!second) {
        log.logError(kMsgInvalidEccAsn);
        return false;
    }
    if (!second->isSequence())
        return loadEccPrivateAsn(root, curveOid, log);

    // PKCS #8: { INTEGER version, AlgorithmIdentifier, OCTET STRING ECPrivateKey, ... }
    if (!parseAldId(second, algOid, curveOid, log)) {
        log.logError(kMsgInvalidEccAsn);
        return false;
    }
    if (!algOid.equals(kOidEcPublicKey)) {
        log.logError(kMsgNotEccKey);
        return false;
    }
    _tvAsn1 *octets = root->getAsnPart(2);
    if (!octets || !octets->isOctetString()) {
        log.logError(kMsgInvalidEccAsn);
        return false;
    }
    DataBuffer inner;
    inner.setSensitive();
    if (!octets->getAsnContent(inner))
        return false;

    unsigned consumed = 0;
    _tvAsn1 *innerRoot = _tvAsn1::DecodeToAsn(inner.getData2(), inner.getSize(), consumed, log);
    if (!innerRoot) {
        log.logError(kMsgDecodeEccAsnFailed);
        return false;
    }
    RefCountedObjectOwner innerOwner(innerRoot);
    return loadEccPrivateAsn(innerRoot, curveOid, log);
}

bool EccKey::parseAldId(_tvAsn1 *algId, StringBuffer &algOid, StringBuffer &curveOid, LogBase &log) const {
    LogContextExitor ctx(log, "parseAldId");
    if (!algId)
        return false;
    algOid.clear();
    curveOid.clear();

    _tvAsn1 *alg = algId->getAsnPart(0);
    _tvAsn1 *params = algId->getAsnPart(1);
    if (!alg || !params)
        return false;
    if (!alg->GetOid(algOid))
        return false;

    // Named curve; a NULL or any other non-SEQUENCE fails here.
    if (params->tagNumber() != _tvAsn1::TAG_SEQUENCE)
        return params->GetOid(curveOid);

    // ECParameters: { version, fieldID, curve, base, order, cofactor }; only base is looked at.
    _tvAsn1 *base = params->getAsnPart(3);
    if (!base)
        return false;
    DataBuffer basePoint;
    if (!base->getAsnContent(basePoint))
        return false;
    if (basePoint.getSize() < kMinBasePointLen)
        return false;

    StringBuffer hex;
    if (!basePoint.encodeDB("hex", hex))
        return false;
    for (const ExplicitBasePoint &row : s_explicitBasePoints) {
        if (hex.beginsWith(row.hexPrefix))
            return curveOid.append(row.curveOid);
    }
    return false;
}

bool EccKey::loadEccPublicAsn(_tvAsn1 *bitString, const StringBuffer &curveOid, LogBase &log) {
    LogContextExitor ctx(log, "loadEccPublicAsn");
    clearEccKey();
    if (!bitString) {
        log.logError("No bitstring for ECC public key.");
        return false;
    }
    if (log.m_verbose)
        log.LogDataSb(kDataCurveOid, curveOid);
    if (!m_curve.loadCurveByOid(curveOid, log))
        return false;

    DataBuffer point;
    if (!bitString->getAsnContent(point))
        return false;
    if (log.m_verbose)
        log.LogDataLong("dbPubKeySize", (long)point.getSize());

    if (!m_pubPoint.loadEccPoint(point, log)) {
        log.logError(kMsgLoadPointFailed);
        return false;
    }
    m_keyType = 0;
    return true;
}

bool EccKey::loadEccPrivateAsn(_tvAsn1 *ecPrivateKey, const StringBuffer &passedCurveOid, LogBase &log) {
    // The context keeps the name of the entry point that callers see in their logs.
    LogContextExitor ctx(log, "loadEccPrivateDer");
    clearEccKey();
    bool kOk = false;
    bool gotCurve = false;
    bool gotPub = false;

    // Every exit after the version check goes through here: a failed load never leaves a half key.
    auto finish = [this, &log](bool ok) {
        if (!ok) {
            clearEccKey();
            log.logError("Invalid ASN.1 for ECC private key.");
            return false;
        }
        if (log.m_verbose)
            log.logInfo("ECC parsing success.");
        m_keyType = 1;
        return true;
    };

    _tvAsn1 *root = ecPrivateKey;
    if (root && root->isSequence() && root->getAsnPart(0) && root->getAsnPart(0)->asnIntValue() == 1 &&
        root->getAsnPart(1)) {
        _tvAsn1 *kNode = root->getAsnPart(1);
        DataBuffer kBytes;
        kBytes.setSensitive();
        if (!kNode->isOctetString()) {
            log.logError("Did not get octets for K");
        } else if (!kNode->getAsnContent(kBytes) || kBytes.getSize() == 0) {
            log.logError("Failed to get K bytes");
        } else if (!TovarMp::mpint_from_bytes(m_privKey, kBytes.getData2(), kBytes.getSize())) {
            log.logError(kMsgParseKFailed);
        } else {
            kOk = true;
        }
    }

    if (kOk && root->numAsnParts() >= 3) {
        for (int i = 2; i < root->numAsnParts(); ++i) {
            _tvAsn1 *wrapper = root->getAsnPart(i);
            _tvAsn1 *child = wrapper ? wrapper->getAsnPart(0) : nullptr;
            if (!child) {
                kOk = false;
                break;
            }
            if (!gotCurve && child->isOid()) {
                StringBuffer oid;
                // A malformed OID leaves oid empty, and loadCurveByOid refuses it with its own message.
                (void)child->GetOid(oid);
                if (log.m_verbose)
                    log.LogDataSb(kDataCurveOid, oid);
                gotCurve = m_curve.loadCurveByOid(oid, log);
                if (!gotCurve)
                    log.logError("Failed to load curve by OID.");
                kOk = gotCurve;
            } else if (!gotPub && child->isBitString()) {
                DataBuffer point;
                gotPub = child->getAsnContent(point) && m_pubPoint.loadEccPoint(point, log);
                if (!gotPub)
                    log.logError(kMsgLoadPointFailed);
                kOk = gotPub;
            }
            if (gotCurve && gotPub)
                return finish(kOk);
            if (!kOk)
                break;
        }
    }

    if (!gotPub && log.m_verbose)
        log.logError("No public key bits found (this is not an error)");

    if (!gotCurve) {
        if (passedCurveOid.getSize() == 0) {
            log.logError(kMsgCurveOidNotFound);
            return finish(false);
        }
        log.LogDataSb("passedInCurveOid", passedCurveOid);
        if (!m_curve.loadCurveByOid(passedCurveOid, log)) {
            log.LogDataSb("oidNotFound", passedCurveOid);
            log.logError(kMsgCurveOidNotFound);
            return finish(false);
        }
        // Deliberately, the enclosing structure's curve overrides any earlier failure, a rejected version
        // or scalar included: the key then loads with whatever d holds (zero when it was never read).
        kOk = true;
    }

    if (!gotPub && kOk) {
        if (log.m_verbose)
            log.logInfo("computing the public key...");
        kOk = genPubKey(log);
    }
    return finish(kOk);
}

}  // namespace ecckey
