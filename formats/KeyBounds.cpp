#include "KeyBounds.h"

#include "ecc/EccCurve.h"
#include "support/DataBuffer.h"

namespace ecckey::formats {

bool pointLenFits(const DataBuffer &point, std::string &error) {
    if (point.getSize() <= kMaxPointLen)
        return true;
    error = "the public point is longer than any curve's";
    return false;
}

bool scalarAsWrittenFits(const EccCurve &curve, const DataBuffer &d, std::string &error) {
    if (curve.scalarBytesInRange(d.getData2(), d.getSize()))
        return true;
    error = "the private scalar as written is not in [1, n-1] of " + std::string(curve.m_name.getString());
    return false;
}

}  // namespace ecckey::formats
