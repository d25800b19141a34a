// Key generation: a private scalar drawn from a random source, or decoded from caller-supplied text,
// followed by public-key derivation.
//
// The scalar is used as drawn: no rejection sampling and no zero test. Generic curves reduce it modulo n
// in genPubKey (P-521 draws 66 bytes, so its stored scalar is usually the reduced value); secp256k1 keeps
// the 32 drawn bytes as they are.

#include "ecc/EccKey.h"
#include "support/DataBuffer.h"
#include "support/LogBase.h"
#include "support/Prng.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

// d = the buffer's bytes as an unsigned big-endian integer (zero for an empty buffer).
bool scalarFromBytes(const DataBuffer &bytes, mp_int &d) {
    static const unsigned char s_none = 0;
    const unsigned char *data = bytes.getData2() ? bytes.getData2() : &s_none;
    return TovarMp::mpint_from_bytes(d, data, bytes.getSize());
}

}  // namespace

bool EccKey::generateNewKey(const StringBuffer &curveName, _tvPrng &prng, LogBase &log) {
    LogContextExitor ctx(log, "generateNewKey_ecc");

    clearEccKey();
    m_keyType = 1;
    if (!m_curve.loadCurveByName(curveName.getString(), log)) {
        log.logError("Failed to load curve by name.");
        return false;
    }

    // Wiped by the buffer itself on every way out of this function.
    DataBuffer k;
    k.setSensitive();
    unsigned numBytes = (unsigned)m_curve.m_byteLen;
    // A generator that reports success without delivering every byte asked for is treated as failing.
    if (!prng.genRandom(numBytes, k, log) || k.getSize() != numBytes) {
        log.logError("Failed to generate random private key.");
        return false;
    }
    if (!scalarFromBytes(k, m_privKey))
        return false;
    k.secureClear();

    return genPubKey(log);
}

bool EccKey::generateNewKey2(const StringBuffer &curveName, const char *kText, const char *encoding,
                             LogBase &log) {
    LogContextExitor ctx(log, "generateNewKey2_ecc");

    clearEccKey();
    m_keyType = 1;
    // The catalogue explains an unknown curve; nothing is added here.
    if (!m_curve.loadCurveByName(curveName.getString(), log))
        return false;

    DataBuffer k;
    k.setSensitive();
    if (kText == nullptr || encoding == nullptr || !k.appendEncoded(kText, encoding)) {
        log.logError("Failed to decode K.");
        return false;
    }
    if (!scalarFromBytes(k, m_privKey))
        return false;
    k.secureClear();

    return genPubKey(log);
}

}  // namespace ecckey
