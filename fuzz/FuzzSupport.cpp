#include "FuzzSupport.h"

#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/obj_mac.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "support/DataBuffer.h"
#include "support/StringBuffer.h"
#include "support/TovarMp.h"

using namespace ecckey;

namespace ecckey_fuzz {

void fail(const char *what, const char *file, int line) {
    std::fprintf(stderr, "\n*** fuzz invariant broken: %s (%s:%d)\n", what, file, line);
    std::fflush(stderr);
    std::abort();
}

// ---- FuzzLog ----

FuzzLog::FuzzLog() {
    m_verbose = true;
}

FuzzLog::~FuzzLog() {
    // Every LogContextExitor has closed its context by the time the operation returned.
    if (m_depth != 0)
        fail("log contexts left open", __FILE__, __LINE__);
}

void FuzzLog::logError(const char *text) {
    FUZZ_REQUIRE(text != nullptr);
    m_chars += std::strlen(text);
    ++m_numErrors;
}

void FuzzLog::logInfo(const char *text) {
    FUZZ_REQUIRE(text != nullptr);
    m_chars += std::strlen(text);
}

void FuzzLog::enterContext(const char *name) {
    FUZZ_REQUIRE(name != nullptr);
    m_chars += std::strlen(name);
    ++m_depth;
}

void FuzzLog::leaveContext() {
    FUZZ_REQUIRE(m_depth > 0);
    --m_depth;
}

void FuzzLog::logData(const char *name, const char *value) {
    FUZZ_REQUIRE(name != nullptr && value != nullptr);
    m_chars += std::strlen(name) + std::strlen(value);
}

// ---- The catalogue as OpenSSL defines it ----

namespace {

const CurveRef s_curves[] = {
    {"secp256r1", "1.2.840.10045.3.1.7", NID_X9_62_prime256v1, 32, false},
    {"secp384r1", "1.3.132.0.34", NID_secp384r1, 48, false},
    {"secp521r1", "1.3.132.0.35", NID_secp521r1, 66, false},
    {"secp256k1", "1.3.132.0.10", NID_secp256k1, 32, false},
    {"secp192r1", "1.2.840.10045.3.1.1", NID_X9_62_prime192v1, 24, false},
    {"secp224r1", "1.3.132.0.33", NID_secp224r1, 28, false},
    {"brainpoolp160r1", "1.3.36.3.3.2.8.1.1.1", NID_brainpoolP160r1, 20, true},
    {"brainpoolp192r1", "1.3.36.3.3.2.8.1.1.3", NID_brainpoolP192r1, 24, true},
    {"brainpoolp224r1", "1.3.36.3.3.2.8.1.1.5", NID_brainpoolP224r1, 28, true},
    {"brainpoolp256r1", "1.3.36.3.3.2.8.1.1.7", NID_brainpoolP256r1, 32, true},
    {"brainpoolp320r1", "1.3.36.3.3.2.8.1.1.9", NID_brainpoolP320r1, 40, true},
    {"brainpoolp384r1", "1.3.36.3.3.2.8.1.1.11", NID_brainpoolP384r1, 48, true},
    {"brainpoolp512r1", "1.3.36.3.3.2.8.1.1.13", NID_brainpoolP512r1, 64, true},
};
const int kNumCurves = (int)(sizeof s_curves / sizeof s_curves[0]);

// p, a, b, n, Gx, Gy of one curve as the module's integers.
struct CurveParams {
    mp_int p, a, b, n, gx, gy;
};

void fromBn(const BIGNUM *bn, mp_int &out) {
    std::vector<unsigned char> bytes((size_t)BN_num_bytes(bn) + 1);
    int len = BN_bn2bin(bn, bytes.data());
    TovarMp::mpint_from_bytes(out, bytes.data(), (unsigned)len);
}

const CurveParams &paramsOf(int index) {
    static std::vector<CurveParams> *s_params = [] {
        auto *all = new std::vector<CurveParams>((size_t)kNumCurves);
        BN_CTX *ctx = BN_CTX_new();
        for (int i = 0; i < kNumCurves; ++i) {
            EC_GROUP *group = EC_GROUP_new_by_curve_name(s_curves[i].nid);
            BIGNUM *p = BN_new(), *a = BN_new(), *b = BN_new(), *x = BN_new(), *y = BN_new();
            if (!group || !EC_GROUP_get_curve(group, p, a, b, ctx) ||
                !EC_POINT_get_affine_coordinates(group, EC_GROUP_get0_generator(group), x, y, ctx)) {
                fail("OpenSSL lacks a catalogue curve", __FILE__, __LINE__);
            }
            CurveParams &cp = (*all)[(size_t)i];
            fromBn(p, cp.p);
            fromBn(a, cp.a);
            fromBn(b, cp.b);
            fromBn(EC_GROUP_get0_order(group), cp.n);
            fromBn(x, cp.gx);
            fromBn(y, cp.gy);
            BN_free(p), BN_free(a), BN_free(b), BN_free(x), BN_free(y);
            EC_GROUP_free(group);
        }
        BN_CTX_free(ctx);
        return all;
    }();
    return (*s_params)[(size_t)index];
}

void requireHexEquals(const StringBuffer &hex, const mp_int &expected, const char *what) {
    mp_int v;
    if (!TovarMp::mpint_from_radix(v, hex.getString(), 16) || TovarMp::mp_cmp(v, expected) != 0)
        fail(what, __FILE__, __LINE__);
}

}  // namespace

int numCurves() {
    return kNumCurves;
}

const CurveRef &curveAt(int index) {
    return s_curves[index];
}

const CurveRef *findCurveByOid(const char *oid) {
    for (const CurveRef &c : s_curves)
        if (std::strcmp(c.oid, oid) == 0)
            return &c;
    return nullptr;
}

void requireCatalogueCurve(const EccCurve &curve) {
    const CurveRef *ref = findCurveByOid(curve.m_oid.getString());
    FUZZ_REQUIRE(ref != nullptr);
    FUZZ_REQUIRE(curve.m_name.equals(ref->name));
    FUZZ_REQUIRE(curve.m_byteLen == ref->byteLen);
    FUZZ_REQUIRE(curve.m_hasA == ref->hasA);
    const CurveParams &cp = paramsOf((int)(ref - s_curves));
    requireHexEquals(curve.m_p, cp.p, "curve p differs from the named curve");
    requireHexEquals(curve.m_b, cp.b, "curve b differs from the named curve");
    requireHexEquals(curve.m_order, cp.n, "curve order differs from the named curve");
    requireHexEquals(curve.m_Gx, cp.gx, "curve Gx differs from the named curve");
    requireHexEquals(curve.m_Gy, cp.gy, "curve Gy differs from the named curve");
    if (ref->hasA)
        requireHexEquals(curve.m_a, cp.a, "curve a differs from the named curve");
}

int byteLen(const mp_int &v) {
    return TovarMp::mp_unsigned_bin_size(v);
}

bool equalInts(const mp_int &a, const mp_int &b) {
    return TovarMp::mp_cmp(a, b) == 0;
}

bool isZero(const mp_int &v) {
    return TovarMp::isZero(v);
}

void requireLoadedKey(const EccKey &key) {
    requireCatalogueCurve(key.m_curve);
    FUZZ_REQUIRE(key.m_keyType == 0 || key.m_keyType == 1);
    FUZZ_REQUIRE(!TovarMp::isNegative(key.m_pubPoint.m_x) && !TovarMp::isNegative(key.m_pubPoint.m_y));
    FUZZ_REQUIRE(!TovarMp::isNegative(key.m_privKey));
    if (key.m_keyType == 0)
        FUZZ_REQUIRE(isZero(key.m_privKey));
    // Affine, except the engine's canonical zero point (0, 1, 0) that secp256k1 derives from a zero
    // scalar.
    bool affine = TovarMp::mp_cmp_d(key.m_pubPoint.m_z, 1) == 0;
    bool k1Zero = key.m_curve.m_name.equals("secp256k1") && key.m_keyType == 1 &&
                  isZero(key.m_pubPoint.m_x) && TovarMp::mp_cmp_d(key.m_pubPoint.m_y, 1) == 0 &&
                  isZero(key.m_pubPoint.m_z);
    FUZZ_REQUIRE(affine || k1Zero);
}

bool pointFitsCurve(const EccKey &key) {
    return byteLen(key.m_pubPoint.m_x) <= key.m_curve.m_byteLen &&
           byteLen(key.m_pubPoint.m_y) <= key.m_curve.m_byteLen;
}

bool pointExportable(const EccKey &key) {
    return byteLen(key.m_pubPoint.m_x) <= 256 && byteLen(key.m_pubPoint.m_y) <= 256;
}

void requireSameKey(const EccKey &loaded, const EccKey &reloaded) {
    requireLoadedKey(reloaded);
    FUZZ_REQUIRE(reloaded.m_keyType == loaded.m_keyType);
    FUZZ_REQUIRE(reloaded.m_curve.m_oid.equals(loaded.m_curve.m_oid));
    if (loaded.m_keyType == 1)
        FUZZ_REQUIRE(equalInts(reloaded.m_privKey, loaded.m_privKey));
    // A coordinate longer than the curve is cut by the X9.63 writer; such a point cannot come back whole.
    if (pointFitsCurve(loaded)) {
        FUZZ_REQUIRE(equalInts(reloaded.m_pubPoint.m_x, loaded.m_pubPoint.m_x));
        FUZZ_REQUIRE(equalInts(reloaded.m_pubPoint.m_y, loaded.m_pubPoint.m_y));
    }
}

namespace {

typedef bool (EccKey::*DerWriter)(DataBuffer &, LogBase &);

void requireDerFormRoundTrip(EccKey &key, DerWriter writer, FuzzLog &exportLog) {
    DataBuffer der;
    FUZZ_REQUIRE((key.*writer)(der, exportLog));
    FUZZ_REQUIRE(der.isSensitive());
    FuzzLog reloadLog;
    EccKey reloaded;
    FUZZ_REQUIRE(reloaded.loadEccDer(der, reloadLog));
    requireSameKey(key, reloaded);
}

}  // namespace

void requireDerRoundTrip(EccKey &key) {
    FuzzLog exportLog;
    exportLog.m_options.setString("EMIT_ECC_PKCS1_PUBKEY");
    DataBuffer der;
    if (key.m_keyType == 1) {
        // A zero scalar cannot be written ("k is empty"); it only arises from the PKCS #8 curve override.
        if (isZero(key.m_privKey)) {
            FUZZ_REQUIRE(!key.toEccPkcs1PrivateKeyDer(der, exportLog));
            return;
        }
        if (!pointExportable(key)) {
            FUZZ_REQUIRE(!key.toEccPkcs1PrivateKeyDer(der, exportLog));
            return;
        }
        requireDerFormRoundTrip(key, &EccKey::toEccPkcs1PrivateKeyDer, exportLog);
        requireDerFormRoundTrip(key, &EccKey::toEccPkcs8PrivateKeyDer, exportLog);
        return;
    }
    if (!pointExportable(key)) {
        FUZZ_REQUIRE(!key.toPublicKeyDer_shortFmt(der, exportLog));
        return;
    }
    requireDerFormRoundTrip(key, &EccKey::toPublicKeyDer_shortFmt, exportLog);
    requireDerFormRoundTrip(key, &EccKey::toPublicKeyDer_longFmt, exportLog);
}

}  // namespace ecckey_fuzz
