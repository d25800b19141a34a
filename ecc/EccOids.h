// The object identifiers of the key formats, in dotted decimal: one spelling of each for the curve
// catalogue, the ASN.1 reader and writer, and the SSH, JWK and raw-key mappings.
#pragma once

namespace ecckey {

// id-ecPublicKey (RFC 5480): the algorithm of an EC key in SubjectPublicKeyInfo and PKCS #8.
inline constexpr char kOidEcPublicKey[] = "1.2.840.10045.2.1";

// The thirteen named curves.
inline constexpr char kOidSecp192r1[] = "1.2.840.10045.3.1.1";
inline constexpr char kOidSecp224r1[] = "1.3.132.0.33";
inline constexpr char kOidSecp256r1[] = "1.2.840.10045.3.1.7";
inline constexpr char kOidSecp384r1[] = "1.3.132.0.34";
inline constexpr char kOidSecp521r1[] = "1.3.132.0.35";
inline constexpr char kOidSecp256k1[] = "1.3.132.0.10";
inline constexpr char kOidBrainpoolP160r1[] = "1.3.36.3.3.2.8.1.1.1";
inline constexpr char kOidBrainpoolP192r1[] = "1.3.36.3.3.2.8.1.1.3";
inline constexpr char kOidBrainpoolP224r1[] = "1.3.36.3.3.2.8.1.1.5";
inline constexpr char kOidBrainpoolP256r1[] = "1.3.36.3.3.2.8.1.1.7";
inline constexpr char kOidBrainpoolP320r1[] = "1.3.36.3.3.2.8.1.1.9";
inline constexpr char kOidBrainpoolP384r1[] = "1.3.36.3.3.2.8.1.1.11";
inline constexpr char kOidBrainpoolP512r1[] = "1.3.36.3.3.2.8.1.1.13";

}  // namespace ecckey
