// Compact JWS (RFC 7515) with the ECDSA algorithms of JWS (see JwsAlgorithm.h): the signature is raw r||s,
// each half at the curve's byte length (64, 96, 132 bytes), never DER. The payload is the caller's bytes;
// JWT claims are the caller's business.
#pragma once

namespace ecckey {

class DataBuffer;
class EccKey;
class LogBase;
class StringBuffer;

// Signs payload into token (replaced): BASE64URL(header) "." BASE64URL(payload) "." BASE64URL(r||s).
// alg null takes the key's own algorithm; header null writes {"alg":ALG}, otherwise it is written as given
// and must be a JSON object whose "alg" is ALG. The nonce is RFC 6979's, from the key and the hash. Refuses,
// logging why and leaving token empty: a public key, a curve without a JWS algorithm ("No JWS algorithm
// exists for this curve."), an algorithm of another curve ("The JWS algorithm does not belong to the
// key's curve."), a header that is not a JSON object with that "alg" ("The JWS header must be a JSON
// object whose alg is the algorithm used.").
[[nodiscard]] bool signCompactJws(EccKey &key, const char *alg, const char *header, const DataBuffer &payload,
                                  StringBuffer &token, LogBase &log);

// Checks token with key, accepting only the algorithm acceptedAlg (null: the key's own, the one an ES*
// key can have). True when the check ran, the verdict in valid and, when valid, the payload's bytes in
// payload. False, valid false and the reason logged, for a token that is not three base64url parts, a
// header that is not JSON, lists "crit" or names another "alg" ("The JWS alg is not the one accepted."),
// an accepted algorithm of another curve, or a signature that is not r||s of twice the curve's byte length
// ("The JWS signature is not r||s of the curve's width."; DER is refused).
[[nodiscard]] bool verifyCompactJws(EccKey &key, const char *acceptedAlg, const char *token,
                                    DataBuffer &payload, bool &valid, LogBase &log);

}  // namespace ecckey
