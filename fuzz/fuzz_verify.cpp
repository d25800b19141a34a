// unpackDsaSig and EccKey::eccVerifyHash on a fixed key per curve (layout in FuzzKeys.h).
//
// Whatever the bytes, verification never crashes; when it runs to its end its verdict is OpenSSL's verdict
// on the same r, s and truncated hash, and a signature OpenSSL accepts is never refused.
#include "FuzzKeys.h"
#include "FuzzOracle.h"
#include "ecc/EcdsaSig.h"
#include "support/TovarMp.h"

using namespace ecckey;
using namespace ecckey_fuzz;

namespace {

// The hash-length rule shared by signing and verification: cut to the curve's byte length when that is
// shorter than the hash and below 64.
unsigned effectiveHashLen(const EccKey &key, unsigned hashLen) {
    unsigned byteLen = (unsigned)key.m_curve.m_byteLen;
    return (byteLen < hashLen && byteLen < 64) ? byteLen : hashLen;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < kVerifyHeaderLen)
        return 0;
    const int index = data[0] % numCurves();
    const unsigned hashLen = data[1] % 65;
    const unsigned rLen = data[2];
    const bool split = (data[3] & 1) != 0;
    if (size < kVerifyHeaderLen + hashLen)
        return 0;
    const uint8_t *hash = data + kVerifyHeaderLen;
    const uint8_t *sig = hash + hashLen;
    const unsigned sigLen = (unsigned)(size - kVerifyHeaderLen - hashLen);
    // The module takes pointers and lengths; give it exactly-sized copies so that an over-read is caught.
    std::vector<uint8_t> hashCopy(hash, hash + hashLen), sigCopy(sig, sig + sigLen);
    const uint8_t *hashArg = hashLen ? hashCopy.data() : nullptr;
    const uint8_t *sigArg = sigLen ? sigCopy.data() : nullptr;

    FuzzLog log;
    mp_int r, s;
    const bool unpacked = unpackDsaSig(sigArg, sigLen, split, r, s, log, rLen);
    if (unpacked)
        FUZZ_REQUIRE(!TovarMp::isNegative(r) && !TovarMp::isNegative(s));

    EccKey &key = const_cast<EccKey &>(fixedKey(index));
    bool valid = true;
    const bool ran = key.eccVerifyHash(sigArg, sigLen, split, hashArg, hashLen, valid, log, rLen);
    if (!ran)
        FUZZ_REQUIRE(!valid);
    if (!unpacked) {
        FUZZ_REQUIRE(!valid);
        return 0;
    }

    const unsigned eLen = effectiveHashLen(key, hashLen);
    const bool k1 = key.m_curve.m_name.equals("secp256k1");
    const bool examinable = eLen > 0 && (!k1 || eLen == 32);
    mp_int e;
    if (eLen)
        TovarMp::mpint_from_bytes(e, hashArg, eLen);
    const bool expected =
        examinable && oracleVerify(curveAt(index), key.m_pubPoint.m_x, key.m_pubPoint.m_y, r, s, e);
    if (ran)
        FUZZ_REQUIRE(valid == expected);
    if (expected)
        FUZZ_REQUIRE(ran && valid);
    return 0;
}
