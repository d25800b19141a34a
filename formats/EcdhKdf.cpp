#include "formats/EcdhKdf.h"

#include <openssl/core_names.h>
#include <openssl/kdf.h>
#include <openssl/params.h>

#include <cstring>
#include <memory>

#include "ecc/EccKey.h"
#include "support/DataBuffer.h"
#include "support/Hash.h"
#include "support/LogBase.h"

namespace ecckey {

namespace {

struct KdfFree {
    void operator()(EVP_KDF *kdf) const { EVP_KDF_free(kdf); }
    void operator()(EVP_KDF_CTX *ctx) const { EVP_KDF_CTX_free(ctx); }
};

// libcrypto's digest name of a SHA-2 identifier; null for any other.
const char *sha2Name(int hashAlg) {
    switch (hashAlg) {
        case HASH_SHA224:
            return "SHA224";
        case HASH_SHA256:
            return "SHA256";
        case HASH_SHA384:
            return "SHA384";
        case HASH_SHA512:
            return "SHA512";
        default:
            return nullptr;
    }
}

const char *kdfName(EcdhKdfKind kind) {
    switch (kind) {
        case EcdhKdfKind::X963:
            return "X963KDF";
        case EcdhKdfKind::Concat:
            return "SSKDF";
        case EcdhKdfKind::Hkdf:
            return "HKDF";
    }
    return "";
}

// An octet-string parameter; libcrypto takes a non-const pointer but only reads it.
OSSL_PARAM octets(const char *key, const DataBuffer &data) {
    return OSSL_PARAM_construct_octet_string(key, const_cast<unsigned char *>(data.getData2()),
                                             data.getSize());
}

[[nodiscard]] bool runKdf(const DataBuffer &secret, const EcdhKdfParams &params, const char *digest,
                          unsigned char *out) {
    std::unique_ptr<EVP_KDF, KdfFree> kdf(EVP_KDF_fetch(nullptr, kdfName(params.kind), nullptr));
    if (!kdf)
        return false;
    std::unique_ptr<EVP_KDF_CTX, KdfFree> ctx(EVP_KDF_CTX_new(kdf.get()));
    if (!ctx)
        return false;
    OSSL_PARAM list[5];
    int num = 0;
    list[num++] = OSSL_PARAM_construct_utf8_string(OSSL_KDF_PARAM_DIGEST, const_cast<char *>(digest), 0);
    list[num++] = octets(OSSL_KDF_PARAM_KEY, secret);
    if (params.info != nullptr && !params.info->isEmpty())
        list[num++] = octets(OSSL_KDF_PARAM_INFO, *params.info);
    if (params.salt != nullptr && !params.salt->isEmpty())
        list[num++] = octets(OSSL_KDF_PARAM_SALT, *params.salt);
    list[num] = OSSL_PARAM_construct_end();
    return EVP_KDF_derive(ctx.get(), out, params.outLen, list) == 1;
}

}  // namespace

bool parseEcdhKdfName(const char *name, EcdhKdfKind &kind, int &hashAlg) {
    static const struct {
        const char *prefix;
        EcdhKdfKind kind;
    } kinds[] = {
        {"x963:", EcdhKdfKind::X963}, {"concat:", EcdhKdfKind::Concat}, {"hkdf:", EcdhKdfKind::Hkdf}};
    static const struct {
        const char *name;
        int alg;
    } hashes[] = {
        {"sha224", HASH_SHA224}, {"sha256", HASH_SHA256}, {"sha384", HASH_SHA384}, {"sha512", HASH_SHA512}};
    if (name == nullptr)
        return false;
    for (const auto &k : kinds) {
        const size_t prefixLen = std::strlen(k.prefix);
        if (std::strncmp(name, k.prefix, prefixLen) != 0)
            continue;
        for (const auto &h : hashes) {
            if (std::strcmp(name + prefixLen, h.name) == 0) {
                kind = k.kind;
                hashAlg = h.alg;
                return true;
            }
        }
    }
    return false;
}

bool deriveFromSecret(const DataBuffer &secret, const EcdhKdfParams &params, DataBuffer &out, LogBase &log) {
    LogContextExitor ctx(log, "deriveFromSecret");
    out.secureClear();
    out.setSensitive();
    const char *digest = sha2Name(params.hashAlg);
    if (secret.isEmpty()) {
        log.logError("The shared secret is empty.");
        return false;
    }
    if (digest == nullptr) {
        log.logError("The key derivation takes SHA-224, SHA-256, SHA-384 or SHA-512.");
        return false;
    }
    if (params.outLen == 0) {
        log.logError("The derived key length must be at least one byte.");
        return false;
    }
    if (params.kind == EcdhKdfKind::Hkdf && params.outLen > 255 * _tvHash::hashLen(params.hashAlg)) {
        log.logError("HKDF derives at most 255 hash lengths.");
        return false;
    }
    if (params.kind != EcdhKdfKind::Hkdf && params.salt != nullptr && !params.salt->isEmpty()) {
        log.logError("Only HKDF takes a salt.");
        return false;
    }
    // Zeros of the output's length, then overwritten in place: the derived key never sits outside the
    // sensitive buffer (DataBuffer offers no writable view; its storage is its own heap block).
    static const unsigned char zeros[256] = {0};
    for (unsigned left = params.outLen; left > 0; left -= left < sizeof zeros ? left : sizeof zeros) {
        if (!out.append(zeros, left < sizeof zeros ? left : (unsigned)sizeof zeros)) {
            out.secureClear();
            log.logError("Out of memory.");
            return false;
        }
    }
    if (!runKdf(secret, params, digest, const_cast<unsigned char *>(out.getData2()))) {
        out.secureClear();
        log.logError("The key derivation failed.");
        return false;
    }
    return true;
}

bool agreeAndDerive(EccKey &key, EccKey &peer, const EcdhKdfParams &params, DataBuffer &out, LogBase &log) {
    LogContextExitor ctx(log, "agreeAndDerive");
    out.secureClear();
    out.setSensitive();
    DataBuffer secret;
    secret.setSensitive();
    const bool ok = key.sharedSecretChecked(peer, secret, log) && deriveFromSecret(secret, params, out, log);
    secret.secureClear();
    if (!ok)
        out.secureClear();
    return ok;
}

bool jweConcatOtherInfo(const char *algId, const DataBuffer &partyU, const DataBuffer &partyV,
                        unsigned keyLenBits, DataBuffer &out) {
    const unsigned algLen = algId ? (unsigned)std::strlen(algId) : 0;
    return out.appendUint32_be(algLen) && out.append(algId, algLen) &&
           out.appendUint32_be(partyU.getSize()) && out.append(partyU) &&
           out.appendUint32_be(partyV.getSize()) && out.append(partyV) && out.appendUint32_be(keyLenBits);
}

}  // namespace ecckey
