// Key derivation from an ECDH shared secret: ANSI X9.63, the NIST SP 800-56A single-step (Concat) KDF as
// JWE ECDH-ES uses it (RFC 7518 section 4.6), and HKDF (RFC 5869), each over SHA-224, SHA-256, SHA-384 or
// SHA-512. libcrypto's EVP_KDF does the work ("X963KDF", "SSKDF", "HKDF"); it keeps no copy of the secret
// once its context is freed.
#pragma once

namespace ecckey {

class DataBuffer;
class EccKey;
class LogBase;

enum class EcdhKdfKind { X963, Concat, Hkdf };

struct EcdhKdfParams {
    EcdhKdfKind kind = EcdhKdfKind::Hkdf;
    int hashAlg = 0;                   // a HashAlg of the SHA-2 family
    unsigned outLen = 0;               // bytes to derive, 1 or more
    const DataBuffer *info = nullptr;  // X9.63 SharedInfo, Concat OtherInfo, HKDF info; may be null
    const DataBuffer *salt = nullptr;  // HKDF only (absent: a hash length of zeros); may be null
};

// Reads a KDF name such as "x963:sha256", "concat:sha384" or "hkdf:sha512" (lower case; the hashes
// sha224, sha256, sha384, sha512). False, nothing logged, for any other text.
[[nodiscard]] bool parseEcdhKdfName(const char *name, EcdhKdfKind &kind, int &hashAlg);

// Derives params.outLen bytes from secret into out (marked sensitive, cleared first). Refuses, with a
// logged reason and out empty: an empty secret, a hash outside SHA-2, an output length of 0, HKDF beyond
// 255 hash lengths, salt on a KDF other than HKDF, and a failing libcrypto call.
[[nodiscard]] bool deriveFromSecret(const DataBuffer &secret, const EcdhKdfParams &params, DataBuffer &out,
                                    LogBase &log);

// The checked ECDH secret of key and peer (EccKey::sharedSecretChecked), then deriveFromSecret; the raw
// secret is wiped before return. On failure out is empty and the log says why.
[[nodiscard]] bool agreeAndDerive(EccKey &key, EccKey &peer, const EcdhKdfParams &params, DataBuffer &out,
                                  LogBase &log);

// RFC 7518 section 4.6.2 OtherInfo for JWE ECDH-ES: AlgorithmID, PartyUInfo and PartyVInfo each as a
// 32-bit big-endian length and the bytes, then SuppPubInfo, keyLenBits as 32 bits. algId is the "enc"
// value (direct agreement) or the "alg" value (key wrapping). Appends to out; false when memory runs out.
[[nodiscard]] bool jweConcatOtherInfo(const char *algId, const DataBuffer &partyU, const DataBuffer &partyV,
                                      unsigned keyLenBits, DataBuffer &out);

}  // namespace ecckey
