// loadEccDer: DER bytes of a SubjectPublicKeyInfo, PKCS #8 PrivateKeyInfo or SEC 1 ECPrivateKey.
//
// Accepted input gives a key on one of the thirteen curves that writes itself back as DER and loads back
// as the same key; the input buffer comes back marked sensitive whether or not it was accepted.
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    DataBuffer der;
    der.append(data, (unsigned)size);
    FuzzLog log;
    EccKey key;
    const bool ok = key.loadEccDer(der, log);
    FUZZ_REQUIRE(der.isSensitive());
    if (ok)
        requireDerRoundTrip(key);
    return 0;
}
