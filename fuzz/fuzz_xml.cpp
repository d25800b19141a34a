// EccKey::loadAnyXml: XML text parsed into a ClsXml, then read as an XML Signature 1.1 ECKeyValue or as one
// of the library's own forms (base64 DER content).
//
// An accepted key is on a catalogue curve and writes itself back in the XML forms that apply to it, each
// of which loads as the same key, and as DER.
#include <string>

#include "FuzzSupport.h"
#include "support/Xml.h"

using namespace ecckey;
using namespace ecckey_fuzz;

namespace {

typedef bool (EccKey::*XmlWriter)(StringBuffer &, LogBase &);

void requireXmlRoundTrip(EccKey &key, XmlWriter writer) {
    FuzzLog log;
    log.m_options.setString("EMIT_ECC_PKCS1_PUBKEY");
    StringBuffer text;
    FUZZ_REQUIRE((key.*writer)(text, log));
    ClsXml xml;
    FUZZ_REQUIRE(xml.loadXml(text.getString(), log));
    EccKey reloaded;
    FUZZ_REQUIRE(reloaded.loadAnyXml(xml, log));
    requireSameKey(key, reloaded);
    text.secureClear();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string text(reinterpret_cast<const char *>(data), size);
    FuzzLog log;
    ClsXml xml;
    if (!xml.loadXml(text.c_str(), log))
        return 0;
    EccKey key;
    if (!key.loadAnyXml(xml, log))
        return 0;

    requireLoadedKey(key);
    if (!pointExportable(key))
        return 0;
    if (key.m_keyType == 1) {
        if (!isZero(key.m_privKey))
            requireXmlRoundTrip(key, &EccKey::toEccPrivateKeyXml);
    } else {
        requireXmlRoundTrip(key, &EccKey::toEccPublicKeyXml);
        requireXmlRoundTrip(key, &EccKey::toEccPublicKeyXmlDSig);
    }
    requireDerRoundTrip(key);
    return 0;
}
