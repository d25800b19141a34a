// EccKey::loadAnyJwk: JSON text parsed into a ClsJsonObject, then read as an EC JWK.
//
// An accepted key is on a catalogue curve, writes itself back as a JWK (in every member order) that loads
// as the same key with the integers whole, whatever their size, and writes itself back as DER.
#include <string>

#include "FuzzSupport.h"
#include "support/JsonObject.h"

constexpr auto readJwk = &readKey<ClsJsonObject, &ClsJsonObject::load, &EccKey::loadAnyJwk>;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace std::placeholders;
    FuzzLog log;
    EccKey key;
    if (!readJwk(std::string((const char *)data, size).c_str(), key, log))
        return 0;
    requireDerRoundTrip(key);
    // A JWK carries the integers whole, whatever their size; a public one is written in both member orders.
    if (key.isPrivate())
        requireRoundTrip(key, &EccKey::toEccPrivateKeyJwk, readJwk, true);
    else
        for (bool crvFirst : {false, true})
            requireRoundTrip(key, std::bind(&EccKey::toEccPublicKeyJwk, _1, _2, crvFirst, _3), readJwk, true);
    return 0;
}
