// Session: the logger of one subcommand run and the way its outcome reaches the user.
//
// Every library call of a subcommand logs into the session's recorder. On failure the user sees one
// line of the command's own ("ecckey: ..."), which says what went wrong in the user's terms and, when the
// library's failure is the cause, that -v shows its log: the library's lines name its internal call paths,
// useful in a bug report rather than to a user. With -v the whole log tree follows the line, and is printed
// on success too (standard error).
#pragma once

#include <string>

#include "support/LogBase.h"

namespace ecckey_cli {

// The library options of everything the command writes: d and the JWK integers at the curve's byte length
// (RFC 5915, RFC 7518), and SEC 1 with its public key, which some readers (puttygen) need. The library's
// defaults, minimal integers and no public key, stay for its other callers.
const char *const kWriterOptions = "EMIT_ECC_PKCS1_PUBKEY EMIT_ECC_FIXED_LENGTH";

class Session {
  public:
    explicit Session(bool verbose);

    ecckey::LogRecorder &log() { return m_log; }
    [[nodiscard]] bool verbose() const { return m_verbose; }

    // Prints "ecckey: message" on standard error, and with -v the whole log. Returns kExitError.
    [[nodiscard]] int fail(const std::string &message);
    // With -v, prints the log tree on standard error. Returns exitCode.
    [[nodiscard]] int finish(int exitCode);

  private:
    ecckey::LogRecorder m_log;
    bool m_verbose;
};

}  // namespace ecckey_cli
