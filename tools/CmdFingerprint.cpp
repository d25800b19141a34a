// ecckey fingerprint: the key's SSH fingerprint, in the line `ssh-keygen -l` prints.
#include <cstdio>
#include <string>

#include "ArgList.h"
#include "Commands.h"
#include "KeyFile.h"
#include "Session.h"
#include "ecc/EccKey.h"
#include "formats/JwkThumbprint.h"
#include "formats/SshFingerprint.h"

namespace ecckey_cli {

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
    // The comment is that of the OpenSSH line read, as ssh-keygen has it.
    std::string line;
    if (!ecckey::formats::sshFingerprintLine(key, args.has("--md5"), keyInfo.comment, line, session.log(),
                                             error))
        return session.fail(error);
    std::printf("%s\n", line.c_str());
    return session.finish(kExitOk);
}

}  // namespace ecckey_cli
