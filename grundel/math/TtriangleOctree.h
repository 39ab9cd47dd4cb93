#pragma once

#include "grundel/math/T3dDblPoint.h"
#include "grundel/math/T4dDblVector.h"
#include "grundel/math/Toctree.h"

#include <vector>

/// A triangle of a TtriangleOctree: its corners and the caller's two
/// identifiers (for instance a polygon and a triangle within it).
struct GRUNDEL_API ToctreeTriangle {
    T3dFltPoint a, b, c;
    int i, j;

    /// Where the ray origin + t * direction meets the triangle, for t in
    /// [0, tMax], the edges and back faces included: true with t and the
    /// barycentric weights u, v (of b and c; the point is a + u (b - a) +
    /// v (c - a)). False for a miss, a ray in the triangle's plane, a
    /// triangle of zero area or NaN input. Computed in double precision.
    bool intersect(const T3dDblPoint& origin, const T4dDblVector& direction, double tMax, double& t, double& u,
                   double& v) const noexcept;
};

extern template class GRUNDEL_API TotNode<unsigned int>;
extern template class GRUNDEL_API Toctree<unsigned int>;

/// An octree of triangles. The tree owns a table of the triangles it holds;
/// its entries are indices into that table (entry(i) is the triangle). A
/// triangle goes into every cell that it touches within the tolerance.
///
/// Touching is an exact overlap test (separating axes) of the triangle with
/// the cell grown by the tolerance on every side: the three axes of the box,
/// the triangle's normal and the nine cross products of the box's axes with
/// the triangle's edges, computed in double precision. Degenerate triangles
/// (a segment or a point) are tested as what they are: the axes that vanish
/// separate nothing.
///
/// Two limits keep the tree finite where triangles crowd: the minimum cell
/// size is raised to the tolerance (a smaller cell is touched by everything
/// near it), and a full leaf splits only when no one octant would receive all
/// of its triangles (see Toctree::setSplitOnlyWhenSeparating): a vertex shared
/// by many triangles, or duplicate faces, then end in one over-full leaf
/// instead of a chain of cells down to the smallest size.
///
/// A triangle is stored only where it touches the root box; one that misses
/// the box entirely, or has a non-finite coordinate, is refused.
class GRUNDEL_API TtriangleOctree final : public Toctree<unsigned int> {
public:
    static constexpr double kDefaultTolerance = 1e-5;

    /// triangleCount is the expected number of triangles (the table is
    /// reserved for it, up to a bound; more may be added). See Toctree for
    /// the other parameters; tolerance is absolute, in the triangles' units.
    /// The root box is the point at the origin until setDimensions.
    TtriangleOctree(unsigned int triangleCount, unsigned int maxEntries, unsigned int maxDepth, float minCellSize,
                    double tolerance = kDefaultTolerance);
    /// The root box spans min to max (ordered per axis).
    TtriangleOctree(unsigned int triangleCount, const T3dFltPoint& min, const T3dFltPoint& max, unsigned int maxEntries,
                    unsigned int maxDepth, float minCellSize, double tolerance = kDefaultTolerance);
    ~TtriangleOctree() override;

    /// Adds the triangle a, b, c with the caller's identifiers i and j as the
    /// next entry of the table. False, and nothing stored, when it has a
    /// non-finite coordinate or touches no part of the root box.
    [[nodiscard]] bool addEntry(const T3dFltPoint& a, const T3dFltPoint& b, const T3dFltPoint& c, int i, int j);
    /// Sets the root box and files the table's triangles again; those that no
    /// longer touch the box leave the table (the rest keep their order).
    /// Returns the number that left.
    unsigned int setDimensions(const T3dFltPoint& min, const T3dFltPoint& max);
    /// Removes every triangle.
    void clear() noexcept;

    unsigned int triangleCount() const noexcept { return static_cast<unsigned int>(fTriangles.size()); }
    const ToctreeTriangle& entry(unsigned int i) const noexcept {
        assert(i < fTriangles.size());
        return fTriangles[i];
    }
    const ToctreeTriangle* begin() const noexcept { return fTriangles.data(); }
    const ToctreeTriangle* end() const noexcept { return fTriangles.data() + fTriangles.size(); }

    /// The octants of box (centre, minimum, maximum corner) that the
    /// triangle touches within the tolerance.
    int sortEntry(const unsigned int& entry, const T3dFltPoint* box) const override;
    /// True when the triangle touches the closed box from lo to hi grown by
    /// the tolerance on every side.
    bool touches(const ToctreeTriangle& triangle, const T3dFltPoint& lo, const T3dFltPoint& hi) const noexcept;

private:
    bool fileTriangle(unsigned int index);

    std::vector<ToctreeTriangle> fTriangles;
};
