#include "EncryptedKey.h"

#include <openssl/bio.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>
#include <openssl/x509.h>

#include <cstdint>
#include <cstring>
#include <memory>

#include "support/DataBuffer.h"
#include "support/StringBuffer.h"

namespace ecckey::formats {

namespace {

using ecckey::DataBuffer;
using ecckey::StringBuffer;

template <class T, void (*Free)(T *)>
struct Deleter {
    void operator()(T *p) const { Free(p); }
};
using SigPtr = std::unique_ptr<X509_SIG, Deleter<X509_SIG, X509_SIG_free>>;
using P8Ptr = std::unique_ptr<PKCS8_PRIV_KEY_INFO, Deleter<PKCS8_PRIV_KEY_INFO, PKCS8_PRIV_KEY_INFO_free>>;
using BioPtr = std::unique_ptr<BIO, Deleter<BIO, BIO_free_all>>;

// Memory that libcrypto allocated: cleared (it may hold key bytes) and freed on every path.
struct OpenSslBytes {
    unsigned char *data = nullptr;
    long len = 0;
    ~OpenSslBytes() { OPENSSL_clear_free(data, len > 0 ? (size_t)len : 0); }
};

SigPtr parseEncryptedPkcs8(const DataBuffer &der) {
    const unsigned char *p = der.getData2();
    SigPtr sig(d2i_X509_SIG(nullptr, &p, (long)der.getSize()));
    if (sig && p != der.getData2() + der.getSize())
        sig.reset();
    return sig;
}

// The work a file may ask of the key derivation: above what openssl writes by default (2048 iterations;
// scrypt N = 16384, r = 8, p = 1) and above the 600,000 iterations --passout writes, and still about a
// second on an ordinary machine.
const std::uint64_t kMaxScryptWork = std::uint64_t(1) << 20;  // N * r * p

template <class T>
T *unpack(const ASN1_ITEM *item, const ASN1_TYPE *parameter) {
    return static_cast<T *>(ASN1_TYPE_unpack_sequence(item, parameter));
}

[[nodiscard]] bool readUint64(const ASN1_INTEGER *value, std::uint64_t &out) {
    return value != nullptr && ASN1_INTEGER_get_uint64(&out, value) == 1;
}

// Empty when the derivation the EncryptedPrivateKeyInfo names is within the ceilings (or not one that
// has a cost, which libcrypto then refuses), else why not.
std::string kdfCostRefusal(const X509_SIG *sig) {
    const X509_ALGOR *algorithm = nullptr;
    X509_SIG_get0(sig, &algorithm, nullptr);
    std::uint64_t iterations = 0;
    if (OBJ_obj2nid(algorithm->algorithm) != NID_pbes2) {
        PBEPARAM *pbe = unpack<PBEPARAM>(ASN1_ITEM_rptr(PBEPARAM), algorithm->parameter);
        const bool within =
            pbe == nullptr || (readUint64(pbe->iter, iterations) && iterations <= kMaxIterations);
        PBEPARAM_free(pbe);
        return within ? "" : "the encrypted key asks for more than 1000000 iterations, the most ecckey runs";
    }
    PBE2PARAM *pbe2 = unpack<PBE2PARAM>(ASN1_ITEM_rptr(PBE2PARAM), algorithm->parameter);
    const int kdf = pbe2 != nullptr ? OBJ_obj2nid(pbe2->keyfunc->algorithm) : NID_undef;
    std::string refusal;
    if (kdf == NID_id_pbkdf2) {
        PBKDF2PARAM *pbkdf2 = unpack<PBKDF2PARAM>(ASN1_ITEM_rptr(PBKDF2PARAM), pbe2->keyfunc->parameter);
        if (pbkdf2 != nullptr && (!readUint64(pbkdf2->iter, iterations) || iterations > kMaxIterations))
            refusal = "the encrypted key asks for more than 1000000 PBKDF2 iterations, the most ecckey runs";
        PBKDF2PARAM_free(pbkdf2);
    } else if (kdf == NID_id_scrypt) {
        SCRYPT_PARAMS *scrypt =
            unpack<SCRYPT_PARAMS>(ASN1_ITEM_rptr(SCRYPT_PARAMS), pbe2->keyfunc->parameter);
        std::uint64_t n = 0, r = 0, p = 0;
        // Each factor is bounded first, so that the product cannot overflow.
        if (scrypt != nullptr &&
            (!readUint64(scrypt->costParameter, n) || !readUint64(scrypt->blockSize, r) ||
             !readUint64(scrypt->parallelizationParameter, p) || n > kMaxScryptWork || r > kMaxScryptWork ||
             p > kMaxScryptWork || n * r > kMaxScryptWork || n * r * p > kMaxScryptWork))
            refusal = "the encrypted key asks for scrypt N * r * p above 1048576, the most ecckey runs";
        SCRYPT_PARAMS_free(scrypt);
    }
    PBE2PARAM_free(pbe2);
    return refusal;
}

// Hands the passphrase to PEM_do_header; -1 when it does not fit libcrypto's buffer.
int passphraseCallback(char *buf, int size, int, void *passphrase) {
    const StringBuffer &text = *static_cast<const StringBuffer *>(passphrase);
    const int len = (int)text.getSize();
    if (len > size)
        return -1;
    std::memcpy(buf, text.getString(), (size_t)len);
    return len;
}

}  // namespace

std::string pkcs8CipherName(const DataBuffer &der) {
    SigPtr sig = parseEncryptedPkcs8(der);
    const X509_ALGOR *algorithm = nullptr;
    if (sig)
        X509_SIG_get0(sig.get(), &algorithm, nullptr);
    if (algorithm == nullptr)
        return "";
    const int nid = OBJ_obj2nid(algorithm->algorithm);
    if (nid != NID_pbes2)
        return nid == NID_undef ? "" : OBJ_nid2sn(nid);
    PBE2PARAM *pbe2 =
        static_cast<PBE2PARAM *>(ASN1_TYPE_unpack_sequence(ASN1_ITEM_rptr(PBE2PARAM), algorithm->parameter));
    const int cipherNid = pbe2 != nullptr ? OBJ_obj2nid(pbe2->encryption->algorithm) : NID_undef;
    PBE2PARAM_free(pbe2);
    return cipherNid == NID_undef ? "PBES2" : std::string("PBES2, ") + OBJ_nid2sn(cipherNid);
}

std::string pemCipherName(const char *pemBlock) {
    // The headers follow the BEGIN line, up to the first empty line.
    const char *line = pemBlock + std::strcspn(pemBlock, "\n");
    while (*line == '\n' && line[1] != '\n' && line[1] != '\r' && line[1] != '\0') {
        ++line;
        if (std::strncmp(line, "DEK-Info: ", 10) == 0) {
            const std::size_t len =
                std::strspn(line + 10, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-");
            return len <= 32 ? std::string(line + 10, len) : std::string();
        }
        line += std::strcspn(line, "\n");
    }
    return "";
}

bool isEncryptedPkcs8(const DataBuffer &der) {
    return parseEncryptedPkcs8(der) != nullptr;
}

bool decryptPkcs8(const DataBuffer &der, const StringBuffer &passphrase, DataBuffer &plainDer,
                  std::string &error) {
    SigPtr sig = parseEncryptedPkcs8(der);
    if (sig && !(error = kdfCostRefusal(sig.get())).empty())
        return false;
    P8Ptr p8(sig ? PKCS8_decrypt(sig.get(), passphrase.getString(), (int)passphrase.getSize()) : nullptr);
    OpenSslBytes plain;
    if (p8)
        plain.len = i2d_PKCS8_PRIV_KEY_INFO(p8.get(), &plain.data);
    ERR_clear_error();
    if (plain.len <= 0) {
        error = "cannot decrypt the private key (wrong passphrase, or a scheme libcrypto does not know)";
        return false;
    }
    return plainDer.append(plain.data, (unsigned)plain.len);
}

bool encryptPkcs8(const DataBuffer &plainDer, const StringBuffer &passphrase, DataBuffer &der,
                  std::string &error, unsigned long iterations) {
    const unsigned char *p = plainDer.getData2();
    P8Ptr p8(d2i_PKCS8_PRIV_KEY_INFO(nullptr, &p, (long)plainDer.getSize()));
    X509_ALGOR *pbes2 =
        PKCS5_pbe2_set_iv(EVP_aes_256_cbc(), (int)iterations, nullptr, 0, nullptr, NID_hmacWithSHA256);
    SigPtr sig(p8 && pbes2
                   ? PKCS8_set0_pbe(passphrase.getString(), (int)passphrase.getSize(), p8.get(), pbes2)
                   : nullptr);
    if (!sig)
        X509_ALGOR_free(pbes2);  // PKCS8_set0_pbe owns it only on success
    OpenSslBytes encrypted;
    if (sig)
        encrypted.len = i2d_X509_SIG(sig.get(), &encrypted.data);
    ERR_clear_error();
    if (encrypted.len <= 0) {
        error = "cannot encrypt the private key";
        return false;
    }
    return der.append(encrypted.data, (unsigned)encrypted.len);
}

bool isEncryptedPemBlock(const char *pemBlock) {
    const char *header = pemBlock + std::strcspn(pemBlock, "\r\n");
    header += std::strspn(header, "\r\n");
    return std::strncmp(header, "Proc-Type: 4,ENCRYPTED", 22) == 0;
}

bool decryptPemBlock(const char *pemBlock, const StringBuffer &passphrase, DataBuffer &der,
                     std::string &error) {
    BioPtr bio(BIO_new_mem_buf(pemBlock, -1));
    char *name = nullptr;
    char *header = nullptr;
    OpenSslBytes data;
    EVP_CIPHER_INFO cipher;
    long plainLen = 0;
    const bool read = bio && PEM_read_bio(bio.get(), &name, &header, &data.data, &data.len) == 1;
    plainLen = data.len;
    const bool decrypted = read && PEM_get_EVP_CIPHER_INFO(header, &cipher) == 1 &&
                           PEM_do_header(&cipher, data.data, &plainLen, passphraseCallback,
                                         const_cast<StringBuffer *>(&passphrase)) == 1;
    OPENSSL_free(name);
    OPENSSL_free(header);
    ERR_clear_error();
    if (!decrypted) {
        error = read ? "cannot decrypt the PEM block (wrong passphrase, or a cipher libcrypto does not know)"
                     : "cannot read the encrypted PEM block";
        return false;
    }
    return der.append(data.data, (unsigned)plainLen);
}

}  // namespace ecckey::formats
