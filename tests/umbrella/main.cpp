// A program of its own that reaches the library through the one public header, with LibTomMath's C
// header in the same translation unit: its global mp_int and its function-like macros must not collide
// with the library's ecckey::mp_int and TovarMp. LibTomMath comes first on purpose, the harder order.
#include <tommath.h>

#include "ecc/ecckey.h"

#include <cstdio>
#include <cstring>

int main() {
    // The library side: a curve by alias, its record, the buffers and the big-integer wrapper; LibTomMath's
    // own mp_int beside it must read p to the same bytes.
    ecckey::LogNull log;
    ecckey::EccKey key;
    ecckey::StringBuffer oid;
    ecckey::mp_int p;
    ecckey::DataBuffer pBytes;
    ::mp_int q;
    unsigned char qBytes[32];
    size_t written = 0;
    if (mp_init(&q) != MP_OKAY)
        return 1;
    bool ok = key.m_curve.loadCurveByName("P-256", log) && key.get_ModulusBitLen() == 256 &&
              !ecckey::EccCurve().loadCurveByName("no-such-curve", log);
    key.getCurveOid(oid);
    ok = ok && oid.equals("1.2.840.10045.3.1.7") &&
         ecckey::TovarMp::mpint_from_radix(p, key.m_curve.m_p.getString(), 16) &&
         ecckey::TovarMp::mpint_to_db(p, pBytes) && pBytes.getSize() == 32;
    ok = ok && mp_read_radix(&q, key.m_curve.m_p.getString(), 16) == MP_OKAY && mp_count_bits(&q) == 256 &&
         mp_to_ubin(&q, qBytes, sizeof qBytes, &written) == MP_OKAY && written == 32 &&
         std::memcmp(qBytes, pBytes.getData2(), 32) == 0;
    mp_clear(&q);
    std::printf("umbrella: %s\n", ok ? "ok" : "FAILED");
    return ok ? 0 : 1;
}
