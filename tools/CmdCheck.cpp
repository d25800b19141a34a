// ecckey check: what a key file holds and whether it passes the library's checks.
#include <cstdio>
#include <string>

#include "ArgList.h"
#include "Commands.h"
#include "KeyFile.h"
#include "Session.h"
#include "ecc/EccKey.h"
#include "ecc/EccMessages.h"

namespace ecckey_cli {

int cmdCheck(int argc, char **argv) {
    ArgList args;
    std::string error;
    if (!args.parse(argc, argv, {"--kid", "--passin"}, {}, error))
        return usageError(error.c_str());
    if (args.positionals().size() != 1)
        return usageError("check takes one key file");

    // Reading runs every check (the checked DER loader, checkPublicKey, checkPrivateKey): a key that
    // fails one is refused here with the library's reason.
    Session session(args.verbose());
    ecckey::EccKey key;
    KeyFileInfo info(args.value("--kid"), args.value("--passin"));
    if (!readKeyFile(args.positionals()[0].c_str(), key, session.log(), error, &info))
        return session.fail(error);

    const bool isPrivate = key.isPrivate();
    // Only DER and PEM keys can carry explicit parameters; the checked loader notes that it compared them.
    const bool explicitParams = session.log().hasInfo(ecckey::kMsgExplicitParamsMatch);
    std::printf("format: %s\ncurve: %s (%s)\nkey: %s\nparameters: %s\n", info.format.c_str(),
                key.m_curve.m_name.getString(), key.m_curve.m_oid.getString(),
                isPrivate ? "private" : "public",
                explicitParams ? "explicit, equal to the named curve's in every field" : "named curve");
    std::printf(
        "passed: the public point is affine, not the point at infinity\n"
        "passed: its coordinates are below p\n"
        "passed: it lies on the curve (y^2 = x^3 + ax + b with the curve's own a)\n");
    if (isPrivate)
        std::printf(
            "passed: the private scalar d is in [1, n-1]\n"
            "passed: the public point is d*G\n");
    return session.finish(kExitOk);
}

}  // namespace ecckey_cli
