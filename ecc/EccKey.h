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
    [[nodiscard]] bool loadCurveByOid(const StringBuffer &oid, LogBase &log);
    [[nodiscard]] bool isPrivate() const { return m_keyType == 1; }

    // ---- Public-key derivation and point checks (EccKeyDerive.cpp) ----
    // Q = d·G. On a generic curve a scalar not below n is first reduced in place.
    [[nodiscard]] bool genPubKey(LogBase &log);
    // Makes this key a private key on other's curve with other's scalar; true only when the recomputed Q
    // equals other's stored point exactly.
    [[nodiscard]] bool regeneratePubKey(EccKey &other, LogBase &log);
    // Tests y² = x³ − 3x + b: meaningful for a = −3 curves only (false for Brainpool and secp256k1 points).
    [[nodiscard]] bool isPoint(LogBase &log);

    // ---- Key validation (EccKeyCheck.cpp) ----
    // The loaders trust the point a key carries; these checks are for keys from elsewhere. Each logs the
    // first check that fails and returns false; the key is not changed.
    // The public point: not the point at infinity, affine, both coordinates in [0, p), on the curve
    // y² = x³ + a·x + b with the curve's own a, and for a hybrid point (06, 07) a form byte whose parity is
    // y's. Every catalogue curve has cofactor 1, so such a point lies in the group of order n.
    [[nodiscard]] bool checkPublicKey(LogBase &log) const;
    // A private key: checkPublicKey, then 1 <= d < n and Q = d·G.
    [[nodiscard]] bool checkPrivateKey(LogBase &log) const;

    // ---- Double-scalar multiplication (arith/Mul2Add.cpp) ----
    // R = kA·A + kB·B (affine, normal form). a is null for a = −3 curves. Scalars up to 256 bytes. Runs on
    // the fixed-width field for a p of the catalogue's sizes (fixedFieldLimbs), on LibTomMath otherwise.
    [[nodiscard]] static bool mul2add(EccPoint &A, mp_int &kA, EccPoint &B, mp_int &kB, EccPoint &R,
                                      mp_int *a, mp_int &p, LogBase &log);

    // ---- Key generation (EccKeyGen.cpp) ----
    // The logger option keyword under which generateNewKey, and so the generic signers' nonces, draw
    // uniformly from [1, n − 1]. Without it the scalar is m_byteLen random bytes reduced modulo n.
    static constexpr const char *kOptDrawUniform = "DRAW_ECC_UNIFORM";
    [[nodiscard]] bool generateNewKey(const StringBuffer &curveName, _tvPrng &prng, LogBase &log);
    [[nodiscard]] bool generateNewKey2(const StringBuffer &curveName, const char *kText, const char *encoding,
                                       LogBase &log);

    // ---- ECDH (EccEcdh.cpp) ----
    // The x-coordinate of d·Q_peer, big-endian, left-padded to the curve's byte length.
    [[nodiscard]] bool sharedSecret(EccKey &peer, DataBuffer &out, LogBase &log);
    // sharedSecret for a peer key from an untrusted source (EccKeyCheck.cpp): refuses a public key as this
    // key, a peer on another curve, a peer point that fails checkPublicKey and a private scalar outside [1, n
    // - 1] (whose secret is the point at infinity), then computes exactly what sharedSecret computes. out is
    // empty after a refusal.
    [[nodiscard]] bool sharedSecretChecked(EccKey &peer, DataBuffer &out, LogBase &log);

    // ---- ECDSA signing (EccSign.cpp) ----
    [[nodiscard]] bool eccSignHash(const unsigned char *hash, unsigned hashLen, _tvPrng &prng, bool bAsn,
                                   DataBuffer &out, LogBase &log);
    [[nodiscard]] bool eccSignHash_forSsh(const unsigned char *hash, unsigned hashLen, _tvPrng &prng,
                                          DataBuffer &out, LogBase &log);
    [[nodiscard]] static bool eccWrapSigAsn_forTls(const DataBuffer &sig, unsigned unused, DataBuffer &out,
                                                   LogBase &log);
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
    [[nodiscard]] bool eccVerifyHash(const unsigned char *sig, unsigned sigLen, bool split,
                                     const unsigned char *hash, unsigned hashLen, bool &valid, LogBase &log,
                                     unsigned rLen);

    // ---- secp256k1 signer and verifier (secp256k1/Secp256k1Ecdsa.cpp) ----
    [[nodiscard]] bool eccSignHashK(const unsigned char *hash, unsigned hashLen, _tvPrng &prng, bool bAsn,
                                    DataBuffer &out, LogBase &log);
    [[nodiscard]] bool eccVerifyHashK(const unsigned char *sig, unsigned sigLen, bool split,
                                      const unsigned char *hash, unsigned hashLen, bool &valid, LogBase &log,
                                      unsigned rLen);

    // ---- X9.63 points and raw keys (EccRawKey.cpp) ----
    [[nodiscard]] bool exportEccPoint(DataBuffer &out, LogBase &log) const;
    [[nodiscard]] bool loadEcPubKeyByCurveAndPoint(const char *curveName, const DataBuffer &point,
                                                   LogBase &log);
    [[nodiscard]] bool loadEccPublicRaw(const DataBuffer &in, LogBase &log);
    [[nodiscard]] bool loadEccPrivateRaw(const DataBuffer &in, bool isSecp256k1, LogBase &log);
    [[nodiscard]] bool toRawHex(StringBuffer &privHex, StringBuffer &pubHex, LogBase &log);

    // ---- ASN.1 import (EccAsnImport.cpp) ----
    [[nodiscard]] bool loadEccDer(DataBuffer &der, LogBase &log);
    // loadEccDer for keys from untrusted sources (EccDerChecked.cpp). Also refuses explicit parameters that
    // differ in any field from the catalogue curve they are read as (field, a, b, base point, order,
    // cofactor), two different curves in one key, a point encoding of another length than the curve's,
    // and a key that fails checkPublicKey or checkPrivateKey. Logs why; the key is cleared after a refusal.
    [[nodiscard]] bool loadEccDerChecked(DataBuffer &der, LogBase &log);
    [[nodiscard]] bool loadAnyEccAsn(_tvAsn1 *root, LogBase &log);
    [[nodiscard]] bool parseAldId(_tvAsn1 *algId, StringBuffer &algOid, StringBuffer &curveOid, LogBase &log);
    [[nodiscard]] bool loadEccPublicAsn(_tvAsn1 *bitString, const StringBuffer &curveOid, LogBase &log);
    [[nodiscard]] bool loadEccPrivateAsn(_tvAsn1 *ecPrivateKey, const StringBuffer &passedCurveOid,
                                         LogBase &log);

    // ---- DER and PEM export (EccDerExport.cpp) ----
    [[nodiscard]] bool toPublicKeyDer_shortFmt(DataBuffer &out, LogBase &log);
    [[nodiscard]] bool toPublicKeyDer_longFmt(DataBuffer &out, LogBase &log);
    [[nodiscard]] bool toEccPkcs1PrivateKeyDer(DataBuffer &out, LogBase &log);
    [[nodiscard]] bool toEccPkcs8PrivateKeyDer(DataBuffer &out, LogBase &log);
    [[nodiscard]] bool toEccPkcs1PrivateKeyDer_forPkcs11(DataBuffer &out, LogBase &log);
    [[nodiscard]] bool toEccPublicKeyPem(bool shortFormat, StringBuffer &out, LogBase &log);
    [[nodiscard]] bool toEccPrivateKeyPem(bool pkcs1, StringBuffer &out, LogBase &log);
    // Appends the big-endian bytes of a (d, or a coordinate of Q) as the writers emit it in SEC 1, PKCS #8,
    // PKCS #11 and JWK: minimal by default (mpint_to_db, as always); zero-extended to m_byteLen when the
    // logger's option text holds "EMIT_ECC_FIXED_LENGTH", the lengths RFC 5915 and RFC 7518 fix and strict
    // readers insist on, read from a's digits without a temporary copy. False when memory is short or a
    // does not fit.
    [[nodiscard]] bool appendEmittedInteger(const mp_int &a, DataBuffer &out, const LogBase &log) const;

    // ---- JWK and XML (EccJwkXml.cpp) ----
    [[nodiscard]] bool getJwkCurveName(StringBuffer &out, LogBase &log) const;
    [[nodiscard]] bool toEccPrivateKeyJwk(StringBuffer &out, LogBase &log);
    [[nodiscard]] bool toEccPublicKeyJwk(StringBuffer &out, bool crvFirst, LogBase &log);
    [[nodiscard]] bool toEccPrivateKeyXml(StringBuffer &out, LogBase &log);
    [[nodiscard]] bool toEccPublicKeyXml(StringBuffer &out, LogBase &log);
    [[nodiscard]] bool toEccPublicKeyXmlDSig(StringBuffer &out, LogBase &log);
    [[nodiscard]] bool loadAnyJwk(ClsJsonObject &json, LogBase &log);
    [[nodiscard]] bool loadAnyXml(ClsXml &xml, LogBase &log);

    // ---- SSH and PuTTY (EccSsh.cpp) ----
    [[nodiscard]] bool puttyPublicKeyBlob(DataBuffer &out, LogBase &log);
    [[nodiscard]] bool calc_fingerprint_digest(int hashAlg, DataBuffer &out, LogBase &log);
    [[nodiscard]] bool calc_fingerprint(StringBuffer &out, LogBase &log);
    [[nodiscard]] bool loadPrivateFromPuttySsh(const char *curveName, const DataBuffer &pubPoint,
                                               DataBuffer &privBlob, LogBase &log);

    int m_keyType;  // 0 public, 1 private
    EccCurve m_curve;
    EccPoint m_pubPoint;  // Q, affine (Z = 1) between operations
    mp_int m_privKey;     // d; zero for a public key
};

}  // namespace ecckey
