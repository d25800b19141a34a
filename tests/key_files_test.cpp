// The key-file library against the tools that define the formats: every file of tests/data/keys/ (made by
// openssl, ssh-keygen and puttygen; scripts/make-key-corpus.sh) gives the point openssl reads from it, or
// the error its row names; what the writers write, those tools read back; bcrypt-pbkdf gives the
// published vectors.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>

#include "formats/BcryptPbkdf.h"
#include "formats/KeyDecoder.h"
#include "formats/KeyEncoder.h"
#include "formats/SshPrivateKey.h"
#include "support/Oracle.h"

namespace {

using ecckey::DataBuffer;
using ecckey::EccKey;
using ecckey::StringBuffer;
namespace fmt = ecckey::formats;

const std::string kCorpus = ECCKEY_KEY_CORPUS_DIR;

std::string readBytes(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// Decodes bytes with passphrase ("-": no callback); the point in hexadecimal, or "error: " and why.
std::string decodedPoint(const std::string &bytes, const std::string &passphrase, fmt::DecodedKey &what) {
    DataBuffer content, point;
    EXPECT_TRUE(content.append(bytes.data(), (unsigned)bytes.size()));
    const fmt::PassphraseCallback ask = [&](StringBuffer &secret, std::string &) {
        return secret.append(passphrase.c_str());
    };
    EccKey key;
    ecckey::LogNull log;
    StringBuffer hex;
    if (!fmt::decodeKey(content, passphrase == "-" ? nullptr : ask, {}, key, what, log))
        return "error: " + what.error;
    EXPECT_TRUE(key.exportEccPoint(point, log) &&
                DataBuffer::toHexString2(point.getData2(), point.getSize(), false, hex));
    return hex.getString();
}

// Runs a shell command; its standard output.
std::string run(const std::string &command) {
    std::string out;
    FILE *pipe = popen(command.c_str(), "r");
    for (int c; pipe != nullptr && (c = std::fgetc(pipe)) != EOF;)
        out += (char)c;
    EXPECT_TRUE(pipe != nullptr && pclose(pipe) == 0) << command;
    return out;
}

}  // namespace

TEST(KeyFiles, EveryCorpusFileGivesItsPointOrItsError) {
    std::istringstream table(readBytes(kCorpus + "/corpus.tsv"));
    int rows = 0;
    for (std::string line; std::getline(table, line); ++rows) {
        const size_t tab1 = line.find('\t'), tab2 = line.find('\t', tab1 + 1);
        const std::string file = line.substr(0, tab1), expected = line.substr(tab2 + 1);
        fmt::DecodedKey what;
        EXPECT_EQ(decodedPoint(readBytes(kCorpus + "/" + file), line.substr(tab1 + 1, tab2 - tab1 - 1), what),
                  expected)
            << file;
        EXPECT_EQ(what.encrypted, file.find("pass") != std::string::npos ||
                                      file.find("aes") != std::string::npos ||
                                      file.find("chacha") != std::string::npos)
            << file;
    }
    EXPECT_GE(rows, 80);
}

// Hostile files: one past the size ceiling, and one asking for more bcrypt rounds than are run, are refused
// at once (a generous bound: the ceiling's own work is about half a second).
TEST(KeyFiles, HostileFilesAreRefusedBeforeTheWork) {
    fmt::DecodedKey what;
    EXPECT_EQ(decodedPoint(std::string(fmt::kMaxKeyFileBytes + 1, 'a'), "-", what),
              "error: the key file is larger than 1048576 bytes");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_NE(decodedPoint(readBytes(kCorpus + "/p256-aes256ctr-rounds100.openssh"), "pass phrase", what)
                  .find("more than 64 bcrypt rounds"),
              std::string::npos);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
}

TEST(KeyFiles, WhatTheWritersWriteTheToolsRead) {
    const std::string dir = testing::TempDir();
    for (const char *curve : {"P-256", "P-384", "P-521"}) {
        EccKey key;
        ecckey::LogNull log;
        ecckey_test::TestPrng prng(7);
        ASSERT_TRUE(key.generateNewKey(StringBuffer(curve), prng, log));
        DataBuffer out, line;
        std::string error;
        const StringBuffer pass("pass phrase");
        fmt::EncodeOptions options;
        options.passphrase = &pass;
        options.comment = "me@host";
        fmt::EncodeOptions lineOptions;
        lineOptions.comment = options.comment;
        ASSERT_TRUE(fmt::encodeKey(key, fmt::KeyFormat::Ssh, false, lineOptions, line, log, error)) << error;
        const std::string sshLine(reinterpret_cast<const char *>(line.getData2()), line.getSize());
        const std::string path = dir + "/written";
        const auto writeAndCheck = [&](fmt::KeyFormat format, const std::string &reader,
                                       const std::string &want) {
            ASSERT_TRUE(fmt::encodeKey(key, format, true, options, out, log, error)) << error;
            std::ofstream(path, std::ios::binary)
                .write(reinterpret_cast<const char *>(out.getData2()), out.getSize());
            EXPECT_EQ(run(reader + " 2>/dev/null"), want) << curve << " " << fmt::formatName(format);
            fmt::DecodedKey what;
            EXPECT_EQ(
                decodedPoint(std::string(out.getData2(), out.getData2() + out.getSize()), "pass phrase",
                             what),
                decodedPoint(std::string(line.getData2(), line.getData2() + line.getSize()), "-", what));
        };
        std::remove(path.c_str());
        writeAndCheck(fmt::KeyFormat::OpenSsh,
                      "chmod 600 " + path + " && ssh-keygen -y -P 'pass phrase' -f " + path, sshLine);
        for (int version : {2, 3}) {
            options.ppkVersion = version;
            writeAndCheck(fmt::KeyFormat::Ppk,
                          "echo 'pass phrase' >" + path + ".pw && puttygen -L " + path +
                              " --old-passphrase " + path + ".pw",
                          sshLine);
        }
        options.comment.clear();
        const std::string spki = "openssl pkey -pubout -outform DER -passin 'pass:pass phrase' -in ";
        writeAndCheck(fmt::KeyFormat::Pem, spki + path + " | tail -c 20 | od -An -tx1",
                      run("echo '" + sshLine + "' >" + path + ".pub && ssh-keygen -e -m PKCS8 -f " + path +
                          ".pub | openssl pkey -pubin "
                          "-outform DER | tail -c 20 | od -An -tx1"));
        options.passphrase = nullptr;
        options.compressedPoint = true;
        ASSERT_TRUE(fmt::encodeKey(key, fmt::KeyFormat::Der, false, options, out, log, error)) << error;
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char *>(out.getData2()), out.getSize());
        EXPECT_EQ(run("openssl pkey -pubin -inform DER -in " + path +
                      " -pubout -ec_conv_form compressed -outform DER |"
                      " od -An -tx1"),
                  run("od -An -tx1 " + path));
    }
}

TEST(KeyFiles, BcryptPbkdfGivesThePublishedVectors) {
    struct Vector {
        std::string passphrase, salt;
        unsigned rounds;
        std::string key;
    };
    const Vector vectors[] = {
        {"password", "salt", 4, "5bbf0cc293587f1c3635555c27796598d47e579071bf427e9d8fbe842aba34d9"},
        {"password", std::string(1, '\0'), 4, "c12b566235eee04c212598970a579a67"},
        {std::string(1, '\0'), "salt", 4, "6051be18c2f4f82cbf0efee5471b4bb9"},
        {std::string("password\0", 9), std::string("salt\0", 5), 4,
         "7410e44cf4fa07bfaac8a928b1727fac001375e7bf7384370f48efd121743050"},
    };
    for (const Vector &v : vectors) {
        unsigned char key[64];
        ASSERT_TRUE(fmt::bcryptPbkdf(v.passphrase.data(), v.passphrase.size(),
                                     reinterpret_cast<const unsigned char *>(v.salt.data()), v.salt.size(),
                                     v.rounds, key, v.key.size() / 2));
        StringBuffer hex;
        ASSERT_TRUE(DataBuffer::toHexString2(key, (unsigned)v.key.size() / 2, false, hex));
        EXPECT_EQ(hex.getString(), v.key);
    }
}

// d as an SSH mpint: leading zero bytes dropped, one 0x00 before a set top bit, as ssh-keygen writes.
TEST(KeyFiles, SecretMpintIsMinimal) {
    const std::string top = "80" + std::string(62, '0');
    const std::pair<std::string, std::string> rows[] = {
        {"7f", "7f"}, {"80", "0080"}, {"0100", "0100"}, {"00ff01", "00ff01"}, {top, "00" + top}};
    for (const auto &[d, want] : rows) {
        EccKey key;
        ecckey::LogNull log;
        DataBuffer mpint;
        StringBuffer hex;
        ASSERT_TRUE(key.generateNewKey2(StringBuffer("secp256r1"), d.c_str(), "hex", log) &&
                    fmt::appendSecretMpint(key, mpint) &&
                    DataBuffer::toHexString2(mpint.getData2(), mpint.getSize(), false, hex));
        EXPECT_EQ(hex.getString(), want) << d;
    }
}
