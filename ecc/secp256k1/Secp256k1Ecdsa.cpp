// ECDSA over secp256k1 on the fixed-width engine.
//
// Every reduction modulo n is made with word masks, and the signer makes low-S signatures. The verifier
// accepts high S; out-of-range values and bad public points are an invalid verdict.
#include "ecc/secp256k1/Secp256k1Ecdsa.h"

#include "ecc/secp256k1/CurvePt.h"
#include "support/ConstantTime.h"
#include "support/Wipe.h"

namespace ecckey {

namespace {

// k from the nonce bytes taken as they stand into the integer's storage: byte 0 is the least significant
// byte of k. (The hash, by contrast, is read big-endian.)
void nonceFromBytes(const unsigned char *b, _tvUnsigned256 &k) {
    for (std::size_t i = 0; i < 8; ++i)
        k.value[i] = (std::uint32_t)b[4 * i] | ((std::uint32_t)b[4 * i + 1] << 8) |
                     ((std::uint32_t)b[4 * i + 2] << 16) | ((std::uint32_t)b[4 * i + 3] << 24);
}

// v = v mod n for v < 2n, by one masked subtraction.
void reduceOnceModOrder(_tvUnsigned256 &v) {
    v.subtract(_tvCurvePt::m_s_order, (unsigned)(v >= _tvCurvePt::m_s_order));
}

}  // namespace

_tvUnsigned256 secp256k1HashScalar(const unsigned char *hash32) {
    _tvUnsigned256 e(hash32);
    reduceOnceModOrder(e);
    return e;
}

bool secp256k1SignAttempt(const unsigned char *nonce32, const _tvUnsigned256 &d, const _tvUnsigned256 &e,
                          _tvUnsigned256 &r, _tvUnsigned256 &s) {
    const _tvUnsigned256 &n = _tvCurvePt::m_s_order;
    Wiped<_tvUnsigned256> wipedK;
    _tvUnsigned256 &k = wipedK.get();
    nonceFromBytes(nonce32, k);
    // Rejecting a nonce reveals nothing about the one that is finally used: the verdict may be known.
    if (ct::declassified((unsigned)(k == s_ZERO) | (unsigned)(k >= n)))
        return false;

    _tvCurvePt R;  // R = k·G, affine
    R.multiplyGenerator(k);
    R.normalizePt();
    r = _tvUnsigned256(R.x);
    reduceOnceModOrder(r);         // r = x(R) mod n (x < p < 2n)
    ct::declassify(&r, sizeof r);  // the signature's first half
    wipe(&R, sizeof R);
    if (r == s_ZERO)
        return false;

    Wiped<_tvUnsigned256> wipedT(r);  // t = r·d mod n: with r public, t gives d away
    _tvUnsigned256 &t = wipedT.get();
    multiplyModOrder(t, d);
    unsigned carry = t.add(e, 1);  // t = t + e as a 257-bit sum, then below n again
    t.subtract(n, carry | (unsigned)(t >= n));

    Wiped<_tvUnsigned256> wipedKInv(k);  // k^-1 mod n
    _tvUnsigned256 &kInv = wipedKInv.get();
    kInv.reciprocal(n);
    s = t;  // s = t·k^-1 mod n
    multiplyModOrder(s, kInv);
    if (ct::declassified(s == s_ZERO))
        return false;

    _tvUnsigned256 negS = n;  // low S: s = min(s, n - s)
    negS.subtract(s, 1);
    s.replace(negS, (unsigned)(s > negS));
    ct::declassify(&s, sizeof s);  // the signature's second half
    return true;
}

bool secp256k1Verify(const _tvUnsigned256 &r, const _tvUnsigned256 &s, const _tvUnsigned256 &qx,
                     const _tvUnsigned256 &qy, const unsigned char *hash32) {
    const _tvUnsigned256 &n = _tvCurvePt::m_s_order;
    _tvCurvePt Q{FieldInt256(qx), FieldInt256(qy)};  // z = 1; each coordinate reduced once modulo p
    _tvCurvePt nQ = Q;  // n·Q: the point at infinity for every point of the group
    nQ.multiplyPt(n);

    // Everything the signature or the key can get wrong is a verdict, not an error. These checks work on
    // public values and may branch.
    const bool checksPass = r > s_ZERO && r < n && s > s_ZERO && s < n && !Q.isZero() &&
                            Q.z == _tvCurvePt::m_s_fiOne && Q.isOnCurve() && nQ.isZero();
    if (!checksPass)
        return false;
    _tvUnsigned256 w = s;  // w = s^-1 mod n
    w.reciprocal(n);
    _tvUnsigned256 e(hash32);  // read big-endian, not reduced
    _tvUnsigned256 u1 = w;     // u1 = w·e mod n
    multiplyModOrder(u1, e);
    _tvUnsigned256 u2 = w;  // u2 = w·r mod n
    multiplyModOrder(u2, r);

    _tvCurvePt P;  // P = u1·G + u2·Q
    P.multiplyGenerator(u1);
    _tvCurvePt P2 = Q;
    P2.multiplyPt(u2);
    P.addPt(P2);
    P.normalizePt();
    _tvUnsigned256 X(P.x);
    reduceOnceModOrder(X);  // X = x(P) mod n
    return X == r;
}

}  // namespace ecckey
