#include "grundel/math/TpointOctree.h"

template class TotNode<ToctreePoint>;
template class Toctree<ToctreePoint>;

namespace {
constexpr double kPointTolerance = 1e-5; // unused by points; the float default
}

TpointOctree::TpointOctree(unsigned int maxEntries, unsigned int maxDepth, float minCellSize) noexcept
    : Toctree(maxEntries, maxDepth, minCellSize, kPointTolerance) {}

TpointOctree::TpointOctree(const T3dFltPoint& min, const T3dFltPoint& max, unsigned int maxEntries,
                           unsigned int maxDepth, float minCellSize) noexcept
    : Toctree(maxEntries, maxDepth, minCellSize, kPointTolerance) {
    Toctree::setDimensions(min, max);
}

TpointOctree::~TpointOctree() = default;

bool TpointOctree::contains(const T3dFltPoint& p) const noexcept {
    const T3dFltPoint& lo = minCorner();
    const T3dFltPoint& hi = maxCorner();
    return p.x >= lo.x && p.x <= hi.x && p.y >= lo.y && p.y <= hi.y && p.z >= lo.z && p.z <= hi.z;
}

bool TpointOctree::addEntry(const T3dFltPoint& point, unsigned int index) {
    if (!contains(point))
        return false;
    Toctree::addEntry(ToctreePoint{point, index});
    ++fPointCount;
    return true;
}

void TpointOctree::setDimensions(const T3dFltPoint& min, const T3dFltPoint& max) noexcept {
    Toctree::setDimensions(min, max);
    fPointCount = 0;
}

void TpointOctree::clear() noexcept {
    Toctree::clear();
    fPointCount = 0;
}

int TpointOctree::sortEntry(const ToctreePoint& entry, const T3dFltPoint* box) const {
    const T3dFltPoint& c = box[0];
    const int octant = (entry.point.x >= c.x ? 1 : 0) | (entry.point.y >= c.y ? 2 : 0) | (entry.point.z >= c.z ? 4 : 0);
    return 1 << octant;
}
