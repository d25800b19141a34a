// EccKey: one elliptic-curve key: a named curve, the public point Q and, for a private key, the scalar d.
//
// Every public operation takes a logger, opens a named log context, and reports failure by returning
// false after logging why. Nothing is thrown. Keys on "secp256k1" are signed, verified, derived and
// agreed on by the constant-time fixed-width engine (ecc/secp256k1/); every other curve uses the
// generic Montgomery/Jacobian arithmetic (ecc/arith/), whose secret scalars (d, k and what the signer
// computes from them) are handled on fixed-width limbs in constant time, and its public values over
// LibTomMath, not in constant time.
//
// A key object is used by one thread at a time; distinct keys may be used in parallel.
#pragma once

#include "ecc/EccCurve.h"
#include "ecc/EccPoint.h"
#include "support/DataBuffer.h"
#include "support/KeyBase.h"
#include "support/MpInt.h"
#include "support/StringBuffer.h"

namespace ecckey {

class LogBase;
class _tvPrng;
class _tvAsn1;
class ClsJsonObject;
class ClsXml;

class EccKey : public KeyBase {
  public:
    EccKey();
    ~EccKey() override;

    // A new key from the heap, or null when allocation fails.
    static EccKey *createNewObject();

    // ---- Records (EccKey.cpp) ----
    void clearEccKey();
    void copyFromEccKey(const EccKey &other);
    // The curve's byte length times eight (P-521 reports 528: callers size buffers from it); 0 when empty.
    unsigned get_ModulusBitLen() const;
    void getCurveOid(StringBuffer &out) const;
    bool loadCurveByOid(const StringBuffer &oid, LogBase &log);
    bool isPrivate() const { return m_keyType == 1; }

    // ---- Public-key derivation and point checks (EccKeyDerive.cpp) ----
    // Q = d·G. On a generic curve a scalar not below n is first reduced in place.
    bool genPubKey(LogBase &log);
    // Makes this key a private key on other's curve with other's scalar; true only when the recomputed Q
    // equals other's stored point exactly.
    bool regeneratePubKey(EccKey &other, LogBase &log);
    // Tests y² = x³ − 3x + b: meaningful for a = −3 curves only (false for Brainpool and secp256k1 points).
    bool isPoint(LogBase &log);

    // ---- Key validation (EccKeyCheck.cpp) ----
    // The loaders trust the point a key carries; these checks are for keys from elsewhere. Each logs the
    // first check that fails and returns false; the key is not changed.
    // The public point: not the point at infinity, affine, both coordinates in [0, p), on the curve
    // y² = x³ + a·x + b with the curve's own a, and for a hybrid point (06, 07) a form byte whose parity is
    // y's. Every catalogue curve has cofactor 1, so such a point lies in the group of order n.
    [[nodiscard]] bool checkPublicKey(LogBase &log) const;
    // A private key: checkPublicKey, then 1 <= d < n and Q = d·G.
    [[nodiscard]] bool checkPrivateKey(LogBase &log) const;

    // ---- Double-scalar multiplication (EccVerify.cpp, over arith/Mul2Add.cpp's pointMul2Add) ----
    // R = kA·A + kB·B (affine, normal form). a is null for a = −3 curves. Scalars up to 256 bytes. Runs on
    // the fixed-width field for a p of the catalogue's sizes (fixedFieldLimbs), on LibTomMath otherwise.
    static bool mul2add(EccPoint &A, mp_int &kA, EccPoint &B, mp_int &kB, EccPoint &R, mp_int *a, mp_int &p,
                        LogBase &log);

    // ---- Key generation (EccKeyGen.cpp) ----
    // The logger option keyword under which generateNewKey, and so the generic signers' nonces, draw
    // uniformly from [1, n − 1]. Without it the scalar is m_byteLen random bytes reduced modulo n.
    static constexpr const char *kOptDrawUniform = "DRAW_ECC_UNIFORM";
    bool generateNewKey(const StringBuffer &curveName, _tvPrng &prng, LogBase &log);
    bool generateNewKey2(const StringBuffer &curveName, const char *kText, const char *encoding,
                         LogBase &log);

    // ---- ECDH (EccEcdh.cpp) ----
    // The x-coordinate of d·Q_peer, big-endian, left-padded to the curve's byte length.
    bool sharedSecret(EccKey &peer, DataBuffer &out, LogBase &log);
    // sharedSecret for a peer key from an untrusted source (EccKeyCheck.cpp): refuses a public key as this
    // key, a peer on another curve, a peer point that fails checkPublicKey and a private scalar outside [1, n
    // - 1] (whose secret is the point at infinity), then computes exactly what sharedSecret computes. out is
    // empty after a refusal.
    [[nodiscard]] bool sharedSecretChecked(EccKey &peer, DataBuffer &out, LogBase &log);

    // ---- ECDSA signing (EccSign.cpp) ----
    bool eccSignHash(const unsigned char *hash, unsigned hashLen, _tvPrng &prng, bool bAsn, DataBuffer &out,
                     LogBase &log);
    bool eccSignHash_forSsh(const unsigned char *hash, unsigned hashLen, _tvPrng &prng, DataBuffer &out,
                            LogBase &log);
    static bool eccWrapSigAsn_forTls(const DataBuffer &sig, unsigned unused, DataBuffer &out, LogBase &log);
    // Deterministic ECDSA (RFC 6979): the nonce comes from an HMAC-DRBG over d and the hash, with the HMAC
    // of hashAlg (a HashAlg of support/Hash.h; hashLen must be its digest length), so the same key and hash
    // always give the same signature and no random source is involved. Output as eccSignHash (DER, or r||s
    // padded to 2·m_byteLen), over the hash cut by the same rule, but without the leading-byte rule: the
    // result is RFC 6979's signature. On secp256k1 the fixed-width signer makes it, with low S (n − s for
    // s above n/2). Refuses a public key, an unknown hashAlg, a hash of another length and a scalar outside
    // [1, n - 1], each with its message.
    [[nodiscard]] bool eccSignHashDeterministic(const unsigned char *hash, unsigned hashLen, int hashAlg,
                                                bool bAsn, DataBuffer &out, LogBase &log);

    // ---- ECDSA verification (EccVerify.cpp) ----
    // Returns true when the check could be carried out; the verdict is in valid (cleared on entry).
    bool eccVerifyHash(const unsigned char *sig, unsigned sigLen, bool split, const unsigned char *hash,
                       unsigned hashLen, bool &valid, LogBase &log, unsigned rLen);

    // ---- secp256k1 signer and verifier (EccEcdsaK.cpp, over secp256k1/Secp256k1Ecdsa.h) ----
    bool eccSignHashK(const unsigned char *hash, unsigned hashLen, _tvPrng &prng, bool bAsn, DataBuffer &out,
                      LogBase &log);
    bool eccVerifyHashK(const unsigned char *sig, unsigned sigLen, bool split, const unsigned char *hash,
                        unsigned hashLen, bool &valid, LogBase &log, unsigned rLen);

    // ---- X9.63 points and raw keys (EccRawKey.cpp) ----
    bool exportEccPoint(DataBuffer &out, LogBase &log) const;
    bool loadEcPubKeyByCurveAndPoint(const char *curveName, const DataBuffer &point, LogBase &log);
    bool loadEccPublicRaw(const DataBuffer &in, LogBase &log);
    bool loadEccPrivateRaw(const DataBuffer &in, bool isSecp256k1, LogBase &log);
    bool toRawHex(StringBuffer &privHex, StringBuffer &pubHex, LogBase &log);

    // ---- ASN.1 import (EccAsnImport.cpp) ----
    bool loadEccDer(DataBuffer &der, LogBase &log);
    // loadEccDer for keys from untrusted sources (EccDerChecked.cpp). Also refuses explicit parameters that
    // differ in any field from the catalogue curve they are read as (field, a, b, base point, order,
    // cofactor), two different curves in one key, a point encoding of another length than the curve's,
    // and a key that fails checkPublicKey or checkPrivateKey. Logs why; the key is cleared after a refusal.
    [[nodiscard]] bool loadEccDerChecked(DataBuffer &der, LogBase &log);
    bool loadAnyEccAsn(_tvAsn1 *root, LogBase &log);
    bool parseAldId(_tvAsn1 *algId, StringBuffer &algOid, StringBuffer &curveOid, LogBase &log);
    bool loadEccPublicAsn(_tvAsn1 *bitString, const StringBuffer &curveOid, LogBase &log);
    bool loadEccPrivateAsn(_tvAsn1 *ecPrivateKey, const StringBuffer &passedCurveOid, LogBase &log);

    // ---- DER and PEM export (EccDerExport.cpp) ----
    bool toPublicKeyDer_shortFmt(DataBuffer &out, LogBase &log);
    bool toPublicKeyDer_longFmt(DataBuffer &out, LogBase &log);
    bool toEccPkcs1PrivateKeyDer(DataBuffer &out, LogBase &log);
    bool toEccPkcs8PrivateKeyDer(DataBuffer &out, LogBase &log);
    bool toEccPkcs1PrivateKeyDer_forPkcs11(DataBuffer &out, LogBase &log);
    bool toEccPublicKeyPem(bool shortFormat, StringBuffer &out, LogBase &log);
    bool toEccPrivateKeyPem(bool pkcs1, StringBuffer &out, LogBase &log);
    // Appends the big-endian bytes of a (d, or a coordinate of Q) as the writers emit it in SEC 1, PKCS #8,
    // PKCS #11 and JWK: minimal by default (mpint_to_db, as always); zero-extended to m_byteLen when the
    // logger's option text holds "EMIT_ECC_FIXED_LENGTH", the lengths RFC 5915 and RFC 7518 fix and strict
    // readers insist on, read from a's digits without a temporary copy. False when memory is short or a
    // does not fit.
    [[nodiscard]] bool appendEmittedInteger(const mp_int &a, DataBuffer &out, const LogBase &log) const;

    // ---- JWK and XML (EccJwkXml.cpp) ----
    void getJwkCurveName(StringBuffer &out, LogBase &log) const;
    bool toEccPrivateKeyJwk(StringBuffer &out, LogBase &log);
    bool toEccPublicKeyJwk(StringBuffer &out, bool crvFirst, LogBase &log);
    bool toEccPrivateKeyXml(StringBuffer &out, LogBase &log);
    bool toEccPublicKeyXml(StringBuffer &out, LogBase &log);
    bool toEccPublicKeyXmlDSig(StringBuffer &out, LogBase &log);
    bool loadAnyJwk(ClsJsonObject &json, LogBase &log);
    bool loadAnyXml(ClsXml &xml, LogBase &log);

    // ---- SSH and PuTTY (EccSsh.cpp) ----
    bool puttyPublicKeyBlob(DataBuffer &out, LogBase &log);
    bool calc_fingerprint_digest(int hashAlg, DataBuffer &out, LogBase &log);
    bool calc_fingerprint(StringBuffer &out, LogBase &log);
    bool loadPrivateFromPuttySsh(const char *curveName, const DataBuffer &pubPoint, DataBuffer &privBlob,
                                 LogBase &log);

    int m_keyType;  // 0 public, 1 private
    EccCurve m_curve;
    EccPoint m_pubPoint;  // Q, affine (Z = 1) between operations
    mp_int m_privKey;     // d; zero for a public key
};

}  // namespace ecckey
