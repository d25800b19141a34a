// ecckey jwks: the public keys of several key files as one JWK Set.
#include <memory>
#include <string>
#include <vector>

#include "ArgList.h"
#include "Commands.h"
#include "FileIo.h"
#include "FormatNames.h"
#include "KeyFile.h"
#include "Messages.h"
#include "Session.h"
#include "ecc/EccKey.h"
#include "formats/JwkMembers.h"

namespace ecckey_cli {

int cmdJwks(int argc, char **argv) {
    ArgList args;
    std::string error;
    if (!args.parse(argc, argv, {"--set-kid", "--alg", "--use", "--passin", "-o"}, {"--force"}, error))
        return usageError(error.c_str());
    if (args.positionals().empty())
        return usageError("jwks takes one or more key files");
    const char *kid = args.value("--set-kid");
    if (kid != nullptr && std::string(kid) != "thumbprint")
        return usageError("jwks takes --set-kid thumbprint: each key gets its own");

    Session session(args.verbose());
    ecckey::JwkExtras extras;
    extras.kidIsThumbprint = kid != nullptr;
    extras.alg = args.value("--alg");
    extras.use = args.value("--use");
    std::vector<std::unique_ptr<ecckey::StringBuffer>> texts;
    std::vector<const ecckey::StringBuffer *> jwks;
    for (const std::string &path : args.positionals()) {
        ecckey::EccKey key;
        KeyFileInfo keyInfo(nullptr, args.value("--passin"));
        ecckey::DataBuffer jwk;
        if (!readKeyFile(path.c_str(), key, session.log(), error, &keyInfo) ||
            !writeKey(key, *formatByName("jwk"), false, jwk, session.log(), error))
            return session.fail(error);
        texts.push_back(std::make_unique<ecckey::StringBuffer>());
        if (!texts.back()->append(reinterpret_cast<const char *>(jwk.getData2()), jwk.getSize()))
            return session.fail(kOutOfMemory);
        if (!ecckey::addJwkMembers(key, extras, *texts.back(), session.log()))
            return session.fail("cannot add the JWK members to the key of '" + path +
                                "' (--set-kid thumbprint: P-256, P-384, P-521 and secp256k1; --alg ES*: the "
                                "key's own)");
        jwks.push_back(texts.back().get());
    }
    ecckey::StringBuffer set;
    ecckey::DataBuffer out;
    if (!ecckey::toJwkSet(jwks, set, session.log()) || !out.append(set) || !out.appendChar('\n') ||
        !writeOutput({args.value("-o"), args.has("--force")}, out, false, error))
        return session.fail(error.empty() ? kOutOfMemory : error);
    return session.finish(kExitOk);
}

}  // namespace ecckey_cli
