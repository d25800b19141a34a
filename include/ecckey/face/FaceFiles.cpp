// Key files for the face: reading any format the core's loaders know, writing each KeyFormat. The one
// place that turns files into keys and back, so that the key-file library replaces it whole. Encrypted
// keys, OpenSSH private keys and .ppk files need that library and are refused as Unsupported here.
#include <cstring>
#include <string>

#include "ecckey/face/Face.h"
#include "support/DataBuffer.h"
#include "support/JsonObject.h"
#include "support/PemLabels.h"
#include "support/PublicKey.h"
#include "support/SshMessage.h"
#include "support/StringBuffer.h"
#include "support/Xml.h"

namespace ecckey {

namespace {

using KeyResult = Result<std::shared_ptr<EccKey>>;

const char kNotYet[] = "this key format needs the key-file library";

bool startsWith(const StringBuffer &text, const char *prefix) {
    return std::strncmp(text.getString(), prefix, std::strlen(prefix)) == 0;
}

// The content as text from its first non-blank character, or false for binary content (a DER key).
[[nodiscard]] bool asText(ByteView file, StringBuffer &text) {
    std::size_t start = 0;
    while (start < file.size() && std::strchr(" \t\r\n", file.data()[start]) != nullptr && file.data()[start])
        ++start;
    for (std::size_t i = start; i < file.size(); ++i) {
        const unsigned char c = file.data()[i];
        if ((c < 0x20 && std::strchr("\t\r\n", (char)c) == nullptr) || c == 0x7F)
            return false;
    }
    return file.size() - start < 0xFFFFFFF0u &&
           text.append(reinterpret_cast<const char *>(file.data()) + start, (unsigned)(file.size() - start));
}

// Through the checked loader; what it refuses is InvalidInput when the trusting loader cannot read it
// either, InvalidKey when only the checks fail.
KeyResult loadDer(DataBuffer &der, FaceLog &log) {
    auto key = std::shared_ptr<EccKey>(newEccKey());
    if (!key)
        return Error(Errc::Internal, "out of memory");
    DataBuffer copy = der;
    if (key->loadEccDerChecked(der, log))
        return key;
    LogNull quiet;
    if (!key->loadEccDer(copy, quiet))
        return log.error(Errc::InvalidInput, "the DER key does not parse");
    key->clearEccKey();
    return log.error(Errc::InvalidKey, "the DER key fails its checks");
}

KeyResult loadPem(const StringBuffer &text, bool havePassphrase, FaceLog &log) {
    const char *begin = std::strstr(text.getString(), "-----BEGIN ");
    while (begin != nullptr && std::strncmp(begin + 11, "EC PARAMETERS-----", 18) == 0)
        begin = std::strstr(begin + 11, "-----BEGIN ");
    if (begin == nullptr)
        return Error(Errc::InvalidInput, "no PEM key block found");
    const bool encrypted =
        std::strncmp(begin + 11, kPemEncryptedPrivateKey, std::strlen(kPemEncryptedPrivateKey)) == 0 ||
        std::strstr(begin, "Proc-Type: 4,ENCRYPTED") != nullptr;
    if (encrypted && !havePassphrase)
        return Error(Errc::NeedPassphrase, "the key is encrypted and no passphrase was given");
    if (encrypted || std::strncmp(begin + 11, kPemOpensshPrivateKey, std::strlen(kPemOpensshPrivateKey)) == 0)
        return Error(Errc::Unsupported, kNotYet);
    StringBuffer label;
    DataBuffer der;
    if (!_tvPublicKey::pemToDer(begin, label, der, log))
        return log.error(Errc::InvalidInput, "cannot read the PEM block");
    if (!label.equals(kPemPublicKey) && !label.equals(kPemPrivateKey) && !label.equals(kPemEcPrivateKey))
        return Error(Errc::InvalidInput, "the PEM block is not an EC key");
    KeyResult key = loadDer(der, log);
    if (key && (*key)->isPrivate() == label.equals(kPemPublicKey))
        return Error(Errc::InvalidInput, "the PEM label does not match the key it holds");
    return key;
}

// A key from a loader that trusts what it reads, checked afterwards.
KeyResult checked(std::shared_ptr<EccKey> key, FaceLog &log) {
    if (!(key->isPrivate() ? key->checkPrivateKey(log) : key->checkPublicKey(log)))
        return log.error(Errc::InvalidKey, "the key fails its checks");
    return key;
}

KeyResult loadJwk(const StringBuffer &text, FaceLog &log) {
    ClsJsonObject json;
    StringBuffer kty;
    LogNull quiet;
    if (!json.load(text.getString(), log))
        return log.error(Errc::InvalidInput, "cannot parse the JSON key");
    if (json.hasMember("keys", quiet))
        return Error(Errc::Unsupported, kNotYet);
    for (const char *member : {"kty", "crv", "x", "y", "d"}) {
        if (json.hasMember(member, quiet) && !json.isStringAt(member))
            return Error(Errc::InvalidInput, "a JWK member is not a string");
    }
    if (!json.sbOfPathUtf8("kty", kty, quiet) || !kty.equals("EC"))
        return Error(Errc::InvalidInput, "the JWK is not an EC key");
    auto key = std::shared_ptr<EccKey>(newEccKey());
    if (!key)
        return Error(Errc::Internal, "out of memory");
    if (!key->loadAnyJwk(json, log))
        return log.error(Errc::InvalidInput, "cannot load the JWK");
    return checked(key, log);
}

KeyResult loadXml(const StringBuffer &text, FaceLog &log) {
    ClsXml xml;
    auto key = std::shared_ptr<EccKey>(newEccKey());
    if (!key)
        return Error(Errc::Internal, "out of memory");
    if (!xml.loadXml(text.getString(), log) || !key->loadAnyXml(xml, log))
        return log.error(Errc::InvalidInput, "cannot load the XML key");
    return checked(key, log);
}

// "ecdsa-sha2-ID BASE64 [comment]", whose blob repeats the type, then the curve identifier and the point.
KeyResult loadSshLine(const StringBuffer &text, FaceLog &log) {
    const std::string line(text.getString(), std::strcspn(text.getString(), "\r\n"));
    const std::size_t typeEnd = line.find(' ');
    const std::size_t b64End = line.find(' ', typeEnd == std::string::npos ? line.size() : typeEnd + 1);
    if (typeEnd == std::string::npos)
        return Error(Errc::InvalidInput, "malformed SSH public-key line");
    DataBuffer blob;
    DataBuffer point;
    StringBuffer blobType;
    StringBuffer curveId;
    unsigned offset = 0;
    if (!blob.appendEncoded(line.substr(typeEnd + 1, b64End - typeEnd - 1).c_str(), "base64") ||
        !SshMessage::parseString(blob, offset, blobType) || !SshMessage::parseString(blob, offset, curveId) ||
        !SshMessage::parseBinaryString(blob, offset, point, log) || offset != blob.getSize() ||
        line.compare(0, typeEnd, blobType.getString()) != 0 ||
        std::string("ecdsa-sha2-") + curveId.getString() != blobType.getString())
        return Error(Errc::InvalidInput, "malformed SSH public-key blob");
    auto key = std::shared_ptr<EccKey>(newEccKey());
    if (!key)
        return Error(Errc::Internal, "out of memory");
    // "nistk256" is the identifier written for secp256k1; the catalogue knows the others.
    const char *curveName = curveId.equals("nistk256") ? "secp256k1" : curveId.getString();
    if (!key->loadEcPubKeyByCurveAndPoint(curveName, point, log))
        return log.error(Errc::InvalidInput, "cannot load the SSH public key");
    return checked(key, log);
}

KeyResult readKeyFile(ByteView file, bool havePassphrase) {
    FaceLog log;
    StringBuffer text;
    if (file.empty())
        return Error(Errc::InvalidInput, "the key file is empty");
    if (!asText(file, text)) {
        DataBuffer der;
        if (!toDataBuffer(file, der))
            return Error(Errc::Internal, "out of memory");
        return loadDer(der, log);
    }
    if (std::strstr(text.getString(), "-----BEGIN ") != nullptr)
        return loadPem(text, havePassphrase, log);
    if (startsWith(text, "{"))
        return loadJwk(text, log);
    if (startsWith(text, "<"))
        return loadXml(text, log);
    if (startsWith(text, "ecdsa-sha2-"))
        return loadSshLine(text, log);
    if (startsWith(text, "PuTTY-User-Key-File-") || startsWith(text, "curve:"))
        return Error(Errc::Unsupported, kNotYet);
    return Error(Errc::InvalidInput, "unrecognised key format");
}

// The SSH name of the key's curve, or null for the curves whose blob would borrow P-256's name.
const char *sshCurveId(const EccKey &key) {
    const char *id = key.m_curve.puttyCurveName();
    return std::strcmp(id, "nistp256") == 0 && !key.m_curve.m_name.equals("secp256r1") ? nullptr : id;
}

[[nodiscard]] bool appendDer(const DataBuffer &der, const char *pemLabel, StringBuffer &out, FaceLog &log) {
    return pemLabel != nullptr ? _tvPublicKey::derToPem(pemLabel, der, out, log)
                               : out.append(reinterpret_cast<const char *>(der.getData2()), der.getSize());
}

// The key in format into out (a StringBuffer wipes itself). Unsupported for what the format cannot hold.
Result<bool> writeKey(const EccKey &key, KeyFormat format, FaceLog &log, StringBuffer &out) {
    const bool priv = key.isPrivate();
    DataBuffer der;
    der.setSensitive();
    StringBuffer privHex;
    StringBuffer pubHex;
    DataBuffer blob;
    bool ok = false;
    switch (format) {
        case KeyFormat::Pem:
        case KeyFormat::Der: {
            const char *label = format == KeyFormat::Der ? nullptr : priv ? kPemPrivateKey : kPemPublicKey;
            ok = (priv ? key.toEccPkcs8PrivateKeyDer(der, log) : key.toPublicKeyDer_shortFmt(der, log)) &&
                 appendDer(der, label, out, log);
            break;
        }
        case KeyFormat::Sec1Pem:
        case KeyFormat::Sec1Der:
            if (!priv)
                return Error(Errc::Unsupported, "the format holds private keys only");
            ok = key.toEccPkcs1PrivateKeyDer(der, log) &&
                 appendDer(der, format == KeyFormat::Sec1Pem ? kPemEcPrivateKey : nullptr, out, log);
            break;
        case KeyFormat::Jwk:
            ok = (priv ? key.toEccPrivateKeyJwk(out, log) : key.toEccPublicKeyJwk(out, false, log)) &&
                 out.appendChar('\n');
            break;
        case KeyFormat::Xml:
            ok = (priv ? key.toEccPrivateKeyXml(out, log) : key.toEccPublicKeyXml(out, log)) &&
                 out.appendChar('\n');
            break;
        case KeyFormat::XmlDsig:
        case KeyFormat::Ssh:
            if (priv)
                return Error(Errc::Unsupported, "the format holds public keys only");
            if (format == KeyFormat::XmlDsig) {
                ok = key.toEccPublicKeyXmlDSig(out, log) && out.appendChar('\n');
                break;
            }
            if (sshCurveId(key) == nullptr)
                return Error(Errc::Unsupported, "SSH has no name for this curve");
            ok = key.puttyPublicKeyBlob(blob, log) && out.append2("ecdsa-sha2-", sshCurveId(key)) &&
                 out.appendChar(' ') && blob.encodeDB("base64", out) && out.appendChar('\n');
            break;
        case KeyFormat::RawHex:
            ok = key.toRawHex(privHex, pubHex, log) &&
                 out.append3("curve: ", key.m_curve.m_name.getString(), "\n") &&
                 (!priv || out.append3("private: ", privHex.getString(), "\n")) &&
                 out.append3("public: ", pubHex.getString(), "\n");
            break;
        case KeyFormat::SpkiExplicit:
        case KeyFormat::OpenSsh:
        case KeyFormat::Ppk:
            return Error(Errc::Unsupported, kNotYet);
    }
    if (!ok)
        return log.error(Errc::Internal, "cannot write the key");
    return true;
}

Result<std::string> saveKey(const EccKey *key, KeyFormat format, bool encrypt) {
    if (key == nullptr)
        return Error(Errc::InvalidKey, kEmptyKey);
    if (encrypt)
        return Error(Errc::Unsupported, kNotYet);
    FaceLog log;
    StringBuffer out;
    Result<bool> written = writeKey(*key, format, log, out);
    if (!written)
        return written.error();
    return std::string(out.getString(), out.getSize());
}

}  // namespace

Result<PublicKey> PublicKey::load(ByteView file) {
    return guarded<PublicKey>([&]() -> Result<PublicKey> {
        KeyResult key = readKeyFile(file, false);
        if (!key)
            return key.error();
        if (!(*key)->isPrivate())
            return PublicKey(*key);
        std::unique_ptr<EccKey> owned = newEccKey();
        if (!owned)
            return Error(Errc::Internal, "out of memory");
        owned->copyFromEccKey(**key);
        PublicKey half = FaceAccess::makePrivate(std::move(owned)).publicKey();
        if (!half.m_key)
            return Error(Errc::Internal, "out of memory");
        return half;
    });
}

Result<PrivateKey> PrivateKey::load(ByteView file, std::string_view passphrase) {
    return guarded<PrivateKey>([&]() -> Result<PrivateKey> {
        KeyResult key = readKeyFile(file, !passphrase.empty());
        if (!key)
            return key.error();
        if (!(*key)->isPrivate())
            return Error(Errc::InvalidKey, "the file holds a public key");
        std::unique_ptr<EccKey> owned = newEccKey();
        if (!owned)
            return Error(Errc::Internal, "out of memory");
        owned->copyFromEccKey(**key);
        return PrivateKey(std::move(owned));
    });
}

Result<std::string> PublicKey::save(KeyFormat format) const {
    return guarded<std::string>([&]() { return saveKey(m_key.get(), format, false); });
}

Result<std::string> PrivateKey::save(KeyFormat format, std::string_view passphrase) const {
    return guarded<std::string>([&]() { return saveKey(m_key.get(), format, !passphrase.empty()); });
}

}  // namespace ecckey
