// _tvAsn1::DecodeToAsn: the DER reader of the tree model that key import uses.
//
// A decoded tree re-encodes to exactly the bytes it was read from (the reader accepts only DER, which has
// one encoding per value); every OID prints as dotted text that builds the same OID again; every node
// answers its accessors.

#include "FuzzSupport.h"
#include "support/Asn1.h"
#include "support/Owners.h"

using namespace ecckey;
using namespace ecckey_fuzz;

namespace {

void walk(const _tvAsn1 &node, int depth) {
    FUZZ_REQUIRE(depth <= 64);
    node.isSequence();
    node.isBitString();
    node.isOctetString();
    node.asnIntValue();
    DataBuffer content;
    const bool gotContent = node.getAsnContent(content);
    FUZZ_REQUIRE(gotContent == !node.isConstructed());
    if (node.isOid()) {
        StringBuffer dotted;
        if (node.GetOid(dotted)) {
            _tvAsn1 *rebuilt = _tvAsn1::newOid(dotted.getString());
            FUZZ_REQUIRE(rebuilt != nullptr);
            RefCountedObjectOwner owner(rebuilt);
            DataBuffer again;
            FUZZ_REQUIRE(rebuilt->getAsnContent(again));
            FUZZ_REQUIRE(again.equals(content));
        }
    }
    const int n = node.numAsnParts();
    if (!node.isConstructed())
        FUZZ_REQUIRE(n == 0);
    for (int i = 0; i < n; ++i) {
        const _tvAsn1 *part = node.getAsnPart(i);
        FUZZ_REQUIRE(part != nullptr);
        walk(*part, depth + 1);
    }
    FUZZ_REQUIRE(node.getAsnPart(n) == nullptr);
    FUZZ_REQUIRE(node.getAsnPart(-1) == nullptr);
}

}  // namespace

// libFuzzer and the corpus replay both hand over a block of exactly `size` bytes, so a read past the
// end is caught without a copy here.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzLog log;
    unsigned consumed = 12345;
    _tvAsn1 *root = _tvAsn1::DecodeToAsn(size ? data : nullptr, (unsigned)size, consumed, log);
    if (root) {
        RefCountedObjectOwner owner(root);
        FUZZ_REQUIRE(consumed > 0 && consumed <= size);
        walk(*root, 0);
        DataBuffer der;
        FUZZ_REQUIRE(root->EncodeToDer(der, false, log));
        FUZZ_REQUIRE(der.equals(data, consumed));
    }
    return 0;
}
