// The messages both DER decoders (Asn1.cpp's tree, AsnItem.cpp's item list) log when an input is refused:
// one spelling of each, which callers and tests match exactly.
#pragma once

namespace ecckey {

inline constexpr char kMsgDerTooDeep[] = "ASN.1 nesting exceeds the depth limit.";
inline constexpr char kMsgDerTruncated[] = "Invalid or truncated DER element.";
inline constexpr char kMsgDerBadContent[] = "Invalid DER content for its ASN.1 type.";
inline constexpr char kMsgDerOutOfMemory[] = "Out of memory decoding ASN.1.";
inline constexpr char kMsgDerNoInput[] = "No DER input to decode.";

}  // namespace ecckey
