#include "KeyFormats.h"

#include <strings.h>

#include <cstring>

#include "EncryptedKey.h"
#include "Messages.h"
#include "OpenSslLayout.h"
#include "Passphrase.h"
#include "PuttyKey.h"
#include "SshPrivateKey.h"
#include "ecc/EccKey.h"
#include "formats/CoseKey.h"
#include "support/LogBase.h"
#include "support/PemLabels.h"
#include "support/PublicKey.h"

namespace ecckey_cli {

namespace {

using ecckey::DataBuffer;
using ecckey::EccKey;
using ecckey::LogBase;
using ecckey::StringBuffer;

const FormatInfo s_formats[] = {
    {KeyFormat::Pem, "pem", true, true, false,
     "PEM: PKCS #8 \"PRIVATE KEY\" or SubjectPublicKeyInfo \"PUBLIC KEY\" (the default)"},
    {KeyFormat::Sec1Pem, "sec1-pem", true, false, false, "PEM: SEC 1 \"EC PRIVATE KEY\""},
    {KeyFormat::Der, "der", true, true, true, "DER: PKCS #8 or SubjectPublicKeyInfo"},
    {KeyFormat::Sec1Der, "sec1-der", true, false, true, "DER: SEC 1 ECPrivateKey"},
    {KeyFormat::SpkiExplicit, "spki-explicit", false, true, false,
     "PEM \"PUBLIC KEY\" with explicit parameters (P-256, P-384, P-521, secp256k1; else named)"},
    {KeyFormat::Jwk, "jwk", true, true, false, "JSON Web Key (RFC 7518, kty EC)"},
    {KeyFormat::Xml, "xml", true, true, false, "XML: <ECCKeyValue> or <ECCPublicKey>"},
    {KeyFormat::XmlDsig, "xmldsig", false, true, false, "XML Signature 1.1 <ECKeyValue>"},
    {KeyFormat::Ssh, "ssh", false, true, false,
     "one OpenSSH public-key line (not for P-192 and the Brainpool curves)"},
    {KeyFormat::OpenSsh, "openssh", true, false, false,
     "OpenSSH private key, as ssh-keygen writes it, unencrypted (curves ssh has a name for)"},
    {KeyFormat::Ppk, "ppk", true, false, false,
     "PuTTY private key file, version 3, unencrypted (curves ssh has a name for)"},
    {KeyFormat::RawHex, "raw-hex", true, true, false, "curve name, scalar and X9.63 point in hexadecimal"},
    {KeyFormat::Cose, "cose", true, true, true,
     "COSE_Key EC2 (RFC 9052), CBOR: P-256, P-384, P-521, secp256k1"},
};

// Collects the pieces of one text output; the text goes to out only when every piece succeeded.
[[nodiscard]] bool appendText(const StringBuffer &text, bool newline, DataBuffer &out) {
    return out.append(text) && (!newline || out.appendChar('\n'));
}

[[nodiscard]] bool wrapPem(const char *label, const DataBuffer &der, DataBuffer &out, LogBase &log) {
    StringBuffer pem;
    return ecckey::_tvPublicKey::derToPem(label, der, pem, log) && appendText(pem, false, out);
}

// PKCS #8, encrypted under the --passout passphrase when passout is given.
[[nodiscard]] bool writePkcs8(EccKey &key, bool pem, const char *passout, unsigned long iterations,
                              DataBuffer &out, LogBase &log, std::string &error) {
    DataBuffer der;
    der.setSensitive();
    if (!key.toEccPkcs8PrivateKeyDer(der, log) || !toOpenSslPkcs8(der, log))
        return false;
    // The library's PEM writer labels every private structure "EC PRIVATE KEY"; PKCS #8 readers
    // (OpenSSL among them) expect "PRIVATE KEY" for this one, so the DER is wrapped here.
    if (passout == nullptr)
        return pem ? wrapPem(ecckey::kPemPrivateKey, der, out, log) : out.append(der);
    StringBuffer passphrase;
    DataBuffer encrypted;
    if (!readPassphrase("--passout", passout, passphrase, error))
        return false;
    if (passphrase.isEmpty()) {
        error = "the --passout passphrase is empty";
        return false;
    }
    if (!encryptPkcs8(der, passphrase, encrypted, error, iterations))
        return false;
    return pem ? wrapPem(ecckey::kPemEncryptedPrivateKey, encrypted, out, log) : out.append(encrypted);
}

[[nodiscard]] bool writeSec1(EccKey &key, bool pem, DataBuffer &out, LogBase &log) {
    DataBuffer der;
    der.setSensitive();
    if (!key.toEccPkcs1PrivateKeyDer(der, log))
        return false;
    return pem ? wrapPem(ecckey::kPemEcPrivateKey, der, out, log) : out.append(der);
}

[[nodiscard]] bool writeSpki(EccKey &key, bool pem, bool explicitParams, DataBuffer &out, LogBase &log) {
    DataBuffer der;
    const bool ok = explicitParams ? key.toPublicKeyDer_longFmt(der, log) &&
                                         toOpenSslExplicitSpki(der, (unsigned)key.m_curve.m_byteLen, log)
                                   : key.toPublicKeyDer_shortFmt(der, log);
    return ok && (pem ? wrapPem(ecckey::kPemPublicKey, der, out, log) : out.append(der));
}

[[nodiscard]] bool writeSshLine(EccKey &key, DataBuffer &out, LogBase &log, std::string &error) {
    const std::string keyType = sshKeyTypeName(key);
    if (keyType.empty()) {
        error = std::string(kNoSshNameFor) + key.m_curve.m_name.getString();
        return false;
    }
    DataBuffer blob;
    StringBuffer line;
    if (!key.puttyPublicKeyBlob(blob, log))
        return false;
    return line.append2(keyType.c_str(), " ") && blob.encodeDB("base64", line) && appendText(line, true, out);
}

[[nodiscard]] bool writeOpenSsh(EccKey &key, DataBuffer &out, LogBase &log, std::string &error) {
    if (sshKeyTypeName(key).empty()) {
        error = std::string("an OpenSSH key has no name for ") + key.m_curve.m_name.getString();
        return false;
    }
    return writeOpenSshPrivateKey(key, out, log);
}

// "curve: NAME", then "private: HEX" for a private key, then "public: 04...".
[[nodiscard]] bool writeRawHex(EccKey &key, bool writePrivate, DataBuffer &out, LogBase &log) {
    StringBuffer privHex;
    StringBuffer pubHex;
    StringBuffer text;
    if (!key.toRawHex(privHex, pubHex, log))
        return false;
    bool ok = text.append3("curve: ", key.m_curve.m_name.getString(), "\n");
    if (writePrivate)
        ok = ok && text.append3("private: ", privHex.getString(), "\n");
    ok = ok && text.append3("public: ", pubHex.getString(), "\n");
    return ok && appendText(text, false, out);
}

[[nodiscard]] bool writeText(bool (EccKey::*writer)(StringBuffer &, LogBase &), EccKey &key, DataBuffer &out,
                             LogBase &log) {
    StringBuffer text;
    return (key.*writer)(text, log) && appendText(text, true, out);
}

[[nodiscard]] bool writePublicJwk(EccKey &key, DataBuffer &out, LogBase &log) {
    StringBuffer text;
    return key.toEccPublicKeyJwk(text, false, log) && appendText(text, true, out);
}

[[nodiscard]] bool writeFormat(EccKey &key, KeyFormat format, bool writePrivate, const char *passout,
                               unsigned long iterations, DataBuffer &out, LogBase &log, std::string &error) {
    switch (format) {
        case KeyFormat::Pem:
            return writePrivate ? writePkcs8(key, true, passout, iterations, out, log, error)
                                : writeSpki(key, true, false, out, log);
        case KeyFormat::Der:
            return writePrivate ? writePkcs8(key, false, passout, iterations, out, log, error)
                                : writeSpki(key, false, false, out, log);
        case KeyFormat::Sec1Pem:
            return writeSec1(key, true, out, log);
        case KeyFormat::Sec1Der:
            return writeSec1(key, false, out, log);
        case KeyFormat::SpkiExplicit:
            return writeSpki(key, true, true, out, log);
        case KeyFormat::Jwk:
            return writePrivate ? writeText(&EccKey::toEccPrivateKeyJwk, key, out, log)
                                : writePublicJwk(key, out, log);
        case KeyFormat::Xml:
            return writeText(writePrivate ? &EccKey::toEccPrivateKeyXml : &EccKey::toEccPublicKeyXml, key,
                             out, log);
        case KeyFormat::XmlDsig:
            return writeText(&EccKey::toEccPublicKeyXmlDSig, key, out, log);
        case KeyFormat::Ssh:
            return writeSshLine(key, out, log, error);
        case KeyFormat::OpenSsh:
            return writeOpenSsh(key, out, log, error);
        case KeyFormat::Ppk:
            return writePuttyKey(key, out, log, error);
        case KeyFormat::RawHex:
            return writeRawHex(key, writePrivate, out, log);
        case KeyFormat::Cose:
            if (ecckey::toCoseKey(key, writePrivate, nullptr, 0, false, out, log))
                return true;
            error = "a COSE key is on P-256, P-384, P-521 or secp256k1";
            return false;
    }
    return false;
}

}  // namespace

const FormatInfo *keyFormats(int &numFormats) {
    numFormats = static_cast<int>(sizeof(s_formats) / sizeof(s_formats[0]));
    return s_formats;
}

const FormatInfo *formatByName(const char *name) {
    for (const FormatInfo &info : s_formats) {
        if (name != nullptr && ::strcasecmp(info.name, name) == 0)
            return &info;
    }
    return nullptr;
}

bool writeKey(EccKey &key, const FormatInfo &format, bool writePrivate, DataBuffer &out, LogBase &log,
              std::string &error, const char *passout, unsigned long iterations) {
    out.clear();
    if (passout != nullptr &&
        (!writePrivate || (format.format != KeyFormat::Pem && format.format != KeyFormat::Der))) {
        error = "--passout encrypts private keys in the pem and der formats only";
        return false;
    }
    if (writePrivate) {
        out.setSensitive();
        if (!key.isPrivate()) {
            error = "the key is a public key";
            return false;
        }
        if (!format.holdsPrivate) {
            error = std::string("the ") + format.name + " format holds public keys only (use 'ecckey pub')";
            return false;
        }
    } else if (!format.holdsPublic) {
        error = std::string("the ") + format.name + " format holds private keys only";
        return false;
    }
    if (writeFormat(key, format.format, writePrivate, passout, iterations, out, log, error))
        return true;
    out.clear();
    if (error.empty())
        error = std::string("cannot write the key as ") + format.name;
    return false;
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

}  // namespace ecckey_cli
