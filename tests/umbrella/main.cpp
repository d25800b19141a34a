// A program of its own that reaches the library through the one public header, with LibTomMath's C
// header in the same translation unit: its global mp_int and its function-like macros must not collide
// with the library's ecckey::mp_int and TovarMp. LibTomMath comes first on purpose, the harder order.
#include <tommath.h>

#include "ecc/ecckey.h"

#include <cstdio>
#include <cstring>

namespace {

int fail(const char *what) {
    std::fprintf(stderr, "umbrella: %s\n", what);
    return 1;
}

}  // namespace

int main() {
    // The library side: a key, a curve by alias, the loggers, the buffers and the big-integer wrapper.
    ecckey::LogRecorder log;
    ecckey::EccKey key;
    if (!key.m_curve.loadCurveByName("P-256", log))
        return fail("P-256 does not load");
    ecckey::StringBuffer oid;
    key.getCurveOid(oid);
    if (!oid.equals("1.2.840.10045.3.1.7") || key.get_ModulusBitLen() != 256)
        return fail("P-256 loaded the wrong record");
    ecckey::mp_int p;
    if (!ecckey::TovarMp::mpint_from_radix(p, key.m_curve.m_p.getString(), 16))
        return fail("p does not parse");
    ecckey::DataBuffer pBytes;
    if (!ecckey::TovarMp::mpint_to_db(p, pBytes) || pBytes.getSize() != 32)
        return fail("p is not 32 bytes");
    ecckey::LogNull quiet;
    ecckey::EccCurve unknown;
    if (unknown.loadCurveByName("no-such-curve", quiet))
        return fail("an unknown curve loaded");

    // LibTomMath's own mp_int, side by side, reading the same text.
    ::mp_int q;
    if (mp_init(&q) != MP_OKAY)
        return fail("mp_init");
    bool same = mp_read_radix(&q, key.m_curve.m_p.getString(), 16) == MP_OKAY && mp_count_bits(&q) == 256 &&
                !mp_iszero(&q);
    unsigned char qBytes[32];
    size_t written = 0;
    same = same && mp_to_ubin(&q, qBytes, sizeof qBytes, &written) == MP_OKAY && written == 32 &&
           std::memcmp(qBytes, pBytes.getData2(), 32) == 0;
    mp_clear(&q);
    if (!same)
        return fail("LibTomMath reads p differently");

    std::printf("umbrella: ok\n");
    return 0;
}
