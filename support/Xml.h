// ClsXml: one parsed XML element (pugixml underneath, kept out of this header).
//
// Tags may carry the namespace wildcard "*:" ("*:PublicKey" matches PublicKey in any namespace prefix,
// or none).
#pragma once

#include <memory>

namespace ecckey {

class StringBuffer;
class LogBase;

class ClsXml {
  public:
    ClsXml();
    ~ClsXml();
    ClsXml(const ClsXml &) = delete;
    ClsXml &operator=(const ClsXml &) = delete;

    // Parses a document; this object becomes its root element. False, logged, on malformed text.
    [[nodiscard]] bool loadXml(const char *xmlText, LogBase &log);
    [[nodiscard]] bool hasChildWithTag(const char *tag) const;
    [[nodiscard]] bool getChildAttrValue(const char *tag, const char *attrName, StringBuffer &out) const;
    [[nodiscard]] bool getChildContentUtf8(const char *tag, StringBuffer &out, bool unused) const;
    [[nodiscard]] bool get_Content(StringBuffer &out) const;  // the element's own text

  private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace ecckey
