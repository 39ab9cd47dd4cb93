// Point queries against brute force over the same stored points.

#include "grundel/math/TpointOctreeWalker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

double dist2(const T3dFltPoint& p, const T3dDblPoint& q) {
    const double dx = p.x - q.x, dy = p.y - q.y, dz = p.z - q.z;
    return dx * dx + dy * dy + dz * dz;
}

// The nearest by the documented rule: smallest distance, then lowest index.
const ToctreePoint* bruteNearest(const std::vector<ToctreePoint>& pts, const T3dDblPoint& q, double maxDistance) {
    const ToctreePoint* best = nullptr;
    double best2 = maxDistance * maxDistance;
    for (const ToctreePoint& p : pts) {
        const double d2 = dist2(p.point, q);
        if (d2 < best2 || (d2 == best2 && (!best || p.index < best->index))) {
            best = &p;
            best2 = d2;
        }
    }
    return best;
}

std::vector<unsigned int> indices(std::vector<ToctreePoint> v) {
    std::vector<unsigned int> out;
    for (const ToctreePoint& p : v)
        out.push_back(p.index);
    std::sort(out.begin(), out.end());
    return out;
}

// A random cloud with points on the dividing planes of the first levels and
// repeated points, so that boundaries and ties are exercised.
std::vector<ToctreePoint> cloud(unsigned int n, std::mt19937& rng) {
    std::uniform_real_distribution<float> u(0, 1);
    std::uniform_int_distribution<int> grid(0, 8);
    std::vector<ToctreePoint> pts;
    for (unsigned int i = 0; i < n; ++i) {
        T3dFltPoint p(u(rng), u(rng), u(rng));
        if (i % 5 == 0)
            p[i % 3] = static_cast<float>(grid(rng)) / 8;
        if (i % 11 == 0)
            p = T3dFltPoint(static_cast<float>(grid(rng)) / 8, static_cast<float>(grid(rng)) / 8, 0.5f);
        if (i % 17 == 0 && i > 0)
            p = pts[i / 2].point;
        pts.push_back(ToctreePoint{p, n - i}); // indices not in insertion order
    }
    return pts;
}

TEST(TpointOctreeWalker, NearestMatchesBruteForce) {
    std::mt19937 rng(11);
    const std::vector<ToctreePoint> pts = cloud(6000, rng);
    for (unsigned int maxEntries : {1u, 8u, 64u}) {
        TpointOctree tree(T3dFltPoint(0, 0, 0), T3dFltPoint(1, 1, 1), maxEntries, 0, 0);
        for (const ToctreePoint& p : pts)
            ASSERT_TRUE(tree.addEntry(p.point, p.index));
        TpointOctreeWalker walker(tree);
        std::uniform_real_distribution<double> u(-0.3, 1.3);
        std::uniform_int_distribution<int> grid(0, 8);
        for (int i = 0; i < 1500; ++i) {
            T3dDblPoint q(u(rng), u(rng), u(rng));
            if (i % 3 == 0) // on a dividing plane or a stored point
                q[static_cast<unsigned int>(i) % 3] = grid(rng) / 8.0;
            if (i % 7 == 0)
                q = T3dDblPoint(pts[static_cast<std::size_t>(i)].point.x, pts[static_cast<std::size_t>(i)].point.y,
                                pts[static_cast<std::size_t>(i)].point.z);
            const double limit = i % 4 == 0 ? 0.02 : std::numeric_limits<double>::infinity();
            const ToctreePoint* expected = bruteNearest(pts, q, limit);
            const ToctreePoint* got = walker.findNearest(q, limit);
            ASSERT_EQ(got == nullptr, expected == nullptr) << "query " << i;
            if (got) {
                EXPECT_EQ(got->index, expected->index) << "query " << i << " maxEntries " << maxEntries;
                EXPECT_EQ(walker.nearestDistance2(), dist2(expected->point, q));
            }
        }
    }
}

TEST(TpointOctreeWalker, RadiusIncludesTheBoundaryAndMatchesBruteForce) {
    // Integer lattice points: distances are exact, so some lie exactly on the sphere.
    TpointOctree tree(T3dFltPoint(0, 0, 0), T3dFltPoint(8, 8, 8), 4, 0, 0);
    std::vector<ToctreePoint> pts;
    unsigned int index = 0;
    for (int x = 0; x <= 8; ++x)
        for (int y = 0; y <= 8; y += 2)
            for (int z = 0; z <= 8; ++z) {
                const T3dFltPoint p(static_cast<float>(x), static_cast<float>(y), static_cast<float>(z));
                pts.push_back(ToctreePoint{p, index});
                ASSERT_TRUE(tree.addEntry(p, index++));
            }
    TpointOctreeWalker walker(tree);
    std::vector<ToctreePoint> found;
    const T3dDblPoint centre(4, 4, 4);
    EXPECT_EQ(walker.findWithin(centre, 1, found), 5u); // itself and four on the sphere (y steps by 2)
    EXPECT_EQ(walker.findWithin(centre, 0, found), 1u);
    EXPECT_EQ(walker.findWithin(centre, -1, found), 0u);
    EXPECT_EQ(walker.findWithin(centre, std::nan(""), found), 0u);

    std::mt19937 rng(3);
    std::uniform_int_distribution<int> coord(-2, 10), radius(0, 6);
    for (int i = 0; i < 300; ++i) {
        const T3dDblPoint q(coord(rng), coord(rng), coord(rng));
        const double r = radius(rng) / 2.0;
        std::vector<ToctreePoint> expected;
        for (const ToctreePoint& p : pts)
            if (dist2(p.point, q) <= r * r)
                expected.push_back(p);
        walker.findWithin(q, r, found);
        ASSERT_EQ(indices(found), indices(expected)) << "query " << i;
    }
}

TEST(TpointOctreeWalker, EmptyTreesAndNaNQueriesFindNothing) {
    TpointOctree tree(T3dFltPoint(0, 0, 0), T3dFltPoint(1, 1, 1), 4, 0, 0);
    TpointOctreeWalker walker(tree);
    EXPECT_EQ(walker.findNearest(T3dDblPoint(0.5, 0.5, 0.5)), nullptr);
    ASSERT_TRUE(tree.addEntry(T3dFltPoint(1, 1, 1), 7));
    EXPECT_EQ(walker.findNearest(T3dDblPoint(std::nan(""), 0, 0)), nullptr);
    EXPECT_EQ(walker.findNearest(T3dDblPoint(0, 1, 1), 0.5), nullptr);
    // The bound counts: distance exactly 1.
    const ToctreePoint* p = walker.findNearest(T3dDblPoint(0, 1, 1), 1.0);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->index, 7u);
    EXPECT_EQ(walker.nearestDistance2(), 1.0);
    // Far outside the box still finds it.
    EXPECT_NE(walker.findNearest(T3dDblPoint(-1e6, 3e7, 0)), nullptr);
}

} // namespace
