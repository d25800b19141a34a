#include "support/Secp256k1Oracle.h"

#include <cstdio>
#include <stdexcept>

#include "support/StringBuffer.h"
#include "support/TovarMp.h"

namespace ecckey_test {

using ecckey::mp_int;
using ecckey::TovarMp;

std::string wordsHex(const _tvUnsigned256 &v) {
    std::string s;
    char word[9];
    for (int i = 7; i >= 0; --i) {
        std::snprintf(word, sizeof word, "%08X", (unsigned)v.value[i]);
        s += word;
    }
    return s;
}

_tvUnsigned256 u256FromHex(const std::string &hexIn) {
    if (hexIn.size() > 64)
        throw std::invalid_argument("more than 64 hex digits");
    std::string hex = std::string(64 - hexIn.size(), '0') + hexIn;
    _tvUnsigned256 v;
    for (int i = 0; i < 8; ++i) {
        std::string chunk = hex.substr(8 * (7 - i), 8);
        v.value[i] = (std::uint32_t)std::stoul(chunk, nullptr, 16);
    }
    return v;
}

void toMp(const _tvUnsigned256 &v, mp_int &out) {
    if (!TovarMp::mpint_from_radix(out, wordsHex(v).c_str(), 16))
        throw std::runtime_error("mpint_from_radix");
}

std::string mpHex(const mp_int &v) {
    if (TovarMp::isNegative(v))
        throw std::invalid_argument("negative value");
    ecckey::StringBuffer sb;
    if (!TovarMp::mpint_to_hex_zero_extended(v, 32, sb))
        throw std::runtime_error("mpint_to_hex");
    return sb.getString();
}

_tvUnsigned256 fromMp(const mp_int &v) {
    return u256FromHex(mpHex(v));
}

void mpFromHex(const char *hex, mp_int &out) {
    if (!TovarMp::mpint_from_radix(out, hex, 16))
        throw std::runtime_error("mpint_from_radix");
}

BnPtr toBn(const _tvUnsigned256 &v) {
    BIGNUM *bn = nullptr;
    BN_hex2bn(&bn, wordsHex(v).c_str());
    return BnPtr(bn);
}

_tvUnsigned256 fromBn(const BIGNUM *bn) {
    unsigned char b[32];
    if (BN_is_negative(bn) || BN_bn2binpad(bn, b, 32) != 32)
        throw std::invalid_argument("not a 256-bit value");
    return u256FromHex(hexOf(b, 32));
}

Secp256k1Numbers::Secp256k1Numbers() {
    mpFromHex("FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEFFFFFC2F", p);
    mpFromHex("FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEBAAEDCE6AF48A03BBFD25E8CD0364141", n);
    mpFromHex("10000000000000000000000000000000000000000000000000000000000000000", twoTo256);
}

const Secp256k1Numbers &numbers() {
    static const Secp256k1Numbers nums;
    return nums;
}

std::vector<_tvUnsigned256> edgeValues() {
    static const char *const hex[] = {
        "0",
        "1",
        "2",
        "FFFFFFFF",
        "100000000",
        "8000000000000000000000000000000000000000000000000000000000000000",
        "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEFFFFFC2D",
        "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEFFFFFC2E",
        "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEFFFFFC2F",
        "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEFFFFFC30",
        "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEBAAEDCE6AF48A03BBFD25E8CD0364140",
        "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEBAAEDCE6AF48A03BBFD25E8CD0364141",
        "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEBAAEDCE6AF48A03BBFD25E8CD0364142",
        "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFE",
        "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF",
    };
    std::vector<_tvUnsigned256> v;
    for (const char *h : hex)
        v.push_back(u256FromHex(h));
    return v;
}

std::vector<_tvUnsigned256> reducedEdgeValues() {
    std::vector<_tvUnsigned256> v;
    const mp_int &p = numbers().p;
    for (const _tvUnsigned256 &e : edgeValues()) {
        mp_int m;
        toMp(e, m);
        if (TovarMp::mp_cmp(m, p) < 0)
            v.push_back(e);
    }
    return v;
}

_tvUnsigned256 randomU256(TestPrng &rng) {
    _tvUnsigned256 v;
    bool structured = (rng.next() & 3) == 0;
    for (int i = 0; i < 8; ++i) {
        std::uint64_t r = rng.next();
        if (!structured) {
            v.value[i] = (std::uint32_t)r;
            continue;
        }
        static const std::uint32_t picks[] = {0u, 1u, 0x80000000u, 0xFFFFFFFFu};
        v.value[i] = (r >> 40) % 5 == 4 ? (std::uint32_t)r : picks[(r >> 40) % 5];
    }
    return v;
}

_tvUnsigned256 randomBelow(TestPrng &rng, const _tvUnsigned256 &bound) {
    for (;;) {
        _tvUnsigned256 v = randomU256(rng);
        // Compare independently of the engine: the most significant differing word decides.
        for (int i = 7; i >= 0; --i) {
            if (v.value[i] < bound.value[i])
                return v;
            if (v.value[i] > bound.value[i])
                break;
        }
    }
}

}  // namespace ecckey_test
