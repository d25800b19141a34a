// An ES256 JSON Web Signature (RFC 7515, compact form): the signature is raw r || s over SHA-256.
//
//   jws_es256 sign KEY PAYLOAD       prints header.payload.signature
//   jws_es256 verify KEY TOKEN       prints valid or invalid (exit 0 or 1)
#include <ecckey/ecckey.hpp>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

static std::string readFile(const char *path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

static std::string base64url(ecckey::ByteView in) {
    std::string out;
    unsigned bits = 0, value = 0;
    for (unsigned char byte : in) {
        value = value << 8 | byte;
        for (bits += 8; bits >= 6; bits -= 6)
            out += kAlphabet[(value >> (bits - 6)) & 63];
    }
    if (bits > 0)
        out += kAlphabet[(value << (6 - bits)) & 63];
    return out;
}

static ecckey::Bytes unbase64url(const std::string &in) {
    ecckey::Bytes out;
    unsigned bits = 0, value = 0;
    for (char c : in) {
        const char *at = std::char_traits<char>::find(kAlphabet, 64, c);
        if (at == nullptr)
            return {};
        value = value << 6 | (unsigned)(at - kAlphabet);
        if ((bits += 6) >= 8)
            out.push_back((unsigned char)(value >> (bits -= 8)));
    }
    return out;
}

int main(int argc, char **argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s sign KEY PAYLOAD | verify KEY TOKEN\n", argv[0]);
        return 1;
    }
    const std::string mode = argv[1], key = readFile(argv[2]);
    if (mode == "sign") {
        auto signer = ecckey::PrivateKey::load(key);
        if (!signer || signer->curve() != "secp256r1")
            return 1;
        const std::string input = base64url("{\"alg\":\"ES256\"}") + "." + base64url(argv[3]);
        auto signature = signer->sign(input, ecckey::Hash::Sha256, ecckey::SigFormat::Raw);
        if (!signature)
            return 1;
        std::printf("%s.%s\n", input.c_str(), base64url(*signature).c_str());
        return 0;
    }
    auto verifier = ecckey::PublicKey::load(key);
    const std::string token = argv[3];
    const std::size_t dot = token.rfind('.');
    if (!verifier || verifier->curve() != "secp256r1" || dot == std::string::npos)
        return 1;
    auto valid = verifier->verify(token.substr(0, dot), unbase64url(token.substr(dot + 1)),
                                  ecckey::Hash::Sha256, ecckey::SigFormat::Raw);
    std::printf("%s\n", valid && *valid ? "valid" : "invalid");
    return valid && *valid ? 0 : 1;
}
