// Signs a file with a key file of any format, in the signature form and with the nonce asked for, and
// checks the signature with the key's public half.
//
//   sign_message KEY FILE der|raw|ssh random|deterministic
//
// Prints the signature in hexadecimal; exits 1 on any error.
#include <ecckey/ecckey.hpp>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

static std::string readFile(const char *path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

int main(int argc, char **argv) {
    if (argc != 5) {
        std::fprintf(stderr, "usage: %s KEY FILE der|raw|ssh random|deterministic\n", argv[0]);
        return 1;
    }
    const std::string form = argv[3];
    const ecckey::SigFormat format = form == "der"   ? ecckey::SigFormat::Der
                                     : form == "raw" ? ecckey::SigFormat::Raw
                                                     : ecckey::SigFormat::Ssh;
    const ecckey::Nonce nonce =
        std::string(argv[4]) == "random" ? ecckey::Nonce::Random : ecckey::Nonce::Deterministic;

    auto key = ecckey::PrivateKey::load(readFile(argv[1]));
    if (!key) {
        std::fprintf(stderr, "%s\n", key.error().message().c_str());
        return 1;
    }
    const std::string message = readFile(argv[2]);
    auto signature = key->sign(message, ecckey::Hash::Sha256, format, nonce);
    if (!signature)
        return 1;
    auto valid = key->publicKey().verify(message, *signature, ecckey::Hash::Sha256, format);
    if (!valid || !*valid)
        return 1;
    for (unsigned char byte : *signature)
        std::printf("%02x", byte);
    std::printf("\n");
    return 0;
}
