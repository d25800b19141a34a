#include "ecc/EccKey.h"

#include <new>

#include "support/LogBase.h"
#include "support/TovarMp.h"

namespace ecckey {

// KeyBase, the curve and the point construct themselves empty; d starts at zero.
EccKey::EccKey() : m_keyType(0) {}

// m_privKey wipes its digits when released.
EccKey::~EccKey() = default;

EccKey *EccKey::createNewObject() {
    try {
        return new (std::nothrow) EccKey();
    } catch (...) {
        return nullptr;
    }
}

void EccKey::clearEccKey() {
    // The curve keeps m_a and m_hasA, as clearEccCurve does.
    m_curve.clearEccCurve();
    m_pubPoint.clearEccPoint();
    TovarMp::mp_zero(m_privKey);
    m_keyType = 0;
    clearKeyBase();
}

void EccKey::copyFromEccKey(const EccKey &other) {
    if (&other == this)
        return;
    m_keyType = other.m_keyType;
    const bool ok = TovarMp::mp_copy(other.m_privKey, m_privKey) == 0;
    m_curve.copyFromEccCurve(other.m_curve);
    // A half-copied key would pair a scalar with another point: when memory is short it is left empty.
    if (!m_pubPoint.copyFromEccPoint(other.m_pubPoint) || !ok) {
        clearEccKey();
        return;
    }
    copyFromKeyBase(other);
}

unsigned EccKey::get_ModulusBitLen() const {
    return static_cast<unsigned>(m_curve.m_byteLen) * 8u;
}

void EccKey::getCurveOid(StringBuffer &out) const {
    if (!out.setString(m_curve.m_oid))
        out.clear();  // memory is short: an empty OID rather than a cut one
}

bool EccKey::loadCurveByOid(const StringBuffer &oid, LogBase &log) {
    return m_curve.loadCurveByOid(oid, log);
}

}  // namespace ecckey
