#include "grundel/math/TtriangleOctreeWalker.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace {

using Block = TtriangleOctree::QueryLayout::Block;

// Two lanes of double (one SSE2 register), and the lane masks of their
// comparisons (all ones where true).
typedef double V2d __attribute__((vector_size(16)));
typedef float V2f __attribute__((vector_size(8)));
typedef std::int64_t V2m __attribute__((vector_size(16)));
constexpr unsigned int kWidth = 2;
static_assert(Block::kSize % kWidth == 0, "blocks are whole vectors");

inline V2d lanes(const float* p) noexcept {
    V2f f;
    std::memcpy(&f, p, sizeof f);
    return __builtin_convertvector(f, V2d);
}

// The conditions of RayTriangle::hits for the triangles of a block, on the
// same values computed in the same order (so with the same rounding), two
// at a time. Bit i is set where triangle i may hit; RayTriangle::intersect
// then decides.
inline unsigned int blockHits(const Block& block, const double* o, const double* d, double tMax) noexcept {
    const V2d d0 = {d[0], d[0]}, d1 = {d[1], d[1]}, d2 = {d[2], d[2]};
    const V2d o0 = {o[0], o[0]}, o1 = {o[1], o[1]}, o2 = {o[2], o[2]};
    const V2d limit = {tMax, tMax};
    unsigned int mask = 0;
    for (unsigned int l = 0; l < Block::kSize; l += kWidth) {
        const V2d a0 = lanes(block.corner[0] + l), a1 = lanes(block.corner[1] + l), a2 = lanes(block.corner[2] + l);
        const V2d e10 = lanes(block.corner[3] + l) - a0, e11 = lanes(block.corner[4] + l) - a1,
                  e12 = lanes(block.corner[5] + l) - a2;
        const V2d e20 = lanes(block.corner[6] + l) - a0, e21 = lanes(block.corner[7] + l) - a1,
                  e22 = lanes(block.corner[8] + l) - a2;
        const V2d n0 = e11 * e22 - e12 * e21, n1 = e12 * e20 - e10 * e22, n2 = e10 * e21 - e11 * e20;
        const V2d dn = d0 * n0 + d1 * n1 + d2 * n2;
        const V2d s0 = o0 - a0, s1 = o1 - a1, s2 = o2 - a2;
        const V2d sign = __builtin_convertvector(-(dn > 0), V2d) * 2.0 - 1.0; // 1 or -1, as dn > 0
        const V2d adn = dn * sign;
        const V2d uu = sign * (d0 * (s1 * e22 - s2 * e21) + d1 * (s2 * e20 - s0 * e22) + d2 * (s0 * e21 - s1 * e20));
        const V2d vv = sign * (d0 * (e11 * s2 - e12 * s1) + d1 * (e12 * s0 - e10 * s2) + d2 * (e10 * s1 - e11 * s0));
        const V2d tt = -sign * (s0 * n0 + s1 * n1 + s2 * n2);
        const V2m ok = (adn > 0) & (uu >= 0) & (vv >= 0) & (uu + vv <= adn) & (tt >= 0) & (tt <= limit * adn);
        for (unsigned int k = 0; k < kWidth; ++k)
            mask |= static_cast<unsigned int>(ok[k] != 0) << (l + k);
    }
    return mask;
}

// The number of bits set in an octant mask (no popcnt instruction in the
// baseline instruction set).
inline unsigned int bitCount8(unsigned int x) noexcept {
    x = x - ((x >> 1) & 0x55u);
    x = (x & 0x33u) + ((x >> 2) & 0x33u);
    return (x + (x >> 4)) & 0x0fu;
}

grundel::detail::RayTriangle laneTriangle(const Block& block, unsigned int l) noexcept {
    const auto point = [&](int c) {
        return T3dFltPoint(block.corner[3 * c][l], block.corner[3 * c + 1][l], block.corner[3 * c + 2][l]);
    };
    return grundel::detail::RayTriangle(ToctreeTriangle{point(0), point(1), point(2), 0, 0});
}

} // namespace

template <class Fn>
void TtriangleOctreeWalker::walk(const TtriangleOctree::QueryLayout& layout, const double* o, const double* d,
                                 double tMax, Fn&& fn) {
    grundel::detail::TotRay ray;
    double t0, t1;
    if (!ray.set(o, d, tMax) || !ray.clip(layout.min, layout.max, tMax, t0, t1))
        return;

    const TtriangleOctree::QueryLayout::Node* nodes = layout.nodes.data();
    const Block* blocks = layout.blocks.data();
    fStack.clear();
    fStack.push_back(Item{0, t0, t1});
    while (!fStack.empty()) {
        const Item item = fStack.back();
        fStack.pop_back();
        if (item.t0 > tMax)
            continue;
        const TtriangleOctree::QueryLayout::Node& node = nodes[item.node];
        for (std::uint32_t b = node.first, end = node.first + (node.count + Block::kSize - 1) / Block::kSize; b < end;
             ++b)
            for (unsigned int hits = blockHits(blocks[b], o, d, tMax); hits; hits &= hits - 1)
                fn(blocks[b], static_cast<unsigned int>(__builtin_ctz(hits)), tMax);
        if (!node.children || item.t0 > tMax)
            continue;

        // The children in the order the ray meets them, pushed last first;
        // the next cell's node and first triangles are asked for while this
        // one is still being read.
        Item seq[4];
        int m = 0;
        ray.forEachChild(node.center, item.t0, item.t1, [&](int octant, double start, double stop) {
            if (node.children & (1u << octant)) {
                const unsigned int below = node.children & ((1u << octant) - 1);
                seq[m++] = Item{node.firstChild + bitCount8(below), start, stop};
            }
        });
        while (m > 0) {
            const Item& it = seq[--m];
            if (it.t0 <= tMax) {
                const TtriangleOctree::QueryLayout::Node& c = nodes[it.node];
                __builtin_prefetch(&c);
                __builtin_prefetch(blocks + c.first);
                fStack.push_back(it);
            }
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
    // No marks here: a triangle met again in a later cell gives the same
    // answer, and testing it again is cheaper than a mark's cache miss.
    ToctreeTriangleIntersection best;
    bool found = false;
    walk(fTree->queryLayout(), o, d, tMax, [&](const Block& block, unsigned int lane, double& limit) {
        double t, u, v;
        if (!laneTriangle(block, lane).intersect(o, d, limit, t, u, v))
            return;
        const unsigned int index = block.index[lane];
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
    hits.clear();
    const unsigned int mark = nextMark();
    // Only triangles that may hit are marked: a miss is a miss in every cell.
    walk(fTree->queryLayout(), o, d, tMax, [&](const Block& block, unsigned int lane, double& limit) {
        const unsigned int index = block.index[lane];
        if (fMarks[index] == mark)
            return;
        fMarks[index] = mark;
        double t, u, v;
        if (laneTriangle(block, lane).intersect(o, d, limit, t, u, v))
            hits.push_back(ToctreeTriangleIntersection{index, t, u, v});
    });
    std::sort(hits.begin(), hits.end(), [](const ToctreeTriangleIntersection& a, const ToctreeTriangleIntersection& b) {
        return a.t < b.t || (a.t == b.t && a.triangle < b.triangle);
    });
    return static_cast<unsigned int>(hits.size());
}
