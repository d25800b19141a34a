// unpackDsaSig and EccKey::eccVerifyHash on a fixed key per curve.
//
// Input layout: byte 0 picks the curve (modulo 13); byte 1 is the hash length (modulo 65); byte 2 is r's
// length for the split form; bit 0 of byte 3 is the split flag; then the hash; then the signature.
//
// Whatever the bytes, verification never crashes; when it runs to its end its verdict is OpenSSL's verdict
// on the same r, s and truncated hash, and a signature OpenSSL accepts is never refused.
#include <algorithm>
#include <vector>

#include "FuzzOracle.h"
#include "FuzzSupport.h"
#include "ecc/EcdsaSig.h"
#include "support/TovarMp.h"

const unsigned kHeaderLen = 4;

// The private key of the catalogue curve at index, d being byteLen − 1 bytes of a fixed pattern (so that
// it lies below n), with its point as the module derives it checked against OpenSSL.
static EccKey &fixedKey(int index) {
    static EccKey s_keys[32];
    EccKey &key = s_keys[index];
    if (key.m_curve.m_byteLen == 0) {
        const EccCatalogEntry &curve = *EccCurve::catalogEntry(index);
        unsigned char d[66];
        for (int i = 0; i < curve.byteLen - 1; ++i)
            d[i] = (unsigned char)(0x5A ^ (i * 29 + index * 7));
        FuzzLog log;
        StringBuffer hex;
        FUZZ_REQUIRE(DataBuffer::toHexString2(d, (unsigned)curve.byteLen - 1, false, hex));
        FUZZ_REQUIRE(key.generateNewKey2(StringBuffer(curve.name), hex.getString(), "hex", log));
        FUZZ_REQUIRE(oracleMulBase(key.m_curve, key.m_privKey, key.m_pubPoint) == 1);
    }
    return key;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < kHeaderLen || size < kHeaderLen + data[1] % 65)
        return 0;
    EccKey &key = fixedKey(data[0] % EccCurve::numCatalogCurves());
    const unsigned hashLen = data[1] % 65, rLen = data[2], sigLen = (unsigned)(size - kHeaderLen - hashLen);
    // The module takes pointers and lengths: the signature ends the input's exactly-sized block and the hash
    // gets one of its own, so that an over-read of either is caught.
    std::vector<uint8_t> hash(data + kHeaderLen, data + kHeaderLen + hashLen);
    const uint8_t *hashArg = hashLen ? hash.data() : nullptr,
                  *sigArg = sigLen ? data + size - sigLen : nullptr;

    FuzzLog log;
    mp_int r, s;
    bool valid = true;
    const bool unpacked = unpackDsaSig(sigArg, sigLen, data[3] & 1, r, s, log, rLen);
    const bool ran = key.eccVerifyHash(sigArg, sigLen, data[3] & 1, hashArg, hashLen, valid, log, rLen);
    FUZZ_REQUIRE(!unpacked || (!TovarMp::isNegative(r) && !TovarMp::isNegative(s)));
    // The hash is cut to the curve's byte length when that is shorter and below 64 (the rule signing
    // shares; the hash here is at most 64 bytes, so a curve of 64 bytes or more never cuts it); secp256k1
    // examines a 32-byte hash only.
    const unsigned eLen = std::min<unsigned>(hashLen, key.m_curve.m_byteLen);
    const bool examinable = eLen > 0 && (eLen == 32 || !key.m_curve.m_name.equals("secp256k1"));
    const bool expected = unpacked && examinable && oracleVerify(key, r, s, hashArg, eLen);
    // Run to its end, verification gives OpenSSL's verdict; stopped early, it refuses, and only a signature
    // that OpenSSL refuses too.
    FUZZ_REQUIRE(ran ? valid == expected : !valid && !expected);
    return 0;
}
