// StringBuffer: growable, zero-terminated 8-bit string that owns its characters.
//
// Its memory is always wiped when given up (texts of keys pass through it: hex scalars, base64 DER), so
// no StringBuffer leaves a copy of what it held behind in freed memory.
#pragma once

#include "support/DataBuffer.h"

namespace ecckey {

class StringBuffer {
  public:
    StringBuffer();
    explicit StringBuffer(const char *text);
    StringBuffer(const StringBuffer &other) = default;
    StringBuffer &operator=(const StringBuffer &other) = default;
    ~StringBuffer() = default;

    [[nodiscard]] bool setString(const char *text);
    [[nodiscard]] bool setString(const StringBuffer &other);
    [[nodiscard]] bool append(const char *text);
    [[nodiscard]] bool append(const char *text, unsigned count);
    [[nodiscard]] bool append(const StringBuffer &other);
    [[nodiscard]] bool append(int value);  // decimal, with a minus sign when negative
    [[nodiscard]] bool append2(const char *a, const char *b);
    [[nodiscard]] bool append3(const char *a, const char *b, const char *c);
    [[nodiscard]] bool appendChar(char c);

    void clear();
    void secureClear();  // zeroes before emptying
    void trim2();        // removes leading and trailing white space
    void toLowerCase();  // ASCII letters only
    // Replaces the first occurrence of find (the flag is accepted and has no effect). Returns true when
    // something was replaced.
    [[nodiscard]] bool replaceFirstOccurance(const char *find, const char *replacement, bool unused);

    [[nodiscard]] bool equals(const char *text) const;
    [[nodiscard]] bool equals(const StringBuffer &other) const;
    [[nodiscard]] bool beginsWith(const char *text) const;
    [[nodiscard]] bool containsSubstring(const char *text) const;
    const char *getString() const;
    unsigned getSize() const { return m_len; }
    [[nodiscard]] bool isEmpty() const { return m_len == 0; }

    // Turns a literal that is kept scrambled in the program back into plain text, in place.
    static void litScram(char *text);

  private:
    DataBuffer m_buf;  // characters plus terminator; marked sensitive
    unsigned m_len = 0;
};

// Copies a zero-terminated text into a caller's array (which must be large enough).
void tvStrCpy(char *dst, const char *src);

}  // namespace ecckey
