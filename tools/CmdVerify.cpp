// ecckey verify: checks an ECDSA signature; prints valid or invalid.
#include <cstdio>
#include <string>

#include "ArgList.h"
#include "Commands.h"
#include "Digest.h"
#include "FileIo.h"
#include "KeyFile.h"
#include "Messages.h"
#include "Session.h"
#include "ecc/EccKey.h"
#include "ecc/EccMessages.h"
#include "formats/CompactJws.h"
#include "formats/SigConvert.h"
#include "formats/SignatureForms.h"
#include "formats/SshSig.h"

namespace ecckey_cli {

namespace {

// A signature file holds the bytes, or the hexadecimal line that `sign` prints without -o.
[[nodiscard]] bool decodeSignatureFile(const ecckey::DataBuffer &content, ecckey::DataBuffer &sig) {
    bool anyDigit = false;
    for (unsigned i = 0; i < content.getSize(); ++i) {
        const char c = (char)content[i];
        const bool digit = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
        if (!digit && c != ' ' && c != '\t' && c != '\r' && c != '\n')
            return sig.append(content);
        anyDigit = anyDigit || digit;
    }
    ecckey::StringBuffer text;
    if (!anyDigit || !text.append(reinterpret_cast<const char *>(content.getData2()), content.getSize()))
        return sig.append(content);
    return sig.appendEncoded(text.getString(), "hex");
}

[[nodiscard]] int printVerdict(Session &session, bool valid) {
    std::printf("%s\n", valid ? "valid" : "invalid");
    return session.finish(valid ? kExitOk : kExitInvalid);
}

// A signature that does not parse is not valid (exit 1, as for a wrong one); the note says why.
int notParsed(Session &session, const std::string &why) {
    std::fprintf(stderr, kErrorLine, why.c_str());
    return printVerdict(session, false);
}

// A compact JWS in the --sig file: its payload is in the token, the algorithm the key's own or --alg.
int verifyJws(Session &session, ecckey::EccKey &key, const ArgList &args) {
    std::string error;
    ecckey::DataBuffer content;
    ecckey::StringBuffer token;
    ecckey::DataBuffer payload;
    if (!readInput(args.value("--sig"), content, error))
        return session.fail(error);
    if (!token.append(reinterpret_cast<const char *>(content.getData2()), content.getSize()))
        return session.fail(kOutOfMemory);
    token.trim2();
    bool valid = false;
    if (!ecckey::verifyCompactJws(key, args.value("--alg"), token.getString(), payload, valid, session.log()))
        return notParsed(session, "the signature is not a compact JWS of the key's algorithm (or --alg)");
    return printVerdict(session, valid);
}

// An armoured SSH signature in the --sig file over the --in file, in --namespace.
int verifySshSig(Session &session, ecckey::EccKey &key, const ArgList &args) {
    std::string error;
    ecckey::DataBuffer content, message;
    ecckey::StringBuffer text;
    if (!readInput(args.value("--sig"), content, error) || !readInput(args.value("--in"), message, error))
        return session.fail(error);
    if (!text.append(reinterpret_cast<const char *>(content.getData2()), content.getSize()))
        return session.fail(kOutOfMemory);
    bool valid = false;
    if (!ecckey::verifySshSig(key, args.value("--namespace"), message, text.getString(), valid,
                              session.log()))
        return notParsed(session, "the signature is not an SSH signature by this key in this namespace");
    return printVerdict(session, valid);
}

}  // namespace

int cmdVerify(int argc, char **argv) {
    ArgList args;
    std::string error;
    if (!args.parse(argc, argv,
                    {"--sig", "--in", "--digest", "--hash", "--alg", "--namespace", "--kid", "--passin"}, {},
                    error))
        return usageError(error.c_str());
    if (args.positionals().size() != 1 || !args.has("--sig"))
        return usageError("verify takes one key file and --sig FILE");

    Session session(args.verbose());
    ecckey::EccKey key;
    KeyFileInfo keyInfo(args.value("--kid"), args.value("--passin"));
    if (!readKeyFile(args.positionals()[0].c_str(), key, session.log(), error, &keyInfo))
        return session.fail(error);
    if (args.has("--namespace")) {
        if (!args.has("--in") || args.has("--hash") || args.has("--digest") || args.has("--alg"))
            return usageError("an SSH signature is checked over --in FILE in --namespace NS");
        return verifySshSig(session, key, args);
    }
    // Neither --in nor --hash: the signature file holds a compact JWS with its payload.
    if (!args.has("--in") && !args.has("--hash"))
        return args.has("--digest") ? usageError("a JWS names its own hash; --digest goes with --in")
                                    : verifyJws(session, key, args);
    if (args.has("--alg"))
        return usageError("--alg goes with a JWS (no --in or --hash)");
    ecckey::DataBuffer hash;
    if (!messageHash(args, key.m_curve, hash, error))
        return session.fail(error);
    ecckey::DataBuffer content;
    ecckey::DataBuffer sig;
    if (!readInput(args.value("--sig"), content, error))
        return session.fail(error);
    if (!decodeSignatureFile(content, sig) || sig.isEmpty())
        return notParsed(session, "the signature file is empty or not valid hexadecimal");

    const unsigned byteLen = (unsigned)key.m_curve.m_byteLen;
    // Exactly twice the byte length is raw r||s; anything else may be the SSH form.
    ecckey::DataBuffer raw;
    ecckey::LogNull quiet;
    if (sig.getSize() != 2 * byteLen &&
        ecckey::convertSignature((int)byteLen, ecckey::SigForm::Ssh, ecckey::SigForm::Raw, sig, raw, quiet))
        sig = raw;
    // Raw r||s is exactly twice the curve's byte length, split in the middle: the library would take any
    // longer input as r and "all the rest" for s, so zeros put in front of s would still verify. The
    // split is given explicitly because the library knows only some raw sizes by heart (not the 40-, 56-
    // and 80-byte forms of brainpoolP160r1, P-224, brainpoolP224r1 and brainpoolP320r1).
    if (sig.getSize() != 2 * byteLen && !ecckey::formats::isDerSignature(sig))
        return notParsed(session, "the signature is not DER, raw r||s of " + std::to_string(2 * byteLen) +
                                      " bytes or the SSH form");
    bool valid = false;
    if (key.eccVerifyHash(sig.getData2(), sig.getSize(), true, hash.getData2(), hash.getSize(), valid,
                          session.log(), byteLen))
        return printVerdict(session, valid);
    // The generic verifier reports r or s outside [1, n) as a failure with code 1; such a signature is
    // simply not valid (the secp256k1 verifier says so itself). Any other failure is a signature the
    // library could not read.
    std::string code;
    if (session.log().dataValue(ecckey::kDataVerifyError, code) && code == "1")
        return printVerdict(session, false);
    return notParsed(session, "the signature does not parse");
}

}  // namespace ecckey_cli
