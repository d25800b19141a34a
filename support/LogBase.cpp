#include "support/LogBase.h"

#include <cstdio>

#include "support/DataBuffer.h"

namespace ecckey {

void LogBase::LogDataSb(const char *name, const StringBuffer &value) {
    logData(name, value.getString());
}

void LogBase::LogDataLong(const char *name, long value) {
    char text[24];
    std::snprintf(text, sizeof text, "%ld", value);
    logData(name, text);
}

void LogBase::LogDataBool(const char *name, bool value) {
    logData(name, value ? "true" : "false");
}

void LogBase::LogDataHex(const char *name, const unsigned char *bytes, unsigned count) {
    StringBuffer hex;
    DataBuffer db;
    // When memory is short the item is written empty rather than cut.
    const bool ok = (!bytes || !count || db.append(bytes, count)) && db.encodeDB("hex", hex);
    logData(name, ok ? hex.getString() : "");
}

void LogBase::LogDataUint32(const char *name, unsigned value) {
    char text[16];
    std::snprintf(text, sizeof text, "%u", value);
    logData(name, text);
}

std::string LogRecorder::currentPath() const {
    std::string path;
    for (const std::string &c : m_contexts) {
        if (!path.empty())
            path += '/';
        path += c;
    }
    return path;
}

void LogRecorder::logError(const char *text) {
    m_entries.push_back({Kind::Error, currentPath(), "", text ? text : "", (int)m_contexts.size()});
}

void LogRecorder::logInfo(const char *text) {
    m_entries.push_back({Kind::Info, currentPath(), "", text ? text : "", (int)m_contexts.size()});
}

void LogRecorder::enterContext(const char *name) {
    m_entries.push_back({Kind::Context, currentPath(), name ? name : "", "", (int)m_contexts.size()});
    m_contexts.push_back(name ? name : "");
}

void LogRecorder::leaveContext() {
    if (!m_contexts.empty())
        m_contexts.pop_back();
}

void LogRecorder::logData(const char *name, const char *value) {
    m_entries.push_back(
        {Kind::Data, currentPath(), name ? name : "", value ? value : "", (int)m_contexts.size()});
}

std::vector<std::string> LogRecorder::errors() const {
    std::vector<std::string> out;
    for (const Entry &e : m_entries)
        if (e.kind == Kind::Error)
            out.push_back(e.text);
    return out;
}

bool LogRecorder::hasError(const char *text) const {
    for (const Entry &e : m_entries)
        if (e.kind == Kind::Error && e.text == text)
            return true;
    return false;
}

bool LogRecorder::hasInfo(const char *text) const {
    for (const Entry &e : m_entries)
        if (e.kind == Kind::Info && e.text == text)
            return true;
    return false;
}

bool LogRecorder::dataValue(const char *name, std::string &value) const {
    bool found = false;
    for (const Entry &e : m_entries)
        if (e.kind == Kind::Data && e.name == name) {
            value = e.text;
            found = true;
        }
    return found;
}

void LogRecorder::reset() {
    m_entries.clear();
    m_contexts.clear();
}

std::string LogRecorder::toText() const {
    std::string out;
    for (const Entry &e : m_entries) {
        out.append((std::size_t)e.depth * 2, ' ');
        switch (e.kind) {
            case Kind::Context:
                out += e.name + ":";
                break;
            case Kind::Error:
                out += "error: " + e.text;
                break;
            case Kind::Info:
                out += e.text;
                break;
            case Kind::Data:
                out += e.name + ": " + e.text;
                break;
        }
        out += '\n';
    }
    return out;
}

std::string LogRecorder::errorText() const {
    std::string out;
    for (const Entry &e : m_entries)
        if (e.kind == Kind::Error)
            out += (e.path.empty() ? "" : e.path + ": ") + e.text + '\n';
    return out;
}

}  // namespace ecckey
