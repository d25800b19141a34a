// JSON Web Keys (RFC 7518, "kty" "EC") and the three XML key forms: the library's own ECCKeyValue and
// ECCPublicKey, and the XML Signature 1.1 ECKeyValue.
//
// The texts are assembled from fixed fragments, with no whitespace: other programs compare and hash them
// as they stand, so member order and spelling are part of the interface. Numbers in JWKs are the minimal
// big-endian bytes of each integer in base64url (no padding to the curve size), unless the logger's option
// text holds "EMIT_ECC_FIXED_LENGTH".
#include "ecc/EccKey.h"

#include "ecc/EccOids.h"
#include "support/JsonObject.h"
#include "support/LogBase.h"
#include "support/TovarMp.h"
#include "support/Xml.h"

namespace ecckey {

namespace {

// The fixed pieces of the JSON the writers emit.
const char kJwkHead[] = "{\"kty\":\"EC\",\"crv\":\"";
const char kJwkX[] = "\",\"x\":\"";
const char kJwkY[] = "\",\"y\":\"";
const char kXmlPublicKeyPath[] = "*:PublicKey";

// The ECKeyValue element of XML Signature 1.1, filled in by toEccPublicKeyXmlDSig.
const char *const kXmlDSigEcKeyValue =
    "<ECKeyValue xmlns=\"http://www.w3.org/2009/xmldsig11#\">"
    "<NamedCurve URI=\"urn:oid:CURVE_OID\" />"
    "<PublicKey>PUBKEY_BASE64</PublicKey>"
    "</ECKeyValue>";

// Appends the base64url text of a JWK integer member: its minimal bytes by default, or the m_byteLen bytes
// RFC 7518 requires of x, y and d with "EMIT_ECC_FIXED_LENGTH" (appendEmittedInteger). A member is never
// empty: zero in its minimal form is one 0x00 byte ("AA"), since readers refuse an empty member.
[[nodiscard]] bool appendJwkInteger(const EccKey &key, const mp_int &a, StringBuffer &out, LogBase &log) {
    DataBuffer bytes;
    bytes.setSensitive();
    if (!key.appendEmittedInteger(a, bytes, log) || (bytes.isEmpty() && !bytes.appendChar(0)))
        return false;
    return bytes.encodeDB("base64url", out);
}

}  // namespace

bool EccKey::getJwkCurveName(StringBuffer &out, LogBase &log) const {
    (void)log;
    const StringBuffer &oid = m_curve.m_oid;
    if (oid.equals(kOidSecp256r1))
        return out.append("P-256");
    if (oid.equals(kOidSecp384r1))
        return out.append("P-384");
    if (oid.equals(kOidSecp521r1))
        return out.append("P-521");
    return out.append(m_curve.m_name);
}

bool EccKey::toEccPrivateKeyJwk(StringBuffer &out, LogBase &log) const {
    LogContextExitor ctx(log, "toEccPrivateKeyJwk");
    out.clear();
    bool ok = out.append(kJwkHead);
    ok = getJwkCurveName(out, log) && ok;
    ok = out.append(kJwkX) && ok;
    ok = appendJwkInteger(*this, m_pubPoint.m_x, out, log) && ok;
    ok = out.append(kJwkY) && ok;
    ok = appendJwkInteger(*this, m_pubPoint.m_y, out, log) && ok;
    ok = out.append("\",\"d\":\"") && ok;
    ok = appendJwkInteger(*this, m_privKey, out, log) && ok;
    ok = out.append("\"}") && ok;
    if (!ok)
        out.secureClear();
    return ok;
}

bool EccKey::toEccPublicKeyJwk(StringBuffer &out, bool crvFirst, LogBase &log) const {
    LogContextExitor ctx(log, "toEccPublicKeyJwk");
    out.clear();
    bool ok;
    if (crvFirst) {
        ok = out.append("{\"crv\":\"");
        ok = getJwkCurveName(out, log) && ok;
        ok = out.append("\",\"kty\":\"EC\",\"x\":\"") && ok;
    } else {
        ok = out.append(kJwkHead);
        ok = getJwkCurveName(out, log) && ok;
        ok = out.append(kJwkX) && ok;
    }
    ok = appendJwkInteger(*this, m_pubPoint.m_x, out, log) && ok;
    ok = out.append(kJwkY) && ok;
    ok = appendJwkInteger(*this, m_pubPoint.m_y, out, log) && ok;
    ok = out.append("\"}") && ok;
    if (!ok)
        out.clear();
    return ok;
}

bool EccKey::toEccPrivateKeyXml(StringBuffer &out, LogBase &log) const {
    LogContextExitor ctx(log, "toEccPrivateKeyXml");
    out.clear();
    DataBuffer der;
    der.setSensitive();
    if (!toEccPkcs1PrivateKeyDer(der, log))
        return false;

    bool ok = out.append("<ECCKeyValue curve=\"");
    ok = out.append(m_curve.m_name) && ok;
    ok = out.append("\">") && ok;
    ok = der.encodeDB("base64", out) && ok;
    ok = out.append("</ECCKeyValue>") && ok;
    if (!ok)
        out.secureClear();
    return ok;
}

bool EccKey::toEccPublicKeyXml(StringBuffer &out, LogBase &log) const {
    LogContextExitor ctx(log, "toEccPublicKeyXml");
    out.clear();
    DataBuffer der;
    if (!toPublicKeyDer_longFmt(der, log))
        return false;

    unsigned byteLen = (unsigned)m_curve.m_byteLen;
    bool ok = out.append("<ECCPublicKey curve=\"");
    ok = out.append(m_curve.m_name) && ok;
    ok = out.append("\" x=\"") && ok;
    ok = TovarMp::mpint_to_hex_zero_extended(m_pubPoint.m_x, byteLen, out) && ok;
    ok = out.append("\" y=\"") && ok;
    ok = TovarMp::mpint_to_hex_zero_extended(m_pubPoint.m_y, byteLen, out) && ok;
    ok = out.append("\">") && ok;
    ok = der.encodeDB("base64", out) && ok;
    ok = out.append("</ECCPublicKey>") && ok;
    if (!ok)
        out.clear();
    return ok;
}

bool EccKey::toEccPublicKeyXmlDSig(StringBuffer &out, LogBase &log) const {
    LogContextExitor ctx(log, "toEccPublicKeyXmlDSig");
    out.clear();
    bool ok = out.append(kXmlDSigEcKeyValue);
    // The template already holds "urn:oid:" in front of the placeholder.
    ok = out.replaceFirstOccurance("CURVE_OID", m_curve.m_oid.getString(), false) && ok;

    DataBuffer point;
    StringBuffer pointBase64;
    ok = m_pubPoint.exportEccPoint(m_curve.m_byteLen, point, log) && ok;
    ok = point.encodeDB("base64", pointBase64) && ok;
    ok = out.replaceFirstOccurance("PUBKEY_BASE64", pointBase64.getString(), false) && ok;
    if (!ok)
        out.clear();
    return ok;
}

bool EccKey::loadAnyJwk(ClsJsonObject &json, LogBase &log) {
    LogContextExitor ctx(log, "loadAnyJwk_ecc");
    clearEccKey();
    m_keyType = 0;
    LogNull quiet;

    if (json.hasMember("d", quiet)) {
        m_keyType = 1;
        if (!jwkContentToMpInt(json, "d", m_privKey, log))
            return false;
    }

    StringBuffer crv;
    if (!json.sbOfPathUtf8("crv", crv, quiet)) {
        log.logError("JWK crv member in ECC key is missing");
        return false;
    }
    if (!m_curve.loadCurveByName(crv.getString(), log)) {
        log.logError("Invalid ECC curve name");
        log.LogDataSb("crv", crv);
        return false;
    }

    bool gotZ = TovarMp::mp_set(m_pubPoint.m_z, 1) == 0;
    bool gotX = jwkContentToMpInt(json, "x", m_pubPoint.m_x, log);
    bool gotY = jwkContentToMpInt(json, "y", m_pubPoint.m_y, log);
    return gotX && gotY && gotZ;
}

bool EccKey::loadAnyXml(ClsXml &xml, LogBase &log) {
    LogContextExitor ctx(log, "loadAnyXml");
    clearEccKey();

    if (xml.hasChildWithTag(kXmlPublicKeyPath)) {
        StringBuffer oid;
        StringBuffer pointBase64;
        // A missing NamedCurve or PublicKey, or text that does not decode, leaves oid or point empty; the
        // loader below refuses either with its own message.
        (void)xml.getChildAttrValue("*:NamedCurve", "URI", oid);
        (void)xml.getChildContentUtf8(kXmlPublicKeyPath, pointBase64, false);
        // A URI without the prefix is passed on unchanged.
        (void)oid.replaceFirstOccurance("urn:oid:", "", false);
        DataBuffer point;
        (void)point.appendEncoded(pointBase64.getString(), "base64");
        return loadEcPubKeyByCurveAndPoint(oid.getString(), point, log);
    }

    StringBuffer content;
    // No text, or text that does not decode, leaves der empty, and loadEccDer refuses it with its message.
    (void)xml.get_Content(content);
    DataBuffer der;
    der.setSensitive();
    (void)der.appendEncoded(content.getString(), "base64");
    bool ok = loadEccDer(der, log);
    content.secureClear();
    return ok;
}

}  // namespace ecckey
