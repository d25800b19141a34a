// The ecckey command: one function per subcommand, dispatched by name from main.cpp.
//
// A subcommand receives the arguments after its own name. It returns the process exit code: 0 on
// success, 2 on any error (bad arguments included); `verify` returns 1 for a signature that is not
// valid. Errors go to stderr, results to stdout.
#pragma once

#include <cstdio>

namespace ecckey_cli {

using CommandFn = int (*)(int argc, char **argv);

struct Command {
    const char *name;
    const char *synopsis;  // arguments, as shown in the usage text
    const char *summary;   // one line
    CommandFn run;
};

const int kExitOk = 0;
const int kExitInvalid = 1;  // verify: the signature is not valid
const int kExitError = 2;

// Every subcommand, in the order the usage text lists them.
const Command *commands(int &numCommands);

// Writes the usage text.
void printUsage(std::FILE *out);
// Reports a bad invocation: the message and the usage text on stderr. Returns kExitError.
int usageError(const char *message);

// One line per catalogue curve: canonical name, OID, byte length times eight, accepted names. Returns
// kExitOk, or kExitError after a message on stderr when a catalogue curve does not load.
int printCurveTable(std::FILE *out);

int cmdCurves(int argc, char **argv);
int cmdGen(int argc, char **argv);
int cmdPub(int argc, char **argv);
int cmdConvert(int argc, char **argv);
int cmdSign(int argc, char **argv);
int cmdVerify(int argc, char **argv);
int cmdEcdh(int argc, char **argv);
int cmdFingerprint(int argc, char **argv);
int cmdCheck(int argc, char **argv);
int cmdDemo(int argc, char **argv);

}  // namespace ecckey_cli
