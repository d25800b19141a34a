// ECDSA private keys in SSH's wire layout: the OpenSSH private-key file ("openssh-key-v1", the PEM label
// "OPENSSH PRIVATE KEY" that `ssh-keygen` writes by default), unencrypted or under a passphrase, and the
// pieces PuTTY's files share with it.
#pragma once

#include <string>

#include "KeyDecoder.h"

namespace ecckey {
class DataBuffer;
class EccKey;
class LogBase;
class StringBuffer;
}  // namespace ecckey

namespace ecckey::formats {

// Loads a private key from its SSH parts: the curve identifier ("nistp256", ...; "nistk256" is
// secp256k1), the X9.63 point and the content of the mpint d. d is loaded as a scalar of the named curve
// whatever its length, and must give the point. False with a message in error (the library's reasons in log).
[[nodiscard]] bool loadSshPrivateParts(const StringBuffer &curveId, const DataBuffer &point,
                                       const DataBuffer &dMpint, EccKey &key, LogBase &log,
                                       std::string &error);

// Appends d as the content of an SSH mpint (minimal bytes, a 0x00 first when the top bit is set), read
// from its digits so that no temporary copy of it is left behind.
[[nodiscard]] bool appendSecretMpint(const EccKey &key, DataBuffer &out);

// Loads the key of an "openssh-key-v1" blob (the decoded PEM body) holding one ECDSA key. An encrypted one
// (bcrypt-pbkdf, a cipher of OpenSshCipher.h) asks passphrase; more bcrypt rounds than kMaxBcryptRounds are
// refused before any work. The public key beside the private one must be the same key. Sets
// result.comment, .encrypted and .cipher. False with a message in error: for an encrypted key
// "OpenSSH private key, CIPHER: " and the reason ("wrong passphrase", ...).
[[nodiscard]] bool loadOpenSshPrivateKey(const DataBuffer &blob, const PassphraseCallback &passphrase,
                                         EccKey &key, DecodedKey &result, LogBase &log, std::string &error);

// The most bcrypt-pbkdf rounds a file may ask for: four times ssh-keygen's 16, about a second of work.
inline constexpr unsigned kMaxBcryptRounds = 64;
// The rounds the library writes, as ssh-keygen does by default.
inline constexpr unsigned kDefaultBcryptRounds = 16;

// Appends the "OPENSSH PRIVATE KEY" PEM text of the private key with the comment given; encrypted with
// aes256-ctr and bcrypt-pbkdf (16 rounds, a random 16-byte salt) when passphrase is given and not empty.
// With no passphrase and an empty comment `ssh-keygen -y` prints the line the Ssh format writes. False
// when the library, the random source or libcrypto fails.
[[nodiscard]] bool writeOpenSshPrivateKey(EccKey &key, const StringBuffer *passphrase,
                                          const std::string &comment, DataBuffer &out, LogBase &log);

}  // namespace ecckey::formats
