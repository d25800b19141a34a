// The ecckey command: one function per subcommand, dispatched by name from main.cpp.
//
// A subcommand receives the arguments after its own name ("--help" and "-h" among them are answered by
// main.cpp before it runs). It returns the process exit code: 0 on success, 2 on any error (bad arguments
// included); `verify` returns 1 for a signature that is not valid. Errors go to stderr, results to stdout.
#pragma once

#include <cstdio>

namespace ecckey_cli {

using CommandFn = int (*)(int argc, char **argv);

struct Command {
    const char *name;
    const char *synopsis;  // arguments, as shown in the usage text
    const char *summary;   // one line
    CommandFn run;
    const char *options;  // the options its --help describes, separated by spaces
    const char *notes;    // further lines for its --help, each ending in a newline; may be empty
};

const int kExitOk = 0;
const int kExitInvalid = 1;  // verify: the signature is not valid
const int kExitError = 2;

// Reports a bad invocation: one line on stderr naming the mistake and pointing to the running command's
// --help ("ecckey: unknown option --frob; see 'ecckey pub --help'"). Returns kExitError.
[[nodiscard]] int usageError(const char *message);

// One line per catalogue curve: canonical name, OID, byte length times eight, accepted names. Returns
// kExitOk, or kExitError after a message on stderr when a catalogue curve does not load.
[[nodiscard]] int printCurveTable(std::FILE *out);

[[nodiscard]] int cmdCurves(int argc, char **argv);
[[nodiscard]] int cmdGen(int argc, char **argv);
[[nodiscard]] int cmdPub(int argc, char **argv);
[[nodiscard]] int cmdConvert(int argc, char **argv);
[[nodiscard]] int cmdSign(int argc, char **argv);
[[nodiscard]] int cmdVerify(int argc, char **argv);
[[nodiscard]] int cmdEcdh(int argc, char **argv);
[[nodiscard]] int cmdFingerprint(int argc, char **argv);
[[nodiscard]] int cmdJwks(int argc, char **argv);
[[nodiscard]] int cmdSigConvert(int argc, char **argv);
[[nodiscard]] int cmdCheck(int argc, char **argv);
[[nodiscard]] int cmdDemo(int argc, char **argv);

}  // namespace ecckey_cli
