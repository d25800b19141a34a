// ecckey fingerprint: the key's SSH fingerprint, in the line `ssh-keygen -l` prints.
#include <cstdio>
#include <string>

#include "ArgList.h"
#include "Commands.h"
#include "KeyFile.h"
#include "Session.h"
#include "ecc/EccKey.h"
#include "formats/SshFingerprint.h"

namespace ecckey_cli {

int cmdFingerprint(int argc, char **argv) {
    ArgList args;
    std::string error;
    if (!args.parse(argc, argv, {"--kid", "--passin"}, {"--sha256", "--md5"}, error))
        return usageError(error.c_str());
    if (args.positionals().size() != 1)
        return usageError("fingerprint takes one key file");
    if (args.has("--sha256") && args.has("--md5"))
        return usageError("give --sha256 or --md5, not both");

    Session session(args.verbose());
    ecckey::EccKey key;
    KeyFileInfo keyInfo(args.value("--kid"), args.value("--passin"));
    if (!readKeyFile(args.positionals()[0].c_str(), key, session.log(), error, &keyInfo))
        return session.fail(error);
    // The comment is that of the OpenSSH line read, as ssh-keygen has it.
    std::string line;
    if (!ecckey::formats::sshFingerprintLine(key, args.has("--md5"), keyInfo.comment, line, session.log(),
                                             error))
        return session.fail(error);
    std::printf("%s\n", line.c_str());
    return session.finish(kExitOk);
}

}  // namespace ecckey_cli
