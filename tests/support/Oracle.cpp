#include "support/Oracle.h"

#include <openssl/obj_mac.h>

#include <stdexcept>

namespace ecckey_test {

const std::vector<CurveInfo> &allCurves() {
    static const std::vector<CurveInfo> curves = {
        {"secp256r1", "1.2.840.10045.3.1.7", NID_X9_62_prime256v1, 32},
        {"secp384r1", "1.3.132.0.34", NID_secp384r1, 48},
        {"secp521r1", "1.3.132.0.35", NID_secp521r1, 66},
        {"secp256k1", "1.3.132.0.10", NID_secp256k1, 32},
        {"secp192r1", "1.2.840.10045.3.1.1", NID_X9_62_prime192v1, 24},
        {"secp224r1", "1.3.132.0.33", NID_secp224r1, 28},
        {"brainpoolp256r1", "1.3.36.3.3.2.8.1.1.7", NID_brainpoolP256r1, 32},
        {"brainpoolp160r1", "1.3.36.3.3.2.8.1.1.1", NID_brainpoolP160r1, 20},
        {"brainpoolp192r1", "1.3.36.3.3.2.8.1.1.3", NID_brainpoolP192r1, 24},
        {"brainpoolp224r1", "1.3.36.3.3.2.8.1.1.5", NID_brainpoolP224r1, 28},
        {"brainpoolp320r1", "1.3.36.3.3.2.8.1.1.9", NID_brainpoolP320r1, 40},
        {"brainpoolp384r1", "1.3.36.3.3.2.8.1.1.11", NID_brainpoolP384r1, 48},
        {"brainpoolp512r1", "1.3.36.3.3.2.8.1.1.13", NID_brainpoolP512r1, 64},
    };
    return curves;
}

const std::vector<CurveInfo> &genericCurves() {
    static const std::vector<CurveInfo> curves = [] {
        std::vector<CurveInfo> v;
        for (const CurveInfo &c : allCurves())
            if (std::string(c.name) != "secp256k1") v.push_back(c);
        return v;
    }();
    return curves;
}

const CurveInfo &curveInfo(const std::string &name) {
    for (const CurveInfo &c : allCurves())
        if (name == c.name) return c;
    throw std::invalid_argument("unknown curve " + name);
}

std::string curveParamName(const CurveInfo &c) { return c.name; }

GroupPtr groupFor(const CurveInfo &c) { return GroupPtr(EC_GROUP_new_by_curve_name(c.nid)); }

BnPtr toBn(const ecckey::mp_int &v) {
    ecckey::DataBuffer db;
    ecckey::TovarMp::mpint_to_db(v, db);
    return BnPtr(BN_bin2bn(db.getData2(), (int)db.getSize(), nullptr));
}

void fromBn(const BIGNUM *bn, ecckey::mp_int &out) {
    std::vector<unsigned char> b(BN_num_bytes(bn));
    BN_bn2bin(bn, b.data());
    ecckey::TovarMp::mpint_from_bytes(out, b.data(), (unsigned)b.size());
}

std::string hexOf(const ecckey::mp_int &v) {
    ecckey::StringBuffer sb;
    ecckey::TovarMp::mpint_to_hex(v, sb);
    return sb.getString();
}

std::string hexOf(const BIGNUM *bn) {
    if (BN_is_zero(bn)) return "0";
    char *h = BN_bn2hex(bn);
    std::string s(h);
    OPENSSL_free(h);
    size_t i = 0;
    while (i + 1 < s.size() && s[i] == '0') ++i;
    return s.substr(i);
}

std::string hexOf(const unsigned char *bytes, size_t count) {
    static const char digits[] = "0123456789ABCDEF";
    std::string s;
    for (size_t i = 0; i < count; ++i) {
        s += digits[bytes[i] >> 4];
        s += digits[bytes[i] & 15];
    }
    return s;
}

std::vector<unsigned char> unhex(const std::string &hex) {
    std::vector<unsigned char> out;
    for (size_t i = 0; i + 1 < hex.size(); i += 2) out.push_back((unsigned char)std::stoul(hex.substr(i, 2), nullptr, 16));
    return out;
}

BnPtr randomScalar(const BIGNUM *order, std::uint64_t (*next)(void *), void *ctx) {
    int len = BN_num_bytes(order);
    std::vector<unsigned char> b(len);
    for (;;) {
        for (int i = 0; i < len; ++i) b[i] = (unsigned char)(next(ctx) & 0xFF);
        BnPtr v(BN_bin2bn(b.data(), len, nullptr));
        BN_mask_bits(v.get(), BN_num_bits(order));
        if (!BN_is_zero(v.get()) && BN_cmp(v.get(), order) < 0) return v;
    }
}

}  // namespace ecckey_test
