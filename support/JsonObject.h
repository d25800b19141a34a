// ClsJsonObject: a parsed JSON object (nlohmann-json underneath, kept out of this header).
#pragma once

#include <memory>

namespace ecckey {

class StringBuffer;
class LogBase;

class ClsJsonObject {
  public:
    ClsJsonObject();  // empty: no member, no path
    ~ClsJsonObject();
    ClsJsonObject(const ClsJsonObject &) = delete;
    ClsJsonObject &operator=(const ClsJsonObject &) = delete;

    // Parses text, whose top level must be an object, in place of what this object held. False, the
    // object empty, with "No JSON text." (null), "JSON text is too large." (over 1 MiB), "JSON nesting
    // is too deep." (over 64 levels), "Invalid JSON." (with the data item "byteOffset" when the parser
    // names the place; the text itself is never quoted), "JSON text is not an object." or "Failed to
    // parse JSON." (any other parser failure, such as memory running short). Every string and node lives
    // in memory that is zeroed when freed.
    [[nodiscard]] bool load(const char *jsonText, LogBase &log);
    // True when the top-level object has a member of that name (not a path); false for a null name.
    // Logs nothing.
    [[nodiscard]] bool hasMember(const char *name, LogBase &log) const;
    // The value of the member at path (a member name, or names joined by '.') as text: strings without
    // quotes, other values as compact JSON, replacing what out held. False, out unchanged and nothing
    // logged, for a null path or a value that is absent. When memory is short, false with out possibly
    // empty, and "Failed to read a JSON value." logged unless it was out that could not grow.
    [[nodiscard]] bool sbOfPathUtf8(const char *path, StringBuffer &out, LogBase &log) const;
    // True when the value at path is a JSON string; false when it is absent or of another type (the
    // spelling sbOfPathUtf8 gives a null, a number or true cannot be told from a string's).
    [[nodiscard]] bool isStringAt(const char *path) const;
    // The number of elements of the array at path; -1 when it is absent or not an array.
    int sizeOfArrayAt(const char *path) const;
    // Replaces this object with a copy of element index of the array at path in source, as for a JWK
    // taken from a JWK Set. False, this object empty, with "No such JSON array element." (no array there,
    // or index out of range), "JSON array element is not an object." or "Failed to copy a JSON value."
    // (memory is short). Given itself as source it always fails: the object is emptied first.
    [[nodiscard]] bool loadArrayElement(const ClsJsonObject &source, const char *path, int index,
                                        LogBase &log);

  private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace ecckey
