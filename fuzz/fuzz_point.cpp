// EccPoint::loadEccPoint: an ANSI X9.63 point octet string (04, 06 or 07, optionally after one 0x00).
//
// An accepted point is affine and writes back, at the width it was read with, as the same bytes in the
// uncompressed form.
#include "FuzzSupport.h"
#include "support/TovarMp.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    DataBuffer in, out;
    FUZZ_REQUIRE(in.append(data, (unsigned)size));
    FuzzLog log;
    EccPoint point;
    if (!point.loadEccPoint(in, log))
        return 0;
    FUZZ_REQUIRE(point.m_format == 4 || point.m_format == 6 || point.m_format == 7);
    FUZZ_REQUIRE(TovarMp::mp_cmp_d(point.m_z, 1) == 0);
    // Past the optional leading 0x00 of an even-length string, what remains is f || X || Y.
    const size_t skip = size % 2 == 0 ? 1 : 0, n = size - skip;
    FUZZ_REQUIRE((skip == 0 || data[0] == 0x00) && data[skip] == point.m_format && n >= 3);
    if ((n - 1) / 2 > 256)
        return 0;  // beyond the writer's scratch area
    FUZZ_REQUIRE(point.exportEccPoint((int)(n - 1) / 2, out, log) && out.getSize() == n);
    FUZZ_REQUIRE(out.getData2()[0] == 0x04 && std::memcmp(out.getData2() + 1, data + skip + 1, n - 1) == 0);
    return 0;
}
