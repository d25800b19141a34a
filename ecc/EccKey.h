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
    // Empties the key: no curve (the curve keeps m_a and m_hasA, as clearEccCurve does), Q = (0, 0, 0),
    // d = 0, a public key, no PKCS #8 attributes.
    void clearEccKey();
    // Makes this key a copy of other (type, d, curve, Q and the shared PKCS #8 attributes). When memory is
    // short the key is left cleared rather than half copied. Copying a key onto itself does nothing.
    void copyFromEccKey(const EccKey &other);
    // The curve's byte length times eight (P-521 reports 528: callers size buffers from it); 0 when empty.
    unsigned get_ModulusBitLen() const;
    // Replaces out with the curve's dotted OID (empty for a cleared key, or when memory is short).
    void getCurveOid(StringBuffer &out) const;
    // EccCurve::loadCurveByOid on this key's curve; nothing else in the key changes.
    [[nodiscard]] bool loadCurveByOid(const StringBuffer &oid, LogBase &log);
    [[nodiscard]] bool isPrivate() const { return m_keyType == 1; }

    // ---- Public-key derivation and point checks (EccKeyDerive.cpp) ----
    // Q = d·G, affine. On a generic curve a scalar not below n is first reduced in place (the key keeps
    // d mod n). secp256k1 never fails: a scalar over 256 bits acts as zero and gives Q = (0, 1, 0).
    // Logs "Big integer calculations failed." or "Failed to decode curve A." when the curve's texts do not
    // parse, and "point multiply failed." when the ladder fails; Q is then undefined.
    [[nodiscard]] bool genPubKey(LogBase &log);
    // Makes this key a private key on other's curve with other's scalar (other may be this key) and
    // recomputes Q. True only when the result equals other's stored point in x, y and z. Logs "x is
    // different!", "y is different!" and "z is different!" for each coordinate that differs, then
    // "Failed."; "Failed." alone when Q cannot be computed. The key keeps the recomputed point.
    [[nodiscard]] bool regeneratePubKey(EccKey &other, LogBase &log);
    // Tests y² = x³ − 3x + b for Q: meaningful for a = −3 curves only (false for Brainpool and secp256k1
    // points). Logs "Failed to decode curve prime." or "Failed to decode curve B." (with the curve's text)
    // when a parameter does not parse; a plain false when the point is off the curve. Changes nothing.
    [[nodiscard]] bool isPoint(LogBase &log) const;

    // ---- Key validation (EccKeyCheck.cpp) ----
    // The loaders trust the point a key carries; these checks are for keys from elsewhere. Each logs the
    // first check that fails and returns false; the key is not changed.
    // The public point: not the point at infinity, affine, both coordinates in [0, p), on the curve
    // y² = x³ + a·x + b with the curve's own a, and for a hybrid point (06, 07) a form byte whose parity is
    // y's. Every catalogue curve has cofactor 1, so such a point lies in the group of order n. Logs "The key
    // has no curve." or one of "The public point is the point at infinity.", "The public point is not
    // affine.", "The public point's coordinates are not below p.", "The public point is not on the curve.",
    // "The hybrid point's form byte does not match the parity of y." after the data item "curveName".
    [[nodiscard]] bool checkPublicKey(LogBase &log) const;
    // A private key: "Must be a private key." for a public one, then checkPublicKey, then 1 <= d < n ("The
    // private scalar is not in [1, n-1].") and Q = d·G ("The public point is not d·G.").
    [[nodiscard]] bool checkPrivateKey(LogBase &log) const;

    // ---- Double-scalar multiplication (EccVerify.cpp, over arith/Mul2Add.cpp's pointMul2Add) ----
    // R = kA·A + kB·B (affine, normal form). a is null for a = −3 curves. Scalars up to 256 bytes. Runs on
    // the fixed-width field for a p of the catalogue's sizes (fixedFieldLimbs), on LibTomMath otherwise.
    // R may be A or B. False, with nothing logged, when memory is short or the sum cannot be carried to its
    // end; R is then undefined.
    [[nodiscard]] static bool mul2add(EccPoint &A, mp_int &kA, EccPoint &B, mp_int &kB, EccPoint &R,
                                      mp_int *a, mp_int &p, LogBase &log);

    // ---- Key generation (EccKeyGen.cpp) ----
    // The logger option keyword under which generateNewKey, and so the generic signers' nonces, draw
    // uniformly from [1, n − 1]. Without it the scalar is m_byteLen random bytes reduced modulo n.
    static constexpr const char *kOptDrawUniform = "DRAW_ECC_UNIFORM";
    // Makes this a new private key on the named curve with a scalar drawn from prng, then derives Q. Logs
    // the catalogue's message and "Failed to load curve by name." for an unknown name, "Failed to generate
    // random private key." when prng fails or delivers short (or, drawing uniformly, refuses 64 candidates
    // in a row). On failure the key holds the curve and whatever d was reached, and is not to be used.
    [[nodiscard]] bool generateNewKey(const StringBuffer &curveName, _tvPrng &prng, LogBase &log);
    // As generateNewKey, with d decoded from kText in encoding ("hex", "base64", "base64url") and used as it
    // stands (genPubKey reduces it on a generic curve). Logs the catalogue's message for an unknown curve
    // and "Failed to decode K." for text that does not decode.
    [[nodiscard]] bool generateNewKey2(const StringBuffer &curveName, const char *kText, const char *encoding,
                                       LogBase &log);

    // ---- ECDH (EccEcdh.cpp) ----
    // The x-coordinate of d·Q_peer, big-endian, left-padded to the curve's byte length, into out (marked
    // sensitive and cleared first). The peer point is used as given (see sharedSecretChecked). Logs "Must
    // be a private key.", "ECC curves are different" (with "privKeyCurve" and "pubKeyCurve"), "Failed to
    // decode curve prime.", "Failed to decode curve A." or "Point multiply failed."; out is empty then. On
    // secp256k1 a product at infinity gives an all-zero secret; on the generic curves it fails.
    [[nodiscard]] bool sharedSecret(EccKey &peer, DataBuffer &out, LogBase &log);
    // sharedSecret for a peer key from an untrusted source (EccKeyCheck.cpp): refuses a public key as this
    // key, a peer on another curve, a peer point that fails checkPublicKey ("The peer's public key is not
    // valid.") and a private scalar outside [1, n - 1] (whose secret is the point at infinity), then
    // computes exactly what sharedSecret computes. out is empty after a refusal.
    [[nodiscard]] bool sharedSecretChecked(EccKey &peer, DataBuffer &out, LogBase &log);

    // ---- ECDSA signing (EccSign.cpp) ----
    // Signs the first ecdsaHashLen bytes of hash into out, cleared first: DER when bAsn, else r||s padded
    // to 2·m_byteLen. The generic signer draws nonces until the minimal forms of r and s both begin below
    // 0x80; secp256k1 keys go to eccSignHashK with the cut hash. Logs "bAsn" and "inlen" (uncut) when
    // verbose. Refuses a public key ("Must be a private key.") before drawing any random byte; logs "Failed
    // to get p" or "Failed to get e" for unparsable values, "curveName" and "Failed to generate point on
    // curve." when prng fails, "ecc calc error 1" when a nonce has no inverse. out holds no signature then.
    [[nodiscard]] bool eccSignHash(const unsigned char *hash, unsigned hashLen, _tvPrng &prng, bool bAsn,
                                   DataBuffer &out, LogBase &log) const;
    // Signs the whole hash on the generic arithmetic, whatever the curve (secp256k1 included), and appends r
    // and s as two SSH mpints to out, which is not cleared. No leading-byte rule: an mpint may carry its
    // sign octet. Messages as eccSignHash; out may hold a partial blob after a failure while appending.
    [[nodiscard]] bool eccSignHash_forSsh(const unsigned char *hash, unsigned hashLen, _tvPrng &prng,
                                          DataBuffer &out, LogBase &log) const;
    // Re-encodes a signature, DER or raw of a size the reader knows, as DER appended to out. An unreadable
    // input is logged by the unpacker and encoded as it was read (r = s = 0 when nothing was). Returns the
    // encoder's verdict ("Failed to encode final ASN.1" when it fails); logs "eccAsnSigLen" when verbose.
    [[nodiscard]] static bool eccWrapSigAsn_forTls(const DataBuffer &sig, unsigned unused, DataBuffer &out,
                                                   LogBase &log);
    // Deterministic ECDSA (RFC 6979): the nonce comes from an HMAC-DRBG over d and the hash, with the HMAC
    // of hashAlg (a HashAlg of support/Hash.h; hashLen must be its digest length), so the same key and hash
    // always give the same signature and no random source is involved. Output as eccSignHash (DER, or r||s
    // padded to 2·m_byteLen), over the hash cut by the same rule, but without the leading-byte rule: the
    // result is RFC 6979's signature. On secp256k1 the fixed-width signer makes it, with low S (n − s for
    // s above n/2). Refuses a public key ("Must be a private key."), an unknown hashAlg ("Unsupported hash
    // algorithm."), a hash of another length ("The hash length does not match the hash algorithm.") and a
    // scalar outside [1, n - 1] ("The private key is not in [1, n-1]."). out is empty after a refusal.
    [[nodiscard]] bool eccSignHashDeterministic(const unsigned char *hash, unsigned hashLen, int hashAlg,
                                                bool bAsn, DataBuffer &out, LogBase &log) const;

    // ---- ECDSA verification (EccVerify.cpp) ----
    // Checks sig (DER, or raw r||s split as unpackDsaSig splits it) over the first ecdsaHashLen bytes of
    // hash. secp256k1 keys go to eccVerifyHashK before any input check. True when the check ran to its
    // end, with the verdict in valid (cleared on entry); false, valid false, for null inputs ("null
    // inputs."), an unreadable signature ("Failed to unpack ASN.1 DSA/ECDSA signature."), unparsable curve
    // texts, and "EccVerifyError" 1 to 12 (r or s out of range is 1; a sum the joint-table method cannot
    // carry to its end is 11). Q is trusted as loaded.
    [[nodiscard]] bool eccVerifyHash(const unsigned char *sig, unsigned sigLen, bool split,
                                     const unsigned char *hash, unsigned hashLen, bool &valid, LogBase &log,
                                     unsigned rLen) const;

    // ---- secp256k1 signer and verifier (EccEcdsaK.cpp, over secp256k1/Secp256k1Ecdsa.h) ----
    // Signs a 32-byte hash into out, cleared first, as DER or as 64 bytes r||s, in constant time. Refuses a
    // public key ("Must be a private key.") and another hash length ("secp256k1 must use SHA256"); a null
    // hash fails silently. Draws up to 100 nonces (read least significant byte first) and fails silently
    // after 100 refused ones; a failing generator logs "Failed to generate random nonce.", and memory
    // running out while r and s are converted "Big integer calculations failed.".
    [[nodiscard]] bool eccSignHashK(const unsigned char *hash, unsigned hashLen, _tvPrng &prng, bool bAsn,
                                    DataBuffer &out, LogBase &log) const;
    // Checks sig over a 32-byte hash. True, with the verdict in valid and "sigValid" logged, for every
    // signature it could examine (r or s out of [1, n), a point off the curve and a wrong signature are an
    // invalid verdict). False, valid false, for null inputs ("null inputs."), another hash length ("hash
    // length must be 32"), an unreadable signature ("Failed to unpack ASN.1 DSA/ECC signature.") and values
    // wider than 256 bits (silently).
    [[nodiscard]] bool eccVerifyHashK(const unsigned char *sig, unsigned sigLen, bool split,
                                      const unsigned char *hash, unsigned hashLen, bool &valid, LogBase &log,
                                      unsigned rLen) const;

    // ---- X9.63 points and raw keys (EccRawKey.cpp) ----
    // Raw keys carry no curve: the size selects it (65/32 bytes P-256, 97/48 P-384, 133/66 P-521). The
    // loaders clear the key first and do not clear it again on failure: what was stored before the failing
    // step stays.
    // Appends 04 || X || Y, each coordinate m_byteLen bytes (EccPoint::exportEccPoint).
    [[nodiscard]] bool exportEccPoint(DataBuffer &out, LogBase &log) const;
    // A public key on the named curve (any catalogue name, alias or OID) with the X9.63 point given, not
    // checked against the curve. Logs the catalogue's message, or "Failed to load ECC point.".
    [[nodiscard]] bool loadEcPubKeyByCurveAndPoint(const char *curveName, const DataBuffer &point,
                                                   LogBase &log);
    // A public key from a bare 04 || X || Y of 65, 97 or 133 bytes. Logs "Not a raw ECC public key." when
    // the first byte is not 04, "Invalid ECC public key size." for another size, "Failed to load ECC
    // point."; an empty input fails silently.
    [[nodiscard]] bool loadEccPublicRaw(const DataBuffer &in, LogBase &log);
    // A private key from a bare big-endian scalar of 32, 48 or 66 bytes (32 bytes is secp256k1 when
    // isSecp256k1, else P-256), with Q derived. Logs "Failed to parse K", "Invalid ECC key size." (the
    // scalar is kept, no curve loaded) or "Failed to generate EC public key from private.".
    [[nodiscard]] bool loadEccPrivateRaw(const DataBuffer &in, bool isSecp256k1, LogBase &log);
    // Appends d as 2·m_byteLen lower-case hex digits to privHex (all zeros for a public key) and
    // "04" || X || Y in the same form to pubHex. Logs "Out of memory writing the raw key." when an append
    // fails; the outputs may then hold part of the text.
    [[nodiscard]] bool toRawHex(StringBuffer &privHex, StringBuffer &pubHex, LogBase &log) const;

    // ---- ASN.1 import (EccAsnImport.cpp) ----
    // Decodes der (marked sensitive: it may carry d) and loads the SubjectPublicKeyInfo, PKCS #8
    // PrivateKeyInfo or SEC 1 ECPrivateKey it holds, told apart by shape. Explicit parameters are
    // recognised by their base point alone (P-256, P-384, P-521, secp256k1). Logs "Failed to decode ECC key
    // ASN.1" or what the loader refuses, and then dumps der to the log ("der"). Neither the point nor d is
    // validated. After a failure the key holds what was loaded before the failing step.
    [[nodiscard]] bool loadEccDer(DataBuffer &der, LogBase &log);
    // loadEccDer for keys from untrusted sources (EccDerChecked.cpp). Also refuses explicit parameters that
    // differ in any field from the catalogue curve they are read as (field, a, b, base point, order,
    // cofactor), two different curves in one key, a point encoding of another length than the curve's,
    // and a key that fails checkPublicKey or checkPrivateKey. Logs why; the key is cleared after a refusal.
    [[nodiscard]] bool loadEccDerChecked(DataBuffer &der, LogBase &log);
    // loadEccDer on a decoded tree: element 0 a SEQUENCE is a SubjectPublicKeyInfo, element 1 a SEQUENCE a
    // PKCS #8, anything else a bare ECPrivateKey. Logs "Invalid ASN.1 for ECC key." (after "Failed to
    // parse AlgorithmIdentifier" or "The ECC curve OID is unknown." where those apply), "Not an ECC key."
    // for another algorithm, "Expected an ASN.1 bitstring." or the part loader's message.
    [[nodiscard]] bool loadAnyEccAsn(_tvAsn1 *root, LogBase &log);
    // Reads { OID algorithm, OID namedCurve | SEQUENCE ECParameters } into algOid and curveOid (both
    // cleared first); explicit parameters give the OID of the curve whose base point they hold. False,
    // with nothing logged (the callers say what failed), for any other shape or an unknown base point.
    [[nodiscard]] bool parseAldId(_tvAsn1 *algId, StringBuffer &algOid, StringBuffer &curveOid,
                                  LogBase &log) const;
    // A public key from the BIT STRING of a SubjectPublicKeyInfo on the curve curveOid names; the point is
    // not checked. Logs "No bitstring for ECC public key.", the catalogue's message or "Failed to load ECC
    // point.". After a failure the key holds what was loaded before the failing step.
    [[nodiscard]] bool loadEccPublicAsn(_tvAsn1 *bitString, const StringBuffer &curveOid, LogBase &log);
    // A SEC 1 ECPrivateKey { INTEGER 1, OCTET STRING d, [0] OID?, [1] BIT STRING? }, under the log context
    // "loadEccPrivateDer". The wrappers may come in any order; with no [0] the caller's passedCurveOid is
    // used (and then overrides an earlier failure: the key loads with whatever d holds), with no [1] Q is
    // computed from d. Logs the step that failed ("Did not get octets for K", "Failed to get K bytes",
    // "Failed to parse K", "Failed to load curve by OID.", "Failed to load ECC point.", "curve OID not
    // found.") and then "Invalid ASN.1 for ECC private key."; the key is cleared after a failure.
    [[nodiscard]] bool loadEccPrivateAsn(_tvAsn1 *ecPrivateKey, const StringBuffer &passedCurveOid,
                                         LogBase &log);

    // ---- DER and PEM export (EccDerExport.cpp) ----
    // The DER writers mark out sensitive and clear it first, and return false without a message of their
    // own when memory is short or the point does not export; out is then not a valid encoding.
    // SubjectPublicKeyInfo with the named-curve OID.
    [[nodiscard]] bool toPublicKeyDer_shortFmt(DataBuffer &out, LogBase &log) const;
    // SubjectPublicKeyInfo with explicit parameters for P-256, P-384, P-521 and secp256k1 (the template's
    // base point replaced by Q); the short form for every other curve. Log context "toPublicKeyDer".
    [[nodiscard]] bool toPublicKeyDer_longFmt(DataBuffer &out, LogBase &log) const;
    // SEC 1 ECPrivateKey { 1, d, [0] curve OID, [1] Q only with the option "EMIT_ECC_PKCS1_PUBKEY" }. Does
    // not look at m_keyType: a zero d (a public key) is refused with "k is empty".
    [[nodiscard]] bool toEccPkcs1PrivateKeyDer(DataBuffer &out, LogBase &log) const;
    // PKCS #8 PrivateKeyInfo { 0, { id-ecPublicKey, curve OID }, OCTET STRING ECPrivateKey } and the key's
    // PKCS #8 attributes, if any. out is wiped first. Logs "Not a private key." for a public key.
    [[nodiscard]] bool toEccPkcs8PrivateKeyDer(DataBuffer &out, LogBase &log) const;
    // ECPrivateKey { 1, d } alone, as PKCS #11 takes it (curve and point travel as separate attributes).
    // Logs "k is empty" for a zero d.
    [[nodiscard]] bool toEccPkcs1PrivateKeyDer_forPkcs11(DataBuffer &out, LogBase &log) const;
    // Appends the short or long SubjectPublicKeyInfo as PEM "PUBLIC KEY".
    [[nodiscard]] bool toEccPublicKeyPem(bool shortFormat, StringBuffer &out, LogBase &log) const;
    // Appends SEC 1 (pkcs1) or PKCS #8 DER as PEM under "EC PRIVATE KEY" in both cases.
    [[nodiscard]] bool toEccPrivateKeyPem(bool pkcs1, StringBuffer &out, LogBase &log) const;
    // Appends the big-endian bytes of a (d, or a coordinate of Q) as the writers emit it in SEC 1, PKCS #8,
    // PKCS #11 and JWK: minimal by default (mpint_to_db, as always); zero-extended to m_byteLen when the
    // logger's option text holds "EMIT_ECC_FIXED_LENGTH", the lengths RFC 5915 and RFC 7518 fix and strict
    // readers insist on, read from a's digits without a temporary copy. False when memory is short or a
    // does not fit.
    [[nodiscard]] bool appendEmittedInteger(const mp_int &a, DataBuffer &out, const LogBase &log) const;

    // ---- JWK and XML (EccJwkXml.cpp) ----
    // The writers build fixed texts without whitespace (members in the order shown); on failure out is left
    // empty (wiped when it held d) and nothing is logged but the DER writer's message.
    // Appends the JWK "crv": "P-256", "P-384" or "P-521" by OID, else the catalogue name. False when memory
    // is short.
    [[nodiscard]] bool getJwkCurveName(StringBuffer &out, LogBase &log) const;
    // Replaces out with {"kty":"EC","crv":C,"x":X,"y":Y,"d":D}; integers minimal base64url, or m_byteLen
    // bytes with "EMIT_ECC_FIXED_LENGTH".
    [[nodiscard]] bool toEccPrivateKeyJwk(StringBuffer &out, LogBase &log) const;
    // Replaces out with {"kty":"EC","crv":C,"x":X,"y":Y}, or with crvFirst {"crv":C,"kty":"EC",...}.
    [[nodiscard]] bool toEccPublicKeyJwk(StringBuffer &out, bool crvFirst, LogBase &log) const;
    // Replaces out with <ECCKeyValue curve="NAME">base64 of the SEC 1 DER</ECCKeyValue>.
    [[nodiscard]] bool toEccPrivateKeyXml(StringBuffer &out, LogBase &log) const;
    // Replaces out with <ECCPublicKey curve="NAME" x="HEX" y="HEX">base64 of the long-form SPKI
    // </ECCPublicKey>, x and y each 2·m_byteLen upper-case hex digits.
    [[nodiscard]] bool toEccPublicKeyXml(StringBuffer &out, LogBase &log) const;
    // Replaces out with the XML Signature 1.1 ECKeyValue: the curve OID as "urn:oid:..." and the
    // uncompressed point in base64.
    [[nodiscard]] bool toEccPublicKeyXmlDSig(StringBuffer &out, LogBase &log) const;
    // Reads "d" (when present: a private key), "crv" (any catalogue name), "x" and "y"; the point is not
    // validated. Logs "JWK crv member in ECC key is missing", "Invalid ECC curve name" (with "crv") or the
    // member reader's message. A key whose x or y is missing is left with d and the curve loaded.
    [[nodiscard]] bool loadAnyJwk(ClsJsonObject &json, LogBase &log);
    // An element with a PublicKey child (any prefix) is an ECKeyValue, loaded as loadEcPubKeyByCurveAndPoint
    // loads it; any other element holds base64 DER in its text, loaded by loadEccDer. Messages are theirs.
    [[nodiscard]] bool loadAnyXml(ClsXml &xml, LogBase &log);

    // ---- SSH and PuTTY (EccSsh.cpp) ----
    // Replaces out with string("ecdsa-sha2-" + id) || string(id) || string(04 || X || Y), id being
    // EccCurve::puttyCurveName. False when the point does not export (out then holds the two names) or,
    // with "Out of memory writing the SSH key blob.", when memory is short.
    [[nodiscard]] bool puttyPublicKeyBlob(DataBuffer &out, LogBase &log) const;
    // Replaces out with the digest of puttyPublicKeyBlob under hashAlg. The result says whether the blob
    // was built: an unknown hashAlg leaves out empty and still returns true.
    [[nodiscard]] bool calc_fingerprint_digest(int hashAlg, DataBuffer &out, LogBase &log) const;
    // Replaces out with "ecdsa-sha2-<id> <bits> <md5 pairs>", all lower case, bits being m_byteLen·8 (528
    // for P-521: callers compare with lines written earlier). False with out untouched when the blob cannot
    // be built; "Out of memory writing the fingerprint." and out empty when memory is short.
    [[nodiscard]] bool calc_fingerprint(StringBuffer &out, LogBase &log) const;
    // A key on the named curve with Q from pubPoint and, when privBlob is not empty (marked sensitive), d
    // from it: one SSH mpint when shorter than 57 bytes, else the four fields curve name, alternative name,
    // point (not used) and d. Logs the catalogue's message, "Failed to parse private key mp_int", "no long
    // curve name", "no alt curve name", "no embedded ecc point", "no private key within ecdsa private key
    // blob", "Failed to parse private key bytes" or "Failed to load ECC point"; the key then holds what was
    // loaded before the failing step.
    [[nodiscard]] bool loadPrivateFromPuttySsh(const char *curveName, const DataBuffer &pubPoint,
                                               DataBuffer &privBlob, LogBase &log);

    int m_keyType;  // 0 public, 1 private
    EccCurve m_curve;
    EccPoint m_pubPoint;  // Q, affine (Z = 1) between operations
    mp_int m_privKey;     // d; zero for a public key

  private:
    // The refusals both ECDH entry points begin with, in this order: "Must be a private key." for a public
    // key, "ECC curves are different" (with "privKeyCurve" and "pubKeyCurve") for a peer on another curve.
    [[nodiscard]] bool ecdhKeysMatch(const EccKey &peer, LogBase &log) const;
};

}  // namespace ecckey
