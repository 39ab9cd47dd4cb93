#pragma once

#include "grundel/math/T3dDblPoint.h"
#include "grundel/math/T4dDblVector.h"
#include "grundel/math/Toctree.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace grundel::detail {

/// Squared distance from q to the closed box of node: per axis, the squared
/// gap when q lies outside the box on that axis, summed in x, y, z order.
template <class T>
inline double boxDistance2(const TotNode<T>& node, const double q[3]) noexcept {
    double s = 0;
    for (unsigned int k = 0; k < 3; ++k) {
        const double lo = node.minCorner()[k], hi = node.maxCorner()[k];
        const double g = q[k] < lo ? lo - q[k] : q[k] > hi ? q[k] - hi : 0.0;
        s += g * g;
    }
    return s;
}


/// A ray prepared for walking cells: its origin, direction and reciprocals,
/// and per axis whether it crosses that axis's planes at all.
struct TotRay {
    double o[3], d[3], inv[3];
    bool moves[3]; // false: parallel to that axis's planes

    /// False (nothing to walk) for a non-finite origin or direction, a
    /// direction of zero, or a NaN tMax.
    bool set(const double* origin, const double* direction, double tMax) noexcept {
        for (int k = 0; k < 3; ++k) {
            o[k] = origin[k];
            d[k] = direction[k];
            if (!std::isfinite(o[k]) || !std::isfinite(d[k]))
                return false;
            inv[k] = 1.0 / d[k];
            moves[k] = d[k] != 0 && std::isfinite(inv[k]);
        }
        return (moves[0] || moves[1] || moves[2]) && !std::isnan(tMax);
    }

    /// The ray's range [t0, t1] inside the closed box lo..hi, starting from
    /// [0, tMax]; false when it misses the box.
    template <class Corner>
    bool clip(const Corner& lo, const Corner& hi, double tMax, double& t0, double& t1) const noexcept {
        t0 = 0;
        t1 = tMax;
        return narrow(lo, hi, t0, t1);
    }

    /// Narrows [t0, t1] to where the ray is inside the closed box lo..hi;
    /// false when nothing is left.
    template <class Corner>
    bool narrow(const Corner& lo, const Corner& hi, double& t0, double& t1) const noexcept {
        for (int k = 0; k < 3; ++k) {
            const double l = lo[k], h = hi[k];
            if (!moves[k]) {
                if (!(o[k] >= l && o[k] <= h))
                    return false;
                continue;
            }
            const double ta = (l - o[k]) * inv[k], tb = (h - o[k]) * inv[k];
            t0 = std::max(t0, std::min(ta, tb));
            t1 = std::min(t1, std::max(ta, tb));
        }
        return t0 <= t1;
    }

    /// Calls visit(octant, start, stop) for the octants of a cell split at
    /// center that the ray meets inside (t0, t1), in the order it meets them
    /// (at most four): the octant at t0, then one bit flipped per dividing
    /// plane crossed, in order of t.
    template <class Center, class Visit>
    void forEachChild(const Center& center, double t0, double t1, Visit&& visit) const {
        int octant = 0;
        double cross[3];
        int axis[3];
        int n = 0;
        for (int k = 0; k < 3; ++k) {
            const double ck = center[k];
            if (!moves[k]) {
                if (o[k] >= ck)
                    octant |= 1 << k;
                continue;
            }
            const double tc = (ck - o[k]) * inv[k];
            if (d[k] > 0 ? tc <= t0 : tc >= t0)
                octant |= 1 << k;
            if (tc > t0 && tc < t1) {
                // Insertion into the crossings kept in order of t.
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
        double start = t0;
        for (int s = 0; s <= n; ++s) {
            const double stop = s < n ? cross[s] : t1;
            visit(octant, start, stop);
            if (s < n) {
                octant ^= 1 << axis[s];
                start = stop;
            }
        }
    }
};

} // namespace grundel::detail

/// Visits the entries of every cell that a closed sphere touches.
///
/// Order: depth first from the root, a cell's own entries before its
/// children, children in octant order; a cell whose box lies farther from the
/// centre than the radius is skipped with everything below it. An entry that
/// sits in several touched cells is visited once per cell. The walker keeps
/// its stack between walks, so reuse one walker for many queries; one walker
/// per thread.
template <class T>
class TotSphereWalker {
public:
    /// Calls fn(entry) for each entry of each cell within radius of centre.
    /// Nothing is visited for a negative or NaN radius or a NaN centre.
    template <class Fn>
    void walk(const Toctree<T>& tree, const T3dDblPoint& centre, double radius, Fn&& fn) {
        const double q[3] = {centre.x, centre.y, centre.z};
        if (!(radius >= 0) || std::isnan(q[0]) || std::isnan(q[1]) || std::isnan(q[2]))
            return;
        const double r2 = radius * radius;
        fStack.clear();
        fStack.push_back(&tree);
        while (!fStack.empty()) {
            const TotNode<T>* node = fStack.back();
            fStack.pop_back();
            if (grundel::detail::boxDistance2(*node, q) > r2)
                continue;
            for (const T& e : *node)
                fn(e);
            for (int i = 7; i >= 0; --i)
                if (const TotNode<T>* c = node->child(i)) {
                    c->prefetch();
                    fStack.push_back(c);
                }
        }
    }

private:
    std::vector<const TotNode<T>*> fStack;
};

/// Visits the cells that a ray crosses, front to back.
///
/// The ray is origin + t * direction for t >= 0 (the direction need not be
/// unit; t is in its units). Within a cell of parameter range [t0, t1] the
/// children follow the ray: the first is the octant holding the ray at t0,
/// and each crossing of a dividing plane inside (t0, t1), taken in order of
/// t, flips one bit of the octant, so at most four children are visited, in
/// the order the ray meets them. A cell's own entries come before its
/// children. The callback may lower the limit tMax (a nearer hit found);
/// cells that begin beyond it are then skipped, which ends a first-hit search
/// as soon as no nearer cell is left. An entry in several crossed cells is
/// visited once per cell. One walker per thread; reuse it.
template <class T>
class TotRayWalker {
public:
    /// Calls fn(entry, tMax) for the entries of each crossed cell whose range
    /// begins at or before tMax; fn may lower tMax. A zero, NaN or infinite
    /// direction, or a non-finite origin, visits nothing.
    template <class Fn>
    void walk(const Toctree<T>& tree, const T3dDblPoint& origin, const T4dDblVector& direction, double tMax, Fn&& fn);

private:
    struct Item {
        const TotNode<T>* node;
        double t0, t1;
    };
    std::vector<Item> fStack;
};

template <class T>
template <class Fn>
void TotRayWalker<T>::walk(const Toctree<T>& tree, const T3dDblPoint& origin, const T4dDblVector& direction,
                           double tMax, Fn&& fn) {
    const double o[3] = {origin.x, origin.y, origin.z};
    const double d[3] = {direction.x, direction.y, direction.z};
    grundel::detail::TotRay ray;
    double t0, t1;
    if (!ray.set(o, d, tMax) || !ray.clip(tree.minCorner(), tree.maxCorner(), tMax, t0, t1))
        return;

    fStack.clear();
    fStack.push_back(Item{&tree, t0, t1});
    while (!fStack.empty()) {
        const Item item = fStack.back();
        fStack.pop_back();
        if (item.t0 > tMax)
            continue;
        const TotNode<T>* node = item.node;
        for (const T& e : *node) {
            fn(e, tMax);
        }
        if (!node->isSplit() || item.t0 > tMax)
            continue;

        // The children in ray order, pushed last first.
        Item seq[4];
        int m = 0;
        ray.forEachChild(node->center(), item.t0, item.t1, [&](int octant, double start, double stop) {
            if (const TotNode<T>* ch = node->child(octant))
                seq[m++] = Item{ch, start, stop};
        });
        while (m > 0) {
            const Item& it = seq[--m];
            if (it.t0 <= tMax) {
                it.node->prefetch();
                fStack.push_back(it);
            }
        }
    }
}
