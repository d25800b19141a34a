// DeterministicNonce: the nonces of deterministic ECDSA (RFC 6979, section 3.2), served as a random source.
//
// An HMAC-DRBG keyed with the private scalar and the message hash yields candidate nonces; only those in
// [1, n - 1] are handed out. The first genRandom gives the first such k of the RFC; every later call first
// takes the RFC's step for a k that was refused (K = HMAC_K(V || 0x00), V = HMAC_K(V)). A signer that
// draws again when r or s comes out zero therefore makes exactly the RFC's signature, and the generic and
// secp256k1 signers take these nonces through the same loops that take random ones.
//
// Everything is done on bytes: K, V, the candidates and the copy of d live in this object, which wipes
// them when it is destroyed. Not copyable.
#pragma once

#include "support/Prng.h"

namespace ecckey {

class DeterministicNonce : public _tvPrng {
  public:
    // hashAlg: the HMAC's hash (support/Hash.h). leastSignificantFirst: each k is handed out in reversed
    // byte order, since the secp256k1 signer reads its nonce bytes that way round.
    DeterministicNonce(int hashAlg, bool leastSignificantFirst);
    ~DeterministicNonce() override;
    DeterministicNonce(const DeterministicNonce &) = delete;
    DeterministicNonce &operator=(const DeterministicNonce &) = delete;

    // Seeds the generator: order is n, big-endian without leading zero bytes; privKey is d in as many
    // bytes; hash is the message digest h1. Logs and returns false when d is not in [1, n - 1] ("The private
    // key is not in [1, n-1].") or the HMAC fails ("Failed to seed the nonce generator.").
    [[nodiscard]] bool seed(const unsigned char *order, unsigned orderLen, const unsigned char *privKey,
                            const unsigned char *hash, unsigned hashLen, LogBase &log);
    // Appends the next k (count bytes, big-endian unless leastSignificantFirst). False, logged, before
    // seed, for another count than n's byte length, or when the HMAC fails.
    [[nodiscard]] bool genRandom(unsigned count, DataBuffer &out, LogBase &log) override;

    static const unsigned kMaxOrderLen = 66;  // P-521
    static const unsigned kMaxHashLen = 64;   // SHA-512

  private:
    [[nodiscard]] bool mac(const unsigned char *data, unsigned len, unsigned char *out) const;
    [[nodiscard]] bool rekey(unsigned char separator, const unsigned char *privKey, const unsigned char *h);
    [[nodiscard]] bool retry();
    void bitsToInt(const unsigned char *in, unsigned inLen, unsigned char *out) const;
    [[nodiscard]] bool inRange(const unsigned char *k) const;

    int m_hashAlg;
    bool m_leastSignificantFirst;
    unsigned m_hashLen = 0;    // hlen / 8
    unsigned m_orderLen = 0;   // rlen / 8: bytes of n
    unsigned m_orderBits = 0;  // qlen
    bool m_seeded = false;
    bool m_drawn = false;
    unsigned char m_order[kMaxOrderLen] = {};
    unsigned char m_K[kMaxHashLen] = {};
    unsigned char m_V[kMaxHashLen] = {};
};

}  // namespace ecckey
