#include "ecc/DeterministicNonce.h"

#include <cstring>

#include "support/ConstantTime.h"
#include "support/DataBuffer.h"
#include "support/Hash.h"
#include "support/LogBase.h"
#include "support/Wipe.h"

namespace ecckey {

namespace {

const char kMsgSeedFailed[] = "Failed to seed the nonce generator.";
const char kMsgDeriveFailed[] = "Failed to derive a nonce.";

// The longest HMAC input: V || separator || int2octets(d) || bits2octets(h1).
const unsigned kMaxSeedLen = DeterministicNonce::kMaxHashLen + 1 + 2 * DeterministicNonce::kMaxOrderLen;
// Refused candidates in a row before giving up. On brainpoolP256r1 (n just above 2^255 · 1.32) about a
// third of the candidates are refused; 64 refusals in a row happen with a chance below 2^-99.
const unsigned kMaxCandidates = 64;

unsigned bitLength(unsigned char byte) {
    unsigned bits = 0;
    for (; byte != 0; byte >>= 1)
        ++bits;
    return bits;
}

}  // namespace

DeterministicNonce::DeterministicNonce(int hashAlg, bool leastSignificantFirst)
    : m_hashAlg(hashAlg), m_leastSignificantFirst(leastSignificantFirst) {}

DeterministicNonce::~DeterministicNonce() {
    wipe(m_K, sizeof m_K);
    wipe(m_V, sizeof m_V);
}

// out = HMAC_K(data); out may be V or K itself.
bool DeterministicNonce::mac(const unsigned char *data, unsigned len, unsigned char *out) const {
    Wiped<unsigned char[kMaxHashLen]> wipedResult;
    unsigned char *result = wipedResult.get();
    if (!_tvHash::hmac(m_hashAlg, m_K, m_hashLen, data, len, result))
        return false;
    std::memcpy(out, result, m_hashLen);
    return true;
}

// K = HMAC_K(V || separator || int2octets(d) || h), then V = HMAC_K(V): steps d to g of the RFC.
bool DeterministicNonce::rekey(unsigned char separator, const unsigned char *privKey,
                               const unsigned char *h) {
    Wiped<unsigned char[kMaxSeedLen]> wipedData;
    unsigned char *data = wipedData.get();
    std::memcpy(data, m_V, m_hashLen);
    data[m_hashLen] = separator;
    std::memcpy(data + m_hashLen + 1, privKey, m_orderLen);
    std::memcpy(data + m_hashLen + 1 + m_orderLen, h, m_orderLen);
    return mac(data, m_hashLen + 1 + 2 * m_orderLen, m_K) && mac(m_V, m_hashLen, m_V);
}

// After a refused k: K = HMAC_K(V || 0x00), V = HMAC_K(V).
bool DeterministicNonce::retry() {
    Wiped<unsigned char[kMaxHashLen + 1]> wipedData;
    unsigned char *data = wipedData.get();
    std::memcpy(data, m_V, m_hashLen);
    data[m_hashLen] = 0x00;
    return mac(data, m_hashLen + 1, m_K) && mac(m_V, m_hashLen, m_V);
}

// bits2int (RFC 6979, 2.3.2) into m_orderLen bytes: the leftmost qlen bits of in, or the whole of a
// shorter in. A longer in has at least m_orderLen bytes, whose value is shifted right by the surplus bits.
void DeterministicNonce::bitsToInt(const unsigned char *in, unsigned inLen, unsigned char *out) const {
    std::memset(out, 0, m_orderLen);
    if (8 * inLen <= m_orderBits) {
        std::memcpy(out + (m_orderLen - inLen), in, inLen);
        return;
    }
    const unsigned shift = 8 * m_orderLen - m_orderBits;  // 0 to 7
    for (unsigned i = 0; i < m_orderLen; ++i) {
        const unsigned high = i > 0 ? in[i - 1] : 0u;
        out[i] = (unsigned char)((((high << 8) | in[i]) >> shift) & 0xFF);
    }
}

// 1 <= k < n, with no branch on k's bytes: the borrow of k - n and the OR of all bytes.
bool DeterministicNonce::inRange(const unsigned char *k) const {
    unsigned borrow = 0;
    unsigned any = 0;
    for (unsigned i = m_orderLen; i-- > 0;) {
        borrow = (((unsigned)k[i] - m_order[i] - borrow) >> 8) & 1u;
        any |= k[i];
    }
    return (borrow & ((any + 0xFFu) >> 8)) != 0;
}

bool DeterministicNonce::seed(const unsigned char *order, unsigned orderLen, const unsigned char *privKey,
                              const unsigned char *hash, unsigned hashLen, LogBase &log) {
    m_seeded = false;
    m_drawn = false;
    m_hashLen = _tvHash::hashLen(m_hashAlg);
    if (m_hashLen == 0 || m_hashLen > kMaxHashLen || !order || orderLen == 0 || orderLen > kMaxOrderLen ||
        order[0] == 0 || !privKey || (!hash && hashLen != 0)) {
        log.logError(kMsgSeedFailed);
        return false;
    }
    std::memcpy(m_order, order, orderLen);
    m_orderLen = orderLen;
    m_orderBits = 8 * (orderLen - 1) + bitLength(order[0]);
    if (!ct::declassified(inRange(privKey))) {  // only a broken key is refused
        log.logError("The private key is not in [1, n-1].");
        return false;
    }

    // bits2octets(h1): bits2int(h1) is below 2^qlen, so below 2n, and one subtraction reduces it modulo n.
    unsigned char h[kMaxOrderLen];
    bitsToInt(hash, hashLen, h);
    unsigned borrow = 0;
    unsigned char diff[kMaxOrderLen];
    for (unsigned i = m_orderLen; i-- > 0;) {
        const unsigned d = (unsigned)h[i] - m_order[i] - borrow;
        diff[i] = (unsigned char)(d & 0xFF);
        borrow = (d >> 8) & 1u;
    }
    if (borrow == 0)  // h1 is public: this may branch
        std::memcpy(h, diff, m_orderLen);

    std::memset(m_V, 0x01, m_hashLen);
    std::memset(m_K, 0x00, m_hashLen);
    if (!rekey(0x00, privKey, h) || !rekey(0x01, privKey, h)) {
        log.logError(kMsgSeedFailed);
        return false;
    }
    m_seeded = true;
    return true;
}

bool DeterministicNonce::genRandom(unsigned count, DataBuffer &out, LogBase &log) {
    if (!m_seeded || count != m_orderLen) {
        log.logError("The nonce generator is not seeded for this curve.");
        return false;
    }
    if (m_drawn && !retry()) {
        log.logError(kMsgDeriveFailed);
        return false;
    }
    m_drawn = true;

    // T = V || V' || ... until it holds qlen bits; k = bits2int(T), refused unless in [1, n - 1].
    Wiped<unsigned char[kMaxOrderLen + kMaxHashLen]> wipedT;
    Wiped<unsigned char[kMaxOrderLen]> wipedK;
    unsigned char *t = wipedT.get();
    unsigned char *k = wipedK.get();
    bool found = false;
    for (unsigned candidate = 0; candidate < kMaxCandidates && !found; ++candidate) {
        if (candidate > 0 && !retry())
            break;
        unsigned tLen = 0;
        bool ok = true;
        while (ok && 8 * tLen < m_orderBits) {
            ok = mac(m_V, m_hashLen, m_V);
            std::memcpy(t + tLen, m_V, m_hashLen);
            tLen += m_hashLen;
        }
        if (!ok)
            break;
        bitsToInt(t, tLen, k);
        found = ct::declassified(inRange(k));  // a refused candidate tells nothing of the k that is kept
    }
    if (!found) {
        log.logError(kMsgDeriveFailed);
        return false;
    }
    if (m_leastSignificantFirst) {
        for (unsigned i = 0; i < m_orderLen / 2; ++i) {
            const unsigned char b = k[i];
            k[i] = k[m_orderLen - 1 - i];
            k[m_orderLen - 1 - i] = b;
        }
    }
    return out.append(k, m_orderLen);
}

}  // namespace ecckey
