// ecckey fingerprint: the SSH fingerprint of a key's public part.
#include <cstdio>
#include <string>

#include "ArgList.h"
#include "Commands.h"
#include "KeyReader.h"
#include "Session.h"
#include "ecc/EccKey.h"
#include "support/Hash.h"

namespace ecckey_cli {

namespace {

// "SHA256:" and the unpadded base64 of the SHA-256 of the SSH public-key blob, as OpenSSH prints it.
bool sha256Fingerprint(ecckey::EccKey &key, std::string &line, ecckey::LogBase &log) {
    ecckey::DataBuffer digest;
    ecckey::StringBuffer base64;
    if (!key.calc_fingerprint_digest(ecckey::HASH_SHA256, digest, log) || !digest.encodeDB("base64", base64))
        return false;
    line = std::string("SHA256:") + base64.getString();
    while (!line.empty() && line.back() == '=')
        line.pop_back();
    return true;
}

}  // namespace

int cmdFingerprint(int argc, char **argv) {
    ArgList args;
    std::string error;
    if (!args.parse(argc, argv, {}, {"--sha256"}, error))
        return usageError(error.c_str());
    if (args.positionals().size() != 1)
        return usageError("fingerprint takes one key file");

    Session session(args.verbose());
    ecckey::EccKey key;
    if (!readKeyFile(args.positionals()[0].c_str(), key, session.log(), error))
        return session.fail(error);
    std::string line;
    if (args.has("--sha256")) {
        if (!sha256Fingerprint(key, line, session.log()))
            return session.fail("cannot compute the fingerprint");
    } else {
        // The classic line: "ecdsa-sha2-<curve> <bits> <MD5 as colon-separated hex>".
        ecckey::StringBuffer text;
        if (!key.calc_fingerprint(text, session.log()))
            return session.fail("cannot compute the fingerprint");
        line = text.getString();
    }
    std::printf("%s\n", line.c_str());
    return session.finish(kExitOk);
}

}  // namespace ecckey_cli
