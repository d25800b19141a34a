// COSE_Key (RFC 9052 section 7, RFC 9053 section 7.1) of key type EC2, in CBOR through libcbor:
// {1: 2, [2: kid], [3: alg], -1: crv, -2: x, -3: y, [-4: d]}, the map keys in the deterministic order of
// RFC 8949 4.2.1, x, y and d byte strings of the curve's byte length. Curves: P-256 (crv 1), P-384 (2),
// P-521 (3) and secp256k1 (8, RFC 8812); algorithms ES256 (-7), ES384 (-35), ES512 (-36), ES256K (-47).
#pragma once

namespace ecckey {

class DataBuffer;
class EccKey;
class LogBase;

// Replaces out with the COSE_Key of key, with d when writePrivate (out then sensitive), kid when kid is
// not null (kidLen bytes), and "alg" the key's ES algorithm when withAlg. Refuses another curve ("COSE
// keys take P-256, P-384, P-521 or secp256k1.") or a public key asked for d; out is then empty.
[[nodiscard]] bool toCoseKey(EccKey &key, bool writePrivate, const unsigned char *kid, unsigned kidLen,
                             bool withAlg, DataBuffer &out, LogBase &log);

// Loads a COSE_Key EC2 map (no array or map in it may claim more members than there are bytes left): a public
// key from crv, x and y, where y may be its sign bit (true: odd); a private key from d, whose point must be x
// and y. Other labels (kid, alg, key_ops, base IV) are read past. Refuses, with "Not a COSE EC2 key." and the
// key cleared: CBOR that does not decode or is not a map with kty 2, an unknown crv, a missing or mistyped
// x, y or d, an x without a y on the curve ("The COSE key's x is not on its curve."), a d whose point is not
// (x, y) ("The COSE key's d does not match its x and y."). The CBOR's copies of d are wiped.
[[nodiscard]] bool loadCoseKey(EccKey &key, const DataBuffer &cbor, LogBase &log);

}  // namespace ecckey
