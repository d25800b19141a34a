// EccCurve::scalarBytesInRange: the range check of a private scalar as a file writes it.
#include <cstdint>

#include "ecc/EccCurve.h"
#include "support/ConstantTime.h"
#include "support/DataBuffer.h"

namespace ecckey {

bool EccCurve::scalarBytesInRange(const unsigned char *d, unsigned len) const {
    DataBuffer order;       // public: the curve's n, at most m_byteLen bytes
    StringBuffer orderHex;  // P-521's n has an odd number of digits
    if (m_byteLen <= 0 || d == nullptr || len > (unsigned)m_byteLen + 1 ||
        !orderHex.append(m_order.getSize() % 2 != 0 ? "0" : "") || !orderHex.append(m_order) ||
        !order.appendEncoded(orderHex.getString(), "hex") || order.getSize() > (unsigned)m_byteLen)
        return false;
    // The one byte more is then 0 in every valid key: the branch is on a public length and a fixed byte.
    if (len == (unsigned)m_byteLen + 1 && d[0] == 0) {
        ++d;
        --len;
    }
    const unsigned orderLen = order.getSize();
    const unsigned width = (unsigned)m_byteLen;
    // d - n from the last byte up: a borrow out of the top means d < n. d and n are both read as width
    // bytes, left-padded with zeros; every byte of d is visited whatever its value.
    std::uint32_t borrow = 0;
    std::uint32_t any = 0;
    for (unsigned i = 0; i < width; ++i) {
        const unsigned dByte = i < len ? d[len - 1 - i] : 0u;
        const unsigned nByte = i < orderLen ? order[orderLen - 1 - i] : 0u;
        const std::uint32_t diff = (std::uint32_t)dByte - nByte - borrow;
        borrow = (diff >> 8) & 1u;
        any |= dByte;
    }
    // The verdict is the caller's to act on: a file's d is either usable or refused.
    const std::uint32_t inRange = ct::declassified(borrow & (std::uint32_t)((any + 0xffu) >> 8));
    return inRange == 1;
}

}  // namespace ecckey
