// What the face's sources share: the keys' insides, the log each call records, and the errors it makes.
// Internal to the library: not installed.
#pragma once

#include <memory>
#include <new>

#include "ecc/EccKey.h"
#include "ecckey/ecckey.hpp"
#include "support/LogBase.h"

namespace ecckey {

class DataBuffer;

struct FaceAccess {
    static PublicKey makePublic(std::unique_ptr<EccKey> key) {
        return PublicKey(std::shared_ptr<const EccKey>(std::move(key)));
    }
    static PrivateKey makePrivate(std::unique_ptr<EccKey> key) { return PrivateKey(std::move(key)); }
    static const EccKey *key(const PublicKey &k) { return k.m_key.get(); }
    static EccKey *key(const PrivateKey &k) { return k.m_key.get(); }
};

// The log of one call. Its options make the writers emit OpenSSL's bytes (the SEC 1 key carries its
// public point, integers have the lengths RFC 5915 and RFC 7518 fix) and the random signers and key
// generation draw uniformly from [1, n - 1]. Not verbose: the log names steps, never key material.
class FaceLog : public LogRecorder {
  public:
    FaceLog();
    Error error(Errc code, const char *message) const { return Error(code, message, toText()); }
};

// A new empty key, or null when memory is short.
inline std::unique_ptr<EccKey> newEccKey() {
    return std::unique_ptr<EccKey>(new (std::nothrow) EccKey());
}

// The library's identifier for a Hash (support/Hash.h's HashAlg).
int hashAlgOf(Hash hash);

// bytes as a DataBuffer, marked sensitive when they may be secret. False when memory is short.
[[nodiscard]] bool toDataBuffer(ByteView bytes, DataBuffer &out);

// Runs body, turning an allocation failure of the C++ runtime into an Internal error: nothing is thrown
// across the face.
template <class T, class Body>
Result<T> guarded(Body body) noexcept {
    try {
        return body();
    } catch (...) {
        return Error(Errc::Internal, "out of memory");
    }
}

// The key behind a PrivateKey or PublicKey; empty after a move.
extern const char kEmptyKey[];

}  // namespace ecckey
