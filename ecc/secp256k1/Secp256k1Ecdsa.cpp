// ECDSA over secp256k1 on the fixed-width engine.
//
// The signer draws its nonce straight from the random generator (at most 100 attempts), does every
// reduction modulo n with word masks and returns low-S signatures. The verifier accepts high S and
// reports out-of-range values and bad public points as an invalid verdict, not as an error.
#include "ecc/EccKey.h"
#include "ecc/EcdsaSig.h"
#include "ecc/secp256k1/CurvePt.h"
#include "support/AsnItem.h"
#include "support/ConstantTime.h"
#include "support/LogBase.h"
#include "support/Owners.h"
#include "support/Prng.h"
#include "support/TovarMp.h"
#include "support/Wipe.h"

namespace ecckey {

namespace {

const unsigned kMaxNonceAttempts = 100;
const unsigned kScalarLen = 32;

// The nonce bytes are taken as they stand into the integer's storage: byte 0 is the least significant
// byte of k. (The hash, by contrast, is read big-endian.)
_tvUnsigned256 nonceFromBytes(const unsigned char *b) {
    _tvUnsigned256 k;
    for (unsigned i = 0; i < 8; ++i)
        k.value[i] = (std::uint32_t)b[4 * i] | ((std::uint32_t)b[4 * i + 1] << 8) |
                     ((std::uint32_t)b[4 * i + 2] << 16) | ((std::uint32_t)b[4 * i + 3] << 24);
    return k;
}

// v = v mod n for v < 2n, by one masked subtraction.
void reduceOnceModOrder(_tvUnsigned256 &v) {
    v.subtract(_tvCurvePt::m_s_order, (unsigned)(v >= _tvCurvePt::m_s_order));
}

// One signing attempt with nonce k: r = x(k·G) mod n and s = k^-1·(e + r·d) mod n, made low. False when
// k is out of [1, n) or r or s comes out zero; the caller then draws another nonce.
bool signWithNonce(const _tvUnsigned256 &k, const _tvUnsigned256 &d, const _tvUnsigned256 &e,
                   _tvUnsigned256 &r, _tvUnsigned256 &s) {
    const _tvUnsigned256 &n = _tvCurvePt::m_s_order;
    // Rejecting a nonce reveals nothing about the one that is finally used: the verdict may be known.
    if (ct::declassified((k == s_ZERO) | (k >= n)))
        return false;

    _tvCurvePt R = _tvCurvePt::m_s_G;  // R = k·G, affine
    R.multiplyPt(k);
    R.normalizePt();
    r = _tvUnsigned256(R.x);
    reduceOnceModOrder(r);         // r = x(R) mod n (x < p < 2n)
    ct::declassify(&r, sizeof r);  // the signature's first half
    wipe(&R, sizeof R);
    if (r == s_ZERO)
        return false;

    Wiped<_tvUnsigned256> wipedT(r);  // t = r·d mod n: with r public, t gives d away
    _tvUnsigned256 &t = wipedT.get();
    multiplyModOrder(t, d);
    unsigned carry = t.add(e, 1);  // t = t + e as a 257-bit sum, then below n again
    t.subtract(n, carry | (unsigned)(t >= n));

    Wiped<_tvUnsigned256> wipedKInv(k);  // k^-1 mod n
    _tvUnsigned256 &kInv = wipedKInv.get();
    kInv.reciprocal(n);
    s = t;  // s = t·k^-1 mod n
    multiplyModOrder(s, kInv);
    if (ct::declassified(s == s_ZERO))
        return false;

    _tvUnsigned256 negS = n;  // low S: s = min(s, n - s)
    negS.subtract(s, 1);
    s.replace(negS, (unsigned)(s > negS));
    ct::declassify(&s, sizeof s);  // the signature's second half
    return true;
}

}  // namespace

// Signs a 32-byte hash (anything else: "secp256k1 must use SHA256"; null: false, silently) into out,
// cleared first, as DER or as 64 bytes r||s. Draws up to 100 nonces of 32 bytes, read least significant
// byte first; a nonce of 0 or n and above, or an r or s of 0, costs an attempt. After 100 failed
// attempts returns false silently; a failing generator logs "Failed to generate random nonce.". A key
// without a private scalar is refused with "Must be a private key." before any nonce is drawn: signing
// with d = 0 would hand back a "signature" that proves nothing. The nonce, its inverse, d and r·d + e are
// wiped on every path.
bool EccKey::eccSignHashK(const unsigned char *hash, unsigned hashLen, _tvPrng &prng, bool bAsn,
                          DataBuffer &out, LogBase &log) {
    LogContextExitor ctx(log, "eccSignHashK");
    out.clear();

    if (!hash)
        return false;
    if (m_keyType != 1) {
        log.logError("Must be a private key.");
        return false;
    }
    if (hashLen != kScalarLen) {
        log.logError("secp256k1 must use SHA256");
        return false;
    }

    Wiped<_tvUnsigned256> wipedD, wipedK;
    _tvUnsigned256 &d = wipedD.get();
    _tvUnsigned256 &k = wipedK.get();
    _tvUnsigned256 r, s;
    if (!mp_int_to_uint256(m_privKey, d))
        return false;

    // e is read big-endian and reduced once: it may be n or above, and t + e must stay below 2n.
    _tvUnsigned256 e(hash);
    reduceOnceModOrder(e);

    DataBuffer nonce;
    nonce.setSensitive();
    bool signedOk = false;
    for (unsigned attempt = 0; attempt < kMaxNonceAttempts && !signedOk; ++attempt) {
        nonce.clear();
        if (!prng.genRandom(kScalarLen, nonce, log) || nonce.getSize() < kScalarLen) {
            log.logError("Failed to generate random nonce.");
            return false;
        }
        k = nonceFromBytes(nonce.getData2());
        signedOk = signWithNonce(k, d, e, r, s);
    }
    nonce.secureClear();
    if (!signedOk)
        return false;

    mp_int rm, sm;
    uint256_to_mp_int(r, rm);
    uint256_to_mp_int(s, sm);

    if (bAsn)
        return encodeDerSig(rm, sm, false, out, log);

    // Converted values are never negative; the test stands on the raw path only.
    if (TovarMp::isNegative(rm) || TovarMp::isNegative(sm)) {
        log.logInfo("R or S is negative");
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
                            unsigned hashLen, bool &valid, LogBase &log, unsigned rLen) {
    LogContextExitor ctx(log, "eccVerifyHashK");
    valid = false;

    if (!sig || sigLen == 0 || !hash || hashLen == 0) {
        log.logError("null inputs.");
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

    const _tvUnsigned256 &n = _tvCurvePt::m_s_order;
    _tvCurvePt Q{FieldInt256(qx), FieldInt256(qy)};  // z = 1; each coordinate reduced once modulo p
    _tvCurvePt nQ = Q;  // n·Q: the point at infinity for every point of the group
    nQ.multiplyPt(n);

    // Everything the signature or the key can get wrong is a verdict, not an error. These checks work on
    // public values and may branch.
    bool checksPass = r > s_ZERO && r < n && s > s_ZERO && s < n && !Q.isZero() &&
                      Q.z == _tvCurvePt::m_s_fiOne && Q.isOnCurve() && nQ.isZero();
    if (checksPass) {
        _tvUnsigned256 w = s;  // w = s^-1 mod n
        w.reciprocal(n);
        _tvUnsigned256 e(hash);  // read big-endian, not reduced
        _tvUnsigned256 u1 = w;   // u1 = w·e mod n
        multiplyModOrder(u1, e);
        _tvUnsigned256 u2 = w;  // u2 = w·r mod n
        multiplyModOrder(u2, r);

        _tvCurvePt P = _tvCurvePt::m_s_G;  // P = u1·G + u2·Q
        P.multiplyPt(u1);
        _tvCurvePt P2 = Q;
        P2.multiplyPt(u2);
        P.addPt(P2);
        P.normalizePt();
        _tvUnsigned256 X(P.x);
        reduceOnceModOrder(X);  // X = x(P) mod n
        valid = X == r;
    }

    log.LogDataLong("sigValid", valid ? 1 : 0);
    return true;
}

}  // namespace ecckey
