// ecckey ecdh: the shared secret of a private key and a peer's public key.
#include <cstdlib>
#include <string>

#include "ArgList.h"
#include "Commands.h"
#include "FileIo.h"
#include "KeyFile.h"
#include "Messages.h"
#include "Session.h"
#include "ecc/EccKey.h"
#include "formats/EcdhKdf.h"

namespace ecckey_cli {

namespace {

// --kdf NAME --len N [--info HEX] [--salt HEX] into params (info and salt held by the caller). False with
// a message in error.
[[nodiscard]] bool kdfArguments(const ArgList &args, ecckey::EcdhKdfParams &params, ecckey::DataBuffer &info,
                                ecckey::DataBuffer &salt, std::string &error) {
    const char *len = args.value("--len");
    const char *infoHex = args.value("--info");
    const char *saltHex = args.value("--salt");
    if (!ecckey::parseEcdhKdfName(args.value("--kdf"), params.kind, params.hashAlg)) {
        error = "--kdf takes x963, concat or hkdf, a colon and sha224, sha256, sha384 or sha512";
        return false;
    }
    char *end = nullptr;
    const unsigned long numBytes = len ? std::strtoul(len, &end, 10) : 0;
    if (len == nullptr || *len == '-' || *end != '\0' || numBytes == 0 || numBytes > 65536) {
        error = "--kdf needs --len N, the bytes to derive (1 to 65536)";
        return false;
    }
    if ((infoHex && !info.appendEncoded(infoHex, "hex")) ||
        (saltHex && !salt.appendEncoded(saltHex, "hex"))) {
        error = "--info and --salt take hexadecimal";
        return false;
    }
    if (saltHex && params.kind != ecckey::EcdhKdfKind::Hkdf) {
        error = "--salt goes with --kdf hkdf only";
        return false;
    }
    params.outLen = (unsigned)numBytes;
    params.info = &info;
    params.salt = &salt;
    return true;
}

}  // namespace

int cmdEcdh(int argc, char **argv) {
    ArgList args;
    std::string error;
    if (!args.parse(argc, argv, {"--kid", "--passin", "-o", "--kdf", "--len", "--info", "--salt"},
                    {"--force"}, error))
        return usageError(error.c_str());
    if (args.positionals().size() != 2)
        return usageError("ecdh takes a key file and a peer key file");
    ecckey::EcdhKdfParams kdf;
    ecckey::DataBuffer info;
    ecckey::DataBuffer salt;
    const bool derive = args.has("--kdf");
    if (derive && !kdfArguments(args, kdf, info, salt, error))
        return usageError(error.c_str());
    if (!derive && (args.has("--len") || args.has("--info") || args.has("--salt")))
        return usageError("--len, --info and --salt go with --kdf");

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
    if (derive) {
        ecckey::DataBuffer derived;
        if (!ecckey::deriveFromSecret(secret, kdf, derived, session.log()))
            return session.fail("cannot derive a key from the secret");
        secret.secureClear();
        if (!secret.append(derived))
            return session.fail(kOutOfMemory);
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
