// EccPoint: a curve point with big-integer coordinates.
//
// Stored keys hold affine points (Z = 1, normal form); inside the generic arithmetic the same record
// carries Jacobian coordinates in Montgomery form. m_format is the ANSI X9.63 form byte the point was
// read with (4 uncompressed, 6 or 7 hybrid); writers always emit 4.
#pragma once

#include "support/MpInt.h"

namespace ecckey {

class DataBuffer;
class LogBase;

class EccPoint {
  public:
    EccPoint();
    virtual ~EccPoint();
    EccPoint(const EccPoint &) = delete;
    EccPoint &operator=(const EccPoint &) = delete;

    // Sets x, y and z to zero and the form byte to 4.
    void clearEccPoint();
    // Copies the three coordinates and the form byte. False when memory is short; the point then holds
    // part of the copy.
    [[nodiscard]] bool copyFromEccPoint(const EccPoint &other);
    // Logs x, y and z inside a context named by the caller.
    void logEccPoint(const char *name, LogBase &log) const;

    // Appends 04 || X || Y with coordinates of len bytes. False when a coordinate is over 256 bytes (the
    // 0x04 already appended stays).
    [[nodiscard]] bool exportEccPoint(int len, DataBuffer &out, LogBase &log) const;
    // Parses an X9.63 point (form 4, 6 or 7; one leading 0x00 allowed before an odd-length string) into
    // x, y and z = 1. Curve-agnostic: the halves need only be of equal, non-zero length. Logs "dbX963 is
    // empty." for an empty input; otherwise (after "First byte of ECC point is invalid." for another form
    // byte) the data item "eccPoint" with the whole input and "Invalid ANSI X9.63 ECC point.". On failure
    // the coordinates are zero or partly read and m_format holds the form byte found.
    [[nodiscard]] bool loadEccPoint(const DataBuffer &in, LogBase &log);

    int m_format;
    mp_int m_x;
    mp_int m_y;
    mp_int m_z;
};

}  // namespace ecckey
