// EccKey's ECDSA members for secp256k1 keys: they draw the nonces, convert the key and the signature, encode
// and log; the arithmetic is the fixed-width engine's (secp256k1/Secp256k1Ecdsa.h).
#include "ecc/EccKey.h"
#include "ecc/EccMessages.h"
#include "ecc/EcdsaSig.h"
#include "ecc/secp256k1/Secp256k1Ecdsa.h"
#include "support/LogBase.h"
#include "support/Prng.h"
#include "support/TovarMp.h"
#include "support/Wipe.h"

namespace ecckey {

namespace {

const unsigned kMaxNonceAttempts = 100;
const unsigned kScalarLen = 32;

}  // namespace

// Signs a 32-byte hash (anything else: "secp256k1 must use SHA256"; null: false, silently) into out,
// cleared first, as DER or as 64 bytes r||s. Draws up to 100 nonces of 32 bytes, read least significant
// byte first; a nonce of 0 or n and above, or an r or s of 0, costs an attempt. After 100 failed
// attempts returns false silently; a failing generator logs "Failed to generate random nonce.". A key
// without a private scalar is refused with "Must be a private key." before any nonce is drawn: signing
// with d = 0 would hand back a "signature" that proves nothing. The nonce, its inverse, d and r·d + e are
// wiped on every path.
bool EccKey::eccSignHashK(const unsigned char *hash, unsigned hashLen, _tvPrng &prng, bool bAsn,
                          DataBuffer &out, LogBase &log) const {
    LogContextExitor ctx(log, "eccSignHashK");
    out.clear();

    if (!hash)
        return false;
    if (m_keyType != 1) {
        log.logError(kMsgMustBePrivateKey);
        return false;
    }
    if (hashLen != kScalarLen) {
        log.logError("secp256k1 must use SHA256");
        return false;
    }

    Wiped<_tvUnsigned256> wipedD;
    _tvUnsigned256 &d = wipedD.get();
    _tvUnsigned256 r, s;
    if (!mp_int_to_uint256(m_privKey, d))
        return false;

    const _tvUnsigned256 e = secp256k1HashScalar(hash);

    DataBuffer nonce;
    nonce.setSensitive();
    bool signedOk = false;
    for (unsigned attempt = 0; attempt < kMaxNonceAttempts && !signedOk; ++attempt) {
        nonce.clear();
        if (!prng.genRandom(kScalarLen, nonce, log) || nonce.getSize() < kScalarLen) {
            log.logError("Failed to generate random nonce.");
            return false;
        }
        signedOk = secp256k1SignAttempt(nonce.getData2(), d, e, r, s);
    }
    nonce.secureClear();
    if (!signedOk)
        return false;

    mp_int rm, sm;
    if (!uint256_to_mp_int(r, rm) || !uint256_to_mp_int(s, sm)) {
        log.logError(kMsgBigIntFailed);
        return false;
    }

    if (bAsn)
        return encodeDerSig(rm, sm, false, out, log);

    // Converted values are never negative; the test stands on the raw path only.
    if (TovarMp::isNegative(rm) || TovarMp::isNegative(sm)) {
        log.logInfo(kMsgSigHalfNegative);
        return false;
    }
    return appendSigHalf(rm, m_curve.m_byteLen, out) && appendSigHalf(sm, m_curve.m_byteLen, out);
}

// Checks sig over a 32-byte hash. True, with the verdict in valid and "sigValid" logged, for every
// signature it could examine: r or s out of [1, n), a public point off the curve or outside the group and
// a wrong signature are all an invalid verdict. False, valid false, for null inputs ("null inputs."), a
// hash not 32 bytes long ("hash length must be 32"), an unreadable signature ("Failed to unpack ASN.1
// DSA/ECC signature.") and values wider than 256 bits (silently).
bool EccKey::eccVerifyHashK(const unsigned char *sig, unsigned sigLen, bool split, const unsigned char *hash,
                            unsigned hashLen, bool &valid, LogBase &log, unsigned rLen) const {
    LogContextExitor ctx(log, "eccVerifyHashK");
    valid = false;

    if (!sig || sigLen == 0 || !hash || hashLen == 0) {
        log.logError(kMsgNullInputs);
        return false;
    }
    if (hashLen != kScalarLen) {
        log.logError("hash length must be 32");
        return false;
    }

    mp_int rm, sm;
    if (!unpackDsaSig(sig, sigLen, split, rm, sm, log, rLen)) {
        log.logError("Failed to unpack ASN.1 DSA/ECC signature.");
        return false;
    }
    _tvUnsigned256 r, s, qx, qy;
    if (!mp_int_to_uint256(rm, r) || !mp_int_to_uint256(sm, s) || !mp_int_to_uint256(m_pubPoint.m_x, qx) ||
        !mp_int_to_uint256(m_pubPoint.m_y, qy))
        return false;

    valid = secp256k1Verify(r, s, qx, qy, hash);
    log.LogDataLong("sigValid", valid ? 1 : 0);
    return true;
}

}  // namespace ecckey
