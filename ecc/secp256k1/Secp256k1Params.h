// secp256k1's domain parameters (SEC 2) as 64 upper-case hex digits, most significant first: the curve
// catalogue stores these strings as the record's text, and the engine parses the same strings into its
// constants at compile time (Secp256k1Constants.cpp). a = 0.
#pragma once

namespace ecckey {

inline constexpr char kSecp256k1P[] = "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEFFFFFC2F";
inline constexpr char kSecp256k1B[] = "0000000000000000000000000000000000000000000000000000000000000007";
inline constexpr char kSecp256k1N[] = "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEBAAEDCE6AF48A03BBFD25E8CD0364141";
inline constexpr char kSecp256k1Gx[] = "79BE667EF9DCBBAC55A06295CE870B07029BFCDB2DCE28D959F2815B16F81798";
inline constexpr char kSecp256k1Gy[] = "483ADA7726A3C4655DA4FBFC0E1108A8FD17B448A68554199C47D08FFB10D4B8";

}  // namespace ecckey
