// SSH signatures of files, as `ssh-keygen -Y sign` writes and `-Y verify` / `-Y check-novalidate` check
// them (OpenSSH PROTOCOL.sshsig), with ECDSA keys on P-256, P-384 and P-521:
//   "-----BEGIN SSH SIGNATURE-----", base64 of
//   "SSHSIG" || uint32 1 || string public key blob || string namespace || string "" (reserved) ||
//   string hash ("sha256" or "sha512") || string (string "ecdsa-sha2-nistpN" || string (mpint r || mpint s)),
//   "-----END SSH SIGNATURE-----".
// The ECDSA signature covers "SSHSIG" || string namespace || string "" || string hash || string H(message),
// hashed with the curve's SSH hash (SHA-256, SHA-384, SHA-512).
#pragma once

namespace ecckey {

class DataBuffer;
class EccKey;
class LogBase;
class StringBuffer;

// Signs message into out (replaced) in the armoured form, base64 lines of 70 characters, each line
// ending in "\n". hashAlg is HASH_SHA256 or HASH_SHA512 (ssh-keygen's default); the nonce is RFC 6979's.
// Refuses, logging why and leaving out empty: a public key, a curve other than the three
// ("SSH signatures take P-256, P-384 or P-521 keys."), an empty namespace, another hash.
[[nodiscard]] bool signSshSig(EccKey &key, const char *nameSpace, int hashAlg, const DataBuffer &message,
                              StringBuffer &out, LogBase &log);

// Checks the armoured signature text over message with key in namespace nameSpace. True when the check
// ran, the verdict in valid. False, valid false, with the reason logged: text that is not the armour, a
// blob that does not parse or carries another magic, version, hash or key type; a public key in it other
// than key ("The SSH signature is by another key."); another namespace ("The SSH signature is for another
// namespace.").
[[nodiscard]] bool verifySshSig(EccKey &key, const char *nameSpace, const DataBuffer &message,
                                const char *text, bool &valid, LogBase &log);

}  // namespace ecckey
