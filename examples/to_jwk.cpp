// Turns a key file of any format (PEM, DER, SEC 1, JWK, XML, an SSH public-key line) into a JWK: the
// private JWK of a private key, the public one of a public key.
//
//   to_jwk FILE
#include <ecckey/ecckey.hpp>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

int main(int argc, char **argv) {
    if (argc != 2)
        return 1;
    std::ifstream in(argv[1], std::ios::binary);
    const std::string file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    auto key = ecckey::PrivateKey::load(file);
    auto jwk = key ? key->save(ecckey::KeyFormat::Jwk) : ecckey::Result<std::string>(key.error());
    if (!key && key.error().code() == ecckey::Errc::InvalidKey) {
        auto pub = ecckey::PublicKey::load(file);
        jwk = pub ? pub->save(ecckey::KeyFormat::Jwk) : ecckey::Result<std::string>(pub.error());
    }
    if (!jwk) {
        std::fprintf(stderr, "%s\n", jwk.error().message().c_str());
        return 1;
    }
    std::fputs(jwk->c_str(), stdout);
    return 0;
}
