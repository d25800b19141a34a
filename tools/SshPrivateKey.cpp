#include "SshPrivateKey.h"

#include <cstring>

#include "KeyBounds.h"
#include "KeyReader.h"
#include "Messages.h"
#include "ecc/EccKey.h"
#include "support/LogBase.h"
#include "support/PemLabels.h"
#include "support/Prng.h"
#include "support/PublicKey.h"
#include "support/SshMessage.h"
#include "support/TovarMp.h"

namespace ecckey_cli {

namespace {

const char kMalformed[] = "malformed OpenSSH private key";

using ecckey::DataBuffer;
using ecckey::SshMessage;
using ecckey::StringBuffer;

// The file starts with this text and its NUL; then cipher name, KDF name, KDF options, the number of keys,
// each public key, and one string holding the private section.
const char kOpenSshMagic[] = "openssh-key-v1";
// The private section is padded with 1, 2, 3, ... to a multiple of the cipher's block, 8 for "none".
const unsigned kOpenSshBlockLen = 8;

[[nodiscard]] bool readUint32(const DataBuffer &blob, unsigned &offset, unsigned &value) {
    if (blob.getSize() < 4 || offset > blob.getSize() - 4)
        return false;
    const unsigned char *p = blob.getData2() + offset;
    value = (unsigned)p[0] << 24 | (unsigned)p[1] << 16 | (unsigned)p[2] << 8 | p[3];
    offset += 4;
    return true;
}

// The private section: checkint, checkint, key type, curve identifier, point, mpint d, comment, padding.
[[nodiscard]] bool loadPrivateSection(const DataBuffer &section, ecckey::EccKey &key, ecckey::LogBase &log,
                                      std::string &error) {
    unsigned offset = 0;
    unsigned check1 = 0;
    unsigned check2 = 1;
    StringBuffer keyType;
    StringBuffer curveId;
    DataBuffer point;
    DataBuffer dMpint;
    if (!readUint32(section, offset, check1) || !readUint32(section, offset, check2) ||
        !SshMessage::parseString(section, offset, keyType)) {
        error = kMalformed;
        return false;
    }
    if (!keyType.beginsWith("ecdsa-sha2-")) {
        error = "the OpenSSH key" + quotedName(keyType.getString()) + kNotAnEcdsaKey;
        return false;
    }
    if (!SshMessage::parseString(section, offset, curveId) ||
        !SshMessage::parseBinaryString(section, offset, point, log) ||
        !SshMessage::parseBinaryString(section, offset, dMpint, log) || check1 != check2 ||
        std::strcmp(keyType.getString() + 11, curveId.getString()) != 0) {
        error = kMalformed;
        return false;
    }
    return loadSshPrivateParts(curveId, point, dMpint, key, log, error);
}

}  // namespace

bool loadSshPrivateParts(const StringBuffer &curveId, const DataBuffer &point, const DataBuffer &dMpint,
                         ecckey::EccKey &key, ecckey::LogBase &log, std::string &error) {
    // The library reads the four-field blob (key type, curve, point, d) that these files hold; its point
    // is taken from the separate argument.
    DataBuffer blob;
    blob.setSensitive();
    const std::string keyType = std::string("ecdsa-sha2-") + curveId.getString();
    const char *curveName = curveId.equals("nistk256") ? "secp256k1" : curveId.getString();
    ecckey::EccCurve curve;
    ecckey::LogNull quiet;
    if (!pointLenFits(point, error) ||
        (curve.loadCurveByName(curveName, quiet) && !scalarAsWrittenFits(curve, dMpint, error)))
        return false;
    if (!SshMessage::pack_string(keyType.c_str(), blob) ||
        !SshMessage::pack_string(curveId.getString(), blob) || !SshMessage::pack_db(point, blob) ||
        !SshMessage::pack_db(dMpint, blob) || !key.loadPrivateFromPuttySsh(curveName, point, blob, log)) {
        error = "cannot load the SSH private key";
        return false;
    }
    return true;
}

bool appendSecretMpint(const ecckey::EccKey &key, DataBuffer &out) {
    const unsigned len = (unsigned)key.m_curve.m_byteLen;
    DataBuffer fixed;
    fixed.setSensitive();
    for (unsigned i = 0; i <= len; ++i) {  // one byte more: room for the 0x00 a set top bit needs
        if (!fixed.appendChar(0))
            return false;
    }
    if (!ecckey::TovarMp::mpint_to_fixed_bytes(key.m_privKey, fixed.getDataMutable() + 1, len))
        return false;
    unsigned start = 0;
    while (start < len && fixed[start] == 0 && fixed[start + 1] < 0x80)
        ++start;
    return out.append(fixed.getData2() + start, len + 1 - start);
}

bool loadOpenSshPrivateKey(const DataBuffer &blob, ecckey::EccKey &key, ecckey::LogBase &log,
                           std::string &error) {
    unsigned offset = sizeof kOpenSshMagic;
    StringBuffer cipher;
    StringBuffer kdf;
    DataBuffer kdfOptions;
    unsigned numKeys = 0;
    DataBuffer publicBlob;
    DataBuffer section;
    section.setSensitive();
    if (blob.getSize() < offset || std::memcmp(blob.getData2(), kOpenSshMagic, offset) != 0 ||
        !SshMessage::parseString(blob, offset, cipher) || !SshMessage::parseString(blob, offset, kdf) ||
        !SshMessage::parseBinaryString(blob, offset, kdfOptions, log) || !readUint32(blob, offset, numKeys)) {
        error = kMalformed;
        return false;
    }
    if (!cipher.equals("none")) {
        error =
            "the OpenSSH private key is encrypted, which ecckey does not read: 'ssh-keygen -p -m PKCS8 -f "
            "FILE' rewrites it as encrypted PKCS #8, which --passin reads";
        return false;
    }
    if (numKeys != 1 || !SshMessage::parseBinaryString(blob, offset, publicBlob, log) ||
        !SshMessage::parseBinaryString(blob, offset, section, log) || offset != blob.getSize()) {
        error = numKeys != 1 ? "the OpenSSH file holds " + std::to_string(numKeys) + " keys, not one"
                             : kMalformed;
        return false;
    }
    DataBuffer derived;
    if (!loadPrivateSection(section, key, log, error))
        return false;
    if (!key.puttyPublicKeyBlob(derived, log) || !derived.equals(publicBlob)) {
        error = "the public key of the OpenSSH file does not belong to its private key";
        return false;
    }
    return true;
}

bool writeOpenSshPrivateKey(ecckey::EccKey &key, DataBuffer &out, ecckey::LogBase &log) {
    DataBuffer publicBlob;
    DataBuffer checkInt;
    DataBuffer dMpint;
    DataBuffer section;
    DataBuffer blob;
    dMpint.setSensitive();
    section.setSensitive();
    blob.setSensitive();
    ecckey::SystemPrng prng;
    // The private section repeats the public blob's fields (type, curve, point) before d.
    bool ok = key.puttyPublicKeyBlob(publicBlob, log) && prng.genRandom(4, checkInt, log) &&
              appendSecretMpint(key, dMpint) && section.append(checkInt) && section.append(checkInt) &&
              section.append(publicBlob) && SshMessage::pack_db(dMpint, section) &&
              SshMessage::pack_string("", section);
    for (unsigned char pad = 1; ok && section.getSize() % kOpenSshBlockLen != 0; ++pad)
        ok = section.appendChar(pad);
    ok = ok && blob.append(kOpenSshMagic, sizeof kOpenSshMagic) && SshMessage::pack_string("none", blob) &&
         SshMessage::pack_string("none", blob) && SshMessage::pack_string("", blob) &&
         blob.appendUint32_be(1) && SshMessage::pack_db(publicBlob, blob) &&
         SshMessage::pack_db(section, blob);
    StringBuffer pem;
    return ok && ecckey::_tvPublicKey::derToPem(ecckey::kPemOpensshPrivateKey, blob, pem, log) &&
           out.append(pem);
}

}  // namespace ecckey_cli
