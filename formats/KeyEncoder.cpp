#include "KeyEncoder.h"

#include <cstring>

#include "CompressedPoint.h"
#include "EncryptedKey.h"
#include "FormatMessages.h"
#include "OpenSslLayout.h"
#include "PuttyKey.h"
#include "RawHexKey.h"
#include "SshPrivateKey.h"
#include "ecc/EccKey.h"
#include "formats/CoseKey.h"
#include "support/LogBase.h"
#include "support/PemLabels.h"
#include "support/PublicKey.h"

namespace ecckey::formats {

namespace {

// Collects the pieces of one text output; the text goes to out only when every piece succeeded.
[[nodiscard]] bool appendText(const StringBuffer &text, bool newline, DataBuffer &out) {
    return out.append(text) && (!newline || out.appendChar('\n'));
}

[[nodiscard]] bool wrapPem(const char *label, const DataBuffer &der, DataBuffer &out, LogBase &log) {
    StringBuffer pem;
    return _tvPublicKey::derToPem(label, der, pem, log) && appendText(pem, false, out);
}

// PKCS #8, encrypted under options.passphrase when it is given.
[[nodiscard]] bool writePkcs8(EccKey &key, bool pem, const EncodeOptions &options, DataBuffer &out,
                              LogBase &log, std::string &error) {
    DataBuffer der;
    der.setSensitive();
    if (!key.toEccPkcs8PrivateKeyDer(der, log) || !toOpenSslPkcs8(der, log) ||
        (options.compressedPoint && !compressPrivateKeyDer(der, true)))
        return false;
    // The library's PEM writer labels every private structure "EC PRIVATE KEY"; PKCS #8 readers
    // (OpenSSL among them) expect "PRIVATE KEY" for this one, so the DER is wrapped here.
    if (options.passphrase == nullptr)
        return pem ? wrapPem(kPemPrivateKey, der, out, log) : out.append(der);
    DataBuffer encrypted;
    const unsigned long iterations =
        options.pbkdf2Iterations == 0 ? kDefaultIterations : options.pbkdf2Iterations;
    if (!encryptPkcs8(der, *options.passphrase, encrypted, error, iterations))
        return false;
    return pem ? wrapPem(kPemEncryptedPrivateKey, encrypted, out, log) : out.append(encrypted);
}

[[nodiscard]] bool writeSec1(EccKey &key, bool pem, bool compressed, DataBuffer &out, LogBase &log) {
    DataBuffer der;
    der.setSensitive();
    if (!key.toEccPkcs1PrivateKeyDer(der, log) || (compressed && !compressPrivateKeyDer(der, false)))
        return false;
    return pem ? wrapPem(kPemEcPrivateKey, der, out, log) : out.append(der);
}

[[nodiscard]] bool writeSpki(EccKey &key, bool pem, bool explicitParams, bool compressed, DataBuffer &out,
                             LogBase &log) {
    DataBuffer der;
    const bool ok = explicitParams
                        ? key.toPublicKeyDer_longFmt(der, log) &&
                              toOpenSslExplicitSpki(der, (unsigned)key.m_curve.m_byteLen, log)
                        : key.toPublicKeyDer_shortFmt(der, log) && (!compressed || compressSpki(der, log));
    return ok && (pem ? wrapPem(kPemPublicKey, der, out, log) : out.append(der));
}

[[nodiscard]] bool writeSshLine(EccKey &key, const std::string &comment, DataBuffer &out, LogBase &log,
                                std::string &error) {
    const std::string keyType = sshKeyTypeName(key);
    if (keyType.empty()) {
        error = std::string(kNoSshNameFor) + key.m_curve.m_name.getString();
        return false;
    }
    DataBuffer blob;
    StringBuffer line;
    if (!key.puttyPublicKeyBlob(blob, log))
        return false;
    return line.append2(keyType.c_str(), " ") && blob.encodeDB("base64", line) &&
           (comment.empty() || line.append2(" ", comment.c_str())) && appendText(line, true, out);
}

[[nodiscard]] bool writeOpenSsh(EccKey &key, const EncodeOptions &options, DataBuffer &out, LogBase &log,
                                std::string &error) {
    if (sshKeyTypeName(key).empty()) {
        error = std::string("an OpenSSH key has no name for ") + key.m_curve.m_name.getString();
        return false;
    }
    return writeOpenSshPrivateKey(key, options.passphrase, options.comment, out, log);
}

[[nodiscard]] bool writeText(bool (EccKey::*writer)(StringBuffer &, LogBase &) const, EccKey &key,
                             DataBuffer &out, LogBase &log) {
    StringBuffer text;
    return (key.*writer)(text, log) && appendText(text, true, out);
}

[[nodiscard]] bool writePublicJwk(EccKey &key, DataBuffer &out, LogBase &log) {
    StringBuffer text;
    return key.toEccPublicKeyJwk(text, false, log) && appendText(text, true, out);
}

[[nodiscard]] bool writeFormat(EccKey &key, KeyFormat format, bool writePrivate, const EncodeOptions &options,
                               DataBuffer &out, LogBase &log, std::string &error) {
    switch (format) {
        case KeyFormat::Pem:
            return writePrivate ? writePkcs8(key, true, options, out, log, error)
                                : writeSpki(key, true, false, options.compressedPoint, out, log);
        case KeyFormat::Der:
            return writePrivate ? writePkcs8(key, false, options, out, log, error)
                                : writeSpki(key, false, false, options.compressedPoint, out, log);
        case KeyFormat::Sec1Pem:
            return writeSec1(key, true, options.compressedPoint, out, log);
        case KeyFormat::Sec1Der:
            return writeSec1(key, false, options.compressedPoint, out, log);
        case KeyFormat::SpkiExplicit:
            return writeSpki(key, true, true, false, out, log);
        case KeyFormat::Jwk:
            return writePrivate ? writeText(&EccKey::toEccPrivateKeyJwk, key, out, log)
                                : writePublicJwk(key, out, log);
        case KeyFormat::Xml:
            return writeText(writePrivate ? &EccKey::toEccPrivateKeyXml : &EccKey::toEccPublicKeyXml, key,
                             out, log);
        case KeyFormat::XmlDsig:
            return writeText(&EccKey::toEccPublicKeyXmlDSig, key, out, log);
        case KeyFormat::Ssh:
            return writeSshLine(key, options.comment, out, log, error);
        case KeyFormat::OpenSsh:
            return writeOpenSsh(key, options, out, log, error);
        case KeyFormat::Ppk:
            return writePuttyKey(key, options.passphrase, options.comment, options.ppkVersion, out, log,
                                 error);
        case KeyFormat::RawHex:
            return writeRawHexKey(key, writePrivate, options.compressedPoint, out, log);
        case KeyFormat::Cose:
            if (toCoseKey(key, writePrivate, nullptr, 0, false, out, log))
                return true;
            error = "a COSE key is on P-256, P-384, P-521 or secp256k1";
            return false;
    }
    return false;
}

// Where the options ask for more than the format carries, the refusal names it.
[[nodiscard]] bool optionsFit(KeyFormat format, bool writePrivate, const EncodeOptions &options,
                              std::string &error) {
    const bool encrypts = format == KeyFormat::Pem || format == KeyFormat::Der ||
                          format == KeyFormat::OpenSsh || format == KeyFormat::Ppk;
    const bool takesComment =
        format == KeyFormat::OpenSsh || format == KeyFormat::Ppk || format == KeyFormat::Ssh;
    if (options.passphrase != nullptr && (!writePrivate || !encrypts))
        error = "a passphrase encrypts private keys in the pem, der, openssh and ppk formats only";
    else if (options.passphrase != nullptr && options.passphrase->isEmpty())
        error = "the passphrase is empty";
    else if (!options.comment.empty() &&
             (!takesComment || options.comment.find_first_of("\r\n") != std::string::npos))
        error = "a comment is written in the openssh, ppk and ssh formats only, on one line";
    else if (options.pbkdf2Iterations > kMaxIterations)
        error = "more than 1000000 PBKDF2 iterations make a key that readers here refuse";
    else if (options.ppkVersion != 2 && options.ppkVersion != 3)
        error = "a .ppk file is version 2 or 3";
    else if (options.compressedPoint && format != KeyFormat::Pem && format != KeyFormat::Der &&
             format != KeyFormat::Sec1Pem && format != KeyFormat::Sec1Der && format != KeyFormat::RawHex)
        error = "compressed points are written in the pem, der, sec1-pem, sec1-der and raw-hex formats only";
    return error.empty();
}

}  // namespace

bool holdsPrivate(KeyFormat format) {
    return format != KeyFormat::SpkiExplicit && format != KeyFormat::XmlDsig && format != KeyFormat::Ssh;
}

bool holdsPublic(KeyFormat format) {
    return format != KeyFormat::Sec1Pem && format != KeyFormat::Sec1Der && format != KeyFormat::OpenSsh &&
           format != KeyFormat::Ppk;
}

bool isBinary(KeyFormat format) {
    return format == KeyFormat::Der || format == KeyFormat::Sec1Der || format == KeyFormat::Cose;
}

bool encodeKey(EccKey &key, KeyFormat format, bool writePrivate, const EncodeOptions &options,
               DataBuffer &out, LogBase &log, std::string &error) {
    out.clear();
    error.clear();
    if (!optionsFit(format, writePrivate, options, error))
        return false;
    if (writePrivate) {
        out.setSensitive();
        if (!key.isPrivate()) {
            error = "the key is a public key";
            return false;
        }
        if (!holdsPrivate(format)) {
            error = std::string("the ") + formatName(format) + " format holds public keys only";
            return false;
        }
    } else if (!holdsPublic(format)) {
        error = std::string("the ") + formatName(format) + " format holds private keys only";
        return false;
    }
    if (writeFormat(key, format, writePrivate, options, out, log, error))
        return true;
    out.clear();
    if (error.empty())
        error = std::string("cannot write the key as ") + formatName(format);
    return false;
}

const char *formatName(KeyFormat format) {
    static const char *const kNames[] = {"pem", "sec1-pem", "der",     "sec1-der", "spki-explicit",
                                         "jwk", "xml",      "xmldsig", "ssh",      "openssh",
                                         "ppk", "raw-hex",  "cose"};
    return kNames[static_cast<int>(format)];
}

std::string sshKeyTypeName(const EccKey &key) {
    // The line starts with the key-type name written inside the blob, "ecdsa-sha2-" and the blob's curve
    // identifier: readers (OpenSSH among them) refuse a line whose name differs from the blob's. The
    // curve's own SSH name (getPpkType) would not do: it calls P-521 "ecdsa-sha2-nistp512", which no
    // reader knows, while the blob says nistp521.
    const char *id = key.m_curve.puttyCurveName();
    // The blob falls back to "nistp256" for curves it has no identifier for; such a line would present
    // a P-192 or Brainpool point as a P-256 key.
    if (std::strcmp(id, "nistp256") == 0 && !key.m_curve.m_name.equals("secp256r1"))
        return std::string();
    return std::string("ecdsa-sha2-") + id;
}

}  // namespace ecckey::formats
