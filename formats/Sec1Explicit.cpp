#include "Sec1Explicit.h"

#include "support/Asn1.h"
#include "support/DataBuffer.h"
#include "support/LogBase.h"
#include "support/Owners.h"

namespace ecckey::formats {

namespace {

const char kIdEcPublicKey[] = "1.2.840.10045.2.1";

// The index of the [0] wrapper of a bare ECPrivateKey whose parameters are a SEQUENCE, or -1.
int explicitParamsIndex(const _tvAsn1 &root) {
    const _tvAsn1 *version = root.getAsnPart(0);
    const _tvAsn1 *d = root.getAsnPart(1);
    if (!root.isSequence() || version == nullptr || version->tagClass() != _tvAsn1::CLASS_UNIVERSAL ||
        version->tagNumber() != _tvAsn1::TAG_INTEGER || d == nullptr || !d->isOctetString())
        return -1;
    for (int i = 2; i < root.numAsnParts(); ++i) {
        const _tvAsn1 *part = root.getAsnPart(i);
        if (part->tagClass() == _tvAsn1::CLASS_CONTEXT && part->tagNumber() == 0 &&
            part->getAsnPart(0) != nullptr && part->getAsnPart(0)->isSequence())
            return i;
    }
    return -1;
}

}  // namespace

bool explicitSec1AsPkcs8(DataBuffer &der, LogBase &log) {
    unsigned consumed = 0;
    LogNull quiet;
    _tvAsn1 *root = _tvAsn1::DecodeToAsn(der.getData2(), der.getSize(), consumed, quiet);
    RefCountedObjectOwner rootOwner(root);
    const int index = root != nullptr && consumed == der.getSize() ? explicitParamsIndex(*root) : -1;
    if (index < 0)
        return true;
    _tvAsn1 *params = root->getAsnPart(index)->getAsnPart(0);
    _tvAsn1 *pkcs8 = _tvAsn1::newSequence();
    RefCountedObjectOwner pkcs8Owner(pkcs8);
    _tvAsn1 *algorithm = _tvAsn1::newSequence();
    RefCountedObjectOwner algorithmOwner(algorithm);
    // A reference for a second holder, handed over by AppendPart (which releases it on failure).
    const auto shared = [](_tvAsn1 *node) {
        node->incRefCount();
        return node;
    };
    DataBuffer inner;
    DataBuffer rewritten;
    inner.setSensitive();
    rewritten.setSensitive();
    const bool ok = pkcs8 != nullptr && algorithm != nullptr &&
                    algorithm->AppendPart(_tvAsn1::newOid(kIdEcPublicKey)) &&
                    algorithm->AppendPart(shared(params)) && root->deletePart(index) &&
                    root->EncodeToDer(inner, false, log) && pkcs8->AppendPart(_tvAsn1::newInteger(0)) &&
                    pkcs8->AppendPart(shared(algorithm)) &&
                    pkcs8->AppendPart(_tvAsn1::newOctetString(inner.getData2(), inner.getSize())) &&
                    pkcs8->EncodeToDer(rewritten, false, log);
    der.secureClear();
    return ok && der.append(rewritten);
}

}  // namespace ecckey::formats
