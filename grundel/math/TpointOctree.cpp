#include "grundel/math/TpointOctree.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

template class TotNode<ToctreePoint>;
template class Toctree<ToctreePoint>;

namespace {

constexpr double kPointTolerance = 1e-5; // unused by points; the float default

// Spreads the low 21 bits of v to every third bit.
std::uint64_t spread3(std::uint64_t v) noexcept {
    v &= 0x1fffff;
    v = (v | v << 32) & 0x1f00000000ffffULL;
    v = (v | v << 16) & 0x1f0000ff0000ffULL;
    v = (v | v << 8) & 0x100f00f00f00f00fULL;
    v = (v | v << 4) & 0x10c30c30c30c30c3ULL;
    v = (v | v << 2) & 0x1249249249249249ULL;
    return v;
}

} // namespace

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

unsigned int TpointOctree::addEntries(const T3dFltPoint* points, unsigned int count, unsigned int firstIndex) {
    // Interleaved 21-bit positions in the box, x in the lowest bit of each
    // triple like the octant numbering: the curve visits the cells depth first.
    const T3dFltPoint& lo = minCorner();
    double scale[3];
    for (unsigned int k = 0; k < 3; ++k) {
        const double extent = static_cast<double>(maxCorner()[k]) - lo[k];
        scale[k] = extent > 0 && std::isfinite(extent) ? 2097151.0 / extent : 0.0;
    }
    // The top 33 bits of the curve (11 levels) are enough to keep the
    // insertions together; three stable 11-bit counting passes sort by them
    // and keep the input order within a bucket.
    struct Keyed {
        std::uint32_t key;
        ToctreePoint point;
    };
    std::vector<Keyed> order, spare;
    order.reserve(count);
    for (unsigned int i = 0; i < count; ++i) {
        const T3dFltPoint& p = points[i];
        if (!contains(p))
            continue;
        std::uint64_t key = 0;
        for (unsigned int k = 0; k < 3; ++k) {
            // An infinite corner makes the position NaN: it then counts as 0.
            const double at = (p[k] - static_cast<double>(lo[k])) * scale[k];
            key |= spread3(at >= 0 ? static_cast<std::uint64_t>(std::min(at, 2097151.0)) : 0) << k;
        }
        order.push_back(Keyed{static_cast<std::uint32_t>(key >> 30), ToctreePoint{p, firstIndex + i}});
    }
    spare.resize(order.size());
    std::vector<unsigned int> counts(2048);
    for (unsigned int shift = 0; shift < 33; shift += 11) {
        std::fill(counts.begin(), counts.end(), 0u);
        for (const Keyed& o : order)
            ++counts[(o.key >> shift) & 2047];
        unsigned int sum = 0;
        for (unsigned int& c : counts)
            sum += std::exchange(c, sum);
        for (const Keyed& o : order)
            spare[counts[(o.key >> shift) & 2047]++] = o;
        order.swap(spare);
    }
    for (const Keyed& o : order)
        Toctree::addEntry(o.point);
    fPointCount += static_cast<unsigned int>(order.size());
    return static_cast<unsigned int>(order.size());
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
