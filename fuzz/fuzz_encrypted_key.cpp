// The library's key-file reader (formats/KeyDecoder.h, decodeKey) with a passphrase, "pass phrase", so
// that the encrypted forms are decrypted and their plaintext parsed: OpenSSH private keys under each
// cipher, .ppk files of both versions, encrypted PKCS #8 (PEM and DER) and Proc-Type SEC 1. The seeds ask
// for little key-derivation work (one bcrypt round, 64 KiB of Argon2, one PBKDF2 iteration); the
// ceilings bound what a mutated file can ask.
//
// The passphrase is asked for at most once. A rejection comes with a message; an accepted key passes the
// checks and round-trips through DER.
#include "../formats/KeyDecoder.h"
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    DataBuffer content;
    FUZZ_REQUIRE(content.append(data, (unsigned)size));
    FuzzLog log;
    EccKey key;
    int asked = 0;
    const ecckey::formats::PassphraseCallback passphrase = [&asked](StringBuffer &secret, std::string &) {
        ++asked;
        return secret.append("pass phrase");
    };
    ecckey::formats::DecodedKey result;
    const bool loaded = ecckey::formats::decodeKey(content, passphrase, {}, key, result, log);
    FUZZ_REQUIRE(asked <= 1 && (asked == 0 || result.encrypted));
    if (!loaded) {
        FUZZ_REQUIRE(!result.error.empty());
        return 0;
    }
    FUZZ_REQUIRE(key.checkPublicKey(log) && (!key.isPrivate() || key.checkPrivateKey(log)));
    requireDerRoundTrip(key);
    return 0;
}
