// EccKey::loadPrivateFromPuttySsh: a curve name, an X9.63 public point and a private blob (an SSH mpint, or
// the four-field form from 57 bytes on).
//
// Input layout: byte 0 picks the curve name (modulo 22, see kAliases); byte 1 is the point's length; then
// the point; the rest is the private blob.
//
// An accepted key is on a catalogue curve, private exactly when the blob is non-empty, with the blob
// marked sensitive; it writes itself back as DER and gives an SSH public-key blob and a fingerprint.
#include "FuzzSupport.h"

// After the thirteen catalogue names, other spellings that the lookup takes or refuses.
const char *const kAliases[] = {"nistp256", "nistp384",     "nistp521",    "ecdsa-sha2-nistp256",
                                "P-521",    "1.3.132.0.10", " secp256r1 ", "unknown",
                                ""};

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2 || size < 2 + (size_t)data[1])
        return 0;
    const unsigned pick = data[0] % 22, pointLen = data[1], blobLen = (unsigned)(size - 2 - pointLen);
    const char *name = pick < 13 ? EccCurve::catalogEntry((int)pick)->name : kAliases[pick - 13];
    DataBuffer point, blob, sshBlob;
    FUZZ_REQUIRE(point.append(data + 2, pointLen));
    FUZZ_REQUIRE(blob.append(data + 2 + pointLen, blobLen));
    FuzzLog log;
    EccKey key;
    if (!key.loadPrivateFromPuttySsh(name, point, blob, log))
        return 0;
    requireDerRoundTrip(key);
    FUZZ_REQUIRE(key.m_keyType == (blobLen ? 1 : 0) && blob.isSensitive());
    StringBuffer fingerprint;
    FUZZ_REQUIRE(!pointFits(key, 256) ||
                 (key.puttyPublicKeyBlob(sshBlob, log) && key.calc_fingerprint(fingerprint, log)));
    return 0;
}
