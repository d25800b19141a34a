// ecckey ecdh: the shared secret of a private key and a peer's public key.
#include <string>

#include "ArgList.h"
#include "Commands.h"
#include "FileIo.h"
#include "KeyFile.h"
#include "Messages.h"
#include "Session.h"
#include "ecc/EccKey.h"

namespace ecckey_cli {

int cmdEcdh(int argc, char **argv) {
    ArgList args;
    std::string error;
    if (!args.parse(argc, argv, {"--kid", "--passin", "-o"}, {"--force"}, error))
        return usageError(error.c_str());
    if (args.positionals().size() != 2)
        return usageError("ecdh takes a key file and a peer key file");

    Session session(args.verbose());
    const std::string &keyPath = args.positionals()[0];
    ecckey::EccKey key;
    ecckey::EccKey peer;
    KeyFileInfo keyInfo(args.value("--kid"), args.value("--passin"));
    if (!readKeyFile(keyPath.c_str(), key, session.log(), error, &keyInfo) ||
        !readKeyFile(args.positionals()[1].c_str(), peer, session.log(), error, &keyInfo))
        return session.fail(error);

    ecckey::DataBuffer secret;
    secret.setSensitive();
    // The checked path: a peer point off the curve would make the secret one on another, weaker curve.
    if (!key.sharedSecretChecked(peer, secret, session.log())) {
        if (!key.isPrivate())
            return session.fail("'" + keyPath + "' holds a public key; ecdh needs a private key first");
        if (!key.m_curve.m_name.equals(peer.m_curve.m_name))
            return session.fail(std::string("the keys are on different curves (") +
                                key.m_curve.m_name.getString() + " and " + peer.m_curve.m_name.getString() +
                                ")");
        return session.fail("cannot agree a secret");
    }
    // With -o the file (mode 0600) gets the bytes; otherwise one line of hexadecimal.
    const char *path = args.value("-o");
    ecckey::DataBuffer out;
    out.setSensitive();
    bool ok;
    if (isStdio(path)) {
        ecckey::StringBuffer hex;
        ok = ecckey::DataBuffer::toHexString2(secret.getData2(), secret.getSize(), false, hex) &&
             out.append(hex) && out.appendChar('\n');
    } else {
        ok = out.append(secret);
    }
    if (!ok || !writeOutput({path, args.has("--force")}, out, true, error))
        return session.fail(ok ? error : kOutOfMemory);
    return session.finish(kExitOk);
}

}  // namespace ecckey_cli
