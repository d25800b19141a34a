#include "support/Oracle.h"

#include <openssl/evp.h>
#include <openssl/obj_mac.h>

#include <cctype>

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
            if (std::string(c.name) != "secp256k1")
                v.push_back(c);
        return v;
    }();
    return curves;
}

const CurveInfo &curveInfo(const std::string &name) {
    for (const CurveInfo &c : allCurves())
        if (name == c.name)
            return c;
    throw std::invalid_argument("unknown curve " + name);
}

GroupPtr groupFor(const CurveInfo &c) {
    return GroupPtr(EC_GROUP_new_by_curve_name(c.nid));
}

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
    if (BN_is_zero(bn))
        return "0";
    char *h = BN_bn2hex(bn);
    std::string s(h);
    OPENSSL_free(h);
    size_t i = 0;
    while (i + 1 < s.size() && s[i] == '0')
        ++i;
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
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        out.push_back((unsigned char)std::stoul(hex.substr(i, 2), nullptr, 16));
    return out;
}

BnPtr randomScalar(const BIGNUM *order, std::uint64_t (*next)(void *), void *ctx) {
    int len = BN_num_bytes(order);
    std::vector<unsigned char> b(len);
    for (;;) {
        for (int i = 0; i < len; ++i)
            b[i] = (unsigned char)(next(ctx) & 0xFF);
        BnPtr v(BN_bin2bn(b.data(), len, nullptr));
        BN_mask_bits(v.get(), BN_num_bits(order));
        if (!BN_is_zero(v.get()) && BN_cmp(v.get(), order) < 0)
            return v;
    }
}

BnPtr randomScalar(const BIGNUM *order, TestPrng &prng) {
    return randomScalar(
        order, [](void *p) { return static_cast<TestPrng *>(p)->next(); }, &prng);
}

BnPtr orderOf(const CurveInfo &c) {
    GroupPtr g = groupFor(c);
    return BnPtr(BN_dup(EC_GROUP_get0_order(g.get())));
}

bool isK1(const CurveInfo &c) {
    return std::string(c.name) == "secp256k1";
}

std::uint64_t curveSeed(const CurveInfo &c, std::uint64_t salt) {
    std::uint64_t h = testSeed() ^ salt;
    for (const char *p = c.name; *p; ++p)
        h = h * 131 + (unsigned char)*p;
    return h;
}

Bytes bytesOf(const BIGNUM *bn, int len) {
    int n = BN_num_bytes(bn);
    Bytes out(len > n ? len : n);
    BN_bn2binpad(bn, out.data(), (int)out.size());
    return out;
}

BnPtr bnOf(const Bytes &bigEndian) {
    return BnPtr(BN_bin2bn(bigEndian.data(), (int)bigEndian.size(), nullptr));
}

Bytes mpBytes(const ecckey::mp_int &v, int len) {
    ecckey::DataBuffer db;
    ecckey::TovarMp::mpint_to_db(v, db);
    if ((int)db.getSize() > len)
        return {};
    Bytes out(len - db.getSize(), 0);
    out.insert(out.end(), db.getData2(), db.getData2() + db.getSize());
    return out;
}

Bytes pointOf(const ecckey::EccPoint &P, int len) {
    Bytes out{0x04};
    Bytes x = mpBytes(P.m_x, len);
    Bytes y = mpBytes(P.m_y, len);
    out.insert(out.end(), x.begin(), x.end());
    out.insert(out.end(), y.begin(), y.end());
    return out;
}

std::string bnHex(const BIGNUM *v, int len) {
    Bytes b = bytesOf(v, len);
    return hexOf(b.data(), b.size());
}

Bytes toBytes(const ecckey::DataBuffer &db) {
    if (db.getSize() == 0)
        return {};
    return Bytes(db.getData2(), db.getData2() + db.getSize());
}

Bytes toBytes(const std::string &s) {
    return Bytes(s.begin(), s.end());
}

ecckey::DataBuffer toDb(const Bytes &b) {
    ecckey::DataBuffer db;
    db.append(b.data(), (unsigned)b.size());
    return db;
}

std::string base64(const Bytes &b) {
    std::string out(4 * ((b.size() + 2) / 3) + 1, '\0');
    int n = EVP_EncodeBlock(reinterpret_cast<unsigned char *>(&out[0]), b.data(), (int)b.size());
    out.resize((size_t)n);
    return out;
}

std::string base64url(const Bytes &b) {
    std::string s = base64(b);
    for (char &ch : s)
        ch = ch == '+' ? '-' : ch == '/' ? '_' : ch;
    while (!s.empty() && s.back() == '=')
        s.pop_back();
    return s;
}

Bytes unbase64(const std::string &text) {
    std::string s;
    for (char ch : text)
        if (!isspace((unsigned char)ch))
            s += ch;
    Bytes out(s.size());
    int n = EVP_DecodeBlock(out.data(), reinterpret_cast<const unsigned char *>(s.data()), (int)s.size());
    if (n < 0)
        return {};
    size_t pad = 0;
    while (pad < s.size() && s[s.size() - 1 - pad] == '=')
        ++pad;
    out.resize((size_t)n - pad);
    return out;
}

Bytes fromBase64url(std::string s) {
    for (char &ch : s)
        ch = ch == '-' ? '+' : ch == '_' ? '/' : ch;
    while (s.size() % 4)
        s += '=';
    return unbase64(s);
}

Bytes digestOf(const char *name, const Bytes &msg) {
    Bytes out(EVP_MAX_MD_SIZE);
    unsigned len = 0;
    EVP_Digest(msg.data(), msg.size(), out.data(), &len, EVP_get_digestbyname(name), nullptr);
    out.resize(len);
    return out;
}

}  // namespace ecckey_test
