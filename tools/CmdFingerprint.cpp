// ecckey fingerprint: the key's SSH fingerprint, in the line `ssh-keygen -l` prints.
#include <cstdio>
#include <string>

#include "ArgList.h"
#include "Commands.h"
#include "KeyFormats.h"
#include "KeyReader.h"
#include "Messages.h"
#include "Session.h"
#include "ecc/EccKey.h"
#include "formats/JwkThumbprint.h"
#include "support/Hash.h"
#include "support/TovarMp.h"

namespace ecckey_cli {

namespace {

// The key's size as OpenSSH states it: the bit length of the curve order (521 for P-521, where the
// library's own fingerprint line says 528, its byte length times eight). The order is public.
int orderBits(const ecckey::EccCurve &curve) {
    ecckey::mp_int order;
    if (!ecckey::TovarMp::mpint_from_radix(order, curve.m_order.getString(), 16))
        return 0;
    return ecckey::TovarMp::mp_count_bits(order);
}

// OpenSSH's digest text: "SHA256:" and the unpadded base64 of the blob's SHA-256, or "MD5:" and its MD5
// as colon-separated lower-case hexadecimal pairs.
[[nodiscard]] bool fingerprintText(ecckey::EccKey &key, bool md5, std::string &text, ecckey::LogBase &log) {
    ecckey::DataBuffer digest;
    ecckey::StringBuffer encoded;
    if (!key.calc_fingerprint_digest(md5 ? ecckey::HASH_MD5 : ecckey::HASH_SHA256, digest, log))
        return false;
    if (md5 ? !ecckey::DataBuffer::toHexString2(digest.getData2(), digest.getSize(), true, encoded)
            : !digest.encodeDB("base64", encoded))
        return false;
    text = std::string(md5 ? "MD5:" : "SHA256:") + encoded.getString();
    while (text.back() == '=')
        text.pop_back();
    return true;
}

}  // namespace

int cmdFingerprint(int argc, char **argv) {
    ArgList args;
    std::string error;
    if (!args.parse(argc, argv, {"--kid", "--passin"}, {"--sha256", "--md5", "--jwk", "--uri"}, error))
        return usageError(error.c_str());
    if (args.positionals().size() != 1)
        return usageError("fingerprint takes one key file");
    if (args.has("--sha256") && args.has("--md5"))
        return usageError("give --sha256 or --md5, not both");
    const bool jose = args.has("--jwk") || args.has("--uri");
    if (jose && (args.has("--sha256") || args.has("--md5") || (args.has("--jwk") && args.has("--uri"))))
        return usageError("give one of --sha256, --md5, --jwk and --uri");

    Session session(args.verbose());
    ecckey::EccKey key;
    KeyFileInfo keyInfo(args.value("--kid"), args.value("--passin"));
    if (!readKeyFile(args.positionals()[0].c_str(), key, session.log(), error, &keyInfo))
        return session.fail(error);
    if (jose) {
        ecckey::StringBuffer text;
        if (!(args.has("--uri") ? ecckey::jwkThumbprintUri(key, text, session.log())
                                : ecckey::jwkThumbprint(key, text, session.log())))
            return session.fail(std::string("no JWK thumbprint for ") + key.m_curve.m_name.getString() +
                                " (P-256, P-384, P-521 and secp256k1 have one)");
        std::printf("%s\n", text.getString());
        return session.finish(kExitOk);
    }
    // The blob of a curve without an SSH name would claim nistp256: no fingerprint of an SSH key exists.
    if (sshKeyTypeName(key).empty())
        return session.fail(std::string(kNoSshNameFor) + key.m_curve.m_name.getString());
    std::string text;
    if (!fingerprintText(key, args.has("--md5"), text, session.log()))
        return session.fail("cannot compute the fingerprint");
    // "521 SHA256:... comment (ECDSA)", the comment being that of the OpenSSH line read, as ssh-keygen has
    // it.
    const std::string comment = keyInfo.comment.empty() ? "no comment" : keyInfo.comment;
    std::printf("%d %s %s (ECDSA)\n", orderBits(key.m_curve), text.c_str(), comment.c_str());
    return session.finish(kExitOk);
}

}  // namespace ecckey_cli
