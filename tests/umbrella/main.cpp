// A program of its own that reaches the library through the one public header, with LibTomMath's C
// header in the same translation unit: its global mp_int and its function-like macros must not collide
// with the library's ecckey::mp_int and TovarMp. LibTomMath comes first on purpose, the harder order.
#include <tommath.h>

#include "ecc/ecckey.h"

#include <cstdio>

int main() {
    // The library side: a curve by alias, its record and the big-integer wrapper; LibTomMath's own mp_int
    // beside it must read p to the same value.
    ecckey::LogNull log;
    ecckey::EccKey key;
    ecckey::StringBuffer oid, pHex;
    ecckey::mp_int p;
    ::mp_int q;
    char qHex[80];
    if (mp_init(&q) != MP_OKAY)
        return 1;
    bool ok = key.m_curve.loadCurveByName("P-256", log) && key.get_ModulusBitLen() == 256;
    key.getCurveOid(oid);
    ok = ok && oid.equals("1.2.840.10045.3.1.7") &&
         ecckey::TovarMp::mpint_from_radix(p, key.m_curve.m_p.getString(), 16) &&
         ecckey::TovarMp::mpint_to_hex(p, pHex) &&
         mp_read_radix(&q, key.m_curve.m_p.getString(), 16) == MP_OKAY &&
         mp_to_radix(&q, qHex, sizeof qHex, nullptr, 16) == MP_OKAY && pHex.equals(qHex) &&
         pHex.getSize() == 64;
    mp_clear(&q);
    std::printf("umbrella: %s\n", ok ? "ok" : "FAILED");
    return ok ? 0 : 1;
}
