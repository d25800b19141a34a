// Loads a key file of any format the library reads (an encrypted OpenSSH key, a PuTTY .ppk, PEM, ...)
// and prints its public key as one OpenSSH line, then what the file was.
//
//   load_key_file KEYFILE [PASSPHRASE]
//
// The passphrase is asked for only when the file turns out to be encrypted. Exits non-zero on any error,
// with the library's one-line reason.
#include <ecc/EccKey.h>
#include <formats/KeyDecoder.h>
#include <formats/KeyEncoder.h>
#include <support/DataBuffer.h>
#include <support/LogBase.h>
#include <support/StringBuffer.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

int main(int argc, char **argv) {
    if (argc != 2 && argc != 3) {
        std::fprintf(stderr, "usage: %s KEYFILE [PASSPHRASE]\n", argv[0]);
        return 2;
    }
    std::ifstream in(argv[1], std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    ecckey::DataBuffer content;
    if (!in || !content.append(bytes.data(), (unsigned)bytes.size())) {
        std::fprintf(stderr, "cannot read %s\n", argv[1]);
        return 1;
    }
    const char *given = argc == 3 ? argv[2] : nullptr;
    const ecckey::formats::PassphraseCallback ask = [given](ecckey::StringBuffer &passphrase,
                                                            std::string &why) {
        if (given == nullptr) {
            why = "the key is encrypted: give its passphrase";
            return false;
        }
        return passphrase.append(given);
    };
    ecckey::EccKey key;
    ecckey::formats::DecodedKey what;
    ecckey::LogNull log;
    if (!ecckey::formats::decodeKey(content, ask, {}, key, what, log)) {
        std::fprintf(stderr, "%s\n", what.error.c_str());
        return 1;
    }
    ecckey::DataBuffer line;
    std::string error;
    if (!ecckey::formats::encodeKey(key, ecckey::formats::KeyFormat::Ssh, false, {}, line, log, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    std::fwrite(line.getData2(), 1, line.getSize(), stdout);
    std::printf("format: %s%s%s\n", what.format.c_str(), what.encrypted ? ", encrypted with " : "",
                what.cipher.c_str());
    return 0;
}
