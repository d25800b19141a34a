#include "formats/JwkThumbprint.h"

#include "ecc/EccKey.h"
#include "support/DataBuffer.h"
#include "support/Hash.h"
#include "support/LogBase.h"
#include "support/StringBuffer.h"

namespace ecckey {

namespace {

// Appends the base64url of len bytes at p.
[[nodiscard]] bool appendBase64Url(const unsigned char *p, unsigned len, StringBuffer &out) {
    DataBuffer bytes;
    StringBuffer text;
    return bytes.append(p, len) && bytes.encodeDB("base64url", text) && out.append(text);
}

}  // namespace

const char *registeredJwkCurve(const EccKey &key) {
    static const char *const names[][2] = {
        {"secp256r1", "P-256"}, {"secp384r1", "P-384"}, {"secp521r1", "P-521"}, {"secp256k1", "secp256k1"}};
    for (const auto &name : names) {
        if (key.m_curve.m_name.equals(name[0]))
            return name[1];
    }
    return nullptr;
}

bool jwkThumbprintInput(const EccKey &key, StringBuffer &out, LogBase &log) {
    LogContextExitor ctx(log, "jwkThumbprintInput");
    out.clear();
    const char *crv = registeredJwkCurve(key);
    if (crv == nullptr) {
        log.logError("JWK thumbprints exist for P-256, P-384, P-521 and secp256k1 only.");
        return false;
    }
    // 04 || X || Y, each coordinate at the curve's byte length.
    DataBuffer point;
    const unsigned len = (unsigned)key.m_curve.m_byteLen;
    const bool ok = key.exportEccPoint(point, log) && point.getSize() == 1 + 2 * len &&
                    out.append3("{\"crv\":\"", crv, "\",\"kty\":\"EC\",\"x\":\"") &&
                    appendBase64Url(point.getData2() + 1, len, out) && out.append("\",\"y\":\"") &&
                    appendBase64Url(point.getData2() + 1 + len, len, out) && out.append("\"}");
    if (!ok) {
        out.clear();
        log.logError("Cannot write the key's JWK members.");
    }
    return ok;
}

bool jwkThumbprint(const EccKey &key, StringBuffer &out, LogBase &log) {
    out.clear();
    StringBuffer members;
    DataBuffer digest;
    if (!jwkThumbprintInput(key, members, log))
        return false;
    if (!_tvHash::doHash(members.getString(), members.getSize(), HASH_SHA256, digest) ||
        !digest.encodeDB("base64url", out)) {
        out.clear();
        log.logError("Cannot hash the JWK members.");
        return false;
    }
    return true;
}

bool jwkThumbprintUri(const EccKey &key, StringBuffer &out, LogBase &log) {
    StringBuffer thumbprint;
    out.clear();
    if (!jwkThumbprint(key, thumbprint, log))
        return false;
    if (!out.append2("urn:ietf:params:oauth:jwk-thumbprint:sha-256:", thumbprint.getString())) {
        out.clear();
        return false;
    }
    return true;
}

}  // namespace ecckey
