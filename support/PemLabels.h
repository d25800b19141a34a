// The PEM labels the library and the command write and recognise: one spelling of each.
#pragma once

namespace ecckey {

inline constexpr char kPemPublicKey[] = "PUBLIC KEY";                       // SubjectPublicKeyInfo
inline constexpr char kPemPrivateKey[] = "PRIVATE KEY";                     // PKCS #8
inline constexpr char kPemEncryptedPrivateKey[] = "ENCRYPTED PRIVATE KEY";  // PKCS #8, encrypted
inline constexpr char kPemEcPrivateKey[] = "EC PRIVATE KEY";                // SEC 1
inline constexpr char kPemOpensshPrivateKey[] = "OPENSSH PRIVATE KEY";

}  // namespace ecckey
