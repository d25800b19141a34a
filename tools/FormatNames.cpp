#include "FormatNames.h"

#include <strings.h>

#include "Passphrase.h"
#include "ecc/EccKey.h"
#include "support/LogBase.h"

namespace ecckey_cli {

namespace {

using ecckey::DataBuffer;
using ecckey::EccKey;
using ecckey::LogBase;
using ecckey::StringBuffer;

const FormatInfo s_formats[] = {
    {KeyFormat::Pem, "pem",
     "PEM: PKCS #8 \"PRIVATE KEY\" or SubjectPublicKeyInfo \"PUBLIC KEY\" (the default)"},
    {KeyFormat::Sec1Pem, "sec1-pem", "PEM: SEC 1 \"EC PRIVATE KEY\""},
    {KeyFormat::Der, "der", "DER: PKCS #8 or SubjectPublicKeyInfo"},
    {KeyFormat::Sec1Der, "sec1-der", "DER: SEC 1 ECPrivateKey"},
    {KeyFormat::SpkiExplicit, "spki-explicit",
     "PEM \"PUBLIC KEY\" with explicit parameters (P-256, P-384, P-521, secp256k1; else named)"},
    {KeyFormat::Jwk, "jwk", "JSON Web Key (RFC 7518, kty EC)"},
    {KeyFormat::Xml, "xml", "XML: <ECCKeyValue> or <ECCPublicKey>"},
    {KeyFormat::XmlDsig, "xmldsig", "XML Signature 1.1 <ECKeyValue>"},
    {KeyFormat::Ssh, "ssh", "one OpenSSH public-key line (not for P-192 and the Brainpool curves)"},
    {KeyFormat::OpenSsh, "openssh",
     "OpenSSH private key, as ssh-keygen writes it, unencrypted (curves ssh has a name for)"},
    {KeyFormat::Ppk, "ppk", "PuTTY private key file, version 3, unencrypted (curves ssh has a name for)"},
    {KeyFormat::RawHex, "raw-hex", "curve name, scalar and X9.63 point in hexadecimal"},
    {KeyFormat::Cose, "cose", "COSE_Key EC2 (RFC 9052), CBOR: P-256, P-384, P-521, secp256k1"},
};

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
              std::string &error, const char *passout, unsigned long iterations, bool compressed) {
    out.clear();
    if (passout != nullptr &&
        (!writePrivate || (format.format != KeyFormat::Pem && format.format != KeyFormat::Der))) {
        error = "--passout encrypts private keys in the pem and der formats only";
        return false;
    }
    StringBuffer passphrase;
    if (passout != nullptr && !readPassphrase("--passout", passout, passphrase, error))
        return false;
    if (passout != nullptr && passphrase.isEmpty()) {
        error = "the --passout passphrase is empty";
        return false;
    }
    ecckey::formats::EncodeOptions options;
    options.passphrase = passout != nullptr ? &passphrase : nullptr;
    options.pbkdf2Iterations = iterations;
    options.compressedPoint = compressed;
    if (ecckey::formats::encodeKey(key, format.format, writePrivate, options, out, log, error))
        return true;
    if (writePrivate && key.isPrivate() && !ecckey::formats::holdsPrivate(format.format))
        error += " (use 'ecckey pub')";
    return false;
}

}  // namespace ecckey_cli
