#include "OpenSslLayout.h"

#include "support/Asn1.h"
#include "support/DataBuffer.h"
#include "support/LogBase.h"
#include "support/Owners.h"

namespace ecckey::formats {

namespace {

using ecckey::_tvAsn1;
using ecckey::DataBuffer;

_tvAsn1 *decode(const DataBuffer &der, ecckey::LogBase &log) {
    unsigned consumed = 0;
    return _tvAsn1::DecodeToAsn(der.getData2(), der.getSize(), consumed, log);
}

// Replaces der by the encoding of root.
bool encodeInto(const _tvAsn1 &root, DataBuffer &der, ecckey::LogBase &log) {
    DataBuffer encoded;
    encoded.setSensitive();
    if (!root.EncodeToDer(encoded, false, log))
        return false;
    der.secureClear();
    return der.append(encoded);
}

// Part index of holder, an OCTET STRING, zero-extended on the left to len bytes.
[[nodiscard]] bool zeroExtendOctets(_tvAsn1 &holder, int index, unsigned len) {
    const _tvAsn1 *octets = holder.getAsnPart(index);
    DataBuffer content;
    if (octets == nullptr || !octets->isOctetString() || !octets->getAsnContent(content))
        return false;
    static const unsigned char kZero = 0;
    while (content.getSize() < len) {
        if (!content.prepend(&kZero, 1))
            return false;
    }
    return holder.replacePart(index, _tvAsn1::newOctetString(content.getData2(), content.getSize()));
}

}  // namespace

bool toOpenSslPkcs8(DataBuffer &der, ecckey::LogBase &log) {
    _tvAsn1 *root = decode(der, log);
    ecckey::RefCountedObjectOwner rootOwner(root);
    DataBuffer innerDer;
    innerDer.setSensitive();
    if (root == nullptr || root->getAsnPart(2) == nullptr || !root->getAsnPart(2)->getAsnContent(innerDer))
        return false;
    _tvAsn1 *inner = decode(innerDer, log);
    ecckey::RefCountedObjectOwner innerOwner(inner);
    const _tvAsn1 *params = inner != nullptr ? inner->getAsnPart(2) : nullptr;
    if (params == nullptr || params->tagClass() != _tvAsn1::CLASS_CONTEXT || params->tagNumber() != 0)
        return false;
    return inner->deletePart(2) && encodeInto(*inner, innerDer, log) &&
           root->replacePart(2, _tvAsn1::newOctetString(innerDer.getData2(), innerDer.getSize())) &&
           encodeInto(*root, der, log);
}

bool toOpenSslExplicitSpki(DataBuffer &der, unsigned fieldLen, ecckey::LogBase &log) {
    _tvAsn1 *root = decode(der, log);
    ecckey::RefCountedObjectOwner rootOwner(root);
    _tvAsn1 *algorithm = root != nullptr ? root->getAsnPart(0) : nullptr;
    _tvAsn1 *params = algorithm != nullptr ? algorithm->getAsnPart(1) : nullptr;
    if (params == nullptr)
        return false;
    if (!params->isSequence())
        return true;
    // ECParameters { version, fieldID, curve { a, b, seed? }, base, order, cofactor }
    _tvAsn1 *curve = params->getAsnPart(2);
    return curve != nullptr && zeroExtendOctets(*curve, 0, fieldLen) &&
           zeroExtendOctets(*curve, 1, fieldLen) && encodeInto(*root, der, log);
}

}  // namespace ecckey::formats
