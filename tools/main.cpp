// ecckey: command-line front end to the library. `ecckey --help` lists the subcommands, `ecckey CMD --help`
// describes one.
#include <cstring>
#include <string>

#include "Commands.h"
#include "FormatNames.h"
#include "Passphrase.h"

namespace ecckey_cli {

namespace {

const char kOptionLine[] = "  %-18s %s\n";

const Command s_commands[] = {
    {"curves", "", "list the named curves: name, OID, bits (byte length x 8), accepted names", cmdCurves, "",
     ""},
    {"gen", "CURVE [--format F] [--passout P [--iter N]] [-o FILE [--force]]",
     "generate a private key (CURVE: a name, alias or OID, as 'ecckey curves' lists them)", cmdGen,
     "--format --passout --iter -o --force", ""},
    {"pub",
     "KEYFILE [--format F] [--compressed] [--set-kid ID] [--alg A] [--use U] [--kid ID] [--passin P]\n"
     "      [-o FILE [--force]]",
     "write the public key", cmdPub, "--format --compressed --set-kid --alg --use --kid --passin -o --force",
     ""},
    {"convert",
     "KEYFILE --format F [--compressed] [--set-kid ID] [--alg A] [--use U] [--kid ID] [--passin P]\n"
     "      [--passout P [--iter N]] [-o FILE [--force]]",
     "write the key in another format", cmdConvert,
     "--format --compressed --set-kid --alg --use --kid --passin --passout --iter -o --force", ""},
    {"sign",
     "KEYFILE (--in FILE [--digest ALG] | --hash HEX) [--sig-format F] [--deterministic] [--kid ID]\n"
     "      [--passin P] [-o FILE [--force]]\n"
     "       ecckey sign KEYFILE --in FILE --sig-format jws [--alg A]\n"
     "       ecckey sign KEYFILE --in FILE --sig-format sshsig --namespace NS [--digest sha256|sha512]",
     "sign a file's digest or a hash; without -o the signature is printed in hexadecimal", cmdSign,
     "--in --digest --hash --sig-format --alg --namespace --deterministic --kid --passin -o --force",
     "The hash is cut to the curve's byte length when longer (P-521 and brainpoolP512r1 take up to 64\n"
     "bytes whole), in every signature form. On secp256k1, whose signer takes 32 bytes, a shorter hash\n"
     "(sha1, sha224) is left-padded with zeros, which leaves its ECDSA value unchanged: the signature is\n"
     "the one openssl makes and checks with that digest.\n"
     "--sig-format jws prints the compact JWS of the file's bytes as payload, header {\"alg\":A}: ES256\n"
     "on P-256, ES384 on P-384, ES512 on P-521, ES256K on secp256k1 (the hash is the algorithm's; the\n"
     "signature raw r||s, its nonce RFC 6979's).\n"
     "--sig-format sshsig writes the armoured SSH signature of 'ssh-keygen -Y sign' (P-256, P-384, P-521;\n"
     "the file hashed with --digest sha512, the default, or sha256).\n"},
    {"verify",
     "KEYFILE --sig FILE (--in FILE [--digest ALG] | --hash HEX) [--kid ID] [--passin P]\n"
     "       ecckey verify KEYFILE --sig TOKENFILE [--alg A]\n"
     "       ecckey verify KEYFILE --sig FILE.sig --in FILE --namespace NS",
     "check a signature: prints valid (exit 0) or invalid (exit 1)", cmdVerify,
     "--sig --in --digest --hash --alg --namespace --kid --passin",
     "The hash is fitted to the curve as 'ecckey sign' fits it (secp256k1: left-padded to 32 bytes).\n"
     "Exit status: 0 valid; 1 not valid, also for a signature that does not parse; 2 could not check\n"
     "(a key or file that cannot be read, a bad invocation).\n"
     "Without --in and --hash, FILE holds a compact JWS (its payload inside); only the key's own\n"
     "algorithm (or --alg, which must be it) is accepted, and only raw r||s of the curve's width.\n"
     "With --namespace, FILE.sig is an SSH signature ('ssh-keygen -Y sign') by this key in NS.\n"},
    {"ecdh",
     "KEYFILE PEERFILE [--kdf KDF --len N [--info HEX] [--salt HEX]] [--kid ID] [--passin P]\n"
     "      [-o FILE [--force]]",
     "the ECDH shared secret, or a key derived from it, in hexadecimal (its bytes with -o)", cmdEcdh,
     "--kdf --len --info --salt --kid --passin -o --force",
     "KDF is x963 (ANSI X9.63), concat (NIST SP 800-56A single-step, as JWE ECDH-ES uses it; --info is\n"
     "its whole OtherInfo) or hkdf (RFC 5869), a colon and sha224, sha256, sha384 or sha512: hkdf:sha256.\n"
     "Every curve allows every KDF; the input is the checked shared secret of the curve's byte length.\n"},
    {"fingerprint", "KEYFILE [--sha256 | --md5 | --jwk | --uri] [--kid ID] [--passin P]",
     "the SSH fingerprint line, as 'ssh-keygen -l' prints it (curves with an SSH name), or the JWK "
     "thumbprint",
     cmdFingerprint, "--sha256 --md5 --jwk --uri --kid --passin",
     "The line is bits, fingerprint, the comment of an OpenSSH public-key line read (else \"no comment\")\n"
     "and (ECDSA), as 'ssh-keygen -l -f' and 'ssh-keygen -l -E md5 -f' print it. --jwk and --uri print\n"
     "the RFC 7638 thumbprint alone, on P-256, P-384, P-521 and secp256k1.\n"},
    {"sig-convert", "--curve C --from der|raw|ssh --to der|raw|ssh --in SIG [-o FILE [--force]]",
     "an ECDSA signature in another form: DER, raw r||s or the SSH mpints (every curve)", cmdSigConvert,
     "--curve --from --to --in -o --force",
     "SIG holds the bytes or one line of hexadecimal; without -o the result is printed in hexadecimal.\n"},
    {"jwks", "KEYFILE... [--set-kid thumbprint] [--alg A] [--use U] [--passin P] [-o FILE [--force]]",
     "the public keys of the files as one JWK Set", cmdJwks, "--set-kid --alg --use --passin -o --force", ""},
    {"check", "KEYFILE [--kid ID] [--passin P]",
     "validate a key: prints its format, curve and parameters and each check passed (exit 0), or why not "
     "(exit 2)",
     cmdCheck, "--kid --passin", ""},
    {"demo", "", "every curve: keys, signatures, ECDH, format round trips and timings", cmdDemo, "", ""},
};

struct OptionHelp {
    const char *name;
    const char *argument;
    const char *text;
};

const OptionHelp s_optionHelp[] = {
    {"--format", "F", "the key format (see below; pem by default), in any case"},
    {"--kid", "ID", "from a JWK Set of several EC keys, the one whose \"kid\" is ID"},
    {"--passin", "P", "the passphrase of an encrypted key: pass:TEXT, env:VAR or file:PATH (first line)"},
    {"--passout", "P", "write pem or der as encrypted PKCS #8 (PBES2, AES-256-CBC) under passphrase P"},
    {"--iter", "N", "PBKDF2-HMAC-SHA256 iterations of --passout: 600000 by default, at most 1000000"},
    {"--in", "FILE", "the file whose digest is signed or checked"},
    {"--digest", "ALG", "sha1, sha224, sha256 (the default), sha384 or sha512, in any case"},
    {"--hash", "HEX", "a hash made elsewhere (1 to 64 bytes in hexadecimal), instead of --in"},
    {"--sig-format", "F", "der (the default), raw (r||s, twice the curve's byte length), ssh, jws or sshsig"},
    {"--deterministic", "", "RFC 6979: the nonce from the key and the hash, the same signature each time"},
    {"--sig", "FILE", "the signature: bytes or hexadecimal, in DER, raw r||s or the SSH form"},
    {"--kdf", "KDF", "derive a key from the shared secret (see below)"},
    {"--len", "N", "the bytes to derive with --kdf (1 to 65536; hkdf at most 255 hash lengths)"},
    {"--info", "HEX", "the KDF's SharedInfo (x963), OtherInfo (concat) or info (hkdf), in hexadecimal"},
    {"--salt", "HEX", "the HKDF salt in hexadecimal (a hash length of zeros when absent)"},
    {"--namespace", "NS", "the namespace of an SSH signature (ssh-keygen -Y -n), such as file or git"},
    {"--curve", "C", "the signature's curve (a name, alias or OID, as 'ecckey curves' lists them)"},
    {"--from", "F", "the form of SIG: der, raw (r||s of twice the curve's byte length) or ssh (two mpints)"},
    {"--to", "F", "the form to write: der, raw or ssh"},
    {"--sha256", "", "OpenSSH's SHA256 fingerprint (the default)"},
    {"--md5", "", "the MD5 fingerprint, as 'ssh-keygen -E md5' prints it"},
    {"--jwk", "", "the RFC 7638 JWK thumbprint (base64url of a SHA-256)"},
    {"--uri", "", "the RFC 9278 thumbprint URI, urn:ietf:params:oauth:jwk-thumbprint:sha-256:..."},
    {"--compressed", "",
     "the public point compressed (02 or 03, then x): pem, der, sec1-pem, sec1-der, raw-hex"},
    {"--set-kid", "ID", "jwk: write \"kid\" ID (thumbprint: the RFC 7638 thumbprint); cose: kid, ID's bytes"},
    {"--alg", "A", "the JOSE algorithm: ES256 P-256, ES384 P-384, ES512 P-521, ES256K secp256k1 (jwk: any)"},
    {"--use", "U", "jwk: write \"use\" U (sig or enc)"},
    {"-o", "FILE",
     "write to FILE (a regular file; '-' is standard output); a private key or secret gets mode 0600"},
    {"--force", "", "replace FILE if it exists, a symbolic link itself (a file the command reads never)"},
};

// The subcommand being run, for the pointer to its help in usage errors.
const char *s_commandName = nullptr;

const Command *commandByName(const char *name) {
    for (const Command &command : s_commands) {
        if (std::strcmp(command.name, name) == 0)
            return &command;
    }
    return nullptr;
}

void printFormats(std::FILE *out) {
    std::fprintf(out, "\nformats F:\n");
    int numFormats = 0;
    const FormatInfo *formats = keyFormats(numFormats);
    for (int i = 0; i < numFormats; ++i)
        std::fprintf(out, "  %-14s %s\n", formats[i].name, formats[i].summary);
}

void printInputsAndExit(std::FILE *out) {
    std::fprintf(
        out,
        "\nKEYFILE and PEERFILE may be in any of the key formats, detected from the content. A file named\n"
        "- is standard input, which one argument at most may name. A key, signature or passphrase file\n"
        "over 1 MiB is refused unread.\n"
        "Exit status: 0 success (verify: valid), 1 verify: not valid, 2 could not run.\n");
}

void printUsage(std::FILE *out) {
    std::fprintf(out,
                 "usage: ecckey COMMAND [ARGUMENTS] [-v]\n"
                 "       ecckey COMMAND --help    the command's arguments\n"
                 "       ecckey --version\n\ncommands:\n");
    for (const Command &command : s_commands)
        std::fprintf(out, "  %s%s%s\n      %s\n", command.name, *command.synopsis ? " " : "",
                     command.synopsis, command.summary);
    printFormats(out);
    printInputsAndExit(out);
    std::fprintf(out, "-v prints the library's whole log on standard error.\n");
}

void printCommandHelp(const Command &command, std::FILE *out) {
    std::fprintf(out, "usage: ecckey %s%s%s [-v]\n\n%s.\n\n", command.name, *command.synopsis ? " " : "",
                 command.synopsis, command.summary);
    const std::string options = std::string(" ") + command.options + " ";
    for (const OptionHelp &option : s_optionHelp) {
        if (options.find(std::string(" ") + option.name + " ") != std::string::npos)
            std::fprintf(out, kOptionLine, (std::string(option.name) + " " + option.argument).c_str(),
                         option.text);
    }
    std::fprintf(out, kOptionLine, "-v", "print the library's whole log on standard error");
    if (*command.notes != '\0')
        std::fprintf(out, "\n%s", command.notes);
    if (std::strstr(command.options, "--format") != nullptr)
        printFormats(out);
    if (std::strstr(command.synopsis, "KEYFILE") != nullptr)
        printInputsAndExit(out);
}

// True when arg is one of the command's options that takes the next argument as its value.
[[nodiscard]] bool takesNextAsValue(const Command &command, const char *arg) {
    const std::string options = std::string(" ") + command.options + " ";
    for (const OptionHelp &option : s_optionHelp) {
        if (std::strcmp(arg, option.name) == 0 && *option.argument != '\0')
            return options.find(std::string(" ") + option.name + " ") != std::string::npos;
    }
    return false;
}

// "--help" or "-h" where an option name may stand: before any "--", and not as the value of an option
// ("--in -h" names a file).
[[nodiscard]] bool asksForHelp(const Command &command, int argc, char **argv) {
    for (int i = 0; i < argc && std::strcmp(argv[i], "--") != 0; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0)
            return true;
        if (takesNextAsValue(command, argv[i]))
            ++i;
    }
    return false;
}

}  // namespace

int usageError(const char *message) {
    const std::string help =
        s_commandName ? std::string("ecckey ") + s_commandName + " --help" : "ecckey --help";
    std::fprintf(stderr, "ecckey: %s; see '%s'\n", message, help.c_str());
    return kExitError;
}

}  // namespace ecckey_cli

int main(int argc, char **argv) {
    using namespace ecckey_cli;
    if (argc < 2)
        return usageError("no command given");
    const char *name = argv[1];
    if (std::strcmp(name, "--help") == 0 || std::strcmp(name, "-h") == 0 || std::strcmp(name, "help") == 0) {
        const Command *command = argc > 2 ? commandByName(argv[2]) : nullptr;
        if (command != nullptr)
            printCommandHelp(*command, stdout);
        else
            printUsage(stdout);
        return kExitOk;
    }
    if (std::strcmp(name, "--version") == 0) {
        std::printf("ecckey %s\n", ECCKEY_VERSION);
        return kExitOk;
    }
    const Command *command = commandByName(name);
    if (command == nullptr)
        return usageError((std::string("unknown command '") + name + "'").c_str());
    if (asksForHelp(*command, argc - 2, argv + 2)) {
        printCommandHelp(*command, stdout);
        // verify's 0 says "valid": it is never the answer of a run that checked nothing.
        return command->run == cmdVerify ? kExitError : kExitOk;
    }
    s_commandName = command->name;
    if (!takePassphraseArguments(argc - 2, argv + 2)) {
        std::fprintf(stderr, "ecckey: out of memory\n");
        return kExitError;
    }
    return command->run(argc - 2, argv + 2);
}
