// ecckey: command-line front end to the library. `ecckey help` lists the subcommands.
#include <cstring>
#include <string>

#include "Commands.h"

namespace ecckey_cli {

namespace {

const Command s_commands[] = {
    {"curves", "", "list the named curves: name, OID, bits (byte length x 8), accepted names", cmdCurves},
    {"demo", "", "show what the library does", cmdDemo},
};

}  // namespace

const Command *commands(int &numCommands) {
    numCommands = static_cast<int>(sizeof(s_commands) / sizeof(s_commands[0]));
    return s_commands;
}

void printUsage(std::FILE *out) {
    std::fprintf(out, "usage: ecckey <command> [arguments]\n\ncommands:\n");
    int numCommands = 0;
    const Command *all = commands(numCommands);
    for (int i = 0; i < numCommands; ++i) {
        std::fprintf(out, "  %-8s %-12s %s\n", all[i].name, all[i].synopsis, all[i].summary);
    }
    std::fprintf(out, "  %-8s %-12s %s\n", "help", "", "show this text");
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
