// verifyCompactJws: any text as a token under one P-256 key (RFC 7515 A.3's). A token is checked or
// refused; a refusal leaves no verdict and no payload behind.
#include <cstdlib>
#include <string>

#include "FuzzSupport.h"
#include "formats/CompactJws.h"
#include "support/JsonObject.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static EccKey *key = [] {
        static EccKey k;
        ClsJsonObject json;
        LogNull quiet;
        if (!json.load(R"({"kty":"EC","crv":"P-256","x":"f83OJ3D2xF1Bg8vub9tLe1gHMzV76e8Tus9uPHvRVEU",)"
                       R"("y":"x_FEzRu9m36HLN_tue659LNpXW6pCyStikYjKIWI5a0"})",
                       quiet) ||
            !k.loadAnyJwk(json, quiet))
            std::abort();
        return &k;
    }();
    FuzzLog log;
    DataBuffer payload;
    bool valid = false;
    const bool checked =
        verifyCompactJws(*key, nullptr, std::string((const char *)data, size).c_str(), payload, valid, log);
    if (!checked && (valid || !payload.isEmpty()))
        std::abort();
    return 0;
}
