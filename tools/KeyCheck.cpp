// checkKey: the checks the command makes on every key it reads or generates.
#include "KeyReader.h"

#include "ecc/EccKey.h"
#include "support/LogBase.h"
#include "support/TovarMp.h"

namespace ecckey_cli {

namespace {

using ecckey::EccCurve;
using ecckey::EccKey;
using ecckey::mp_int;
using ecckey::TovarMp;

// The curve's coefficient a: the catalogue holds it for the Brainpool curves only; the NIST curves have
// a = p - 3 and secp256k1 has a = 0.
bool curveA(const EccCurve &curve, const mp_int &p, mp_int &a) {
    if (curve.m_hasA)
        return TovarMp::mpint_from_radix(a, curve.m_a.getString(), 16);
    if (curve.m_name.equals("secp256k1")) {
        TovarMp::mp_zero(a);
        return true;
    }
    mp_int three;
    return TovarMp::mp_set(three, 3) == 0 && TovarMp::mp_sub(p, three, a) == 0;
}

// True when Q is an affine point with coordinates in [0, p) and y^2 = x^3 + a·x + b (mod p).
bool pointOnCurve(const EccKey &key) {
    const EccCurve &curve = key.m_curve;
    const mp_int &x = key.m_pubPoint.m_x;
    const mp_int &y = key.m_pubPoint.m_y;
    mp_int p, a, b, lhs, rhs;
    if (!TovarMp::mpint_from_radix(p, curve.m_p.getString(), 16) ||
        !TovarMp::mpint_from_radix(b, curve.m_b.getString(), 16) || !curveA(curve, p, a))
        return false;
    if (TovarMp::isNegative(x) || TovarMp::isNegative(y) || TovarMp::mp_cmp(x, p) >= 0 ||
        TovarMp::mp_cmp(y, p) >= 0 || TovarMp::mp_cmp_d(key.m_pubPoint.m_z, 1) != 0)
        return false;
    return TovarMp::mp_mulmod(y, y, p, lhs) == 0       // lhs = y^2
           && TovarMp::mp_mulmod(x, x, p, rhs) == 0    // rhs = x^2
           && TovarMp::mp_add(rhs, a, rhs) == 0        // rhs = x^2 + a
           && TovarMp::mp_mulmod(rhs, x, p, rhs) == 0  // rhs = x^3 + a·x
           && TovarMp::mp_add(rhs, b, rhs) == 0        // rhs = x^3 + a·x + b
           && TovarMp::mp_mod(rhs, p, rhs) == 0        //
           && TovarMp::mp_cmp(lhs, rhs) == 0;
}

// 0 < d < n.
bool scalarInRange(const EccKey &key) {
    mp_int n;
    return TovarMp::mpint_from_radix(n, key.m_curve.m_order.getString(), 16) &&
           !TovarMp::isZero(key.m_privKey) && !TovarMp::isNegative(key.m_privKey) &&
           TovarMp::mp_cmp(key.m_privKey, n) < 0;
}

}  // namespace

bool checkKey(EccKey &key, ecckey::LogBase &log, std::string &error) {
    ecckey::LogContextExitor context(log, "checkKey");
    if (key.m_curve.m_byteLen == 0) {
        error = "the key has no curve";
        return false;
    }
    if (!pointOnCurve(key)) {
        error = std::string("the public point is not on the curve ") + key.m_curve.m_name.getString();
        return false;
    }
    if (!key.isPrivate())
        return true;
    if (!scalarInRange(key)) {
        error = "the private scalar is not between 1 and the curve order";
        return false;
    }
    // Recomputing d·G catches a file whose stored public point belongs to another key.
    EccKey recomputed;
    ecckey::LogNull quiet;
    if (!recomputed.regeneratePubKey(key, quiet)) {
        error = "the public point does not belong to the private key";
        return false;
    }
    return true;
}

}  // namespace ecckey_cli
