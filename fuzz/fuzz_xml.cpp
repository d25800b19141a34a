// EccKey::loadAnyXml: XML text parsed into a ClsXml, then read as an XML Signature 1.1 ECKeyValue or as one
// of the library's own forms (base64 DER content).
//
// An accepted key is on a catalogue curve and writes itself back in the XML forms that apply to it, each
// of which loads as the same key, and as DER.
#include <string>

#include "FuzzSupport.h"
#include "support/Xml.h"

constexpr auto readXml = &readKey<ClsXml, &ClsXml::loadXml, &EccKey::loadAnyXml>;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzLog log;
    EccKey key;
    if (!readXml(std::string((const char *)data, size).c_str(), key, log))
        return 0;
    requireDerRoundTrip(key);
    // Nothing is written for a point beyond the writer's limit or for a zero scalar.
    if (!pointFits(key, 256) || (key.isPrivate() && TovarMp::isZero(key.m_privKey)))
        return 0;
    requireRoundTrip(key, key.isPrivate() ? &EccKey::toEccPrivateKeyXml : &EccKey::toEccPublicKeyXml,
                     readXml);
    if (!key.isPrivate())
        requireRoundTrip(key, &EccKey::toEccPublicKeyXmlDSig, readXml);
    return 0;
}
