// The messages and log-data names that more than one file of the library writes, and that the command
// reads back from the log: one spelling of each, which callers and tests match exactly.
#pragma once

namespace ecckey {

inline constexpr char kMsgMustBePrivateKey[] = "Must be a private key.";
inline constexpr char kMsgNullInputs[] = "null inputs.";
inline constexpr char kMsgSigHalfNegative[] = "R or S is negative";
inline constexpr char kMsgBigIntFailed[] = "Big integer calculations failed.";
inline constexpr char kMsgLoadPointFailed[] = "Failed to load ECC point.";
inline constexpr char kMsgParseKFailed[] = "Failed to parse K";
inline constexpr char kMsgDecodePrimeFailed[] = "Failed to decode curve prime.";
inline constexpr char kMsgDecodeAFailed[] = "Failed to decode curve A.";
inline constexpr char kMsgDecodeOrderFailed[] = "Failed to decode curve order.";
inline constexpr char kMsgCurvesDiffer[] = "ECC curves are different";
// Logged (as info) when explicit parameters in a key match a catalogue curve; `ecckey check` reports it.
inline constexpr char kMsgExplicitParamsMatch[] = "The explicit curve parameters are the catalogue's.";

// Log-data names.
inline constexpr char kDataCurveName[] = "curveName";
inline constexpr char kDataPrivKeyCurve[] = "privKeyCurve";
inline constexpr char kDataPubKeyCurve[] = "pubKeyCurve";
inline constexpr char kDataCurvePrime[] = "curvePrime";
// The verifier's failure code (EccVerify.cpp); the command reads code 1, r or s out of range.
inline constexpr char kDataVerifyError[] = "EccVerifyError";

}  // namespace ecckey
