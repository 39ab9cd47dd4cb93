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
/// walked nearest first: a first-hit search ends as soon as every cell left
/// begins beyond the nearest hit so far. All hits report each
/// triangle once however many cells hold it. Ties in t go to the lowest
/// triangle index. Hits are looked for inside the root box: a hit on the
/// part of a triangle outside it may or may not be reported.
///
/// A visit meets the boxes of all of a node's children at once (the box
/// each child's triangles occupy in its cell) and goes on into those the
/// ray meets, nearest first; a ray that misses a box skips that cell and all
/// below. A cell's triangles are tested four at a time in single precision,
/// and those that may hit by the exact test. Both single-precision steps
/// keep margins proven to cover their rounding (see the walker's source).
/// Queries read the tree's QueryLayout (built by the first query after a
/// change).
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
        std::uint32_t inner, cell; // a node's children and triangles (see QueryLayout::ChildBoxes)
        float t;                   // where the ray enters its box, in the walk's own time
    };
    // Calls fn(place, tMax) for the triangles (places in the layout's copy)
    // of each cell the ray meets that may hit, nearest first, while the
    // cell's box begins at or before tMax (fn may lower it).
    template <class Fn>
    void walk(const TtriangleOctree::QueryLayout& layout, const double* o, const double* d, double tMax, Fn&& fn);
    // Starts a query: a fresh mark, with the marks sized to the table.
    unsigned int nextMark();

    const TtriangleOctree* fTree;
    std::vector<Item> fStack;
    std::vector<unsigned int> fMarks; // per triangle: the query that last tested it
    unsigned int fMark = 0;
};
