// _tvPublicKey::pemToDer: the first PEM block of a text.
//
// An accepted block yields sensitive DER and a label that derToPem writes back as a block that reads as
// the same label and bytes.
#include <string>

#include "FuzzSupport.h"
#include "support/PublicKey.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzLog log;
    StringBuffer label, label2, pem;
    DataBuffer der, der2;
    if (!_tvPublicKey::pemToDer(std::string((const char *)data, size).c_str(), label, der, log))
        return 0;
    FUZZ_REQUIRE(der.isSensitive() && _tvPublicKey::derToPem(label.getString(), der, pem, log));
    FUZZ_REQUIRE(_tvPublicKey::pemToDer(pem.getString(), label2, der2, log));
    FUZZ_REQUIRE(label2.equals(label) && der2.equals(der));
    return 0;
}
