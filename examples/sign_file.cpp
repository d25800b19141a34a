// Loads a PEM private key, signs the SHA-256 digest of a file, and verifies the signature.
//
//   sign_file key.pem file
//
// Prints the DER signature in hexadecimal and "valid" or "invalid"; exits non-zero on any error.
#include <ecc/ecckey.h>
#include <support/Hash.h>
#include <support/PublicKey.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

static bool readFile(const char *path, std::string &out) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    out.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return true;
}

int main(int argc, char **argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s KEY.pem FILE\n", argv[0]);
        return 2;
    }
    std::string pem, content;
    if (!readFile(argv[1], pem) || !readFile(argv[2], content)) {
        std::fprintf(stderr, "cannot read input\n");
        return 2;
    }

    ecckey::LogRecorder log;
    ecckey::StringBuffer label;
    ecckey::DataBuffer der;
    ecckey::EccKey key;
    if (!ecckey::_tvPublicKey::pemToDer(pem.c_str(), label, der, log) || !key.loadEccDer(der, log)) {
        std::fprintf(stderr, "%s", log.errorText().c_str());
        return 2;
    }

    ecckey::DataBuffer digest;
    if (!ecckey::_tvHash::doHash(content.data(), (unsigned)content.size(), ecckey::HASH_SHA256, digest)) {
        std::fprintf(stderr, "SHA-256 of the file failed\n");
        return 2;
    }

    ecckey::SystemPrng prng;
    ecckey::DataBuffer sig;
    if (!key.eccSignHash(digest.getData2(), digest.getSize(), prng, true, sig, log)) {
        std::fprintf(stderr, "%s", log.errorText().c_str());
        return 2;
    }
    ecckey::StringBuffer hex;
    if (!sig.encodeDB("hex", hex))
        return 2;
    std::printf("%s\n", hex.getString());

    bool valid = false;
    if (!key.eccVerifyHash(sig.getData2(), sig.getSize(), false, digest.getData2(), digest.getSize(), valid,
                           log, 0)) {
        std::fprintf(stderr, "%s", log.errorText().c_str());
        return 2;
    }
    std::printf("%s\n", valid ? "valid" : "invalid");
    return valid ? 0 : 1;
}
