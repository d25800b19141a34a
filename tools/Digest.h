// The hash that `sign` and `verify` work on.
#pragma once

#include <string>

namespace ecckey {
class DataBuffer;
class EccCurve;
}  // namespace ecckey

namespace ecckey_cli {

class ArgList;

// The library's identifier for a --digest name (sha1, sha224, sha256, sha384, sha512, in any case); false
// for any other name.
[[nodiscard]] bool digestByName(const char *name, int &hashAlg);

// The hash from the arguments: the digest (--digest, sha256 by default) of the file named by --in, or the
// bytes of --hash HEX (1 to 64 bytes). Exactly one of --in and --hash must be given, and --digest only
// with --in. False with a message in error.
//
// The hash is then fitted to the curve (ecckey::fitHashToCurve, ecc/EcdsaSig.h).
[[nodiscard]] bool messageHash(const ArgList &args, const ecckey::EccCurve &curve, ecckey::DataBuffer &hash,
                               std::string &error);

// The hash from the arguments as messageHash reads it, not fitted to any curve, with the digest it was
// made with: --digest for --in, and for --hash the digest of its length. RFC 6979 needs both, whole (its
// nonce is drawn from the whole hash; the signer then cuts it). False with a message in error, also for a
// --hash whose length is no digest's.
[[nodiscard]] bool digestedHash(const ArgList &args, ecckey::DataBuffer &hash, int &hashAlg,
                                std::string &error);

}  // namespace ecckey_cli
