#pragma once

#include "grundel/math/TotWalker.h"
#include "grundel/math/TtriangleOctree.h"

#include <limits>
#include <vector>

/// Where a ray meets a triangle of a TtriangleOctree.
struct ToctreeTriangleIntersection {
    /// The triangle's index in the tree's table (TtriangleOctree::entry).
    unsigned int triangle = 0;
    /// The ray parameter: the point is origin + t * direction.
    double t = 0;
    /// Barycentric weights of the triangle's b and c.
    double u = 0, v = 0;
};

/// Ray queries on a TtriangleOctree: the first hit and all hits.
///
/// Rays are origin + t * direction for t >= 0 up to a limit, back faces
/// included; see ToctreeTriangle::intersect for the hit test. The cells are
/// walked front to back (TotRayWalker): a first-hit search ends as soon as the
/// next cell begins beyond the nearest hit so far. All hits report each
/// triangle once however many cells hold it. Ties in t go to the lowest
/// triangle index. Hits are looked for inside the root box: a hit on the
/// part of a triangle outside it may or may not be reported.
///
/// Each cell crossed is first narrowed to the box its triangles occupy in it
/// (a ray missing that box skips the cell and all below); its triangles are
/// then tested four at a time in single precision with proven error margins
/// (see the walker's source), and those that may hit by the exact test.
/// Queries read the tree's QueryLayout (built by the first query after a
/// change), walking it front to back as TotRayWalker walks the nodes.
/// The walker keeps its stack and marks between queries: reuse one per
/// thread. The tree must not change during a query.
class GRUNDEL_API TtriangleOctreeWalker {
public:
    explicit TtriangleOctreeWalker(const TtriangleOctree& tree) : fTree(&tree) {}

    /// The nearest hit with t in [0, tMax]. False when the ray hits nothing
    /// there (hit is then unchanged).
    [[nodiscard]] bool firstHit(const T3dDblPoint& origin, const T4dDblVector& direction,
                                ToctreeTriangleIntersection& hit,
                                double tMax = std::numeric_limits<double>::infinity());
    /// Replaces hits with every hit in [0, tMax], one per triangle, sorted by
    /// t (then triangle index); returns their number.
    unsigned int allHits(const T3dDblPoint& origin, const T4dDblVector& direction,
                         std::vector<ToctreeTriangleIntersection>& hits,
                         double tMax = std::numeric_limits<double>::infinity());

private:
    struct Item {
        std::uint32_t node;
        double t0, t1;
    };
    // Calls fn(place, tMax) for the triangles (places in the layout's copy)
    // of each cell crossed that may hit, front to back, while the cell
    // begins at or before tMax (fn may lower it).
    template <class Fn>
    void walk(const TtriangleOctree::QueryLayout& layout, const double* o, const double* d, double tMax, Fn&& fn);
    // The walk from the root's range [start, stop] on; kEveryAxis: the ray
    // runs along none of the dividing planes.
    template <bool kEveryAxis, class Fn>
    void walkCells(const TtriangleOctree::QueryLayout& layout, const grundel::detail::TotRay& ray, double start,
                   double stop, double tMax, Fn& fn);
    // Starts a query: a fresh mark, with the marks sized to the table.
    unsigned int nextMark();

    const TtriangleOctree* fTree;
    std::vector<Item> fStack;
    std::vector<unsigned int> fMarks; // per triangle: the query that last tested it
    unsigned int fMark = 0;
};
