#include "SshPrivateKey.h"

#include <cstdint>
#include <cstring>

#include "BcryptPbkdf.h"
#include "FormatMessages.h"
#include "KeyBounds.h"
#include "OpenSshCipher.h"
#include "ecc/EccKey.h"
#include "support/ConstantTime.h"
#include "support/LogBase.h"
#include "support/PemLabels.h"
#include "support/Prng.h"
#include "support/PublicKey.h"
#include "support/SshMessage.h"
#include "support/TovarMp.h"
#include "support/Wipe.h"

namespace ecckey::formats {

namespace {

const char kMalformed[] = "malformed OpenSSH private key";
const char kFormatName[] = "OpenSSH private key";

// The file starts with this text and its NUL; then cipher name, KDF name, KDF options, the number of keys,
// each public key, and one string holding the private section (then the tag of an AEAD cipher).
const char kOpenSshMagic[] = "openssh-key-v1";
// The private section is padded with 1, 2, 3, ... to a multiple of the cipher's block, 8 for "none".
const unsigned kOpenSshBlockLen = 8;
const unsigned kSaltLen = 16;  // as ssh-keygen writes
const unsigned kMaxKeyIvLen = 64;

[[nodiscard]] bool readUint32(const DataBuffer &blob, unsigned &offset, unsigned &value) {
    if (blob.getSize() < 4 || offset > blob.getSize() - 4)
        return false;
    const unsigned char *p = blob.getData2() + offset;
    value = (unsigned)p[0] << 24 | (unsigned)p[1] << 16 | (unsigned)p[2] << 8 | p[3];
    offset += 4;
    return true;
}

// The private section: checkint, checkint, key type, curve identifier, point, mpint d, comment, padding.
// Equal check integers are how a wrong passphrase shows under a cipher without a tag.
[[nodiscard]] bool loadPrivateSection(const DataBuffer &section, EccKey &key, DecodedKey &result,
                                      LogBase &log, std::string &error) {
    unsigned offset = 0;
    unsigned check1 = 0;
    unsigned check2 = 1;
    StringBuffer keyType;
    StringBuffer curveId;
    DataBuffer point;
    DataBuffer dMpint;
    StringBuffer comment;
    dMpint.setSensitive();
    if (!readUint32(section, offset, check1) || !readUint32(section, offset, check2) || check1 != check2) {
        error = result.encrypted ? "wrong passphrase" : kMalformed;
        return false;
    }
    if (!SshMessage::parseString(section, offset, keyType)) {
        error = kMalformed;
        return false;
    }
    if (!keyType.beginsWith("ecdsa-sha2-")) {
        error = "the OpenSSH key" + quotedName(keyType.getString()) + kNotAnEcdsaKey;
        return false;
    }
    if (!SshMessage::parseString(section, offset, curveId) ||
        !SshMessage::parseBinaryString(section, offset, point, log) ||
        !SshMessage::parseBinaryString(section, offset, dMpint, log) ||
        !SshMessage::parseString(section, offset, comment) ||
        std::strcmp(keyType.getString() + 11, curveId.getString()) != 0) {
        error = kMalformed;
        return false;
    }
    result.comment = comment.getString();
    return loadSshPrivateParts(curveId, point, dMpint, key, log, error);
}

// KDF options of bcrypt: string salt, uint32 rounds.
[[nodiscard]] bool readBcryptOptions(const DataBuffer &options, DataBuffer &salt, unsigned &rounds,
                                     LogBase &log) {
    unsigned offset = 0;
    return SshMessage::parseBinaryString(options, offset, salt, log) && readUint32(options, offset, rounds) &&
           offset == options.getSize();
}

// Decrypts section (and checks tag) with the key and IV bcrypt-pbkdf derives from the passphrase.
[[nodiscard]] bool decryptSection(const OpenSshCipher &cipher, const StringBuffer &kdf,
                                  const DataBuffer &kdfOptions, const PassphraseCallback &passphrase,
                                  DataBuffer &section, const unsigned char *tag, LogBase &log,
                                  std::string &error, bool &noPassphrase) {
    DataBuffer salt;
    unsigned rounds = 0;
    if (!kdf.equals("bcrypt")) {
        error = "the key derivation" + quotedName(kdf.getString()) + " is not known";
        return false;
    }
    if (!readBcryptOptions(kdfOptions, salt, rounds, log) || salt.isEmpty() || rounds == 0) {
        error = "malformed bcrypt parameters";
        return false;
    }
    if (rounds > kMaxBcryptRounds) {
        error = "the key asks for more than " + std::to_string(kMaxBcryptRounds) +
                " bcrypt rounds, the most this reader runs";
        return false;
    }
    StringBuffer secret;
    Wiped<unsigned char[kMaxKeyIvLen]> keyIv;
    noPassphrase = !askPassphrase(passphrase, secret, error);
    if (noPassphrase)
        return false;
    if (!bcryptPbkdf(secret.getString(), secret.getSize(), salt.getData2(), salt.getSize(), rounds,
                     keyIv.get(), cipher.keyLen + cipher.ivLen)) {
        error = "cannot derive the key from the passphrase";
        return false;
    }
    if (!openSshDecrypt(cipher, keyIv.get(), section, tag)) {
        error = cipher.tagLen > 0 ? "wrong passphrase (the tag does not match)" : kMalformed;
        return false;
    }
    return true;
}

[[nodiscard]] bool loadOpenSshBlob(const DataBuffer &blob, const PassphraseCallback &passphrase, EccKey &key,
                                   DecodedKey &result, LogBase &log, std::string &error, bool &noPassphrase) {
    unsigned offset = sizeof kOpenSshMagic;
    StringBuffer cipherName;
    StringBuffer kdf;
    DataBuffer kdfOptions;
    unsigned numKeys = 0;
    DataBuffer publicBlob;
    DataBuffer section;
    section.setSensitive();
    if (blob.getSize() < offset || std::memcmp(blob.getData2(), kOpenSshMagic, offset) != 0 ||
        !SshMessage::parseString(blob, offset, cipherName) || !SshMessage::parseString(blob, offset, kdf) ||
        !SshMessage::parseBinaryString(blob, offset, kdfOptions, log) || !readUint32(blob, offset, numKeys)) {
        error = kMalformed;
        return false;
    }
    const OpenSshCipher *cipher = openSshCipherByName(cipherName.getString());
    result.encrypted = !cipherName.equals("none");
    if (result.encrypted && cipher == nullptr) {
        error = "the cipher" + quotedName(cipherName.getString()) + " is not known";
        return false;
    }
    if (result.encrypted)
        result.cipher = cipher->name;
    const unsigned tagLen = cipher != nullptr ? cipher->tagLen : 0;
    if (numKeys != 1 || !SshMessage::parseBinaryString(blob, offset, publicBlob, log) ||
        !SshMessage::parseBinaryString(blob, offset, section, log) || blob.getSize() - offset != tagLen) {
        error = numKeys != 1 ? "the OpenSSH file holds " + std::to_string(numKeys) + " keys, not one"
                             : kMalformed;
        return false;
    }
    if (result.encrypted && !decryptSection(*cipher, kdf, kdfOptions, passphrase, section,
                                            blob.getData2() + offset, log, error, noPassphrase))
        return false;
    DataBuffer derived;
    if (!loadPrivateSection(section, key, result, log, error))
        return false;
    if (!key.puttyPublicKeyBlob(derived, log) || !derived.equals(publicBlob)) {
        error = "the public key of the OpenSSH file does not belong to its private key";
        return false;
    }
    return true;
}

[[nodiscard]] bool appendBcryptOptions(const DataBuffer &salt, unsigned rounds, DataBuffer &out) {
    DataBuffer options;
    return SshMessage::pack_db(salt, options) && options.appendUint32_be(rounds) &&
           SshMessage::pack_db(options, out);
}

}  // namespace

bool loadSshPrivateParts(const StringBuffer &curveId, const DataBuffer &point, const DataBuffer &dMpint,
                         EccKey &key, LogBase &log, std::string &error) {
    // d goes in as a scalar of the curve named by the file, so that its length decides nothing (a P-521
    // scalar is as long as some of the library's other private blobs); the point it gives must be the
    // file's.
    const char *curveName = curveId.equals("nistk256") ? "secp256k1" : curveId.getString();
    StringBuffer dHex;
    DataBuffer derived;
    EccCurve curve;
    LogNull quiet;
    if (!pointLenFits(point, error) ||
        (curve.loadCurveByName(curveName, quiet) && !scalarAsWrittenFits(curve, dMpint, error)))
        return false;
    if (dMpint.isEmpty() || !DataBuffer::toHexString2(dMpint.getData2(), dMpint.getSize(), false, dHex) ||
        !key.generateNewKey2(StringBuffer(curveName), dHex.getString(), "hex", log)) {
        error = "cannot load the SSH private key";
        return false;
    }
    if (!key.exportEccPoint(derived, log) || !derived.equals(point)) {
        error = "the SSH private key does not give its public point";
        return false;
    }
    return true;
}

bool appendSecretMpint(const EccKey &key, DataBuffer &out) {
    const unsigned len = (unsigned)key.m_curve.m_byteLen;
    DataBuffer fixed;
    fixed.setSensitive();
    for (unsigned i = 0; i <= len; ++i) {  // one byte more: room for the 0x00 a set top bit needs
        if (!fixed.appendChar(0))
            return false;
    }
    if (!TovarMp::mpint_to_fixed_bytes(key.m_privKey, fixed.getDataMutable() + 1, len))
        return false;
    // The bytes dropped in front: counted over every byte, with no branch on d. The count itself is the
    // mpint's length, which the file shows.
    const unsigned char *bytes = fixed.getData2();
    std::uint32_t dropping = ~0u;
    unsigned start = 0;
    for (unsigned i = 0; i < len; ++i) {
        const unsigned zero = ((unsigned)bytes[i] - 1u) >> 31;  // 1 when the byte is 0x00
        dropping &= ct::takeMask(zero & (1u ^ (unsigned)(bytes[i + 1] >> 7)));
        start += dropping & 1u;
    }
    start = ct::declassified(start);
    return out.append(bytes + start, len + 1 - start);
}

bool loadOpenSshPrivateKey(const DataBuffer &blob, const PassphraseCallback &passphrase, EccKey &key,
                           DecodedKey &result, LogBase &log, std::string &error) {
    bool noPassphrase = false;
    if (loadOpenSshBlob(blob, passphrase, key, result, log, error, noPassphrase))
        return true;
    // The passphrase source's own message stands as it is.
    if (!result.cipher.empty() && !noPassphrase)
        error = std::string(kFormatName) + ", " + result.cipher + ": " + error;
    return false;
}

bool writeOpenSshPrivateKey(EccKey &key, const StringBuffer *passphrase, const std::string &comment,
                            DataBuffer &out, LogBase &log) {
    const bool encrypt = passphrase != nullptr && !passphrase->isEmpty();
    const OpenSshCipher &cipher = defaultOpenSshCipher();
    DataBuffer publicBlob;
    DataBuffer checkInt;
    DataBuffer dMpint;
    DataBuffer section;
    DataBuffer blob;
    DataBuffer salt;
    DataBuffer tag;
    Wiped<unsigned char[kMaxKeyIvLen]> keyIv;
    dMpint.setSensitive();
    section.setSensitive();
    blob.setSensitive();
    SystemPrng prng;
    // The private section repeats the public blob's fields (type, curve, point) before d.
    bool ok = key.puttyPublicKeyBlob(publicBlob, log) && prng.genRandom(4, checkInt, log) &&
              appendSecretMpint(key, dMpint) && section.append(checkInt) && section.append(checkInt) &&
              section.append(publicBlob) && SshMessage::pack_db(dMpint, section) &&
              SshMessage::pack_string(comment.c_str(), section);
    const unsigned blockLen = encrypt ? cipher.blockLen : kOpenSshBlockLen;
    for (unsigned char pad = 1; ok && section.getSize() % blockLen != 0; ++pad)
        ok = section.appendChar(pad);
    if (encrypt)
        ok = ok && prng.genRandom(kSaltLen, salt, log) &&
             bcryptPbkdf(passphrase->getString(), passphrase->getSize(), salt.getData2(), salt.getSize(),
                         kDefaultBcryptRounds, keyIv.get(), cipher.keyLen + cipher.ivLen) &&
             openSshEncrypt(cipher, keyIv.get(), section, tag);
    ok = ok && blob.append(kOpenSshMagic, sizeof kOpenSshMagic) &&
         SshMessage::pack_string(encrypt ? cipher.name : "none", blob) &&
         SshMessage::pack_string(encrypt ? "bcrypt" : "none", blob) &&
         (encrypt ? appendBcryptOptions(salt, kDefaultBcryptRounds, blob)
                  : SshMessage::pack_string("", blob)) &&
         blob.appendUint32_be(1) && SshMessage::pack_db(publicBlob, blob) &&
         SshMessage::pack_db(section, blob) && blob.append(tag);
    StringBuffer pem;
    return ok && _tvPublicKey::derToPem(kPemOpensshPrivateKey, blob, pem, log) && out.append(pem);
}

}  // namespace ecckey::formats
