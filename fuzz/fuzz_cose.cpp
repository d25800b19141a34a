// loadCoseKey: any bytes as a COSE_Key. An accepted key writes itself back (with d when private) as a
// COSE_Key that loads as the same point.
#include <cstdlib>

#include "FuzzSupport.h"
#include "formats/CoseKey.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    DataBuffer in, out, point, again;
    FuzzLog log;
    EccKey key, back;
    if (!in.append(data, (unsigned)size) || !loadCoseKey(key, in, log))
        return 0;
    if (!toCoseKey(key, key.isPrivate(), nullptr, 0, true, out, log) || !loadCoseKey(back, out, log) ||
        back.isPrivate() != key.isPrivate() || !key.exportEccPoint(point, log) ||
        !back.exportEccPoint(again, log) || !point.equals(again))
        std::abort();
    return 0;
}
