#include "grundel/math/TtriangleOctreeWalker.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
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

// Sets f up for a cell: triangles within reach of its centre.
inline void setUp(Prefilter& f, const Layout::Cell& cell, const double* o, const double* d, double dMax,
                  double tMax) noexcept {
    const double reach = Layout::reach(cell.scale);
    double S = 0;
    for (int k = 0; k < 3; ++k)
        S = std::max(S, std::fabs(o[k] - double(cell.center[k])));
    S += reach;
    const double E = 2.0 * reach;
    const double mU = kMarginScale * dMax * S * E, mD = kMarginScale * dMax * E * E, mT = kMarginScale * S * E * E;
    f.on = inRange(mU) && inRange(mD) && inRange(mT) && S <= kMarginMax && dMax <= kMarginMax;
    if (!f.on)
        return;
    for (int k = 0; k < 3; ++k) {
        f.o[k] = _mm_set1_ps(static_cast<float>(o[k] - double(cell.center[k])));
        f.c[k] = _mm_set1_ps(cell.center[k]);
        f.d[k] = _mm_set1_ps(static_cast<float>(d[k]));
    }
    f.mU = _mm_set1_ps(static_cast<float>(mU));
    f.mD = _mm_set1_ps(static_cast<float>(mD));
    f.mT = _mm_set1_ps(static_cast<float>(mT));
    f.mSum = _mm_set1_ps(static_cast<float>(4 * mU + 2 * mD));
    f.tMaxUp = _mm_set1_ps(grundel::detail::roundToFloat(tMax, false));
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

// The ray as the box tests read it: single precision, with every box grown
// by a margin that covers the rounding.
//
// Why the margin holds. The direction is scaled by a power of two so that
// its largest component has magnitude in [1, 2) (test times are true times
// over that scale); components below 2^-80 of it count as zero. A plane p's
// crossing is computed as fl(fl(p -+ o') * fl(1 / d)), where o' is the origin
// rounded to float and moved by the margin m outwards; each rounding is
// relative (u = 2^-24), so the point the ray reaches at the computed time is
// off from p -+ m by at most about 5u (|o| + X + m), X bounding every finite
// plane and the root box. Points of the root box lie within t <= |o| + X of
// the origin, over which a component treated as zero moves less than
// 2^-78 (|o| + X). The margin m = 2^-19 (|o| + X) covers both many times, so
// the computed range holds the true one wherever the ray is in the root box.
// Overflow goes to infinity on the safe side. Rays with |o| + X outside
// [2^-100, 2^100] enter every child instead.
struct BoxRay {
    __m128 oNear[3], oFar[3], inv[3];
    unsigned int nearSide[3], farSide[3]; // where in a ChildBoxes each axis's sides lie, in floats
    double scale;                         // true time = test time * scale
    bool cull;
};

constexpr double kBoxMargin = 0x1p-19, kBoxMin = 0x1p-100, kBoxMax = 0x1p100, kStill = 0x1p-80;

// Sets up ray for boxes within extent of the origin of coordinates.
inline void setUp(BoxRay& ray, const double* o, const double* d, double extent) noexcept {
    double dMax = 0, oMax = 0;
    for (int k = 0; k < 3; ++k) {
        dMax = std::max(dMax, std::fabs(d[k]));
        oMax = std::max(oMax, std::fabs(o[k]));
    }
    // The power of two at or below dMax: dMax with its fraction cleared.
    if (dMax >= std::numeric_limits<double>::min()) {
        std::uint64_t bits;
        std::memcpy(&bits, &dMax, sizeof bits);
        bits &= 0x7ff0000000000000u;
        std::memcpy(&ray.scale, &bits, sizeof bits);
    } else {
        int e;
        (void)std::frexp(dMax, &e);
        ray.scale = std::ldexp(1.0, e - 1);
    }
    const double reach = oMax + extent;
    ray.cull = reach >= kBoxMin && reach <= kBoxMax;
    const float m = static_cast<float>(kBoxMargin * reach);
    for (int k = 0; k < 3; ++k) {
        const double dk = d[k] / ray.scale; // exact: a power of two
        const bool still = std::fabs(dk) < kStill;
        const float inv = still ? std::numeric_limits<float>::max() : static_cast<float>(1 / dk);
        const unsigned int lo = 4 * k, hi = 12 + 4 * k; // ChildBoxes::lo[k], ChildBoxes::hi[k]
        ray.nearSide[k] = inv < 0 ? hi : lo;
        ray.farSide[k] = inv < 0 ? lo : hi;
        const float of = static_cast<float>(o[k]);
        ray.oNear[k] = _mm_set1_ps(inv < 0 ? of - m : of + m);
        ray.oFar[k] = _mm_set1_ps(inv < 0 ? of + m : of - m);
        ray.inv[k] = _mm_set1_ps(inv);
    }
}

static_assert(offsetof(TtriangleOctree::QueryLayout::ChildBoxes, hi) == 12 * sizeof(float), "sides side by side");

// Lane i set where the ray meets box i at test times in [0, tMax] (never for
// an unused lane); enter[i] is then where it meets it (at or before the true
// time).
inline unsigned int meetBoxes(const BoxRay& ray, const Layout::ChildBoxes& box, __m128 tMax, float* enter) noexcept {
    const float* sides = &box.lo[0][0];
    __m128 tNear = _mm_setzero_ps(), tFar = tMax;
    for (int k = 0; k < 3; ++k) {
        const __m128 nearSide = _mm_load_ps(sides + ray.nearSide[k]);
        const __m128 farSide = _mm_load_ps(sides + ray.farSide[k]);
        tNear = _mm_max_ps(tNear, _mm_mul_ps(_mm_sub_ps(nearSide, ray.oNear[k]), ray.inv[k]));
        tFar = _mm_min_ps(tFar, _mm_mul_ps(_mm_sub_ps(farSide, ray.oFar[k]), ray.inv[k]));
    }
    _mm_storeu_ps(enter, tNear);
    return static_cast<unsigned int>(_mm_movemask_ps(_mm_cmple_ps(tNear, tFar)));
}

} // namespace

template <class Fn>
void TtriangleOctreeWalker::walk(const Layout& layout, const double* o, const double* d, double tMax, Fn&& fn) {
    grundel::detail::TotRay check;
    double t0, t1;
    if (!check.set(o, d, tMax) || !check.clip(layout.min, layout.max, tMax, t0, t1))
        return;
    const double dMax = std::max({std::fabs(d[0]), std::fabs(d[1]), std::fabs(d[2])});
    Prefilter filter;
    BoxRay ray;
    setUp(ray, o, d, layout.extent);
    float limit = grundel::detail::roundToFloat(tMax / ray.scale, false);

    // A visit pushes at most kLanes lanes and goes on with one of them, a
    // level or more down: the stack holds at most kLanes - 1 per level above.
    constexpr std::size_t kLanes = 4 * Layout::kMaxBlocks;
    const std::size_t bound = (kLanes - 1) * std::size_t{layout.depth} + kLanes;
    if (fStack.size() < bound)
        fStack.resize(bound);
    Item* stack = fStack.data();
    const Layout::ChildBoxes* boxes = layout.boxes.data();
    const std::uint32_t* cells = layout.cells.data();
    const RayTriangle* triangles = layout.triangles.data();
    std::size_t top = 0;
    Item at{layout.rootInner, layout.rootCell, 0}; // the node being visited
    for (;;) {
        if (at.cell != Layout::kNone) {
            const Layout::Cell cell = layout.cellAt(at.cell);
            const std::uint32_t* e = cells + at.cell + Layout::kCellWords;
            const std::uint32_t n = cell.count;
            for (std::uint32_t k = 0; k < n; ++k)
                __builtin_prefetch(triangles + e[k]);
            setUp(filter, cell, o, d, dMax, tMax);
            // Four at a time; a short last group repeats its last triangle.
            const double before = tMax;
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
            if (tMax != before)
                limit = grundel::detail::roundToFloat(tMax / ray.scale, false);
        }
        // The children whose boxes the ray meets by the limit, sorted
        // farthest first: all are pushed, and the nearest popped at once.
        // (Without culling, unused lanes go too: they hold nothing.)
        if (at.inner != Layout::kNone) {
            const Layout::ChildBoxes* box = boxes + (at.inner >> 2);
            const Layout::ChildBoxes* end = box + 1 + (at.inner & 3);
            const __m128 tLimit = _mm_set1_ps(limit);
            Item hit[4 * Layout::kMaxBlocks];
            unsigned int hits = 0;
            for (; box != end; ++box) {
                float enter[4] = {0, 0, 0, 0};
                const unsigned int meets0 = ray.cull ? meetBoxes(ray, *box, tLimit, enter) : 0xf;
                for (unsigned int meets = meets0; meets; meets &= meets - 1) {
                    const unsigned int i = static_cast<unsigned int>(__builtin_ctz(meets));
                    unsigned int j = hits++;
                    for (; j > 0 && hit[j - 1].t < enter[i]; --j)
                        hit[j] = hit[j - 1];
                    hit[j] = Item{box->inner[i], box->cell[i], enter[i]};
                }
            }
            // Each child's blocks and cell are fetched side by side.
            for (unsigned int j = 0; j < hits; ++j) {
                if (hit[j].inner != Layout::kNone) {
                    const char* next = reinterpret_cast<const char*>(boxes + (hit[j].inner >> 2));
                    __builtin_prefetch(next);
                    __builtin_prefetch(next + 64);
                }
                if (hit[j].cell != Layout::kNone)
                    __builtin_prefetch(cells + hit[j].cell);
                stack[top++] = hit[j];
            }
        }
        for (;;) {
            if (top == 0)
                return;
            at = stack[--top];
            if (at.t <= limit)
                break;
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
