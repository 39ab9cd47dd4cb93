#pragma once

#include "grundel/math/T3dDblPoint.h"
#include "grundel/math/Toctree.h"

/// A point of a TpointOctree: its position and the caller's index for it.
struct ToctreePoint {
    T3dFltPoint point;
    unsigned int index;
};

extern template class GRUNDEL_API TotNode<ToctreePoint>;
extern template class GRUNDEL_API Toctree<ToctreePoint>;

/// An octree of points, each in exactly one leaf (or, in a cell that cannot
/// split, in that cell). A point on a dividing plane goes to the upper side,
/// so the centre of a cell lands in octant 7.
///
/// Only points inside the closed root box are stored; a point outside it or
/// with a NaN coordinate is refused. Query it with TpointOctreeWalker.
class GRUNDEL_API TpointOctree final : public Toctree<ToctreePoint> {
public:
    /// See Toctree for the parameters. The root box is the point at the
    /// origin until setDimensions gives it a size.
    TpointOctree(unsigned int maxEntries, unsigned int maxDepth, float minCellSize) noexcept;
    /// The root box spans min to max (ordered per axis).
    TpointOctree(const T3dFltPoint& min, const T3dFltPoint& max, unsigned int maxEntries, unsigned int maxDepth,
                 float minCellSize) noexcept;
    ~TpointOctree() override;

    /// Stores point under the caller's index. False, and nothing stored, when
    /// the point lies outside the root box or has a NaN coordinate.
    [[nodiscard]] bool addEntry(const T3dFltPoint& point, unsigned int index);
    /// The same for a double point, rounded to single precision first (the
    /// rounded point is the one tested and stored).
    [[nodiscard]] bool addEntry(const T3dDblPoint& point, unsigned int index) {
        return addEntry(T3dFltPoint(static_cast<float>(point.x), static_cast<float>(point.y), static_cast<float>(point.z)),
                        index);
    }
    /// Stores count points, point k under index firstIndex + k, as addEntry
    /// does one at a time, and returns how many were stored (the others lie
    /// outside the box or have a NaN coordinate). The resulting cells are the
    /// same as from single insertions; the points are inserted in the order of
    /// a space-filling curve so that consecutive insertions meet the same
    /// cells in cache, which makes building a large tree several times faster.
    unsigned int addEntries(const T3dFltPoint* points, unsigned int count, unsigned int firstIndex = 0);
    /// Empties the tree (the points stored so far are dropped) and sets the root box.
    void setDimensions(const T3dFltPoint& min, const T3dFltPoint& max) noexcept;
    void clear() noexcept;

    /// The number of points stored.
    unsigned int pointCount() const noexcept { return fPointCount; }
    /// True when the closed root box holds p (false for NaN coordinates).
    bool contains(const T3dFltPoint& p) const noexcept;

    /// The single bit of the point's octant: bit 0 of the octant for
    /// x >= centre x, bit 1 for y, bit 2 for z.
    int sortEntry(const ToctreePoint& entry, const T3dFltPoint* box) const override;

private:
    unsigned int fPointCount = 0;
};
