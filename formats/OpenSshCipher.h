// The ciphers ssh-keygen offers for the private section of an OpenSSH private key, through libcrypto:
// aes128/192/256 in CTR and CBC mode, aes128/256-gcm@openssh.com and chacha20-poly1305@openssh.com. Key
// and IV come from bcrypt-pbkdf, in that order; the AEAD ciphers append a 16-byte tag after the section.
#pragma once

#include <cstdint>

namespace ecckey {
class DataBuffer;
}

namespace ecckey::formats {

struct OpenSshCipher {
    const char *name;
    unsigned keyLen;
    unsigned ivLen;
    unsigned blockLen;  // the section is padded to a multiple of this
    unsigned tagLen;    // 0, or the length of the tag after the section
};

// The cipher named name, or null for one this reader does not know ("none" is not a cipher here).
const OpenSshCipher *openSshCipherByName(const char *name);

// The cipher the library writes: aes256-ctr, ssh-keygen's default.
const OpenSshCipher &defaultOpenSshCipher();

// Decrypts section in place with keyIv (keyLen + ivLen bytes), after checking tag (tagLen bytes) for an
// AEAD cipher. False when the section is not a whole number of blocks, the tag does not match (a wrong
// passphrase, or a damaged file), or libcrypto fails; section is then cleared.
[[nodiscard]] bool openSshDecrypt(const OpenSshCipher &cipher, const std::uint8_t *keyIv, DataBuffer &section,
                                  const std::uint8_t *tag);

// Encrypts section in place and appends the tag of an AEAD cipher to tag. False when libcrypto fails.
[[nodiscard]] bool openSshEncrypt(const OpenSshCipher &cipher, const std::uint8_t *keyIv, DataBuffer &section,
                                  DataBuffer &tag);

}  // namespace ecckey::formats
