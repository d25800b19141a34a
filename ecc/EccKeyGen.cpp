// Key generation: a private scalar drawn from a random source, or decoded from caller-supplied text,
// followed by public-key derivation.
//
// By default the scalar is used as drawn: m_byteLen random bytes, no rejection and no zero test. Generic
// curves reduce it modulo n (P-521 draws 66 bytes, so its stored scalar is usually the reduced value);
// secp256k1 keeps the 32 drawn bytes as they are. That draw is biased where n is well below 2^(8·m_byteLen)
// (on brainpoolP256r1 a reduced scalar falls below n/2 two times in three). With the logger option
// "DRAW_ECC_UNIFORM", every curve draws uniformly from [1, n - 1] instead: candidates of n's bit length,
// refused until one is in range.
//
// Either way the drawn bytes go to limbs on the stack and are reduced there (ScalarField.h): the unreduced
// draw never enters a LibTomMath integer, whose division would leave copies of it in freed memory.

#include <cstdint>

#include "ecc/EccKey.h"
#include "ecc/EccMessages.h"
#include "ecc/arith/ScalarField.h"
#include "support/DataBuffer.h"
#include "support/LogBase.h"
#include "support/Prng.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

const char kMsgRandomKeyFailed[] = "Failed to generate random private key.";

// d = the buffer's bytes as an unsigned big-endian integer (zero for an empty buffer).
[[nodiscard]] bool scalarFromBytes(const DataBuffer &bytes, mp_int &d) {
    static const unsigned char s_none = 0;
    const unsigned char *data = bytes.getData2() ? bytes.getData2() : &s_none;
    return TovarMp::mpint_from_bytes(d, data, bytes.getSize());
}

// A uniform draw needs two candidates on average at worst (n above 2^(bits − 1)): 64 refusals in a row
// come once in 2^64 keys.
const int kMaxUniformCandidates = 64;

// Clears the bits of the big-endian candidate above n's bit length.
void keepLowBits(DataBuffer &candidate, int bits) {
    unsigned char *b = candidate.getDataMutable();
    const int len = (int)candidate.getSize();
    for (int i = 0; i < len; ++i) {
        const int keep = bits - 8 * (len - 1 - i);  // bits of byte i below n's bit length
        if (keep < 8)
            b[i] &= keep <= 0 ? 0 : (unsigned char)((1u << keep) - 1);
    }
}

// Draws numBytes bytes into k, emptied first. A generator that fails, or reports success without
// delivering every byte asked for, is logged as "Failed to generate random private key.".
[[nodiscard]] bool drawBytes(_tvPrng &prng, unsigned numBytes, DataBuffer &k, LogBase &log) {
    k.clear();
    if (!prng.genRandom(numBytes, k, log) || k.getSize() != numBytes) {
        log.logError(kMsgRandomKeyFailed);
        return false;
    }
    return true;
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
    const unsigned numBytes = (unsigned)m_curve.m_byteLen;
    mp_int n;
    if (!TovarMp::mpint_from_radix(n, m_curve.m_order.getString(), 16)) {
        log.logError(kMsgBigIntFailed);
        return false;
    }
    const bool k1 = m_curve.isSecp256k1();
    if (log.m_options.containsSubstring(kOptDrawUniform)) {
        bool drawn = false;
        for (int i = 0; i < kMaxUniformCandidates && !drawn; ++i) {
            if (!drawBytes(prng, numBytes, k, log))
                return false;
            keepLowBits(k, TovarMp::mp_count_bits(n));
            drawn = scalarFromBytesInRange(n, k.getData2(), k.getSize(), m_privKey);
        }
        if (!drawn) {
            log.logError(kMsgRandomKeyFailed);
            return false;
        }
    } else {
        if (!drawBytes(prng, numBytes, k, log))
            return false;
        if (!(k1 ? scalarFromBytesUnreduced(k.getData2(), k.getSize(), m_privKey)
                 : scalarFromBytesModOrder(n, k.getData2(), k.getSize(), m_privKey)))
            return false;
    }
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
