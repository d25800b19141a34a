// DataBuffer: growable byte buffer that owns its bytes.
//
// A buffer marked sensitive (setSensitive) zeroes every block of memory it gives up: on destruction, on
// reallocation, on clear(). Every buffer that receives private-key bytes, random scalar bytes or DER key
// output is marked before it is written, so no copy of a secret outlives its buffer.
//
// Nothing here logs. Every member that can fail returns false and, unless its comment says otherwise,
// leaves the content as it was.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ecckey {

class StringBuffer;

class DataBuffer {
  public:
    DataBuffer() = default;
    // A copy of other's content and flag; empty when memory is short (a constructor cannot report it).
    DataBuffer(const DataBuffer &other);
    // Takes over other's block and copies its flag; other is left empty, holding no block.
    DataBuffer(DataBuffer &&other) noexcept;
    // Clears this buffer (zeroed when sensitive), then copies other's content; the result is sensitive
    // when either was. Empty when memory is short. Assigning a buffer to itself does nothing.
    DataBuffer &operator=(const DataBuffer &other);
    // Gives up this buffer's block (zeroed when sensitive) and takes over other's, which is left empty;
    // the result is sensitive when either was.
    DataBuffer &operator=(DataBuffer &&other) noexcept;
    // Zeroes the whole block when sensitive, then frees it.
    ~DataBuffer();

    // The sensitive-data flag. Once set it stays set until the buffer is destroyed or the flag is cleared.
    void setSensitive(bool sensitive = true) { m_sensitive = sensitive; }
    [[nodiscard]] bool isSensitive() const { return m_sensitive; }

    // Appenders add at the end (prepend at the front). Adding no bytes always succeeds. False when memory
    // cannot be had, the size would pass 2^32 - 1, or bytes is null with a non-zero count; the content is
    // then unchanged. The source may lie inside this buffer.
    [[nodiscard]] bool append(const void *bytes, unsigned count);
    [[nodiscard]] bool append(const DataBuffer &other);
    [[nodiscard]] bool append(const StringBuffer &text);  // the characters, without the terminator
    [[nodiscard]] bool appendChar(unsigned char c);
    [[nodiscard]] bool appendUint32_be(unsigned value);  // four bytes, most significant first
    [[nodiscard]] bool prepend(const unsigned char *bytes, unsigned count);

    // Both empty the buffer and keep its block for reuse. clear zeroes the old content only when the
    // buffer is sensitive; secureClear always zeroes the whole block.
    void clear();
    void secureClear();
    void reverseBytes();  // reverses the content in place
    // Drops the bytes past newSize (wiped when sensitive); false, nothing changed, when newSize is beyond
    // the content.
    [[nodiscard]] bool truncate(unsigned newSize);
    // Makes room for count bytes in all, so that appends up to that size cannot fail. False when memory
    // is short.
    [[nodiscard]] bool ensureCapacity(unsigned count);

    // Pointer to the content, valid until the next change; null while the buffer holds no block (never
    // grown, or moved from).
    const unsigned char *getData2() const { return m_data; }
    unsigned char *getDataMutable() { return m_data; }
    unsigned getSize() const { return m_size; }
    [[nodiscard]] bool isEmpty() const { return m_size == 0; }
    unsigned char operator[](unsigned i) const { return m_data[i]; }  // unchecked: i < getSize()
    // True when the content is byte for byte the other content (two empty contents are equal). Not
    // constant time.
    [[nodiscard]] bool equals(const DataBuffer &other) const;
    [[nodiscard]] bool equals(const void *bytes, unsigned count) const;

    // Appends the content as text: "hex" (upper case, no separators), "base64" (standard alphabet, padded,
    // no line breaks) or "base64url" (no padding). False for an unknown or null encoding, and when memory
    // is short, in which case out may hold part of the text.
    [[nodiscard]] bool encodeDB(const char *encoding, StringBuffer &out) const;
    // Decodes text in the named encoding ("hex" or "base16", "base64", "base64url") and appends the
    // bytes, decoded in a buffer as sensitive as this one. Spaces, tabs, CR and LF are skipped. Refused:
    // an odd number of hex digits, a character outside the alphabet, standard base64 not padded to a
    // multiple of four (base64url may be padded or not), more than two '=' or text after them, and
    // non-zero trailing bits. False, content unchanged, on a refusal, an unknown or null encoding or null
    // text, and when memory is short.
    [[nodiscard]] bool appendEncoded(const char *text, const char *encoding);

    // Appends count bytes as lower-case hexadecimal; with separate, the pairs are separated by ':'. False
    // when memory is short, with the pairs written so far left in out.
    [[nodiscard]] static bool toHexString2(const unsigned char *bytes, unsigned count, bool separate,
                                           StringBuffer &out);

  private:
    void release();
    [[nodiscard]] bool grow(unsigned minCapacity);

    unsigned char *m_data = nullptr;
    unsigned m_size = 0;
    unsigned m_capacity = 0;
    bool m_sensitive = false;
};

}  // namespace ecckey
