#pragma once

#include "grundel/math/TotWalker.h"
#include "grundel/math/TpointOctree.h"

#include <vector>

/// Nearest-point and radius queries on a TpointOctree.
///
/// Distances are Euclidean, computed in double precision from the stored
/// single-precision points. Nearest search is depth first, nearest cell
/// first: at each split cell the squared distance from the query to every
/// existing child is found per axis (on an axis where the child lies on the
/// query's side the parent's gap counts, on the far side the squared distance
/// to the dividing plane; so a face, edge or corner neighbour adds one, two
/// or three axes), the children are sorted by it, and a child farther than
/// the best point so far is never entered. The cell holding the query is thus
/// searched first and usually settles the answer.
///
/// The walker keeps its stack between queries: reuse one per thread. The
/// tree must not change during a query.
class GRUNDEL_API TpointOctreeWalker {
public:
    explicit TpointOctreeWalker(const TpointOctree& tree) : fTree(&tree) {}

    /// The stored point nearest to q within maxDistance (the bound included);
    /// of points at the same distance, the one with the lowest index. Null
    /// when there is none, and for a NaN query.
    [[nodiscard]] const ToctreePoint* findNearest(const T3dDblPoint& q,
                                                  double maxDistance = std::numeric_limits<double>::infinity());
    /// The squared distance of the last point findNearest returned.
    double nearestDistance2() const noexcept { return fBest2; }

    /// Calls fn(point) for every stored point within radius of q, the
    /// boundary included, in tree order. Nothing for a negative or NaN radius.
    template <class Fn>
    void forEachWithin(const T3dDblPoint& q, double radius, Fn&& fn) {
        const double r2 = radius * radius;
        fSphere.walk(*fTree, q, radius, [&](const ToctreePoint& p) {
            const double dx = p.point.x - q.x, dy = p.point.y - q.y, dz = p.point.z - q.z;
            if (dx * dx + dy * dy + dz * dz <= r2)
                fn(p);
        });
    }
    /// Replaces out with the points within radius of q; returns their number.
    unsigned int findWithin(const T3dDblPoint& q, double radius, std::vector<ToctreePoint>& out);

private:
    struct Item {
        const TotNode<ToctreePoint>* node;
        double d2;
    };
    const TpointOctree* fTree;
    double fBest2 = 0;
    std::vector<Item> fStack;
    TotSphereWalker<ToctreePoint> fSphere;
};
