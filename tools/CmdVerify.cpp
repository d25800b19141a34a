// ecckey verify: checks an ECDSA signature; prints valid or invalid.
#include <cstdio>
#include <string>

#include "ArgList.h"
#include "Commands.h"
#include "Digest.h"
#include "FileIo.h"
#include "KeyReader.h"
#include "Session.h"
#include "ecc/EccKey.h"
#include "support/SshMessage.h"

namespace ecckey_cli {

namespace {

// A signature file holds the bytes, or the hexadecimal line that `sign` prints without -o.
bool decodeSignatureFile(const ecckey::DataBuffer &content, ecckey::DataBuffer &sig) {
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

// One SSH mpint of r or s, as its magnitude left-padded to byteLen.
bool appendPaddedMpint(const ecckey::DataBuffer &mpint, unsigned byteLen, ecckey::DataBuffer &raw) {
    unsigned skip = 0;
    while (skip < mpint.getSize() && mpint[skip] == 0)
        ++skip;
    const unsigned len = mpint.getSize() - skip;
    if (len > byteLen || (mpint.getSize() > 0 && (mpint[0] & 0x80)))
        return false;
    for (unsigned i = len; i < byteLen; ++i)
        raw.appendChar(0);
    return raw.append(mpint.getData2() + skip, len);
}

// The SSH form (two mpints filling the whole blob), turned into raw r||s; false for anything else.
bool sshSignatureToRaw(const ecckey::DataBuffer &sig, unsigned byteLen, ecckey::DataBuffer &raw) {
    ecckey::DataBuffer r;
    ecckey::DataBuffer s;
    ecckey::LogNull quiet;
    unsigned offset = 0;
    return sig.getSize() != 2 * byteLen && ecckey::SshMessage::parseBinaryString(sig, offset, r, quiet) &&
           ecckey::SshMessage::parseBinaryString(sig, offset, s, quiet) && offset == sig.getSize() &&
           appendPaddedMpint(r, byteLen, raw) && appendPaddedMpint(s, byteLen, raw);
}

int printVerdict(Session &session, bool valid) {
    std::printf("%s\n", valid ? "valid" : "invalid");
    return session.finish(valid ? kExitOk : kExitInvalid);
}

}  // namespace

int cmdVerify(int argc, char **argv) {
    ArgList args;
    std::string error;
    if (!args.parse(argc, argv, {"--sig", "--in", "--digest", "--hash"}, {}, error))
        return usageError(error.c_str());
    if (args.positionals().size() != 1 || !args.has("--sig"))
        return usageError("verify takes one key file and --sig FILE");

    Session session(args.verbose());
    ecckey::EccKey key;
    if (!readKeyFile(args.positionals()[0].c_str(), key, session.log(), error))
        return session.fail(error);
    ecckey::DataBuffer hash;
    if (!messageHash(args, hash, error))
        return session.fail(error);
    ecckey::DataBuffer content;
    ecckey::DataBuffer sig;
    if (!readInput(args.value("--sig"), content, error))
        return session.fail(error);
    if (!decodeSignatureFile(content, sig) || sig.isEmpty())
        return session.fail("the signature file is empty or not valid hexadecimal");

    const unsigned byteLen = (unsigned)key.m_curve.m_byteLen;
    ecckey::DataBuffer raw;
    if (sshSignatureToRaw(sig, byteLen, raw))
        sig = raw;
    // Raw r||s is split at the curve's length: the reader only knows some raw sizes by heart, and the
    // 40-, 56- and 80-byte forms of brainpoolP160r1, P-224, brainpoolP224r1 and brainpoolP320r1 are not
    // among them. DER is recognised before the split applies.
    bool valid = false;
    if (key.eccVerifyHash(sig.getData2(), sig.getSize(), true, hash.getData2(), hash.getSize(), valid,
                          session.log(), byteLen))
        return printVerdict(session, valid);
    // The generic verifier reports r or s outside [1, n) as a failure with code 1; such a signature is
    // simply not valid (the secp256k1 verifier says so itself).
    std::string code;
    if (session.log().dataValue("EccVerifyError", code) && code == "1")
        return printVerdict(session, false);
    return session.fail("cannot verify the signature");
}

}  // namespace ecckey_cli
