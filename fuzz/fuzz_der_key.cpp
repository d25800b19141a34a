// loadEccDer: DER bytes of a SubjectPublicKeyInfo, PKCS #8 PrivateKeyInfo or SEC 1 ECPrivateKey.
//
// Accepted input must give a key on one of the thirteen curves that writes itself back as DER and loads
// back as the same key; the input buffer must come back marked sensitive.
#include "FuzzSupport.h"

using namespace ecckey;
using namespace ecckey_fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    DataBuffer der;
    if (!der.append(data, (unsigned)size))
        return 0;
    FuzzLog log;
    EccKey key;
    bool ok = key.loadEccDer(der, log);
    FUZZ_REQUIRE(der.isSensitive());
    if (!ok)
        return 0;
    requireLoadedKey(key);
    requireDerRoundTrip(key);
    return 0;
}
