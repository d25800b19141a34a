// _tvDer::DecodeAsn: the DER reader of the item model that signatures use (and that the DER dump of a
// failed key load, exercised by the der_key target, uses too).
//
// A decoded item re-encodes to exactly the bytes it was read from; an INTEGER that get_mp accepts is
// written back by appendUnsignedInt with the same content.
#include "FuzzSupport.h"
#include "support/AsnItem.h"
#include "support/Owners.h"

static void walk(const tv_asnItem &item, int depth) {
    FuzzLog log;
    mp_int value;
    FUZZ_REQUIRE(depth <= 64);
    if (item.get_mp(value, log)) {
        FUZZ_REQUIRE(!item.isConstructed() && item.getTag() == 2 && item.getTagClass() == 0);
        ObjectOwner<tv_asnItem> seq(tv_asnItem::newSequence());
        FUZZ_REQUIRE(seq.get() && seq.get()->appendUnsignedInt(value, log));
        FUZZ_REQUIRE(seq.get()->getSubItem_doNotDelete(0)->content().equals(item.content()));
    }
    const int n = item.numSubItems();
    FUZZ_REQUIRE((item.isConstructed() || n == 0) && !item.getSubItem_doNotDelete(n));
    for (int i = 0; i < n; ++i)
        walk(*item.getSubItem_doNotDelete(i), depth + 1);  // a missing sub-item crashes here
}

// libFuzzer and the corpus replay both hand over a block of exactly `size` bytes, so a read past the end
// is caught without a copy here.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzLog log;
    DataBuffer der;
    unsigned consumed = 12345;
    ObjectOwner<tv_asnItem> item(_tvDer::DecodeAsn(size ? data : nullptr, (unsigned)size, consumed, log));
    if (item.get()) {
        FUZZ_REQUIRE(consumed > 0 && consumed <= size);
        walk(*item.get(), 0);
        FUZZ_REQUIRE(_tvDer::EncodeAsn(item.get(), der) && der.equals(data, consumed));
    }
    return 0;
}
