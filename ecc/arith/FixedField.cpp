#include "ecc/arith/FixedField.h"

namespace ecckey {

int fixedFieldLimbs(const mp_int &p) {
    if (TovarMp::isNegative(p) || !TovarMp::isOdd(p))
        return 0;
    const int bits = TovarMp::mp_count_bits(p);
    const int limbs = (bits + 63) / 64;
    // 7 limbs (385 to 448 bits) would be a size no catalogue curve has, and so one no test runs.
    if (limbs < 3 || limbs > 9 || limbs == 7)
        return 0;
    return limbs;
}

}  // namespace ecckey
