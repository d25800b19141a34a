// bcrypt-pbkdf, the key derivation of passphrase-protected OpenSSH private keys: PBKDF2's structure with
// SHA-512 and bcrypt's expensive Blowfish key schedule (eksblowfish) as the round function, output bytes
// interleaved across blocks so that every byte costs all the rounds.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ecckey::formats {

// Derives keyLen bytes into key from the passphrase and salt with the given number of rounds. False, with
// key left zeroed, when rounds is 0, keyLen is 0 or above 1024, the salt is empty or above 1024 bytes, or
// libcrypto's SHA-512 fails. The caller bounds rounds (KdfLimits.h): each costs about 4 ms per 32 bytes of
// key. Every intermediate value is wiped before return.
[[nodiscard]] bool bcryptPbkdf(const char *passphrase, std::size_t passphraseLen, const std::uint8_t *salt,
                               std::size_t saltLen, unsigned rounds, std::uint8_t *key, std::size_t keyLen);

}  // namespace ecckey::formats
