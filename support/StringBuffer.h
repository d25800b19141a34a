// StringBuffer: growable, zero-terminated 8-bit string that owns its characters.
//
// Its memory is always wiped when given up (texts of keys pass through it: hex scalars, base64 DER), so
// no StringBuffer leaves a copy of what it held behind in freed memory.
#pragma once

#include "support/DataBuffer.h"

namespace ecckey {

class StringBuffer {
  public:
    StringBuffer();  // empty
    // A copy of text; empty when text is null or memory is short (a constructor cannot report it).
    explicit StringBuffer(const char *text);
    // Copies of other; empty when memory is short, never a length without its characters.
    StringBuffer(const StringBuffer &other);
    StringBuffer &operator=(const StringBuffer &other);
    ~StringBuffer() = default;

    // Replaces the text with a copy of text (or other). False for a null text, and when memory is short;
    // the text is then empty. Setting a StringBuffer to itself does nothing.
    [[nodiscard]] bool setString(const char *text);
    [[nodiscard]] bool setString(const StringBuffer &other);
    // Appenders add at the end; the source may lie inside this text. Appending nothing succeeds. False for
    // a null text (append(text, 0) excepted) and when memory is short; the text is then unchanged, except
    // that append2 and append3 keep the parts appended before the one that failed.
    [[nodiscard]] bool append(const char *text);
    [[nodiscard]] bool append(const char *text, unsigned count);  // count bytes, as they are
    [[nodiscard]] bool append(const StringBuffer &other);
    [[nodiscard]] bool append(int value);  // decimal, with a minus sign when negative
    [[nodiscard]] bool append2(const char *a, const char *b);
    [[nodiscard]] bool append3(const char *a, const char *b, const char *c);
    [[nodiscard]] bool appendChar(char c);

    // Both empty the text and zero what it held, keeping the memory for reuse; secureClear also zeroes
    // the unused capacity.
    void clear();
    void secureClear();
    // Removes leading and trailing spaces, tabs, CR, LF, VT and FF; the text stays as it was when memory
    // is short.
    void trim2();
    void toLowerCase();  // ASCII letters only
    // Replaces the first occurrence of find (the flag is accepted and has no effect). True when something
    // was replaced; false for a null or empty find, a null replacement or no occurrence (text unchanged),
    // and when memory is short (the text may then be empty).
    [[nodiscard]] bool replaceFirstOccurance(const char *find, const char *replacement, bool unused);

    // Comparisons, byte for byte, not constant time; each is false for a null text. equals(const char *)
    // also compares lengths, so a text holding a NUL never equals a shorter one; every text begins with
    // and contains the empty text.
    [[nodiscard]] bool equals(const char *text) const;
    [[nodiscard]] bool equals(const StringBuffer &other) const;
    [[nodiscard]] bool beginsWith(const char *text) const;
    [[nodiscard]] bool containsSubstring(const char *text) const;
    // The zero-terminated text, never null ("" when empty); valid until the next change.
    const char *getString() const;
    unsigned getSize() const { return m_len; }  // in bytes, without the terminator
    [[nodiscard]] bool isEmpty() const { return m_len == 0; }

    // Turns a literal that is kept scrambled in the program back into plain text, in place: each ASCII
    // letter is rotated by 13 places, so a second call scrambles it again. A null text is ignored.
    static void litScram(char *text);

  private:
    DataBuffer m_buf;  // characters plus terminator; marked sensitive
    unsigned m_len = 0;
};

// Copies a zero-terminated text, terminator included, into a caller's array (which must be large enough).
// A null src gives an empty text; a null dst does nothing.
void tvStrCpy(char *dst, const char *src);

}  // namespace ecckey
