#include "support/MpInt.h"

#include <tommath.h>

#include <cstring>

#include "support/Wipe.h"

namespace ecckey {

static_assert(sizeof(::mp_int) <= 24, "mp_int storage too small for LibTomMath's struct");
static_assert(alignof(::mp_int) <= 8, "mp_int storage under-aligned for LibTomMath's struct");

namespace {
::mp_int *ltm(void *raw) {
    return static_cast<::mp_int *>(raw);
}
const ::mp_int *ltm(const void *raw) {
    return static_cast<const ::mp_int *>(raw);
}

// Digits can hold key material: zero every allocated digit before LibTomMath frees them.
void wipeDigits(::mp_int *a) {
    if (a->dp && a->alloc > 0)
        wipe(a->dp, (std::size_t)a->alloc * sizeof(MpDigit));
}
}  // namespace

mp_int::mp_int() {
    std::memset(m_raw, 0, sizeof m_raw);
    if (mp_init(ltm(m_raw)) != MP_OKAY)
        std::memset(m_raw, 0, sizeof m_raw);
}

mp_int::mp_int(const mp_int &other) {
    std::memset(m_raw, 0, sizeof m_raw);
    if (mp_init(ltm(m_raw)) != MP_OKAY) {
        std::memset(m_raw, 0, sizeof m_raw);
        return;
    }
    if (other.isBroken() || ::mp_copy(ltm(other.m_raw), ltm(m_raw)) != MP_OKAY)
        breakValue();
}

mp_int &mp_int::operator=(const mp_int &other) {
    if (this == &other || isBroken())
        return *this;
    // A failed copy must not leave a plausible old value behind.
    if (other.isBroken() || ::mp_copy(ltm(other.m_raw), ltm(m_raw)) != MP_OKAY)
        breakValue();
    return *this;
}

mp_int::~mp_int() {
    breakValue();
}

void mp_int::breakValue() {
    ::mp_int *a = ltm(m_raw);
    if (!a->dp)
        return;
    wipeDigits(a);
    mp_clear(a);
    std::memset(m_raw, 0, sizeof m_raw);
}

int mp_int::get_digit_count() const {
    return ltm(m_raw)->used;
}

MpDigit mp_int::get_digit(int i) const {
    const ::mp_int *a = ltm(m_raw);
    return (i >= 0 && i < a->used) ? a->dp[i] : 0;
}

int mp_int::digitBits() {
    return MP_DIGIT_BIT;
}

bool mp_int::isBroken() const {
    return ltm(m_raw)->dp == nullptr;
}

}  // namespace ecckey
