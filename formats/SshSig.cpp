#include "formats/SshSig.h"

#include <cstring>
#include <string>

#include "ecc/EccKey.h"
#include "formats/SigConvert.h"
#include "support/DataBuffer.h"
#include "support/Hash.h"
#include "support/LogBase.h"
#include "support/SshMessage.h"
#include "support/StringBuffer.h"

namespace ecckey {

namespace {

const char kMagic[] = "SSHSIG";
const char kBegin[] = "-----BEGIN SSH SIGNATURE-----\n";
const char kEnd[] = "-----END SSH SIGNATURE-----";
const unsigned kLineLen = 70;

const char *hashName(int hashAlg) {
    return hashAlg == HASH_SHA256 ? "sha256" : hashAlg == HASH_SHA512 ? "sha512" : nullptr;
}

// The hash SSH signs with on the curve (RFC 5656 6.2.1), or 0 for a curve SSH signatures do not take.
int curveHash(const EccKey &key) {
    if (key.m_curve.m_name.equals("secp256r1"))
        return HASH_SHA256;
    if (key.m_curve.m_name.equals("secp384r1"))
        return HASH_SHA384;
    return key.m_curve.m_name.equals("secp521r1") ? HASH_SHA512 : 0;
}

// The curve's digest of "SSHSIG" || string namespace || string "" || string hash || string H(message).
[[nodiscard]] bool signedDigest(const EccKey &key, const char *nameSpace, const char *hash, int hashAlg,
                                const DataBuffer &message, DataBuffer &digest) {
    DataBuffer data, messageHash;
    return _tvHash::doHash(message.getData2(), message.getSize(), hashAlg, messageHash) &&
           data.append(kMagic, 6) && SshMessage::pack_string(nameSpace, data) &&
           SshMessage::pack_string("", data) && SshMessage::pack_string(hash, data) &&
           SshMessage::pack_db(messageHash, data) &&
           _tvHash::doHash(data.getData2(), data.getSize(), curveHash(key), digest);
}

[[nodiscard]] bool armour(const DataBuffer &blob, StringBuffer &out) {
    StringBuffer b64;
    if (!blob.encodeDB("base64", b64) || !out.append(kBegin))
        return false;
    for (unsigned at = 0; at < b64.getSize(); at += kLineLen) {
        const unsigned n = b64.getSize() - at < kLineLen ? b64.getSize() - at : kLineLen;
        if (!out.append(b64.getString() + at, n) || !out.appendChar('\n'))
            return false;
    }
    return out.append(kEnd) && out.appendChar('\n');
}

// The blob inside the armour (white space between the lines ignored).
[[nodiscard]] bool unarmour(const char *text, DataBuffer &blob) {
    const char *begin = text ? std::strstr(text, "-----BEGIN SSH SIGNATURE-----") : nullptr;
    const char *end = begin ? std::strstr(begin, kEnd) : nullptr;
    if (end == nullptr)
        return false;
    StringBuffer b64;
    for (const char *p = begin + std::strlen(kBegin) - 1; p < end; ++p) {
        if (std::strchr(" \t\r\n", *p) == nullptr && !b64.appendChar(*p))
            return false;
    }
    return blob.appendEncoded(b64.getString(), "base64") && !blob.isEmpty();
}

// The fields of a signature blob; the reserved string is read and ignored, as ssh-keygen ignores it.
struct SshSigBlob {
    DataBuffer keyBlob, inner, mpints;
    StringBuffer space, reserved, hash, keyType;
};

[[nodiscard]] bool parseBlob(const DataBuffer &blob, SshSigBlob &sig, LogBase &log) {
    static const unsigned char version1[4] = {0, 0, 0, 1};
    unsigned offset = 10, at = 0;
    if (blob.getSize() < 10 || std::memcmp(blob.getData2(), kMagic, 6) != 0 ||
        std::memcmp(blob.getData2() + 6, version1, 4) != 0)
        return false;
    if (!SshMessage::parseBinaryString(blob, offset, sig.keyBlob, log) ||
        !SshMessage::parseString(blob, offset, sig.space) ||
        !SshMessage::parseString(blob, offset, sig.reserved) ||
        !SshMessage::parseString(blob, offset, sig.hash) ||
        !SshMessage::parseBinaryString(blob, offset, sig.inner, log) || offset != blob.getSize())
        return false;
    return (sig.hash.equals("sha256") || sig.hash.equals("sha512")) &&
           SshMessage::parseString(sig.inner, at, sig.keyType) &&
           SshMessage::parseBinaryString(sig.inner, at, sig.mpints, log) && at == sig.inner.getSize();
}

}  // namespace

bool signSshSig(EccKey &key, const char *nameSpace, int hashAlg, const DataBuffer &message, StringBuffer &out,
                LogBase &log) {
    LogContextExitor ctx(log, "signSshSig");
    out.clear();
    const char *hash = hashName(hashAlg);
    if (curveHash(key) == 0 || hash == nullptr || nameSpace == nullptr || *nameSpace == '\0') {
        log.logError(curveHash(key) == 0 ? "SSH signatures take P-256, P-384 or P-521 keys."
                                         : "An SSH signature needs a namespace and sha256 or sha512.");
        return false;
    }
    DataBuffer digest, raw, mpints, keyBlob, inner, blob;
    StringBuffer keyType;
    unsigned offset = 0;
    const bool ok =
        signedDigest(key, nameSpace, hash, hashAlg, message, digest) &&
        key.eccSignHashDeterministic(digest.getData2(), digest.getSize(), curveHash(key), false, raw, log) &&
        convertSignature(key.m_curve.m_byteLen, SigForm::Raw, SigForm::Ssh, raw, mpints, log) &&
        key.puttyPublicKeyBlob(keyBlob, log) && SshMessage::parseString(keyBlob, offset, keyType) &&
        SshMessage::pack_string(keyType.getString(), inner) && SshMessage::pack_db(mpints, inner) &&
        blob.append(kMagic, 6) && blob.appendUint32_be(1) && SshMessage::pack_db(keyBlob, blob) &&
        SshMessage::pack_string(nameSpace, blob) && SshMessage::pack_string("", blob) &&
        SshMessage::pack_string(hash, blob) && SshMessage::pack_db(inner, blob) && armour(blob, out);
    if (!ok) {
        out.clear();
        log.logError("Cannot make the SSH signature.");
    }
    return ok;
}

bool verifySshSig(EccKey &key, const char *nameSpace, const DataBuffer &message, const char *text,
                  bool &valid, LogBase &log) {
    LogContextExitor ctx(log, "verifySshSig");
    valid = false;
    DataBuffer blob, ownBlob, raw, digest;
    SshSigBlob sig;
    StringBuffer ownType;
    unsigned ownOffset = 0;
    if (!unarmour(text, blob) || !parseBlob(blob, sig, log) || curveHash(key) == 0 ||
        !key.puttyPublicKeyBlob(ownBlob, log) || !SshMessage::parseString(ownBlob, ownOffset, ownType) ||
        !sig.keyType.equals(ownType)) {
        log.logError("The text is not an SSH signature of a P-256, P-384 or P-521 key.");
        return false;
    }
    const char *why = nullptr;
    if (!sig.keyBlob.equals(ownBlob))
        why = "The SSH signature is by another key.";
    else if (nameSpace == nullptr || !sig.space.equals(nameSpace))
        why = "The SSH signature is for another namespace.";
    else if (!convertSignature(key.m_curve.m_byteLen, SigForm::Ssh, SigForm::Raw, sig.mpints, raw, log))
        why = "The SSH signature's r and s do not parse.";
    if (why != nullptr) {
        log.logError(why);
        return false;
    }
    const int hashAlg = sig.hash.equals("sha256") ? HASH_SHA256 : HASH_SHA512;
    if (!signedDigest(key, nameSpace, sig.hash.getString(), hashAlg, message, digest) ||
        !key.eccVerifyHash(raw.getData2(), raw.getSize(), true, digest.getData2(), digest.getSize(), valid,
                           log, (unsigned)key.m_curve.m_byteLen))
        valid = false;
    return true;
}

}  // namespace ecckey
