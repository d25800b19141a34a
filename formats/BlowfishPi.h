// Blowfish's initial state: P-array then S-boxes, the hexadecimal digits of pi's fraction in order.
// libcrypto keeps its copy private and offers only BF_set_key, which restarts from it; bcrypt's key
// schedule needs to start from it and then expand repeatedly (BcryptPbkdf.cpp).
#pragma once

#include <cstdint>

namespace ecckey::formats {

inline constexpr unsigned kBlowfishPiWords = 18 + 4 * 256;
extern const std::uint32_t kBlowfishPi[kBlowfishPiWords];

}  // namespace ecckey::formats
