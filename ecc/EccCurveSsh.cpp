// SSH names of the catalogue curves: the key-type name (getPpkType) and the curve identifier written into
// public-key blobs (puttyCurveName). The two tables disagree on P-521 and secp256k1 and each caller uses
// its own; existing key files and servers depend on both spellings.
#include "ecc/EccCurve.h"

#include "ecc/EccOids.h"
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
    {kOidSecp256r1, "ecdsa-sha2-nistp256"},
    {kOidSecp384r1, "ecdsa-sha2-nistp384"},
    {kOidSecp521r1, "ecdsa-sha2-nistp512"},
    {kOidSecp256k1, "ecdsa-sha2-secp256k1"},
    {kOidSecp192r1, "ecdsa-sha2-nistp192"},
    {kOidSecp224r1, "ecdsa-sha2-nistp224"},
    {kOidBrainpoolP160r1, "ecdsa-sha2-brainpoolP160r1"},
    {kOidBrainpoolP192r1, "ecdsa-sha2-brainpoolP192r1"},
    {kOidBrainpoolP224r1, "ecdsa-sha2-brainpoolP224r1"},
    {kOidBrainpoolP256r1, "ecdsa-sha2-brainpoolP256r1"},
    {kOidBrainpoolP320r1, "ecdsa-sha2-brainpoolP320r1"},
    {kOidBrainpoolP384r1, "ecdsa-sha2-brainpoolP384r1"},
    {kOidBrainpoolP512r1, "ecdsa-sha2-brainpoolP512r1"},
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
    if (isSecp256k1())
        return "nistk256";
    // Curves without an SSH identifier of their own (secp192r1, the Brainpool curves) fall back to P-256's.
    return "nistp256";
}

}  // namespace ecckey
