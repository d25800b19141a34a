// Reads a key pair ssh-keygen wrote (the private key file and its .pub line), prints the fingerprint
// `ssh-keygen -l` prints, and signs a file as an SSH ECDSA signature (two mpints), checked with the .pub.
//
//   ssh_sign KEY KEY.pub FILE        prints the fingerprint, then the signature in hexadecimal
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
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s KEY KEY.pub FILE\n", argv[0]);
        return 1;
    }
    auto key = ecckey::PrivateKey::load(readFile(argv[1]));
    auto pub = ecckey::PublicKey::load(readFile(argv[2]));
    if (!key || !pub) {
        std::fprintf(stderr, "%s\n", (!key ? key.error() : pub.error()).message().c_str());
        return 1;
    }
    // SSH hashes with SHA-256 up to 256-bit curves, SHA-384 up to 384 bits, SHA-512 above (RFC 5656).
    const std::string curve = key->curve();
    const ecckey::Hash hash = curve == "secp384r1"   ? ecckey::Hash::Sha384
                              : curve == "secp521r1" ? ecckey::Hash::Sha512
                                                     : ecckey::Hash::Sha256;
    const std::string data = readFile(argv[3]);
    auto signature = key->sign(data, hash, ecckey::SigFormat::Ssh);
    auto fingerprint = pub->fingerprint();
    if (!signature || !fingerprint)
        return 1;
    auto valid = pub->verify(data, *signature, hash, ecckey::SigFormat::Ssh);
    if (!valid || !*valid)
        return 1;
    std::printf("%s\n", fingerprint->c_str());
    for (unsigned char byte : *signature)
        std::printf("%02x", byte);
    std::printf("\n");
    return 0;
}
