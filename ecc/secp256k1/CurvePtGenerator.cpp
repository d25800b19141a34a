// k·G on secp256k1 from a table of the generator's multiples: signed 5-bit windows, one table lookup and
// one mixed addition a window, and no doubling.
//
// The scalar is reduced below n and made odd (k, or n − k with the result negated), then written with odd
// digits only, k = Σ dᵢ·32^i with every dᵢ odd in [−31, 31] (the top one positive), so no window adds the
// point at infinity. Window i's table holds (2j + 1)·32^i·G for j below 16, affine; the lookup reads every
// entry, and the digit's sign negates y by a mask.
#include <mutex>

#include "ecc/secp256k1/CurvePt.h"
#include "support/Wipe.h"

namespace ecckey {

namespace {

// 5-bit windows: 52 additions and 52 KiB of table; 4-bit ones take 64 additions and 32 KiB, and cost a
// tenth more time.
const int kWindowBits = 5;
const int kWindows = (256 + kWindowBits - 1) / kWindowBits;
const int kEntries = 1 << (kWindowBits - 1);

struct AffinePt {
    FieldInt256 x, y;
};

// 52 windows of 16 affine points: 52 KiB, public.
struct GeneratorTable {
    AffinePt entry[kWindows][kEntries];
};

// One window's projective points to affine with one inversion: prefix products of the z's, inverted once
// and walked back, each step giving one z⁻¹ and the inverse of the shorter prefix.
void toAffine(const _tvCurvePt (&points)[kEntries], AffinePt (&row)[kEntries]) {
    FieldInt256 prefix[kEntries];
    prefix[0] = points[0].z;
    for (int j = 1; j < kEntries; ++j) {
        prefix[j] = prefix[j - 1];
        prefix[j].multiply(points[j].z);
    }
    FieldInt256 inverse = prefix[kEntries - 1];
    inverse.reciprocal();
    for (int j = kEntries - 1; j >= 0; --j) {
        FieldInt256 zInverse = inverse;
        if (j > 0) {
            zInverse.multiply(prefix[j - 1]);
            inverse.multiply(points[j].z);
        }
        row[j].x = points[j].x;
        row[j].x.multiply(zInverse);
        row[j].y = points[j].y;
        row[j].y.multiply(zInverse);
    }
}

// Fills the table in static storage: nothing is allocated, so nothing can fail.
GeneratorTable &generatorTableStorage() {
    static GeneratorTable table;
    return table;
}

void buildTable() {
    GeneratorTable &t = generatorTableStorage();
    _tvCurvePt base = _tvCurvePt::m_s_G;
    for (auto &window : t.entry) {
        _tvCurvePt points[kEntries];
        _tvCurvePt twice = base;
        twice.doublePt();
        points[0] = base;
        for (int j = 1; j < kEntries; ++j) {
            points[j] = points[j - 1];
            points[j].addPt(twice);
        }
        toAffine(points, window);
        for (int b = 0; b < kWindowBits; ++b)
            base.doublePt();
    }
}

// Built on first use, once: std::call_once orders the filling before every reader.
const GeneratorTable &generatorTable() {
    static std::once_flag built;
    std::call_once(built, buildTable);
    return generatorTableStorage();
}

// p = p + q for an affine q (z = 1), by the general homogeneous formula of addPt with Z2 = 1: no special
// case is recognised, so p and q must be neither equal nor opposite, nor p the zero point.
void addAffine(_tvCurvePt &p, const AffinePt &q) {
    FieldInt256 u2 = q.x;  // U2 = X2·Z1 (U1 = X1)
    u2.multiply(p.z);
    FieldInt256 s2 = q.y;  // S2 = Y2·Z1 (S1 = Y1)
    s2.multiply(p.z);
    FieldInt256 a = p.x;  // A = U1 − U2
    a.subtract(u2);
    FieldInt256 b = p.y;  // B = S1 − S2
    b.subtract(s2);
    FieldInt256 a2 = a;  // A²
    a2.square();
    FieldInt256 a3 = a2;  // A³
    a3.multiply(a);
    FieldInt256 w = b;  // W = B²·Z1 − (U1 + U2)·A²
    w.square();
    w.multiply(p.z);
    FieldInt256 uSum = p.x;
    uSum.add(u2);
    uSum.multiply(a2);
    w.subtract(uSum);
    FieldInt256 y3 = p.x;  // Y3 = B·(U1·A² − W) − S1·A³
    y3.multiply(a2);
    y3.subtract(w);
    y3.multiply(b);
    FieldInt256 s1a3 = p.y;
    s1a3.multiply(a3);
    y3.subtract(s1a3);
    p.x = a;  // X3 = A·W
    p.x.multiply(w);
    p.z.multiply(a3);  // Z3 = Z1·A³
    p.y = y3;
    FieldInt256 *temporaries[] = {&u2, &s2, &a, &b, &a2, &a3, &w, &uSum, &y3, &s1a3};
    for (FieldInt256 *t : temporaries)
        wipe(t, sizeof *t);
}

// p = p + q for an affine q with every case by masks: the general sum, which for opposite points is a zero
// point; 2p for the same point (the general formula gives (0, 0, 0) there). p is not the zero point.
void addAffineMasked(_tvCurvePt &p, const AffinePt &q) {
    FieldInt256 u2 = q.x;
    u2.multiply(p.z);
    FieldInt256 s2 = q.y;
    s2.multiply(p.z);
    const unsigned same = static_cast<unsigned>(u2 == p.x) & static_cast<unsigned>(s2 == p.y);
    _tvCurvePt twice = p;
    twice.doublePt();
    addAffine(p, q);
    p.replace(twice, same);
    wipe(&u2, sizeof u2);
    wipe(&s2, sizeof s2);
    wipe(&twice, sizeof twice);
}

// kWindowBits + 1 bits of k from bit pos up (pos below 256); bits past 255 read as zero.
unsigned windowBits(const _tvUnsigned256 &k, int pos) {
    const int word = pos / 32, shift = pos % 32;
    std::uint32_t v = k.value[word] >> shift;
    if (shift + kWindowBits + 1 > 32 && word + 1 < 8)
        v |= k.value[word + 1] << (32 - shift);
    return v & ((1u << (kWindowBits + 1)) - 1);
}

// q = d·32^window·G for the odd digit d = raw − 32 (raw below 64): every entry is read, the one kept
// chosen by masks, y negated by a mask for a negative digit.
void lookUp(int window, unsigned raw, AffinePt &q) {
    const std::uint32_t digit = raw - 2 * kEntries;
    const unsigned negative = digit >> 31;
    const std::uint32_t sign = 0u - negative;
    const std::uint32_t index = ((digit ^ sign) - sign) >> 1;  // (|d| − 1)/2
    const GeneratorTable &table = generatorTable();
    for (int j = 0; j < kEntries; ++j) {
        const unsigned take = static_cast<unsigned>(index == static_cast<std::uint32_t>(j));
        q.x.replace(table.entry[window][j].x, take);
        q.y.replace(table.entry[window][j].y, take);
    }
    FieldInt256 negated;
    negated.subtract(q.y);
    q.y.replace(negated, negative);
    wipe(&negated, sizeof negated);
}

}  // namespace

// The partial sums below window i are smaller in size than 32^i while the entry added is not, and
// 32^51 < n: no window but the last adds a point equal or opposite to the sum, whatever k is. The last
// window's sum can meet both, and is added with masks.
void _tvCurvePt::multiplyGenerator(const _tvUnsigned256 &kIn) {
    _tvUnsigned256 k = kIn;  // kIn may be one of this point's own coordinates
    k.subtract(m_s_order, static_cast<unsigned>(k >= m_s_order));
    // An even k (0 included) becomes n − k, odd since n is, and the product is negated at the end.
    const unsigned even = (k.value[0] & 1u) ^ 1u;
    _tvUnsigned256 complement = m_s_order;
    complement.subtract(k, 1);
    k.replace(complement, even);

    AffinePt q;
    for (int i = 0; i < kWindows; ++i) {
        const unsigned raw = windowBits(k, kWindowBits * i) | 1u;
        // The top digit is k's remaining bits, positive: raw with 32 added back.
        lookUp(i, i == kWindows - 1 ? raw + 2 * kEntries : raw, q);
        if (i == 0)
            *this = _tvCurvePt(q.x, q.y);
        else if (i < kWindows - 1)
            addAffine(*this, q);
        else
            addAffineMasked(*this, q);
    }
    FieldInt256 negated;
    negated.subtract(y);
    y.replace(negated, even);
    wipe(&negated, sizeof negated);
    wipe(&q, sizeof q);
    wipe(&k, sizeof k);
    wipe(&complement, sizeof complement);
}

}  // namespace ecckey
