// The ANSI X9.63 point octet string: 04 || X || Y, each coordinate big-endian and left-padded to the
// curve's byte length.
//
// The reader takes the uncompressed (04) and hybrid (06, 07) forms, and one 0x00 byte before an odd-length
// string (the unused-bits byte of an ASN.1 BIT STRING arrives that way). It is curve-agnostic: the two
// halves need only be of equal, non-zero length, and the hybrid parity bit is not checked against Y. The
// compressed forms (02, 03) are refused.

#include <cstring>

#include "ecc/EccPoint.h"
#include "support/DataBuffer.h"
#include "support/LogBase.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

const int kMaxCoordLen = 256;

// Appends v as exactly len bytes. A shorter value is right-aligned behind zero bytes; a longer one is cut
// to its most significant len bytes (never the case for a coordinate of its own curve).
[[nodiscard]] bool appendCoordinate(const mp_int &v, int len, DataBuffer &out) {
    unsigned char scratch[kMaxCoordLen];
    std::memset(scratch, 0, sizeof scratch);
    int vLen = TovarMp::mp_unsigned_bin_size(v);
    int offset = vLen <= len ? len - vLen : 0;
    if (!TovarMp::mpint_to_bytes(v, scratch + offset))
        return false;
    return out.append(scratch, (unsigned)len);
}

// Records the form byte at the point's start, logs the whole input and refuses it.
[[nodiscard]] bool rejectPoint(EccPoint &P, unsigned char form, const DataBuffer &in, LogBase &log) {
    P.m_format = form;
    log.LogDataHex("eccPoint", in.getData2(), in.getSize());
    log.logError("Invalid ANSI X9.63 ECC point.");
    return false;
}

}  // namespace

bool EccPoint::exportEccPoint(int len, DataBuffer &out, LogBase &log) const {
    LogContextExitor ctx(log, "exportEccPoint");

    if (!out.appendChar(0x04))
        return false;
    // The 0x04 stays in out when a coordinate is too long for the scratch area.
    if (TovarMp::mp_unsigned_bin_size(m_x) > kMaxCoordLen ||
        TovarMp::mp_unsigned_bin_size(m_y) > kMaxCoordLen)
        return false;
    if (len < 0 || len > kMaxCoordLen)
        return false;

    if (!appendCoordinate(m_x, len, out))
        return false;
    return appendCoordinate(m_y, len, out);
}

bool EccPoint::loadEccPoint(const DataBuffer &in, LogBase &log) {
    LogContextExitor ctx(log, "loadEccPoint");
    TovarMp::mp_zero(m_x);
    TovarMp::mp_zero(m_y);
    TovarMp::mp_zero(m_z);
    m_format = 4;

    const unsigned char *data = in.getData2();
    if (data == nullptr)
        return false;
    unsigned size = in.getSize();
    if (size == 0) {
        log.logError("dbX963 is empty.");
        return false;
    }

    const unsigned char *start = data;
    unsigned remaining = size;
    // An even length is only valid as 00 || (odd-length point).
    if (remaining % 2 == 0) {
        if (start[0] != 0x00)
            return rejectPoint(*this, start[0], in, log);
        ++start;
        --remaining;
    }

    unsigned char form = start[0];
    if (form != 0x04 && form != 0x06 && form != 0x07) {
        log.logError("First byte of ECC point is invalid.");
        return rejectPoint(*this, form, in, log);
    }
    m_format = form;

    unsigned half = (remaining - 1) / 2;
    if (half == 0)
        return rejectPoint(*this, form, in, log);
    bool okX = TovarMp::mpint_from_bytes(m_x, start + 1, half);
    bool okY = TovarMp::mpint_from_bytes(m_y, start + 1 + half, half);
    bool okZ = TovarMp::mp_set(m_z, 1) == 0;
    if (!okX || !okY || !okZ)
        return rejectPoint(*this, form, in, log);
    return true;
}

}  // namespace ecckey
