// PrivateKey and PublicKey as values: making, copying and reading them, and ECDH between them.
#include <cstring>
#include <string>

#include "ecc/PointDecompression.h"
#include "ecckey/face/Face.h"
#include "support/DataBuffer.h"
#include "support/Hash.h"
#include "support/Prng.h"
#include "support/StringBuffer.h"

namespace ecckey {

const char kEmptyKey[] = "the key was moved from";

namespace {

const char kUnknownCurve[] = "unknown curve name";

// The catalogue curve a caller named, by name, alias or OID; false for any other text (one with a NUL in it
// too: the catalogue would read only its start).
[[nodiscard]] bool curveByName(std::string_view name, EccCurve &curve) {
    LogNull quiet;
    return name.find('\0') == std::string_view::npos &&
           curve.loadCurveByName(std::string(name).c_str(), quiet);
}

// 02 or 03 by the parity of y, then x: the uncompressed point's last byte is y's least significant.
Bytes compress(const Bytes &whole) {
    Bytes out(whole.begin(), whole.begin() + 1 + (whole.size() - 1) / 2);
    out[0] = (whole.back() & 1) != 0 ? 0x03 : 0x02;
    return out;
}

// The X9.63 point whole: a compressed one is decompressed on curve; an uncompressed or hybrid one must
// have the curve's length (the point reader alone takes any length of equal halves).
Result<bool> wholePoint(const EccCurve &curve, ByteView x963, DataBuffer &out) {
    const unsigned byteLen = (unsigned)curve.m_byteLen;
    if (x963.size() == 1 && x963.data()[0] == 0)
        return Error(Errc::InvalidKey, "the point is the point at infinity");
    DataBuffer given;
    if (!toDataBuffer(x963, given))
        return Error(Errc::Internal, "out of memory");
    if (!isCompressedPoint(given)) {
        if (given.getSize() != 1 + 2 * byteLen)
            return Error(Errc::InvalidInput, "the point does not have the curve's length");
        return out.append(given) ? Result<bool>(true) : Error(Errc::Internal, "out of memory");
    }
    // A compressed point of the curve's length that does not decompress has no point on the curve.
    std::string error;
    if (given.getSize() != 1 + byteLen)
        return Error(Errc::InvalidInput, "the compressed point does not have the curve's length");
    if (!decompressPoint(curve, given, out, error))
        return Error(Errc::InvalidKey, "the point is not on the curve");
    return true;
}

}  // namespace

FaceLog::FaceLog() {
    (void)m_options.setString("EMIT_ECC_PKCS1_PUBKEY EMIT_ECC_FIXED_LENGTH DRAW_ECC_UNIFORM");
}

int hashAlgOf(Hash hash) {
    switch (hash) {
        case Hash::Sha1:
            return HASH_SHA1;
        case Hash::Sha224:
            return HASH_SHA224;
        case Hash::Sha256:
            return HASH_SHA256;
        case Hash::Sha384:
            return HASH_SHA384;
        case Hash::Sha512:
            return HASH_SHA512;
    }
    return 0;
}

bool toDataBuffer(ByteView bytes, DataBuffer &out) {
    out.setSensitive();
    return bytes.size() <= 0xFFFFFFF0u && out.append(bytes.data(), (unsigned)bytes.size());
}

std::vector<std::string> curveNames() {
    std::vector<std::string> names;
    for (int i = 0; i < EccCurve::numCatalogCurves(); ++i) {
        EccCurve curve;
        LogNull quiet;
        if (curve.loadCurveByName(EccCurve::catalogEntry(i)->name, quiet))
            names.emplace_back(curve.m_name.getString());
    }
    return names;
}

// ---- PublicKey ----

Result<PublicKey> PublicKey::fromPoint(std::string_view curveName, ByteView x963) {
    return guarded<PublicKey>([&]() -> Result<PublicKey> {
        EccCurve curve;
        if (!curveByName(curveName, curve))
            return Error(Errc::Unsupported, kUnknownCurve);
        DataBuffer point;
        Result<bool> whole = wholePoint(curve, x963, point);
        if (!whole)
            return whole.error();
        FaceLog log;
        std::unique_ptr<EccKey> key = newEccKey();
        if (!key)
            return Error(Errc::Internal, "out of memory");
        if (!key->loadEcPubKeyByCurveAndPoint(curve.m_name.getString(), point, log))
            return log.error(Errc::InvalidInput, "the point does not parse");
        if (!key->checkPublicKey(log))
            return log.error(Errc::InvalidKey, "the point is not a valid public key on the curve");
        return FaceAccess::makePublic(std::move(key));
    });
}

const EccKey &PublicKey::eccKey() const {
    static const EccKey empty;
    return m_key ? *m_key : empty;
}

std::string PublicKey::curve() const {
    return m_key ? m_key->m_curve.m_name.getString() : std::string();
}

Bytes PublicKey::point(bool compressed) const {
    DataBuffer out;
    LogNull quiet;
    if (!m_key || !m_key->exportEccPoint(out, quiet))
        return Bytes();
    Bytes whole(out.getData2(), out.getData2() + out.getSize());
    return compressed ? compress(whole) : whole;
}

Result<std::string> PublicKey::fingerprint(Hash hash) const {
    return guarded<std::string>([&]() -> Result<std::string> {
        if (!m_key)
            return Error(Errc::InvalidKey, kEmptyKey);
        if (hash != Hash::Sha256)
            return Error(Errc::Unsupported, "SSH fingerprints are SHA-256");
        Result<std::string> line = save(KeyFormat::Ssh);  // refuses a curve OpenSSH does not name
        if (!line)
            return line.error();
        FaceLog log;
        DataBuffer digest;
        StringBuffer text;
        if (!m_key->calc_fingerprint_digest(HASH_SHA256, digest, log) || digest.isEmpty() ||
            !text.append("SHA256:") || !digest.encodeDB("base64", text))
            return log.error(Errc::Internal, "cannot compute the fingerprint");
        std::string token = text.getString();
        token.erase(token.find_last_not_of('=') + 1);
        return token;
    });
}

// ---- PrivateKey ----

PrivateKey::PrivateKey(std::unique_ptr<EccKey> key) : m_key(std::move(key)) {}
PrivateKey::~PrivateKey() = default;  // EccKey's scalar wipes its digits when released
PrivateKey::PrivateKey(PrivateKey &&other) noexcept = default;
PrivateKey &PrivateKey::operator=(PrivateKey &&other) noexcept = default;

PrivateKey::PrivateKey(const PrivateKey &other) : m_key(other.m_key ? newEccKey() : nullptr) {
    if (m_key)
        m_key->copyFromEccKey(*other.m_key);  // left cleared, and so refused, when memory is short
}

PrivateKey &PrivateKey::operator=(const PrivateKey &other) {
    if (this != &other)
        *this = PrivateKey(other);
    return *this;
}

const EccKey &PrivateKey::eccKey() const {
    static const EccKey empty;
    return m_key ? *m_key : empty;
}

Result<PrivateKey> PrivateKey::generate(std::string_view curveName) {
    return guarded<PrivateKey>([&]() -> Result<PrivateKey> {
        EccCurve curve;
        if (!curveByName(curveName, curve))
            return Error(Errc::Unsupported, kUnknownCurve);
        FaceLog log;
        SystemPrng prng;
        std::unique_ptr<EccKey> key = newEccKey();
        if (!key)
            return Error(Errc::Internal, "out of memory");
        if (!key->generateNewKey(curve.m_name, prng, log))
            return log.error(Errc::Internal, "cannot generate a key");
        return FaceAccess::makePrivate(std::move(key));
    });
}

std::string PrivateKey::curve() const {
    return m_key ? m_key->m_curve.m_name.getString() : std::string();
}

PublicKey PrivateKey::publicKey() const {
    DataBuffer point;
    LogNull quiet;
    std::unique_ptr<EccKey> pub = newEccKey();
    if (!m_key || !pub || !m_key->exportEccPoint(point, quiet) ||
        !pub->loadEcPubKeyByCurveAndPoint(m_key->m_curve.m_name.getString(), point, quiet))
        return PublicKey(nullptr);
    return FaceAccess::makePublic(std::move(pub));
}

Result<Bytes> PrivateKey::agree(const PublicKey &peer) const {
    return guarded<Bytes>([&]() -> Result<Bytes> {
        const EccKey *peerKey = FaceAccess::key(peer);
        if (!m_key || peerKey == nullptr)
            return Error(Errc::InvalidKey, kEmptyKey);
        if (!m_key->m_curve.m_name.equals(peerKey->m_curve.m_name))
            return Error(Errc::InvalidKey, "the peer's key is on another curve");
        // The library's ECDH takes the peer as a key it may use as scratch: a copy is handed to it.
        std::unique_ptr<EccKey> scratch = newEccKey();
        if (!scratch)
            return Error(Errc::Internal, "out of memory");
        scratch->copyFromEccKey(*peerKey);
        FaceLog log;
        DataBuffer secret;
        if (!m_key->sharedSecretChecked(*scratch, secret, log))
            return log.error(Errc::InvalidKey, "the keys do not agree on a secret");
        unsigned char any = 0;
        for (unsigned i = 0; i < secret.getSize(); ++i)
            any |= secret[i];
        if (any == 0)  // the point at infinity, whose x the engine writes as zero
            return Error(Errc::InvalidKey, "the shared point is the point at infinity");
        return Bytes(secret.getData2(), secret.getData2() + secret.getSize());
    });
}

}  // namespace ecckey
