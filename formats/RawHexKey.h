// The raw-hex text: "curve: NAME", then "private: HEX" (d) for a private key, then "public: HEX" (the X9.63
// point), one per line, as the ecckey command writes it for people to read and to paste.
#pragma once

#include <string>

namespace ecckey {
class DataBuffer;
class EccKey;
class LogBase;
}  // namespace ecckey

namespace ecckey::formats {

// True when text starts as the raw-hex text does ("curve").
[[nodiscard]] bool isRawHexText(const char *text);

// Loads the key of a raw-hex text: a private line gives d, a public line the point, compressed or not,
// which must then be the one d gives. A line without a known name and colon, or a name given twice, is
// refused with its line number only, since a line may hold a private scalar. False with a message in error.
[[nodiscard]] bool loadRawHexKey(const char *text, EccKey &key, LogBase &log, std::string &error);

// Appends the raw-hex text of the key: the private line when writePrivate is set, the public point
// compressed (02 or 03, then x) when compressed is. Marked sensitive by the caller. False when the library
// fails or memory is short.
[[nodiscard]] bool writeRawHexKey(EccKey &key, bool writePrivate, bool compressed, DataBuffer &out,
                                  LogBase &log);

}  // namespace ecckey::formats
