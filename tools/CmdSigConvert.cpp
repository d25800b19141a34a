// ecckey sig-convert: an ECDSA signature from DER, raw r||s or the SSH form into another of them.
#include <string>

#include "ArgList.h"
#include "Commands.h"
#include "FileIo.h"
#include "Messages.h"
#include "Session.h"
#include "ecc/EccCurve.h"
#include "formats/SigConvert.h"
#include "support/StringBuffer.h"

namespace ecckey_cli {

namespace {

// The file's bytes, or the one hexadecimal line that `sign` prints (all hex digits and white space).
[[nodiscard]] bool signatureBytes(const ecckey::DataBuffer &content, ecckey::DataBuffer &sig) {
    ecckey::StringBuffer text;
    if (!text.append(reinterpret_cast<const char *>(content.getData2()), content.getSize()))
        return false;
    text.trim2();
    bool hex = !text.isEmpty() && text.getSize() % 2 == 0;
    for (unsigned i = 0; hex && i < text.getSize(); ++i) {
        const char c = text.getString()[i];
        hex = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    }
    return hex ? sig.appendEncoded(text.getString(), "hex") : sig.append(content);
}

}  // namespace

int cmdSigConvert(int argc, char **argv) {
    ArgList args;
    std::string error;
    if (!args.parse(argc, argv, {"--curve", "--from", "--to", "--in", "-o"}, {"--force"}, error))
        return usageError(error.c_str());
    ecckey::SigForm from, to;
    if (!args.positionals().empty() || !args.has("--curve") || !args.has("--in"))
        return usageError("sig-convert takes --curve C --from F --to F --in SIG");
    if (!ecckey::sigFormByName(args.value("--from"), from) || !ecckey::sigFormByName(args.value("--to"), to))
        return usageError("--from and --to are der, raw or ssh");

    Session session(args.verbose());
    ecckey::EccCurve curve;
    ecckey::LogNull quiet;
    if (!curve.loadCurveByName(args.value("--curve"), quiet))
        return session.fail(std::string("unknown curve '") + args.value("--curve") +
                            "' ('ecckey curves' lists the names)");
    ecckey::DataBuffer content, sig, out;
    if (!readInput(args.value("--in"), content, error))
        return session.fail(error);
    if (!signatureBytes(content, sig))
        return session.fail(kOutOfMemory);
    if (!ecckey::convertSignature(curve.m_byteLen, from, to, sig, out, session.log()))
        return session.fail(std::string("the signature is not ") + args.value("--from") + " on " +
                            curve.m_name.getString());
    // Without -o one line of hexadecimal, as `sign` prints; with -o the bytes.
    const char *path = args.value("-o");
    ecckey::StringBuffer hex;
    ecckey::DataBuffer line;
    if (isStdio(path) && (!ecckey::DataBuffer::toHexString2(out.getData2(), out.getSize(), false, hex) ||
                          !line.append(hex) || !line.appendChar('\n')))
        return session.fail(kOutOfMemory);
    if (!writeOutput({path, args.has("--force")}, isStdio(path) ? line : out, false, error))
        return session.fail(error);
    return session.finish(kExitOk);
}

}  // namespace ecckey_cli
