// Message digests through OpenSSL's libcrypto (EVP one-shot digests).
#include "support/Hash.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <cstring>

#include "support/DataBuffer.h"
#include "support/Wipe.h"

namespace ecckey {

namespace {

const EVP_MD *digestFor(int hashAlg) {
    switch (hashAlg) {
        case HASH_SHA1:
            return EVP_sha1();
        case HASH_SHA384:
            return EVP_sha384();
        case HASH_SHA512:
            return EVP_sha512();
        case HASH_MD5:
            return EVP_md5();
        case HASH_SHA256:
            return EVP_sha256();
        case HASH_SHA224:
            return EVP_sha224();
        default:
            return nullptr;
    }
}

}  // namespace

bool _tvHash::doHash(const void *data, unsigned size, int hashAlg, DataBuffer &out) {
    const EVP_MD *md = digestFor(hashAlg);
    if (!md || (!data && size != 0))
        return false;
    static const unsigned char kEmpty = 0;
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned digestLen = 0;
    if (EVP_Digest(size ? data : &kEmpty, size, digest, &digestLen, md, nullptr) != 1)
        return false;
    return out.append(digest, digestLen);
}

unsigned _tvHash::hashLen(int hashAlg) {
    const EVP_MD *md = digestFor(hashAlg);
    return md ? (unsigned)EVP_MD_get_size(md) : 0;
}

bool _tvHash::hmac(int hashAlg, const unsigned char *key, unsigned keyLen, const unsigned char *data,
                   unsigned dataLen, unsigned char *out) {
    const EVP_MD *md = digestFor(hashAlg);
    if (!md || !key || (!data && dataLen != 0) || !out)
        return false;
    static const unsigned char kEmpty = 0;
    unsigned outLen = 0;
    const unsigned expected = (unsigned)EVP_MD_get_size(md);
    if (HMAC(md, key, (int)keyLen, dataLen ? data : &kEmpty, dataLen, out, &outLen) != nullptr &&
        outLen == expected)
        return true;
    // Key-derived bytes must not be left half-written.
    wipe(out, expected);
    return false;
}

FingerprintDigest::FingerprintDigest() = default;

bool FingerprintDigest::digestData(const DataBuffer &data, unsigned char out[16]) {
    static const unsigned char kEmpty = 0;
    const unsigned char *bytes = data.getSize() ? data.getData2() : &kEmpty;
    unsigned digestLen = 0;
    // MD5 fails only when OpenSSL runs out of memory; out is then zeroed rather than left stale (a
    // fingerprint is public: a plain fill, not a wipe).
    if (EVP_Digest(bytes, data.getSize(), out, &digestLen, EVP_md5(), nullptr) == 1 && digestLen == 16)
        return true;
    std::memset(out, 0, 16);
    return false;
}

}  // namespace ecckey
