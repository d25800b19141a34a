#include "SshFingerprint.h"

#include "FormatMessages.h"
#include "KeyEncoder.h"
#include "ecc/EccKey.h"
#include "support/Hash.h"
#include "support/TovarMp.h"

namespace ecckey::formats {

namespace {

// The bit length of the curve order; the order is public.
int orderBits(const EccCurve &curve) {
    mp_int order;
    if (!TovarMp::mpint_from_radix(order, curve.m_order.getString(), 16))
        return 0;
    return TovarMp::mp_count_bits(order);
}

// OpenSSH's digest text: "SHA256:" and the unpadded base64 of the blob's SHA-256, or "MD5:" and its MD5
// as colon-separated lower-case hexadecimal pairs.
[[nodiscard]] bool fingerprintText(EccKey &key, bool md5, std::string &text, LogBase &log) {
    DataBuffer digest;
    StringBuffer encoded;
    if (!key.calc_fingerprint_digest(md5 ? HASH_MD5 : HASH_SHA256, digest, log))
        return false;
    if (md5 ? !DataBuffer::toHexString2(digest.getData2(), digest.getSize(), true, encoded)
            : !digest.encodeDB("base64", encoded))
        return false;
    text = std::string(md5 ? "MD5:" : "SHA256:") + encoded.getString();
    while (text.back() == '=')
        text.pop_back();
    return true;
}

}  // namespace

bool sshFingerprintLine(EccKey &key, bool md5, const std::string &comment, std::string &line, LogBase &log,
                        std::string &error) {
    std::string text;
    if (sshKeyTypeName(key).empty()) {
        error = std::string(kNoSshNameFor) + key.m_curve.m_name.getString();
        return false;
    }
    if (!fingerprintText(key, md5, text, log)) {
        error = "cannot compute the fingerprint";
        return false;
    }
    line = std::to_string(orderBits(key.m_curve)) + " " + text + " " +
           (comment.empty() ? "no comment" : comment) + " (ECDSA)";
    return true;
}

}  // namespace ecckey::formats
