// EccKey::loadEccPrivateRaw: a bare big-endian scalar whose size (32, 48, 66) selects the curve; the
// first input byte's low bit is the caller's secp256k1 flag, the rest is the scalar.
//
// An accepted scalar gives a private key on the selected curve whose public point is d·G as OpenSSL
// computes it (with the deliberate zero cases: G on a generic curve, the engine's (0, 1, 0) on secp256k1),
// and the key writes itself back as DER and raw hex.
#include "FuzzOracle.h"
#include "FuzzSupport.h"
#include "support/TovarMp.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const bool k1Flag = size > 0 && (data[0] & 1) != 0;
    const unsigned len = size > 0 ? (unsigned)size - 1 : 0;
    DataBuffer in;
    in.setSensitive();
    FUZZ_REQUIRE(in.append(data + 1, len));
    FuzzLog log;
    EccKey key;
    if (!key.loadEccPrivateRaw(in, k1Flag, log))
        return 0;
    requireDerRoundTrip(key);
    // The size selects the curve: 32 bytes P-256 (or secp256k1 on the caller's word), 48 P-384, 66 P-521.
    const bool k1 = k1Flag && len == 32;
    FUZZ_REQUIRE((len == 32 || len == 48 || len == 66) && key.isPrivate() &&
                 key.m_curve.m_byteLen == (int)len);
    FUZZ_REQUIRE(key.m_curve.m_name.beginsWith("secp") && key.m_curve.m_name.equals("secp256k1") == k1);

    mp_int d, one;
    FUZZ_REQUIRE(TovarMp::mpint_from_bytes(d, data + 1, len) && TovarMp::mp_set(one, 1) == 0);
    const int match = oracleMulBase(key.m_curve, d, key.m_pubPoint);
    FUZZ_REQUIRE(match == 1 ||
                 (match < 0 && (k1 ? isK1Zero(key) : oracleMulBase(key.m_curve, one, key.m_pubPoint) == 1)));

    // The hex pair: the (reduced) scalar and the point, each zero-extended to the curve's size.
    StringBuffer privHex, pubHex, expected;
    const unsigned byteLen = (unsigned)key.m_curve.m_byteLen;
    FUZZ_REQUIRE(key.toRawHex(privHex, pubHex, log));
    FUZZ_REQUIRE(TovarMp::mpint_to_hex_zero_extended(key.m_privKey, byteLen, expected));
    expected.toLowerCase();
    FUZZ_REQUIRE(privHex.equals(expected) && pubHex.beginsWith("04") && pubHex.getSize() == 2 + 4 * byteLen);
    return 0;
}
