// KeyBase: the PKCS #8 attributes a key carries, and reading JWK integers.
#include "support/KeyBase.h"

#include "support/Asn1.h"
#include "support/DataBuffer.h"
#include "support/JsonObject.h"
#include "support/LogBase.h"
#include "support/MpInt.h"
#include "support/StringBuffer.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

const char kDataMember[] = "member";

}  // namespace

KeyBase::KeyBase() : m_pkcs8Attributes(nullptr) {}

KeyBase::~KeyBase() {
    clearKeyBase();
}

void KeyBase::clearKeyBase() {
    setPkcs8Attributes(nullptr);
}

// The attributes node is shared, not copied: trees are never changed once built, and the count keeps
// it alive for as long as either key holds it.
void KeyBase::copyFromKeyBase(const KeyBase &other) {
    if (&other == this)
        return;
    if (other.m_pkcs8Attributes)
        other.m_pkcs8Attributes->incRefCount();
    setPkcs8Attributes(other.m_pkcs8Attributes);
}

void KeyBase::setPkcs8Attributes(_tvAsn1 *attributes) {
    if (m_pkcs8Attributes)
        m_pkcs8Attributes->decRefCount();
    m_pkcs8Attributes = attributes;
}

bool KeyBase::addAttributesToPkcs8(_tvAsn1 &privateKeyInfo, LogBase &log) const {
    if (!m_pkcs8Attributes)
        return true;
    // PrivateKeyInfo's attributes field is [0] IMPLICIT SET OF Attribute: constructed, context tag 0.
    const _tvAsn1 &attrs = *m_pkcs8Attributes;
    if (attrs.tagClass() != _tvAsn1::CLASS_CONTEXT || attrs.tagNumber() != 0 || !attrs.isConstructed()) {
        log.logError("PKCS8 attributes are not a [0] IMPLICIT SET.");
        return false;
    }
    m_pkcs8Attributes->incRefCount();  // the PrivateKeyInfo takes this reference
    if (!privateKeyInfo.AppendPart(m_pkcs8Attributes)) {
        log.logError("Failed to append PKCS8 attributes.");
        return false;
    }
    return true;
}

bool KeyBase::jwkContentToMpInt(ClsJsonObject &json, const char *memberName, mp_int &out, LogBase &log) {
    StringBuffer text;
    if (!memberName || !json.sbOfPathUtf8(memberName, text, log)) {
        log.logError("JWK member is missing.");
        log.logData(kDataMember, memberName ? memberName : "");
        return false;
    }
    // "d" is the private scalar: its bytes live only in a buffer that is wiped.
    DataBuffer bytes;
    bytes.setSensitive();
    // A text of only padding or blanks decodes to no bytes: that is no integer at all, not zero.
    if (!bytes.appendEncoded(text.getString(), "base64url") || bytes.getSize() == 0) {
        log.logError("JWK member is not valid base64url.");
        log.logData(kDataMember, memberName);
        return false;
    }
    if (!TovarMp::mpint_from_bytes(out, bytes.getData2(), bytes.getSize())) {
        log.logError("Failed to convert JWK member to an integer.");
        return false;
    }
    return true;
}

}  // namespace ecckey
