#include "grundel/math/TtriangleOctreeWalker.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include <emmintrin.h>

namespace {

using Layout = TtriangleOctree::QueryLayout;
using grundel::detail::RayTriangle;

// The prefilter: the hit test's numerators for four triangles at once in
// single precision, rejecting only triangles that the double-precision test
// (RayTriangle::hits) certainly rejects; the rest go to that test.
//
// Why the margins hold. Relative to a cell centre c, with the ray's origin
// o - c and direction d rounded to float, every numerator is a sum of products
// whose float value is off from the exact one by at most about 10 roundings
// (u = 2^-24) times the sum of its terms' magnitudes; the double value is
// off by far less. With S bounding |o - corner| and E bounding |edge| on
// every axis (S <= |o - c| + reach, E <= 2 reach), those sums are at most
// 6 |d| S E for U and V, 6 |d| E^2 for D and 6 S E^2 for T. The margins are
// 2^-16 = 256u times these products, over four times the error. D's sign,
// which orients the others, is trusted only where |D| exceeds its margin.
// Cells whose margins fall outside [2^-100, 2^100] (where float could
// overflow, or underflow's absolute error could matter) skip the prefilter.
struct Prefilter {
    bool on;
    __m128 o[3], c[3], d[3]; // origin relative to the centre, centre, direction
    __m128 mU, mD, mT, mSum, tMaxUp;
};

constexpr double kMarginScale = 1.0 / 65536;
constexpr double kMarginMin = 0x1p-100, kMarginMax = 0x1p100;

inline bool inRange(double m) noexcept { return m >= kMarginMin && m <= kMarginMax; }

// Sets f up for the cell of centre center holding triangles within reach.
inline void setUp(Prefilter& f, const Layout::Node& node, const double* o, const double* d, double dMax,
                  double tMax) noexcept {
    const double reach = Layout::reach(node);
    double S = 0;
    for (int k = 0; k < 3; ++k)
        S = std::max(S, std::fabs(o[k] - double(node.center[k])));
    S += reach;
    const double E = 2.0 * reach;
    const double mU = kMarginScale * dMax * S * E, mD = kMarginScale * dMax * E * E, mT = kMarginScale * S * E * E;
    f.on = inRange(mU) && inRange(mD) && inRange(mT) && S <= kMarginMax && dMax <= kMarginMax;
    if (!f.on)
        return;
    for (int k = 0; k < 3; ++k) {
        f.o[k] = _mm_set1_ps(static_cast<float>(o[k] - double(node.center[k])));
        f.c[k] = _mm_set1_ps(node.center[k]);
        f.d[k] = _mm_set1_ps(static_cast<float>(d[k]));
    }
    f.mU = _mm_set1_ps(static_cast<float>(mU));
    f.mD = _mm_set1_ps(static_cast<float>(mD));
    f.mT = _mm_set1_ps(static_cast<float>(mT));
    f.mSum = _mm_set1_ps(static_cast<float>(4 * mU + 2 * mD));
    float up = tMax >= double(std::numeric_limits<float>::max()) ? HUGE_VALF : static_cast<float>(tMax);
    if (double(up) < tMax)
        up = std::nextafter(up, HUGE_VALF);
    f.tMaxUp = _mm_set1_ps(up);
}

// Bit i set where triangle t[i] may hit.
inline unsigned int mayHit(const Prefilter& f, const RayTriangle* const* t) noexcept {
    // Corners as rows: a.x a.y a.z b.x | b.x b.y b.z c.x | b.z c.x c.y c.z
    // (all within the triangle), turned into one register per coordinate.
    __m128 a0 = _mm_loadu_ps(t[0]->a), a1 = _mm_loadu_ps(t[1]->a), a2 = _mm_loadu_ps(t[2]->a),
           bx = _mm_loadu_ps(t[3]->a);
    _MM_TRANSPOSE4_PS(a0, a1, a2, bx);
    __m128 b0 = _mm_loadu_ps(t[0]->b), b1 = _mm_loadu_ps(t[1]->b), b2 = _mm_loadu_ps(t[2]->b),
           cx = _mm_loadu_ps(t[3]->b);
    _MM_TRANSPOSE4_PS(b0, b1, b2, cx);
    __m128 bz = _mm_loadu_ps(t[0]->b + 2), c0 = _mm_loadu_ps(t[1]->b + 2), c1 = _mm_loadu_ps(t[2]->b + 2),
           c2 = _mm_loadu_ps(t[3]->b + 2);
    _MM_TRANSPOSE4_PS(bz, c0, c1, c2);
    const __m128 e10 = b0 - a0, e11 = b1 - a1, e12 = b2 - a2;
    const __m128 e20 = c0 - a0, e21 = c1 - a1, e22 = c2 - a2;
    const __m128 n0 = e11 * e22 - e12 * e21, n1 = e12 * e20 - e10 * e22, n2 = e10 * e21 - e11 * e20;
    const __m128 D = f.d[0] * n0 + f.d[1] * n1 + f.d[2] * n2;
    const __m128 s0 = f.o[0] - (a0 - f.c[0]), s1 = f.o[1] - (a1 - f.c[1]), s2 = f.o[2] - (a2 - f.c[2]);
    const __m128 U = f.d[0] * (s1 * e22 - s2 * e21) + f.d[1] * (s2 * e20 - s0 * e22) + f.d[2] * (s0 * e21 - s1 * e20);
    const __m128 V = f.d[0] * (e11 * s2 - e12 * s1) + f.d[1] * (e12 * s0 - e10 * s2) + f.d[2] * (e10 * s1 - e11 * s0);
    const __m128 T = s0 * n0 + s1 * n1 + s2 * n2;
    // Oriented by D's sign as the double test does (uu = sign U, tt = -sign T).
    const __m128 signBit = _mm_set1_ps(-0.0f);
    const __m128 sign = _mm_and_ps(D, signBit);
    const __m128 adn = _mm_andnot_ps(signBit, D);
    const __m128 uu = _mm_xor_ps(U, sign), vv = _mm_xor_ps(V, sign), tt = _mm_xor_ps(T, _mm_xor_ps(sign, signBit));
    const __m128 lowU = _mm_xor_ps(f.mU, signBit), lowT = _mm_xor_ps(f.mT, signBit);
    __m128 ok = _mm_and_ps(_mm_cmpge_ps(uu, lowU), _mm_cmpge_ps(vv, lowU));
    ok = _mm_and_ps(ok, _mm_cmple_ps(uu + vv, adn + f.mSum));
    ok = _mm_and_ps(ok, _mm_cmpge_ps(tt, lowT));
    ok = _mm_and_ps(ok, _mm_cmple_ps(tt - f.mT, f.tMaxUp * (adn + f.mD)));
    const __m128 unsure = _mm_cmpngt_ps(adn, f.mD); // D's sign not certain (or NaN)
    return static_cast<unsigned int>(_mm_movemask_ps(_mm_or_ps(ok, unsure)));
}

// The ray as narrowToBox reads it: x and y side by side.
struct Slab {
    __m128d oXY, invXY;
    double oZ, invZ;
};

// Narrows [t0, t1] to where a ray that crosses every set of planes is inside
// the node's box: Layout::side's arithmetic, two axes at a time.
inline bool narrowToBox(const Layout::Node& node, double r, const Slab& ray, double& t0, double& t1) noexcept {
    const double step = r * (1 / 127.5);
    const __m128d base = _mm_sub_pd(_mm_set_pd(node.center[1], node.center[0]), _mm_set1_pd(r));
    const __m128d qLo = _mm_cvtepi32_pd(_mm_set_epi32(0, 0, node.box[1][0], node.box[0][0]));
    const __m128d qHi = _mm_cvtepi32_pd(_mm_set_epi32(0, 0, node.box[1][1], node.box[0][1]));
    const __m128d s = _mm_set1_pd(step);
    const __m128d ta = _mm_mul_pd(_mm_sub_pd(_mm_add_pd(base, _mm_mul_pd(qLo, s)), ray.oXY), ray.invXY);
    const __m128d tb = _mm_mul_pd(_mm_sub_pd(_mm_add_pd(base, _mm_mul_pd(qHi, s)), ray.oXY), ray.invXY);
    const __m128d nearXY = _mm_min_pd(ta, tb), farXY = _mm_max_pd(ta, tb);
    const double zBase = double(node.center[2]) - r;
    const double za = (zBase + node.box[2][0] * step - ray.oZ) * ray.invZ;
    const double zb = (zBase + node.box[2][1] * step - ray.oZ) * ray.invZ;
    const double nearX = _mm_cvtsd_f64(nearXY), nearY = _mm_cvtsd_f64(_mm_unpackhi_pd(nearXY, nearXY));
    const double farX = _mm_cvtsd_f64(farXY), farY = _mm_cvtsd_f64(_mm_unpackhi_pd(farXY, farXY));
    t0 = std::max(std::max(t0, std::min(za, zb)), std::max(nearX, nearY));
    t1 = std::min(std::min(t1, std::max(za, zb)), std::min(farX, farY));
    return t0 <= t1;
}

// kRank[children][i]: how many of the children below octant i exist (the
// offset of child i from the node's first child). No popcnt instruction in
// the baseline instruction set, and a table beats the bit arithmetic.
struct RankTable {
    std::uint8_t rank[256][8];
    constexpr RankTable() : rank{} {
        for (unsigned int c = 0; c < 256; ++c)
            for (unsigned int i = 0; i < 8; ++i) {
                unsigned int n = 0;
                for (unsigned int k = 0; k < i; ++k)
                    n += (c >> k) & 1;
                rank[c][i] = static_cast<std::uint8_t>(n);
            }
    }
};
constexpr RankTable kRank;

// Sorts the pairs (s[k], bit[k]) by s.
inline void sortCrossings(double* s, unsigned int* bit) noexcept {
    const auto exchange = [&](int x, int y) {
        const bool swap = s[y] < s[x];
        const double lo = swap ? s[y] : s[x], hi = swap ? s[x] : s[y];
        const unsigned int bl = swap ? bit[y] : bit[x], bh = swap ? bit[x] : bit[y];
        s[x] = lo;
        s[y] = hi;
        bit[x] = bl;
        bit[y] = bh;
    };
    exchange(0, 1);
    exchange(1, 2);
    exchange(0, 1);
}

} // namespace

template <class Fn>
void TtriangleOctreeWalker::walk(const Layout& layout, const double* o, const double* d, double tMax, Fn&& fn) {
    grundel::detail::TotRay ray;
    double t0, t1;
    if (!ray.set(o, d, tMax) || !ray.clip(layout.min, layout.max, tMax, t0, t1))
        return;
    // Most rays cross every set of planes: they take a path without the
    // tests for a ray that runs along some.
    if (ray.moves[0] && ray.moves[1] && ray.moves[2])
        walkCells<true>(layout, ray, t0, t1, tMax, fn);
    else
        walkCells<false>(layout, ray, t0, t1, tMax, fn);
}

template <bool kEveryAxis, class Fn>
void TtriangleOctreeWalker::walkCells(const Layout& layout, const grundel::detail::TotRay& ray, double start,
                                      double stop, double tMax, Fn& fn) {
    const double* o = ray.o;
    const double* d = ray.d;
    // Octant bit k of a child is flipped where the ray runs down axis k, so
    // that the ray meets the children in a chain of growing bit sets.
    unsigned int flip = 0;
    for (int k = 0; k < 3; ++k)
        flip |= static_cast<unsigned int>(ray.moves[k] && d[k] < 0) << k;
    const double dMax = std::max({std::fabs(d[0]), std::fabs(d[1]), std::fabs(d[2])});
    Prefilter filter;
    const Slab slab{_mm_set_pd(o[1], o[0]), _mm_set_pd(ray.inv[1], ray.inv[0]), o[2], ray.inv[2]};

    // Each level leaves at most three siblings behind, and a visit pushes at
    // most four: the stack never outgrows this.
    const std::size_t bound = 3 * std::size_t{layout.depth} + 5;
    if (fStack.size() < bound)
        fStack.resize(bound);
    Item* stack = fStack.data();
    const Layout::Node* nodes = layout.nodes.data();
    const std::uint32_t* entries = layout.entries.data();
    const RayTriangle* triangles = layout.triangles.data();
    std::size_t top = 0;
    stack[top++] = Item{0, start, stop};
    while (top > 0) {
        const Item item = stack[--top];
        if (item.t0 > tMax)
            continue;
        const Layout::Node& node = nodes[item.node];
        // The part of the cell's range where the ray is in the node's box;
        // nothing below the node lies elsewhere in the cell.
        double t0 = item.t0, t1 = std::min(item.t1, tMax);
        if (node.scale != Layout::kNoScale) {
            const double r = Layout::reach(node);
            if constexpr (kEveryAxis) {
                if (!narrowToBox(node, r, slab, t0, t1))
                    continue;
            } else {
                double lo[3], hi[3];
                for (unsigned int k = 0; k < 3; ++k) {
                    lo[k] = Layout::side(node, r, k, node.box[k][0]);
                    hi[k] = Layout::side(node, r, k, node.box[k][1]);
                }
                if (!ray.narrow(lo, hi, t0, t1))
                    continue;
            }
        }
        if (node.count) {
            const std::uint32_t* e = entries + node.first;
            const std::uint32_t n = node.count;
            for (std::uint32_t k = 0; k < n; ++k)
                __builtin_prefetch(triangles + e[k]);
            setUp(filter, node, o, d, dMax, tMax);
            // Four at a time; a short last group repeats its last triangle.
            for (std::uint32_t k = 0; k < n; k += 4) {
                const RayTriangle* group[4];
                for (std::uint32_t l = 0; l < 4; ++l)
                    group[l] = triangles + e[k + l < n ? k + l : n - 1];
                unsigned int may = filter.on ? mayHit(filter, group) : 0xf;
                if (n - k < 4)
                    may &= (1u << (n - k)) - 1;
                for (; may; may &= may - 1)
                    fn(e[k + static_cast<std::uint32_t>(__builtin_ctz(may))], tMax);
            }
        }
        if (!node.children || t0 > tMax)
            continue;

        // Where the ray crosses the three dividing planes, in order; the
        // children it meets are the one at t0 and one more after each
        // crossing inside the cell. A crossing at or before t0 (or a plane
        // the ray runs along, on the side it lies) flips its bit from the
        // start; one past the cell's end never comes.
        double s[3];
        unsigned int bit[3] = {1, 2, 4};
        for (int k = 0; k < 3; ++k) {
            const double c = node.center[k];
            if constexpr (kEveryAxis)
                s[k] = (c - o[k]) * ray.inv[k];
            else
                s[k] = ray.moves[k] ? (c - o[k]) * ray.inv[k] : o[k] >= c ? -HUGE_VAL : HUGE_VAL;
        }
        sortCrossings(s, bit);
        const double end = std::min(t1, tMax);
        const unsigned int c = node.children;
        const std::uint32_t first = node.firstChild;
        const unsigned int chain[4] = {flip, (bit[0]) ^ flip, (bit[0] | bit[1]) ^ flip, 7 ^ flip};
        const double enter[4] = {t0, std::max(t0, s[0]), std::max(t0, s[1]), std::max(t0, s[2])};
        const double leave[4] = {std::min(end, s[0]), std::min(end, s[1]), std::min(end, s[2]), end};
        // Pushed last first, without a branch: a slot is written always and
        // kept when the child exists and the ray spends time in it. Only
        // the kept children are prefetched (the others name this node).
        for (int m = 3; m >= 0; --m) {
            const unsigned int octant = chain[m];
            const std::uint32_t child = first + kRank.rank[c][octant];
            const unsigned int keep = ((c >> octant) & 1) & static_cast<unsigned int>(enter[m] <= leave[m]);
            __builtin_prefetch(nodes + (keep ? child : item.node));
            stack[top] = Item{child, enter[m], leave[m]};
            top += keep;
        }
    }
}

unsigned int TtriangleOctreeWalker::nextMark() {
    if (fMarks.size() < fTree->triangleCount())
        fMarks.resize(fTree->triangleCount(), 0);
    if (++fMark == 0) {
        std::fill(fMarks.begin(), fMarks.end(), 0u);
        fMark = 1;
    }
    return fMark;
}

bool TtriangleOctreeWalker::firstHit(const T3dDblPoint& origin, const T4dDblVector& direction,
                                     ToctreeTriangleIntersection& hit, double tMax) {
    const double o[3] = {origin.x, origin.y, origin.z}, d[3] = {direction.x, direction.y, direction.z};
    const Layout& layout = fTree->queryLayout();
    // No marks here: a triangle met again in a later cell gives the same
    // answer, and testing it again is cheaper than a mark's cache miss.
    ToctreeTriangleIntersection best;
    bool found = false;
    walk(layout, o, d, tMax, [&](std::uint32_t place, double& limit) {
        double t, u, v;
        if (!layout.triangles[place].intersect(o, d, limit, t, u, v))
            return;
        const unsigned int index = layout.index[place];
        if (t < limit || !found || index < best.triangle) {
            best = ToctreeTriangleIntersection{index, t, u, v};
            found = true;
            limit = t;
        }
    });
    if (found)
        hit = best;
    return found;
}

unsigned int TtriangleOctreeWalker::allHits(const T3dDblPoint& origin, const T4dDblVector& direction,
                                            std::vector<ToctreeTriangleIntersection>& hits, double tMax) {
    const double o[3] = {origin.x, origin.y, origin.z}, d[3] = {direction.x, direction.y, direction.z};
    const Layout& layout = fTree->queryLayout();
    hits.clear();
    const unsigned int mark = nextMark();
    // Only triangles that may hit are marked: a miss is a miss in every cell.
    walk(layout, o, d, tMax, [&](std::uint32_t place, double& limit) {
        const unsigned int index = layout.index[place];
        if (fMarks[index] == mark)
            return;
        fMarks[index] = mark;
        double t, u, v;
        if (layout.triangles[place].intersect(o, d, limit, t, u, v))
            hits.push_back(ToctreeTriangleIntersection{index, t, u, v});
    });
    std::sort(hits.begin(), hits.end(), [](const ToctreeTriangleIntersection& a, const ToctreeTriangleIntersection& b) {
        return a.t < b.t || (a.t == b.t && a.triangle < b.triangle);
    });
    return static_cast<unsigned int>(hits.size());
}
