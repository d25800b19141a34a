#include "formats/JwkMembers.h"

#include <cstdio>
#include <cstring>

#include "formats/JwkThumbprint.h"
#include "formats/JwsAlgorithm.h"
#include "support/LogBase.h"
#include "support/StringBuffer.h"

namespace ecckey {

namespace {

// Appends ,"name":"value" with the value escaped as a JSON string.
[[nodiscard]] bool appendMember(const char *name, const char *value, StringBuffer &out) {
    if (!out.append3(",\"", name, "\":\""))
        return false;
    for (const char *p = value; *p != '\0'; ++p) {
        const unsigned char c = (unsigned char)*p;
        char escaped[8];
        if (c == '"' || c == '\\')
            std::snprintf(escaped, sizeof escaped, "\\%c", c);
        else if (c < 0x20)
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
        else
            std::snprintf(escaped, sizeof escaped, "%c", c);
        if (!out.append(escaped))
            return false;
    }
    return out.appendChar('"');
}

// The position of the object's closing brace (followed by nothing but whitespace), or -1.
int closingBrace(const StringBuffer &jwk) {
    const char *text = jwk.getString();
    int end = (int)jwk.getSize();
    while (end > 0 && std::strchr(" \t\r\n", text[end - 1]) != nullptr)
        --end;
    return (end > 0 && text[0] == '{' && text[end - 1] == '}') ? end - 1 : -1;
}

}  // namespace

bool addJwkMembers(const EccKey &key, const JwkExtras &extras, StringBuffer &jwk, LogBase &log) {
    LogContextExitor ctx(log, "addJwkMembers");
    const int brace = closingBrace(jwk);
    if (brace < 0) {
        log.logError("The JWK is not a JSON object.");
        return false;
    }
    const JwsAlgorithm *named = jwsAlgorithmByName(extras.alg);
    if (named != nullptr && named != jwsAlgorithmOfKey(key)) {
        log.logError("The JWS algorithm does not belong to the key's curve.");
        log.LogDataSb("alg", StringBuffer(extras.alg));
        return false;
    }
    StringBuffer thumbprint;
    if (extras.kidIsThumbprint && !jwkThumbprint(key, thumbprint, log))
        return false;
    const char *kid = extras.kidIsThumbprint ? thumbprint.getString() : extras.kid;
    StringBuffer out;
    const bool ok = out.append(jwk.getString(), (unsigned)brace) && (!kid || appendMember("kid", kid, out)) &&
                    (!extras.alg || appendMember("alg", extras.alg, out)) &&
                    (!extras.use || appendMember("use", extras.use, out)) &&
                    out.append(jwk.getString() + brace) && jwk.setString(out);
    if (!ok)
        log.logError("Out of memory.");
    return ok;
}

bool toJwkSet(const std::vector<const StringBuffer *> &jwks, StringBuffer &out, LogBase &log) {
    LogContextExitor ctx(log, "toJwkSet");
    out.clear();
    bool ok = out.append("{\"keys\":[");
    for (size_t i = 0; ok && i < jwks.size(); ++i) {
        const int brace = closingBrace(*jwks[i]);
        if (brace < 0) {
            log.logError("The JWK is not a JSON object.");
            ok = false;
        } else {
            ok = (i == 0 || out.appendChar(',')) && out.append(jwks[i]->getString(), (unsigned)brace + 1);
        }
    }
    ok = ok && out.append("]}");
    if (!ok)
        out.clear();
    return ok;
}

}  // namespace ecckey
