// k·G on secp256k1 from a table of the generator's multiples: signed 4-bit windows, one table lookup and
// one mixed addition a window, and no doubling.
//
// The scalar is reduced below n and made odd (k, or n − k with the result negated), then written with odd
// digits only, k = Σ dᵢ·16^i with every dᵢ odd in [−15, 15] (the top one positive), so no window adds the
// point at infinity. Window i's table holds (2j + 1)·16^i·G for j below 8, affine; the lookup reads every
// entry, and the digit's sign negates y by a mask.
#include "ecc/secp256k1/CurvePt.h"
#include "support/Wipe.h"

namespace ecckey {

namespace {

const int kWindowBits = 4;
const int kWindows = 256 / kWindowBits;
const int kEntries = 1 << (kWindowBits - 1);

struct AffinePt {
    FieldInt256 x, y;
};

// 64 windows of 8 affine points: 32 KiB, public.
struct GeneratorTable {
    AffinePt entry[kWindows][kEntries];
};

GeneratorTable buildTable() {
    GeneratorTable t;
    _tvCurvePt base = _tvCurvePt::m_s_G;
    for (int i = 0; i < kWindows; ++i) {
        _tvCurvePt twice = base, odd = base;
        twice.doublePt();
        for (int j = 0; j < kEntries; ++j) {
            _tvCurvePt affine = odd;
            affine.normalizePt();
            t.entry[i][j] = AffinePt{affine.x, affine.y};
            odd.addPt(twice);
        }
        for (int b = 0; b < kWindowBits; ++b)
            base.doublePt();
    }
    return t;
}

// Built on first use; the initialisation of a function-local static is thread-safe.
const GeneratorTable &generatorTable() {
    static const GeneratorTable table = buildTable();
    return table;
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

// 5 bits of k from bit pos up (pos a multiple of 4, below 256); bits past 255 read as zero.
unsigned windowBits(const _tvUnsigned256 &k, int pos) {
    const int word = pos / 32, shift = pos % 32;
    std::uint32_t v = k.value[word] >> shift;
    if (shift + kWindowBits + 1 > 32 && word + 1 < 8)
        v |= k.value[word + 1] << (32 - shift);
    return v & ((1u << (kWindowBits + 1)) - 1);
}

// q = d·16^window·G for the odd digit d = raw − 16 (raw below 32): every entry is read, the one kept
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

// The partial sums below the top window are smaller in size than 16^i while the entry added is not, and
// 16^63 < n: no window but the last adds a point equal or opposite to the sum, whatever k is. The last
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
        // The top digit is k's remaining bits, positive: raw with 16 added back.
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
