#include "grundel/math/TtriangleOctreeWalker.h"

#include <algorithm>
#include <cmath>

template <class Fn>
void TtriangleOctreeWalker::walk(const TtriangleOctree::QueryLayout& layout, const double* o, const double* d,
                                 double tMax, Fn&& fn) {
    double inv[3];
    bool moves[3]; // false: parallel to that axis's planes
    for (int k = 0; k < 3; ++k) {
        if (!std::isfinite(o[k]) || !std::isfinite(d[k]))
            return;
        inv[k] = 1.0 / d[k];
        moves[k] = d[k] != 0 && std::isfinite(inv[k]);
    }
    if ((!moves[0] && !moves[1] && !moves[2]) || std::isnan(tMax))
        return;

    // The ray's range inside the root box.
    double t0 = 0, t1 = tMax;
    for (int k = 0; k < 3; ++k) {
        const double lo = layout.min[k], hi = layout.max[k];
        if (!moves[k]) {
            if (!(o[k] >= lo && o[k] <= hi))
                return;
            continue;
        }
        double ta = (lo - o[k]) * inv[k], tb = (hi - o[k]) * inv[k];
        if (ta > tb)
            std::swap(ta, tb);
        t0 = std::max(t0, ta);
        t1 = std::min(t1, tb);
    }
    if (!(t0 <= t1))
        return;

    const TtriangleOctree::QueryLayout::Node* nodes = layout.nodes.data();
    const TtriangleOctree::QueryLayout::Triangle* tris = layout.triangles.data();
    fStack.clear();
    fStack.push_back(Item{0, t0, t1});
    while (!fStack.empty()) {
        const Item item = fStack.back();
        fStack.pop_back();
        if (item.t0 > tMax)
            continue;
        const TtriangleOctree::QueryLayout::Node& node = nodes[item.node];
        for (std::uint32_t e = node.first; e < node.last; ++e)
            fn(tris[e], tMax);
        if (!node.children || item.t0 > tMax)
            continue;

        // The octant at t0, then one bit flipped per dividing plane crossed
        // inside (t0, t1), in order of t: the children in the order the ray
        // meets them (at most four).
        int octant = 0;
        double cross[3];
        int axis[3];
        int n = 0;
        for (int k = 0; k < 3; ++k) {
            const double ck = node.center[k];
            if (!moves[k]) {
                if (o[k] >= ck)
                    octant |= 1 << k;
                continue;
            }
            const double tc = (ck - o[k]) * inv[k];
            if (d[k] > 0 ? tc <= item.t0 : tc >= item.t0)
                octant |= 1 << k;
            if (tc > item.t0 && tc < item.t1) {
                int at = n++;
                while (at > 0 && cross[at - 1] > tc) {
                    cross[at] = cross[at - 1];
                    axis[at] = axis[at - 1];
                    --at;
                }
                cross[at] = tc;
                axis[at] = k;
            }
        }
        Item seq[4];
        int m = 0;
        double start = item.t0;
        for (int s = 0; s <= n; ++s) {
            const double stop = s < n ? cross[s] : item.t1;
            if (node.children & (1u << octant)) {
                const unsigned int below = node.children & ((1u << octant) - 1);
                seq[m++] = Item{node.firstChild + static_cast<std::uint32_t>(__builtin_popcount(below)), start, stop};
            }
            if (s < n) {
                octant ^= 1 << axis[s];
                start = stop;
            }
        }
        // Pushed last first; the next cell's node and first triangles are
        // asked for while this one is still being read.
        while (m > 0) {
            const Item& it = seq[--m];
            if (it.t0 <= tMax) {
                const TtriangleOctree::QueryLayout::Node& c = nodes[it.node];
                __builtin_prefetch(&c);
                __builtin_prefetch(tris + c.first);
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
    walk(fTree->queryLayout(), o, d, tMax, [&](const TtriangleOctree::QueryLayout::Triangle& tri, double& limit) {
        double t, u, v;
        if (!tri.ray.intersect(o, d, limit, t, u, v))
            return;
        if (t < limit || !found || tri.index < best.triangle) {
            best = ToctreeTriangleIntersection{tri.index, t, u, v};
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
    walk(fTree->queryLayout(), o, d, tMax, [&](const TtriangleOctree::QueryLayout::Triangle& tri, double& limit) {
        if (fMarks[tri.index] == mark)
            return;
        fMarks[tri.index] = mark;
        double t, u, v;
        if (tri.ray.intersect(o, d, limit, t, u, v))
            hits.push_back(ToctreeTriangleIntersection{tri.index, t, u, v});
    });
    std::sort(hits.begin(), hits.end(), [](const ToctreeTriangleIntersection& a, const ToctreeTriangleIntersection& b) {
        return a.t < b.t || (a.t == b.t && a.triangle < b.triangle);
    });
    return static_cast<unsigned int>(hits.size());
}
