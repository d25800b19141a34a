#include "formats/CompactJws.h"

#include <cstring>

#include "ecc/EccKey.h"
#include "formats/JwsAlgorithm.h"
#include "support/DataBuffer.h"
#include "support/Hash.h"
#include "support/JsonObject.h"
#include "support/LogBase.h"
#include "support/StringBuffer.h"

namespace ecckey {

namespace {

[[nodiscard]] bool appendBase64Url(const void *bytes, unsigned len, StringBuffer &out) {
    DataBuffer data;
    StringBuffer text;
    return data.append(bytes, len) && data.encodeDB("base64url", text) && out.append(text);
}

// The algorithm asked for (null: the key's own), when it is the key's; null after logging why.
const JwsAlgorithm *keyAlgorithm(const EccKey &key, const char *name, LogBase &log) {
    const JwsAlgorithm *own = jwsAlgorithmOfKey(key);
    if (own == nullptr) {
        log.logError("No JWS algorithm exists for this curve.");
        return nullptr;
    }
    if (name != nullptr && jwsAlgorithmByName(name) != own) {
        log.logError("The JWS algorithm does not belong to the key's curve.");
        return nullptr;
    }
    return own;
}

// The "alg" of a header text, empty when the text is not a JSON object or has none.
[[nodiscard]] bool headerAlg(const char *header, StringBuffer &alg, bool &critical, LogBase &log) {
    ClsJsonObject json;
    LogNull quiet;
    critical = false;
    if (!json.load(header, log) || !json.isStringAt("alg") || !json.sbOfPathUtf8("alg", alg, quiet))
        return false;
    critical = json.hasMember("crit", quiet);
    return true;
}

// The digest of the signing input under the algorithm's hash.
[[nodiscard]] bool signingHash(const char *input, unsigned len, const JwsAlgorithm &alg, DataBuffer &hash) {
    return _tvHash::doHash(input, len, alg.hashAlg, hash);
}

}  // namespace

bool signCompactJws(EccKey &key, const char *alg, const char *header, const DataBuffer &payload,
                    StringBuffer &token, LogBase &log) {
    LogContextExitor ctx(log, "signCompactJws");
    token.clear();
    const JwsAlgorithm *algorithm = keyAlgorithm(key, alg, log);
    if (algorithm == nullptr)
        return false;
    StringBuffer minimal, named;
    bool critical = false;
    if (header == nullptr && minimal.append3("{\"alg\":\"", algorithm->name, "\"}"))
        header = minimal.getString();
    if (header == nullptr || !headerAlg(header, named, critical, log) || !named.equals(algorithm->name)) {
        log.logError("The JWS header must be a JSON object whose alg is the algorithm used.");
        return false;
    }
    DataBuffer hash, sig;
    const bool ok =
        appendBase64Url(header, (unsigned)std::strlen(header), token) && token.appendChar('.') &&
        appendBase64Url(payload.getData2(), payload.getSize(), token) &&
        signingHash(token.getString(), token.getSize(), *algorithm, hash) &&
        key.eccSignHashDeterministic(hash.getData2(), hash.getSize(), algorithm->hashAlg, false, sig, log) &&
        sig.getSize() == 2 * (unsigned)key.m_curve.m_byteLen && token.appendChar('.') &&
        appendBase64Url(sig.getData2(), sig.getSize(), token);
    if (!ok) {
        token.clear();
        log.logError("Cannot sign the JWS.");
    }
    return ok;
}

bool verifyCompactJws(EccKey &key, const char *acceptedAlg, const char *token, DataBuffer &payload,
                      bool &valid, LogBase &log) {
    LogContextExitor ctx(log, "verifyCompactJws");
    valid = false;
    payload.clear();
    const JwsAlgorithm *algorithm = keyAlgorithm(key, acceptedAlg, log);
    if (algorithm == nullptr || token == nullptr)
        return false;
    const char *dot1 = std::strchr(token, '.');
    const char *dot2 = dot1 ? std::strchr(dot1 + 1, '.') : nullptr;
    if (dot2 == nullptr || std::strchr(dot2 + 1, '.') != nullptr) {
        log.logError("A compact JWS has three parts.");
        return false;
    }
    StringBuffer headerB64, payloadB64, sigB64, header, alg;
    DataBuffer headerBytes, sig, hash;
    bool critical = false;
    if (!headerB64.append(token, (unsigned)(dot1 - token)) ||
        !payloadB64.append(dot1 + 1, (unsigned)(dot2 - dot1 - 1)) || !sigB64.append(dot2 + 1) ||
        !headerBytes.appendEncoded(headerB64.getString(), "base64url") ||
        !payload.appendEncoded(payloadB64.getString(), "base64url") ||
        !sig.appendEncoded(sigB64.getString(), "base64url") ||
        !header.append(reinterpret_cast<const char *>(headerBytes.getData2()), headerBytes.getSize()) ||
        !headerAlg(header.getString(), alg, critical, log)) {
        payload.clear();
        log.logError("The JWS parts are not base64url, or its header is not JSON with an alg.");
        return false;
    }
    const char *why = critical                       ? "The JWS header lists critical extensions."
                      : !alg.equals(algorithm->name) ? "The JWS alg is not the one accepted."
                      : sig.getSize() != 2 * (unsigned)key.m_curve.m_byteLen
                          ? "The JWS signature is not r||s of the curve's width."
                          : nullptr;
    if (why != nullptr) {
        payload.clear();
        log.logError(why);
        return false;
    }
    const unsigned inputLen = (unsigned)(dot2 - token);
    if (!signingHash(token, inputLen, *algorithm, hash) ||
        !key.eccVerifyHash(sig.getData2(), sig.getSize(), true, hash.getData2(), hash.getSize(), valid, log,
                           (unsigned)key.m_curve.m_byteLen)) {
        valid = false;
        // r or s outside [1, n) is a signature that does not verify, not one that cannot be checked.
        log.logInfo("The JWS signature does not check.");
    }
    if (!valid)
        payload.clear();
    return true;
}

}  // namespace ecckey
