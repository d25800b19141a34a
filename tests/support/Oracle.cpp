#include "support/Oracle.h"

#include <algorithm>
#include <iterator>

#include <openssl/core_names.h>
#include <openssl/decoder.h>
#include <openssl/ec.h>
#include <openssl/encoder.h>
#include <openssl/obj_mac.h>
#include <openssl/objects.h>
#include <openssl/param_build.h>

namespace ecckey_test {

namespace {

using CtxPtr = std::unique_ptr<EVP_PKEY_CTX, Free<EVP_PKEY_CTX, EVP_PKEY_CTX_free>>;
using GroupPtr = std::unique_ptr<EC_GROUP, Free<EC_GROUP, EC_GROUP_free>>;
using PointPtr = std::unique_ptr<EC_POINT, Free<EC_POINT, EC_POINT_free>>;
using SigPtr = std::unique_ptr<ECDSA_SIG, Free<ECDSA_SIG, ECDSA_SIG_free>>;

PkeyPtr fromParams(const CurveInfo &c, const BIGNUM *d, const Bytes &pub) {
    std::unique_ptr<OSSL_PARAM_BLD, Free<OSSL_PARAM_BLD, OSSL_PARAM_BLD_free>> bld(OSSL_PARAM_BLD_new());
    OSSL_PARAM_BLD_push_utf8_string(bld.get(), OSSL_PKEY_PARAM_GROUP_NAME, OBJ_nid2sn(c.nid), 0);
    if (d)
        OSSL_PARAM_BLD_push_BN(bld.get(), OSSL_PKEY_PARAM_PRIV_KEY, d);
    OSSL_PARAM_BLD_push_octet_string(bld.get(), OSSL_PKEY_PARAM_PUB_KEY, pub.data(), pub.size());
    std::unique_ptr<OSSL_PARAM, Free<OSSL_PARAM, OSSL_PARAM_free>> params(OSSL_PARAM_BLD_to_param(bld.get()));
    CtxPtr ctx(EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr));
    EVP_PKEY *pkey = nullptr;
    if (EVP_PKEY_fromdata_init(ctx.get()) <= 0 ||
        EVP_PKEY_fromdata(ctx.get(), &pkey, d ? EVP_PKEY_KEYPAIR : EVP_PKEY_PUBLIC_KEY, params.get()) <= 0)
        return nullptr;
    return PkeyPtr(pkey);
}

}  // namespace

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
    static std::vector<CurveInfo> curves;
    if (curves.empty())
        std::remove_copy_if(allCurves().begin(), allCurves().end(), std::back_inserter(curves), isK1);
    return curves;
}

std::string hexOf(const Bytes &b) {
    static const char digits[] = "0123456789ABCDEF";
    std::string s;
    for (unsigned char ch : b)
        s += std::string{digits[ch >> 4], digits[ch & 15]};
    return s;
}

std::string hexOf(const ecckey::mp_int &v) {
    ecckey::StringBuffer sb;
    EXPECT_TRUE(ecckey::TovarMp::mpint_to_hex(v, sb));
    return sb.getString();
}

Bytes unhex(const std::string &hex) {
    Bytes out;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        out.push_back((unsigned char)std::stoul(hex.substr(i, 2), nullptr, 16));
    return out;
}

Bytes toBytes(const ecckey::DataBuffer &db) {
    return db.getSize() ? Bytes(db.getData2(), db.getData2() + db.getSize()) : Bytes();
}

ecckey::DataBuffer toDb(const Bytes &b) {
    ecckey::DataBuffer db;
    EXPECT_TRUE(db.append(b.data(), (unsigned)b.size()));
    return db;
}

Bytes digestOf(const char *name, const Bytes &msg) {
    const EVP_MD *md = EVP_get_digestbyname(name);
    Bytes out(EVP_MAX_MD_SIZE);
    unsigned len = 0;
    // SHAKE's default length is half what its vectors use: SHAKE128 gives 32 bytes, SHAKE256 64.
    if (md != nullptr && (EVP_MD_get_flags(md) & EVP_MD_FLAG_XOF) != 0) {
        out.resize(2 * (size_t)EVP_MD_get_size(md));
        EVP_MD_CTX *ctx = EVP_MD_CTX_new();
        if (!ctx || !EVP_DigestInit_ex(ctx, md, nullptr) || !EVP_DigestUpdate(ctx, msg.data(), msg.size()) ||
            !EVP_DigestFinalXOF(ctx, out.data(), out.size()))
            out.clear();
        EVP_MD_CTX_free(ctx);
        return out;
    }
    EVP_Digest(msg.data(), msg.size(), out.data(), &len, md, nullptr);
    out.resize(len);
    return out;
}

Bytes bytesOf(const BIGNUM *bn, int len) {
    Bytes out((size_t)std::max(len, BN_num_bytes(bn)));
    BN_bn2binpad(bn, out.data(), (int)out.size());
    return out;
}

BnPtr bnOf(const Bytes &bigEndian) {
    return BnPtr(BN_bin2bn(bigEndian.data(), (int)bigEndian.size(), nullptr));
}

BnPtr bnOf(const ecckey::mp_int &v) {
    ecckey::DataBuffer db;
    EXPECT_TRUE(ecckey::TovarMp::mpint_to_db(v, db));
    return bnOf(toBytes(db));
}

BnPtr orderOf(const CurveInfo &c) {
    GroupPtr g(EC_GROUP_new_by_curve_name(c.nid));
    return BnPtr(BN_dup(EC_GROUP_get0_order(g.get())));
}

BnPtr randomScalar(const CurveInfo &c, TestPrng &prng) {
    BnPtr n = orderOf(c);
    for (;;) {
        BnPtr v = bnOf(prng.bytes((unsigned)BN_num_bytes(n.get())));
        BN_mask_bits(v.get(), BN_num_bits(n.get()));
        if (!BN_is_zero(v.get()) && BN_cmp(v.get(), n.get()) < 0)
            return v;
    }
}

bool rsOf(const Bytes &der, BnPtr &r, BnPtr &s) {
    const unsigned char *p = der.data();
    SigPtr sig(d2i_ECDSA_SIG(nullptr, &p, (long)der.size()));
    if (!sig || p != der.data() + der.size())
        return false;
    r.reset(BN_dup(ECDSA_SIG_get0_r(sig.get())));
    s.reset(BN_dup(ECDSA_SIG_get0_s(sig.get())));
    return true;
}

Bytes derOf(const BIGNUM *r, const BIGNUM *s) {
    SigPtr sig(ECDSA_SIG_new());
    ECDSA_SIG_set0(sig.get(), BN_dup(r), BN_dup(s));
    unsigned char *der = nullptr;
    int len = i2d_ECDSA_SIG(sig.get(), &der);
    Bytes out(der, der + std::max(len, 0));
    OPENSSL_free(der);
    return out;
}

Ossl::Ossl(const CurveInfo &c, const BIGNUM *d) {
    GroupPtr g(EC_GROUP_new_by_curve_name(c.nid));
    PointPtr q(EC_POINT_new(g.get()));
    EC_POINT_mul(g.get(), q.get(), d, nullptr, nullptr, nullptr);
    Bytes pub(EC_POINT_point2oct(g.get(), q.get(), POINT_CONVERSION_UNCOMPRESSED, nullptr, 0, nullptr));
    EC_POINT_point2oct(g.get(), q.get(), POINT_CONVERSION_UNCOMPRESSED, pub.data(), pub.size(), nullptr);
    m_key = fromParams(c, d, pub);
}

Ossl::Ossl(const CurveInfo &c, const Bytes &point) : m_key(fromParams(c, nullptr, point)) {}

Ossl Ossl::decode(const Bytes &in, bool privatePart) {
    EVP_PKEY *pkey = nullptr;
    std::unique_ptr<OSSL_DECODER_CTX, Free<OSSL_DECODER_CTX, OSSL_DECODER_CTX_free>> ctx(
        OSSL_DECODER_CTX_new_for_pkey(&pkey, nullptr, nullptr, "EC",
                                      privatePart ? EVP_PKEY_KEYPAIR : EVP_PKEY_PUBLIC_KEY, nullptr,
                                      nullptr));
    const unsigned char *p = in.data();
    size_t len = in.size();
    if (OSSL_DECODER_from_data(ctx.get(), &p, &len) != 1) {
        EVP_PKEY_free(pkey);
        pkey = nullptr;
    }
    return Ossl(PkeyPtr(pkey));
}

Bytes Ossl::d(int len) const {
    BIGNUM *d = nullptr;
    if (!m_key || !EVP_PKEY_get_bn_param(m_key.get(), OSSL_PKEY_PARAM_PRIV_KEY, &d))
        return {};
    BnPtr owned(d);
    return bytesOf(d, len);
}

Bytes Ossl::point() const {
    size_t n = 0;
    Bytes out(200);
    if (!m_key || !EVP_PKEY_get_octet_string_param(m_key.get(), OSSL_PKEY_PARAM_PUB_KEY, out.data(), 200, &n))
        return {};
    out.resize(n);
    return out;
}

bool Ossl::isOn(const CurveInfo &c) const {
    OSSL_PARAM *raw = nullptr;
    if (!m_key || EVP_PKEY_todata(m_key.get(), EVP_PKEY_KEY_PARAMETERS, &raw) != 1)
        return false;
    std::unique_ptr<OSSL_PARAM, Free<OSSL_PARAM, OSSL_PARAM_free>> params(raw);
    GroupPtr g(EC_GROUP_new_from_params(params.get(), nullptr, nullptr));
    GroupPtr want(EC_GROUP_new_by_curve_name(c.nid));
    return g && EC_GROUP_cmp(g.get(), want.get(), nullptr) == 0;
}

Bytes Ossl::encode(const char *structure, const char *output, bool explicitParams, bool includePublic) const {
    EVP_PKEY_set_utf8_string_param(
        m_key.get(), OSSL_PKEY_PARAM_EC_ENCODING,
        explicitParams ? OSSL_PKEY_EC_ENCODING_EXPLICIT : OSSL_PKEY_EC_ENCODING_GROUP);
    EVP_PKEY_set_int_param(m_key.get(), OSSL_PKEY_PARAM_EC_INCLUDE_PUBLIC, includePublic);
    bool priv = std::string(structure) != "SubjectPublicKeyInfo";
    std::unique_ptr<OSSL_ENCODER_CTX, Free<OSSL_ENCODER_CTX, OSSL_ENCODER_CTX_free>> ctx(
        OSSL_ENCODER_CTX_new_for_pkey(m_key.get(), priv ? EVP_PKEY_KEYPAIR : EVP_PKEY_PUBLIC_KEY, output,
                                      structure, nullptr));
    unsigned char *data = nullptr;
    size_t len = 0;
    Bytes out;
    if (OSSL_ENCODER_to_data(ctx.get(), &data, &len) == 1)
        out.assign(data, data + len);
    OPENSSL_free(data);
    return out;
}

Bytes Ossl::sign(const Bytes &digest) const {
    CtxPtr ctx(EVP_PKEY_CTX_new_from_pkey(nullptr, m_key.get(), nullptr));
    size_t len = 0;
    if (EVP_PKEY_sign_init(ctx.get()) <= 0 ||
        EVP_PKEY_sign(ctx.get(), nullptr, &len, digest.data(), digest.size()) <= 0)
        return {};
    Bytes out(len);
    EVP_PKEY_sign(ctx.get(), out.data(), &len, digest.data(), digest.size());
    out.resize(len);
    return out;
}

bool Ossl::verify(const Bytes &digest, const Bytes &der) const {
    CtxPtr ctx(EVP_PKEY_CTX_new_from_pkey(nullptr, m_key.get(), nullptr));
    return EVP_PKEY_verify_init(ctx.get()) > 0 &&
           EVP_PKEY_verify(ctx.get(), der.data(), der.size(), digest.data(), digest.size()) == 1;
}

Bytes Ossl::derive(const Ossl &peer) const {
    CtxPtr ctx(EVP_PKEY_CTX_new_from_pkey(nullptr, m_key.get(), nullptr));
    size_t len = 0;
    if (EVP_PKEY_derive_init(ctx.get()) <= 0 || EVP_PKEY_derive_set_peer(ctx.get(), peer.get()) <= 0 ||
        EVP_PKEY_derive(ctx.get(), nullptr, &len) <= 0)
        return {};
    Bytes out(len);
    EVP_PKEY_derive(ctx.get(), out.data(), &len);
    out.resize(len);
    return out;
}

void loadInto(const Ossl &o, const CurveInfo &c, ecckey::EccKey &key, bool privatePart) {
    ecckey::LogRecorder log;
    if (privatePart)
        ASSERT_TRUE(
            key.generateNewKey2(ecckey::StringBuffer(c.name), hexOf(o.d(c.byteLen)).c_str(), "hex", log))
            << log.errorText();
    else
        ASSERT_TRUE(key.loadEcPubKeyByCurveAndPoint(c.name, toDb(o.point()), log)) << log.errorText();
}

::testing::AssertionResult sameKey(const ecckey::EccKey &key, const Ossl &o, const CurveInfo &c) {
    ecckey::DataBuffer q;
    ecckey::LogNull log;
    EXPECT_TRUE(key.exportEccPoint(q, log));
    Bytes d = o.d(0);
    BnPtr mine = bnOf(key.m_privKey);
    if (!key.m_curve.m_name.equals(c.name) || toBytes(q) != o.point() || !o.isOn(c) ||
        key.m_keyType != (d.empty() ? 0 : 1) || (!d.empty() && bytesOf(mine.get(), 0) != d))
        return ::testing::AssertionFailure() << key.m_curve.m_name.getString() << " Q " << hexOf(toBytes(q))
                                             << " vs " << hexOf(o.point()) << " type " << key.m_keyType;
    return ::testing::AssertionSuccess();
}

}  // namespace ecckey_test
