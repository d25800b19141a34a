// DataBuffer: growable byte buffer that owns its bytes.
//
// A buffer marked sensitive (setSensitive) zeroes every block of memory it gives up: on destruction, on
// reallocation, on clear(). Every buffer that receives private-key bytes, random scalar bytes or DER key
// output is marked before it is written, so no copy of a secret outlives its buffer.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ecckey {

class StringBuffer;

class DataBuffer {
  public:
    DataBuffer() = default;
    DataBuffer(const DataBuffer &other);
    DataBuffer(DataBuffer &&other) noexcept;
    DataBuffer &operator=(const DataBuffer &other);
    DataBuffer &operator=(DataBuffer &&other) noexcept;
    ~DataBuffer();

    // The sensitive-data flag. Once set it stays set until the buffer is destroyed or the flag is cleared.
    void setSensitive(bool sensitive = true) { m_sensitive = sensitive; }
    [[nodiscard]] bool isSensitive() const { return m_sensitive; }

    // Appenders return false only when memory cannot be had; the content is then unchanged.
    [[nodiscard]] bool append(const void *bytes, unsigned count);
    [[nodiscard]] bool append(const DataBuffer &other);
    [[nodiscard]] bool append(const StringBuffer &text);  // the characters, without the terminator
    [[nodiscard]] bool appendChar(unsigned char c);
    [[nodiscard]] bool appendUint32_be(unsigned value);  // four bytes, most significant first
    [[nodiscard]] bool prepend(const unsigned char *bytes, unsigned count);

    void clear();        // empties; a sensitive buffer also zeroes what it held
    void secureClear();  // zeroes, then empties
    void reverseBytes();
    // Drops the bytes past newSize (wiped when sensitive); false when newSize is beyond the content.
    [[nodiscard]] bool truncate(unsigned newSize);
    [[nodiscard]] bool ensureCapacity(unsigned count);

    // Pointer to the content, valid until the next change; null while no memory was ever allocated.
    const unsigned char *getData2() const { return m_data; }
    unsigned char *getDataMutable() { return m_data; }
    unsigned getSize() const { return m_size; }
    [[nodiscard]] bool isEmpty() const { return m_size == 0; }
    unsigned char operator[](unsigned i) const { return m_data[i]; }
    [[nodiscard]] bool equals(const DataBuffer &other) const;
    [[nodiscard]] bool equals(const void *bytes, unsigned count) const;

    // Appends the content as text: "hex" (upper case, no separators), "base64" (standard alphabet, padded,
    // no line breaks) or "base64url" (no padding). Returns false for an unknown encoding.
    [[nodiscard]] bool encodeDB(const char *encoding, StringBuffer &out) const;
    // Decodes text in the named encoding ("hex", "base64", "base64url") and appends the bytes. Returns false
    // on an unknown encoding or undecodable text, leaving the content unchanged. White space is ignored in
    // base64 and hex text.
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
