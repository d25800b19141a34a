// <ecckey/ecckey.hpp>: elliptic-curve keys as C++ values, with safe defaults.
//
// PrivateKey and PublicKey are values: copied, moved, stored in containers. Every operation that can fail
// returns a Result, which holds either the value or an Error (a code, a one-line message and the library's
// log of the failed call); nothing is thrown. The defaults are the safe ones, with nothing to switch on:
// - nonces are uniform on [1, n - 1] (Nonce::Random) or RFC 6979's (Nonce::Deterministic);
// - every loaded key is checked (point on its curve, not at infinity, 1 <= d < n, Q = d·G);
// - ECDH refuses a peer on another curve or off the curve, and a result at infinity;
// - signature formats are always named: a DER signature never passes for a raw one, nor the reverse;
// - keys are written with OpenSSL's bytes for the same key.
// The classes underneath (EccKey, <ecc/ecckey.h>) stay available for callers who need their exact
// behaviour; this header does not include them.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "support/Invariant.h"

namespace ecckey {

class EccKey;

using Bytes = std::vector<unsigned char>;

// A read-only view of bytes owned by someone else, made implicitly from text or bytes.
class ByteView {
  public:
    constexpr ByteView() noexcept = default;
    ByteView(const char *text) noexcept : ByteView(std::string_view(text == nullptr ? "" : text)) {}
    ByteView(std::string_view text) noexcept
        : m_data(reinterpret_cast<const unsigned char *>(text.data())), m_size(text.size()) {}
    ByteView(const std::string &text) noexcept : ByteView(std::string_view(text)) {}
    ByteView(const Bytes &bytes) noexcept : m_data(bytes.data()), m_size(bytes.size()) {}
    ByteView(const void *data, std::size_t size) noexcept
        : m_data(static_cast<const unsigned char *>(data)), m_size(data == nullptr ? 0 : size) {}

    const unsigned char *data() const noexcept { return m_data; }
    std::size_t size() const noexcept { return m_size; }
    bool empty() const noexcept { return m_size == 0; }
    const unsigned char *begin() const noexcept { return m_data; }
    const unsigned char *end() const noexcept { return m_data + m_size; }

  private:
    const unsigned char *m_data = nullptr;
    std::size_t m_size = 0;
};

enum class Errc {
    InvalidInput,     // the input cannot be parsed (a key file, a point, a curve name's format)
    InvalidKey,       // parsed, but fails a check: off the curve, at infinity, d out of range, wrong curve
    NeedPassphrase,   // an encrypted key and no passphrase
    WrongPassphrase,  // the passphrase does not decrypt the key
    Unsupported,      // a combination that cannot be (P-192 in an SSH line, a 17-byte digest for RFC 6979)
    Internal          // memory ran out, or the random source failed
};

// Why an operation failed. message() is one line in plain words that names no input content and no
// secret; log() is what the library logged during the call (its reasons, step by step).
class Error {
  public:
    Error(Errc code, std::string message, std::string log = {})
        : m_code(code), m_message(std::move(message)), m_log(std::move(log)) {}
    Errc code() const noexcept { return m_code; }
    const std::string &message() const noexcept { return m_message; }
    const std::string &log() const noexcept { return m_log; }

  private:
    Errc m_code;
    std::string m_message;
    std::string m_log;
};

// A value of T, or the Error that stopped it. value(), * and -> on an error are contract violations: they
// stop the program (ECCKEY_INVARIANT's report and abort, in every build), so test ok() first.
template <class T>
class [[nodiscard]] Result {
  public:
    Result(T value) : m_state(std::in_place_index<0>, std::move(value)) {}
    Result(Error error) : m_state(std::in_place_index<1>, std::move(error)) {}

    bool ok() const noexcept { return m_state.index() == 0; }
    explicit operator bool() const noexcept { return ok(); }

    T &value() {
        require(ok());
        return *std::get_if<0>(&m_state);
    }
    const T &value() const {
        require(ok());
        return *std::get_if<0>(&m_state);
    }
    T &operator*() { return value(); }
    const T &operator*() const { return value(); }
    T *operator->() { return &value(); }
    const T *operator->() const { return &value(); }

    // The error; on a value, a contract violation as value() is on an error.
    const Error &error() const {
        require(!ok());
        return *std::get_if<1>(&m_state);
    }

  private:
    static void require(bool holds) {
        ECCKEY_INVARIANT(holds);
        if (!holds)
            invariantFailed("Result accessed for what it does not hold", __FILE__, __LINE__);
    }
    std::variant<T, Error> m_state;
};

enum class Hash { Sha1, Sha224, Sha256, Sha384, Sha512 };
// Der: ECDSA-Sig-Value. Raw: r || s, each the curve's byte length (JOSE, WebCrypto, PKCS #11). Ssh:
// mpint r || mpint s, the inside of an SSH signature blob.
enum class SigFormat { Der, Raw, Ssh };
// Random: uniform on [1, n - 1] from the system's source. Deterministic: RFC 6979 with the message's hash
// (for signDigest, the hash whose length the digest has).
enum class Nonce { Random, Deterministic };
// One value per key format: Pem/Der are PKCS #8 for a private key and SubjectPublicKeyInfo for a public
// one; Sec1Pem/Sec1Der private only; SpkiExplicit, XmlDsig and Ssh public only; OpenSsh and Ppk private
// only; Jwk, Xml and RawHex ("curve:", "private:", "public:" lines) both.
enum class KeyFormat {
    Pem,
    Sec1Pem,
    Der,
    Sec1Der,
    SpkiExplicit,
    Jwk,
    Xml,
    XmlDsig,
    Ssh,
    OpenSsh,
    Ppk,
    RawHex
};

// The catalogue names of the thirteen curves, in catalogue order ("secp256r1", ..., "brainpoolp512r1").
std::vector<std::string> curveNames();

class PublicKey {
  public:
    // A key file in any format, public or private (only the public half is kept). Checked: refuses a point
    // off its curve or at infinity (InvalidKey). InvalidInput for what does not parse, NeedPassphrase for
    // an encrypted private key.
    static Result<PublicKey> load(ByteView file);
    // An X9.63 point (04 || X || Y, or compressed 02/03 || X) on the curve named by any catalogue name,
    // alias or OID. Checked as load checks.
    static Result<PublicKey> fromPoint(std::string_view curve, ByteView x963);

    std::string curve() const;                   // the catalogue name, "secp256r1" for P-256
    Bytes point(bool compressed = false) const;  // X9.63
    // true: valid; false: invalid, or not a signature in the named format. An error only when the check
    // could not run (memory, an unknown hash).
    Result<bool> verify(ByteView message, ByteView signature, Hash hash, SigFormat format) const;
    Result<bool> verifyDigest(ByteView digest, ByteView signature, SigFormat format) const;
    // The key in a public format (Unsupported for a private-only one, or an SSH line for a curve OpenSSH
    // does not name).
    Result<std::string> save(KeyFormat format) const;
    // As `ssh-keygen -l` prints it: "SHA256:" and the unpadded base64 of the SHA-256 of the SSH public-key
    // blob. Unsupported for another hash, and for a curve OpenSSH has no name for.
    Result<std::string> fingerprint(Hash hash = Hash::Sha256) const;

    // The key underneath, for the classes' own operations.
    const EccKey &eccKey() const;

  private:
    explicit PublicKey(std::shared_ptr<const EccKey> key) : m_key(std::move(key)) {}
    std::shared_ptr<const EccKey> m_key;
    friend class PrivateKey;
    friend struct FaceAccess;
};

// A private key. Copying duplicates the secret; the scalar is wiped when the key is destroyed, and a key
// moved from holds nothing (every operation on it fails with InvalidKey).
class PrivateKey {
  public:
    ~PrivateKey();
    PrivateKey(const PrivateKey &other);
    PrivateKey(PrivateKey &&other) noexcept;
    PrivateKey &operator=(const PrivateKey &other);
    PrivateKey &operator=(PrivateKey &&other) noexcept;

    // A new key with d uniform on [1, n - 1]. Unsupported for a name the catalogue does not know.
    static Result<PrivateKey> generate(std::string_view curve);
    // A private key file in any format, checked (1 <= d < n, Q = d·G, Q on the curve). NeedPassphrase or
    // WrongPassphrase for an encrypted one; InvalidKey for a public key.
    static Result<PrivateKey> load(ByteView file, std::string_view passphrase = {});

    PublicKey publicKey() const;
    std::string curve() const;
    // ECDSA over the hash of message. signDigest takes the hash itself: cut to the order's length when
    // longer, as ECDSA cuts it; on secp256k1 a shorter one is left-padded with zeros.
    Result<Bytes> sign(ByteView message, Hash hash, SigFormat format, Nonce nonce = Nonce::Random) const;
    Result<Bytes> signDigest(ByteView digest, SigFormat format, Nonce nonce = Nonce::Random) const;
    // ECDH: the x-coordinate of d·Q, the curve's byte length. Refuses a peer on another curve or off the
    // curve, and a result at infinity (InvalidKey). The secret is the caller's to wipe when done with it.
    Result<Bytes> agree(const PublicKey &peer) const;
    // The key in a private format; a passphrase encrypts Pem, Der, OpenSsh and Ppk. Unsupported for
    // a public-only format. The text holds the secret: the caller's to wipe when done with it.
    Result<std::string> save(KeyFormat format, std::string_view passphrase = {}) const;

    // The key underneath, for the classes' own operations.
    const EccKey &eccKey() const;

  private:
    explicit PrivateKey(std::unique_ptr<EccKey> key);
    std::unique_ptr<EccKey> m_key;
    friend struct FaceAccess;
};

}  // namespace ecckey
