// SshMessage: RFC 4251 wire encodings (string, mpint).
#pragma once

namespace ecckey {

class DataBuffer;
class StringBuffer;
class mp_int;
class LogBase;

class SshMessage {
  public:
    // Appends an SSH string: uint32 big-endian length, then the bytes.
    [[nodiscard]] static bool pack_db(const DataBuffer &bytes, DataBuffer &out);
    [[nodiscard]] static bool pack_string(const char *text, DataBuffer &out);

    // Each reads one item at offset into out (replacing what out held), advances offset past it and
    // returns false (offset unchanged) when the blob is too short for the length it announces.
    // parseString also refuses a string holding a NUL; parseBinaryString marks out sensitive when the
    // blob is.
    [[nodiscard]] static bool parseString(const DataBuffer &blob, unsigned &offset, StringBuffer &out);
    [[nodiscard]] static bool parseBinaryString(const DataBuffer &blob, unsigned &offset, DataBuffer &out,
                                                LogBase &log);
    // An mpint (two's complement, big-endian); negative values are refused.
    [[nodiscard]] static bool parseMpInt(const DataBuffer &blob, unsigned &offset, mp_int &out, LogBase &log);
};

}  // namespace ecckey
