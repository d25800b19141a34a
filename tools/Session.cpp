#include "Session.h"

#include <cstdio>
#include <vector>

#include "Commands.h"
#include "Messages.h"

namespace ecckey_cli {

namespace {

// True when the library's last word, data items aside, was an error: the failure being reported is then
// the library's, and -v shows its reasons. (Its logs also hold errors it recovers from.)
[[nodiscard]] bool libraryFailedLast(const ecckey::LogRecorder &log) {
    const std::vector<ecckey::LogRecorder::Entry> &entries = log.entries();
    for (auto it = entries.rbegin(); it != entries.rend(); ++it) {
        if (it->kind != ecckey::LogRecorder::Kind::Data)
            return it->kind == ecckey::LogRecorder::Kind::Error;
    }
    return false;
}

}  // namespace

Session::Session(bool verbose) : m_verbose(verbose) {
    m_log.m_verbose = verbose;
    // A constructor cannot report failure; without the options the writers emit the library's defaults,
    // which are valid encodings too.
    (void)m_log.m_options.setString(kWriterOptions);
}

int Session::fail(const std::string &message) {
    if (m_verbose) {
        std::fprintf(stderr, kErrorLine, message.c_str());
        std::fputs(m_log.toText().c_str(), stderr);
    } else {
        std::fprintf(stderr, "ecckey: %s%s\n", message.c_str(),
                     libraryFailedLast(m_log) ? "; -v shows the library's log" : "");
    }
    return kExitError;
}

int Session::finish(int exitCode) {
    if (m_verbose)
        std::fputs(m_log.toText().c_str(), stderr);
    return exitCode;
}

}  // namespace ecckey_cli
