#include "grundel/math/TtriangleOctreeWalker.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

using Layout = TtriangleOctree::QueryLayout;
using grundel::detail::RayTriangle;

// Two lanes of double (one SSE2 register), and the lane masks of their
// comparisons (all ones where true).
typedef double V2d __attribute__((vector_size(16)));
typedef std::int64_t V2m __attribute__((vector_size(16)));

// The conditions of RayTriangle::hits for two triangles at once, on the same
// values computed in the same order (so with the same rounding). Bit 0 is set
// where p may hit, bit 1 where q may; RayTriangle::intersect then decides.
inline unsigned int pairHits(const RayTriangle& p, const RayTriangle& q, const double* o, const double* d,
                             double tMax) noexcept {
    const V2d d0 = {d[0], d[0]}, d1 = {d[1], d[1]}, d2 = {d[2], d[2]};
    const V2d a0 = {p.a[0], q.a[0]}, a1 = {p.a[1], q.a[1]}, a2 = {p.a[2], q.a[2]};
    const V2d e10 = V2d{p.b[0], q.b[0]} - a0, e11 = V2d{p.b[1], q.b[1]} - a1, e12 = V2d{p.b[2], q.b[2]} - a2;
    const V2d e20 = V2d{p.c[0], q.c[0]} - a0, e21 = V2d{p.c[1], q.c[1]} - a1, e22 = V2d{p.c[2], q.c[2]} - a2;
    const V2d n0 = e11 * e22 - e12 * e21, n1 = e12 * e20 - e10 * e22, n2 = e10 * e21 - e11 * e20;
    const V2d dn = d0 * n0 + d1 * n1 + d2 * n2;
    const V2d s0 = V2d{o[0], o[0]} - a0, s1 = V2d{o[1], o[1]} - a1, s2 = V2d{o[2], o[2]} - a2;
    const V2d sign = __builtin_convertvector(-(dn > 0), V2d) * 2.0 - 1.0; // 1 or -1, as dn > 0
    const V2d adn = dn * sign;
    const V2d uu = sign * (d0 * (s1 * e22 - s2 * e21) + d1 * (s2 * e20 - s0 * e22) + d2 * (s0 * e21 - s1 * e20));
    const V2d vv = sign * (d0 * (e11 * s2 - e12 * s1) + d1 * (e12 * s0 - e10 * s2) + d2 * (e10 * s1 - e11 * s0));
    const V2d tt = -sign * (s0 * n0 + s1 * n1 + s2 * n2);
    const V2d limit = {tMax, tMax};
    const V2m ok = (adn > 0) & (uu >= 0) & (vv >= 0) & (uu + vv <= adn) & (tt >= 0) & (tt <= limit * adn);
    return static_cast<unsigned int>(ok[0] != 0) | static_cast<unsigned int>(ok[1] != 0) << 1;
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
    // Octant bit k of a child is flipped where the ray runs down axis k, so
    // that the ray meets the children in a chain of growing bit sets.
    unsigned int flip = 0;
    for (int k = 0; k < 3; ++k)
        flip |= static_cast<unsigned int>(ray.moves[k] && d[k] < 0) << k;

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
    stack[top++] = Item{0, t0, t1};
    while (top > 0) {
        const Item item = stack[--top];
        if (item.t0 > tMax)
            continue;
        const Layout::Node& node = nodes[item.node];
        if (node.count) {
            const std::uint32_t* e = entries + node.first;
            const std::uint32_t n = node.count;
            for (std::uint32_t k = 0; k < n; ++k)
                __builtin_prefetch(triangles + e[k]);
            // Two at a time; an odd last one is paired with itself.
            for (std::uint32_t k = 0; k < n; k += 2) {
                const std::uint32_t p = e[k], q = e[k + 1 < n ? k + 1 : k];
                const unsigned int hits = pairHits(triangles[p], triangles[q], o, d, tMax);
                if (hits & 1)
                    fn(p, tMax);
                if ((hits & 2) && q != p)
                    fn(q, tMax);
            }
        }
        if (!node.children || item.t0 > tMax)
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
            s[k] = ray.moves[k] ? (c - o[k]) * ray.inv[k] : o[k] >= c ? -HUGE_VAL : HUGE_VAL;
        }
        sortCrossings(s, bit);
        const double end = std::min(item.t1, tMax);
        const unsigned int c = node.children;
        const std::uint32_t first = node.firstChild;
        const unsigned int chain[4] = {flip, (bit[0]) ^ flip, (bit[0] | bit[1]) ^ flip, 7 ^ flip};
        const double enter[4] = {item.t0, std::max(item.t0, s[0]), std::max(item.t0, s[1]), std::max(item.t0, s[2])};
        const double leave[4] = {std::min(end, s[0]), std::min(end, s[1]), std::min(end, s[2]), end};
        // Pushed last first, without a branch: a slot is written always and
        // kept when the child exists and the ray spends time in it.
        for (int m = 3; m >= 0; --m) {
            const unsigned int octant = chain[m];
            const std::uint32_t child = first + kRank.rank[c][octant];
            __builtin_prefetch(nodes + child);
            stack[top] = Item{child, enter[m], leave[m]};
            top += ((c >> octant) & 1) & static_cast<unsigned int>(enter[m] <= leave[m]);
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
