// ClsJsonObject: a parsed JSON object (nlohmann-json underneath, kept out of this header).
#pragma once

#include <memory>

namespace ecckey {

class StringBuffer;
class LogBase;

class ClsJsonObject {
  public:
    ClsJsonObject();
    ~ClsJsonObject();
    ClsJsonObject(const ClsJsonObject &) = delete;
    ClsJsonObject &operator=(const ClsJsonObject &) = delete;

    // Parses text; the top level must be an object. False, logged, otherwise (the object is then empty).
    bool load(const char *jsonText, LogBase &log);
    bool hasMember(const char *name, LogBase &log) const;
    // The value of the member at path (a member name, or names joined by '.') as text: strings without
    // quotes, other values as compact JSON, replacing what out held. False when absent.
    bool sbOfPathUtf8(const char *path, StringBuffer &out, LogBase &log) const;

  private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace ecckey
