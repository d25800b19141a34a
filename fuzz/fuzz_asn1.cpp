// _tvAsn1::DecodeToAsn: the DER reader of the tree model that key import uses.
//
// A decoded tree re-encodes to exactly the bytes it was read from (the reader accepts only DER, which has
// one encoding per value); every OID prints as dotted text that builds the same OID again; a node has
// content exactly when it is primitive and parts only when it is constructed.
#include "FuzzSupport.h"
#include "support/Asn1.h"
#include "support/Owners.h"

static void walk(const _tvAsn1 &node, int depth) {
    DataBuffer content, again;
    StringBuffer dotted;
    FUZZ_REQUIRE(depth <= 64 && node.getAsnContent(content) == !node.isConstructed());
    if (node.isOid() && node.GetOid(dotted)) {
        _tvAsn1 *rebuilt = _tvAsn1::newOid(dotted.getString());
        RefCountedObjectOwner owner(rebuilt);
        FUZZ_REQUIRE(rebuilt && rebuilt->getAsnContent(again) && again.equals(content));
    }
    const int n = node.numAsnParts();
    FUZZ_REQUIRE((node.isConstructed() || n == 0) && !node.getAsnPart(n) && !node.getAsnPart(-1));
    for (int i = 0; i < n; ++i)
        walk(*node.getAsnPart(i), depth + 1);  // a missing part crashes here
}

// libFuzzer and the corpus replay both hand over a block of exactly `size` bytes, so a read past the end
// is caught without a copy here.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzLog log;
    DataBuffer der;
    unsigned consumed = 12345;
    _tvAsn1 *root = _tvAsn1::DecodeToAsn(size ? data : nullptr, (unsigned)size, consumed, log);
    RefCountedObjectOwner owner(root);
    if (root) {
        FUZZ_REQUIRE(consumed > 0 && consumed <= size);
        walk(*root, 0);
        FUZZ_REQUIRE(root->EncodeToDer(der, false, log) && der.equals(data, consumed));
    }
    return 0;
}
