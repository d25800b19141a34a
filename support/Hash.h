// Message digests through OpenSSL's libcrypto.
#pragma once

namespace ecckey {

class DataBuffer;

// The library's numeric hash-algorithm identifiers. Callers pass them through as plain ints, so the
// values are fixed once published; 4 and 6 are not assigned.
enum HashAlg {
    HASH_SHA1 = 1,
    HASH_SHA384 = 2,
    HASH_SHA512 = 3,
    HASH_MD5 = 5,
    HASH_SHA256 = 7,
    HASH_SHA224 = 8,
};

class _tvHash {
  public:
    // Appends the digest of data under hashAlg. False, out unchanged and nothing logged, for an unknown
    // identifier, null data with a non-zero size, a failing libcrypto call, or when memory is short.
    [[nodiscard]] static bool doHash(const void *data, unsigned size, int hashAlg, DataBuffer &out);
    static unsigned hashLen(int hashAlg);  // the digest length in bytes; 0 for an unknown identifier
    // HMAC of data under key with the hash hashAlg into out, which receives hashLen(hashAlg) bytes. False
    // for an unknown identifier, a null key or out, or null data with a non-zero length (out untouched),
    // and for a failing libcrypto call (out zeroed). Holds no copy of the key.
    [[nodiscard]] static bool hmac(int hashAlg, const unsigned char *key, unsigned keyLen,
                                   const unsigned char *data, unsigned dataLen, unsigned char *out);
};

// The 16-byte digest of classic SSH key fingerprints (MD5).
class FingerprintDigest {
  public:
    FingerprintDigest();
    ~FingerprintDigest() = default;
    FingerprintDigest(const FingerprintDigest &) = delete;
    FingerprintDigest &operator=(const FingerprintDigest &) = delete;

    // out = MD5(data). False, with out zeroed, when libcrypto fails (it runs out of memory).
    [[nodiscard]] bool digestData(const DataBuffer &data, unsigned char out[16]);
};

}  // namespace ecckey
