// ecckey sign: an ECDSA signature over a file's digest or a given hash.
#include <strings.h>

#include <cstring>

#include <string>

#include "ArgList.h"
#include "Commands.h"
#include "Digest.h"
#include "FileIo.h"
#include "KeyFile.h"
#include "Session.h"
#include "ecc/EccKey.h"
#include "support/Hash.h"
#include "support/Prng.h"

namespace ecckey_cli {

namespace {

enum class SigFormat { Der, Raw, Ssh };

[[nodiscard]] bool sigFormatByName(const char *name, SigFormat &format) {
    if (::strcasecmp(name, "der") == 0)
        format = SigFormat::Der;
    else if (::strcasecmp(name, "raw") == 0)
        format = SigFormat::Raw;
    else if (::strcasecmp(name, "ssh") == 0)
        format = SigFormat::Ssh;
    else
        return false;
    return true;
}

// Without -o the signature is printed as one line of hexadecimal; with -o the file gets the bytes.
[[nodiscard]] bool writeSignature(const OutputTarget &target, const ecckey::DataBuffer &sig,
                                  std::string &error) {
    if (!isStdio(target.path))
        return writeOutput(target, sig, false, error);
    ecckey::StringBuffer hex;
    ecckey::DataBuffer line;
    return ecckey::DataBuffer::toHexString2(sig.getData2(), sig.getSize(), false, hex) && line.append(hex) &&
           line.appendChar('\n') && writeOutput(target, line, false, error);
}

}  // namespace

int cmdSign(int argc, char **argv) {
    ArgList args;
    std::string error;
    if (!args.parse(argc, argv, {"--in", "--digest", "--hash", "--sig-format", "--kid", "--passin", "-o"},
                    {"--force", "--deterministic"}, error))
        return usageError(error.c_str());
    if (args.positionals().size() != 1)
        return usageError("sign takes one key file");
    SigFormat sigFormat = SigFormat::Der;
    if (args.has("--sig-format") && !sigFormatByName(args.value("--sig-format"), sigFormat))
        return usageError("--sig-format is der, raw or ssh");
    const bool deterministic = args.has("--deterministic");
    if (deterministic && sigFormat == SigFormat::Ssh)
        return usageError("--deterministic makes der or raw signatures");

    Session session(args.verbose());
    const char *keyPath = args.positionals()[0].c_str();
    ecckey::EccKey key;
    KeyFileInfo keyInfo(args.value("--kid"), args.value("--passin"));
    if (!readKeyFile(keyPath, key, session.log(), error, &keyInfo))
        return session.fail(error);
    // Checked here for every curve: the secp256k1 signer would otherwise sign with the zero scalar of a
    // public key.
    if (!key.isPrivate())
        return session.fail(std::string("'") + keyPath + "' holds a public key; signing needs a private key");
    // The deterministic signer takes the whole hash and its digest, and fits it to the curve itself.
    ecckey::DataBuffer hash;
    int hashAlg = 0;
    if (deterministic ? !digestedHash(args, hash, hashAlg, error)
                      : !messageHash(args, key.m_curve, hash, error))
        return session.fail(error);

    ecckey::SystemPrng prng;
    ecckey::DataBuffer sig;
    // The random signers draw their nonces uniformly from [1, n - 1] (RFC 6979's already are).
    if (!session.log().m_options.append2(" ", ecckey::EccKey::kOptDrawUniform))
        return session.fail("out of memory");
    bool signedOk;
    if (deterministic) {
        signedOk = key.eccSignHashDeterministic(hash.getData2(), hash.getSize(), hashAlg,
                                                sigFormat == SigFormat::Der, sig, session.log());
    } else if (sigFormat == SigFormat::Ssh) {
        signedOk = key.eccSignHash_forSsh(hash.getData2(), hash.getSize(), prng, sig, session.log());
    } else {
        signedOk = key.eccSignHash(hash.getData2(), hash.getSize(), prng, sigFormat == SigFormat::Der, sig,
                                   session.log());
    }
    if (!signedOk)
        return session.fail("cannot sign");
    if (!writeSignature({args.value("-o"), args.has("--force")}, sig, error))
        return session.fail(error);
    return session.finish(kExitOk);
}

}  // namespace ecckey_cli
