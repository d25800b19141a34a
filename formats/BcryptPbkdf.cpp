// Blowfish's block encryption is libcrypto's BF_encrypt, deprecated in OpenSSL 3 for new protocols but
// the cipher bcrypt is defined over; the key schedule is written here over BF_KEY's P and S arrays,
// because BF_set_key always restarts from the initial state where eksblowfish keeps expanding.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "BcryptPbkdf.h"

#include <openssl/blowfish.h>
#include <openssl/evp.h>

#include <cstring>

#include "BlowfishPi.h"
#include "support/Wipe.h"

namespace ecckey::formats {

namespace {

const unsigned kHashLen = 32;  // bytes of one bcrypt hash block
const unsigned kSha512Len = 64;
const unsigned kMaxSaltLen = 1024;  // far above the 16 bytes ssh-keygen writes
const unsigned kMaxKeyLen = 1024;
const unsigned kExpensiveRounds = 64;  // bcrypt's cost 6, fixed by bcrypt-pbkdf
// The 256-bit text that the expanded state encrypts 64 times.
const char kMagic[kHashLen + 1] = "OxychromaticBlowfishSwatDynamite";

// The next four bytes of data, taken cyclically from index pos, as a big-endian word.
std::uint32_t streamWord(const std::uint8_t *data, unsigned len, unsigned &pos) {
    std::uint32_t word = 0;
    for (int i = 0; i < 4; ++i) {
        word = word << 8 | data[pos];
        pos = pos + 1 == len ? 0 : pos + 1;
    }
    return word;
}

// Blowfish's key schedule starting from the present state: the key is XORed into P, then P and S are
// replaced by a chain of encryptions, each of whose inputs is also XORed with the next words of data
// when data is given (the "salted" expansion of the first step).
void expandState(BF_KEY &state, const std::uint8_t *key, unsigned keyLen, const std::uint8_t *data,
                 unsigned dataLen) {
    unsigned pos = 0;
    for (BF_LONG &word : state.P)
        word ^= streamWord(key, keyLen, pos);
    BF_LONG block[2] = {0, 0};
    pos = 0;
    const auto next = [&](BF_LONG *slot) {
        if (data != nullptr) {
            block[0] ^= streamWord(data, dataLen, pos);
            block[1] ^= streamWord(data, dataLen, pos);
        }
        BF_encrypt(block, &state);
        slot[0] = block[0];
        slot[1] = block[1];
    };
    for (unsigned i = 0; i < BF_ROUNDS + 2; i += 2)
        next(state.P + i);
    for (unsigned i = 0; i < 4 * 256; i += 2)
        next(state.S + i);
    wipe(block, sizeof block);
}

// One bcrypt hash: the state from pi, salted expansion, 64 rounds of alternating expansion by salt and
// passphrase hash, then 64 encryptions of the magic text; the words go out little-endian.
void bcryptHash(const std::uint8_t *sha2Pass, const std::uint8_t *sha2Salt, std::uint8_t *out) {
    Wiped<BF_KEY> state;
    static_assert(sizeof state.get().P + sizeof state.get().S == sizeof kBlowfishPi, "P then S from pi");
    std::memcpy(state.get().P, kBlowfishPi, sizeof state.get().P);
    std::memcpy(state.get().S, kBlowfishPi + BF_ROUNDS + 2, sizeof state.get().S);
    expandState(state.get(), sha2Pass, kSha512Len, sha2Salt, kSha512Len);
    for (unsigned i = 0; i < kExpensiveRounds; ++i) {
        expandState(state.get(), sha2Salt, kSha512Len, nullptr, 0);
        expandState(state.get(), sha2Pass, kSha512Len, nullptr, 0);
    }
    BF_LONG text[kHashLen / 4];
    unsigned pos = 0;
    for (BF_LONG &word : text)
        word = streamWord(reinterpret_cast<const std::uint8_t *>(kMagic), kHashLen, pos);
    for (unsigned i = 0; i < kExpensiveRounds; ++i) {
        for (unsigned j = 0; j < kHashLen / 4; j += 2)
            BF_encrypt(text + j, &state.get());
    }
    for (unsigned i = 0; i < kHashLen / 4; ++i) {
        for (unsigned b = 0; b < 4; ++b)
            out[4 * i + b] = (std::uint8_t)(text[i] >> (8 * b));
    }
    wipe(text, sizeof text);
}

[[nodiscard]] bool sha512(const void *data, std::size_t len, std::uint8_t *out) {
    return EVP_Digest(data, len, out, nullptr, EVP_sha512(), nullptr) == 1;
}

}  // namespace

bool bcryptPbkdf(const char *passphrase, std::size_t passphraseLen, const std::uint8_t *salt,
                 std::size_t saltLen, unsigned rounds, std::uint8_t *key, std::size_t keyLen) {
    if (keyLen == 0 || keyLen > kMaxKeyLen)
        return false;
    std::memset(key, 0, keyLen);
    if (rounds == 0 || saltLen == 0 || saltLen > kMaxSaltLen)
        return false;
    // Each block of 32 bytes feeds every stride-th byte of the key, so no part of the key is cheaper.
    const std::size_t stride = (keyLen + kHashLen - 1) / kHashLen;
    const std::size_t perBlock = (keyLen + stride - 1) / stride;
    std::uint8_t sha2Pass[kSha512Len], sha2Salt[kSha512Len], countSalt[kMaxSaltLen + 4];
    std::uint8_t block[kHashLen], roundOut[kHashLen];
    bool ok = sha512(passphrase, passphraseLen, sha2Pass);
    std::memcpy(countSalt, salt, saltLen);
    for (std::uint32_t count = 1; ok && (count - 1) < stride; ++count) {
        for (unsigned b = 0; b < 4; ++b)
            countSalt[saltLen + b] = (std::uint8_t)(count >> (24 - 8 * b));
        ok = sha512(countSalt, saltLen + 4, sha2Salt);
        bcryptHash(sha2Pass, sha2Salt, roundOut);
        std::memcpy(block, roundOut, kHashLen);
        for (unsigned r = 1; ok && r < rounds; ++r) {
            ok = sha512(roundOut, kHashLen, sha2Salt);
            bcryptHash(sha2Pass, sha2Salt, roundOut);
            for (unsigned i = 0; i < kHashLen; ++i)
                block[i] ^= roundOut[i];
        }
        for (std::size_t i = 0; i < perBlock; ++i) {
            const std::size_t dest = i * stride + (count - 1);
            if (dest < keyLen)
                key[dest] = block[i];
        }
    }
    wipe(sha2Pass, sizeof sha2Pass);
    wipe(sha2Salt, sizeof sha2Salt);
    wipe(block, sizeof block);
    wipe(roundOut, sizeof roundOut);
    if (!ok)
        wipe(key, keyLen);
    return ok;
}

}  // namespace ecckey::formats
