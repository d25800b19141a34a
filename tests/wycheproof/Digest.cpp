#include "wycheproof/Digest.h"

#include <openssl/evp.h>

#include <memory>

namespace wycheproof {

namespace {

struct MdFree {
    void operator()(EVP_MD *md) const { EVP_MD_free(md); }
};
struct MdCtxFree {
    void operator()(EVP_MD_CTX *c) const { EVP_MD_CTX_free(c); }
};

// OpenSSL's name and, for an extendable-output function, the output length ECDSA uses with it.
bool opensslName(const std::string &name, std::string &osslName, size_t &xofLen) {
    xofLen = 0;
    if (name == "SHAKE128") {
        osslName = "SHAKE-128";
        xofLen = 32;
    } else if (name == "SHAKE256") {
        osslName = "SHAKE-256";
        xofLen = 64;
    } else if (name.rfind("SHA-", 0) == 0 || name.rfind("SHA3-", 0) == 0) {
        osslName = name;  // OpenSSL 3 knows "SHA-256", "SHA-512/224", "SHA3-256" under these names
    } else {
        return false;
    }
    return true;
}

}  // namespace

bool digestByName(const std::string &name, const std::vector<unsigned char> &msg,
                  std::vector<unsigned char> &out) {
    std::string osslName;
    size_t xofLen = 0;
    if (!opensslName(name, osslName, xofLen))
        return false;
    std::unique_ptr<EVP_MD, MdFree> md(EVP_MD_fetch(nullptr, osslName.c_str(), nullptr));
    std::unique_ptr<EVP_MD_CTX, MdCtxFree> ctx(EVP_MD_CTX_new());
    if (!md || !ctx)
        return false;
    if (EVP_DigestInit_ex(ctx.get(), md.get(), nullptr) != 1)
        return false;
    if (!msg.empty() && EVP_DigestUpdate(ctx.get(), msg.data(), msg.size()) != 1)
        return false;
    if (xofLen) {
        out.resize(xofLen);
        return EVP_DigestFinalXOF(ctx.get(), out.data(), xofLen) == 1;
    }
    out.resize(EVP_MAX_MD_SIZE);
    unsigned len = 0;
    if (EVP_DigestFinal_ex(ctx.get(), out.data(), &len) != 1)
        return false;
    out.resize(len);
    return true;
}

}  // namespace wycheproof
