// A key's SSH fingerprint as OpenSSH prints it (`ssh-keygen -l`): the key's bits, the digest of its SSH
// public-key blob, the comment and the key type.
#pragma once

#include <string>

namespace ecckey {
class EccKey;
class LogBase;
}  // namespace ecckey

namespace ecckey::formats {

// "BITS SHA256:BASE64 COMMENT (ECDSA)", or with md5 "BITS MD5:aa:bb:..."; BITS is the bit length of the
// curve order (521 for P-521, where calc_fingerprint says 528), the base64 unpadded, and the comment "no
// comment" when empty, as ssh-keygen has them. False with a message in error for a curve the SSH blob
// cannot name (its blob would claim nistp256) or when the digest fails.
[[nodiscard]] bool sshFingerprintLine(EccKey &key, bool md5, const std::string &comment, std::string &line,
                                      LogBase &log, std::string &error);

}  // namespace ecckey::formats
