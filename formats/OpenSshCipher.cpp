#include "OpenSshCipher.h"

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <cstring>
#include <memory>

#include "support/DataBuffer.h"

namespace ecckey::formats {

namespace {

enum class Mode { Ctr, Cbc, Gcm, ChaChaPoly };

struct CipherEntry {
    OpenSshCipher cipher;
    Mode mode;
    const EVP_CIPHER *(*evp)();
};

const CipherEntry kCiphers[] = {
    {{"aes256-ctr", 32, 16, 16, 0}, Mode::Ctr, EVP_aes_256_ctr},
    {{"aes192-ctr", 24, 16, 16, 0}, Mode::Ctr, EVP_aes_192_ctr},
    {{"aes128-ctr", 16, 16, 16, 0}, Mode::Ctr, EVP_aes_128_ctr},
    {{"aes256-cbc", 32, 16, 16, 0}, Mode::Cbc, EVP_aes_256_cbc},
    {{"aes192-cbc", 24, 16, 16, 0}, Mode::Cbc, EVP_aes_192_cbc},
    {{"aes128-cbc", 16, 16, 16, 0}, Mode::Cbc, EVP_aes_128_cbc},
    {{"aes256-gcm@openssh.com", 32, 12, 16, 16}, Mode::Gcm, EVP_aes_256_gcm},
    {{"aes128-gcm@openssh.com", 16, 12, 16, 16}, Mode::Gcm, EVP_aes_128_gcm},
    // Two 256-bit keys, of which the private section uses the first (the second encrypts packet lengths
    // in the transport); no IV: the nonce is the sequence number, 0.
    {{"chacha20-poly1305@openssh.com", 64, 0, 8, 16}, Mode::ChaChaPoly, EVP_chacha20},
};

const unsigned kPolyKeyLen = 32;

struct CtxFree {
    void operator()(EVP_CIPHER_CTX *ctx) const { EVP_CIPHER_CTX_free(ctx); }
};
using CtxPtr = std::unique_ptr<EVP_CIPHER_CTX, CtxFree>;

const CipherEntry *entryOf(const OpenSshCipher &cipher) {
    for (const CipherEntry &entry : kCiphers) {
        if (&entry.cipher == &cipher)
            return &entry;
    }
    return nullptr;
}

// ChaCha20 with OpenSSH's 64-bit block counter and 64-bit nonce (0): libcrypto's 16-byte IV is the
// counter's low and high words, little-endian, then the nonce.
[[nodiscard]] bool chacha20(const std::uint8_t *key, unsigned counter, const std::uint8_t *in,
                            std::uint8_t *out, unsigned len) {
    std::uint8_t iv[16] = {(std::uint8_t)counter};
    CtxPtr ctx(EVP_CIPHER_CTX_new());
    int outLen = 0;
    return ctx && EVP_EncryptInit_ex(ctx.get(), EVP_chacha20(), nullptr, key, iv) == 1 &&
           EVP_EncryptUpdate(ctx.get(), out, &outLen, in, (int)len) == 1 && outLen == (int)len;
}

// Poly1305 of data under the one-time key the first ChaCha20 block (counter 0) gives.
[[nodiscard]] bool poly1305(const std::uint8_t *key, const DataBuffer &data, std::uint8_t *tag) {
    static const std::uint8_t kZero[kPolyKeyLen] = {0};
    std::uint8_t polyKey[kPolyKeyLen];
    EVP_MAC *mac = EVP_MAC_fetch(nullptr, "POLY1305", nullptr);
    EVP_MAC_CTX *ctx = mac != nullptr ? EVP_MAC_CTX_new(mac) : nullptr;
    size_t tagLen = 0;
    const bool ok = ctx != nullptr && chacha20(key, 0, kZero, polyKey, kPolyKeyLen) &&
                    EVP_MAC_init(ctx, polyKey, kPolyKeyLen, nullptr) == 1 &&
                    EVP_MAC_update(ctx, data.getData2(), data.getSize()) == 1 &&
                    EVP_MAC_final(ctx, tag, &tagLen, 16) == 1 && tagLen == 16;
    OPENSSL_cleanse(polyKey, sizeof polyKey);
    EVP_MAC_CTX_free(ctx);
    EVP_MAC_free(mac);
    return ok;
}

[[nodiscard]] bool runEvp(const CipherEntry &entry, bool encrypt, const std::uint8_t *keyIv,
                          DataBuffer &section, const std::uint8_t *tagIn, std::uint8_t *tagOut) {
    const OpenSshCipher &c = entry.cipher;
    CtxPtr ctx(EVP_CIPHER_CTX_new());
    int len = 0;
    int finalLen = 0;
    const int size = (int)section.getSize();
    const bool gcm = entry.mode == Mode::Gcm;
    std::uint8_t *data = section.getDataMutable();
    bool ok = ctx &&
              EVP_CipherInit_ex(ctx.get(), entry.evp(), nullptr, nullptr, nullptr, encrypt ? 1 : 0) == 1 &&
              (!gcm || EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_SET_IVLEN, (int)c.ivLen, nullptr) == 1) &&
              EVP_CipherInit_ex(ctx.get(), nullptr, nullptr, keyIv, keyIv + c.keyLen, -1) == 1 &&
              EVP_CIPHER_CTX_set_padding(ctx.get(), 0) == 1;
    if (ok && gcm && !encrypt)
        ok = EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_SET_TAG, (int)c.tagLen,
                                 const_cast<std::uint8_t *>(tagIn)) == 1;
    ok = ok && (size == 0 || EVP_CipherUpdate(ctx.get(), data, &len, data, size) == 1) &&
         EVP_CipherFinal_ex(ctx.get(), data + len, &finalLen) == 1 && len + finalLen == size;
    if (ok && gcm && encrypt)
        ok = EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_GET_TAG, (int)c.tagLen, tagOut) == 1;
    return ok;
}

[[nodiscard]] bool runChaChaPoly(bool encrypt, const std::uint8_t *key, DataBuffer &section,
                                 const std::uint8_t *tagIn, std::uint8_t *tagOut) {
    std::uint8_t tag[16];
    if (!encrypt && (!poly1305(key, section, tag) || CRYPTO_memcmp(tag, tagIn, sizeof tag) != 0))
        return false;
    std::uint8_t *data = section.getDataMutable();
    return chacha20(key, 1, data, data, section.getSize()) && (!encrypt || poly1305(key, section, tagOut));
}

[[nodiscard]] bool run(const OpenSshCipher &cipher, bool encrypt, const std::uint8_t *keyIv,
                       DataBuffer &section, const std::uint8_t *tagIn, std::uint8_t *tagOut) {
    const CipherEntry *entry = entryOf(cipher);
    if (entry == nullptr || section.getSize() % cipher.blockLen != 0)
        return false;
    return entry->mode == Mode::ChaChaPoly ? runChaChaPoly(encrypt, keyIv, section, tagIn, tagOut)
                                           : runEvp(*entry, encrypt, keyIv, section, tagIn, tagOut);
}

}  // namespace

const OpenSshCipher *openSshCipherByName(const char *name) {
    for (const CipherEntry &entry : kCiphers) {
        if (std::strcmp(entry.cipher.name, name) == 0)
            return &entry.cipher;
    }
    return nullptr;
}

const OpenSshCipher &defaultOpenSshCipher() {
    return kCiphers[0].cipher;
}

bool openSshDecrypt(const OpenSshCipher &cipher, const std::uint8_t *keyIv, DataBuffer &section,
                    const std::uint8_t *tag) {
    if (run(cipher, false, keyIv, section, tag, nullptr))
        return true;
    section.secureClear();
    return false;
}

bool openSshEncrypt(const OpenSshCipher &cipher, const std::uint8_t *keyIv, DataBuffer &section,
                    DataBuffer &tag) {
    std::uint8_t tagBytes[16] = {0};
    return run(cipher, true, keyIv, section, nullptr, tagBytes) &&
           (cipher.tagLen == 0 || tag.append(tagBytes, cipher.tagLen));
}

}  // namespace ecckey::formats
