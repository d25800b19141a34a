// ECDSA private keys in SSH's wire layout: the OpenSSH private-key file ("openssh-key-v1", the PEM label
// "OPENSSH PRIVATE KEY" that `ssh-keygen` writes by default), and the pieces PuTTY's files share with it.
#pragma once

#include <string>

namespace ecckey {
class DataBuffer;
class EccKey;
class LogBase;
class StringBuffer;
}  // namespace ecckey

namespace ecckey_cli {

// Loads a private key from its SSH parts: the curve identifier ("nistp256", ...; "nistk256" is
// secp256k1), the X9.63 point and the content of the mpint d. False with a message in error (the
// library's reasons in log).
[[nodiscard]] bool loadSshPrivateParts(const ecckey::StringBuffer &curveId, const ecckey::DataBuffer &point,
                                       const ecckey::DataBuffer &dMpint, ecckey::EccKey &key,
                                       ecckey::LogBase &log, std::string &error);

// Appends d as the content of an SSH mpint (minimal bytes, a 0x00 first when the top bit is set), read
// from its digits so that no temporary copy of it is left behind.
[[nodiscard]] bool appendSecretMpint(const ecckey::EccKey &key, ecckey::DataBuffer &out);

// Loads the key of an unencrypted "openssh-key-v1" blob (the decoded PEM body) holding one ECDSA key.
// An encrypted one is refused with a message naming the ssh-keygen call that makes it readable. The
// public key beside the private one must be the same key. False with a message in error.
[[nodiscard]] bool loadOpenSshPrivateKey(const ecckey::DataBuffer &blob, ecckey::EccKey &key,
                                         ecckey::LogBase &log, std::string &error);

// Appends the "OPENSSH PRIVATE KEY" PEM text of the private key, unencrypted, with an empty comment (so
// `ssh-keygen -y` prints the line `--format ssh` writes). False when the library or the random source
// fails.
[[nodiscard]] bool writeOpenSshPrivateKey(ecckey::EccKey &key, ecckey::DataBuffer &out, ecckey::LogBase &log);

}  // namespace ecckey_cli
