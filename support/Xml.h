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
    ClsXml();  // holds no document
    ~ClsXml();
    ClsXml(const ClsXml &) = delete;
    ClsXml &operator=(const ClsXml &) = delete;

    // Parses a document in place of the one held; this object becomes its root element. The text is
    // copied into memory that is zeroed when freed. False, holding no document, with "No XML text."
    // (null), "XML text is too large." (over 1 MiB), "Out of memory loading XML.", "Invalid XML." (with the
    // data items "reason" and "byteOffset"; the text itself is never quoted) or "XML has no root element.".
    [[nodiscard]] bool loadXml(const char *xmlText, LogBase &log);
    // The readers below look only at the root's child elements and take the first whose name matches tag
    // (which may carry "*:"); they log nothing, and are false for a null tag and when no child matches.
    [[nodiscard]] bool hasChildWithTag(const char *tag) const;
    // Replaces out with the value of the child's attribute attrName (matched exactly). False, out
    // unchanged, for a null attrName or no such attribute; out may be empty after a false when memory is
    // short.
    [[nodiscard]] bool getChildAttrValue(const char *tag, const char *attrName, StringBuffer &out) const;
    // Replaces out with the child's own text: its text and CDATA children joined, entities decoded,
    // nothing of the elements below it (the flag is accepted and has no effect). False, out unchanged,
    // when no child matches; when memory is short, false with out holding part of the text.
    [[nodiscard]] bool getChildContentUtf8(const char *tag, StringBuffer &out, bool unused) const;
    // The same for the root element itself; false, out unchanged, when no document is held.
    [[nodiscard]] bool get_Content(StringBuffer &out) const;

  private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace ecckey
