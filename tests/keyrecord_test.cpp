// The key and point records: construction, clearing, deep copies, the curve accessors and point logging.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/Oracle.h"

using ecckey::EccKey;
using ecckey::EccPoint;
using ecckey::LogRecorder;
using ecckey::StringBuffer;
using ecckey::TovarMp;
using ecckey_test::CurveInfo;

namespace {

void setHex(ecckey::mp_int &v, const char *hex) {
    ASSERT_TRUE(TovarMp::mpint_from_radix(v, hex, 16)) << hex;
}

// A private key on the given curve with arbitrary, distinct values in every field.
void fillKey(EccKey &key, const char *oid) {
    LogRecorder log;
    ASSERT_TRUE(key.loadCurveByOid(StringBuffer(oid), log)) << log.errorText();
    key.m_keyType = 1;
    setHex(key.m_privKey, "0123456789ABCDEF0123456789ABCDEF");
    setHex(key.m_pubPoint.m_x, "1111111111111111111111111111111111");
    setHex(key.m_pubPoint.m_y, "2222222222222222222222222222222222");
    setHex(key.m_pubPoint.m_z, "1");
    key.m_pubPoint.m_format = 6;
}

bool isZero(const ecckey::mp_int &v) {
    return TovarMp::mp_cmp_d(v, 0) == 0;
}

std::string hex(const ecckey::mp_int &v) {
    return ecckey_test::hexOf(v);
}

void expectEmptyApartFromA(const EccKey &key) {
    EXPECT_EQ(key.m_keyType, 0);
    EXPECT_EQ(key.get_ModulusBitLen(), 0u);
    EXPECT_EQ(key.m_curve.m_byteLen, 0);
    for (const StringBuffer *s : {&key.m_curve.m_name, &key.m_curve.m_oid, &key.m_curve.m_p, &key.m_curve.m_b,
                                  &key.m_curve.m_order, &key.m_curve.m_Gx, &key.m_curve.m_Gy})
        EXPECT_TRUE(s->isEmpty());
    EXPECT_EQ(key.m_pubPoint.m_format, 4);
    EXPECT_TRUE(isZero(key.m_pubPoint.m_x));
    EXPECT_TRUE(isZero(key.m_pubPoint.m_y));
    EXPECT_TRUE(isZero(key.m_pubPoint.m_z));
    EXPECT_TRUE(isZero(key.m_privKey));
    StringBuffer oid("not empty");
    key.getCurveOid(oid);
    EXPECT_TRUE(oid.isEmpty());
}

}  // namespace

TEST(KeyRecord, NewKeyIsEmpty) {
    EccKey key;
    expectEmptyApartFromA(key);
    EXPECT_FALSE(key.m_curve.m_hasA);
    EXPECT_TRUE(key.m_curve.m_a.isEmpty());
    EXPECT_FALSE(key.isPrivate());

    std::unique_ptr<EccKey> heap(EccKey::createNewObject());
    ASSERT_NE(heap, nullptr);
    expectEmptyApartFromA(*heap);
}

class KeyRecordCurve : public ::testing::TestWithParam<CurveInfo> {};

// Whole bytes: P-521 reports 528, because callers size buffers from it.
TEST_P(KeyRecordCurve, ModulusBitLenIsByteLengthTimesEight) {
    const CurveInfo &c = GetParam();
    EccKey key;
    LogRecorder log;
    ASSERT_TRUE(key.loadCurveByOid(StringBuffer(c.oid), log));
    EXPECT_EQ(key.get_ModulusBitLen(), 8u * (unsigned)c.byteLen);
    StringBuffer oid;
    key.getCurveOid(oid);
    EXPECT_STREQ(oid.getString(), c.oid);
}

INSTANTIATE_TEST_SUITE_P(AllCurves, KeyRecordCurve, ::testing::ValuesIn(ecckey_test::allCurves()),
                         ecckey_test::curveParamName);

TEST(KeyRecord, LoadCurveByOidForwardsSuccessAndFailure) {
    EccKey key;
    fillKey(key, "1.3.36.3.3.2.8.1.1.5");
    LogRecorder log;
    EXPECT_FALSE(key.loadCurveByOid(StringBuffer("1.3.132.0.34 "), log));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"Unsupported ECDSA curve."});
    EXPECT_STREQ(key.m_curve.m_name.getString(), "brainpoolp224r1");
    ASSERT_TRUE(key.loadCurveByOid(StringBuffer("1.3.132.0.34"), log));
    EXPECT_STREQ(key.m_curve.m_name.getString(), "secp384r1");
    EXPECT_FALSE(key.m_curve.m_hasA);
}

TEST(KeyRecord, ClearEmptiesAllButTheBrainpoolA) {
    EccKey key;
    fillKey(key, "1.3.36.3.3.2.8.1.1.7");
    const std::string a = key.m_curve.m_a.getString();
    ASSERT_FALSE(a.empty());

    key.clearEccKey();
    expectEmptyApartFromA(key);
    EXPECT_TRUE(key.m_curve.m_hasA);
    EXPECT_EQ(key.m_curve.m_a.getString(), a);

    LogRecorder log;
    ASSERT_TRUE(key.loadCurveByOid(StringBuffer("1.2.840.10045.3.1.7"), log));
    EXPECT_FALSE(key.m_curve.m_hasA);
    EXPECT_TRUE(key.m_curve.m_a.isEmpty());
}

TEST(KeyRecord, CopyIsDeep) {
    EccKey source;
    fillKey(source, "1.3.36.3.3.2.8.1.1.11");
    EccKey copy;
    fillKey(copy, "1.3.132.0.10");  // overwritten entirely, not merged
    copy.copyFromEccKey(source);

    EXPECT_EQ(copy.m_keyType, 1);
    EXPECT_EQ(hex(copy.m_privKey), hex(source.m_privKey));
    EXPECT_STREQ(copy.m_curve.m_name.getString(), "brainpoolp384r1");
    EXPECT_STREQ(copy.m_curve.m_a.getString(), source.m_curve.m_a.getString());
    EXPECT_TRUE(copy.m_curve.m_hasA);
    EXPECT_STREQ(copy.m_curve.m_Gy.getString(), source.m_curve.m_Gy.getString());
    EXPECT_EQ(copy.m_pubPoint.m_format, 6);
    EXPECT_EQ(hex(copy.m_pubPoint.m_x), hex(source.m_pubPoint.m_x));
    EXPECT_EQ(hex(copy.m_pubPoint.m_y), hex(source.m_pubPoint.m_y));
    EXPECT_EQ(hex(copy.m_pubPoint.m_z), hex(source.m_pubPoint.m_z));
    EXPECT_EQ(copy.get_ModulusBitLen(), 384u);

    // Changing the copy leaves the source alone.
    const std::string d = hex(source.m_privKey);
    const std::string x = hex(source.m_pubPoint.m_x);
    setHex(copy.m_privKey, "55");
    setHex(copy.m_pubPoint.m_x, "66");
    copy.m_curve.m_p.setString("77");
    copy.clearEccKey();
    EXPECT_EQ(hex(source.m_privKey), d);
    EXPECT_EQ(hex(source.m_pubPoint.m_x), x);
    EXPECT_STREQ(source.m_curve.m_name.getString(), "brainpoolp384r1");
    EXPECT_EQ(source.m_keyType, 1);

    source.copyFromEccKey(source);
    EXPECT_EQ(hex(source.m_privKey), d);
}

TEST(PointRecord, ConstructClearAndCopy) {
    EccPoint p;
    EXPECT_EQ(p.m_format, 4);
    EXPECT_TRUE(isZero(p.m_x));
    EXPECT_TRUE(isZero(p.m_y));
    EXPECT_TRUE(isZero(p.m_z));

    setHex(p.m_x, "ABCDEF0123456789ABCDEF0123456789");
    setHex(p.m_y, "FEDCBA");
    setHex(p.m_z, "1");
    p.m_format = 7;
    EccPoint q;
    EXPECT_TRUE(q.copyFromEccPoint(p));
    EXPECT_EQ(q.m_format, 7);
    EXPECT_EQ(hex(q.m_x), "ABCDEF0123456789ABCDEF0123456789");
    EXPECT_EQ(hex(q.m_y), "FEDCBA");
    EXPECT_EQ(hex(q.m_z), "1");

    p.clearEccPoint();
    EXPECT_EQ(p.m_format, 4);
    EXPECT_TRUE(isZero(p.m_x));
    EXPECT_TRUE(isZero(p.m_y));
    EXPECT_TRUE(isZero(p.m_z));
    EXPECT_EQ(hex(q.m_x), "ABCDEF0123456789ABCDEF0123456789");  // the copy is its own
}

TEST(PointRecord, LogsXYZInOneContextNamedByTheCaller) {
    EccPoint p;
    setHex(p.m_x, "0A");
    setHex(p.m_y, "0B");
    setHex(p.m_z, "01");
    LogRecorder log;
    p.logEccPoint("pubKey", log);

    std::vector<std::string> contexts, dataNames;
    for (const LogRecorder::Entry &e : log.entries()) {
        if (e.kind == LogRecorder::Kind::Context)
            contexts.push_back(e.name);
        if (e.kind == LogRecorder::Kind::Data) {
            dataNames.push_back(e.name);
            EXPECT_EQ(e.path, "pubKey");
        }
    }
    EXPECT_EQ(contexts, std::vector<std::string>{"pubKey"});
    EXPECT_EQ(dataNames, (std::vector<std::string>{"x", "y", "z"}));

    // Each item carries its own coordinate: x and y differ, and match what the same logger writes for them.
    std::string x, y;
    ASSERT_TRUE(log.dataValue("x", x));
    ASSERT_TRUE(log.dataValue("y", y));
    EXPECT_NE(x, y);
    LogRecorder direct;
    TovarMp::log_mpint("x", p.m_x, direct);
    std::string expectedX;
    ASSERT_TRUE(direct.dataValue("x", expectedX));
    EXPECT_EQ(x, expectedX);
}
