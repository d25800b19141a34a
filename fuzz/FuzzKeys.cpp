#include "FuzzKeys.h"

#include <vector>

#include "FuzzOracle.h"
#include "support/TovarMp.h"

using namespace ecckey;

namespace ecckey_fuzz {

void fixedScalar(int index, mp_int &d) {
    const CurveRef &curve = curveAt(index);
    std::vector<unsigned char> bytes((size_t)curve.byteLen - 1);
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = (unsigned char)(0x5A ^ (i * 29 + (size_t)index * 7));
    TovarMp::mpint_from_bytes(d, bytes.data(), (unsigned)bytes.size());
}

const EccKey &fixedKey(int index) {
    static std::vector<EccKey *> *s_keys = [] {
        auto *keys = new std::vector<EccKey *>();
        for (int i = 0; i < numCurves(); ++i) {
            const CurveRef &curve = curveAt(i);
            FuzzLog log;
            EccKey *key = new EccKey();
            FUZZ_REQUIRE(key->m_curve.loadCurveByName(curve.name, log));
            fixedScalar(i, key->m_privKey);
            FUZZ_REQUIRE(key->genPubKey(log));
            key->m_keyType = 1;
            mp_int x, y;
            FUZZ_REQUIRE(oracleMulBase(curve, key->m_privKey, x, y));
            FUZZ_REQUIRE(equalInts(x, key->m_pubPoint.m_x) && equalInts(y, key->m_pubPoint.m_y));
            keys->push_back(key);
        }
        return keys;
    }();
    return *(*s_keys)[(size_t)index];
}

}  // namespace ecckey_fuzz
