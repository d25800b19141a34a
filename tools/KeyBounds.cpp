#include "KeyBounds.h"

#include "ecc/EccCurve.h"
#include "support/DataBuffer.h"

namespace ecckey_cli {

bool pointLenFits(const ecckey::DataBuffer &point, std::string &error) {
    if (point.getSize() <= kMaxPointLen)
        return true;
    error = "the public point is longer than any curve's";
    return false;
}

bool scalarAsWrittenFits(const ecckey::EccCurve &curve, const ecckey::DataBuffer &d, bool signByte,
                         std::string &error) {
    // A sign byte makes the encoding one byte longer than the curve; that byte is then 0 in every valid
    // key, so the test below branches on a public length and a byte a valid key fixes.
    const unsigned longest = (unsigned)curve.m_byteLen + 1;
    const unsigned skip = signByte && d.getSize() == longest && d[0] == 0 ? 1 : 0;
    if (curve.scalarBytesInRange(d.getData2() + skip, d.getSize() - skip))
        return true;
    error = "the private scalar as written is not in [1, n-1] of " + std::string(curve.m_name.getString());
    return false;
}

}  // namespace ecckey_cli
