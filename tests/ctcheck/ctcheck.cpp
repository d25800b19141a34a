// Constant-time check of the secp256k1 engine's operations, and of key generation, signing, ECDH, checked
// ECDH and key checking through EccKey on all thirteen curves, run under valgrind's memcheck.
//
// Secret inputs are marked undefined; memcheck then reports every conditional jump and every memory
// address that depends on them, so a clean run shows that no branch and no table index in the exercised
// code depends on a secret. Results are marked defined again before they are looked at. With --canary the
// program also branches on a secret on purpose, and memcheck must report it: that proves the check can
// fail. Run natively, the client requests do nothing and the program only checks its own arithmetic.
//
//   valgrind --error-exitcode=42 ecckey-ctcheck            -> exit 0, no report
//   valgrind --error-exitcode=42 ecckey-ctcheck --canary   -> exit 42
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <utility>

#include "ecc/EccCurve.h"
#include "ecc/EccKey.h"
#include "ecc/secp256k1/CurvePt.h"
#include "formats/KeyDecoder.h"
#include "formats/KeyEncoder.h"
#include "support/Hash.h"
#include "support/LogBase.h"
#include "support/Prng.h"
#include "support/PublicKey.h"

// LibTomMath's own header, after the module's: the scalar's digits are marked secret where they lie.
#include <tommath.h>

#if __has_include(<valgrind/memcheck.h>)
#include <valgrind/memcheck.h>
#else
#define VALGRIND_MAKE_MEM_UNDEFINED(p, n) ((void)(p), (void)(n))
#define VALGRIND_MAKE_MEM_DEFINED(p, n) ((void)(p), (void)(n))
#endif

using namespace ecckey;

namespace {

using Span = std::pair<void *, std::size_t>;
template <typename... T>
void makeSecret(T &...v) {
    for (Span s : {Span(&v, sizeof v)...})
        VALGRIND_MAKE_MEM_UNDEFINED(s.first, s.second);
}
template <typename... T>
void declassify(T &...v) {
    for (Span s : {Span(&v, sizeof v)...})
        VALGRIND_MAKE_MEM_DEFINED(s.first, s.second);
}

// Fixed, arbitrary inputs (a linear congruential stream); they stand in for secrets and need not be random.
std::uint64_t g_state = 0x243F6A8885A308D3ull;
std::uint32_t nextWord() {
    g_state = g_state * 6364136223846793005ull + 1442695040888963407ull;  // a 64-bit LCG; its top half
    return static_cast<std::uint32_t>(g_state >> 32);
}

// A value below 2^255, hence below both p and n; `top` sets bit 255 instead (a value to reduce).
_tvUnsigned256 arbitraryValue(bool top = false) {
    _tvUnsigned256 v;
    for (std::uint32_t &w : v.value)
        w = nextWord();
    v.value[7] = top ? v.value[7] | 0x80000000u : v.value[7] & 0x7FFFFFFFu;
    return v;
}

// Every _tvUnsigned256 operation with secret operands and secret enable bits.
bool integerOperations() {
    _tvUnsigned256 a = arbitraryValue(), b = arbitraryValue();
    unsigned enable = nextWord() & 1u;
    unsigned char bytes[32], out[32];
    arbitraryValue().getBigEndian(bytes);
    makeSecret(a, b, enable, bytes);

    _tvUnsigned256 r = a, s = b;
    unsigned flags = r.add(b, enable);
    flags |= r.subtract(b, enable) << 1;
    flags |= r.shiftLeft1() << 2;
    r.shiftRight1(enable);
    r.replace(b, enable);
    r.swap(s, enable);
    flags |= (a == b) << 3 | (a != b) << 4 | (a < b) << 5 | (a <= b) << 6 | (a > b) << 7 | (a >= b) << 8;
    _tvUnsigned256(bytes).getBigEndian(out);
    // Inverse modulo n (the signer's k^-1) and the product modulo n (r·d, s = t·k^-1).
    _tvUnsigned256 product = a, other = a;
    product.reciprocal(_tvCurvePt::m_s_order);
    multiplyModOrder(product, a);
    multiplyModOrder(other, b);

    declassify(flags, r, s, out, bytes, product, other);
    std::printf("integer flags %03x\n", flags);
    return std::memcmp(out, bytes, 32) == 0 && product == s_ONE;  // a·a^-1 mod n
}

// Every FieldInt256 operation with secret operands.
bool fieldOperations() {
    FieldInt256 a(arbitraryValue()), b(arbitraryValue());
    _tvUnsigned256 wide = arbitraryValue(true);
    unsigned enable = nextWord() & 1u;
    makeSecret(a, b, wide, enable);

    FieldInt256 reduced(wide), r = a, d = a, m = a, sq = a, one = a, sel = a;
    r.add(b);
    r.subtract(a);  // = b
    d.multiply2();
    m.multiply(b);
    sq.square();
    one.reciprocal();
    one.multiply(a);
    sel.replace(b, enable);
    unsigned flags = (a == b) | (a != b) << 1 | (a < b) << 2 | (a <= b) << 3 | (a > b) << 4 | (a >= b) << 5 |
                     (a < _tvCurvePt::m_s_order) << 6 | (a >= _tvCurvePt::m_s_order) << 7;

    declassify(a, b, r, d, m, sq, one, sel, reduced, flags);
    std::printf("field flags %02x\n", flags);
    return r == b && one == _tvCurvePt::m_s_fiOne && reduced < m_Modulus;
}

// k·G, then normalisation, as in signing and public-key derivation (by multiplyPt and from the generator's
// tables): the scalar is secret.
bool scalarMultiplication() {
    _tvUnsigned256 k = arbitraryValue(), k2 = k;
    k2.add(s_ONE, 1);
    makeSecret(k, k2);

    _tvCurvePt p = _tvCurvePt::m_s_G, q2 = _tvCurvePt::m_s_G, fromTables;
    p.multiplyPt(k);
    fromTables.multiplyGenerator(k);
    fromTables.normalizePt();
    _tvCurvePt q = p;
    q.addPt(_tvCurvePt::m_s_G);  // (k + 1)·G by addition
    q2.multiplyPt(k2);
    p.normalizePt();
    q.normalizePt();
    q2.normalizePt();
    unsigned char compressed[33];
    p.toCompressedPoint(compressed);
    unsigned flags =
        p.isOnCurve() | p.isZero() << 1 | (q == q2) << 2 | (q != q2) << 3 | (fromTables == p) << 4;

    declassify(p, q, q2, compressed, flags);
    // k·G on the curve and the same from the tables, (k + 1)·G the same two ways, the compressed prefix
    // from y's parity.
    return flags == 21u && compressed[0] == (0x02 | (p.y.value[0] & 1u));
}

// A secret point (an ECDH peer's point is public, but intermediate points of a secret multiple are not):
// doubling, addition with every special case reachable, and a multiple of the secret point.
bool secretPointOperations() {
    _tvCurvePt base = _tvCurvePt::m_s_G;
    base.multiplyPt(arbitraryValue());  // public computation, a projective point with z != 1
    _tvUnsigned256 e = arbitraryValue();
    makeSecret(base, e);

    _tvCurvePt twice = base, sum = base, zero = base, negated = base, cancelled = base, multiple = base;
    twice.doublePt();
    sum.addPt(base);  // equal points: the doubled candidate is selected
    zero.addPt(_tvCurvePt::m_s_Zero);
    negated.y = FieldInt256();
    negated.y.subtract(base.y);
    cancelled.addPt(negated);  // P + (-P)
    multiple.multiplyPt(e);
    for (_tvCurvePt *pt : {&multiple, &twice, &sum, &cancelled})
        pt->normalizePt();

    declassify(base, twice, sum, zero, cancelled, multiple);
    return twice == sum && zero == base && cancelled == _tvCurvePt::m_s_Zero && multiple.isOnCurve();
}

// A generator whose output is secret: every byte it hands out is marked undefined.
class SecretPrng : public _tvPrng {
  public:
    bool genRandom(unsigned count, DataBuffer &out, LogBase &) override {
        const unsigned start = out.getSize();
        for (unsigned i = 0; i < count; ++i) {
            if (!out.appendChar((char)nextWord()))
                return false;
        }
        VALGRIND_MAKE_MEM_UNDEFINED(out.getDataMutable() + start, count);
        return true;
    }
};

// The OpenSSH and .ppk files of a key whose d is secret, written and read back (the bytes drawn from d stay
// secret in the file) on the curves SSH can name.
bool sshKeyFiles(EccKey &key, LogBase &log) {
    bool ok = true;
    for (formats::KeyFormat format : {formats::KeyFormat::OpenSsh, formats::KeyFormat::Ppk}) {
        DataBuffer file;
        EccKey back;
        formats::DecodedKey what;
        ok = ok && (formats::sshKeyTypeName(key).empty() ||
                    (formats::encodeKey(key, format, true, {}, file, log, what.error) &&
                     formats::decodeKey(file, {}, {}, back, what, log)));
    }
    return ok;
}

// The private-key encoders and decoders on a key whose d is secret: PKCS #8 and SEC 1 (DER in PEM), JWK,
// XML, raw hex, OpenSSH and .ppk, and the PEM and raw readers on secret text and bytes. Variable time
// (README, "Timing side channels"): run with ECCKEY_CTCHECK_ENCODINGS set, memcheck lists where.
bool encodings(EccKey &key, LogBase &log) {
    StringBuffer text[5], pub, label;
    DataBuffer pemDer, raw;
    EccKey back;
    bool ok = key.toEccPrivateKeyPem(false, text[0], log) && key.toEccPrivateKeyPem(true, text[1], log) &&
              key.toEccPrivateKeyJwk(text[2], log) && key.toEccPrivateKeyXml(text[3], log) &&
              key.toRawHex(text[4], pub, log) && raw.appendEncoded(text[4].getString(), "hex");
    VALGRIND_MAKE_MEM_UNDEFINED(raw.getDataMutable(), raw.getSize());
    ok = ok && _tvPublicKey::pemToDer(text[0].getString(), label, pemDer, log);
    (void)back.loadEccPrivateRaw(raw, false, log);  // reads d before it refuses the other curves' sizes
    return ok && sshKeyFiles(key, log);
}

// Key generation (the default draw and the uniform one), every signature form and ECDH through EccKey, as
// a caller makes them: the generator's bytes are secret, and so is a scalar loaded from text, whose digits
// are marked so by hand. The library declares its outputs (public keys, r and s, shared secrets) public
// itself; here they are checked natively: the signatures verify and both sides agree on the secret.
bool keyOperations(const char *name) {
    LogNull log, uniform;
    if (!uniform.m_options.setString(EccKey::kOptDrawUniform))
        return false;
    SecretPrng prng;
    EccKey key, peer, loaded;
    const unsigned char hash[32] = {0x5C, 0x11, 0xE7};
    bool ok = key.generateNewKey(StringBuffer(name), prng, log) &&
              peer.generateNewKey(StringBuffer(name), prng, uniform) &&
              loaded.generateNewKey2(StringBuffer(name), "0123456789ABCDEF0123456789ABCDEF01", "hex", log);
    ::mp_int *d = static_cast<::mp_int *>(loaded.m_privKey.raw());
    VALGRIND_MAKE_MEM_UNDEFINED(d->dp, d->alloc * sizeof *d->dp);

    DataBuffer sigs[4], secrets[2];
    bool valid[3] = {};
    ok = ok && loaded.eccSignHash(hash, 32, prng, true, sigs[0], log) &&
         loaded.eccSignHash(hash, 32, prng, false, sigs[1], uniform) &&
         loaded.eccSignHashDeterministic(hash, 32, HASH_SHA256, true, sigs[2], log) &&
         loaded.eccSignHash_forSsh(hash, 32, prng, sigs[3], log) &&
         loaded.sharedSecret(peer, secrets[0], log) && peer.sharedSecret(loaded, secrets[1], log) &&
         secrets[0].equals(secrets[1]);
    for (int i : {0, 2})
        ok = ok &&
             loaded.eccVerifyHash(sigs[i].getData2(), sigs[i].getSize(), false, hash, 32, valid[i], log, 0) &&
             valid[i];
    ok = ok && sigs[1].getSize() == 2u * (unsigned)loaded.m_curve.m_byteLen;
    // Key checking, the checked agreement, and the range check of a scalar as a file writes it.
    unsigned char written[17] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB};
    makeSecret(written);
    ok = ok && loaded.checkPrivateKey(log) && loaded.sharedSecretChecked(peer, secrets[1], log) &&
         secrets[0].equals(secrets[1]) && loaded.m_curve.scalarBytesInRange(written, sizeof written);
    if (std::getenv("ECCKEY_CTCHECK_ENCODINGS") != nullptr)
        ok = ok && encodings(loaded, log);
    std::printf("%s %s\n", name, ok ? "ok" : "FAILED");
    return ok;
}

bool everyCurve() {
    bool ok = true;
    for (int i = 0; i < EccCurve::numCatalogCurves(); ++i)
        ok = keyOperations(EccCurve::catalogEntry(i)->name) && ok;
    return ok;
}

}  // namespace

int main(int argc, char **argv) {
    // Every part runs, in order (a braced list is evaluated left to right); each prints its flags, so a
    // failing run shows how far it got.
    const bool parts[] = {integerOperations(), fieldOperations(), scalarMultiplication(),
                          secretPointOperations(), everyCurve()};
    const bool ok = std::all_of(std::begin(parts), std::end(parts), [](bool part) { return part; });
    if (argc > 1 && std::strcmp(argv[1], "--canary") == 0) {
        _tvUnsigned256 k = arbitraryValue();  // deliberately leaks: a branch on a secret bit
        makeSecret(k);
        std::printf("canary: the secret is %s\n", (k.value[0] & 1u) ? "odd" : "even");
    }
    std::puts(ok ? "ctcheck: done" : "ctcheck: FAILED, a part computed a wrong result");
    return ok ? 0 : 1;
}
