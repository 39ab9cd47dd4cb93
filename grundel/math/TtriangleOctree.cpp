#include "grundel/math/TtriangleOctree.h"

#include <algorithm>
#include <cmath>
#include <cstring>

template class TotNode<unsigned int>;
template class Toctree<unsigned int>;

namespace {

// The table is reserved for the announced count only up to this many
// triangles; beyond it the table grows as triangles arrive.
constexpr unsigned int kMaxReserve = 1u << 20;

struct V3 {
    double x, y, z;
};

inline V3 toV3(const T3dFltPoint& p) noexcept { return {p.x, p.y, p.z}; }
inline V3 sub(const V3& a, const V3& b) noexcept { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline V3 cross(const V3& a, const V3& b) noexcept {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double dot(const V3& a, const V3& b) noexcept { return a.x * b.x + a.y * b.y + a.z * b.z; }

inline double min3(double a, double b, double c) noexcept { return std::min(a, std::min(b, c)); }
inline double max3(double a, double b, double c) noexcept { return std::max(a, std::max(b, c)); }

// Projections of the triangle (corners v0..v2 relative to the box centre) on
// the axis; separated when they all lie beyond the box's radius r on it.
inline bool separated(double p0, double p1, double p2, double r) noexcept {
    return min3(p0, p1, p2) > r || max3(p0, p1, p2) < -r;
}

// Separating-axis test of a triangle against the box of centre c and
// half-widths h (the tolerance already added). Closed: touching overlaps.
bool triangleTouchesBox(const V3& a, const V3& b, const V3& c, const V3& centre, const V3& h) noexcept {
    const V3 v0 = sub(a, centre), v1 = sub(b, centre), v2 = sub(c, centre);
    // The box's own axes.
    if (separated(v0.x, v1.x, v2.x, h.x) || separated(v0.y, v1.y, v2.y, h.y) || separated(v0.z, v1.z, v2.z, h.z))
        return false;
    const V3 edges[3] = {sub(v1, v0), sub(v2, v1), sub(v0, v2)};
    // Each box axis crossed with each edge.
    for (const V3& f : edges) {
        const double ax = std::fabs(f.x), ay = std::fabs(f.y), az = std::fabs(f.z);
        // X x f = (0, -f.z, f.y)
        if (separated(v0.z * f.y - v0.y * f.z, v1.z * f.y - v1.y * f.z, v2.z * f.y - v2.y * f.z, h.y * az + h.z * ay))
            return false;
        // Y x f = (f.z, 0, -f.x)
        if (separated(v0.x * f.z - v0.z * f.x, v1.x * f.z - v1.z * f.x, v2.x * f.z - v2.z * f.x, h.x * az + h.z * ax))
            return false;
        // Z x f = (-f.y, f.x, 0)
        if (separated(v0.y * f.x - v0.x * f.y, v1.y * f.x - v1.x * f.y, v2.y * f.x - v2.x * f.y, h.x * ay + h.y * ax))
            return false;
    }
    // The triangle's plane.
    const V3 n = cross(edges[0], edges[1]);
    const double r = h.x * std::fabs(n.x) + h.y * std::fabs(n.y) + h.z * std::fabs(n.z);
    return std::fabs(dot(n, v0)) <= r;
}

bool finite(const T3dFltPoint& p) noexcept { return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z); }


// A node's scale: the least power of two at or above reach, which bounds the
// distance of the triangles below from its centre.
std::int32_t scaleOf(double reach) noexcept {
    using Layout = TtriangleOctree::QueryLayout;
    int e = -126;
    if (reach > std::ldexp(1.0, -126)) {
        (void)std::frexp(reach, &e); // reach < 2^e
        if (reach == std::ldexp(0.5, e))
            --e; // exactly a power of two
    }
    return reach <= std::ldexp(1.0, 126) ? e : Layout::kNoScale;
}

} // namespace

bool ToctreeTriangle::intersect(const T3dDblPoint& origin, const T4dDblVector& direction, double tMax, double& t,
                                double& u, double& v) const noexcept {
    const double o[3] = {origin.x, origin.y, origin.z}, d[3] = {direction.x, direction.y, direction.z};
    return grundel::detail::RayTriangle(*this).intersect(o, d, tMax, t, u, v);
}

TtriangleOctree::TtriangleOctree(unsigned int triangleCount, unsigned int maxEntries, unsigned int maxDepth,
                                 float minCellSize, double tolerance)
    : Toctree(maxEntries, maxDepth, tolerance > minCellSize ? static_cast<float>(tolerance) : minCellSize, tolerance) {
    setSplitOnlyWhenSeparating(true);
    fTriangles.reserve(std::min(triangleCount, kMaxReserve));
}

TtriangleOctree::TtriangleOctree(unsigned int triangleCount, const T3dFltPoint& min, const T3dFltPoint& max,
                                 unsigned int maxEntries, unsigned int maxDepth, float minCellSize, double tolerance)
    : TtriangleOctree(triangleCount, maxEntries, maxDepth, minCellSize, tolerance) {
    Toctree::setDimensions(min, max);
}

TtriangleOctree::~TtriangleOctree() = default;

bool TtriangleOctree::touches(const ToctreeTriangle& tri, const T3dFltPoint& lo, const T3dFltPoint& hi) const noexcept {
    const double tol = tolerance();
    const V3 l = toV3(lo), u = toV3(hi);
    const V3 centre{(l.x + u.x) * 0.5, (l.y + u.y) * 0.5, (l.z + u.z) * 0.5};
    const V3 h{(u.x - l.x) * 0.5 + tol, (u.y - l.y) * 0.5 + tol, (u.z - l.z) * 0.5 + tol};
    return triangleTouchesBox(toV3(tri.a), toV3(tri.b), toV3(tri.c), centre, h);
}

int TtriangleOctree::sortEntry(const unsigned int& entry, const T3dFltPoint* box) const {
    const ToctreeTriangle& tri = fTriangles[entry];
    const double tol = tolerance();
    const V3 a = toV3(tri.a), b = toV3(tri.b), c = toV3(tri.c);
    const V3 mid = toV3(box[0]), lo = toV3(box[1]), hi = toV3(box[2]);
    const double tmin[3] = {min3(a.x, b.x, c.x), min3(a.y, b.y, c.y), min3(a.z, b.z, c.z)};
    const double tmax[3] = {max3(a.x, b.x, c.x), max3(a.y, b.y, c.y), max3(a.z, b.z, c.z)};
    const double m[3] = {mid.x, mid.y, mid.z}, l[3] = {lo.x, lo.y, lo.z}, h[3] = {hi.x, hi.y, hi.z};

    // Which halves each axis's extent reaches (bit 0 lower, bit 1 upper), and
    // whether it lies wholly inside the grown half (then no further test).
    unsigned int sides[3];
    bool inside[3][2];
    for (int k = 0; k < 3; ++k) {
        const bool split = m[k] != l[k]; // an axis that is not split has its centre at the minimum
        sides[k] = 0;
        if (split && tmin[k] <= m[k] + tol && tmax[k] >= l[k] - tol)
            sides[k] |= 1;
        if (tmax[k] >= m[k] - tol && tmin[k] <= h[k] + tol)
            sides[k] |= 2;
        inside[k][0] = tmin[k] >= l[k] - tol && tmax[k] <= m[k] + tol;
        inside[k][1] = tmin[k] >= m[k] - tol && tmax[k] <= h[k] + tol;
    }
    int mask = 0;
    for (int octant = 0; octant < 8; ++octant) {
        const int sx = octant & 1, sy = (octant >> 1) & 1, sz = (octant >> 2) & 1;
        if (!(sides[0] & (1u << sx)) || !(sides[1] & (1u << sy)) || !(sides[2] & (1u << sz)))
            continue;
        if (inside[0][sx] && inside[1][sy] && inside[2][sz]) {
            mask |= 1 << octant;
            continue;
        }
        const double ol[3] = {sx ? m[0] : l[0], sy ? m[1] : l[1], sz ? m[2] : l[2]};
        const double oh[3] = {sx ? h[0] : m[0], sy ? h[1] : m[1], sz ? h[2] : m[2]};
        const V3 centre{(ol[0] + oh[0]) * 0.5, (ol[1] + oh[1]) * 0.5, (ol[2] + oh[2]) * 0.5};
        const V3 half{(oh[0] - ol[0]) * 0.5 + tol, (oh[1] - ol[1]) * 0.5 + tol, (oh[2] - ol[2]) * 0.5 + tol};
        if (triangleTouchesBox(a, b, c, centre, half))
            mask |= 1 << octant;
    }
    return mask;
}

bool TtriangleOctree::fileTriangle(unsigned int index) {
    const ToctreeTriangle& tri = fTriangles[index];
    if (!finite(tri.a) || !finite(tri.b) || !finite(tri.c) || !touches(tri, minCorner(), maxCorner()))
        return false;
    Toctree::addEntry(index);
    return true;
}

bool TtriangleOctree::addEntry(const T3dFltPoint& a, const T3dFltPoint& b, const T3dFltPoint& c, int i, int j) {
    fTriangles.push_back(ToctreeTriangle{a, b, c, i, j});
    if (fileTriangle(static_cast<unsigned int>(fTriangles.size() - 1)))
        return true;
    fTriangles.pop_back();
    return false;
}

unsigned int TtriangleOctree::setDimensions(const T3dFltPoint& min, const T3dFltPoint& max) {
    Toctree::setDimensions(min, max);
    // Compact the table in place, filing each kept triangle under its new index.
    unsigned int kept = 0;
    const unsigned int n = triangleCount();
    for (unsigned int k = 0; k < n; ++k) {
        fTriangles[kept] = fTriangles[k];
        if (fileTriangle(kept))
            ++kept;
    }
    fTriangles.resize(kept);
    return n - kept;
}

void TtriangleOctree::clear() noexcept {
    Toctree::clear();
    fTriangles.clear();
}

const TtriangleOctree::QueryLayout& TtriangleOctree::queryLayout() const {
    if (fLayoutStamp.load(std::memory_order_acquire) != changeCount()) {
        const std::lock_guard<std::mutex> lock(fLayoutMutex);
        if (fLayoutStamp.load(std::memory_order_relaxed) != changeCount()) {
            buildQueryLayout();
            fLayoutStamp.store(changeCount(), std::memory_order_release);
        }
    }
    return fLayout;
}

void TtriangleOctree::buildQueryLayout() const {
    using Layout = QueryLayout;
    constexpr std::uint32_t kNone = Layout::kNone;
    Layout& out = fLayout;
    out.boxes.clear();
    out.cells.clear();
    out.triangles.clear();
    out.index.clear();
    out.rootInner = out.rootCell = kNone;
    out.depth = 0;
    out.extent = 0;
    std::size_t nodeTotal = 0, wordTotal = 0;
    forEachNode([&](const TotNode<unsigned int>& n) {
        ++nodeTotal;
        if (n.entryCount())
            wordTotal += Layout::kCellWords + std::size_t{n.entryCount()};
    });
    // kNone is never a place in cells (block references are checked below).
    if (nodeTotal >= kNone || wordTotal >= kNone)
        throw TmemoryException(wordTotal * sizeof(std::uint32_t));
    out.cells.reserve(wordTotal);
    for (int k = 0; k < 3; ++k) {
        out.min[k] = minCorner()[k];
        out.max[k] = maxCorner()[k];
        out.extent = std::max(out.extent, std::max(std::fabs(double(out.min[k])), std::fabs(double(out.max[k]))));
    }
    // Each triangle's place in the copy, given when a node first names it.
    std::vector<std::uint32_t> place(fTriangles.size(), kNone);
    out.triangles.reserve(fTriangles.size());
    out.index.reserve(fTriangles.size());

    // The nodes in the layout's order, with where the triangles below each
    // lie (gathered bottom up afterwards; each node's own triangles, their
    // boxes cut to the cell, first).
    struct Flat {
        float center[3];
        std::uint32_t firstChild; // in flat
        unsigned int childCount;
        std::uint32_t inner, cell; // as in ChildBoxes
        std::uint32_t count;       // of its own triangles
        double lo[3], hi[3];
        double reach; // of the corners, from the centre
    };
    std::vector<Flat> flat;
    flat.reserve(nodeTotal);

    // Depth first with an explicit stack (trees may be a few hundred levels
    // deep): a node's slot, and its children's, are made when it is reached
    // from its parent, so siblings stay side by side.
    struct Pending {
        const TotNode<unsigned int>* node;
        std::uint32_t slot;
        unsigned int depth;
    };
    std::vector<Pending> stack;
    flat.push_back(Flat{});
    stack.push_back(Pending{this, 0, 0});
    while (!stack.empty()) {
        const Pending p = stack.back();
        stack.pop_back();
        const TotNode<unsigned int>& n = *p.node;
        out.depth = std::max(out.depth, p.depth);
        Flat f{};
        for (int k = 0; k < 3; ++k) {
            f.center[k] = n.center()[k];
            f.lo[k] = HUGE_VAL;
            f.hi[k] = -HUGE_VAL;
        }
        f.cell = kNone;
        f.count = n.entryCount();
        if (f.count) {
            f.cell = static_cast<std::uint32_t>(out.cells.size());
            out.cells.resize(out.cells.size() + Layout::kCellWords); // filled in bottom up
        }
        for (const unsigned int e : n) {
            const ToctreeTriangle& tri = fTriangles[e];
            for (unsigned int k = 0; k < 3; ++k) {
                const double a = tri.a[k], b = tri.b[k], c = tri.c[k];
                f.lo[k] = std::min(f.lo[k], std::max(min3(a, b, c), double(n.minCorner()[k])));
                f.hi[k] = std::max(f.hi[k], std::min(max3(a, b, c), double(n.maxCorner()[k])));
                const double m = f.center[k];
                f.reach = std::max(f.reach, std::max(std::fabs(a - m), std::max(std::fabs(b - m), std::fabs(c - m))));
            }
            if (place[e] == kNone) {
                place[e] = static_cast<std::uint32_t>(out.triangles.size());
                out.triangles.emplace_back(tri);
                out.index.push_back(e);
            }
            out.cells.push_back(place[e]);
        }
        f.firstChild = static_cast<std::uint32_t>(flat.size());
        for (int i = 0; i < 8; ++i)
            if (n.child(i)) {
                ++f.childCount;
                flat.push_back(Flat{});
            }
        f.inner = kNone;
        flat[p.slot] = f;
        std::uint32_t slot = static_cast<std::uint32_t>(flat.size());
        for (int i = 7; i >= 0; --i)
            if (const TotNode<unsigned int>* c = n.child(i))
                stack.push_back(Pending{c, --slot, p.depth + 1});
    }

    // Children come after their parent: from the last node back, each node
    // takes in its children's bounds, then writes its own cell's header.
    const double tol = tolerance();
    for (std::size_t i = flat.size(); i-- > 0;) {
        Flat& f = flat[i];
        for (std::uint32_t c = f.firstChild; c < f.firstChild + f.childCount; ++c) {
            double offset = 0;
            for (int k = 0; k < 3; ++k) {
                f.lo[k] = std::min(f.lo[k], flat[c].lo[k]);
                f.hi[k] = std::max(f.hi[k], flat[c].hi[k]);
                offset = std::max(offset, std::fabs(double(flat[c].center[k]) - double(f.center[k])));
            }
            f.reach = std::max(f.reach, flat[c].reach + offset);
        }
        if (f.cell != kNone) {
            const Layout::Cell header{{f.center[0], f.center[1], f.center[2]}, f.count, scaleOf(f.reach + tol)};
            std::memcpy(out.cells.data() + f.cell, &header, sizeof header);
        }
    }

    // The nodes a walk visits, from the root down, and their lanes: the
    // children, where a child without triangles of its own may give way to
    // its children (the one with the largest box first) while the lanes
    // stay within kMaxLanes. A walk then skips that child's level.
    constexpr std::size_t kMaxLanes = 4 * Layout::kMaxBlocks;
    struct Visit {
        std::uint32_t node, firstLane, laneCount;
    };
    const auto area = [&](std::uint32_t i) {
        const Flat& f = flat[i];
        if (!(f.lo[0] <= f.hi[0] && f.lo[1] <= f.hi[1] && f.lo[2] <= f.hi[2]))
            return 0.0;
        const double x = f.hi[0] - f.lo[0], y = f.hi[1] - f.lo[1], z = f.hi[2] - f.lo[2];
        return x * y + y * z + z * x;
    };
    std::vector<Visit> visits;
    std::vector<std::uint32_t> lanes, frontier, todo{0};
    std::size_t blockCount = 0;
    while (!todo.empty()) {
        const std::uint32_t node = todo.back();
        todo.pop_back();
        Flat& f = flat[node];
        if (!f.childCount)
            continue;
        frontier.clear();
        for (std::uint32_t c = f.firstChild; c < f.firstChild + f.childCount; ++c)
            frontier.push_back(c);
        for (;;) {
            std::size_t best = frontier.size();
            double bestArea = -1;
            for (std::size_t k = 0; k < frontier.size(); ++k) {
                const Flat& c = flat[frontier[k]];
                if (c.cell != kNone || !c.childCount || frontier.size() - 1 + c.childCount > kMaxLanes)
                    continue;
                if (const double a = area(frontier[k]); a > bestArea) {
                    best = k;
                    bestArea = a;
                }
            }
            if (best == frontier.size())
                break;
            const Flat& open = flat[frontier[best]];
            frontier.erase(frontier.begin() + static_cast<std::ptrdiff_t>(best));
            for (std::uint32_t c = open.firstChild; c < open.firstChild + open.childCount; ++c)
                frontier.push_back(c);
        }
        const std::size_t blocks = (frontier.size() + 3) / 4;
        if (blockCount + blocks >= 0x3fffffffu)
            throw TmemoryException((blockCount + blocks) * sizeof(Layout::ChildBoxes));
        f.inner = static_cast<std::uint32_t>(4 * blockCount + (blocks - 1));
        blockCount += blocks;
        visits.push_back(Visit{node, static_cast<std::uint32_t>(lanes.size()),
                               static_cast<std::uint32_t>(frontier.size())});
        lanes.insert(lanes.end(), frontier.begin(), frontier.end());
        for (std::size_t k = frontier.size(); k-- > 0;)
            todo.push_back(frontier[k]);
    }

    // Each visited node's blocks: its lanes' boxes, rounded outwards, and
    // where their own blocks and cells lie.
    out.boxes.resize(blockCount);
    for (const Visit& v : visits) {
        Layout::ChildBoxes* blocks = &out.boxes[flat[v.node].inner >> 2];
        for (std::uint32_t lane = 0; lane < (v.laneCount + 3) / 4 * 4; ++lane) {
            Layout::ChildBoxes& box = blocks[lane / 4];
            const unsigned int l = lane % 4;
            if (lane >= v.laneCount) {
                for (int k = 0; k < 3; ++k) {
                    box.lo[k][l] = HUGE_VALF;
                    box.hi[k][l] = -HUGE_VALF;
                }
                box.inner[l] = box.cell[l] = kNone;
                continue;
            }
            const Flat& c = flat[lanes[v.firstLane + lane]];
            for (int k = 0; k < 3; ++k) {
                box.lo[k][l] = grundel::detail::roundToFloat(c.lo[k] - tol, true);
                box.hi[k][l] = grundel::detail::roundToFloat(c.hi[k] + tol, false);
                for (const float side : {box.lo[k][l], box.hi[k][l]})
                    if (std::isfinite(side))
                        out.extent = std::max(out.extent, std::fabs(double(side)));
            }
            box.inner[l] = c.inner;
            box.cell[l] = c.cell;
        }
    }
    out.rootInner = flat[0].inner;
    out.rootCell = flat[0].cell;
}
