// ecckey demo: a tour of the library. For now, the curve catalogue.
#include "Commands.h"

namespace ecckey_cli {

int cmdDemo(int argc, char **argv) {
    (void)argv;
    if (argc != 0)
        return usageError("demo takes no arguments");
    std::printf("ecckey: elliptic-curve keys on thirteen named curves\n\n");
    std::printf("Named curves (name, OID, byte length x 8, accepted names; *x* matches anywhere):\n");
    return printCurveTable(stdout);
}

}  // namespace ecckey_cli
