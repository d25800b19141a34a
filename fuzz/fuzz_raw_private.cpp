// EccKey::loadEccPrivateRaw: a bare big-endian scalar whose size (32, 48, 66) selects the curve; the
// first input byte's low bit is the caller's secp256k1 flag, the rest is the scalar.
//
// An accepted scalar gives a private key on the selected curve whose public point is d·G as OpenSSL
// computes it (with the deliberate zero cases: G on a generic curve, the engine's (0, 1, 0) on secp256k1),
// and the key writes itself back as DER and raw hex.
#include <cstring>

#include "FuzzOracle.h"
#include "support/TovarMp.h"

using namespace ecckey;
using namespace ecckey_fuzz;

namespace {

const CurveRef &expectedCurve(size_t scalarLen, bool isSecp256k1) {
    const char *oid = scalarLen == 48   ? "1.3.132.0.34"
                      : scalarLen == 66 ? "1.3.132.0.35"
                      : isSecp256k1     ? "1.3.132.0.10"
                                        : "1.2.840.10045.3.1.7";
    return *findCurveByOid(oid);
}

void requirePublicPoint(const EccKey &key, const CurveRef &curve, const mp_int &scalar) {
    mp_int reduced;
    oracleModOrder(curve, scalar, reduced);
    const EccPoint &q = key.m_pubPoint;
    if (isZero(reduced)) {
        if (key.m_curve.m_name.equals("secp256k1")) {
            FUZZ_REQUIRE(isZero(q.m_x) && TovarMp::mp_cmp_d(q.m_y, 1) == 0 && isZero(q.m_z));
        } else {
            mp_int one, gx, gy;
            TovarMp::mp_set(one, 1);
            FUZZ_REQUIRE(oracleMulBase(curve, one, gx, gy));
            FUZZ_REQUIRE(equalInts(q.m_x, gx) && equalInts(q.m_y, gy));
        }
        return;
    }
    mp_int x, y;
    FUZZ_REQUIRE(oracleMulBase(curve, reduced, x, y));
    FUZZ_REQUIRE(equalInts(q.m_x, x));
    FUZZ_REQUIRE(equalInts(q.m_y, y));
    FUZZ_REQUIRE(TovarMp::mp_cmp_d(q.m_z, 1) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1)
        return 0;
    const bool isSecp256k1 = (data[0] & 1) != 0;
    DataBuffer in;
    in.setSensitive();
    if (!in.append(data + 1, (unsigned)(size - 1)))
        return 0;
    FuzzLog log;
    EccKey key;
    if (!key.loadEccPrivateRaw(in, isSecp256k1, log))
        return 0;

    const size_t len = size - 1;
    FUZZ_REQUIRE(len == 32 || len == 48 || len == 66);
    requireLoadedKey(key);
    FUZZ_REQUIRE(key.m_keyType == 1);
    const CurveRef &curve = expectedCurve(len, isSecp256k1);
    FUZZ_REQUIRE(key.m_curve.m_oid.equals(curve.oid));

    mp_int scalar;
    FUZZ_REQUIRE(TovarMp::mpint_from_bytes(scalar, data + 1, (unsigned)len));
    requirePublicPoint(key, curve, scalar);
    requireDerRoundTrip(key);

    // The hex pair: the (reduced) scalar and the point, each zero-extended to the curve's size.
    StringBuffer privHex, pubHex;
    FUZZ_REQUIRE(key.toRawHex(privHex, pubHex, log));
    StringBuffer expected;
    FUZZ_REQUIRE(
        TovarMp::mpint_to_hex_zero_extended(key.m_privKey, (unsigned)key.m_curve.m_byteLen, expected));
    expected.toLowerCase();
    FUZZ_REQUIRE(privHex.equals(expected));
    FUZZ_REQUIRE(pubHex.getSize() == 2 + 4 * (unsigned)key.m_curve.m_byteLen);
    FUZZ_REQUIRE(pubHex.beginsWith("04"));
    return 0;
}
