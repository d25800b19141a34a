// The C++ face on every curve against OpenSSL: signatures in each form and nonce both ways, ECDH, key files
// both ways; then what it refuses, with the code a caller branches on.
#include <openssl/pem.h>

#include "ecckey/ecckey.hpp"
#include "support/Oracle.h"

namespace ek = ecckey;
using ecckey_test::Bytes;
using ecckey_test::CurveInfo;
using ecckey_test::Ossl;

namespace {

class Face : public ::testing::TestWithParam<CurveInfo> {
  protected:
    const CurveInfo &c() const { return GetParam(); }
    ecckey_test::TestPrng prng{ecckey_test::testSeed() ^ (std::uint64_t)GetParam().nid};
};

// A signature moved between forms for OpenSSL: r and s of a raw or SSH one as DER, and OpenSSL's DER as
// raw or SSH (BN's MPI form is the SSH mpint).
Bytes asDer(const Bytes &sig, ek::SigFormat format, int len) {
    if (format == ek::SigFormat::Der)
        return sig;
    const int rLen = format == ek::SigFormat::Raw ? len : 4 + (sig[2] << 8 | sig[3]);
    ecckey_test::BnPtr r(format == ek::SigFormat::Raw ? BN_bin2bn(sig.data(), len, nullptr)
                                                      : BN_mpi2bn(sig.data(), rLen, nullptr));
    ecckey_test::BnPtr s(format == ek::SigFormat::Raw
                             ? BN_bin2bn(sig.data() + len, len, nullptr)
                             : BN_mpi2bn(sig.data() + rLen, (int)sig.size() - rLen, nullptr));
    return ecckey_test::derOf(r.get(), s.get());
}
Bytes fromDer(const Bytes &der, ek::SigFormat format, int len) {
    ecckey_test::BnPtr r, s;
    EXPECT_TRUE(ecckey_test::rsOf(der, r, s));
    if (format == ek::SigFormat::Der)
        return der;
    Bytes out(2 * (size_t)len + 10);
    if (format == ek::SigFormat::Raw) {
        out.resize(2 * (size_t)len);
        EXPECT_EQ(BN_bn2binpad(r.get(), out.data(), len) + BN_bn2binpad(s.get(), out.data() + len, len),
                  2 * len);
        return out;
    }
    const int rLen = BN_bn2mpi(r.get(), out.data());
    out.resize((size_t)(rLen + BN_bn2mpi(s.get(), out.data() + rLen)));
    return out;
}

const ek::SigFormat kSigFormats[] = {ek::SigFormat::Der, ek::SigFormat::Raw, ek::SigFormat::Ssh};

TEST_P(Face, SignaturesInEveryFormatInteroperate) {
    Ossl o = Ossl::random(c(), prng);
    ek::Result<ek::PrivateKey> key = ek::PrivateKey::load(o.encode("PrivateKeyInfo", "PEM", false));
    ASSERT_TRUE(key) << key.error().message() << key.error().log();
    const ek::PublicKey pub = key->publicKey();
    EXPECT_EQ(pub.curve(), c().name);
    const Bytes message = prng.bytes(40);
    for (auto [hash, name] : {std::pair{ek::Hash::Sha256, "SHA256"}, std::pair{ek::Hash::Sha512, "SHA512"}}) {
        const Bytes digest = ecckey_test::digestOf(name, message);
        for (ek::SigFormat format : kSigFormats) {
            for (ek::Nonce nonce : {ek::Nonce::Random, ek::Nonce::Deterministic}) {
                ek::Result<Bytes> sig = key->sign(message, hash, format, nonce);
                ASSERT_TRUE(sig) << sig.error().message() << sig.error().log();
                EXPECT_TRUE(o.verify(digest, asDer(*sig, format, c().byteLen))) << name << (int)format;
                EXPECT_TRUE(*pub.verify(message, *sig, hash, format));
                EXPECT_FALSE(*pub.verify(Bytes(message.begin() + 1, message.end()), *sig, hash, format));
                EXPECT_EQ(nonce == ek::Nonce::Deterministic,
                          *sig == *key->sign(message, hash, format, nonce));
                for (ek::SigFormat other : kSigFormats)  // never read as another form
                    EXPECT_TRUE(other == format || !*pub.verify(message, *sig, hash, other));
            }
            // OpenSSL's signature, in this form, verifies here.
            EXPECT_TRUE(*pub.verifyDigest(digest, fromDer(o.sign(digest), format, c().byteLen), format));
        }
    }
}

TEST_P(Face, AgreesWithOpenSslOnCompressedAndWholePeers) {
    Ossl mine = Ossl::random(c(), prng), theirs = Ossl::random(c(), prng);
    ek::Result<ek::PrivateKey> key = ek::PrivateKey::load(mine.encode("type-specific", "DER", false));
    ek::Result<ek::PublicKey> whole = ek::PublicKey::fromPoint(c().oid, theirs.point());
    ASSERT_TRUE(key && whole) << key.error().log();
    for (bool compressed : {false, true}) {
        ek::Result<ek::PublicKey> peer = ek::PublicKey::fromPoint(c().name, whole->point(compressed));
        EXPECT_EQ(peer->point(), theirs.point());
        EXPECT_EQ(*key->agree(*peer), mine.derive(Ossl(c(), theirs.point())));
    }
}

// Every format this curve can be written in reads back as the same key; OpenSSL reads the PEM and DER
// forms. What a format cannot hold, or an SSH name the curve lacks, is Unsupported.
TEST_P(Face, KeyFilesRoundTrip) {
    ek::Result<ek::PrivateKey> key = ek::PrivateKey::generate(c().name);
    ASSERT_TRUE(key);
    const bool sshNamed = std::string(c().name).rfind("brainpool", 0) != 0 && c().byteLen != 24;
    const Bytes point = key->publicKey().point();
    using F = ek::KeyFormat;
    struct Row {
        F format;
        bool priv, pub;
    } const rows[] = {
        {F::Pem, true, true},          {F::Der, true, true},      {F::Sec1Pem, true, false},
        {F::Sec1Der, true, false},     {F::Jwk, true, true},      {F::Xml, true, true},
        {F::XmlDsig, false, true},     {F::Ssh, false, sshNamed}, {F::SpkiExplicit, false, true},
        {F::OpenSsh, sshNamed, false}, {F::Ppk, sshNamed, false}, {F::RawHex, true, true}};
    for (Row row : rows) {
        ek::Result<std::string> priv = key->save(row.format), pub = key->publicKey().save(row.format);
        ASSERT_EQ(priv.ok(), row.priv) << (int)row.format;
        ASSERT_EQ(pub.ok(), row.pub) << (int)row.format;
        EXPECT_TRUE(row.priv || priv.error().code() == ek::Errc::Unsupported);
        EXPECT_TRUE(row.pub || pub.error().code() == ek::Errc::Unsupported);
        if (row.priv) {
            ek::Result<ek::PrivateKey> back = ek::PrivateKey::load(*priv);
            ASSERT_TRUE(back) << back.error().message() << back.error().log();
            EXPECT_EQ(*back->save(F::Sec1Der), *key->save(F::Sec1Der));
            EXPECT_EQ(ek::PublicKey::load(*priv)->point(), point);
        }
        EXPECT_TRUE(!row.pub || ek::PublicKey::load(*pub)->point() == point) << (int)row.format;
        if (row.format == F::Pem || row.format == F::Der) {
            EXPECT_EQ(Ossl::decode(Bytes(priv->begin(), priv->end()), true).point(), point);
            EXPECT_EQ(Ossl::decode(Bytes(pub->begin(), pub->end()), false).point(), point);
        }
    }
    EXPECT_EQ(sshNamed, key->publicKey().fingerprint().ok());
}

INSTANTIATE_TEST_SUITE_P(AllCurves, Face, ::testing::ValuesIn(ecckey_test::allCurves()),
                         ecckey_test::curveParamName);

// What the face refuses, and the code it gives.
TEST(FaceRefusals, EachHasItsCode) {
    ek::PrivateKey p256 = *ek::PrivateKey::generate("P-256");
    const ek::PublicKey p384 = ek::PrivateKey::generate("P-384")->publicKey();
    Bytes offCurve = p256.publicKey().point();
    offCurve.back() ^= 1;
    Bytes noY(33, 0xFF);
    noY[0] = 0x02;  // x above p
    std::string wrongPoint = *p256.save(ek::KeyFormat::Jwk);
    wrongPoint.replace(wrongPoint.find("\"x\":\"") + 5, 4, "AAAA");
    ek::PrivateKey moved = p256, taken = std::move(moved);
    const std::string encrypted = *p256.save(ek::KeyFormat::Pem, "pass phrase");
    EXPECT_EQ(ek::PrivateKey::load(encrypted, "pass phrase")->publicKey().point(), p256.publicKey().point());
    struct Row {
        const char *what;
        ek::Errc code;
        ek::Error error;
    };
    const auto errorOf = [](auto result) {
        return result ? ek::Error(ek::Errc::Internal, "accepted") : result.error();
    };
    const Row rows[] = {
        {"off-curve point", ek::Errc::InvalidKey, errorOf(ek::PublicKey::fromPoint("P-256", offCurve))},
        {"compressed x above p", ek::Errc::InvalidKey, errorOf(ek::PublicKey::fromPoint("P-256", noY))},
        {"infinity", ek::Errc::InvalidKey, errorOf(ek::PublicKey::fromPoint("P-256", Bytes{0}))},
        {"point of another length", ek::Errc::InvalidInput,
         errorOf(ek::PublicKey::fromPoint("P-384", offCurve))},
        {"wrong-curve peer", ek::Errc::InvalidKey, errorOf(p256.agree(p384))},
        {"unknown curve", ek::Errc::Unsupported, errorOf(ek::PrivateKey::generate("P-257"))},
        {"missing passphrase", ek::Errc::NeedPassphrase, errorOf(ek::PrivateKey::load(encrypted))},
        {"wrong passphrase", ek::Errc::WrongPassphrase,
         errorOf(ek::PrivateKey::load(encrypted, "pass phrasf"))},
        {"unparsable input", ek::Errc::InvalidInput, errorOf(ek::PublicKey::load("secret words"))},
        {"truncated DER", ek::Errc::InvalidInput,
         errorOf(ek::PublicKey::load(Bytes{0x30, 0x03, 0x02, 0x01}))},
        {"JWK point off the curve", ek::Errc::InvalidKey, errorOf(ek::PrivateKey::load(wrongPoint))},
        {"public key as private", ek::Errc::InvalidKey,
         errorOf(ek::PrivateKey::load(*p384.save(ek::KeyFormat::Pem)))},
        {"digest of 65 bytes", ek::Errc::InvalidInput,
         errorOf(p256.signDigest(Bytes(65, 1), ek::SigFormat::Der))},
        {"deterministic with a 17-byte digest", ek::Errc::Unsupported,
         errorOf(p256.signDigest(Bytes(17, 1), ek::SigFormat::Raw, ek::Nonce::Deterministic))},
        {"private key in a public format", ek::Errc::Unsupported, errorOf(p256.save(ek::KeyFormat::Ssh))},
        {"moved-from key", ek::Errc::InvalidKey,
         errorOf(moved.sign("m", ek::Hash::Sha256, ek::SigFormat::Der))},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(row.error.code(), row.code) << row.what << ": " << row.error.message();
        EXPECT_EQ(row.error.message().find('\n'), std::string::npos) << row.what;
        EXPECT_EQ(row.error.message().find("secret"), std::string::npos) << row.what;
    }
    EXPECT_NE(rows[10].error.log().find("The public point is not on the curve."), std::string::npos);
    // A signature in the wrong form, or in none, is not valid; the check itself ran.
    const Bytes der = *taken.sign("m", ek::Hash::Sha256, ek::SigFormat::Der);
    for (const Bytes &sig : {der, Bytes(), Bytes(64, 0)})
        EXPECT_FALSE(*taken.publicKey().verify("m", sig, ek::Hash::Sha256, ek::SigFormat::Raw));
    ek::Result<ek::PublicKey> refused = ek::PublicKey::fromPoint("P-256", offCurve);
    EXPECT_DEATH((void)refused.value(), "invariant failed");
}

}  // namespace
