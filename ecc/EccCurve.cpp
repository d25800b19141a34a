#include "ecc/EccCurve.h"

#include "ecc/EccOids.h"
#include "ecc/secp256k1/Secp256k1Params.h"
#include "support/LogBase.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

// A catalogue row: the names a caller may use, and what a load stores. Values are big-endian hexadecimal
// text, upper case and padded to 2 * byteLen digits, with exceptions that callers can see in the record
// and that therefore stay exactly as they are: secp224r1's b, Gx and Gy are lower case, and secp521r1's
// values are unpadded (p, n and Gy have 131 digits; b and Gx, whose top byte is zero, have 130).
// Consumers parse them with mpint_from_radix, which takes either case and any length.
struct CurveRow {
    EccCatalogEntry entry;
    const char *oidLoadName;  // the name loadCurveByOid hands on (RFC 5639 spelling for Brainpool)
    const char *p;
    const char *a;  // Brainpool only: the others use a = p - 3 (NIST) or a = 0 (secp256k1)
    const char *b;
    const char *order;
    const char *Gx;
    const char *Gy;
};

// Tested from top to bottom; the first row that accepts the text wins.
// clang-format off
const CurveRow s_catalog[] = {
    // SEC 2 version 2.
    {{"secp256r1", kOidSecp256r1, 32,
      {"secp256r1", "p-256", "prime256v1", "ecdsa-sha2-nistp256", "nistp256"}, nullptr},
     /* by OID */ "secp256r1",
     /* p  */ "FFFFFFFF00000001000000000000000000000000FFFFFFFFFFFFFFFFFFFFFFFF",
     /* a  */ nullptr,
     /* b  */ "5AC635D8AA3A93E7B3EBBD55769886BC651D06B0CC53B0F63BCE3C3E27D2604B",
     /* n  */ "FFFFFFFF00000000FFFFFFFFFFFFFFFFBCE6FAADA7179E84F3B9CAC2FC632551",
     /* Gx */ "6B17D1F2E12C4247F8BCE6E563A440F277037D812DEB33A0F4A13945D898C296",
     /* Gy */ "4FE342E2FE1A7F9B8EE7EB4A7C0F9E162BCE33576B315ECECBB6406837BF51F5"},

    {{"secp384r1", kOidSecp384r1, 48,
      {"secp384r1", "p-384", "ecdsa-sha2-nistp384", "nistp384"}, nullptr},
     /* by OID */ "secp384r1",
     /* p  */ "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFE"
              "FFFFFFFF0000000000000000FFFFFFFF",
     /* a  */ nullptr,
     /* b  */ "B3312FA7E23EE7E4988E056BE3F82D19181D9C6EFE8141120314088F5013875A"
              "C656398D8A2ED19D2A85C8EDD3EC2AEF",
     /* n  */ "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFC7634D81F4372DDF"
              "581A0DB248B0A77AECEC196ACCC52973",
     /* Gx */ "AA87CA22BE8B05378EB1C71EF320AD746E1D3B628BA79B9859F741E082542A38"
              "5502F25DBF55296C3A545E3872760AB7",
     /* Gy */ "3617DE4A96262C6F5D9E98BF9292DC29F8F41DBD289A147CE9DA3113B5F0B8C0"
              "0A60B1CE1D7E819D7A431D7C90EA0E5F"},

    {{"secp521r1", kOidSecp521r1, 66,
      {"secp521r1", "p-521", "ecdsa-sha2-nistp521", "nistp521"}, nullptr},
     /* by OID */ "secp521r1",
     /* p  */ "1FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF"
              "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF"
              "FFF",
     /* a  */ nullptr,
     /* b  */ "51953EB9618E1C9A1F929A21A0B68540EEA2DA725B99B315F3B8B489918EF109"
              "E156193951EC7E937B1652C0BD3BB1BF073573DF883D2C34F1EF451FD46B503F"
              "00",
     /* n  */ "1FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF"
              "FFA51868783BF2F966B7FCC0148F709A5D03BB5C9B8899C47AEBB6FB71E91386"
              "409",
     /* Gx */ "C6858E06B70404E9CD9E3ECB662395B4429C648139053FB521F828AF606B4D3D"
              "BAA14B5E77EFE75928FE1DC127A2FFA8DE3348B3C1856A429BF97E7E31C2E5BD"
              "66",
     /* Gy */ "11839296A789A3BC0045C8A5FB42C7D1BD998F54449579B446817AFBD17273E6"
              "62C97EE72995EF42640C550B9013FAD0761353C7086A272C24088BE94769FD16"
              "650"},

    {{"secp256k1", kOidSecp256k1, 32,
      {"secp256k1"}, nullptr},
     /* by OID */ "secp256k1",
     /* p  */ kSecp256k1P,
     /* a  */ nullptr,
     /* b  */ kSecp256k1B,
     /* n  */ kSecp256k1N,
     /* Gx */ kSecp256k1Gx,
     /* Gy */ kSecp256k1Gy},

    {{"secp192r1", kOidSecp192r1, 24,
      {"secp192r1", "p-192", "prime192v1"}, nullptr},
     /* by OID */ "secp192r1",
     /* p  */ "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFEFFFFFFFFFFFFFFFF",
     /* a  */ nullptr,
     /* b  */ "64210519E59C80E70FA7E9AB72243049FEB8DEECC146B9B1",
     /* n  */ "FFFFFFFFFFFFFFFFFFFFFFFF99DEF836146BC9B1B4D22831",
     /* Gx */ "188DA80EB03090F67CBF20EB43A18800F4FF0AFD82FF1012",
     /* Gy */ "07192B95FFC8DA78631011ED6B24CDD573F977A11E794811"},

    {{"secp224r1", kOidSecp224r1, 28,
      {"secp224r1", "p-224", "prime224v1", "ecdsa-sha2-nistp224", "nistp224"}, nullptr},
     /* by OID */ "secp224r1",
     /* p  */ "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF000000000000000000000001",
     /* a  */ nullptr,
     /* b  */ "b4050a850c04b3abf54132565044b0b7d7bfd8ba270b39432355ffb4",
     /* n  */ "FFFFFFFFFFFFFFFFFFFFFFFFFFFF16A2E0B8F03E13DD29455C5C2A3D",
     /* Gx */ "b70e0cbd6bb4bf7f321390b94a03c1d356c21122343280d6115c1d21",
     /* Gy */ "bd376388b5f723fb4c22dfe6cd4375a05a07476444d5819985007e34"},

    // RFC 5639, stored under lower-case names; 256 first, then 160 upward.
    {{"brainpoolp256r1", kOidBrainpoolP256r1, 32,
      {"brainpoolp256r1", "bp-256"}, "bp256r1"},
     /* by OID */ "brainpoolP256r1",
     /* p  */ "A9FB57DBA1EEA9BC3E660A909D838D726E3BF623D52620282013481D1F6E5377",
     /* a  */ "7D5A0975FC2C3057EEF67530417AFFE7FB8055C126DC5C6CE94A4B44F330B5D9",
     /* b  */ "26DC5C6CE94A4B44F330B5D9BBD77CBF958416295CF7E1CE6BCCDC18FF8C07B6",
     /* n  */ "A9FB57DBA1EEA9BC3E660A909D838D718C397AA3B561A6F7901E0E82974856A7",
     /* Gx */ "8BD2AEB9CB7E57CB2C4B482FFC81B7AFB9DE27E1E3BD23C23A4453BD9ACE3262",
     /* Gy */ "547EF835C3DAC4FD97F8461A14611DC9C27745132DED8E545C1D54C72F046997"},

    {{"brainpoolp160r1", kOidBrainpoolP160r1, 20,
      {"brainpoolp160r1", "bp-160"}, "bp160r1"},
     /* by OID */ "brainpoolP160r1",
     /* p  */ "E95E4A5F737059DC60DFC7AD95B3D8139515620F",
     /* a  */ "340E7BE2A280EB74E2BE61BADA745D97E8F7C300",
     /* b  */ "1E589A8595423412134FAA2DBDEC95C8D8675E58",
     /* n  */ "E95E4A5F737059DC60DF5991D45029409E60FC09",
     /* Gx */ "BED5AF16EA3F6A4F62938C4631EB5AF7BDBCDBC3",
     /* Gy */ "1667CB477A1A8EC338F94741669C976316DA6321"},

    {{"brainpoolp192r1", kOidBrainpoolP192r1, 24,
      {"brainpoolp192r1", "bp-192"}, "bp192r1"},
     /* by OID */ "brainpoolP192r1",
     /* p  */ "C302F41D932A36CDA7A3463093D18DB78FCE476DE1A86297",
     /* a  */ "6A91174076B1E0E19C39C031FE8685C1CAE040E5C69A28EF",
     /* b  */ "469A28EF7C28CCA3DC721D044F4496BCCA7EF4146FBF25C9",
     /* n  */ "C302F41D932A36CDA7A3462F9E9E916B5BE8F1029AC4ACC1",
     /* Gx */ "C0A0647EAAB6A48753B033C56CB0F0900A2F5C4853375FD6",
     /* Gy */ "14B690866ABD5BB88B5F4828C1490002E6773FA2FA299B8F"},

    {{"brainpoolp224r1", kOidBrainpoolP224r1, 28,
      {"brainpoolp224r1", "bp-224"}, "bp224r1"},
     /* by OID */ "brainpoolP224r1",
     /* p  */ "D7C134AA264366862A18302575D1D787B09F075797DA89F57EC8C0FF",
     /* a  */ "68A5E62CA9CE6C1C299803A6C1530B514E182AD8B0042A59CAD29F43",
     /* b  */ "2580F63CCFE44138870713B1A92369E33E2135D266DBB372386C400B",
     /* n  */ "D7C134AA264366862A18302575D0FB98D116BC4B6DDEBCA3A5A7939F",
     /* Gx */ "0D9029AD2C7E5CF4340823B2A87DC68C9E4CE3174C1E6EFDEE12C07D",
     /* Gy */ "58AA56F772C0726F24C6B89E4ECDAC24354B9E99CAA3F6D3761402CD"},

    {{"brainpoolp320r1", kOidBrainpoolP320r1, 40,
      {"brainpoolp320r1", "bp-320"}, "bp320r1"},
     /* by OID */ "brainpoolP320r1",
     /* p  */ "D35E472036BC4FB7E13C785ED201E065F98FCFA6F6F40DEF4F92B9EC7893EC28"
              "FCD412B1F1B32E27",
     /* a  */ "3EE30B568FBAB0F883CCEBD46D3F3BB8A2A73513F5EB79DA66190EB085FFA9F4"
              "92F375A97D860EB4",
     /* b  */ "520883949DFDBC42D3AD198640688A6FE13F41349554B49ACC31DCCD88453981"
              "6F5EB4AC8FB1F1A6",
     /* n  */ "D35E472036BC4FB7E13C785ED201E065F98FCFA5B68F12A32D482EC7EE8658E9"
              "8691555B44C59311",
     /* Gx */ "43BD7E9AFB53D8B85289BCC48EE5BFE6F20137D10A087EB6E7871E2A10A599C7"
              "10AF8D0D39E20611",
     /* Gy */ "14FDD05545EC1CC8AB4093247F77275E0743FFED117182EAA9C77877AAAC6AC7"
              "D35245D1692E8EE1"},

    {{"brainpoolp384r1", kOidBrainpoolP384r1, 48,
      {"brainpoolp384r1", "bp-384"}, "bp384r1"},
     /* by OID */ "brainpoolP384r1",
     /* p  */ "8CB91E82A3386D280F5D6F7E50E641DF152F7109ED5456B412B1DA197FB71123"
              "ACD3A729901D1A71874700133107EC53",
     /* a  */ "7BC382C63D8C150C3C72080ACE05AFA0C2BEA28E4FB22787139165EFBA91F90F"
              "8AA5814A503AD4EB04A8C7DD22CE2826",
     /* b  */ "04A8C7DD22CE28268B39B55416F0447C2FB77DE107DCD2A62E880EA53EEB62D5"
              "7CB4390295DBC9943AB78696FA504C11",
     /* n  */ "8CB91E82A3386D280F5D6F7E50E641DF152F7109ED5456B31F166E6CAC0425A7"
              "CF3AB6AF6B7FC3103B883202E9046565",
     /* Gx */ "1D1C64F068CF45FFA2A63A81B7C13F6B8847A3E77EF14FE3DB7FCAFE0CBD10E8"
              "E826E03436D646AAEF87B2E247D4AF1E",
     /* Gy */ "8ABE1D7520F9C2A45CB1EB8E95CFD55262B70B29FEEC5864E19C054FF9912928"
              "0E4646217791811142820341263C5315"},

    {{"brainpoolp512r1", kOidBrainpoolP512r1, 64,
      {"brainpoolp512r1", "bp-512"}, "bp512r1"},
     /* by OID */ "brainpoolP512r1",
     /* p  */ "AADD9DB8DBE9C48B3FD4E6AE33C9FC07CB308DB3B3C9D20ED6639CCA70330871"
              "7D4D9B009BC66842AECDA12AE6A380E62881FF2F2D82C68528AA6056583A48F3",
     /* a  */ "7830A3318B603B89E2327145AC234CC594CBDD8D3DF91610A83441CAEA9863BC"
              "2DED5D5AA8253AA10A2EF1C98B9AC8B57F1117A72BF2C7B9E7C1AC4D77FC94CA",
     /* b  */ "3DF91610A83441CAEA9863BC2DED5D5AA8253AA10A2EF1C98B9AC8B57F1117A7"
              "2BF2C7B9E7C1AC4D77FC94CADC083E67984050B75EBAE5DD2809BD638016F723",
     /* n  */ "AADD9DB8DBE9C48B3FD4E6AE33C9FC07CB308DB3B3C9D20ED6639CCA70330870"
              "553E5C414CA92619418661197FAC10471DB1D381085DDADDB58796829CA90069",
     /* Gx */ "81AEE4BDD82ED9645A21322E9C4C6A9385ED9F70B5D916C1B43B62EEF4D0098E"
              "FF3B1F78E2D0D48D50D1687B93B97D5F7C6D5047406A5E688B352209BCB9F822",
     /* Gy */ "7DDE385D566332ECC0EABFA9CF7822FDF209F70024A57B1AA000C55B881F8111"
              "B2DCDE494A5F485E5BCA4BD88A2763AED1CA2B2FA8F0540678CD1E0F3AD80892"},
};
// clang-format on

constexpr int kNumCatalogCurves = static_cast<int>(sizeof(s_catalog) / sizeof(s_catalog[0]));
static_assert(kNumCatalogCurves == 13, "the catalogue holds thirteen curves");

// True when the trimmed, lower-cased text names this row.
[[nodiscard]] bool rowAcceptsName(const EccCatalogEntry &entry, const StringBuffer &text) {
    for (const char *exact : entry.exactNames) {
        if (exact != nullptr && text.equals(exact))
            return true;
    }
    return entry.substringName != nullptr && text.containsSubstring(entry.substringName);
}

// Writes a row into the record in a fixed order: identity and p, then a, then b, n, Gx and Gy. False only
// when a string cannot be allocated; the record is then left empty.
[[nodiscard]] bool fillFromRow(EccCurve &curve, const CurveRow &row) {
    curve.m_byteLen = row.entry.byteLen;
    bool ok = curve.m_name.setString(row.entry.name);
    ok = curve.m_oid.setString(row.entry.oid) && ok;
    ok = curve.m_p.setString(row.p) && ok;
    if (row.a != nullptr) {
        curve.m_hasA = true;
        ok = curve.m_a.setString(row.a) && ok;
    } else {
        curve.m_a.clear();
        curve.m_hasA = false;
    }
    ok = curve.m_b.setString(row.b) && ok;
    ok = curve.m_order.setString(row.order) && ok;
    ok = curve.m_Gx.setString(row.Gx) && ok;
    ok = curve.m_Gy.setString(row.Gy) && ok;
    if (!ok)
        curve.clearEccCurve();
    return ok;
}

}  // namespace

EccCurve::EccCurve() : m_byteLen(0), m_hasA(false) {}

EccCurve::~EccCurve() = default;

bool EccCurve::loadCurveByName(const char *name, LogBase &log) {
    LogContextExitor ctx(log, "loadCurveByName");
    const char *given = name != nullptr ? name : "";
    if (log.m_verbose)
        log.logData("name", given);

    // m_a and m_hasA stay until a row overwrites them.
    clearEccCurve();

    StringBuffer wanted(given);
    wanted.trim2();
    wanted.toLowerCase();
    for (const CurveRow &row : s_catalog) {
        if (rowAcceptsName(row.entry, wanted))
            return fillFromRow(*this, row);
    }

    // Not a name: perhaps an OID. The text goes on as given, untrimmed and in its own case.
    StringBuffer asOid(given);
    if (loadCurveByOid(asOid, log))
        return true;
    log.logError("Unsupported ECC curve..");
    return false;
}

bool EccCurve::loadCurveByOid(const StringBuffer &oid, LogBase &log) {
    LogContextExitor ctx(log, "loadCurveByOid");
    if (log.m_verbose)
        log.LogDataSb("oid", oid);

    // Exact text only. The OIDs are distinct, so the order rows are tried in cannot change the outcome.
    for (const CurveRow &row : s_catalog) {
        if (oid.equals(row.entry.oid))
            return loadCurveByName(row.oidLoadName, log);
    }
    log.logError("Unsupported ECDSA curve.");
    return false;
}

void EccCurve::clearEccCurve() {
    // m_a and m_hasA are left as they are: a cleared record keeps a Brainpool a until the next load.
    m_byteLen = 0;
    m_name.clear();
    m_oid.clear();
    m_p.clear();
    m_b.clear();
    m_order.clear();
    m_Gx.clear();
    m_Gy.clear();
}

void EccCurve::copyFromEccCurve(const EccCurve &other) {
    if (&other == this)
        return;
    m_byteLen = other.m_byteLen;
    bool ok = m_name.setString(other.m_name);
    ok = m_oid.setString(other.m_oid) && ok;
    ok = m_p.setString(other.m_p) && ok;
    ok = m_a.setString(other.m_a) && ok;
    m_hasA = other.m_hasA;
    ok = m_b.setString(other.m_b) && ok;
    ok = m_order.setString(other.m_order) && ok;
    ok = m_Gx.setString(other.m_Gx) && ok;
    ok = m_Gy.setString(other.m_Gy) && ok;
    // A record with a parameter missing would pass for a curve: when memory is short it is left empty.
    if (!ok)
        clearEccCurve();
}

bool EccCurve::getCoefficientA(mp_int &a) const {
    if (m_byteLen == 0)
        return false;
    if (m_hasA)
        return TovarMp::mpint_from_radix(a, m_a.getString(), 16);
    if (isSecp256k1()) {
        TovarMp::mp_zero(a);
        return true;
    }
    mp_int three;
    return TovarMp::mpint_from_radix(a, m_p.getString(), 16) && TovarMp::mp_set(three, 3) == 0 &&
           TovarMp::mp_sub(a, three, a) == 0;
}

bool EccCurve::isSecp256k1() const {
    return m_name.equals("secp256k1");
}

int EccCurve::numCatalogCurves() {
    return kNumCatalogCurves;
}

const EccCatalogEntry *EccCurve::catalogEntry(int index) {
    if (index < 0 || index >= kNumCatalogCurves)
        return nullptr;
    return &s_catalog[index].entry;
}

}  // namespace ecckey
