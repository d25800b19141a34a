#include "formats/JwsAlgorithm.h"

#include <cstring>

#include "ecc/EccKey.h"
#include "support/Hash.h"

namespace ecckey {

namespace {

const JwsAlgorithm s_algorithms[] = {
    {"ES256", "secp256r1", HASH_SHA256},
    {"ES384", "secp384r1", HASH_SHA384},
    {"ES512", "secp521r1", HASH_SHA512},
    {"ES256K", "secp256k1", HASH_SHA256},
};

}  // namespace

const JwsAlgorithm *jwsAlgorithmByName(const char *name) {
    for (const JwsAlgorithm &alg : s_algorithms) {
        if (name != nullptr && std::strcmp(alg.name, name) == 0)
            return &alg;
    }
    return nullptr;
}

const JwsAlgorithm *jwsAlgorithmOfKey(const EccKey &key) {
    for (const JwsAlgorithm &alg : s_algorithms) {
        if (key.m_curve.m_name.equals(alg.curveName))
            return &alg;
    }
    return nullptr;
}

}  // namespace ecckey
