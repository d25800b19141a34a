// EccKey::loadEccPublicRaw: a bare X9.63 point whose size (65, 97, 133) selects P-256, P-384 or P-521.
//
// An accepted point belongs to the curve its size selects and exports as the input bytes.
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    DataBuffer in, out;
    FUZZ_REQUIRE(in.append(data, (unsigned)size));
    FuzzLog log;
    EccKey key;
    if (!key.loadEccPublicRaw(in, log))
        return 0;
    requireDerRoundTrip(key);
    FUZZ_REQUIRE(!key.isPrivate() && (size == 65 || size == 97 || size == 133) && data[0] == 0x04);
    FUZZ_REQUIRE((size_t)key.m_curve.m_byteLen * 2 + 1 == size);
    FUZZ_REQUIRE(key.exportEccPoint(out, log) && out.equals(data, (unsigned)size));
    return 0;
}
