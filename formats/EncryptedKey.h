// Password-encrypted private keys, through libcrypto: PKCS #8 EncryptedPrivateKeyInfo ("ENCRYPTED PRIVATE
// KEY", or its DER) and the SEC 1 PEM block whose headers say "Proc-Type: 4,ENCRYPTED", as `openssl ec
// -aes256` writes it. Decrypted DER goes to sensitive buffers, and libcrypto's own copies are cleared
// before they are freed. No message quotes the passphrase or the key.
#pragma once

#include <string>

namespace ecckey {
class DataBuffer;
class StringBuffer;
}  // namespace ecckey

namespace ecckey::formats {

// True when der is an EncryptedPrivateKeyInfo: SEQUENCE { AlgorithmIdentifier, OCTET STRING }.
[[nodiscard]] bool isEncryptedPkcs8(const DataBuffer &der);

// How an EncryptedPrivateKeyInfo is encrypted, for people: "PBES2, AES-256-CBC" or a PKCS #5 or #12
// scheme's short name; empty when der is not one.
std::string pkcs8CipherName(const DataBuffer &der);

// The cipher a "Proc-Type: 4,ENCRYPTED" block's DEK-Info header names ("AES-256-CBC"), or empty.
std::string pemCipherName(const char *pemBlock);

// Decrypts an EncryptedPrivateKeyInfo in any scheme libcrypto reads (PBES2 with PBKDF2 or scrypt, the
// PKCS #5 and PKCS #12 schemes) and appends the PrivateKeyInfo DER to plainDer. False with a message in
// error for a wrong passphrase or an unknown scheme, and, before any derivation, for more than 1,000,000
// iterations or a scrypt N * r * p above 2^20 (a file cannot make the command work for minutes).
[[nodiscard]] bool decryptPkcs8(const DataBuffer &der, const StringBuffer &passphrase, DataBuffer &plainDer,
                                std::string &error);

// PBKDF2 iterations written by default (OWASP's figure for PBKDF2-HMAC-SHA256), and the most a file may
// ask for when read: above it, and above openssl's default of 2048.
const unsigned long kDefaultIterations = 600000;
const unsigned long kMaxIterations = 1000000;

// Encrypts PrivateKeyInfo DER as `openssl pkcs8 -topk8 -v2 aes-256-cbc -iter N` does: PBES2, PBKDF2 with
// HMAC-SHA256 (iterations, random salt), AES-256-CBC with a random IV. Appends the
// EncryptedPrivateKeyInfo DER to der. False with a message in error.
[[nodiscard]] bool encryptPkcs8(const DataBuffer &plainDer, const StringBuffer &passphrase, DataBuffer &der,
                                std::string &error, unsigned long iterations = kDefaultIterations);

// True when the PEM block starting at pemBlock ("-----BEGIN ...") carries "Proc-Type: 4,ENCRYPTED".
[[nodiscard]] bool isEncryptedPemBlock(const char *pemBlock);

// Decrypts the first PEM block of pemBlock with the cipher and IV its DEK-Info header names (key from the
// passphrase as OpenSSL derives it) and appends the DER to der. False with a message in error.
[[nodiscard]] bool decryptPemBlock(const char *pemBlock, const StringBuffer &passphrase, DataBuffer &der,
                                   std::string &error);

}  // namespace ecckey::formats
