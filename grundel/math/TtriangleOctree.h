#pragma once

#include "grundel/math/T3dDblPoint.h"
#include "grundel/math/T4dDblVector.h"
#include "grundel/math/Toctree.h"

#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <mutex>
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

namespace grundel::detail {

/// A triangle's corners as the ray tests read them. The edges and normal
/// are computed again on every test: that costs less than reading them.
struct RayTriangle {
    float a[3], b[3], c[3];

    explicit RayTriangle(const ToctreeTriangle& tri) noexcept
        : a{tri.a.x, tri.a.y, tri.a.z}, b{tri.b.x, tri.b.y, tri.b.z}, c{tri.c.x, tri.c.y, tri.c.z} {}

    /// The numerators of t, u and v over the denominator adn >= 0 (see
    /// ToctreeTriangle::intersect); a hit has 0 <= uu, 0 <= vv, uu + vv <=
    /// adn, 0 <= tt <= tMax * adn and adn > 0. o and d are the ray's origin
    /// and direction.
    void numerators(const double* o, const double* d, double& adn, double& uu, double& vv,
                    double& tt) const noexcept {
        // In double, in one order on every path, so every path gives the same bits.
        const double e1[3] = {double(b[0]) - a[0], double(b[1]) - a[1], double(b[2]) - a[2]};
        const double e2[3] = {double(c[0]) - a[0], double(c[1]) - a[1], double(c[2]) - a[2]};
        const double n[3] = {e1[1] * e2[2] - e1[2] * e2[1], e1[2] * e2[0] - e1[0] * e2[2],
                             e1[0] * e2[1] - e1[1] * e2[0]};
        const double dn = d[0] * n[0] + d[1] * n[1] + d[2] * n[2];
        const double s[3] = {o[0] - a[0], o[1] - a[1], o[2] - a[2]};
        const double sign = dn > 0 ? 1.0 : -1.0;
        adn = dn * sign;
        // d . (s x e2) and d . (e1 x s)
        uu = sign * (d[0] * (s[1] * e2[2] - s[2] * e2[1]) + d[1] * (s[2] * e2[0] - s[0] * e2[2]) +
                     d[2] * (s[0] * e2[1] - s[1] * e2[0]));
        vv = sign * (d[0] * (e1[1] * s[2] - e1[2] * s[1]) + d[1] * (e1[2] * s[0] - e1[0] * s[2]) +
                     d[2] * (e1[0] * s[1] - e1[1] * s[0]));
        tt = -sign * (s[0] * n[0] + s[1] * n[1] + s[2] * n[2]);
    }

    /// Every condition of a hit evaluated, with no early exit (no branch to
    /// mispredict on the usual miss). A NaN anywhere fails.
    bool hits(const double* o, const double* d, double tMax) const noexcept {
        double adn, uu, vv, tt;
        numerators(o, d, adn, uu, vv, tt);
        return (adn > 0) & (uu >= 0) & (vv >= 0) & (uu + vv <= adn) & (tt >= 0) & (tt <= tMax * adn);
    }

    /// The hit's t, u and v, or false (see ToctreeTriangle::intersect).
    bool intersect(const double* o, const double* d, double tMax, double& t, double& u, double& v) const noexcept {
        if (!hits(o, d, tMax))
            return false;
        double adn, uu, vv, tt;
        numerators(o, d, adn, uu, vv, tt);
        const double inv = 1.0 / adn;
        t = tt * inv;
        if (t > tMax) // rounding at the far end
            return false;
        u = uu * inv;
        v = vv * inv;
        return true;
    }
};

/// x rounded to float towards -infinity (down) or +infinity: the nearest
/// float on that side, beyond float's range its largest value or an
/// infinity. x must not be NaN.
inline float roundToFloat(double x, bool down) noexcept {
    constexpr double kMax = std::numeric_limits<float>::max();
    if (x > kMax)
        return down && x != HUGE_VAL ? std::numeric_limits<float>::max() : HUGE_VALF;
    if (x < -kMax)
        return down || x == -HUGE_VAL ? -HUGE_VALF : -std::numeric_limits<float>::max();
    const float f = static_cast<float>(x);
    if (down ? double(f) > x : double(f) < x)
        return std::nextafter(f, down ? -HUGE_VALF : HUGE_VALF);
    return f;
}

} // namespace grundel::detail

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
/// of its triangles, or all of them fall into a single octant (see
/// Toctree::setSplitOnlyWhenSeparating): a vertex shared
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

    /// A compact copy of the tree for ray queries, in two parts. The blocks
    /// hold the nodes' children (or grandchildren, see ChildBoxes): the
    /// boxes they occupy, four to a block, and where each one's own blocks
    /// and triangles are, so that a walk tests all of them at once and
    /// reads no node record. The cells hold each node's triangles: a header (see Cell)
    /// followed by positions in the copy of the triangles. Each filed
    /// triangle is copied once, in the order the nodes first name it, so
    /// that a cell's triangles mostly lie side by side. Nodes are laid out
    /// depth first, siblings together. About 4 bytes per filed copy, 40 per
    /// triangle, 20 per node with triangles and 128 per four children.
    struct QueryLayout {
        static constexpr std::uint32_t kNone = 0xffffffffu;
        /// The lanes of a visited node, four to a block, in up to
        /// kMaxBlocks blocks. The lanes are its children, except that a
        /// child without triangles of its own may give way to its children
        /// (so that a walk skips its level). A lane's box holds the
        /// triangles at and below its node where they meet its cell, grown
        /// by the tolerance and rounded outwards to float (infinite where
        /// float cannot hold it); an unused lane is empty (lo > hi, no
        /// blocks, no cell). A ray that misses a box misses all below it.
        struct alignas(64) ChildBoxes { // two cache lines
            float lo[3][4], hi[3][4];
            /// The lane's node's first block times 4, plus its number of
            /// blocks less 1; kNone when it has no children.
            std::uint32_t inner[4];
            /// The lane's node's cell (its place in cells); kNone: no triangles.
            std::uint32_t cell[4];
        };
        static constexpr unsigned int kMaxBlocks = 2;
        /// The header of a cell in cells, five words, followed by count
        /// positions in triangles. No corner of a triangle at or below the
        /// node is farther from center than 2^scale on any axis (see reach);
        /// kNoScale: too far for float.
        struct Cell {
            float center[3];
            std::uint32_t count;
            std::int32_t scale;
        };
        static constexpr std::uint32_t kCellWords = sizeof(Cell) / sizeof(std::uint32_t);
        static constexpr std::int32_t kNoScale = 127;
        /// 2^scale, or infinity for kNoScale.
        static double reach(std::int32_t scale) noexcept {
            if (scale == kNoScale)
                return HUGE_VAL;
            const std::uint64_t bits = std::uint64_t(1023 + scale) << 52;
            double r;
            std::memcpy(&r, &bits, sizeof r);
            return r;
        }
        /// The cell at place c of cells.
        Cell cellAt(std::uint32_t c) const noexcept {
            Cell h;
            std::memcpy(&h, cells.data() + c, sizeof h);
            return h;
        }
        std::vector<ChildBoxes> boxes;
        std::vector<std::uint32_t> cells;               // headers and positions, node by node
        std::vector<grundel::detail::RayTriangle> triangles;
        std::vector<std::uint32_t> index;               // triangles[k] is entry(index[k])
        std::uint32_t rootInner = kNone, rootCell = kNone; // the root's children and triangles
        unsigned int depth = 0;                         // of the deepest node; the root is 0
        float min[3], max[3];                           // the root box
        double extent = 0; // the largest finite |coordinate| of a box or the root
    };
    /// The layout of the tree as it is now. Built on the first call after a
    /// change (time and memory linear in the nodes, triangles and filed
    /// copies) and kept until the next change; safe to call from several
    /// threads while nobody changes the tree. Throws TmemoryException when it
    /// cannot be held.
    const QueryLayout& queryLayout() const;

private:
    bool fileTriangle(unsigned int index);
    void buildQueryLayout() const;

    std::vector<ToctreeTriangle> fTriangles;
    mutable std::mutex fLayoutMutex;
    mutable std::atomic<std::uint64_t> fLayoutStamp{0}; // changeCount() the layout was built at
    mutable QueryLayout fLayout;
};

static_assert(sizeof(TtriangleOctree::QueryLayout::ChildBoxes) == 128, "a block is two cache lines");
static_assert(sizeof(TtriangleOctree::QueryLayout::Cell) == 20, "a cell header is five words");
