// unpackDsaSig: the structural DER test (including its long-form length formula), the raw sizes it knows,
// the caller's split, and the exact messages and data items.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ecc/EcdsaSig.h"
#include "support/OsslKey.h"

using ecckey::LogRecorder;
using ecckey::mp_int;
using ecckey::unpackDsaSig;
using ecckey_test::Bytes;

namespace {

const char *const kSizeError = "Unexpected size for R,S signature.";

// count bytes counting up from first: 01 02 03 ...
Bytes run(unsigned count, unsigned char first) {
    Bytes b(count);
    for (unsigned i = 0; i < count; ++i)
        b[i] = (unsigned char)(first + i);
    return b;
}

// SEQUENCE { INTEGER r, INTEGER s } with the given contents and the SEQUENCE length written as lenBytes.
Bytes derWith(const Bytes &lenBytes, const Bytes &r, const Bytes &s) {
    Bytes out = {0x30};
    out.insert(out.end(), lenBytes.begin(), lenBytes.end());
    out.push_back(0x02);
    out.push_back((unsigned char)r.size());
    out.insert(out.end(), r.begin(), r.end());
    out.push_back(0x02);
    out.push_back((unsigned char)s.size());
    out.insert(out.end(), s.begin(), s.end());
    return out;
}

Bytes der(const Bytes &r, const Bytes &s) {
    size_t content = r.size() + s.size() + 4;
    if (content < 0x80)
        return derWith({(unsigned char)content}, r, s);
    return derWith({0x81, (unsigned char)content}, r, s);
}

// Hex of an integer (minimal, upper case), from its value or from big-endian bytes.
std::string hexOf(const mp_int &v) {
    return ecckey_test::hexOf(v);
}
std::string hexOf(const unsigned char *bytes, size_t count) {
    ecckey_test::BnPtr bn(BN_bin2bn(bytes, (int)count, nullptr));
    return ecckey_test::hexOf(bn.get());
}

struct Unpacked {
    bool ok = false;
    std::string r, s;
    LogRecorder log;
};

void unpack(const Bytes &sig, bool split, unsigned rLen, Unpacked &u, bool verbose = true) {
    mp_int r, s;
    u.log.m_verbose = verbose;
    u.ok = unpackDsaSig(sig.empty() ? nullptr : sig.data(), (unsigned)sig.size(), split, r, s, u.log, rLen);
    u.r = hexOf(r);
    u.s = hexOf(s);
}

std::string dataOf(const LogRecorder &log, const char *name) {
    std::string v;
    return log.dataValue(name, v) ? v : std::string("<absent>");
}

TEST(UnpackDsaSig, SeventyByteDerIsRecognised) {
    Bytes r = run(32, 0x01), s = run(32, 0x41);
    Bytes sig = der(r, s);
    ASSERT_EQ(70u, sig.size());
    ASSERT_EQ(0x44, sig[1]);
    Unpacked u;
    unpack(sig, false, 0, u);
    EXPECT_TRUE(u.ok) << u.log.toText();
    EXPECT_EQ(hexOf(r.data(), r.size()), u.r);
    EXPECT_EQ(hexOf(s.data(), s.size()), u.s);
    EXPECT_TRUE(u.log.hasContext("unpackDsaSig"));
    EXPECT_EQ("70", dataOf(u.log, "siglen"));
    EXPECT_EQ("true", dataOf(u.log, "isAsnSig"));
    EXPECT_NE("<absent>", dataOf(u.log, "sig"));
}

TEST(UnpackDsaSig, LengthByteOneTooLargeIsTakenAsRawAndRefused) {
    Bytes sig = der(run(32, 0x01), run(32, 0x41));
    sig[1] = 0x45;
    Unpacked u;
    unpack(sig, false, 0, u);
    EXPECT_FALSE(u.ok);
    EXPECT_TRUE(u.log.hasError(kSizeError)) << u.log.toText();
    EXPECT_EQ(1u, u.log.errors().size());
    EXPECT_EQ("70", dataOf(u.log, "siglen"));

    EXPECT_EQ("false", dataOf(u.log, "isAsnSig"));
}

TEST(UnpackDsaSig, SplitAppliesToInputsThatFailTheStructuralTest) {
    Bytes sig = der(run(32, 0x01), run(32, 0x41));
    sig[1] = 0x45;  // no longer DER
    Unpacked u;
    unpack(sig, true, 32, u);
    ASSERT_TRUE(u.ok) << u.log.toText();
    EXPECT_EQ(hexOf(sig.data(), 32), u.r);
    EXPECT_EQ(hexOf(sig.data() + 32, 38), u.s);  // 32/38: the halves may differ
    EXPECT_TRUE(u.log.errors().empty());
}

TEST(UnpackDsaSig, IsAsnSigReportsTheStructuralTestWhateverTheSplitFlag) {
    Bytes sig = der(run(32, 0x01), run(32, 0x41));
    Unpacked plain, split;
    unpack(sig, false, 0, plain);
    unpack(sig, true, 32, split);
    EXPECT_EQ("true", dataOf(split.log, "isAsnSig"));
    // DER wins over the split: r and s are the INTEGERs, not 32/38 bytes.
    EXPECT_EQ(plain.r, split.r);
    EXPECT_EQ(plain.s, split.s);
}

TEST(UnpackDsaSig, LongFormOfP521SizeIsRecognised) {
    Bytes r = run(66, 0x01), s = run(66, 0x11);
    Bytes sig = der(r, s);
    ASSERT_EQ(0x81, sig[1]);
    ASSERT_EQ(0x88, sig[2]);  // 136 bytes of content
    Unpacked u;
    unpack(sig, false, 0, u);
    EXPECT_TRUE(u.ok) << u.log.toText();
    EXPECT_EQ(hexOf(r.data(), r.size()), u.r);
    EXPECT_EQ(hexOf(s.data(), s.size()), u.s);
}

TEST(UnpackDsaSig, LongFormOfALengthBelow128IsNotDer) {
    // 100 bytes of content written as 0x81 0x64: the formula gives 228, so the input is raw (103 bytes).
    Bytes sig = derWith({0x81, 0x64}, run(48, 0x01), run(48, 0x41));
    ASSERT_EQ(103u, sig.size());
    Unpacked u;
    unpack(sig, false, 0, u);
    EXPECT_FALSE(u.ok);
    EXPECT_TRUE(u.log.hasError(kSizeError));
}

TEST(UnpackDsaSig, KnownRawSizesSplitInHalves) {
    for (unsigned len : {48u, 64u, 96u, 128u, 132u}) {
        Bytes sig = run(len, 0x01);
        Unpacked u;
        unpack(sig, false, 0, u);
        ASSERT_TRUE(u.ok) << len;
        EXPECT_EQ(hexOf(sig.data(), len / 2), u.r) << len;
        EXPECT_EQ(hexOf(sig.data() + len / 2, len / 2), u.s) << len;
    }
}

TEST(UnpackDsaSig, RawSizesOfTheSmallAndOddCurvesNeedTheRLength) {
    for (unsigned len : {40u, 56u, 80u}) {
        Bytes sig = run(len, len == 56 ? 0x80 : 0x01);  // P-224's r may start with a high bit
        Unpacked refused;
        unpack(sig, false, 0, refused);
        EXPECT_FALSE(refused.ok) << len;
        EXPECT_TRUE(refused.log.hasError(kSizeError)) << len;
        // The split flag alone is not enough; the r length alone neither.
        Unpacked noLen, noFlag;
        unpack(sig, true, 0, noLen);
        unpack(sig, false, len / 2, noFlag);
        EXPECT_FALSE(noLen.ok) << len;
        EXPECT_FALSE(noFlag.ok) << len;

        Unpacked u;
        unpack(sig, true, len / 2, u);
        ASSERT_TRUE(u.ok) << len;
        EXPECT_EQ(hexOf(sig.data(), len / 2), u.r);
        EXPECT_EQ(hexOf(sig.data() + len / 2, len / 2), u.s);
    }
}

TEST(UnpackDsaSig, RLengthNotBelowTheSizeFallsBackToTheTable) {
    Bytes sig = run(64, 0x01);
    Unpacked u;
    unpack(sig, true, 64, u);  // len > rLen fails: split in halves
    ASSERT_TRUE(u.ok);
    EXPECT_EQ(hexOf(sig.data(), 32), u.r);
    Unpacked odd;
    unpack(run(70, 0x01), true, 70, odd);
    EXPECT_FALSE(odd.ok);
}

TEST(UnpackDsaSig, SizeErrorLogsTheBytesAndTheLength) {
    Bytes sig = run(10, 0xA0);
    Unpacked u;
    unpack(sig, false, 0, u, false);
    EXPECT_FALSE(u.ok);
    EXPECT_EQ(std::vector<std::string>{kSizeError}, u.log.errors());
    EXPECT_EQ(ecckey_test::hexOf(sig.data(), sig.size()), dataOf(u.log, "sig"));
    EXPECT_EQ("10", dataOf(u.log, "siglen"));
    // Not verbose: only the error's own data items were written.
    EXPECT_EQ("<absent>", dataOf(u.log, "isAsnSig"));
}

TEST(UnpackDsaSig, VerboseSigDumpStopsAbove600Bytes) {
    Bytes small = run(600, 0x01), big = run(601, 0x01);
    Unpacked a, b;
    unpack(small, false, 0, a);
    unpack(big, false, 0, b);
    // Both fail on size; the first dump is the verbose one, the second (large) input has only the one
    // written with the size error.
    int sigItemsA = 0, sigItemsB = 0;
    for (const auto &e : a.log.entries())
        sigItemsA += e.kind == LogRecorder::Kind::Data && e.name == "sig";
    for (const auto &e : b.log.entries())
        sigItemsB += e.kind == LogRecorder::Kind::Data && e.name == "sig";
    EXPECT_EQ(2, sigItemsA);
    EXPECT_EQ(1, sigItemsB);
}

TEST(UnpackDsaSig, NullInputIsRefused) {
    Unpacked u;
    mp_int r, s;
    u.ok = unpackDsaSig(nullptr, 64, false, r, s, u.log, 0);
    EXPECT_FALSE(u.ok);
    EXPECT_TRUE(u.log.hasError(kSizeError));
}

TEST(UnpackDsaSig, NegativeIntegerIsRefusedByTheDecoder) {
    Bytes sig = der({0x80, 0x01}, run(32, 0x01));  // r would be negative
    Unpacked u;
    unpack(sig, false, 0, u);
    EXPECT_FALSE(u.ok);
    EXPECT_FALSE(u.log.errors().empty());
}

TEST(UnpackDsaSig, StructurallyPlausibleButUndecodableInputIsRefused) {
    // The first INTEGER's length byte is 0x81: the structural test reads it as 129, the DER decoder as a
    // long-form length prefix whose length (0x05) is below 128, which DER forbids.
    Bytes r(129, 0x05);
    Bytes s = run(4, 0x01);
    Bytes sig = {0x30, 0x81, (unsigned char)(2 + 129 + 2 + 4), 0x02, 0x81};
    sig.insert(sig.end(), r.begin(), r.end());
    sig.push_back(0x02);
    sig.push_back((unsigned char)s.size());
    sig.insert(sig.end(), s.begin(), s.end());
    Unpacked u;
    unpack(sig, false, 0, u);
    EXPECT_FALSE(u.ok);
    EXPECT_TRUE(u.log.hasError("Failed to ASN.1 decode DSA signature")) << u.log.toText();
}

TEST(UnpackDsaSig, ThreeIntegersFailTheStructuralTest) {
    Bytes sig = der(run(32, 0x01), run(32, 0x41));
    Bytes third = {0x02, 0x01, 0x05};
    sig.insert(sig.end(), third.begin(), third.end());
    sig[1] = (unsigned char)(sig.size() - 2);
    Unpacked u;
    unpack(sig, false, 0, u);
    EXPECT_FALSE(u.ok);  // 73 bytes of "raw"
    EXPECT_TRUE(u.log.hasError(kSizeError));
}

TEST(EcdsaHashLen, CutsToTheCurveBelow64BytesOnly) {
    EXPECT_EQ(32u, ecckey::ecdsaHashLen(32, 64));
    EXPECT_EQ(20u, ecckey::ecdsaHashLen(32, 20));
    EXPECT_EQ(32u, ecckey::ecdsaHashLen(32, 32));
    EXPECT_EQ(28u, ecckey::ecdsaHashLen(28, 32));
    EXPECT_EQ(64u, ecckey::ecdsaHashLen(66, 64));    // P-521: whole
    EXPECT_EQ(100u, ecckey::ecdsaHashLen(66, 100));  // longer than the curve, still whole
    EXPECT_EQ(100u, ecckey::ecdsaHashLen(64, 100));  // brainpoolP512r1
    EXPECT_EQ(40u, ecckey::ecdsaHashLen(40, 48));    // brainpoolP320r1
}

}  // namespace
