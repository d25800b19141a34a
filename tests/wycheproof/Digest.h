// Message digests by the names Wycheproof files use, through OpenSSL.
#pragma once

#include <string>
#include <vector>

namespace wycheproof {

// Hashes msg with the named digest: "SHA-1", "SHA-224" ... "SHA-512", "SHA-512/224", "SHA-512/256",
// "SHA3-224" ... "SHA3-512", "SHAKE128" (32-byte output) and "SHAKE256" (64-byte output), as ECDSA with
// SHAKE uses them. False for a name OpenSSL does not provide.
bool digestByName(const std::string &name, const std::vector<unsigned char> &msg,
                  std::vector<unsigned char> &out);

}  // namespace wycheproof
