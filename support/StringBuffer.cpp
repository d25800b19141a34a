#include "support/StringBuffer.h"

#include <cstdio>
#include <cstring>

namespace ecckey {

namespace {
[[nodiscard]] bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}
}  // namespace

StringBuffer::StringBuffer() {
    m_buf.setSensitive();
}

StringBuffer::StringBuffer(const char *text) : StringBuffer() {
    // A constructor cannot report failure: when memory is short the text is left empty.
    (void)setString(text);
}

StringBuffer::StringBuffer(const StringBuffer &other)
    : m_buf(other.m_buf), m_len(m_buf.getSize() == other.m_buf.getSize() ? other.m_len : 0) {}

StringBuffer &StringBuffer::operator=(const StringBuffer &other) {
    if (this != &other) {
        m_buf = other.m_buf;
        m_len = m_buf.getSize() == other.m_buf.getSize() ? other.m_len : 0;
    }
    return *this;
}

const char *StringBuffer::getString() const {
    return m_len ? reinterpret_cast<const char *>(m_buf.getData2()) : "";
}

bool StringBuffer::setString(const char *text) {
    clear();
    return append(text);
}

bool StringBuffer::setString(const StringBuffer &other) {
    if (&other == this)
        return true;
    clear();
    return append(other);
}

// The buffer holds the characters and a terminator; appending drops the terminator first.
bool StringBuffer::append(const char *text, unsigned count) {
    if (count == 0)
        return true;
    if (!text)
        return false;
    const unsigned char *data = m_buf.getData2();
    if (data && (const unsigned char *)text >= data && (const unsigned char *)text < data + m_buf.getSize()) {
        StringBuffer copy;  // text points into this buffer, which may move
        if (!copy.append(text, count))
            return false;
        return append(copy.getString(), count);
    }
    if (!m_buf.ensureCapacity(m_len + count + 1))
        return false;
    // Capacity is reserved above, so neither append can fail; the length only moves when both landed.
    // m_len never exceeds the content (characters plus terminator), so truncate cannot refuse it.
    (void)m_buf.truncate(m_len);
    if (!m_buf.append(text, count) || !m_buf.appendChar(0)) {
        (void)m_buf.truncate(m_len);
        (void)m_buf.appendChar(0);  // into the capacity reserved above
        return false;
    }
    m_len += count;
    return true;
}

bool StringBuffer::append(const char *text) {
    return text ? append(text, (unsigned)std::strlen(text)) : false;
}

bool StringBuffer::append(const StringBuffer &other) {
    if (&other == this) {
        StringBuffer copy(other);
        return append(copy.getString(), copy.m_len);
    }
    return append(other.getString(), other.m_len);
}

bool StringBuffer::append(int value) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%d", value);
    return append(digits);
}

bool StringBuffer::append2(const char *a, const char *b) {
    return append(a) && append(b);
}

bool StringBuffer::append3(const char *a, const char *b, const char *c) {
    return append(a) && append(b) && append(c);
}

bool StringBuffer::appendChar(char c) {
    return append(&c, 1);
}

void StringBuffer::clear() {
    m_buf.clear();
    m_len = 0;
}

void StringBuffer::secureClear() {
    m_buf.secureClear();
    m_len = 0;
}

void StringBuffer::trim2() {
    const char *s = getString();
    unsigned begin = 0, end = m_len;
    while (begin < end && isSpace(s[begin]))
        ++begin;
    while (end > begin && isSpace(s[end - 1]))
        --end;
    if (begin == 0 && end == m_len)
        return;
    StringBuffer trimmed;
    if (!trimmed.append(s + begin, end - begin))
        return;  // memory is short: the text stays as it was
    // The trimmed text is shorter than the capacity this buffer already holds.
    (void)setString(trimmed);
}

void StringBuffer::toLowerCase() {
    unsigned char *d = m_buf.getDataMutable();
    for (unsigned i = 0; i < m_len; ++i)
        if (d[i] >= 'A' && d[i] <= 'Z')
            d[i] = (unsigned char)(d[i] - 'A' + 'a');
}

bool StringBuffer::replaceFirstOccurance(const char *find, const char *replacement, bool) {
    if (!find || !*find || !replacement)
        return false;
    const char *s = getString();
    const char *hit = std::strstr(s, find);
    if (!hit)
        return false;
    StringBuffer result;
    return result.append(s, (unsigned)(hit - s)) && result.append(replacement) &&
           result.append(hit + std::strlen(find)) && setString(result);
}

// By length as well: a name read from an SSH blob may hold a NUL, and "name\0junk" is not "name".
bool StringBuffer::equals(const char *text) const {
    return text && std::strlen(text) == m_len && std::memcmp(getString(), text, m_len) == 0;
}

bool StringBuffer::equals(const StringBuffer &other) const {
    return m_len == other.m_len && std::memcmp(getString(), other.getString(), m_len) == 0;
}

bool StringBuffer::beginsWith(const char *text) const {
    if (!text)
        return false;
    std::size_t n = std::strlen(text);
    return n <= m_len && std::memcmp(getString(), text, n) == 0;
}

bool StringBuffer::containsSubstring(const char *text) const {
    return text && std::strstr(getString(), text) != nullptr;
}

// Literals are kept with each letter rotated by 13 places: enough to keep a label out of a plain
// `strings` listing, and reversible in place.
void StringBuffer::litScram(char *text) {
    if (!text)
        return;
    for (char *p = text; *p; ++p) {
        char c = *p;
        if (c >= 'a' && c <= 'z')
            *p = (char)('a' + (c - 'a' + 13) % 26);
        else if (c >= 'A' && c <= 'Z')
            *p = (char)('A' + (c - 'A' + 13) % 26);
    }
}

void tvStrCpy(char *dst, const char *src) {
    if (!dst)
        return;
    if (!src) {
        *dst = 0;
        return;
    }
    std::strcpy(dst, src);
}

}  // namespace ecckey
