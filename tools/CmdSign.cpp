// ecckey sign: an ECDSA signature over a file's digest or a given hash.
#include <strings.h>

#include <cstring>

#include <string>

#include "ArgList.h"
#include "Commands.h"
#include "Digest.h"
#include "FileIo.h"
#include "KeyFile.h"
#include "Messages.h"
#include "Session.h"
#include "ecc/EccKey.h"
#include "formats/CompactJws.h"
#include "formats/SshSig.h"
#include "support/Hash.h"
#include "support/Prng.h"

namespace ecckey_cli {

namespace {

enum class SigFormat { Der, Raw, Ssh, Jws, SshSig };

[[nodiscard]] bool sigFormatByName(const char *name, SigFormat &format) {
    if (::strcasecmp(name, "der") == 0)
        format = SigFormat::Der;
    else if (::strcasecmp(name, "raw") == 0)
        format = SigFormat::Raw;
    else if (::strcasecmp(name, "ssh") == 0)
        format = SigFormat::Ssh;
    else if (::strcasecmp(name, "jws") == 0)
        format = SigFormat::Jws;
    else if (::strcasecmp(name, "sshsig") == 0)
        format = SigFormat::SshSig;
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

// The compact JWS of the --in file's bytes, printed as one line (or written to -o).
int signJws(Session &session, ecckey::EccKey &key, const ArgList &args) {
    std::string error;
    ecckey::DataBuffer payload;
    ecckey::StringBuffer token;
    ecckey::DataBuffer line;
    if (!readInput(args.value("--in"), payload, error))
        return session.fail(error);
    if (!ecckey::signCompactJws(key, args.value("--alg"), nullptr, payload, token, session.log()))
        return session.fail(
            "cannot sign a JWS with this key (ES256 P-256, ES384 P-384, ES512 P-521, ES256K "
            "secp256k1)");
    if (!line.append(token) || !line.appendChar('\n') ||
        !writeOutput({args.value("-o"), args.has("--force")}, line, false, error))
        return session.fail(error.empty() ? kOutOfMemory : error);
    return session.finish(kExitOk);
}

// The armoured SSH signature of the --in file in --namespace, its message hash --digest (sha512 by
// default, as ssh-keygen).
int signSshSig(Session &session, ecckey::EccKey &key, const ArgList &args) {
    std::string error;
    int hashAlg = ecckey::HASH_SHA512;
    ecckey::DataBuffer message;
    ecckey::StringBuffer text;
    ecckey::DataBuffer out;
    if (args.has("--digest") && (!digestByName(args.value("--digest"), hashAlg) ||
                                 (hashAlg != ecckey::HASH_SHA256 && hashAlg != ecckey::HASH_SHA512)))
        return usageError("an SSH signature hashes the file with sha256 or sha512");
    if (!readInput(args.value("--in"), message, error))
        return session.fail(error);
    if (!ecckey::signSshSig(key, args.value("--namespace"), hashAlg, message, text, session.log()))
        return session.fail("cannot make an SSH signature with this key (P-256, P-384 and P-521 only)");
    if (!out.append(text) || !writeOutput({args.value("-o"), args.has("--force")}, out, false, error))
        return session.fail(error.empty() ? kOutOfMemory : error);
    return session.finish(kExitOk);
}

}  // namespace

int cmdSign(int argc, char **argv) {
    ArgList args;
    std::string error;
    if (!args.parse(
            argc, argv,
            {"--in", "--digest", "--hash", "--sig-format", "--alg", "--namespace", "--kid", "--passin", "-o"},
            {"--force", "--deterministic"}, error))
        return usageError(error.c_str());
    if (args.positionals().size() != 1)
        return usageError("sign takes one key file");
    SigFormat sigFormat = SigFormat::Der;
    if (args.has("--sig-format") && !sigFormatByName(args.value("--sig-format"), sigFormat))
        return usageError("--sig-format is der, raw, ssh, jws or sshsig");
    if (args.has("--alg") && sigFormat != SigFormat::Jws)
        return usageError("--alg goes with --sig-format jws");
    if ((sigFormat == SigFormat::SshSig) != args.has("--namespace") ||
        (sigFormat == SigFormat::SshSig && (!args.has("--in") || args.has("--hash"))))
        return usageError("--sig-format sshsig signs --in FILE in --namespace NS, which goes with it only");
    if (sigFormat == SigFormat::Jws && (!args.has("--in") || args.has("--hash") || args.has("--digest")))
        return usageError("--sig-format jws signs the bytes of --in (its hash follows from the algorithm)");
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
    if (sigFormat == SigFormat::Jws)
        return signJws(session, key, args);
    if (sigFormat == SigFormat::SshSig)
        return signSshSig(session, key, args);
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
