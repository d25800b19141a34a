// ECDSA through the face: every signature form is named by the caller, and each is turned into the raw
// r || s the library's signers write and its verifier reads split at the curve's length. Nothing here is
// read as another form than the one named.
#include "ecc/EcdsaSig.h"
#include "ecckey/face/Face.h"
#include "formats/SigConvert.h"
#include "support/DataBuffer.h"
#include "support/DerReader.h"
#include "support/Hash.h"
#include "support/Prng.h"
#include "support/SshMessage.h"

namespace ecckey {

namespace {

const unsigned char kTagSequence = 0x30;
const unsigned char kTagInteger = 0x02;

// The hash RFC 6979 runs its HMAC with, from a digest's length.
[[nodiscard]] bool hashAlgOfLength(unsigned len, int &hashAlg) {
    for (Hash hash : {Hash::Sha1, Hash::Sha224, Hash::Sha256, Hash::Sha384, Hash::Sha512}) {
        hashAlg = hashAlgOf(hash);
        if (_tvHash::hashLen(hashAlg) == len)
            return true;
    }
    return false;
}

// A positive integer's magnitude (a sign octet dropped), appended left-padded to byteLen. Only the minimal
// encoding is taken, so that one signature has one encoding in each form.
[[nodiscard]] bool appendPadded(const unsigned char *bytes, unsigned len, unsigned byteLen, DataBuffer &raw) {
    const bool negative = len > 0 && (bytes[0] & 0x80) != 0;
    const bool needlessZero = len > 0 && bytes[0] == 0 && (len == 1 || (bytes[1] & 0x80) == 0);
    const unsigned skip = len > 0 && bytes[0] == 0 ? 1 : 0;
    if (negative || needlessZero || len - skip > byteLen)
        return false;
    for (unsigned i = len - skip; i < byteLen; ++i) {
        if (!raw.appendChar(0))
            return false;
    }
    return raw.append(bytes + skip, len - skip);
}

// SEQUENCE { INTEGER r, INTEGER s } and nothing after it.
[[nodiscard]] bool derToRaw(const DataBuffer &sig, unsigned byteLen, DataBuffer &raw) {
    const unsigned char *p = sig.getData2();
    DerHeader seq;
    if (!DerReader::readHeader(p, sig.getSize(), seq) || p[0] != kTagSequence ||
        seq.headerLen + seq.contentLen != sig.getSize())
        return false;
    unsigned offset = seq.headerLen;
    for (int i = 0; i < 2; ++i) {
        DerHeader item;
        if (!DerReader::readHeader(p + offset, sig.getSize() - offset, item) || p[offset] != kTagInteger ||
            !appendPadded(p + offset + item.headerLen, item.contentLen, byteLen, raw))
            return false;
        offset += item.headerLen + item.contentLen;
    }
    return offset == sig.getSize();
}

// One half of r || s as an SSH mpint: leading zeros dropped, a zero octet in front of a set top bit.
[[nodiscard]] bool appendMpint(const unsigned char *half, unsigned len, DataBuffer &out) {
    unsigned skip = 0;
    while (skip < len && half[skip] == 0)
        ++skip;
    DataBuffer magnitude;
    return (skip == len || (half[skip] & 0x80) == 0 || magnitude.appendChar(0)) &&
           magnitude.append(half + skip, len - skip) && SshMessage::pack_db(magnitude, out);
}

Result<Bytes> signFitted(const EccKey &key, const DataBuffer &digest, SigFormat format, Nonce nonce) {
    FaceLog log;
    DataBuffer sig;
    const bool der = format == SigFormat::Der;
    bool signedOk;
    if (nonce == Nonce::Deterministic) {
        int hashAlg = 0;
        if (!hashAlgOfLength(digest.getSize(), hashAlg))
            return Error(Errc::Unsupported,
                         "a deterministic signature needs a digest of 20, 28, 32, 48 or 64 bytes");
        // RFC 6979 cuts the hash itself, by the same rule as the random signer.
        signedOk = key.eccSignHashDeterministic(digest.getData2(), digest.getSize(), hashAlg, der, sig, log);
    } else {
        DataBuffer hash = digest;
        SystemPrng prng;
        signedOk = fitHashToCurve(key.m_curve, hash) &&
                   key.eccSignHash(hash.getData2(), hash.getSize(), prng, der, sig, log);
    }
    if (!signedOk)
        return log.error(Errc::Internal, "cannot sign");
    if (format == SigFormat::Ssh) {
        DataBuffer blob;
        const unsigned half = sig.getSize() / 2;
        if (!appendMpint(sig.getData2(), half, blob) || !appendMpint(sig.getData2() + half, half, blob))
            return Error(Errc::Internal, "out of memory");
        sig = blob;
    }
    return Bytes(sig.getData2(), sig.getData2() + sig.getSize());
}

[[nodiscard]] bool hashOf(ByteView message, Hash hash, DataBuffer &digest) {
    return message.size() <= 0xFFFFFFF0u &&
           _tvHash::doHash(message.data(), (unsigned)message.size(), hashAlgOf(hash), digest);
}

// The SSH form's two mpints as r || s; a blob of exactly twice the byte length is raw r || s instead.
[[nodiscard]] bool sshToRaw(const DataBuffer &sig, unsigned byteLen, DataBuffer &raw) {
    LogNull quiet;
    return sig.getSize() != 2 * byteLen &&
           convertSignature((int)byteLen, SigForm::Ssh, SigForm::Raw, sig, raw, quiet);
}

}  // namespace

Result<Bytes> PrivateKey::signDigest(ByteView digest, SigFormat format, Nonce nonce) const {
    return guarded<Bytes>([&]() -> Result<Bytes> {
        if (!m_key)
            return Error(Errc::InvalidKey, kEmptyKey);
        DataBuffer hash;
        if (digest.empty() || digest.size() > 64)
            return Error(Errc::InvalidInput, "a digest has 1 to 64 bytes");
        if (!toDataBuffer(digest, hash))
            return Error(Errc::Internal, "out of memory");
        return signFitted(*m_key, hash, format, nonce);
    });
}

Result<Bytes> PrivateKey::sign(ByteView message, Hash hash, SigFormat format, Nonce nonce) const {
    return guarded<Bytes>([&]() -> Result<Bytes> {
        DataBuffer digest;
        if (!hashOf(message, hash, digest))
            return Error(Errc::Internal, "cannot hash the message");
        return signDigest(ByteView(digest.getData2(), digest.getSize()), format, nonce);
    });
}

Result<bool> PublicKey::verifyDigest(ByteView digest, ByteView signature, SigFormat format) const {
    return guarded<bool>([&]() -> Result<bool> {
        if (!m_key)
            return Error(Errc::InvalidKey, kEmptyKey);
        const unsigned byteLen = (unsigned)m_key->m_curve.m_byteLen;
        DataBuffer hash;
        DataBuffer sig;
        DataBuffer raw;
        if (digest.empty() || digest.size() > 64)
            return Error(Errc::InvalidInput, "a digest has 1 to 64 bytes");
        if (!toDataBuffer(digest, hash) || !toDataBuffer(signature, sig) ||
            !fitHashToCurve(m_key->m_curve, hash))
            return Error(Errc::Internal, "out of memory");
        const bool parsed = format == SigFormat::Der   ? derToRaw(sig, byteLen, raw)
                            : format == SigFormat::Ssh ? sshToRaw(sig, byteLen, raw)
                                                       : sig.getSize() == 2 * byteLen && raw.append(sig);
        if (!parsed)
            return false;
        // The verifier reports r or s outside [1, n) as a failure; such a signature is simply not valid.
        bool valid = false;
        LogNull quiet;
        return m_key->eccVerifyHash(raw.getData2(), raw.getSize(), true, hash.getData2(), hash.getSize(),
                                    valid, quiet, byteLen) &&
               valid;
    });
}

Result<bool> PublicKey::verify(ByteView message, ByteView signature, Hash hash, SigFormat format) const {
    return guarded<bool>([&]() -> Result<bool> {
        DataBuffer digest;
        if (!hashOf(message, hash, digest))
            return Error(Errc::Internal, "cannot hash the message");
        return verifyDigest(ByteView(digest.getData2(), digest.getSize()), signature, format);
    });
}

}  // namespace ecckey
