// ecckey-wycheproof: runs Project Wycheproof test files through the module.
//
//   ecckey-wycheproof [--known FILE] [--logs] FILE.json...
//   ecckey-wycheproof [--known FILE] [--logs] --dir FOLDER
//
// Prints "FILE: N passed, N failed, N known, N skipped" for each file, a MISMATCH line for each
// unexpected outcome and "N passed, N failed" last. Exit status: 0 when nothing was unexpected, 1
// otherwise, 77 (the CTest skip code) when --dir names a folder that does not exist.
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "wycheproof/FileRun.h"
#include "wycheproof/Handlers.h"

#ifndef ECCKEY_KNOWN_DIVERGENCES
#define ECCKEY_KNOWN_DIVERGENCES "known_divergences.txt"
#endif

namespace {

const int kSkipExitCode = 77;

std::string baseName(const std::string &path) {
    size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool isDirectory(const std::string &path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::vector<std::string> jsonFilesIn(const std::string &dir) {
    std::vector<std::string> files;
    DIR *d = opendir(dir.c_str());
    if (!d)
        return files;
    while (dirent *e = readdir(d)) {
        std::string name = e->d_name;
        if (name.size() > 5 && name.compare(name.size() - 5, 5, ".json") == 0)
            files.push_back(dir + "/" + name);
    }
    closedir(d);
    std::sort(files.begin(), files.end());
    return files;
}

// Runs one file; adds its tally to total. A file that cannot be read or parsed counts as one failure.
void runFile(const std::string &path, const wycheproof::KnownDivergences &known, bool showLogs,
             wycheproof::Tally &total) {
    std::string name = baseName(path);
    nlohmann::json doc;
    try {
        std::ifstream in(path);
        if (!in)
            throw std::runtime_error("cannot open");
        doc = nlohmann::json::parse(in);
    } catch (const std::exception &ex) {
        std::printf("ERROR %s: %s\n", name.c_str(), ex.what());
        ++total.failed;
        return;
    }

    wycheproof::FileRun run(name, known, showLogs);
    std::string schema = doc.value("schema", std::string());
    wycheproof::SchemaHandler handler = wycheproof::findHandler(schema);
    try {
        if (handler)
            handler(doc, run);
        else
            run.skip(wycheproof::numTestsInFile(doc), "no handler for schema " + schema);
    } catch (const std::exception &ex) {
        std::printf("ERROR %s: malformed test file: %s\n", name.c_str(), ex.what());
        ++total.failed;
    }
    if (handler)
        run.checkListedCasesMet();

    const wycheproof::Tally &t = run.tally();
    std::printf("%s: %ld passed, %ld failed, %ld known, %ld skipped\n", name.c_str(), t.passed, t.failed,
                t.known, t.skipped);
    total.passed += t.passed;
    total.failed += t.failed;
    total.known += t.known;
    total.skipped += t.skipped;
}

int usage() {
    std::fprintf(stderr, "usage: ecckey-wycheproof [--known FILE] [--logs] (--dir FOLDER | FILE.json...)\n");
    return 2;
}

}  // namespace

int main(int argc, char **argv) {
    std::string knownPath = ECCKEY_KNOWN_DIVERGENCES;
    std::string dir;
    bool showLogs = false;
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--known" && i + 1 < argc)
            knownPath = argv[++i];
        else if (a == "--dir" && i + 1 < argc)
            dir = argv[++i];
        else if (a == "--logs")
            showLogs = true;
        else if (a.rfind("--", 0) == 0)
            return usage();
        else
            files.push_back(a);
    }
    if (!dir.empty()) {
        if (!isDirectory(dir)) {
            std::printf("Wycheproof vectors not found at %s: skipped\n", dir.c_str());
            return kSkipExitCode;
        }
        std::vector<std::string> found = jsonFilesIn(dir);
        files.insert(files.end(), found.begin(), found.end());
    }
    if (files.empty())
        return usage();

    wycheproof::KnownDivergences known;
    std::string error;
    if (!known.load(knownPath, error)) {
        std::printf("ERROR %s\n", error.c_str());
        return 1;
    }

    wycheproof::Tally total;
    for (const std::string &f : files)
        runFile(f, known, showLogs, total);
    std::printf("%ld passed, %ld failed\n", total.passed, total.failed);
    return total.failed == 0 ? 0 : 1;
}
