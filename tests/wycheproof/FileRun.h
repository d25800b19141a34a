// FileRun: the tally of one Wycheproof file, and the list of divergences the module is known to have.
//
// A schema handler walks the file's test groups, runs each test through the module and hands the
// outcome to FileRun::report, which compares it with the file's verdict:
//   - "acceptable" in the file accepts either outcome;
//   - a differing outcome listed in known_divergences.txt counts as known, any other as failed;
//   - a listed case that no longer differs counts as failed too (the list must be kept honest).
#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <set>
#include <string>
#include <utility>

namespace wycheproof {

// One line per divergence: "<file> <tcId> <behaviour of the module that causes it>".
class KnownDivergences {
  public:
    // Reads the list; false with a message when the file cannot be read or a line is malformed.
    bool load(const std::string &path, std::string &error);
    // The cause listed for this case, or null.
    const std::string *find(const std::string &file, long tcId) const;
    // Listed tcIds of a file, for the check that each of them was met.
    std::set<long> listedFor(const std::string &file) const;

  private:
    std::map<std::pair<std::string, long>, std::string> m_entries;
};

struct Tally {
    long passed = 0;
    long failed = 0;
    long known = 0;
    long skipped = 0;
};

class FileRun {
  public:
    FileRun(std::string fileName, const KnownDivergences &known, bool showLogs);

    const std::string &fileName() const { return m_fileName; }

    // Records one test. got is "valid" or "invalid", or another word for an outcome that no verdict
    // accepts (a wrong shared secret). log is the module's log of the case, printed with a mismatch when
    // logs were asked for.
    void report(const nlohmann::json &test, const std::string &got, const std::string &log = std::string());
    // Records tests that were not run (curve or hash not ours); reason is printed once per distinct reason.
    void skip(long count, const std::string &reason);
    // A listed divergence that the file does not contain is stale: counted as failed.
    void checkListedCasesMet();

    const Tally &tally() const { return m_tally; }

  private:
    std::string m_fileName;
    const KnownDivergences &m_known;
    bool m_showLogs;
    Tally m_tally;
    std::set<long> m_seen;
    std::set<std::string> m_skipReasons;
};

// Comma-separated flags of a test ("" when none).
std::string flagsOf(const nlohmann::json &test);

}  // namespace wycheproof
