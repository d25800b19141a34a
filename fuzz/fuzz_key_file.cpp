// The command's key-file reader (tools/KeyReader.h, loadKey) on any bytes: every form it recognises from the
// content, among them OpenSSH private keys, PuTTY files, encrypted PKCS #8 and SEC 1, compressed points made
// whole in DER, and PEM followed by other bytes. No passphrase is given: deriving one for an encrypted
// PuTTY version 3 file costs what the file asks (up to 1 GiB of Argon2), which is the user's choice to pay.
//
// A rejection comes with a message; an accepted key passes the checks and round-trips through DER.
#include "../tools/KeyReader.h"
#include "FuzzSupport.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    DataBuffer content;
    FUZZ_REQUIRE(content.append(data, (unsigned)size));
    FuzzLog log;
    EccKey key;
    std::string error;
    if (!ecckey_cli::loadKey(content, key, log, error)) {
        FUZZ_REQUIRE(!error.empty());
        return 0;
    }
    FUZZ_REQUIRE(key.checkPublicKey(log) && (!key.isPrivate() || key.checkPrivateKey(log)));
    requireDerRoundTrip(key);
    return 0;
}
