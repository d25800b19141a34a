// SSH names of the catalogue curves: the key-type name (getPpkType) and the curve identifier written into
// public-key blobs (puttyCurveName). The two tables disagree on P-521 and secp256k1 and each caller uses
// its own; existing key files and servers depend on both spellings.
#include "ecc/EccCurve.h"

#include "support/LogBase.h"

namespace ecckey {

namespace {

struct PpkTypeRow {
    const char *oid;
    const char *keyType;
};

// Tested in this order. P-521 is named "nistp512" here: key files written with that name must still
// match what this returns.
const PpkTypeRow s_ppkTypes[] = {
    {"1.2.840.10045.3.1.7", "ecdsa-sha2-nistp256"},
    {"1.3.132.0.34", "ecdsa-sha2-nistp384"},
    {"1.3.132.0.35", "ecdsa-sha2-nistp512"},
    {"1.3.132.0.10", "ecdsa-sha2-secp256k1"},
    {"1.2.840.10045.3.1.1", "ecdsa-sha2-nistp192"},
    {"1.3.132.0.33", "ecdsa-sha2-nistp224"},
    {"1.3.36.3.3.2.8.1.1.1", "ecdsa-sha2-brainpoolP160r1"},
    {"1.3.36.3.3.2.8.1.1.3", "ecdsa-sha2-brainpoolP192r1"},
    {"1.3.36.3.3.2.8.1.1.5", "ecdsa-sha2-brainpoolP224r1"},
    {"1.3.36.3.3.2.8.1.1.7", "ecdsa-sha2-brainpoolP256r1"},
    {"1.3.36.3.3.2.8.1.1.9", "ecdsa-sha2-brainpoolP320r1"},
    {"1.3.36.3.3.2.8.1.1.11", "ecdsa-sha2-brainpoolP384r1"},
    {"1.3.36.3.3.2.8.1.1.13", "ecdsa-sha2-brainpoolP512r1"},
};

}  // namespace

bool EccCurve::getPpkType(StringBuffer &out, LogBase &log) const {
    LogContextExitor ctx(log, "getPpkType");
    for (const PpkTypeRow &row : s_ppkTypes) {
        if (m_oid.equals(row.oid))
            return out.append(row.keyType);
    }
    log.logError("Unsupported ecdsa curve.");
    return false;
}

const char *EccCurve::puttyCurveName() const {
    if (m_name.equals("secp256r1"))
        return "nistp256";
    if (m_name.equals("secp224r1"))
        return "nistp224";
    if (m_name.equals("secp384r1"))
        return "nistp384";
    if (m_name.equals("secp521r1"))
        return "nistp521";
    // Blobs written for secp256k1 keys carry this identifier; readers of those blobs expect it.
    if (m_name.equals("secp256k1"))
        return "nistk256";
    // Curves without an SSH identifier of their own (secp192r1, the Brainpool curves) fall back to P-256's.
    return "nistp256";
}

}  // namespace ecckey
