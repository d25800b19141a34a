// ecckey: command-line front end to the library. `ecckey help` lists the subcommands.
#include <cstring>
#include <string>

#include "Commands.h"
#include "KeyFormats.h"

namespace ecckey_cli {

namespace {

const Command s_commands[] = {
    {"curves", "", "list the named curves: name, OID, bits (byte length x 8), accepted names", cmdCurves},
    {"gen", "CURVE [--format F] [-o FILE]", "generate a private key (CURVE: a name, alias or OID)", cmdGen},
    {"pub", "KEYFILE [--format F] [-o FILE]", "write the public key", cmdPub},
    {"convert", "KEYFILE --format F [-o FILE]", "write the key in another format", cmdConvert},
    {"sign",
     "KEYFILE (--in FILE [--digest ALG] | --hash HEX) [--sig-format der|raw|ssh] [--deterministic] [-o FILE]",
     "sign a file's digest or a hash (--deterministic: RFC 6979, the same signature for the same key and "
     "hash); without -o the signature is printed in hexadecimal",
     cmdSign},
    {"verify", "KEYFILE --sig FILE (--in FILE [--digest ALG] | --hash HEX)",
     "check a signature (bytes or hexadecimal; der, raw or ssh): prints valid (exit 0) or invalid (exit 1)",
     cmdVerify},
    {"ecdh", "KEYFILE PEERFILE [-o FILE]", "the ECDH shared secret, in hexadecimal (bytes with -o)", cmdEcdh},
    {"fingerprint", "KEYFILE [--sha256]", "the SSH fingerprint (MD5 line, or OpenSSH's SHA256: form)",
     cmdFingerprint},
    {"check", "KEYFILE",
     "validate a key: prints its format, curve and parameters and each check passed (exit 0), or why not "
     "(exit 2)",
     cmdCheck},
    {"demo", "", "every curve: keys, signatures, ECDH, format round trips and timings", cmdDemo},
};

}  // namespace

const Command *commands(int &numCommands) {
    numCommands = static_cast<int>(sizeof(s_commands) / sizeof(s_commands[0]));
    return s_commands;
}

void printUsage(std::FILE *out) {
    std::fprintf(out, "usage: ecckey <command> [arguments] [-v]\n\ncommands:\n");
    int numCommands = 0;
    const Command *all = commands(numCommands);
    for (int i = 0; i < numCommands; ++i)
        std::fprintf(out, "  %s%s%s\n      %s\n", all[i].name, *all[i].synopsis ? " " : "", all[i].synopsis,
                     all[i].summary);
    std::fprintf(out, "  help\n      show this text\n\nformats F (pem is the default):\n");
    int numFormats = 0;
    const FormatInfo *formats = keyFormats(numFormats);
    for (int i = 0; i < numFormats; ++i)
        std::fprintf(out, "  %-14s %s\n", formats[i].name, formats[i].summary);
    std::fprintf(out,
                 "\nKEYFILE and PEERFILE may be in any of these formats, detected from the content; - reads\n"
                 "standard input. ALG: sha1, sha224, sha256 (the default), sha384, sha512.\n"
                 "-v prints the library's whole log on standard error. Exit status: 0 success, 1 invalid\n"
                 "signature, 2 error.\n");
}

int usageError(const char *message) {
    std::fprintf(stderr, "ecckey: %s\n\n", message);
    printUsage(stderr);
    return kExitError;
}

}  // namespace ecckey_cli

int main(int argc, char **argv) {
    using namespace ecckey_cli;
    if (argc < 2)
        return usageError("no command given");
    const char *name = argv[1];
    if (std::strcmp(name, "help") == 0 || std::strcmp(name, "--help") == 0 || std::strcmp(name, "-h") == 0) {
        printUsage(stdout);
        return kExitOk;
    }
    int numCommands = 0;
    const Command *all = commands(numCommands);
    for (int i = 0; i < numCommands; ++i) {
        if (std::strcmp(name, all[i].name) == 0)
            return all[i].run(argc - 2, argv + 2);
    }
    std::string message = std::string("unknown command '") + name + "'";
    return usageError(message.c_str());
}
