// SshMessage: RFC 4251 wire encodings (string, mpint).
#pragma once

namespace ecckey {

class DataBuffer;
class StringBuffer;
class mp_int;
class LogBase;

class SshMessage {
  public:
    // Appends an SSH string: uint32 big-endian length, then the bytes (pack_string: text up to its NUL).
    // Room is reserved first: false, out unchanged, for a null text, a blob that would pass 2^32 - 1
    // bytes, or when memory is short. Nothing is logged.
    [[nodiscard]] static bool pack_db(const DataBuffer &bytes, DataBuffer &out);
    [[nodiscard]] static bool pack_string(const char *text, DataBuffer &out);

    // Each reads one item at offset into out (replacing what out held) and advances offset past it. A
    // blob too short for the length it announces gives false, silently, with offset and out unchanged;
    // on any failure offset is unchanged. The length is checked before any byte is read.
    // parseString takes any bytes, a NUL included (getString then ends at the first one); false when
    // memory is short (out may then be empty).
    [[nodiscard]] static bool parseString(const DataBuffer &blob, unsigned &offset, StringBuffer &out);
    // Marks out sensitive when the blob is. Logs "Out of memory reading an SSH string." (out then empty).
    [[nodiscard]] static bool parseBinaryString(const DataBuffer &blob, unsigned &offset, DataBuffer &out,
                                                LogBase &log);
    // An mpint (two's complement, big-endian; empty is zero; redundant leading 0x00 bytes are accepted).
    // Refuses a negative value ("SSH mpint is negative.", out unchanged); logs "Failed to convert SSH mpint."
    // when memory is short (out undefined).
    [[nodiscard]] static bool parseMpInt(const DataBuffer &blob, unsigned &offset, mp_int &out, LogBase &log);
};

}  // namespace ecckey
