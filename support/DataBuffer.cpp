#include "support/DataBuffer.h"

#include <cstdlib>
#include <cstring>
#include <limits>

#include "support/ConstantTime.h"
#include "support/StringBuffer.h"
#include "support/Wipe.h"

namespace ecckey {

namespace {

// The alphabets below are computed, not looked up, and without a branch on the character or value: the
// bytes are often a key's. A mask m(lo, hi) is all ones when lo <= c <= hi: both differences are then
// negative, and their high bits survive the AND.
unsigned inRange(unsigned c, unsigned lo, unsigned hi) {
    return ct::opaque(((lo - 1 - c) & (c - hi - 1)) >> 8);
}

// -1 for a character outside the alphabet (a verdict: a key never holds one).
int hexValue(char ch) {
    const unsigned c = (unsigned char)ch;
    const unsigned v = (inRange(c, '0', '9') & (c - '0' + 1)) | (inRange(c, 'a', 'f') & (c - 'a' + 11)) |
                       (inRange(c, 'A', 'F') & (c - 'A' + 11));
    return (int)(v & 0xFF) - 1;
}

int base64Value(char ch, bool url) {
    const unsigned c = (unsigned char)ch;
    const unsigned v = (inRange(c, 'A', 'Z') & (c - 'A' + 1)) | (inRange(c, 'a', 'z') & (c - 'a' + 27)) |
                       (inRange(c, '0', '9') & (c - '0' + 53)) |
                       (inRange(c, url ? '-' : '+', url ? '-' : '+') & 63) |
                       (inRange(c, url ? '_' : '/', url ? '_' : '/') & 64);
    return (int)(v & 0xFF) - 1;
}

// The digit of a 4-bit value: '0' + v, moved up to the letters for v > 9 (by 7 to 'A', by 39 to 'a').
char hexDigit(unsigned v, bool lower) {
    return (char)(v + '0' + (ct::opaque((9u - v) >> 8) & (lower ? 39u : 7u)));
}

// The character of a 6-bit value: 'A' + v, moved on at each range boundary (26: to 'a', 52: to '0', 62
// and 63: to "+/" or "-_").
char base64Char(unsigned v, bool url) {
    unsigned c = v + 'A';
    c += ct::opaque((25u - v) >> 8) & 6u;
    c -= ct::opaque((51u - v) >> 8) & 75u;
    c -= ct::opaque((61u - v) >> 8) & (url ? 13u : 15u);
    c += ct::opaque((62u - v) >> 8) & (url ? 49u : 3u);
    return (char)c;
}

// Whether a character is a space, padding or outside the alphabet is made public: in a key's text they
// stand where the layout puts them (line ends, the final '='), not where its value does.
// 1 when x == y, for x and y below 2^31, with no branch: only 0 - 1 sets the top bit.
unsigned equal(unsigned x, unsigned y) {
    return ((x ^ y) - 1u) >> 31;
}

[[nodiscard]] bool isSpace(char ch) {
    const unsigned c = (unsigned char)ch;
    return ct::declassified(equal(c, ' ') | equal(c, '\t') | equal(c, '\r') | equal(c, '\n'));
}

[[nodiscard]] bool isPad(char ch) {
    return ct::declassified(equal((unsigned char)ch, '='));
}

[[nodiscard]] bool isEnd(char ch) {
    return ct::declassified(equal((unsigned char)ch, 0));
}

[[nodiscard]] bool isOutside(int v) {
    return ct::declassified(v < 0);
}

[[nodiscard]] bool decodeHex(const char *text, DataBuffer &out) {
    int hi = 0;
    bool haveHigh = false;
    for (const char *p = text; !isEnd(*p); ++p) {
        if (isSpace(*p))
            continue;
        int v = hexValue(*p);
        if (isOutside(v))
            return false;
        if (!haveHigh) {
            hi = v;
        } else if (!out.appendChar((unsigned char)(hi << 4 | v))) {
            return false;
        }
        haveHigh = !haveHigh;
    }
    return !haveHigh;
}

// Standard base64 requires padding to a multiple of four; base64url takes none (but tolerates it).
[[nodiscard]] bool decodeBase64(const char *text, bool url, DataBuffer &out) {
    unsigned acc = 0;
    int bits = 0;
    unsigned numChars = 0;
    unsigned numPad = 0;
    for (const char *p = text; !isEnd(*p); ++p) {
        if (isSpace(*p))
            continue;
        if (isPad(*p)) {
            ++numPad;
            continue;
        }
        if (numPad)
            return false;  // data after padding
        int v = base64Value(*p, url);
        if (isOutside(v))
            return false;
        ++numChars;
        acc = (acc << 6) | (unsigned)v;
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            if (!out.appendChar((unsigned char)(acc >> bits)))
                return false;
            acc &= (1u << bits) - 1;
        }
    }
    if (numChars % 4 == 1)
        return false;
    if (ct::declassified(acc != 0))
        return false;  // non-canonical trailing bits: a verdict
    if (numPad > 2)
        return false;
    if (!url && (numChars + numPad) % 4 != 0)
        return false;
    if (numPad && (numChars + numPad) % 4 != 0)
        return false;
    return true;
}

[[nodiscard]] bool encodeBase64(const unsigned char *b, unsigned n, bool url, StringBuffer &out) {
    char quad[5] = {0, 0, 0, 0, 0};
    unsigned i = 0;
    for (; i + 3 <= n; i += 3) {
        unsigned v = (unsigned)b[i] << 16 | (unsigned)b[i + 1] << 8 | b[i + 2];
        quad[0] = base64Char(v >> 18, url);
        quad[1] = base64Char((v >> 12) & 63, url);
        quad[2] = base64Char((v >> 6) & 63, url);
        quad[3] = base64Char(v & 63, url);
        if (!out.append(quad, 4))
            return false;
    }
    unsigned rest = n - i;
    if (rest == 0)
        return true;
    unsigned v = (unsigned)b[i] << 16 | (rest == 2 ? (unsigned)b[i + 1] << 8 : 0);
    quad[0] = base64Char(v >> 18, url);
    quad[1] = base64Char((v >> 12) & 63, url);
    quad[2] = rest == 2 ? base64Char((v >> 6) & 63, url) : '=';
    quad[3] = '=';
    return out.append(quad, url ? rest + 1 : 4);
}

}  // namespace

DataBuffer::DataBuffer(const DataBuffer &other) : m_sensitive(other.m_sensitive) {
    // A constructor cannot report failure: when memory is short the copy is left empty.
    if (other.m_size)
        (void)append(other.m_data, other.m_size);
}

DataBuffer::DataBuffer(DataBuffer &&other) noexcept
    : m_data(other.m_data),
      m_size(other.m_size),
      m_capacity(other.m_capacity),
      m_sensitive(other.m_sensitive) {
    other.m_data = nullptr;
    other.m_size = other.m_capacity = 0;
}

DataBuffer &DataBuffer::operator=(const DataBuffer &other) {
    if (this == &other)
        return *this;
    clear();
    m_sensitive = m_sensitive || other.m_sensitive;
    // Assignment cannot report failure: when memory is short the target is left empty.
    if (other.m_size)
        (void)append(other.m_data, other.m_size);
    return *this;
}

DataBuffer &DataBuffer::operator=(DataBuffer &&other) noexcept {
    if (this == &other)
        return *this;
    release();
    m_data = other.m_data;
    m_size = other.m_size;
    m_capacity = other.m_capacity;
    m_sensitive = m_sensitive || other.m_sensitive;
    other.m_data = nullptr;
    other.m_size = other.m_capacity = 0;
    return *this;
}

DataBuffer::~DataBuffer() {
    release();
}

void DataBuffer::release() {
    if (m_data) {
        if (m_sensitive)
            wipe(m_data, m_capacity);
        std::free(m_data);
    }
    m_data = nullptr;
    m_size = m_capacity = 0;
}

// Grows by doubling. A sensitive buffer never uses realloc: the old block is copied, wiped, then freed.
bool DataBuffer::grow(unsigned minCapacity) {
    if (minCapacity <= m_capacity)
        return true;
    std::size_t newCap = m_capacity ? (std::size_t)m_capacity * 2 : 16;
    while (newCap < minCapacity)
        newCap *= 2;
    if (newCap > std::numeric_limits<unsigned>::max())
        newCap = std::numeric_limits<unsigned>::max();
    unsigned char *p = static_cast<unsigned char *>(std::malloc(newCap));
    if (!p)
        return false;
    if (m_size)
        std::memcpy(p, m_data, m_size);
    if (m_data) {
        if (m_sensitive)
            wipe(m_data, m_capacity);
        std::free(m_data);
    }
    m_data = p;
    m_capacity = (unsigned)newCap;
    return true;
}

bool DataBuffer::ensureCapacity(unsigned count) {
    return grow(count);
}

bool DataBuffer::append(const void *bytes, unsigned count) {
    if (count == 0)
        return true;
    if (!bytes)
        return false;
    if (count > std::numeric_limits<unsigned>::max() - m_size)
        return false;
    // bytes may point into this buffer: remember the offset across a reallocation.
    const unsigned char *src = static_cast<const unsigned char *>(bytes);
    bool inside = m_data && src >= m_data && src < m_data + m_capacity;
    std::size_t offset = inside ? (std::size_t)(src - m_data) : 0;
    if (!grow(m_size + count))
        return false;
    if (inside)
        src = m_data + offset;
    std::memmove(m_data + m_size, src, count);
    m_size += count;
    return true;
}

bool DataBuffer::append(const DataBuffer &other) {
    if (&other == this) {
        DataBuffer copy(other);  // left empty when it cannot allocate: then nothing is appended
        return copy.m_size == other.m_size && append(copy.m_data, copy.m_size);
    }
    return append(other.m_data, other.m_size);
}

bool DataBuffer::append(const StringBuffer &text) {
    return append(text.getString(), text.getSize());
}

bool DataBuffer::appendChar(unsigned char c) {
    return append(&c, 1);
}

bool DataBuffer::appendUint32_be(unsigned value) {
    unsigned char b[4] = {(unsigned char)(value >> 24), (unsigned char)(value >> 16),
                          (unsigned char)(value >> 8), (unsigned char)value};
    return append(b, 4);
}

bool DataBuffer::prepend(const unsigned char *bytes, unsigned count) {
    if (count == 0)
        return true;
    if (!bytes)
        return false;
    if (count > std::numeric_limits<unsigned>::max() - m_size)
        return false;
    DataBuffer copy;  // bytes may alias this buffer
    copy.m_sensitive = m_sensitive;
    if (!copy.append(bytes, count))
        return false;
    if (!grow(m_size + count))
        return false;
    std::memmove(m_data + count, m_data, m_size);
    std::memcpy(m_data, copy.m_data, count);
    m_size += count;
    return true;
}

void DataBuffer::clear() {
    if (m_sensitive && m_data)
        wipe(m_data, m_size);
    m_size = 0;
}

void DataBuffer::secureClear() {
    if (m_data)
        wipe(m_data, m_capacity);
    m_size = 0;
}

bool DataBuffer::truncate(unsigned newSize) {
    if (newSize > m_size)
        return false;
    if (m_sensitive)
        wipe(m_data + newSize, m_size - newSize);
    m_size = newSize;
    return true;
}

void DataBuffer::reverseBytes() {
    for (unsigned i = 0, j = m_size; i + 1 < j; ++i, --j) {
        unsigned char t = m_data[i];
        m_data[i] = m_data[j - 1];
        m_data[j - 1] = t;
    }
}

bool DataBuffer::equals(const DataBuffer &other) const {
    return equals(other.m_data, other.m_size);
}

bool DataBuffer::equals(const void *bytes, unsigned count) const {
    if (count != m_size)
        return false;
    return count == 0 || std::memcmp(m_data, bytes, count) == 0;
}

bool DataBuffer::encodeDB(const char *encoding, StringBuffer &out) const {
    if (!encoding)
        return false;
    if (std::strcmp(encoding, "hex") == 0) {
        char pair[3] = {0, 0, 0};
        for (unsigned i = 0; i < m_size; ++i) {
            pair[0] = hexDigit(m_data[i] >> 4, false);
            pair[1] = hexDigit(m_data[i] & 15, false);
            if (!out.append(pair, 2))
                return false;
        }
        return true;
    }
    if (std::strcmp(encoding, "base64") == 0) {
        return encodeBase64(m_data, m_size, false, out);
    }
    if (std::strcmp(encoding, "base64url") == 0) {
        return encodeBase64(m_data, m_size, true, out);
    }
    return false;
}

bool DataBuffer::appendEncoded(const char *text, const char *encoding) {
    if (!text || !encoding)
        return false;
    DataBuffer decoded;
    decoded.m_sensitive = m_sensitive;
    bool ok;
    if (std::strcmp(encoding, "hex") == 0 || std::strcmp(encoding, "base16") == 0)
        ok = decodeHex(text, decoded);
    else if (std::strcmp(encoding, "base64") == 0)
        ok = decodeBase64(text, false, decoded);
    else if (std::strcmp(encoding, "base64url") == 0)
        ok = decodeBase64(text, true, decoded);
    else
        ok = false;
    return ok && append(decoded);
}

bool DataBuffer::toHexString2(const unsigned char *bytes, unsigned count, bool separate, StringBuffer &out) {
    char pair[4] = {0, 0, 0, 0};
    for (unsigned i = 0; i < count; ++i) {
        pair[0] = hexDigit(bytes[i] >> 4, true);
        pair[1] = hexDigit(bytes[i] & 15, true);
        pair[2] = ':';
        if (!out.append(pair, separate && i + 1 < count ? 3 : 2))
            return false;
    }
    return true;
}

}  // namespace ecckey
