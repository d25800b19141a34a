#include "KeyDecoder.h"

#include <algorithm>
#include <cstring>

#include "CompressedPoint.h"
#include "EncryptedKey.h"
#include "FormatMessages.h"
#include "KeyBounds.h"
#include "PuttyKey.h"
#include "RawHexKey.h"
#include "Sec1Explicit.h"
#include "SshPrivateKey.h"
#include "ecc/EccKey.h"
#include "ecc/PointDecompression.h"
#include "formats/CoseKey.h"
#include "support/JsonObject.h"
#include "support/LogBase.h"
#include "support/PemLabels.h"
#include "support/PublicKey.h"
#include "support/SshMessage.h"
#include "support/Xml.h"

namespace ecckey::formats {

namespace {

const char kCannotReadPem[] = "cannot read the PEM block";
const char kUnrecognisedFormat[] = "unrecognised key format";

// One call of decodeKey: what the caller gave and what is found.
struct Request {
    const PassphraseCallback &passphrase;
    const DecodeOptions &options;
    DecodedKey &result;
};

[[nodiscard]] bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

[[nodiscard]] bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

const char *skipSpace(const char *p) {
    while (isSpace(*p))
        ++p;
    return p;
}

// Copies text content into a NUL-terminated text. Binary content (a control byte other than white space,
// or a NUL: every DER key has them in its tags and lengths) is refused, unless a PEM END line comes before
// the first binary byte: the text then stops there, since some tools append other data to a PEM file and
// OpenSSL reads it. A UTF-8 byte-order mark is dropped. The copy wipes itself, like every StringBuffer.
[[nodiscard]] bool contentAsText(const DataBuffer &content, StringBuffer &text) {
    static const char kEnd[] = "-----END ";
    const unsigned char *bytes = content.getData2();
    unsigned start = 0;
    unsigned end = content.getSize();
    if (end >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF)
        start = 3;
    for (unsigned i = start; i < end; ++i) {
        const unsigned char c = bytes[i];
        if ((c < 0x20 && !isSpace((char)c)) || c == 0x7F)
            end = i;
    }
    if (end < content.getSize() && std::search(bytes + start, bytes + end, kEnd, kEnd + 9) == bytes + end)
        return false;
    return text.append(reinterpret_cast<const char *>(bytes) + start, end - start);
}

// DER of a key through the checked loader, its compressed points made whole and a bare SEC 1 key with
// explicit parameters put in PKCS #8 first.
[[nodiscard]] bool loadCheckedDer(DataBuffer &der, EccKey &key, LogBase &log, std::string &error,
                                  const char *failure) {
    if (!decompressKeyDer(der, log, error))
        return false;
    if (!explicitSec1AsPkcs8(der, log)) {
        error = kOutOfMemory;
        return false;
    }
    if (!key.loadEccDerChecked(der, log)) {
        error = failure;
        return false;
    }
    return true;
}

[[nodiscard]] bool loadDer(const DataBuffer &content, EccKey &key, LogBase &log, std::string &error,
                           Request &request) {
    DataBuffer der;
    der.setSensitive();
    if (!isEncryptedPkcs8(content))
        return der.append(content) && loadCheckedDer(der, key, log, error, "cannot load the DER key");
    request.result.format = "DER (encrypted PKCS #8)";
    request.result.encrypted = true;
    request.result.cipher = pkcs8CipherName(content);
    StringBuffer passphrase;
    return askPassphrase(request.passphrase, passphrase, error) &&
           decryptPkcs8(content, passphrase, der, error) &&
           loadCheckedDer(der, key, log, error, "cannot load the decrypted DER key");
}

// The DER of the PEM block at begin, decrypted when it is an encrypted private key.
[[nodiscard]] bool pemBlockDer(const char *begin, const std::string &label, Request &request, DataBuffer &der,
                               LogBase &log, std::string &error) {
    StringBuffer passphrase;
    StringBuffer pemLabel;
    DataBuffer encrypted;
    request.result.encrypted =
        label == kPemEncryptedPrivateKey || (label == kPemEcPrivateKey && isEncryptedPemBlock(begin));
    if (label == kPemEcPrivateKey && request.result.encrypted)
        request.result.cipher = pemCipherName(begin);
    if (label == kPemEcPrivateKey && request.result.encrypted)
        return askPassphrase(request.passphrase, passphrase, error) &&
               decryptPemBlock(begin, passphrase, der, error);
    if (!ecckey::_tvPublicKey::pemToDer(begin, pemLabel,
                                        label == ecckey::kPemEncryptedPrivateKey ? encrypted : der, log)) {
        error = kCannotReadPem;
        return false;
    }
    if (label != kPemEncryptedPrivateKey)
        return true;
    request.result.cipher = pkcs8CipherName(encrypted);
    return askPassphrase(request.passphrase, passphrase, error) &&
           decryptPkcs8(encrypted, passphrase, der, error);
}

[[nodiscard]] bool loadOpenSshPem(const char *begin, EccKey &key, LogBase &log, std::string &error,
                                  Request &request) {
    StringBuffer pemLabel;
    DataBuffer blob;
    request.result.format = "OpenSSH private key";
    if (!_tvPublicKey::pemToDer(begin, pemLabel, blob, log)) {
        error = kCannotReadPem;
        return false;
    }
    return loadOpenSshPrivateKey(blob, request.passphrase, key, request.result, log, error);
}

// The first PEM block that holds a key; an "EC PARAMETERS" block ahead of it (as `openssl ecparam
// -genkey` writes) is passed over. The label ends on its BEGIN line, and must agree with what the block
// holds.
[[nodiscard]] bool loadPem(const char *text, EccKey &key, LogBase &log, std::string &error,
                           Request &request) {
    static const char kDashes[] = "-----";
    const char *search = text;
    for (;;) {
        const char *begin = std::strstr(search, "-----BEGIN ");
        if (begin == nullptr) {
            error = "no PEM key block found";
            return false;
        }
        const char *labelStart = begin + 11;
        const char *lineEnd = labelStart + std::strcspn(labelStart, "\r\n");
        const char *labelEnd = std::search(labelStart, lineEnd, kDashes, kDashes + 5);
        if (labelEnd == lineEnd) {
            error = "the PEM BEGIN line does not end in -----";
            return false;
        }
        const std::string label(labelStart, labelEnd);
        if (label == "EC PARAMETERS") {
            search = labelEnd;
            continue;
        }
        request.result.format = "PEM \"" + label + "\"";
        request.result.pemLabel = label;
        if (label == kPemOpensshPrivateKey)
            return loadOpenSshPem(begin, key, log, error, request);
        const bool privateLabel =
            label == kPemPrivateKey || label == kPemEcPrivateKey || label == kPemEncryptedPrivateKey;
        if (!privateLabel && label != kPemPublicKey) {
            error = "the PEM block" + quotedName(label) + " is not an EC key";
            return false;
        }
        DataBuffer der;
        der.setSensitive();
        if (!pemBlockDer(begin, label, request, der, log, error) ||
            !loadCheckedDer(der, key, log, error, "cannot load the key in the PEM block"))
            return false;
        if (key.isPrivate() != privateLabel) {
            error = "the PEM label \"" + label + "\" does not match the key it holds";
            return false;
        }
        return true;
    }
}

[[nodiscard]] bool isEcJwk(const ClsJsonObject &jwk) {
    StringBuffer kty;
    LogNull quiet;
    return jwk.isStringAt("kty") && jwk.sbOfPathUtf8("kty", kty, quiet) && kty.equals("EC");
}

[[nodiscard]] bool hasKid(const ClsJsonObject &jwk, const char *kid) {
    StringBuffer value;
    LogNull quiet;
    return jwk.isStringAt("kid") && jwk.sbOfPathUtf8("kid", value, quiet) && value.equals(kid);
}

// One JWK. The loader reads "crv", "x", "y" and "d" only, and reads a member that is not a string (null,
// true, a number) from its JSON spelling: such a key is refused, as is an RSA or OKP key that would
// otherwise pass for an EC one.
[[nodiscard]] bool loadJwkObject(ClsJsonObject &jwk, EccKey &key, LogBase &log, std::string &error) {
    LogNull quiet;
    if (!isEcJwk(jwk)) {
        StringBuffer kty;
        // Without a kty the message names none.
        (void)jwk.sbOfPathUtf8("kty", kty, quiet);
        const std::string name = quotedName(kty.getString());
        error = "the JWK is not an EC key" + (name.empty() ? std::string() : " (kty" + name + ")");
        return false;
    }
    StringBuffer text;
    for (const char *member : {"crv", "x", "y", "d"}) {
        if (jwk.hasMember(member, quiet) && !jwk.isStringAt(member)) {
            error = std::string("the JWK member \"") + member + "\" is not a string";
            return false;
        }
        // base64url of kMaxScalarLen bytes: 88 characters
        if (*member != 'c' && jwk.sbOfPathUtf8(member, text, quiet) && text.getSize() > 88) {
            error = std::string("the JWK member \"") + member + "\" is longer than any curve's value";
            return false;
        }
        text.secureClear();
    }
    if (!key.loadAnyJwk(jwk, log)) {
        error = "cannot load the JWK";
        return false;
    }
    DataBuffer d;
    d.setSensitive();
    return !key.isPrivate() ||
           (jwk.sbOfPathUtf8("d", text, quiet) && d.appendEncoded(text.getString(), "base64url") &&
            scalarAsWrittenFits(key.m_curve, d, error));
}

// From a JWK Set ({"keys": [...]}), its one EC key, or the EC key whose "kid" is kid.
[[nodiscard]] bool selectFromJwkSet(const ClsJsonObject &set, const char *kid, ClsJsonObject &jwk,
                                    LogBase &log, std::string &error) {
    const int numKeys = set.sizeOfArrayAt("keys");
    int numEcKeys = 0;
    int numMatches = 0;  // a kid names one key: two of the same kid are refused, not the first taken
    int chosen = -1;
    ClsJsonObject element;
    LogNull quiet;
    for (int i = 0; i < numKeys; ++i) {
        if (!element.loadArrayElement(set, "keys", i, quiet) || !isEcJwk(element))
            continue;
        ++numEcKeys;
        if (kid != nullptr && hasKid(element, kid) && ++numMatches == 1)
            chosen = i;
        if (kid == nullptr && chosen < 0)
            chosen = i;
    }
    if (numKeys < 0)
        error = "the \"keys\" member of the JWK Set is not an array";
    else if (kid != nullptr && chosen < 0)
        error = std::string("the JWK Set has no EC key whose kid is '") + kid + "'";
    else if (numMatches > 1)
        error = "the JWK Set holds " + std::to_string(numMatches) + " EC keys whose kid is '" + kid + "'";
    else if (numEcKeys == 0)
        error = "the JWK Set holds no EC key";
    else if (kid == nullptr && numEcKeys > 1)
        error = "the JWK Set holds " + std::to_string(numEcKeys) + " EC keys; choose one with --kid";
    else
        return jwk.loadArrayElement(set, "keys", chosen, log);
    return false;
}

[[nodiscard]] bool loadJwk(const char *text, const char *kid, EccKey &key, LogBase &log, std::string &error) {
    ClsJsonObject json;
    if (!json.load(text, log)) {
        error = "cannot parse the JSON key";
        return false;
    }
    LogNull quiet;
    if (!json.hasMember("keys", quiet))
        return loadJwkObject(json, key, log, error);
    ClsJsonObject jwk;
    return selectFromJwkSet(json, kid, jwk, log, error) && loadJwkObject(jwk, key, log, error);
}

// The XML forms: a point (the public forms) or the DER of a private key, which goes through the checked
// DER loader, as a DER file does. No XML key is near 16 KiB, so no value in one can cost LibTomMath time.
bool loadXml(const char *text, EccKey &key, LogBase &log, std::string &error) {
    ClsXml xml;
    StringBuffer content;
    DataBuffer der;
    der.setSensitive();
    if (std::strlen(text) > 16384) {
        error = "the XML key is longer than any key";
        return false;
    }
    if (!xml.loadXml(text, log)) {
        error = "cannot load the XML key";
        return false;
    }
    const bool isDer = !xml.hasChildWithTag("*:PublicKey");
    if (isDer && xml.get_Content(content) && der.appendEncoded(content.getString(), "base64"))
        return loadCheckedDer(der, key, log, error, "cannot load the XML key");
    if (isDer || !key.loadAnyXml(xml, log)) {
        error = "cannot load the XML key";
        return false;
    }
    return true;
}

// The comment after the key of an OpenSSH public-key line, as OpenSSH takes it: the rest of the line
// after spaces and tabs, unless it starts with '#'.
std::string sshComment(const char *afterKey) {
    const char *start = afterKey + std::strspn(afterKey, " \t");
    const std::string comment(start, std::strcspn(start, "\n"));
    return comment.empty() || comment[0] == '#' ? std::string() : comment;
}

// "ecdsa-sha2-ID BASE64 [comment]": the blob holds the key type again, the curve identifier and the
// X9.63 point, and nothing after them.
[[nodiscard]] bool loadSshLine(const char *text, EccKey &key, LogBase &log, std::string &error,
                               std::string &comment) {
    const char *p = text;
    const char *typeEnd = p;
    while (*typeEnd != '\0' && !isSpace(*typeEnd))
        ++typeEnd;
    const std::string lineType(p, typeEnd);
    const char *b64 = skipSpace(typeEnd);
    const char *b64End = b64;
    while (*b64End != '\0' && !isSpace(*b64End))
        ++b64End;
    if (lineType.compare(0, 11, "ecdsa-sha2-") != 0) {
        error = "the SSH key" + quotedName(lineType) + kNotAnEcdsaKey;
        return false;
    }
    DataBuffer blob;
    StringBuffer blobType;
    StringBuffer curveId;
    DataBuffer point;
    unsigned offset = 0;
    if (!blob.appendEncoded(std::string(b64, b64End).c_str(), "base64") ||
        !SshMessage::parseString(blob, offset, blobType) || !SshMessage::parseString(blob, offset, curveId) ||
        !SshMessage::parseBinaryString(blob, offset, point, log) || offset != blob.getSize()) {
        error = "malformed SSH public-key blob";
        return false;
    }
    if (!blobType.equals(lineType.c_str()) || lineType != std::string("ecdsa-sha2-") + curveId.getString()) {
        error = "the SSH key type" + quotedName(lineType) + " does not match the type and curve in its blob";
        return false;
    }
    // "nistk256" is the identifier the library writes for secp256k1; the catalogue knows the others.
    const char *curveName = curveId.equals("nistk256") ? "secp256k1" : curveId.getString();
    if (!pointLenFits(point, error))
        return false;
    if (!key.loadEcPubKeyByCurveAndPoint(curveName, point, log)) {
        error = "cannot load the SSH public key";
        return false;
    }
    comment = sshComment(b64End);
    return true;
}

// A bare hexadecimal string: an X9.63 point of 65, 97 or 133 bytes (compressed: 33, 49 or 67), or a
// scalar of 32, 48 or 66 bytes.
[[nodiscard]] bool loadBareHex(const char *text, EccKey &key, LogBase &log, std::string &error) {
    DataBuffer bytes;
    bytes.setSensitive();
    if (!bytes.appendEncoded(text, "hex")) {
        error = "cannot decode the hexadecimal key";
        return false;
    }
    const unsigned compressedSize = bytes.getSize();
    const char *curveName = compressedSize == 33 ? "P-256" : compressedSize == 49 ? "P-384" : "P-521";
    if ((compressedSize == 33 || compressedSize == 49 || compressedSize == 67) &&
        !makePointWhole(curveName, bytes, error))
        return false;
    const unsigned size = bytes.getSize();
    const bool isPoint = size > 0 && bytes[0] == 0x04 && (size == 65 || size == 97 || size == 133);
    // The library reads a scalar of any length before it looks at the size: only the three sizes go on.
    ecckey::EccCurve curve;
    ecckey::LogNull quiet;
    const bool isScalar = size == 32 || size == 48 || size == 66;
    if (!isPoint && isScalar &&
        (!curve.loadCurveByName(size == 32   ? "P-256"
                                : size == 48 ? "P-384"
                                             : "P-521",
                                quiet) ||
         !scalarAsWrittenFits(curve, bytes, error)))
        return false;
    if (isPoint ? !key.loadEccPublicRaw(bytes, log)
                : !isScalar || !key.loadEccPrivateRaw(bytes, false, log)) {
        error =
            "cannot load the hexadecimal key (bare hexadecimal is read for P-256, P-384 and P-521 only; "
            "use the raw-hex form with a curve line for the others)";
        return false;
    }
    return true;
}

[[nodiscard]] bool onlyHex(const char *text) {
    bool any = false;
    for (const char *p = text; *p != '\0'; ++p) {
        if (isSpace(*p))
            continue;
        if (!isHexDigit(*p))
            return false;
        any = true;
    }
    return any;
}

[[nodiscard]] bool loadText(const char *text, EccKey &key, LogBase &log, std::string &error,
                            Request &request) {
    std::string &format = request.result.format;
    const char *start = skipSpace(text);
    if (isPuttyKeyFile(start)) {
        format = "PuTTY private key";
        return loadPuttyKey(start, request.passphrase, key, request.result, log, error);
    }
    if (std::strstr(start, "-----BEGIN ") != nullptr)
        return loadPem(start, key, log, error, request);
    format = *start == '{'   ? "JWK"
             : *start == '<' ? "XML"
             : std::strncmp(start, "ecdsa-sha2-", 11) == 0 || std::strncmp(start, "ssh-", 4) == 0
                 ? "OpenSSH public key"
             : isRawHexText(start) ? "raw-hex"
                                   : "hexadecimal";
    if (*start == '{')
        return loadJwk(start, request.options.kid, key, log, error);
    if (*start == '<')
        return loadXml(start, key, log, error);
    if (std::strncmp(start, "ecdsa-sha2-", 11) == 0 || std::strncmp(start, "ssh-", 4) == 0)
        return loadSshLine(start, key, log, error, request.result.comment);
    if (isRawHexText(start))
        return loadRawHexKey(start, key, log, error);
    if (onlyHex(start))
        return loadBareHex(start, key, log, error);
    error = *start == '\0' ? "the key file is empty" : kUnrecognisedFormat;
    return false;
}

}  // namespace

bool decodeKey(const DataBuffer &content, const PassphraseCallback &passphrase, const DecodeOptions &options,
               EccKey &key, DecodedKey &result, LogBase &log) {
    result = DecodedKey();
    result.format = "DER";
    Request request{passphrase, options, result};
    StringBuffer text;
    std::string &error = result.error;
    bool loaded;
    if (content.getSize() > kMaxKeyFileBytes) {
        error = "the key file is larger than " + std::to_string(kMaxKeyFileBytes) + " bytes";
        loaded = false;
    } else if (contentAsText(content, text))
        loaded = loadText(text.getString(), key, log, error, request);
    else if (content.getSize() > 0 && content[0] == 0x30)
        loaded = loadDer(content, key, log, error, request);
    else if (content.getSize() > 0 && (content[0] & 0xe0) == 0xa0) {  // a CBOR map
        result.format = "COSE_Key";
        loaded = loadCoseKey(key, content, log);
        if (!loaded)
            error = "the COSE key does not load (EC2 on P-256, P-384, P-521 or secp256k1)";
    } else {
        error = kUnrecognisedFormat;
        loaded = false;
    }
    return loaded && (!options.checked || checkKey(key, log, error));
}

bool askPassphrase(const PassphraseCallback &passphrase, StringBuffer &secret, std::string &error) {
    if (!passphrase) {
        error = kNoPassphraseSource;
        return false;
    }
    return passphrase(secret, error);
}

std::string quotedName(const std::string &name) {
    const auto isNameChar = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               (c != '\0' && std::strchr(" -._@", c) != nullptr);
    };
    if (name.empty() || name.size() > 40 || !std::all_of(name.begin(), name.end(), isNameChar))
        return std::string();
    return " \"" + name + "\"";
}

bool checkKey(EccKey &key, LogBase &log, std::string &error) {
    LogContextExitor context(log, "checkKey");
    if (!key.checkPublicKey(log)) {
        error = std::string("the public point is not on the curve ") + key.m_curve.m_name.getString();
        return false;
    }
    if (key.isPrivate() && !key.checkPrivateKey(log)) {
        error = "the private scalar is out of range or does not give the public point";
        return false;
    }
    return true;
}

}  // namespace ecckey::formats
