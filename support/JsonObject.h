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
    [[nodiscard]] bool load(const char *jsonText, LogBase &log);
    [[nodiscard]] bool hasMember(const char *name, LogBase &log) const;
    // The value of the member at path (a member name, or names joined by '.') as text: strings without
    // quotes, other values as compact JSON, replacing what out held. False when absent.
    [[nodiscard]] bool sbOfPathUtf8(const char *path, StringBuffer &out, LogBase &log) const;
    // True when the value at path is a JSON string; false when it is absent or of another type (the
    // spelling sbOfPathUtf8 gives a null, a number or true cannot be told from a string's).
    [[nodiscard]] bool isStringAt(const char *path) const;
    // The number of elements of the array at path; -1 when it is absent or not an array.
    int sizeOfArrayAt(const char *path) const;
    // Replaces this object with a copy of element index of the array at path in source, as for a JWK
    // taken from a JWK Set. False, logged, when there is no such element or it is not an object; this
    // object is then empty.
    [[nodiscard]] bool loadArrayElement(const ClsJsonObject &source, const char *path, int index,
                                        LogBase &log);

  private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace ecckey
