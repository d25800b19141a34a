// ECDH with a peer that sends its point compressed (02 or 03, then x), as many protocols do.
//
//   ecdh_compressed KEY PEER_POINT_HEX       prints the shared secret in hexadecimal
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
    if (argc != 3)
        return 1;
    ecckey::Bytes point;
    for (const char *p = argv[2]; p[0] != '\0' && p[1] != '\0'; p += 2)
        point.push_back((unsigned char)std::stoi(std::string(p, 2), nullptr, 16));
    auto key = ecckey::PrivateKey::load(readFile(argv[1]));
    if (!key)
        return 1;
    auto peer = ecckey::PublicKey::fromPoint(key->curve(), point);
    if (!peer) {
        std::fprintf(stderr, "%s\n", peer.error().message().c_str());
        return 1;
    }
    auto secret = key->agree(*peer);
    if (!secret)
        return 1;
    for (unsigned char byte : *secret)
        std::printf("%02x", byte);
    std::printf("\n");
    return 0;
}
