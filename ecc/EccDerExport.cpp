// Writing keys as DER and PEM: SubjectPublicKeyInfo with a named curve ("short") or explicit parameters
// ("long"), the SEC 1 ECPrivateKey (called "PKCS1" here, as elsewhere in the library), PKCS #8 and the
// bare ECPrivateKey that PKCS #11 tokens take. These are the structures EccAsnImport.cpp reads back.
//
// Every DER output buffer is marked sensitive before anything is written to it: private-key DER carries d,
// and callers reuse one buffer for public and private output alike.
#include "ecc/EccKey.h"

#include "ecc/EccExplicitParams.h"
#include "ecc/EccOids.h"
#include "support/Asn1.h"
#include "support/LogBase.h"
#include "support/Owners.h"
#include "support/PemLabels.h"
#include "support/PublicKey.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

// The option keyword that adds the [1] publicKey element to SEC 1 output. Off by default: readers then
// recompute Q from d.
const char *const kOptEmitPkcs1Pubkey = "EMIT_ECC_PKCS1_PUBKEY";
// The option keyword that writes d, and the JWK integers, zero-extended to the curve's byte length.
const char *const kOptEmitFixedLength = "EMIT_ECC_FIXED_LENGTH";

// Appends a freshly built child; false when the builder returned null or the append failed (in which case
// AppendPart has already released the child).
[[nodiscard]] bool appendNew(_tvAsn1 *parent, _tvAsn1 *child) {
    if (!child)
        return false;
    return parent->AppendPart(child);
}

// SEQUENCE { id-ecPublicKey, OID namedCurve }
_tvAsn1 *newNamedCurveAlgId(const EccKey &key) {
    _tvAsn1 *algId = _tvAsn1::newSequence();
    if (!algId)
        return nullptr;
    if (!appendNew(algId, _tvAsn1::newOid(kOidEcPublicKey)) ||
        !appendNew(algId, _tvAsn1::newOid(key.m_curve.m_oid.getString()))) {
        algId->decRefCount();
        return nullptr;
    }
    return algId;
}

// BIT STRING holding the key's uncompressed X9.63 point.
_tvAsn1 *newPointBitString(const EccKey &key, LogBase &log) {
    DataBuffer point;
    if (!key.exportEccPoint(point, log))
        return nullptr;
    return _tvAsn1::newBitString(point.getData2(), point.getSize());
}

// A new SEQUENCE { INTEGER 1, OCTET STRING d }, the start of every ECPrivateKey written here (one
// reference, for the caller). d takes its minimal big-endian length by default, and m_byteLen bytes when
// the logger's options hold "EMIT_ECC_FIXED_LENGTH" (RFC 5915 fixes the length; strict readers refuse a
// shorter d). Null, after logging "k is empty", when d is zero.
_tvAsn1 *newVersionAndScalar(const EccKey &key, LogBase &log) {
    _tvAsn1 *ecPrivateKey = _tvAsn1::newSequence();
    if (!ecPrivateKey)
        return nullptr;
    RefCountedObjectOwner owner(ecPrivateKey);
    if (!appendNew(ecPrivateKey, _tvAsn1::newInteger(1)))
        return nullptr;

    DataBuffer dBytes;
    dBytes.setSensitive();
    const bool written = key.appendEmittedInteger(key.m_privKey, dBytes, log);
    if (dBytes.getSize() == 0 || TovarMp::isZero(key.m_privKey)) {
        log.logError("k is empty");
        return nullptr;
    }
    if (!written)
        return nullptr;
    if (!appendNew(ecPrivateKey, _tvAsn1::newOctetString(dBytes.getData2(), dBytes.getSize())))
        return nullptr;
    ecPrivateKey->incRefCount();  // the caller's reference; the owner drops its own
    return ecPrivateKey;
}

// [tag] constructed { child }
[[nodiscard]] bool appendWrapped(_tvAsn1 *parent, int tag, _tvAsn1 *child) {
    if (!child)
        return false;
    _tvAsn1 *wrapper = _tvAsn1::newContextSpecificContructed(tag);
    if (!wrapper) {
        child->decRefCount();
        return false;
    }
    if (!wrapper->AppendPart(child)) {
        wrapper->decRefCount();
        return false;
    }
    return parent->AppendPart(wrapper);
}

// The private-key PEM label ("EC PRIVATE KEY") is held scrambled (StringBuffer::litScram) so that the
// binary does not carry it as plain text; it is unscrambled into a local array just before use.
const char s_scrambledPrivateKeyLabel[] = "RP CEVINGR XRL";

// Writes the private-key PEM label into label (at least sizeof s_scrambledPrivateKeyLabel bytes).
void privateKeyPemLabel(char *label) {
    tvStrCpy(label, s_scrambledPrivateKeyLabel);
    StringBuffer::litScram(label);
}

}  // namespace

bool EccKey::appendEmittedInteger(const mp_int &a, DataBuffer &out, const LogBase &log) const {
    if (!log.m_options.containsSubstring(kOptEmitFixedLength))
        return TovarMp::mpint_to_db(a, out);
    const unsigned width = (unsigned)m_curve.m_byteLen;
    const unsigned start = out.getSize();
    for (unsigned i = 0; i < width; ++i) {
        if (!out.appendChar(0))
            return false;
    }
    return TovarMp::mpint_to_fixed_bytes(a, out.getDataMutable() + start, width);
}

bool EccKey::toPublicKeyDer_shortFmt(DataBuffer &out, LogBase &log) const {
    LogContextExitor ctx(log, "toPublicKeyDer_shortFmt");
    out.clear();
    out.setSensitive();

    _tvAsn1 *spki = _tvAsn1::newSequence();
    if (!spki)
        return false;
    RefCountedObjectOwner spkiOwner(spki);
    if (!appendNew(spki, newNamedCurveAlgId(*this)))
        return false;
    if (!appendNew(spki, newPointBitString(*this, log)))
        return false;
    return spki->EncodeToDer(out, false, log);
}

// The four curves with an explicit form take their template and swap in the key's point; every other
// curve is written in the short form.
bool EccKey::toPublicKeyDer_longFmt(DataBuffer &out, LogBase &log) const {
    // Callers' logs have always shown this context under the shorter name.
    LogContextExitor ctx(log, "toPublicKeyDer");
    out.clear();
    out.setSensitive();

    const char *tmpl = explicitSpkiTemplate(m_curve.m_name.getString());
    if (!tmpl)
        return toPublicKeyDer_shortFmt(out, log);

    DataBuffer tmplDer;
    if (!tmplDer.appendEncoded(tmpl, "base64"))
        return false;
    unsigned consumed = 0;
    _tvAsn1 *spki = _tvAsn1::DecodeToAsn(tmplDer.getData2(), tmplDer.getSize(), consumed, log);
    if (!spki)
        return false;
    RefCountedObjectOwner spkiOwner(spki);

    _tvAsn1 *samplePoint = spki->getAsnPart(1);
    if (!samplePoint || samplePoint->tagNumber() != _tvAsn1::TAG_BIT_STRING)
        return false;
    if (!spki->deletePart(1))
        return false;
    if (!appendNew(spki, newPointBitString(*this, log)))
        return false;
    return spki->EncodeToDer(out, false, log);
}

bool EccKey::toEccPkcs1PrivateKeyDer(DataBuffer &out, LogBase &log) const {
    LogContextExitor ctx(log, "toEccPkcs1PrivateKeyDer");
    out.clear();
    out.setSensitive();

    _tvAsn1 *ecPrivateKey = newVersionAndScalar(*this, log);
    if (!ecPrivateKey)
        return false;
    RefCountedObjectOwner keyOwner(ecPrivateKey);
    if (!appendWrapped(ecPrivateKey, 0, _tvAsn1::newOid(m_curve.m_oid.getString())))
        return false;
    if (log.m_options.containsSubstring(kOptEmitPkcs1Pubkey) &&
        !appendWrapped(ecPrivateKey, 1, newPointBitString(*this, log))) {
        return false;
    }
    return ecPrivateKey->EncodeToDer(out, false, log);
}

bool EccKey::toEccPkcs8PrivateKeyDer(DataBuffer &out, LogBase &log) const {
    LogContextExitor ctx(log, "toEccPkcs8PrivateKeyDer");
    out.secureClear();
    out.setSensitive();
    if (m_keyType != 1) {
        log.logError("Not a private key.");
        return false;
    }

    _tvAsn1 *pkcs8 = _tvAsn1::newSequence();
    if (!pkcs8)
        return false;
    RefCountedObjectOwner pkcs8Owner(pkcs8);
    if (!appendNew(pkcs8, _tvAsn1::newInteger(0)))
        return false;
    if (!appendNew(pkcs8, newNamedCurveAlgId(*this)))
        return false;

    DataBuffer ecPrivateKey;
    ecPrivateKey.setSensitive();
    if (!toEccPkcs1PrivateKeyDer(ecPrivateKey, log))
        return false;
    if (!appendNew(pkcs8, _tvAsn1::newOctetString(ecPrivateKey.getData2(), ecPrivateKey.getSize()))) {
        return false;
    }
    if (!addAttributesToPkcs8(*pkcs8, log))
        return false;
    return pkcs8->EncodeToDer(out, false, log);
}

bool EccKey::toEccPkcs1PrivateKeyDer_forPkcs11(DataBuffer &out, LogBase &log) const {
    LogContextExitor ctx(log, "toEccPkcs1PrivateKeyDer_forPkcs11");
    out.clear();
    out.setSensitive();

    _tvAsn1 *ecPrivateKey = newVersionAndScalar(*this, log);
    if (!ecPrivateKey)
        return false;
    RefCountedObjectOwner keyOwner(ecPrivateKey);
    return ecPrivateKey->EncodeToDer(out, false, log);
}

bool EccKey::toEccPublicKeyPem(bool shortFormat, StringBuffer &out, LogBase &log) const {
    LogContextExitor ctx(log, "toEccPublicKeyPem");
    DataBuffer der;
    bool ok = shortFormat ? toPublicKeyDer_shortFmt(der, log) : toPublicKeyDer_longFmt(der, log);
    if (!ok)
        return false;
    return _tvPublicKey::derToPem(kPemPublicKey, der, out, log);
}

// Both structures go out under "EC PRIVATE KEY": SEC 1 is the standard content of that label, and the
// PEM readers in use (the library's own, OpenSSL 3, ssh-keygen) also take PKCS #8 under it.
bool EccKey::toEccPrivateKeyPem(bool pkcs1, StringBuffer &out, LogBase &log) const {
    LogContextExitor ctx(log, "toEccPrivateKeyPem");
    DataBuffer der;
    der.setSensitive();
    bool ok = pkcs1 ? toEccPkcs1PrivateKeyDer(der, log) : toEccPkcs8PrivateKeyDer(der, log);
    if (!ok)
        return false;
    char label[sizeof s_scrambledPrivateKeyLabel];
    privateKeyPemLabel(label);
    return _tvPublicKey::derToPem(label, der, out, log);
}

}  // namespace ecckey
