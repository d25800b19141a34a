// Behaviours no oracle checks: rules of the module's own that callers and existing files depend on.
#include "ecc/EcdsaSig.h"
#include "support/Asn1.h"
#include "support/Oracle.h"
#include "support/SshMessage.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

// The generic signer keeps drawing nonces until the minimal encodings of r and s both start below 0x80,
// so its DER never needs a sign octet; secp256k1's engine has no such rule but always gives low s.
TEST(Quirks, SignerRules) {
    TestPrng prng(testSeed());
    for (const CurveInfo &c : allCurves()) {
        EccKey key;
        LogNull log;
        ASSERT_TRUE(key.generateNewKey(StringBuffer(c.name), prng, log));
        BnPtr halfN = orderOf(c);
        BN_rshift1(halfN.get(), halfN.get());
        int highLeads = 0;
        for (int i = 0; i < (isK1(c) ? 40 : testIterations(8)); ++i) {
            Bytes h = prng.bytes(32);
            DataBuffer der;
            int calls = prng.m_calls;
            ASSERT_TRUE(key.eccSignHash(h.data(), 32, prng, true, der, log));
            BnPtr r, s;
            ASSERT_TRUE(rsOf(toBytes(der), r, s));
            for (const BIGNUM *v : {r.get(), s.get()}) {
                bool high = bytesOf(v, 0)[0] >= 0x80;
                highLeads += high;
                EXPECT_TRUE(!high || isK1(c)) << c.name;
            }
            EXPECT_TRUE(isK1(c) ? BN_cmp(s.get(), halfN.get()) <= 0 : prng.m_calls - calls >= 1);
        }
        EXPECT_EQ(highLeads > 0, isK1(c));  // secp256k1: 40 values of r, each high about half the time
    }
}

// A PuTTY private blob of 57 bytes or more is read as the four-field form: a 53-byte mpint of d (57 bytes
// with its length) is taken for a curve name, while 52 bytes load as d.
TEST(Quirks, PuttyBlobThreshold) {
    Ossl o = Ossl::random(allCurves()[2], *std::make_unique<TestPrng>(testSeed()));
    for (unsigned len : {52u, 53u}) {
        DataBuffer blob;
        EXPECT_TRUE(SshMessage::pack_db(toDb(Bytes(len, 0x11)), blob));
        EccKey key;
        LogRecorder log;
        bool ok = key.loadPrivateFromPuttySsh("secp521r1", toDb(o.point()), blob, log);
        EXPECT_EQ(ok, len == 52) << log.errorText();
        EXPECT_EQ(hexOf(key.m_privKey), ok ? std::string(2 * len, '1') : "0");
    }
}

// TLS wrapping turns a raw r||s into standard DER (a sign octet where needed) and re-encodes DER.
TEST(Quirks, TlsWrapping) {
    TestPrng prng(testSeed());
    for (Bytes raw : {prng.bytes(64), prng.bytes(96)}) {
        raw[0] |= 0x80;
        raw[raw.size() / 2] &= 0x7F;
        size_t half = raw.size() / 2;
        Bytes want = derOf(bnOf(Bytes(raw.begin(), raw.begin() + half)).get(),
                           bnOf(Bytes(raw.begin() + half, raw.end())).get());
        for (const Bytes &in : {raw, want}) {
            DataBuffer out;
            EXPECT_TRUE(out.append("x", 1));
            LogRecorder log;
            ASSERT_TRUE(EccKey::eccWrapSigAsn_forTls(toDb(in), 0, out, log));
            Bytes got = toBytes(out);
            EXPECT_EQ(Bytes(got.begin() + 1, got.end()), want);
        }
    }
}

// Scalars the generic ladder meets outside [1, n): zero gives G, n gives G again after the in-place
// reduction; the secp256k1 engine takes zero to its canonical zero point and keeps d unreduced.
TEST(Quirks, ScalarsOutsideTheRange) {
    for (const CurveInfo &c : {allCurves()[0], allCurves()[3]}) {
        BnPtr n = orderOf(c);
        EccKey zero, atN;
        LogRecorder log;
        ASSERT_TRUE(zero.generateNewKey2(StringBuffer(c.name), "00", "hex", log));
        ASSERT_TRUE(
            atN.generateNewKey2(StringBuffer(c.name), hexOf(bytesOf(n.get(), 32)).c_str(), "hex", log));
        DataBuffer q0, qn;
        EXPECT_TRUE(zero.exportEccPoint(q0, log));
        EXPECT_TRUE(atN.exportEccPoint(qn, log));
        Bytes G = Ossl(c, BN_value_one()).point();
        if (isK1(c)) {
            EXPECT_EQ(hexOf(zero.m_pubPoint.m_x) + hexOf(zero.m_pubPoint.m_y), "01");
            EXPECT_EQ(hexOf(atN.m_privKey), hexOf(bytesOf(n.get(), 0)));
        } else {
            EXPECT_EQ(toBytes(q0), G);
            EXPECT_EQ(toBytes(qn), G);
            EXPECT_EQ(hexOf(atN.m_privKey), "0");
        }
    }
}

// Key records: a copy is deep and whole, clearing keeps a Brainpool a until the next load replaces it, and a
// point logs its coordinates under the caller's context name.
TEST(Quirks, KeyRecordsCopyClearAndLog) {
    TestPrng prng(testSeed());
    LogRecorder log;
    std::unique_ptr<EccKey> source(EccKey::createNewObject()), copy(EccKey::createNewObject());
    ASSERT_TRUE(source && copy && source->generateNewKey(StringBuffer("bp-320"), prng, log));
    // PKCS #8 attributes ([0] { commonName "name" }) go with the copy and end its PrivateKeyInfo.
    const Bytes attrs = unhex("A00F300D060355040331060C046E616D65");
    unsigned used = 0;
    source->setPkcs8Attributes(_tvAsn1::DecodeToAsn(attrs.data(), (unsigned)attrs.size(), used, log));
    copy->copyFromEccKey(*source);
    DataBuffer a, b;
    ASSERT_TRUE(source->toEccPkcs8PrivateKeyDer(a, log) && copy->toEccPkcs8PrivateKeyDer(b, log));
    EXPECT_TRUE(a.equals(b) && copy->m_curve.m_hasA && copy->m_curve.m_a.equals(source->m_curve.m_a));
    EXPECT_TRUE(std::equal(attrs.rbegin(), attrs.rend(), toBytes(b).rbegin()));
    EXPECT_EQ(Ossl::decode(toBytes(b), true).d(0), bytesOf(bnOf(source->m_privKey).get(), 0));
    EXPECT_EQ(0, TovarMp::mp_add(copy->m_privKey, copy->m_privKey, copy->m_privKey));
    EXPECT_NE(hexOf(copy->m_privKey), hexOf(source->m_privKey));
    copy->clearEccKey();
    EXPECT_TRUE(copy->m_curve.m_hasA && copy->m_curve.m_a.equals(source->m_curve.m_a));
    EXPECT_EQ(copy->get_ModulusBitLen(), 0u);
    ASSERT_TRUE(copy->loadCurveByOid(StringBuffer("1.3.132.0.35"), log));
    EXPECT_TRUE(!copy->m_curve.m_hasA && copy->m_curve.m_a.getSize() == 0 &&
                copy->get_ModulusBitLen() == 528);
    LogRecorder pointLog;
    source->m_pubPoint.logEccPoint("pubKey", pointLog);
    std::string names, x, z;
    for (const LogRecorder::Entry &e : pointLog.entries())
        names += e.path + "/" + e.name + " ";
    EXPECT_EQ(names, "/pubKey pubKey/x pubKey/y pubKey/z ");
    EXPECT_TRUE(pointLog.dataValue("x", x) && x == hexOf(source->m_pubPoint.m_x) &&
                pointLog.dataValue("z", z) && z == "1");
}

}  // namespace

// The secp256k1 signer reads its nonce bytes least significant first, draws again when the nonce is zero
// or not below n, and gives up silently after 100 draws.
TEST(Quirks, Secp256k1NonceRetries) {
    const CurveInfo &k1 = allCurves()[3];
    TestPrng prng(testSeed());
    Ossl o = Ossl::random(k1, prng);
    EccKey key;
    loadInto(o, k1, key, true);
    BnPtr k = randomScalar(k1, prng);
    Bytes h = prng.bytes(32), kBytes = bytesOf(k.get(), 32);
    std::reverse(kBytes.begin(), kBytes.end());
    ScriptedPrng scripted;
    scripted.m_queue = bytesOf(orderOf(k1).get(), 32);  // n itself, the first value refused
    std::reverse(scripted.m_queue.begin(), scripted.m_queue.end());
    scripted.m_queue.insert(scripted.m_queue.end(), 32, 0);
    scripted.m_queue.insert(scripted.m_queue.end(), kBytes.begin(), kBytes.end());
    DataBuffer sig;
    LogRecorder log;
    ASSERT_TRUE(key.eccSignHash(h.data(), 32, scripted, false, sig, log));
    EXPECT_EQ(scripted.m_calls, 3);
    Bytes kG = Ossl(k1, k.get()).point();
    // r is x(k·G) mod n; x is below n but for a chance of 2^-128.
    EXPECT_EQ(Bytes(sig.getData2(), sig.getData2() + 32), Bytes(kG.begin() + 1, kG.begin() + 33));
    ScriptedPrng zeros;
    EXPECT_FALSE(key.eccSignHash(h.data(), 32, zeros, true, sig, log));
    EXPECT_EQ(zeros.m_calls, 100);
    EXPECT_TRUE(log.errors().empty());
    ScriptedPrng failing;
    failing.m_failWhenEmpty = true;
    EXPECT_FALSE(key.eccSignHash(h.data(), 32, failing, true, sig, log));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Failed to generate random nonce."});
}
