// EccPoint::loadEccPoint: an ANSI X9.63 point octet string (04, 06 or 07, optionally after one 0x00).
//
// An accepted point is affine and writes back, at the width it was read with, as the same bytes in the
// uncompressed form.
#include <cstring>

#include "FuzzSupport.h"
#include "support/TovarMp.h"

using namespace ecckey;
using namespace ecckey_fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    DataBuffer in;
    if (!in.append(data, (unsigned)size))
        return 0;
    FuzzLog log;
    EccPoint point;
    if (!point.loadEccPoint(in, log))
        return 0;

    FUZZ_REQUIRE(point.m_format == 4 || point.m_format == 6 || point.m_format == 7);
    FUZZ_REQUIRE(TovarMp::mp_cmp_d(point.m_z, 1) == 0);
    // Strip the optional leading 0x00 of an even-length string; what remains is f || X || Y.
    const uint8_t *p = data;
    size_t n = size;
    if (n % 2 == 0) {
        FUZZ_REQUIRE(p[0] == 0x00);
        ++p;
        --n;
    }
    FUZZ_REQUIRE(p[0] == point.m_format);
    const int half = (int)(n - 1) / 2;
    FUZZ_REQUIRE(half >= 1);
    if (half > 256)
        return 0;  // beyond the writer's scratch area

    DataBuffer out;
    FUZZ_REQUIRE(point.exportEccPoint(half, out, log));
    FUZZ_REQUIRE(out.getSize() == n);
    FUZZ_REQUIRE(out.getData2()[0] == 0x04);
    FUZZ_REQUIRE(std::memcmp(out.getData2() + 1, p + 1, n - 1) == 0);
    return 0;
}
