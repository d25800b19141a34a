// EccKey::loadAnyJwk: JSON text parsed into a ClsJsonObject, then read as an EC JWK.
//
// An accepted key is on a catalogue curve, writes itself back as a JWK that loads as the same key, and
// writes itself back as DER.
#include <string>

#include "FuzzSupport.h"
#include "support/JsonObject.h"

using namespace ecckey;
using namespace ecckey_fuzz;

namespace {

void requireJwkRoundTrip(EccKey &key, const StringBuffer &jwk) {
    FuzzLog log;
    ClsJsonObject json;
    FUZZ_REQUIRE(json.load(jwk.getString(), log));
    EccKey reloaded;
    FUZZ_REQUIRE(reloaded.loadAnyJwk(json, log));
    requireSameKey(key, reloaded);
    // The JWK carries the integers whole, whatever their size.
    FUZZ_REQUIRE(equalInts(reloaded.m_pubPoint.m_x, key.m_pubPoint.m_x));
    FUZZ_REQUIRE(equalInts(reloaded.m_pubPoint.m_y, key.m_pubPoint.m_y));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string text(reinterpret_cast<const char *>(data), size);
    FuzzLog log;
    ClsJsonObject json;
    if (!json.load(text.c_str(), log))
        return 0;
    EccKey key;
    if (!key.loadAnyJwk(json, log))
        return 0;

    requireLoadedKey(key);
    StringBuffer out;
    if (key.m_keyType == 1) {
        FUZZ_REQUIRE(key.toEccPrivateKeyJwk(out, log));
        requireJwkRoundTrip(key, out);
    } else {
        FUZZ_REQUIRE(key.toEccPublicKeyJwk(out, false, log));
        requireJwkRoundTrip(key, out);
        FUZZ_REQUIRE(key.toEccPublicKeyJwk(out, true, log));
        requireJwkRoundTrip(key, out);
    }
    out.secureClear();
    requireDerRoundTrip(key);
    return 0;
}
