#include "wycheproof/FileRun.h"

#include <cstdio>
#include <fstream>
#include <sstream>

namespace wycheproof {

bool KnownDivergences::load(const std::string &path, std::string &error) {
    std::ifstream in(path);
    if (!in) {
        error = "cannot read " + path;
        return false;
    }
    std::string line;
    int lineNo = 0;
    while (std::getline(in, line)) {
        ++lineNo;
        size_t start = line.find_first_not_of(" \t\r");
        if (start == std::string::npos || line[start] == '#')
            continue;
        std::istringstream fields(line);
        std::string file;
        long tcId = 0;
        std::string cause;
        if (!(fields >> file >> tcId)) {
            error = path + ":" + std::to_string(lineNo) + ": expected '<file> <tcId> <cause>'";
            return false;
        }
        std::getline(fields, cause);
        size_t c = cause.find_first_not_of(" \t");
        if (c == std::string::npos) {
            error = path + ":" + std::to_string(lineNo) + ": a divergence needs its cause";
            return false;
        }
        if (!m_entries.emplace(std::make_pair(file, tcId), cause.substr(c)).second) {
            error = path + ":" + std::to_string(lineNo) + ": " + file + " tcId " + std::to_string(tcId) +
                    " is listed twice";
            return false;
        }
    }
    return true;
}

const std::string *KnownDivergences::find(const std::string &file, long tcId) const {
    auto it = m_entries.find(std::make_pair(file, tcId));
    return it == m_entries.end() ? nullptr : &it->second;
}

std::set<long> KnownDivergences::listedFor(const std::string &file) const {
    std::set<long> ids;
    for (const auto &e : m_entries)
        if (e.first.first == file)
            ids.insert(e.first.second);
    return ids;
}

std::string flagsOf(const nlohmann::json &test) {
    std::string flags;
    if (!test.contains("flags") || !test["flags"].is_array())
        return flags;
    for (const auto &f : test["flags"]) {
        if (!flags.empty())
            flags += ",";
        flags += f.get<std::string>();
    }
    return flags;
}

FileRun::FileRun(std::string fileName, const KnownDivergences &known, bool showLogs)
    : m_fileName(std::move(fileName)), m_known(known), m_showLogs(showLogs) {}

void FileRun::report(const nlohmann::json &test, const std::string &got, const std::string &log) {
    long tcId = test.value("tcId", -1L);
    std::string expected = test.value("result", std::string("?"));
    m_seen.insert(tcId);

    bool agrees = got == expected || (expected == "acceptable" && (got == "valid" || got == "invalid"));
    const std::string *cause = m_known.find(m_fileName, tcId);
    if (agrees && !cause) {
        ++m_tally.passed;
        return;
    }
    if (!agrees && cause) {
        ++m_tally.known;
        return;
    }
    ++m_tally.failed;
    if (agrees) {
        std::printf("STALE %s tcId=%ld result=%s got=%s: listed as a known divergence (%s) but agrees now\n",
                    m_fileName.c_str(), tcId, expected.c_str(), got.c_str(), cause->c_str());
        return;
    }
    std::printf("MISMATCH %s tcId=%ld result=%s got=%s flags=%s\n", m_fileName.c_str(), tcId,
                expected.c_str(), got.c_str(), flagsOf(test).c_str());
    if (m_showLogs && !log.empty())
        std::printf("%s\n", log.c_str());
}

void FileRun::skip(long count, const std::string &reason) {
    m_tally.skipped += count;
    if (count > 0 && m_skipReasons.insert(reason).second)
        std::printf("SKIP %s: %s\n", m_fileName.c_str(), reason.c_str());
}

void FileRun::checkListedCasesMet() {
    for (long tcId : m_known.listedFor(m_fileName)) {
        if (m_seen.count(tcId))
            continue;
        ++m_tally.failed;
        std::printf("STALE %s tcId=%ld: listed as a known divergence but the file has no such test\n",
                    m_fileName.c_str(), tcId);
    }
}

}  // namespace wycheproof
