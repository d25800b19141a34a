// ClsXml: pugixml behind a pimpl. The document is parsed in place, inside a buffer that is zeroed when
// freed: element text points into it, and an ECCKeyValue's text is a private key.
#include "support/Xml.h"

#include <cstring>
#include <memory>
#include <pugixml.hpp>

#include "support/DataBuffer.h"
#include "support/LogBase.h"
#include "support/StringBuffer.h"

namespace ecckey {

namespace {

// Key documents are a few kilobytes; hostile input is refused above this.
const std::size_t kMaxXmlLen = 1u << 20;

// True when an element name matches a tag. "*:Local" matches Local under any namespace prefix or none;
// any other tag must equal the name exactly.
[[nodiscard]] bool tagMatches(const char *elementName, const char *tag) {
    if (std::strncmp(tag, "*:", 2) != 0)
        return std::strcmp(elementName, tag) == 0;
    const char *local = tag + 2;
    const char *colon = std::strrchr(elementName, ':');
    return std::strcmp(colon ? colon + 1 : elementName, local) == 0;
}

pugi::xml_node findChild(const pugi::xml_node &parent, const char *tag) {
    if (!tag)
        return pugi::xml_node();
    for (pugi::xml_node child = parent.first_child(); child; child = child.next_sibling()) {
        if (child.type() == pugi::node_element && tagMatches(child.name(), tag))
            return child;
    }
    return pugi::xml_node();
}

// The element's own text: its PCDATA and CDATA children, concatenated.
[[nodiscard]] bool appendOwnText(const pugi::xml_node &element, StringBuffer &out) {
    for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
        if (child.type() != pugi::node_pcdata && child.type() != pugi::node_cdata)
            continue;
        if (!out.append(child.value()))
            return false;
    }
    return true;
}

}  // namespace

// Members are destroyed in reverse order: the nodes, which point into the text, go before the text is
// wiped.
struct ClsXml::Impl {
    DataBuffer text;  // the document, parsed in place (sensitive)
    pugi::xml_document doc;
    pugi::xml_node root;
};

ClsXml::ClsXml() : m_impl(std::make_unique<Impl>()) {
    m_impl->text.setSensitive();
}

ClsXml::~ClsXml() = default;

bool ClsXml::loadXml(const char *xmlText, LogBase &log) {
    m_impl->doc.reset();
    m_impl->root = pugi::xml_node();
    m_impl->text.clear();
    if (!xmlText) {
        log.logError("No XML text.");
        return false;
    }
    const std::size_t len = std::strlen(xmlText);
    if (len > kMaxXmlLen) {
        log.logError("XML text is too large.");
        return false;
    }
    if (!m_impl->text.append(xmlText, (unsigned)len) || !m_impl->text.appendChar(0)) {
        log.logError("Out of memory loading XML.");
        return false;
    }
    const pugi::xml_parse_result result = m_impl->doc.load_buffer_inplace(
        m_impl->text.getDataMutable(), len, pugi::parse_default, pugi::encoding_utf8);
    if (!result) {
        m_impl->doc.reset();
        log.logError("Invalid XML.");
        log.LogDataSb("reason", StringBuffer(result.description()));
        log.LogDataLong("byteOffset", (long)result.offset);
        return false;
    }
    m_impl->root = m_impl->doc.document_element();
    if (!m_impl->root) {
        log.logError("XML has no root element.");
        return false;
    }
    return true;
}

bool ClsXml::hasChildWithTag(const char *tag) const {
    return (bool)findChild(m_impl->root, tag);
}

bool ClsXml::getChildAttrValue(const char *tag, const char *attrName, StringBuffer &out) const {
    const pugi::xml_node child = findChild(m_impl->root, tag);
    if (!child || !attrName)
        return false;
    const pugi::xml_attribute attr = child.attribute(attrName);
    if (!attr)
        return false;
    return out.setString(attr.value());
}

bool ClsXml::getChildContentUtf8(const char *tag, StringBuffer &out, bool unused) const {
    (void)unused;
    const pugi::xml_node child = findChild(m_impl->root, tag);
    if (!child)
        return false;
    out.clear();
    return appendOwnText(child, out);
}

bool ClsXml::get_Content(StringBuffer &out) const {
    if (!m_impl->root)
        return false;
    out.clear();
    return appendOwnText(m_impl->root, out);
}

}  // namespace ecckey
