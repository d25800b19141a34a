// The ANSI X9.63 point codec: EccPoint::loadEccPoint and EccPoint::exportEccPoint.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <string>

#include "support/OsslKey.h"
#include "support/TestPrng.h"

using namespace ecckey;
using namespace ecckey_test;

namespace {

std::string upper(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char ch) { return (char)std::toupper(ch); });
    return s;
}

// A valid P-256 point (d = 7) as 04 || X || Y.
Bytes p256Point() {
    BnPtr seven(BN_new());
    BN_set_word(seven.get(), 7);
    return opensslPublicPoint(curveInfo("secp256r1"), seven.get());
}

const std::vector<std::string> kInvalidOnly = {"Invalid ANSI X9.63 ECC point."};
const std::vector<std::string> kBadFirstByte = {"First byte of ECC point is invalid.",
                                                "Invalid ANSI X9.63 ECC point."};

TEST(LoadEccPoint, UncompressedPointLoads) {
    Bytes pt = p256Point();
    EccPoint P;
    LogRecorder log;
    ASSERT_TRUE(P.loadEccPoint(toDb(pt), log));
    EXPECT_EQ(P.m_format, 4);
    EXPECT_EQ(hexOf(P.m_z), "1");
    EXPECT_EQ(pointOf(P, 32), pt);
    EXPECT_TRUE(log.errors().empty());
    EXPECT_TRUE(log.hasContext("loadEccPoint"));
}

// The unused-bits byte of a BIT STRING may arrive in front of the point.
TEST(LoadEccPoint, LeadingZeroByteIsSkipped) {
    Bytes pt = p256Point();
    Bytes withZero = pt;
    withZero.insert(withZero.begin(), 0x00);
    EccPoint P;
    LogNull log;
    ASSERT_TRUE(P.loadEccPoint(toDb(withZero), log));
    EXPECT_EQ(pointOf(P, 32), pt);
}

// Refused encodings: the message, and the form byte the point is left with.
struct RefusedPoint {
    const char *label;
    Bytes input;
    std::vector<std::string> errors;
    int format;
};

Bytes withByte(Bytes b, size_t at, unsigned char v) {
    b[at] = v;
    return b;
}

std::vector<RefusedPoint> refusedPoints() {
    Bytes longer = p256Point();
    longer.push_back(0x01);
    return {
        // An even length is only valid as 00 || point: a 66-byte string starting 04 is refused.
        {"EvenLengthWithoutLeadingZero", longer, kInvalidOnly, 4},
        // An even-length compressed-looking string goes straight to the invalid path; its byte is kept.
        {"EvenLengthKeepsTheFirstByte", withByte(Bytes(64, 0x11), 0, 0x02), kInvalidOnly, 2},
        {"Compressed02", withByte(Bytes(33, 0x5A), 0, 0x02), kBadFirstByte, 2},
        {"Compressed03", withByte(Bytes(33, 0x5A), 0, 0x03), kBadFirstByte, 3},
        {"BadFirstByteAfterLeadingZero", withByte(withByte(Bytes(34, 0x5A), 0, 0x00), 1, 0x05), kBadFirstByte,
         5},
        {"LoneFormByte", Bytes{0x04}, kInvalidOnly, 4},
        {"LoneFormByteAfterLeadingZero", Bytes{0x00, 0x04}, kInvalidOnly, 4},
    };
}

TEST(LoadEccPoint, RefusedEncodings) {
    for (const RefusedPoint &c : refusedPoints()) {
        EccPoint P;
        LogRecorder log;
        EXPECT_FALSE(P.loadEccPoint(toDb(c.input), log)) << c.label;
        EXPECT_EQ(log.errors(), c.errors) << c.label;
        EXPECT_EQ(P.m_format, c.format) << c.label;
        if (c.errors == kInvalidOnly && c.input.size() > 2) {
            std::string logged;
            ASSERT_TRUE(log.dataValue("eccPoint", logged)) << c.label;
            EXPECT_EQ(upper(logged), hexOf(c.input.data(), c.input.size())) << c.label;
        }
    }
}

// Hybrid forms load and keep their form byte; the writer emits 04 regardless. The parity bit is not
// checked against Y.
TEST(LoadEccPoint, HybridFormsLoadAndExportAsUncompressed) {
    Bytes pt = p256Point();
    for (unsigned char f : {0x06, 0x07}) {
        Bytes hybrid = pt;
        hybrid[0] = f;
        EccPoint P;
        LogRecorder log;
        ASSERT_TRUE(P.loadEccPoint(toDb(hybrid), log));
        EXPECT_EQ(P.m_format, f);
        DataBuffer out;
        ASSERT_TRUE(P.exportEccPoint(32, out, log));
        EXPECT_EQ(toBytes(out), pt);
        EXPECT_TRUE(log.errors().empty());
    }
}

// The reader is curve-agnostic: any equal, non-zero halves load.
TEST(LoadEccPoint, AnyEqualHalvesLoad) {
    EccPoint P;
    LogNull log;
    ASSERT_TRUE(P.loadEccPoint(toDb(Bytes{0x04, 0x01, 0x02}), log));
    EXPECT_EQ(hexOf(P.m_x), "1");
    EXPECT_EQ(hexOf(P.m_y), "2");
}

// A buffer that never held anything fails silently; one that was emptied says so. Either path is
// acceptable for an empty input, as long as the result is false and the message, if any, is this one.
TEST(LoadEccPoint, EmptyInput) {
    EccPoint P;
    LogRecorder fresh;
    EXPECT_FALSE(P.loadEccPoint(DataBuffer(), fresh));
    EXPECT_TRUE(fresh.errors().empty() || fresh.errors() == std::vector<std::string>{"dbX963 is empty."});

    DataBuffer emptied;
    emptied.append("abc", 3);
    emptied.clear();
    LogRecorder log;
    EXPECT_FALSE(P.loadEccPoint(emptied, log));
    EXPECT_EQ(log.errors(), std::vector<std::string>{"dbX963 is empty."});
}

// A failed load leaves no coordinates of an earlier point behind.
TEST(LoadEccPoint, FailureZeroesThePoint) {
    EccPoint P;
    LogNull log;
    ASSERT_TRUE(P.loadEccPoint(toDb(p256Point()), log));
    EXPECT_FALSE(P.loadEccPoint(toDb(Bytes{0x04}), log));
    EXPECT_EQ(hexOf(P.m_x), "0");
    EXPECT_EQ(hexOf(P.m_y), "0");
    EXPECT_EQ(hexOf(P.m_z), "0");
}

// ---- export ----

class CodecAllCurves : public ::testing::TestWithParam<CurveInfo> {};

TEST_P(CodecAllCurves, RoundTripsOpenSslPoints) {
    const CurveInfo &c = GetParam();
    TestPrng rng(testSeed() ^ (std::uint64_t)c.nid);
    GroupPtr g = groupFor(c);
    for (int i = 0; i < testIterations(5); ++i) {
        BnPtr d = randomScalar(EC_GROUP_get0_order(g.get()), rng);
        Bytes pt = opensslPublicPoint(c, d.get());
        ASSERT_EQ(pt.size(), (size_t)(2 * c.byteLen + 1));
        EccPoint P;
        LogRecorder log;
        ASSERT_TRUE(P.loadEccPoint(toDb(pt), log));
        DataBuffer out;
        ASSERT_TRUE(P.exportEccPoint(c.byteLen, out, log));
        EXPECT_EQ(toBytes(out), pt);
        EXPECT_TRUE(log.hasContext("exportEccPoint"));
    }
}

INSTANTIATE_TEST_SUITE_P(AllCurves, CodecAllCurves, ::testing::ValuesIn(allCurves()), curveParamName);

// Exporting a P-521 point whose x has leading zero bytes still gives 133 bytes. The scalar is found with
// OpenSSL under a fixed seed (two leading zero bytes: about one in 512).
TEST(ExportEccPoint, P521LeadingZeroXIsPadded) {
    const CurveInfo &c = curveInfo("secp521r1");
    TestPrng rng(77);
    GroupPtr g = groupFor(c);
    Bytes pt;
    BnPtr found;
    for (int i = 0; i < 20000 && !found; ++i) {
        BnPtr d = randomScalar(EC_GROUP_get0_order(g.get()), rng);
        pt = opensslPublicPoint(c, d.get());
        if (pt[1] == 0 && pt[2] == 0)
            found = std::move(d);
    }
    ASSERT_TRUE(found);

    EccKey key;
    LogNull log;
    ASSERT_TRUE(key.generateNewKey2(StringBuffer(c.name), bnHex(found.get(), 66).c_str(), "hex", log));
    DataBuffer out;
    ASSERT_TRUE(key.exportEccPoint(out, log));
    ASSERT_EQ(out.getSize(), 133u);
    EXPECT_EQ(toBytes(out), pt);
}

TEST(ExportEccPoint, AppendsWithoutClearing) {
    EccPoint P;
    LogNull log;
    ASSERT_TRUE(P.loadEccPoint(toDb(Bytes{0x04, 0x01, 0x02}), log));
    DataBuffer out;
    out.append("AB", 2);
    ASSERT_TRUE(P.exportEccPoint(3, out, log));
    EXPECT_EQ(toBytes(out), (Bytes{'A', 'B', 0x04, 0, 0, 1, 0, 0, 2}));
}

// A coordinate longer than the requested length is cut to its most significant bytes.
TEST(ExportEccPoint, LongCoordinateIsCut) {
    EccPoint P;
    LogNull log;
    ASSERT_TRUE(P.loadEccPoint(toDb(Bytes{0x04, 0x01, 0x02, 0x03, 0x04}), log));
    DataBuffer out;
    ASSERT_TRUE(P.exportEccPoint(1, out, log));
    EXPECT_EQ(toBytes(out), (Bytes{0x04, 0x01, 0x03}));
}

// A coordinate over 256 bytes cannot be written: false, with the form byte left in the output.
TEST(ExportEccPoint, OversizedCoordinateLeavesFormByte) {
    EccPoint P;
    Bytes big(257, 0xAB);
    TovarMp::mpint_from_bytes(P.m_x, big.data(), (unsigned)big.size());
    TovarMp::mp_set(P.m_y, 1);
    DataBuffer out;
    LogRecorder log;
    EXPECT_FALSE(P.exportEccPoint(32, out, log));
    EXPECT_EQ(toBytes(out), Bytes{0x04});
    EXPECT_TRUE(log.errors().empty());
}

TEST(ExportEccPoint, ZeroPointIsAllZeroCoordinates) {
    EccPoint P;
    DataBuffer out;
    LogNull log;
    ASSERT_TRUE(P.exportEccPoint(20, out, log));
    Bytes expected(41, 0);
    expected[0] = 0x04;
    EXPECT_EQ(toBytes(out), expected);
}

}  // namespace
