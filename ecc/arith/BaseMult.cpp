// k·G for a curve's generator from tables of its multiples, for the secret scalars of key generation and
// signing: signed fixed windows of kWindowBits bits, one table lookup and one mixed addition a window, and no
// doubling at all.
//
// The scalar is made odd (k, or n − k with the result negated), then written with odd digits only,
// k = Σ dᵢ·2^(w·i) with every dᵢ odd in [−(2^w − 1), 2^w − 1] (the top digit positive), so no window adds
// the point at infinity. Window i's table holds (2j + 1)·2^(w·i)·G for j below 2^(w − 1), affine, and the
// lookup reads every entry of it; the digit's sign negates y by a mask.
#include <memory>
#include <mutex>
#include <new>

#include "ecc/EccPoint.h"
#include "ecc/arith/EccArith.h"
#include "ecc/arith/FixedField.h"
#include "ecc/arith/PointFormulas.h"
#include "ecc/arith/ScalarField.h"
#include "support/ConstantTime.h"
#include "support/LogBase.h"
#include "support/TovarMp.h"
#include "support/Wipe.h"

namespace ecckey {

namespace {

// 5-bit windows: for a 256-bit curve 52 windows of 16 entries, 52 KiB of table (1.1 MiB for the twelve
// curves). 4-bit windows (64 of 8, 32 KiB) take a tenth more instructions a multiplication (callgrind, P-256
// and P-521), in a multiplication that the final inversion's 255 squarings already make a quarter of.
const int kWindowBits = kBaseMultWindowBits;
const int kEntries = 1 << (kWindowBits - 1);
// A window's w + 1 bits read as an unsigned value stand for the signed digit raw − 2^w.
const std::uint64_t kDigitBias = std::uint64_t{1} << kWindowBits;
// Tables per limb count; the catalogue has at most four curves of one limb count (P-224, P-256 and the
// two Brainpool curves of those sizes).
const int kSlots = 4;

const char kContextPointMultiply[] = "pointMultiply";

// Which curve a table belongs to: p, a (zero for a = −3) and G, as limbs. Public values.
template <int N>
struct CurveKey {
    typename FieldMont<N>::Elem p{}, a{}, gx{}, gy{};
    bool hasA = false;

    [[nodiscard]] bool load(const mp_int &pIn, const mp_int *aIn, const EccPoint &G) {
        hasA = aIn != nullptr;
        return TovarMp::mpint_to_limbs(pIn, p.w, N) && (!aIn || TovarMp::mpint_to_limbs(*aIn, a.w, N)) &&
               TovarMp::mpint_to_limbs(G.m_x, gx.w, N) && TovarMp::mpint_to_limbs(G.m_y, gy.w, N);
    }
    [[nodiscard]] bool operator==(const CurveKey &o) const {
        typedef FieldMont<N> F;
        return hasA == o.hasA && F::isEqual(p, o.p) && F::isEqual(a, o.a) && F::isEqual(gx, o.gx) &&
               F::isEqual(gy, o.gy);
    }
};

// One curve's table: windows × kEntries affine points in Montgomery form, x then y.
template <int N>
struct BaseTable {
    typedef typename FieldMont<N>::Elem Elem;
    CurveKey<N> key;
    int windows = 0;
    std::unique_ptr<Elem[]> xy;

    const Elem &x(int window, int j) const { return xy[2 * (window * kEntries + j)]; }
    const Elem &y(int window, int j) const { return xy[2 * (window * kEntries + j) + 1]; }
};

// window·kEntries + j holds (2j + 1)·2^(w·window)·G in Jacobian coordinates, from tG, G in Montgomery form.
template <int N>
void fillJacobian(const FixedField<N> &f, const typename FixedField<N>::Point &tG, int windows,
                  typename FixedField<N>::Point *jac) {
    typename FixedField<N>::Point base = tG, twice;
    typename FixedField<N>::Scratch s;
    for (int i = 0; i < windows; ++i) {
        typename FixedField<N>::Point *row = jac + i * kEntries;
        row[0] = base;
        (void)jacobianDouble(f, base, twice, s);
        for (int j = 1; j < kEntries; ++j)
            (void)jacobianAdd(f, row[j - 1], twice, row[j], s);
        for (int b = 0; b < kWindowBits; ++b)
            (void)jacobianDouble(f, base, base, s);
    }
}

// The table's affine points from the Jacobian ones, with a single inversion: prefix[i] = Z₀·…·Zᵢ, inverted
// once, then walked back, each step giving one Zᵢ⁻¹ and the inverse of the shorter prefix.
template <int N>
void toAffine(const FixedField<N> &f, const typename FixedField<N>::Point *jac, int count,
              typename FieldMont<N>::Elem *prefix, BaseTable<N> &table) {
    typedef typename FieldMont<N>::Elem Elem;
    const FieldMont<N> &F = f.field();
    prefix[0] = jac[0].m_z;
    for (int i = 1; i < count; ++i)
        F.mul(prefix[i - 1], jac[i].m_z, prefix[i]);
    Elem inverse, zInverse, zInverse2;
    F.invert(prefix[count - 1], inverse);
    for (int i = count - 1; i >= 0; --i) {
        if (i > 0) {
            F.mul(inverse, prefix[i - 1], zInverse);
            F.mul(inverse, jac[i].m_z, inverse);
        } else {
            zInverse = inverse;
        }
        F.sqr(zInverse, zInverse2);
        Elem &x = table.xy[2 * i];
        Elem &y = table.xy[2 * i + 1];
        F.mul(jac[i].m_x, zInverse2, x);
        F.mul(zInverse2, zInverse, zInverse2);
        F.mul(jac[i].m_y, zInverse2, y);
    }
}

// Builds the table for the curve of f and tG, windows windows long. False when memory is short.
template <int N>
[[nodiscard]] bool buildTable(const FixedField<N> &f, const typename FixedField<N>::Point &tG, int windows,
                              BaseTable<N> &table) {
    typedef typename FieldMont<N>::Elem Elem;
    const int count = windows * kEntries;
    std::unique_ptr<typename FixedField<N>::Point[]> jac(new (std::nothrow)
                                                             typename FixedField<N>::Point[count]);
    std::unique_ptr<Elem[]> prefix(new (std::nothrow) Elem[count]);
    table.xy.reset(new (std::nothrow) Elem[2 * static_cast<std::size_t>(count)]);
    if (!jac || !prefix || !table.xy)
        return false;
    fillJacobian(f, tG, windows, jac.get());
    toAffine(f, jac.get(), count, prefix.get(), table);
    table.windows = windows;
    return true;
}

// The tables of one limb count, built on first use under the lock and never changed or freed afterwards:
// a reader holding a pointer to one needs no lock.
template <int N>
struct TableRegistry {
    std::mutex lock;
    BaseTable<N> slots[kSlots];
    int used = 0;
};

template <int N>
TableRegistry<N> &registry() {
    static TableRegistry<N> r;
    return r;
}

// The table of the curve of key, built when it is missing. Null when it cannot be built or the slots are
// all taken.
template <int N>
const BaseTable<N> *findTable(const CurveKey<N> &key, const FixedField<N> &f,
                              const typename FixedField<N>::Point &tG, int windows) {
    TableRegistry<N> &r = registry<N>();
    std::lock_guard<std::mutex> guard(r.lock);
    for (int i = 0; i < r.used; ++i)
        if (r.slots[i].key == key)
            return &r.slots[i];
    if (r.used == kSlots)
        return nullptr;
    BaseTable<N> &table = r.slots[r.used];
    table.key = key;
    if (!buildTable(f, tG, windows, table)) {
        table.xy.reset();
        return nullptr;
    }
    ++r.used;
    return &table;
}

// The multiplication's working values, wiped on the way out: all follow the scalar.
template <int N>
struct BaseMultState {
    typename FixedField<N>::Point acc, entry, doubled;
    typename FixedField<N>::Scratch s;
    typename FieldMont<N>::Elem negatedY;
    std::uint64_t k[9], n[9];
    ~BaseMultState() { wipe(this, sizeof *this); }
};

// count bits of the limbs k (limbs long) from bit position pos up; positions past the end read as zero.
std::uint64_t bitsAt(const std::uint64_t *k, int limbs, int pos, int count) {
    const int limb = pos / 64, shift = pos % 64;
    std::uint64_t v = k[limb] >> shift;
    if (shift + count > 64 && limb + 1 < limbs)
        v |= k[limb + 1] << (64 - shift);
    return v & ((std::uint64_t(1) << count) - 1);
}

// k = n − k where mask is all ones, k unchanged where it is zero; k and n limbs long.
void subtractFromOrder(std::uint64_t mask, const std::uint64_t *n, std::uint64_t *k, int limbs) {
    std::uint64_t borrow = 0;
    for (int j = 0; j < limbs; ++j) {
        const unsigned __int128 difference = (unsigned __int128)n[j] - k[j] - borrow;
        borrow = (std::uint64_t)(difference >> 127);
        k[j] = ((std::uint64_t)difference & mask) | (k[j] & ~mask);
    }
}

// entry = d·2^(w·window)·G for the odd digit whose w + 1 bits (before the sign) are raw: every entry of the
// window's table is read, the one kept chosen by masks, and y negated by a mask for a negative digit.
template <int N>
void lookUp(const FixedField<N> &f, const BaseTable<N> &table, int window, std::uint64_t raw,
            BaseMultState<N> &st) {
    const std::uint64_t digit = raw - kDigitBias;                        // d, as a 64-bit two's complement
    const std::uint64_t negative = ct::opaque64(0 - (digit >> 63));      // all ones for d < 0
    const std::uint64_t index = (((digit ^ negative) - negative) >> 1);  // (|d| − 1)/2
    for (int j = 0; j < kEntries; ++j) {
        const std::uint64_t take = ct::mask64(index == (std::uint64_t)j);
        f.select(take, table.x(window, j), st.entry.m_x, st.entry.m_x);
        f.select(take, table.y(window, j), st.entry.m_y, st.entry.m_y);
    }
    st.entry.m_z = f.one();
    f.field().neg(st.entry.m_y, st.negatedY);
    f.select(negative, st.negatedY, st.entry.m_y, st.entry.m_y);
}

// acc = k·G for the odd k in st.k (limbs long, below 2^bits): window 0's digit, then windows 1 to the last.
// acc's partial sums below the top window are smaller in size than 2^(w·i) while the entry added is not, and
// 2^(w·(windows − 1)) <= n: the sum of such two is never the point at infinity, nor are they equal, so the
// general mixed addition serves every window but the last, for every k. The last window's sum can meet
// both cases, and takes the masked addition.
template <int N>
void oddMultiple(const FixedField<N> &f, const BaseTable<N> &table, int limbs, BaseMultState<N> &st) {
    const int last = table.windows - 1;
    for (int i = 0; i <= last; ++i) {
        const std::uint64_t raw = bitsAt(st.k, limbs, kWindowBits * i, kWindowBits + 1) | 1u;
        // The top digit is k's remaining bits, positive: raw with 2^w added back.
        lookUp(f, table, i, i == last ? raw + kDigitBias : raw, st);
        if (i == 0) {
            st.acc = st.entry;
        } else if (i < last) {
            st.s.x = st.acc.m_x;
            st.s.y = st.acc.m_y;
            st.s.z = st.acc.m_z;
            (void)jacobianAddGeneral(f, st.entry, true, st.s);
            st.acc.m_x = st.s.x;
            st.acc.m_y = st.s.y;
            st.acc.m_z = st.s.z;
        } else {
            (void)jacobianDouble(f, st.acc, st.doubled, st.s);
            jacobianAddMasked(f, st.acc, st.entry, true, st.doubled, st.acc, st.s);
        }
    }
}

template <int N>
[[nodiscard]] bool multiplyBase(const mp_int &k, const mp_int &n, EccPoint &G, EccPoint &R, mp_int *a,
                                mp_int &p) {
    FixedField<N> f;
    CurveKey<N> key;
    typename FixedField<N>::Point tG;
    const int bits = TovarMp::mp_count_bits(n);
    const int limbs = (bits + 63) / 64;
    const int windows = (bits + kWindowBits - 1) / kWindowBits;
    if (bits < 2 * kWindowBits || limbs > 9 || !f.setUp(p, a) || !f.load(G, tG) || !key.load(p, a, G))
        return false;
    const BaseTable<N> *table = findTable(key, f, tG, windows);
    BaseMultState<N> st;
    if (!table || !TovarMp::mpint_to_limbs(k, st.k, limbs) || !TovarMp::mpint_to_limbs(n, st.n, limbs))
        return false;
    // An even k becomes n − k, odd since n is, and its product is negated at the end.
    const std::uint64_t even = ct::mask64((st.k[0] & 1u) == 0);
    subtractFromOrder(even, st.n, st.k, limbs);
    oddMultiple(f, *table, limbs, st);
    f.field().neg(st.acc.m_y, st.negatedY);
    f.select(even, st.negatedY, st.acc.m_y, st.acc.m_y);

    // k·G for 1 <= k < n is never the point at infinity: the map cannot fail.
    if (!jacobianToAffine(f, st.acc, st.s))
        return false;
    // The product is the caller's output: a public key, or the point that gives a signature's r.
    ct::declassify(&st.acc, sizeof st.acc);
    R.m_format = 4;
    return TovarMp::mpint_from_limbs(R.m_x, st.acc.m_x.w, N) &&
           TovarMp::mpint_from_limbs(R.m_y, st.acc.m_y.w, N) && TovarMp::mp_set(R.m_z, 1) == 0;
}

}  // namespace

bool pointMultBase(mp_int &k, const mp_int &n, EccPoint &G, EccPoint &R, mp_int *a, mp_int &p, LogBase &log) {
    ECCKEY_INVARIANT(!isSecp256k1Prime(p));
    if (!scalarInRange(n, k) || fixedFieldLimbs(p) == 0)
        return pointMultSecret(k, n, G, R, a, p, log);
    bool done = false;
    {
        LogContextExitor ctx(log, kContextPointMultiply);
        done = withFixedFieldLimbs(
            p, [&](auto limbs) { return multiplyBase<decltype(limbs)::value>(k, n, G, R, a, p); },
            [] { return false; });
    }
    return done || pointMultSecret(k, n, G, R, a, p, log);
}

}  // namespace ecckey
