// loadEccDer and loadEccDerChecked: DER bytes of a SubjectPublicKeyInfo, PKCS #8 PrivateKeyInfo or SEC 1
// ECPrivateKey.
//
// Accepted input gives a key on one of the thirteen curves that writes itself back as DER and loads back
// as the same key; the input buffer comes back marked sensitive whether or not it was accepted. The checked
// loader accepts a subset, reads each as loadEccDer does and leaves a key that passes its checks.
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    DataBuffer der;
    FUZZ_REQUIRE(der.append(data, (unsigned)size));
    FuzzLog log;
    EccKey key;
    const bool ok = key.loadEccDer(der, log);
    FUZZ_REQUIRE(der.isSensitive());
    EccKey checked;
    const bool checkedOk = checked.loadEccDerChecked(der, log);
    FUZZ_REQUIRE(
        checkedOk ? ok && (checked.isPrivate() ? checked.checkPrivateKey(log) : checked.checkPublicKey(log))
                  : checked.m_curve.m_byteLen == 0);
    if (checkedOk)
        requireSameKey(key, checked, true);
    if (ok)
        requireDerRoundTrip(key);
    return 0;
}
