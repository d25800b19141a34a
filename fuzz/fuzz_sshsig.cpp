// verifySshSig: any text as an armoured SSH signature over the empty message in namespace "file", under one
// P-256 key (RFC 7515 A.3's). A text is checked or refused; a refusal leaves no verdict behind.
#include <cstdlib>
#include <string>

#include "FuzzSupport.h"
#include "formats/SshSig.h"
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
    bool valid = false;
    if (!verifySshSig(*key, "file", DataBuffer(), std::string((const char *)data, size).c_str(), valid,
                      log) &&
        valid)
        std::abort();
    return 0;
}
