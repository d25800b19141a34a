// Session: the logger of one subcommand run and the way its outcome reaches the user.
//
// Every library call of a subcommand logs into the session's recorder. On failure the user sees one
// line of the command's own ("ecckey: ...") followed by the module's error lines, each with its context
// path; with -v the whole log tree is printed instead, on failure and on success alike (standard error).
#pragma once

#include <string>

#include "support/LogBase.h"

namespace ecckey_cli {

class Session {
  public:
    explicit Session(bool verbose);

    ecckey::LogRecorder &log() { return m_log; }
    bool verbose() const { return m_verbose; }

    // Prints "ecckey: message" and the log (error lines, or everything with -v) on standard error.
    // Returns kExitError.
    int fail(const std::string &message);
    // With -v, prints the log tree on standard error. Returns exitCode.
    int finish(int exitCode);

  private:
    ecckey::LogRecorder m_log;
    bool m_verbose;
};

}  // namespace ecckey_cli
