#include "PuttyKey.h"

#include <argon2.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/sha.h>

#include <cstdlib>
#include <cstring>

#include "FormatMessages.h"
#include "KeyEncoder.h"
#include "SshPrivateKey.h"
#include "ecc/EccKey.h"
#include "support/LogBase.h"
#include "support/Prng.h"
#include "support/SshMessage.h"
#include "support/Wipe.h"

namespace ecckey::formats {

namespace {

const char kPublicLines[] = "Public-Lines";
const char kPrivateLines[] = "Private-Lines";

const char kPuttyMagic[] = "PuTTY-User-Key-File-";
const unsigned kCipherKeyLen = 32;  // AES-256-CBC
const unsigned kIvLen = 16;
const unsigned kMacKeyLenV3 = 32;
const unsigned kBase64LineLen = 64;
// What the Argon2 fields can hold, and the work a file may ask for: above what puttygen writes by default
// (8192 KiB, passes for 100 ms: 13 here), and at most about a second here (8 MiB a pass takes 8 ms), so a
// hostile file cannot make the command work for minutes or exhaust the memory.
const unsigned long kMaxArgon2Field = 0xffffffffUL;
const unsigned long kMaxArgon2MemoryKiB = 1UL << 17;
const unsigned long kMaxArgon2Work = 1UL << 20;  // KiB x passes: 128 passes of 8 MiB
const unsigned long kMaxArgon2Parallelism = 16;
const unsigned long kMaxLines = 1024;

// The fields of a .ppk file, as read.
struct PuttyFile {
    int version = 0;
    std::string keyType;
    std::string encryption;
    std::string comment;
    DataBuffer publicBlob;
    std::string kdf;  // version 3, encrypted: Argon2d, Argon2i or Argon2id
    unsigned long argon2Memory = 0;
    unsigned long argon2Passes = 0;
    unsigned long argon2Parallelism = 0;
    DataBuffer argon2Salt;
    DataBuffer privateBlob;  // as stored: encrypted when encryption is not "none"
    DataBuffer mac;
};

// Reads the line "NAME: VALUE" at text into value and moves text past it.
bool readHeader(const char *&text, const char *name, std::string &value) {
    const std::size_t nameLen = std::strlen(name);
    if (std::strncmp(text, name, nameLen) != 0 || text[nameLen] != ':' || text[nameLen + 1] != ' ')
        return false;
    const char *start = text + nameLen + 2;
    const char *end = start + std::strcspn(start, "\r\n");
    value.assign(start, end);
    text = end + (*end == '\r' && end[1] == '\n' ? 2 : *end == '\n' ? 1 : 0);
    return true;
}

[[nodiscard]] bool readNumber(const char *&text, const char *name, unsigned long max, unsigned long &value) {
    std::string digits;
    if (!readHeader(text, name, digits) || digits.empty() || digits.size() > 10 ||
        digits.find_first_not_of("0123456789") != std::string::npos)
        return false;
    value = std::strtoul(digits.c_str(), nullptr, 10);
    return value <= max;
}

// "NAME-Lines: N" and N lines of base64, decoded into out. The text is kept in a wiping buffer: the private
// lines of an unencrypted file are the key.
[[nodiscard]] bool readLines(const char *&text, const char *name, DataBuffer &out) {
    unsigned long numLines = 0;
    if (!readNumber(text, name, kMaxLines, numLines))
        return false;
    StringBuffer base64;
    for (unsigned long i = 0; i < numLines; ++i) {
        const std::size_t len = std::strcspn(text, "\r\n");
        if (len == 0 || !base64.append(text, (unsigned)len))
            return false;
        text += len;
        text += *text == '\r' ? 1 : 0;
        text += *text == '\n' ? 1 : 0;
    }
    return out.appendEncoded(base64.getString(), "base64");
}

[[nodiscard]] bool parsePuttyFile(const char *text, PuttyFile &file) {
    std::string salt;
    std::string mac;
    const char *p = text;
    if (std::strncmp(p, kPuttyMagic, sizeof kPuttyMagic - 1) != 0)
        return false;
    p += sizeof kPuttyMagic - 1;
    file.version = p[0] == '2' ? 2 : p[0] == '3' ? 3 : 0;
    file.privateBlob.setSensitive();
    if (file.version == 0 || !readHeader(++p, "", file.keyType) ||
        !readHeader(p, "Encryption", file.encryption) || !readHeader(p, "Comment", file.comment) ||
        !readLines(p, kPublicLines, file.publicBlob))
        return false;
    if (file.version == 3 && file.encryption != "none" &&
        (!readHeader(p, "Key-Derivation", file.kdf) ||
         !readNumber(p, "Argon2-Memory", kMaxArgon2Field, file.argon2Memory) ||
         !readNumber(p, "Argon2-Passes", kMaxArgon2Field, file.argon2Passes) ||
         !readNumber(p, "Argon2-Parallelism", kMaxArgon2Field, file.argon2Parallelism) ||
         !readHeader(p, "Argon2-Salt", salt) || !file.argon2Salt.appendEncoded(salt.c_str(), "hex")))
        return false;
    return readLines(p, kPrivateLines, file.privateBlob) && readHeader(p, "Private-MAC", mac) &&
           file.mac.appendEncoded(mac.c_str(), "hex");
}

// The cipher key, IV and MAC key of the file, from the passphrase (empty for an unencrypted file).
struct PuttyKeys {
    PuttyKeys() {
        cipherKey.setSensitive();
        iv.setSensitive();
        macKey.setSensitive();
    }
    DataBuffer cipherKey;
    DataBuffer iv;
    DataBuffer macKey;
};

[[nodiscard]] bool sha1Of(const char *prefix, unsigned prefixLen, const StringBuffer &passphrase,
                          DataBuffer &out) {
    unsigned char digest[SHA_DIGEST_LENGTH];
    EVP_MD_CTX *ctx = EVP_MD_CTX_new();
    const bool ok = ctx != nullptr && EVP_DigestInit_ex(ctx, EVP_sha1(), nullptr) == 1 &&
                    EVP_DigestUpdate(ctx, prefix, prefixLen) == 1 &&
                    EVP_DigestUpdate(ctx, passphrase.getString(), passphrase.getSize()) == 1 &&
                    EVP_DigestFinal_ex(ctx, digest, nullptr) == 1 && out.append(digest, sizeof digest);
    EVP_MD_CTX_free(ctx);
    wipe(digest, sizeof digest);
    return ok;
}

// Version 2: key = SHA-1(0 || passphrase) || SHA-1(1 || passphrase), cut to 32 bytes, with a zero IV;
// MAC key = SHA-1("putty-private-key-file-mac-key" || passphrase).
[[nodiscard]] bool deriveKeysV2(const StringBuffer &passphrase, PuttyKeys &keys) {
    static const char kCounter0[4] = {0, 0, 0, 0};
    static const char kCounter1[4] = {0, 0, 0, 1};
    static const char kMacText[] = "putty-private-key-file-mac-key";
    static const unsigned char kZeroIv[kIvLen] = {0};
    return sha1Of(kCounter0, 4, passphrase, keys.cipherKey) &&
           sha1Of(kCounter1, 4, passphrase, keys.cipherKey) && keys.cipherKey.truncate(kCipherKeyLen) &&
           keys.iv.append(kZeroIv, kIvLen) && sha1Of(kMacText, sizeof kMacText - 1, passphrase, keys.macKey);
}

// Empty when the file's Argon2 asks for no more than the ceilings, else why not. Argon2d is refused: its
// memory accesses depend on the passphrase, which another process on the machine can then observe.
std::string argon2Refusal(const PuttyFile &file) {
    if (file.kdf == "Argon2d")
        return "the PuTTY key derives its key with Argon2d, whose memory accesses depend on the passphrase; "
               "'puttygen --ppk-param kdf=argon2id' rewrites it";
    if (file.argon2Memory > kMaxArgon2MemoryKiB)
        return "the PuTTY key asks for more than 131072 KiB of Argon2 memory, the most ecckey gives";
    if (file.argon2Passes > kMaxArgon2Work / (file.argon2Memory > 0 ? file.argon2Memory : 1))
        return "the PuTTY key asks for more than 1048576 KiB x passes of Argon2 work, the most ecckey does";
    if (file.argon2Parallelism > kMaxArgon2Parallelism)
        return "the PuTTY key asks for more than 16 Argon2 lanes, the most ecckey runs";
    return "";
}

// Version 3: Argon2 output of 80 bytes gives key, IV and MAC key in that order.
[[nodiscard]] bool deriveKeysV3(const PuttyFile &file, const StringBuffer &passphrase, PuttyKeys &keys) {
    argon2_type type = Argon2_id;
    if (file.kdf == "Argon2i")
        type = Argon2_i;
    else if (file.kdf != "Argon2id")
        return false;
    unsigned char derived[kCipherKeyLen + kIvLen + kMacKeyLenV3];
    const bool ok = argon2_hash((uint32_t)file.argon2Passes, (uint32_t)file.argon2Memory,
                                (uint32_t)file.argon2Parallelism, passphrase.getString(),
                                passphrase.getSize(), file.argon2Salt.getData2(), file.argon2Salt.getSize(),
                                derived, sizeof derived, nullptr, 0, type, ARGON2_VERSION_13) == ARGON2_OK &&
                    keys.cipherKey.append(derived, kCipherKeyLen) &&
                    keys.iv.append(derived + kCipherKeyLen, kIvLen) &&
                    keys.macKey.append(derived + kCipherKeyLen + kIvLen, kMacKeyLenV3);
    wipe(derived, sizeof derived);
    return ok;
}

// AES-256-CBC without padding, in place: the blob is padded to the block by the writer.
[[nodiscard]] bool cryptBlob(const PuttyKeys &keys, DataBuffer &blob, int encrypt) {
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    int len = 0;
    const int size = (int)blob.getSize();
    const bool ok = ctx != nullptr && size % (int)kIvLen == 0 &&
                    EVP_CipherInit_ex(ctx, EVP_aes_256_cbc(), nullptr, keys.cipherKey.getData2(),
                                      keys.iv.getData2(), encrypt) == 1 &&
                    EVP_CIPHER_CTX_set_padding(ctx, 0) == 1 &&
                    EVP_CipherUpdate(ctx, blob.getDataMutable(), &len, blob.getData2(), size) == 1 &&
                    len == size;
    EVP_CIPHER_CTX_free(ctx);
    return ok;
}

[[nodiscard]] bool decryptBlob(const PuttyKeys &keys, DataBuffer &blob) {
    return cryptBlob(keys, blob, 0);
}

[[nodiscard]] bool encryptBlob(const PuttyKeys &keys, DataBuffer &blob) {
    return cryptBlob(keys, blob, 1);
}

// HMAC over string(type), string(encryption), string(comment), string(public blob), string(private blob).
[[nodiscard]] bool computeMac(int version, const PuttyFile &file, const DataBuffer &macKey, DataBuffer &mac) {
    DataBuffer data;
    data.setSensitive();
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned digestLen = 0;
    static const unsigned char kNoKey = 0;
    const bool ok =
        SshMessage::pack_string(file.keyType.c_str(), data) &&
        SshMessage::pack_string(file.encryption.c_str(), data) &&
        SshMessage::pack_string(file.comment.c_str(), data) && SshMessage::pack_db(file.publicBlob, data) &&
        SshMessage::pack_db(file.privateBlob, data) &&
        HMAC(version == 2 ? EVP_sha1() : EVP_sha256(), macKey.isEmpty() ? &kNoKey : macKey.getData2(),
             (int)macKey.getSize(), data.getData2(), data.getSize(), digest, &digestLen) != nullptr &&
        mac.append(digest, digestLen);
    wipe(digest, sizeof digest);
    return ok;
}

// Decrypts the private blob when the file is encrypted and checks the MAC.
[[nodiscard]] bool unlockPuttyFile(PuttyFile &file, const PassphraseCallback &callback, std::string &error) {
    const bool encrypted = file.encryption != "none";
    if (encrypted && file.encryption != "aes256-cbc") {
        error = "the PuTTY key's encryption" + quotedName(file.encryption) + " is not known";
        return false;
    }
    StringBuffer passphrase;
    PuttyKeys keys;
    DataBuffer mac;
    if (encrypted && file.version == 3 && !(error = argon2Refusal(file)).empty())
        return false;
    if (encrypted && !askPassphrase(callback, passphrase, error))
        return false;
    const bool derived = file.version == 2 ? deriveKeysV2(passphrase, keys)
                                           : !encrypted || deriveKeysV3(file, passphrase, keys);
    if (!derived || (encrypted && !decryptBlob(keys, file.privateBlob))) {
        error = "cannot derive the PuTTY key's decryption key";
        return false;
    }
    if (!computeMac(file.version, file, keys.macKey, mac) || mac.getSize() != file.mac.getSize() ||
        CRYPTO_memcmp(mac.getData2(), file.mac.getData2(), mac.getSize()) != 0) {
        error = encrypted ? "wrong passphrase for the PuTTY key (its MAC does not match)"
                          : "the PuTTY key's MAC does not match: the file is corrupt";
        return false;
    }
    return true;
}

// Appends "NAME-Lines: N" and the base64 of blob in lines of 64 characters.
[[nodiscard]] bool appendLines(const char *name, const DataBuffer &blob, StringBuffer &text) {
    StringBuffer base64;
    if (!blob.encodeDB("base64", base64))
        return false;
    const unsigned len = base64.getSize();
    const unsigned numLines = (len + kBase64LineLen - 1) / kBase64LineLen;
    bool ok = text.append3(name, ": ", std::to_string(numLines).c_str()) && text.appendChar('\n');
    for (unsigned start = 0; ok && start < len; start += kBase64LineLen) {
        const unsigned lineLen = len - start < kBase64LineLen ? len - start : kBase64LineLen;
        ok = text.append(base64.getString() + start, lineLen) && text.appendChar('\n');
    }
    return ok;
}

// The Argon2 parameters the library writes, as puttygen does by default: Argon2id, 8 MiB, one lane.
const unsigned long kWriteArgon2MemoryKiB = 8192;
const unsigned long kWriteArgon2Passes = 13;
const unsigned kWriteSaltLen = 16;

// The keys of a file about to be written: version 2's from the passphrase alone, version 3's from Argon2
// over a fresh salt (none when unencrypted: the MAC key is then empty).
[[nodiscard]] bool derivePuttyWriteKeys(PuttyFile &file, const StringBuffer &passphrase, PuttyKeys &keys,
                                        LogBase &log) {
    if (file.version == 2)
        return deriveKeysV2(passphrase, keys);
    if (file.encryption == "none")
        return true;
    SystemPrng prng;
    file.kdf = "Argon2id";
    file.argon2Memory = kWriteArgon2MemoryKiB;
    file.argon2Passes = kWriteArgon2Passes;
    file.argon2Parallelism = 1;
    return prng.genRandom(kWriteSaltLen, file.argon2Salt, log) && deriveKeysV3(file, passphrase, keys);
}

[[nodiscard]] bool appendArgon2Headers(const PuttyFile &file, StringBuffer &text) {
    return text.append3("Key-Derivation: ", file.kdf.c_str(), "\n") &&
           text.append3("Argon2-Memory: ", std::to_string(file.argon2Memory).c_str(), "\n") &&
           text.append3("Argon2-Passes: ", std::to_string(file.argon2Passes).c_str(), "\n") &&
           text.append3("Argon2-Parallelism: ", std::to_string(file.argon2Parallelism).c_str(), "\n") &&
           text.append("Argon2-Salt: ") &&
           DataBuffer::toHexString2(file.argon2Salt.getData2(), file.argon2Salt.getSize(), false, text) &&
           text.appendChar('\n');
}

}  // namespace

bool isPuttyKeyFile(const char *text) {
    return std::strncmp(text, kPuttyMagic, sizeof kPuttyMagic - 1) == 0;
}

bool loadPuttyKey(const char *text, const PassphraseCallback &passphrase, EccKey &key, DecodedKey &result,
                  LogBase &log, std::string &error) {
    PuttyFile file;
    if (!parsePuttyFile(text, file)) {
        error = "malformed PuTTY key file";
        return false;
    }
    if (file.keyType.compare(0, 11, "ecdsa-sha2-") != 0) {
        error = "the PuTTY key" + quotedName(file.keyType) + kNotAnEcdsaKey;
        return false;
    }
    result.comment = file.comment;
    result.encrypted = file.encryption != "none";
    if (result.encrypted)
        result.cipher = file.encryption;
    if (!unlockPuttyFile(file, passphrase, error))
        return false;
    unsigned offset = 0;
    StringBuffer blobType;
    StringBuffer curveId;
    DataBuffer point;
    DataBuffer dMpint;
    if (!SshMessage::parseString(file.publicBlob, offset, blobType) ||
        !SshMessage::parseString(file.publicBlob, offset, curveId) ||
        !SshMessage::parseBinaryString(file.publicBlob, offset, point, log) ||
        offset != file.publicBlob.getSize() || !blobType.equals(file.keyType.c_str()) ||
        file.keyType != std::string("ecdsa-sha2-") + curveId.getString()) {
        error = "malformed public key in the PuTTY key file";
        return false;
    }
    offset = 0;
    if (!SshMessage::parseBinaryString(file.privateBlob, offset, dMpint, log)) {
        error = "malformed private key in the PuTTY key file";
        return false;
    }
    return loadSshPrivateParts(curveId, point, dMpint, key, log, error);
}

bool writePuttyKey(EccKey &key, const StringBuffer *passphrase, const std::string &comment, int version,
                   DataBuffer &out, LogBase &log, std::string &error) {
    PuttyFile file;
    file.version = version == 2 ? 2 : 3;
    file.keyType = sshKeyTypeName(key);
    const bool encrypt = passphrase != nullptr && !passphrase->isEmpty();
    file.encryption = encrypt ? "aes256-cbc" : "none";
    file.comment = comment;
    file.privateBlob.setSensitive();
    if (file.keyType.empty()) {
        error = std::string("a PuTTY key has no name for ") + key.m_curve.m_name.getString();
        return false;
    }
    DataBuffer dMpint;
    DataBuffer mac;
    StringBuffer text;
    PuttyKeys keys;
    const StringBuffer noPassphrase;
    dMpint.setSensitive();
    bool ok = key.puttyPublicKeyBlob(file.publicBlob, log) && appendSecretMpint(key, dMpint) &&
              SshMessage::pack_db(dMpint, file.privateBlob) &&
              derivePuttyWriteKeys(file, encrypt ? *passphrase : noPassphrase, keys, log);
    // An encrypted blob fills whole cipher blocks; the padding is covered by the MAC like the key.
    while (ok && encrypt && file.privateBlob.getSize() % kIvLen != 0)
        ok = file.privateBlob.appendChar(0);
    ok = ok && computeMac(file.version, file, keys.macKey, mac) &&
         (!encrypt || encryptBlob(keys, file.privateBlob)) &&
         text.append3(kPuttyMagic, file.version == 2 ? "2: " : "3: ", file.keyType.c_str()) &&
         text.append3("\nEncryption: ", file.encryption.c_str(), "\nComment: ") &&
         text.append3(comment.c_str(), "\n", "") && appendLines(kPublicLines, file.publicBlob, text) &&
         (!encrypt || file.version == 2 || appendArgon2Headers(file, text)) &&
         appendLines(kPrivateLines, file.privateBlob, text) && text.append("Private-MAC: ");
    ok = ok && DataBuffer::toHexString2(mac.getData2(), mac.getSize(), false, text);
    return ok && text.appendChar('\n') && out.append(text);
}

}  // namespace ecckey::formats
