#include "Session.h"

#include <cstdio>

#include "Commands.h"

namespace ecckey_cli {

Session::Session(bool verbose) : m_verbose(verbose) {
    m_log.m_verbose = verbose;
}

int Session::fail(const std::string &message) {
    std::fprintf(stderr, "ecckey: %s\n", message.c_str());
    const std::string text = m_verbose ? m_log.toText() : m_log.errorText();
    std::fputs(text.c_str(), stderr);
    return kExitError;
}

int Session::finish(int exitCode) {
    if (m_verbose)
        std::fputs(m_log.toText().c_str(), stderr);
    return exitCode;
}

}  // namespace ecckey_cli
