// ECDSA signing on the generic arithmetic, deterministic signing, the SSH signature blob and the TLS
// re-wrapping of signatures.
//
// Each signature draws a fresh ephemeral key pair (k, k·G) with generateNewKey: r = x(k·G) mod n and
// s = k^-1·(e + d·r) mod n, the latter on fixed-width limbs modulo n (ScalarField.h), so that neither d nor
// k meets a LibTomMath call. Keys on secp256k1 are handed to the fixed-width signer, except by the SSH
// variant, which always signs here. The deterministic signer hands the same loops an RFC 6979 nonce
// generator in place of the random source, so r and s come from k in one place for every entry point.
#include <openssl/crypto.h>

#include <cstring>

#include "ecc/DeterministicNonce.h"
#include "ecc/EccKey.h"
#include "ecc/EccMessages.h"
#include "ecc/EcdsaSig.h"
#include "ecc/arith/ScalarField.h"
#include "support/AsnItem.h"
#include "support/Hash.h"
#include "support/LogBase.h"
#include "support/Owners.h"
#include "support/Prng.h"
#include "support/SshMessage.h"
#include "support/TovarMp.h"
#include "support/Wipe.h"

namespace ecckey {

namespace {

const char kMsgGetPFailed[] = "Failed to get p";
const char kMsgGetEFailed[] = "Failed to get e";

// Reads count bytes as an unsigned big-endian integer; an empty string is zero.
[[nodiscard]] bool readUnsigned(mp_int &out, const unsigned char *bytes, unsigned count) {
    if (count == 0) {
        TovarMp::mp_zero(out);
        return true;
    }
    if (!bytes)
        return false;
    return TovarMp::mpint_from_bytes(out, bytes, count);
}

// True when the minimal big-endian form of v starts with a byte of 0x80 or more. Sets failed when the
// bytes could not be produced.
[[nodiscard]] bool leadingByteIsHigh(const mp_int &v, DataBuffer &scratch, bool &failed) {
    scratch.clear();
    failed = !TovarMp::mpint_to_db(v, scratch) || scratch.getSize() == 0;
    return !failed && scratch[0] >= 0x80;
}

// One ECDSA signature (r, s) over e with key's private scalar. Tries ephemeral keys until r and s are
// both non-zero and, when rejectHighLeadingByte, until the minimal forms of r and s both begin below
// 0x80 (the generic signer's outputs never need a DER sign octet). There is no bound on the attempts: a
// generator that fails ends the loop through generateNewKey.
//
// The ephemeral keys are drawn as the caller's logger asks (its option keywords reach generateNewKey),
// into a logger that writes nothing.
//
// Logs "curveName" and "Failed to generate point on curve." when the generator fails, and "ecc calc
// error 1" when k has no inverse (a generator that draws 0 or n). On failure s is zeroed.
[[nodiscard]] bool computeSignature(const EccKey &key, const mp_int &n, const mp_int &e, _tvPrng &prng,
                                    bool rejectHighLeadingByte, mp_int &r, mp_int &s, LogBase &log) {
    EccKey eph;  // k and k·G; its scalar is wiped when it is cleared or destroyed
    LogNull quiet;
    DataBuffer scratch;
    // Without the options the nonces would be drawn in another way than the caller asked for.
    bool optionsCopied = quiet.m_options.setString(log.m_options);
    if (!optionsCopied)
        log.logError("Out of memory signing.");

    while (optionsCopied) {
        if (!eph.generateNewKey(key.m_curve.m_name, prng, quiet)) {
            log.LogDataSb(kDataCurveName, key.m_curve.m_name);
            log.logError("Failed to generate point on curve.");
            break;
        }
        // r = x(k·G) mod n
        if (TovarMp::mp_mod(eph.m_pubPoint.m_x, n, r) != 0)
            break;
        if (TovarMp::isZero(r)) {
            eph.clearEccKey();
            continue;
        }
        if (!signScalars(n, key.m_privKey, eph.m_privKey, e, r, s)) {  // s = k^-1·(e + d·r) mod n
            log.logError("ecc calc error 1");
            break;
        }
        if (TovarMp::isZero(s))
            continue;  // the next generateNewKey clears the ephemeral key
        if (!rejectHighLeadingByte)
            return true;

        bool failed = false;
        if (leadingByteIsHigh(r, scratch, failed))
            continue;
        if (failed)
            break;
        if (leadingByteIsHigh(s, scratch, failed))
            continue;
        if (failed)
            break;
        return true;
    }
    TovarMp::mp_zero(s);
    return false;
}

// Steps shared by both generic signers before the loop: the key must be private and the order must
// parse. Logs "Must be a private key." or "Failed to get p".
[[nodiscard]] bool prepareSigning(const EccKey &key, mp_int &n, LogBase &log) {
    if (key.m_keyType != 1) {
        log.logError(kMsgMustBePrivateKey);
        return false;
    }
    if (!TovarMp::mpint_from_radix(n, key.m_curve.m_order.getString(), 16)) {
        log.logError(kMsgGetPFailed);
        return false;
    }
    return true;
}

[[nodiscard]] bool signIsNegative(const mp_int &r, const mp_int &s, LogBase &log) {
    if (!TovarMp::isNegative(r) && !TovarMp::isNegative(s))
        return false;
    log.logInfo(kMsgSigHalfNegative);
    return true;
}

// The generic signer from e onwards, shared by the random and the deterministic entry points: e = the first
// eLen hash bytes, then (r, s) from nonces drawn from prng, written into out as DER when bAsn, else as r||s
// padded to 2·m_byteLen. Messages as eccSignHash.
[[nodiscard]] bool signGeneric(const EccKey &key, const unsigned char *hash, unsigned eLen, _tvPrng &prng,
                               bool rejectHighLeadingByte, bool bAsn, DataBuffer &out, LogBase &log) {
    mp_int n, e, r, s;
    if (!prepareSigning(key, n, log))
        return false;
    if (!readUnsigned(e, hash, eLen)) {  // e is not reduced modulo n
        log.logError(kMsgGetEFailed);
        return false;
    }
    if (!computeSignature(key, n, e, prng, rejectHighLeadingByte, r, s, log))
        return false;
    if (signIsNegative(r, s, log))
        return false;

    if (bAsn)
        return encodeDerSig(r, s, false, out, log);
    return appendSigHalf(r, key.m_curve.m_byteLen, out) && appendSigHalf(s, key.m_curve.m_byteLen, out);
}

// Seeds nonce with n, d and the hash. d is written out from its digits (no LibTomMath temporary) into a
// buffer wiped on return. Logs "Failed to get p" or what the generator refuses.
[[nodiscard]] bool seedDeterministicNonce(const EccKey &key, const unsigned char *hash, unsigned hashLen,
                                          DeterministicNonce &nonce, LogBase &log) {
    mp_int n;
    DataBuffer order;
    if (!TovarMp::mpint_from_radix(n, key.m_curve.m_order.getString(), 16) ||
        !TovarMp::mpint_to_db(n, order) || order.isEmpty() ||
        order.getSize() > DeterministicNonce::kMaxOrderLen) {
        log.logError(kMsgGetPFailed);
        return false;
    }
    // A scalar longer than n is refused by the range test as all ones would be.
    Wiped<unsigned char[DeterministicNonce::kMaxOrderLen]> d;
    if (!TovarMp::mpint_to_fixed_bytes(key.m_privKey, d.get(), order.getSize()))
        std::memset(d.get(), 0xFF, sizeof d.get());
    return nonce.seed(order.getData2(), order.getSize(), d.get(), hash, hashLen, log);
}

}  // namespace

bool EccKey::eccSignHash(const unsigned char *hash, unsigned hashLen, _tvPrng &prng, bool bAsn,
                         DataBuffer &out, LogBase &log) const {
    LogContextExitor ctx(log, "eccSignHash");
    out.clear();
    if (log.m_verbose) {
        log.LogDataLong("bAsn", bAsn ? 1 : 0);
        log.LogDataLong("inlen", (long)hashLen);
    }

    unsigned eLen = ecdsaHashLen(m_curve.m_byteLen, hashLen);
    // A longer hash reaches the fixed-width signer already cut to 32 bytes; a shorter one is refused there.
    if (m_curve.isSecp256k1())
        return eccSignHashK(hash, eLen, prng, bAsn, out, log);
    return signGeneric(*this, hash, eLen, prng, true, bAsn, out, log);
}

bool EccKey::eccSignHashDeterministic(const unsigned char *hash, unsigned hashLen, int hashAlg, bool bAsn,
                                      DataBuffer &out, LogBase &log) const {
    LogContextExitor ctx(log, "eccSignHashDeterministic");
    out.clear();
    if (m_keyType != 1) {
        log.logError(kMsgMustBePrivateKey);
        return false;
    }
    const unsigned digestLen = _tvHash::hashLen(hashAlg);
    if (digestLen == 0) {
        log.LogDataLong("hashAlg", hashAlg);
        log.logError("Unsupported hash algorithm.");
        return false;
    }
    if (!hash || hashLen != digestLen) {
        log.LogDataLong("hashLen", (long)hashLen);
        log.logError("The hash length does not match the hash algorithm.");
        return false;
    }

    const bool k1 = m_curve.isSecp256k1();
    DeterministicNonce nonce(hashAlg, k1);
    if (!seedDeterministicNonce(*this, hash, hashLen, nonce, log))
        return false;
    const unsigned eLen = ecdsaHashLen(m_curve.m_byteLen, hashLen);
    if (!k1)
        return signGeneric(*this, hash, eLen, nonce, false, bAsn, out, log);
    // The fixed-width signer takes 32 bytes: a shorter hash, zero-extended, is the same integer e.
    unsigned char e32[32] = {0};
    std::memcpy(e32 + (32 - eLen), hash, eLen);
    return eccSignHashK(e32, 32, nonce, bAsn, out, log);
}

bool EccKey::eccSignHash_forSsh(const unsigned char *hash, unsigned hashLen, _tvPrng &prng, DataBuffer &out,
                                LogBase &log) const {
    LogContextExitor ctx(log, "eccSignHash_forSsh");

    mp_int n, e, r, s;
    if (!prepareSigning(*this, n, log))
        return false;

    // e is the whole hash, read as the non-negative mpint it would be on the wire.
    DataBuffer eBytes;
    bool eOk = hash != nullptr || hashLen == 0;
    if (eOk && hashLen > 0 && hash[0] >= 0x80)
        eOk = eBytes.appendChar(0);
    if (eOk && hashLen > 0)
        eOk = eBytes.append(hash, hashLen);
    if (eOk)
        eOk = readUnsigned(e, eBytes.getData2(), eBytes.getSize());
    if (!eOk) {
        log.logError(kMsgGetEFailed);
        return false;
    }
    if (!computeSignature(*this, n, e, prng, false, r, s, log))
        return false;
    if (signIsNegative(r, s, log))
        return false;

    DataBuffer scratch;
    if (!TovarMp::unsigned_mpint_to_db(r, scratch) || !SshMessage::pack_db(scratch, out))
        return false;
    scratch.clear();
    return TovarMp::unsigned_mpint_to_db(s, scratch) && SshMessage::pack_db(scratch, out);
}

bool EccKey::eccWrapSigAsn_forTls(const DataBuffer &sig, unsigned unused, DataBuffer &out, LogBase &log) {
    (void)unused;
    LogContextExitor ctx(log, "eccWrapSigAsn_forTls");

    // The unpacker's verdict is not used: on an unreadable input it has logged why, and r and s are
    // encoded as they stand (zero when nothing was read).
    mp_int r, s;
    (void)unpackDsaSig(sig.getData2(), sig.getSize(), true, r, s, log, 0);
    return encodeDerSig(r, s, true, out, log);
}

}  // namespace ecckey
