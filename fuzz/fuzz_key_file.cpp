// The library's key-file reader (formats/KeyDecoder.h, decodeKey) on any bytes: every form it recognises
// from the content, among them OpenSSH private keys, PuTTY files, encrypted PKCS #8 and SEC 1, compressed
// points made whole in DER, and PEM followed by other bytes. No passphrase source is given, so encrypted
// keys stop before any key derivation (fuzz_encrypted_key gives one).
//
// A rejection comes with a message; an accepted key passes the checks and round-trips through DER.
#include "../formats/KeyDecoder.h"
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    DataBuffer content;
    FUZZ_REQUIRE(content.append(data, (unsigned)size));
    FuzzLog log;
    EccKey key;
    ecckey::formats::DecodedKey result;
    if (!ecckey::formats::decodeKey(content, nullptr, {}, key, result, log)) {
        FUZZ_REQUIRE(!result.error.empty());
        return 0;
    }
    FUZZ_REQUIRE(key.checkPublicKey(log) && (!key.isPrivate() || key.checkPrivateKey(log)));
    requireDerRoundTrip(key);
    return 0;
}
