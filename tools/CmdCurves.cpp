// ecckey curves: the catalogue as the library holds it.
#include <string>

#include "Commands.h"
#include "ecc/ecckey.h"

namespace ecckey_cli {

namespace {

// "a, b, *c*": exact names as they are, the substring name between asterisks (it matches anywhere).
std::string acceptedNames(const ecckey::EccCatalogEntry &entry) {
    std::string names;
    for (const char *exact : entry.exactNames) {
        if (exact == nullptr)
            continue;
        if (!names.empty())
            names += ", ";
        names += exact;
    }
    if (entry.substringName != nullptr) {
        if (!names.empty())
            names += ", ";
        names += std::string("*") + entry.substringName + "*";
    }
    return names;
}

}  // namespace

int printCurveTable(std::FILE *out) {
    for (int i = 0; i < ecckey::EccCurve::numCatalogCurves(); ++i) {
        const ecckey::EccCatalogEntry *entry = ecckey::EccCurve::catalogEntry(i);
        // Load each row through the library, so the line shows the record a caller would get.
        ecckey::EccCurve curve;
        ecckey::LogRecorder log;
        if (entry == nullptr || !curve.loadCurveByName(entry->name, log)) {
            std::fprintf(stderr, "ecckey: catalogue curve %d does not load\n%s", i, log.errorText().c_str());
            return kExitError;
        }
        std::fprintf(out, "%-16s %-22s %4u  %s\n", curve.m_name.getString(), curve.m_oid.getString(),
                     static_cast<unsigned>(curve.m_byteLen) * 8u, acceptedNames(*entry).c_str());
    }
    return kExitOk;
}

int cmdCurves(int argc, char **argv) {
    (void)argv;
    if (argc != 0)
        return usageError("curves takes no arguments");
    return printCurveTable(stdout);
}

}  // namespace ecckey_cli
