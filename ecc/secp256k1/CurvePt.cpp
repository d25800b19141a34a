#include "ecc/secp256k1/CurvePt.h"

#include "support/ConstantTime.h"
#include "support/Wipe.h"

namespace ecckey {

namespace {

// OR of all eight words: zero exactly when the value is zero.
std::uint32_t orWords(const _tvUnsigned256 &v) {
    std::uint32_t acc = 0;
    for (std::uint32_t word : v.value)
        acc |= word;
    return acc;
}

}  // namespace

_tvCurvePt::_tvCurvePt(const FieldInt256 &xValue, const FieldInt256 &yValue)
    : x(xValue), y(yValue), z(m_s_fiOne) {}

bool _tvCurvePt::isZero() const {
    unsigned xzZero = static_cast<unsigned>((orWords(x) | orWords(z)) == 0);
    unsigned yNonZero = static_cast<unsigned>(orWords(y) != 0);
    return (xzZero & yNonZero) != 0;
}

// Homogeneous doubling for a = 0, with s = Y1·Z1 (T = 2s):
//   X3 = 2·h·s, Y3 = w·(4B - h) - 8·Y1²·s², Z3 = 8·s³, where w = 3·X1², B = X1·Y1·s, h = w² - 8B.
// Degenerate inputs: a zero point, or y = 0 (a point of order two, which secp256k1 lacks), both give the
// canonical zero point; the formula's output is computed and then discarded for them.
void _tvCurvePt::doublePt() {
    unsigned wasZero = static_cast<unsigned>(isZero());
    unsigned yZero = static_cast<unsigned>(y == m_s_fiZero);

    FieldInt256 t = y;  // T = 2·Y1·Z1
    t.multiply(z);
    t.multiply2();
    FieldInt256 b4 = t;  // B4 = 2·T·Y1·X1 = 4·X1·Y1²·Z1
    b4.multiply(y);
    b4.multiply(x);
    b4.multiply2();
    FieldInt256 b8 = b4;  // B8 = 2·B4
    b8.multiply2();
    FieldInt256 xx = x;  // X1²
    xx.square();
    FieldInt256 w = xx;  // W = 3·X1² = 2·X1² + X1²
    w.multiply2();
    w.add(xx);
    FieldInt256 h = w;  // H = W² - B8
    h.square();
    h.subtract(b8);
    FieldInt256 tt = t;  // T²
    tt.square();
    FieldInt256 yy = y;  // Y1²
    yy.square();

    x = h;  // X3 = H·T
    x.multiply(t);
    z = tt;  // Z3 = T²·T
    z.multiply(t);
    FieldInt256 twoTTYY = tt;  // 2·T²·Y1² = 8·Y1⁴·Z1²
    twoTTYY.multiply(yy);
    twoTTYY.multiply2();
    y = b4;  // Y3 = W·(B4 - H) - 2·T²·Y1²
    y.subtract(h);
    y.multiply(w);
    y.subtract(twoTTYY);

    replace(m_s_Zero, wasZero | yZero);
}

// Homogeneous addition with U1 = X1·Z2, U2 = X2·Z1, S1 = Y1·Z2, S2 = Y2·Z1, A = U1 - U2, B = S1 - S2:
//   W = B²·Z1·Z2 - (U1 + U2)·A², X3 = A·W, Y3 = B·(U1·A² - W) - S1·A³, Z3 = Z1·Z2·A³.
// Cases, all computed and then selected with masks:
//   - a zero left operand: the result is the right operand; a zero right operand: the left operand;
//   - S1 != S2: the general sum, also when U1 = U2 (P + (-P) then gives (0, -B³·Z1·Z2, 0), a zero point
//     not in canonical form);
//   - S1 = S2, U1 = U2 (the same point): the doubled point;
//   - S1 = S2, U1 != U2 (different points with the same y): the canonical zero point.
// Keying the selection on the y-products, not the x-products, is this engine's rule and callers rely on
// the results above.
void _tvCurvePt::addPt(const _tvCurvePt &other) {
    unsigned z1 = static_cast<unsigned>(isZero());
    unsigned z2 = static_cast<unsigned>(other.isZero());
    replace(other, z1);

    FieldInt256 u1 = x;  // U1 = X1·Z2
    u1.multiply(other.z);
    FieldInt256 u2 = other.x;  // U2 = X2·Z1
    u2.multiply(z);
    FieldInt256 s1 = y;  // S1 = Y1·Z2
    s1.multiply(other.z);
    FieldInt256 s2 = other.y;  // S2 = Y2·Z1
    s2.multiply(z);

    _tvCurvePt d = *this;  // the doubled candidate, for P + P
    d.doublePt();

    FieldInt256 a = u1;  // A = U1 - U2
    a.subtract(u2);
    FieldInt256 b = s1;  // B = S1 - S2
    b.subtract(s2);
    FieldInt256 v = z;  // V = Z1·Z2
    v.multiply(other.z);
    FieldInt256 a2 = a;  // A2 = A²
    a2.square();
    FieldInt256 a3 = a2;  // A3 = A2·A
    a3.multiply(a);
    FieldInt256 w = b;  // W = B²·V - (U1 + U2)·A2
    w.square();
    w.multiply(v);
    FieldInt256 uSum = u1;
    uSum.add(u2);
    uSum.multiply(a2);
    w.subtract(uSum);
    FieldInt256 x3 = a;  // X3 = A·W
    x3.multiply(w);
    FieldInt256 z3 = v;  // Z3 = V·A3
    z3.multiply(a3);
    FieldInt256 y3 = u1;  // Y3 = B·(U1·A2 - W) - S1·A3
    y3.multiply(a2);
    y3.subtract(w);
    y3.multiply(b);
    FieldInt256 s1a3 = s1;
    s1a3.multiply(a3);
    y3.subtract(s1a3);

    unsigned anyZero = z1 | z2;
    unsigned sameS = static_cast<unsigned>(s1 == s2);
    unsigned sameU = static_cast<unsigned>(u1 == u2);
    unsigned general = (anyZero ^ 1u) & (sameS ^ 1u);
    x.replace(x3, general);
    z.replace(z3, general);
    y.replace(y3, general);
    replace(m_s_Zero, (anyZero ^ 1u) & sameS & (sameU ^ 1u));
    replace(d, (anyZero ^ 1u) & sameS & sameU);
}

// Fixed 4-bit windows, most significant first: a 16-entry table of multiples, then for each of the 64
// windows four doublings and one addition of the entry picked by a full scan of the table. The work is
// the same for every k; a zero window adds the zero point.
void _tvCurvePt::multiplyPt(const _tvUnsigned256 &kIn) {
    _tvUnsigned256 k = kIn;  // k may be one of this point's own coordinates
    _tvCurvePt table[16];
    table[0] = m_s_Zero;
    table[1] = *this;
    table[2] = *this;
    table[2].doublePt();
    for (int i = 3; i < 16; ++i) {
        table[i] = table[i - 1];
        table[i].addPt(*this);
    }

    *this = m_s_Zero;
    for (int s = 252; s >= 0; s -= 4) {
        if (s != 252) {
            doublePt();
            doublePt();
            doublePt();
            doublePt();
        }
        unsigned nibble = (k.value[s / 32] >> (s % 32)) & 15u;
        _tvCurvePt q = m_s_Zero;
        for (unsigned j = 0; j < 16; ++j)
            q.replace(table[j], static_cast<unsigned>(nibble == j));
        addPt(q);
        wipe(&q, sizeof q);
    }
    wipe(table, sizeof table);
    wipe(&k, sizeof k);
}

void _tvCurvePt::normalizePt() {
    _tvCurvePt n = *this;  // (x/z, y/z, 1)
    n.z.reciprocal();
    n.x.multiply(n.z);
    n.y.multiply(n.z);
    n.z = m_s_fiOne;

    // For a zero point: x stays 0, y becomes 1, giving the canonical (0, 1, 0).
    x.replace(m_s_fiOne, static_cast<unsigned>(x != m_s_fiZero));
    y.replace(m_s_fiOne, static_cast<unsigned>(y != m_s_fiZero));
    replace(n, static_cast<unsigned>(z != m_s_fiZero));
    wipe(&n, sizeof n);
}

void _tvCurvePt::replace(const _tvCurvePt &other, unsigned enable) {
    x.replace(other.x, enable);
    y.replace(other.y, enable);
    z.replace(other.z, enable);
}

bool _tvCurvePt::isOnCurve() const {
    FieldInt256 r = x;  // R = (x² + a)·x + b
    r.square();
    r.add(m_s_A);
    r.multiply(x);
    r.add(m_s_B);
    FieldInt256 yy = y;  // y²
    yy.square();
    unsigned onCurve = static_cast<unsigned>(yy == r);
    unsigned notZero = static_cast<unsigned>(isZero()) ^ 1u;
    return (onCurve & notZero) != 0;
}

bool _tvCurvePt::operator==(const _tvCurvePt &other) const {
    std::uint32_t diff = 0;
    for (int i = 0; i < 8; ++i) {
        diff |= (x.value[i] ^ other.x.value[i]) | (y.value[i] ^ other.y.value[i]) |
                (z.value[i] ^ other.z.value[i]);
    }
    return diff == 0;
}

bool _tvCurvePt::operator!=(const _tvCurvePt &other) const {
    return !(*this == other);
}

void _tvCurvePt::toCompressedPoint(unsigned char *out33) const {
    out33[0] = static_cast<unsigned char>(0x02u | (y.value[0] & 1u));
    x.getBigEndian(out33 + 1);
}

}  // namespace ecckey
