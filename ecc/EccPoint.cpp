#include "ecc/EccPoint.h"

#include "support/LogBase.h"
#include "support/TovarMp.h"

namespace ecckey {

// The X9.63 form byte of an uncompressed point: what a new or cleared point reports.
static const int s_uncompressedFormat = 4;

EccPoint::EccPoint() : m_format(s_uncompressedFormat) {}

// The coordinates wipe their own digits when released.
EccPoint::~EccPoint() = default;

void EccPoint::clearEccPoint() {
    TovarMp::mp_zero(m_x);
    TovarMp::mp_zero(m_y);
    TovarMp::mp_zero(m_z);
    m_format = s_uncompressedFormat;
}

bool EccPoint::copyFromEccPoint(const EccPoint &other) {
    m_format = other.m_format;
    // mp_copy fails only when it cannot allocate.
    bool ok = TovarMp::mp_copy(other.m_x, m_x) == 0;
    ok = TovarMp::mp_copy(other.m_y, m_y) == 0 && ok;
    ok = TovarMp::mp_copy(other.m_z, m_z) == 0 && ok;
    return ok;
}

void EccPoint::logEccPoint(const char *name, LogBase &log) const {
    LogContextExitor ctx(log, name != nullptr ? name : "");
    TovarMp::log_mpint("x", m_x, log);
    TovarMp::log_mpint("y", m_y, log);
    TovarMp::log_mpint("z", m_z, log);
}

}  // namespace ecckey
