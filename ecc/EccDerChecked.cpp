// Loading DER keys from untrusted sources: loadEccDer, then everything it leaves unexamined.
//
// loadEccDer recognises explicit parameters by their base point alone and splits the X9.63 point in two
// whatever its length, so a key with a changed order, cofactor, coefficient or field, or with a padded
// point, is read as the named curve. Here every field of explicit parameters is compared with that
// curve, a key whose parts name two curves is refused, the point must have the curve's length, and the
// key must pass checkPublicKey or checkPrivateKey. Values are compared as integers: field elements written
// shorter than the field (as the module's own explicit form writes secp256k1's a and b) are accepted.
//
// Before loadEccDer sees a byte, the DER is walked without building a tree: a key has a few dozen elements
// and no value longer than a point, so more elements than its length allows for, or a longer value, is
// refused before LibTomMath converts it (converting n bytes takes time in n^2). The scalar d is judged as
// written, before loadEccDer reduces it modulo n.
#include "ecc/EccKey.h"
#include "ecc/EccMessages.h"
#include "support/Asn1.h"
#include "support/DerReader.h"
#include "support/LogBase.h"
#include "support/Owners.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

const char *const kOidPrimeField = "1.2.840.10045.1.1";
// The longest value in a key: an uncompressed P-521 point in a BIT STRING (1 + 1 + 2 x 66 bytes).
const unsigned kMaxValueLen = 134;
// Elements a DER key of len bytes may hold: 16 + len / 8. The richest key, PKCS #8 with explicit
// parameters and its point, has about 30 in some 400 bytes.
unsigned elementBudget(unsigned len) {
    return 16 + len / 8;
}

// Walks the DER elements of bytes[0..len) and counts them against budget. A primitive value longer than
// kMaxValueLen is allowed only as an OCTET STRING that is DER itself (PKCS #8's wrapped ECPrivateKey), which
// is walked in turn and must then read whole (loadEccDer would convert it as a value). False at the first
// element over the budget or value too long; DER that does not read elsewhere passes (loadEccDer then
// says why).
[[nodiscard]] bool withinBudget(const unsigned char *bytes, unsigned len, int depth, bool wrapped,
                                unsigned &budget) {
    for (unsigned pos = 0; pos < len;) {
        DerHeader hdr;
        if (depth > DerReader::kMaxDepth || budget == 0 ||
            !DerReader::readHeader(bytes + pos, len - pos, hdr))
            return budget > 0 && !wrapped;
        --budget;
        const unsigned char *content = bytes + pos + hdr.headerLen;
        const bool octets = hdr.tagClass == 0 && hdr.tag == _tvAsn1::TAG_OCTET_STRING;
        if (hdr.constructed || (octets && hdr.contentLen > kMaxValueLen)) {
            if (!withinBudget(content, hdr.contentLen, depth + 1, wrapped || octets, budget))
                return false;
        } else if (hdr.contentLen > kMaxValueLen) {
            return false;
        }
        pos += hdr.headerLen + hdr.contentLen;
    }
    return true;
}

_tvAsn1 *part(const _tvAsn1 *node, int index) {
    return node ? node->getAsnPart(index) : nullptr;
}

// node is a universal INTEGER or OCTET STRING (tag) whose value is want. A negative INTEGER never is.
[[nodiscard]] bool hasValue(const _tvAsn1 *node, int tag, const mp_int &want) {
    DataBuffer content;
    mp_int value;
    if (!node || node->tagClass() != _tvAsn1::CLASS_UNIVERSAL || node->tagNumber() != tag ||
        node->isConstructed() || !node->getAsnContent(content))
        return false;
    if (tag == _tvAsn1::TAG_INTEGER && (content.isEmpty() || content[0] >= 0x80))
        return false;
    return TovarMp::mpint_from_bytes(value, content.getData2(), content.getSize()) &&
           TovarMp::mp_cmp(value, want) == 0;
}

// The curve's values that explicit parameters must repeat.
struct CurveValues {
    mp_int p, a, b, n, one;
    DataBuffer base;  // 04 || Gx || Gy, each coordinate m_byteLen bytes
};

[[nodiscard]] bool curveValues(const EccCurve &curve, CurveValues &v, LogBase &log) {
    EccPoint G;
    bool ok = TovarMp::mpint_from_radix(v.p, curve.m_p.getString(), 16) && curve.getCoefficientA(v.a) &&
              TovarMp::mpint_from_radix(v.b, curve.m_b.getString(), 16) &&
              TovarMp::mpint_from_radix(v.n, curve.m_order.getString(), 16) &&
              TovarMp::mp_set(v.one, 1) == 0 &&
              TovarMp::mpint_from_radix(G.m_x, curve.m_Gx.getString(), 16) &&
              TovarMp::mpint_from_radix(G.m_y, curve.m_Gy.getString(), 16) &&
              G.exportEccPoint(curve.m_byteLen, v.base, log);
    if (!ok)
        log.logError("Failed to decode the curve's parameters.");
    return ok;
}

// ECParameters { version 1, fieldID { prime-field, p }, curve { a, b, seed? }, base, order, cofactor? }
// against the key's curve. The seed is not compared: it only tells how the curve was made. The cofactor is
// optional in SEC 1 but RFC 3279 requires it: it must be present and 1, as on every catalogue curve.
[[nodiscard]] bool explicitParamsMatch(const _tvAsn1 *params, const EccCurve &curve, LogBase &log) {
    CurveValues want;
    if (!curveValues(curve, want, log))
        return false;
    const _tvAsn1 *field = part(params, 1);
    const _tvAsn1 *coefficients = part(params, 2);
    const _tvAsn1 *version = part(params, 0);
    const int numParts = params->numAsnParts();
    StringBuffer fieldType;
    DataBuffer base;
    const char *error = nullptr;
    if (numParts < 5 || numParts > 6 || !version || version->asnIntValue() != 1 || !field ||
        !field->isSequence() || !coefficients || !coefficients->isSequence())
        error = "The explicit curve parameters are malformed.";
    else if (field->numAsnParts() != 2 || !part(field, 0)->GetOid(fieldType) ||
             !fieldType.equals(kOidPrimeField) || !hasValue(part(field, 1), _tvAsn1::TAG_INTEGER, want.p))
        error = "The explicit parameters have another field than the curve.";
    else if (!hasValue(part(coefficients, 0), _tvAsn1::TAG_OCTET_STRING, want.a))
        error = "The explicit parameters have another coefficient a than the curve.";
    else if (!hasValue(part(coefficients, 1), _tvAsn1::TAG_OCTET_STRING, want.b))
        error = "The explicit parameters have another coefficient b than the curve.";
    else if (!part(params, 3)->getAsnContent(base) || !base.equals(want.base))
        error = "The explicit parameters have another base point than the curve.";
    else if (!hasValue(part(params, 4), _tvAsn1::TAG_INTEGER, want.n))
        error = "The explicit parameters have another order than the curve.";
    else if (numParts != 6)
        error = "The explicit parameters have no cofactor.";
    else if (!hasValue(part(params, 5), _tvAsn1::TAG_INTEGER, want.one))
        error = "The explicit parameters have another cofactor than the curve.";
    if (error) {
        log.LogDataSb(kDataCurveName, curve.m_name);
        log.logError(error);
        return false;
    }
    log.logInfo(kMsgExplicitParamsMatch);
    return true;
}

// Named parameters must name the curve the key was loaded on, explicit ones must equal it.
[[nodiscard]] bool paramsMatch(const _tvAsn1 *params, const EccCurve &curve, LogBase &log) {
    if (params && params->isSequence())
        return explicitParamsMatch(params, curve, log);
    StringBuffer oid;
    if (params && params->isOid() && params->GetOid(oid) && oid.equals(curve.m_oid))
        return true;
    log.logError("The key names two different curves.");
    return false;
}

// A BIT STRING with no unused bits holding exactly 1 + 2·m_byteLen point bytes.
[[nodiscard]] bool pointFits(const _tvAsn1 *bits, const EccCurve &curve, LogBase &log) {
    DataBuffer content;
    if (bits && bits->getAsnContent(content) && content.getSize() == 2 + 2 * (unsigned)curve.m_byteLen &&
        content[0] == 0)
        return true;
    log.logError("The public point's encoding does not have the curve's length.");
    return false;
}

// The [0] parameters and [1] public key of an ECPrivateKey, in whichever wrappers hold them, and its d as
// written: 0, n or more, or longer than the curve would have been reduced silently by the loader.
[[nodiscard]] bool ecPrivateKeyMatches(const _tvAsn1 *root, const EccCurve &curve, LogBase &log) {
    DataBuffer d;
    d.setSensitive();
    const _tvAsn1 *octets = part(root, 1);
    if (!octets || !octets->getAsnContent(d) || !curve.scalarBytesInRange(d.getData2(), d.getSize())) {
        log.logError("The private scalar as written is not in [1, n-1].");
        return false;
    }
    for (int i = 2; i < root->numAsnParts(); ++i) {
        const _tvAsn1 *child = part(part(root, i), 0);
        if (child && (child->isOid() || child->isSequence()) && !paramsMatch(child, curve, log))
            return false;
        if (child && child->isBitString() && !pointFits(child, curve, log))
            return false;
    }
    return true;
}

// The three structures, told apart as loadAnyEccAsn tells them apart.
[[nodiscard]] bool structureMatches(const _tvAsn1 *root, const EccCurve &curve, LogBase &log) {
    const _tvAsn1 *first = part(root, 0);
    const _tvAsn1 *second = part(root, 1);
    if (first && first->isSequence())  // SubjectPublicKeyInfo
        return paramsMatch(part(first, 1), curve, log) && pointFits(second, curve, log);
    if (!second || !second->isSequence())  // ECPrivateKey
        return ecPrivateKeyMatches(root, curve, log);
    // PKCS #8: the AlgorithmIdentifier's curve and the wrapped ECPrivateKey's.
    DataBuffer inner;
    inner.setSensitive();
    unsigned consumed = 0;
    const _tvAsn1 *octets = part(root, 2);
    _tvAsn1 *innerRoot = octets && octets->getAsnContent(inner)
                             ? _tvAsn1::DecodeToAsn(inner.getData2(), inner.getSize(), consumed, log)
                             : nullptr;
    RefCountedObjectOwner innerOwner(innerRoot);
    return innerRoot && paramsMatch(part(second, 1), curve, log) &&
           ecPrivateKeyMatches(innerRoot, curve, log);
}

}  // namespace

bool EccKey::loadEccDerChecked(DataBuffer &der, LogBase &log) {
    LogContextExitor ctx(log, "loadEccDerChecked");
    unsigned budget = elementBudget(der.getSize());
    if (!withinBudget(der.getData2(), der.getSize(), 1, false, budget)) {
        clearEccKey();
        log.logError("The DER key has more elements, or a longer value, than a key can have.");
        return false;
    }
    // loadEccDer keeps what it had loaded before a failing step; a refusal here leaves nothing behind.
    if (!loadEccDer(der, log)) {
        clearEccKey();
        return false;
    }

    unsigned consumed = 0;
    _tvAsn1 *root = _tvAsn1::DecodeToAsn(der.getData2(), der.getSize(), consumed, log);
    RefCountedObjectOwner rootOwner(root);
    bool ok = root != nullptr;
    if (ok && consumed != der.getSize()) {
        log.logError("The DER key is followed by other bytes.");
        ok = false;
    }
    ok = ok && structureMatches(root, m_curve, log) &&
         (m_keyType == 1 ? checkPrivateKey(log) : checkPublicKey(log));
    if (!ok)
        clearEccKey();
    return ok;
}

}  // namespace ecckey
