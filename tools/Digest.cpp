#include "Digest.h"

#include <strings.h>

#include "ArgList.h"
#include "FileIo.h"
#include "Messages.h"
#include "ecc/EcdsaSig.h"
#include "support/DataBuffer.h"
#include "support/Hash.h"

namespace ecckey_cli {

namespace {

struct DigestName {
    const char *name;
    int hashAlg;
};

const DigestName s_digests[] = {
    {"sha1", ecckey::HASH_SHA1},     {"sha224", ecckey::HASH_SHA224}, {"sha256", ecckey::HASH_SHA256},
    {"sha384", ecckey::HASH_SHA384}, {"sha512", ecckey::HASH_SHA512},
};

// The longest digest the command makes; --hash takes no more either.
const unsigned kMaxHashLen = 64;

// The hash as the arguments give it: a digest of --in, or --hash.
[[nodiscard]] bool readHash(const ArgList &args, ecckey::DataBuffer &hash, std::string &error) {
    const char *in = args.value("--in");
    const char *hex = args.value("--hash");
    if ((in == nullptr) == (hex == nullptr)) {
        error = "give either --in FILE or --hash HEX";
        return false;
    }
    if (hex != nullptr) {
        if (args.has("--digest")) {
            error = "--digest applies to --in only";
            return false;
        }
        if (!hash.appendEncoded(hex, "hex") || hash.isEmpty() || hash.getSize() > kMaxHashLen) {
            error = "--hash takes 1 to 64 bytes in hexadecimal";
            return false;
        }
        return true;
    }
    const char *digestName = args.has("--digest") ? args.value("--digest") : "sha256";
    int hashAlg = 0;
    if (!digestByName(digestName, hashAlg)) {
        error = std::string("unknown digest '") + digestName + "' (sha1, sha224, sha256, sha384, sha512)";
        return false;
    }
    ecckey::DataBuffer message;
    if (!readInput(in, message, error, kMaxInputLen))  // a signed file may be large, unlike a key
        return false;
    if (!ecckey::_tvHash::doHash(message.getData2(), message.getSize(), hashAlg, hash)) {
        error = "cannot hash the input";
        return false;
    }
    return true;
}

}  // namespace

bool digestedHash(const ArgList &args, ecckey::DataBuffer &hash, int &hashAlg, std::string &error) {
    if (!readHash(args, hash, error))
        return false;
    if (args.has("--in"))
        return digestByName(args.has("--digest") ? args.value("--digest") : "sha256", hashAlg);
    for (const DigestName &digest : s_digests) {
        hashAlg = digest.hashAlg;
        if (ecckey::_tvHash::hashLen(hashAlg) == hash.getSize())
            return true;
    }
    error = "--deterministic needs a hash of 20, 28, 32, 48 or 64 bytes";
    return false;
}

bool messageHash(const ArgList &args, const ecckey::EccCurve &curve, ecckey::DataBuffer &hash,
                 std::string &error) {
    if (!readHash(args, hash, error))
        return false;
    if (!ecckey::fitHashToCurve(curve, hash)) {
        error = kOutOfMemory;
        return false;
    }
    return true;
}

bool digestByName(const char *name, int &hashAlg) {
    for (const DigestName &digest : s_digests) {
        if (::strcasecmp(digest.name, name) == 0) {
            hashAlg = digest.hashAlg;
            return true;
        }
    }
    return false;
}

}  // namespace ecckey_cli
