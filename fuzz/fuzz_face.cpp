// The face's readers: a key file of any format, an X9.63 point on P-256, and a signature named DER, raw or
// SSH. An accepted key saves and reads back as the same point; a signature over nothing it was made for is
// never valid; a refusal has a one-line message.
#include "FuzzSupport.h"
#include "ecckey/ecckey.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const ecckey::PrivateKey signer = *ecckey::PrivateKey::generate("P-256");
    if (size == 0)
        return 0;
    const ecckey::ByteView input(data + 1, size - 1);
    ecckey::Result<ecckey::PublicKey> key = data[0] % 3 == 0   ? ecckey::PublicKey::load(input)
                                            : data[0] % 3 == 1 ? ecckey::PublicKey::fromPoint("P-256", input)
                                                               : signer.publicKey();
    if (!key) {
        FUZZ_REQUIRE(key.error().message().find('\n') == std::string::npos);
        return 0;
    }
    if (data[0] % 3 == 2) {
        for (ecckey::SigFormat format :
             {ecckey::SigFormat::Der, ecckey::SigFormat::Raw, ecckey::SigFormat::Ssh})
            FUZZ_REQUIRE(!*key->verify("fuzz", input, ecckey::Hash::Sha256, format));
        return 0;
    }
    ecckey::Result<std::string> pem = key->save(ecckey::KeyFormat::Pem);
    FUZZ_REQUIRE(pem && ecckey::PublicKey::load(*pem)->point() == key->point());
    return 0;
}
