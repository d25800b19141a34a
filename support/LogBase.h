// LogBase: the logger handed to every public operation.
//
// Operations open named contexts (LogContextExitor), write failures to the error line, a few notes to the
// information line and name/value data items. A subclass must override logError, logInfo and logData;
// enterContext and leaveContext are optional. LogNull discards everything; LogRecorder keeps every line
// with its context path so that tests can assert exact messages and the command-line tool can print them.
#pragma once

#include <string>
#include <vector>

#include "support/StringBuffer.h"

namespace ecckey {

class LogBase {
  public:
    LogBase() = default;
    virtual ~LogBase() = default;

    // The three kinds of line a subclass writes: an error (why an operation failed), a note, and a
    // name/value data item.
    virtual void logError(const char *text) = 0;
    virtual void logInfo(const char *text) = 0;
    // Operations open a named context on entry and close it on return, innermost first (see
    // LogContextExitor); ignored unless overridden.
    virtual void enterContext(const char *name) { (void)name; }
    virtual void leaveContext() {}
    virtual void logData(const char *name, const char *value) = 0;

    // Data items: each writes one name/value line through logData. LogDataSb writes the text, LogDataLong
    // and LogDataUint32 decimal, LogDataBool "true" or "false", LogDataHex the bytes in upper-case hex
    // without separators (an empty value when memory is short).
    void LogDataSb(const char *name, const StringBuffer &value);
    void LogDataLong(const char *name, long value);
    void LogDataBool(const char *name, bool value);
    void LogDataHex(const char *name, const unsigned char *bytes, unsigned count);
    void LogDataUint32(const char *name, unsigned value);

    // Verbose flag: data items that only matter when debugging are written when it is set.
    bool m_verbose = false;
    // Option keywords that switch optional behaviours on (for example "EMIT_ECC_PKCS1_PUBKEY"), separated
    // by spaces; an operation looks for its keyword as a substring.
    StringBuffer m_options;
};

// Opens a named context for the lifetime of the object: enterContext on construction, leaveContext on
// destruction.
class LogContextExitor {
  public:
    LogContextExitor(LogBase &log, const char *name) : m_log(log) { m_log.enterContext(name); }
    ~LogContextExitor() { m_log.leaveContext(); }
    LogContextExitor(const LogContextExitor &) = delete;
    LogContextExitor &operator=(const LogContextExitor &) = delete;

  private:
    LogBase &m_log;
};

// Discards every line: for calls whose failures the caller reports in its own words.
class LogNull : public LogBase {
  public:
    void logError(const char *) override {}
    void logInfo(const char *) override {}
    void logData(const char *, const char *) override {}
};

// Keeps every line. Paths join the open contexts with '/', for example "eccVerifyHash/unpackDsaSig".
class LogRecorder : public LogBase {
  public:
    enum class Kind { Error, Info, Data, Context };
    struct Entry {
        Kind kind;
        std::string path;  // contexts open when the line was written
        std::string name;  // data name, or the context name for Kind::Context
        std::string text;  // message, or data value
        int depth;         // number of open contexts
    };

    // Each line becomes one entry at the current path and depth (a null text or name is kept as "");
    // enterContext records a Context entry at the parent's path, then opens the context. leaveContext
    // closes the innermost one, and does nothing when none is open.
    void logError(const char *text) override;
    void logInfo(const char *text) override;
    void enterContext(const char *name) override;
    void leaveContext() override;
    void logData(const char *name, const char *value) override;

    const std::vector<Entry> &entries() const { return m_entries; }  // every entry, in order
    std::vector<std::string> errors() const;                         // error texts, in order
    // Whether an error (or note) line of exactly this text was written, at any path.
    [[nodiscard]] bool hasError(const char *text) const;
    [[nodiscard]] bool hasInfo(const char *text) const;
    // Value of the last data item with this name; false, value unchanged, when there is none.
    [[nodiscard]] bool dataValue(const char *name, std::string &value) const;

    void reset();  // forgets every entry and open context

    // Everything as an indented tree, two spaces per open context, one line per entry: "name:" for a
    // context, "error: text", a note's text as it is, "name: value" for a data item.
    std::string toText() const;
    // Error lines only, one per line, each prefixed by its context path and ": " (no prefix outside any
    // context).
    std::string errorText() const;

  private:
    std::string currentPath() const;

    std::vector<Entry> m_entries;
    std::vector<std::string> m_contexts;
};

}  // namespace ecckey
