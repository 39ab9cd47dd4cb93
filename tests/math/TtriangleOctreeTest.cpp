// Triangle trees: the overlap test, filing, and ray queries against brute force.

#include "grundel/math/TtriangleOctreeWalker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <thread>
#include <vector>

namespace {

const T3dFltPoint kLo(0, 0, 0), kHi(1, 1, 1);

TEST(ToctreeTriangle, RayHitsWithBarycentricWeights) {
    const ToctreeTriangle tri{T3dFltPoint(0, 0, 0), T3dFltPoint(2, 0, 0), T3dFltPoint(0, 2, 0), 0, 0};
    const double inf = std::numeric_limits<double>::infinity();
    double t = -1, u = -1, v = -1;
    ASSERT_TRUE(tri.intersect(T3dDblPoint(0.5, 1, 3), T4dDblVector(0, 0, -2), inf, t, u, v));
    EXPECT_DOUBLE_EQ(t, 1.5); // t in units of the direction
    EXPECT_DOUBLE_EQ(u, 0.25);
    EXPECT_DOUBLE_EQ(v, 0.5);
    // Back face, edge and corner count; behind the origin, beyond tMax and
    // just outside do not.
    EXPECT_TRUE(tri.intersect(T3dDblPoint(0.5, 1, -3), T4dDblVector(0, 0, 1), inf, t, u, v));
    EXPECT_TRUE(tri.intersect(T3dDblPoint(1, 1, 1), T4dDblVector(0, 0, -1), inf, t, u, v));
    EXPECT_TRUE(tri.intersect(T3dDblPoint(2, 0, 1), T4dDblVector(0, 0, -1), inf, t, u, v));
    EXPECT_TRUE(tri.intersect(T3dDblPoint(0.5, 0.5, 0), T4dDblVector(0, 0, 1), inf, t, u, v));
    EXPECT_EQ(t, 0);
    EXPECT_FALSE(tri.intersect(T3dDblPoint(0.5, 1, -3), T4dDblVector(0, 0, -1), inf, t, u, v));
    EXPECT_FALSE(tri.intersect(T3dDblPoint(0.5, 1, 3), T4dDblVector(0, 0, -1), 2.9, t, u, v));
    EXPECT_FALSE(tri.intersect(T3dDblPoint(1.01, 1, 1), T4dDblVector(0, 0, -1), inf, t, u, v));
    EXPECT_FALSE(tri.intersect(T3dDblPoint(0.5, 1, 0), T4dDblVector(1, 0, 0), inf, t, u, v)); // in the plane
    const ToctreeTriangle flat{T3dFltPoint(0, 0, 0), T3dFltPoint(1, 1, 0), T3dFltPoint(3, 3, 0), 0, 0};
    EXPECT_FALSE(flat.intersect(T3dDblPoint(1, 1, 1), T4dDblVector(0, 0, -1), inf, t, u, v));
    EXPECT_FALSE(tri.intersect(T3dDblPoint(0.5, 1, 3), T4dDblVector(0, 0, std::nan("")), inf, t, u, v));
}

TEST(TtriangleOctree, OverlapIsExactNotByBoundingBox) {
    TtriangleOctree tree(4, kLo, kHi, 4, 0, 0, 1e-3);
    // Cuts the corner region near (1, 1, 1) but passes outside it: the
    // bounding boxes overlap, the plane x + y + z = 3.2 separates.
    const ToctreeTriangle outside{T3dFltPoint(1.6f, 1.6f, 0), T3dFltPoint(0, 1.6f, 1.6f), T3dFltPoint(1.6f, 0, 1.6f), 0, 0};
    EXPECT_FALSE(tree.touches(outside, kLo, kHi));
    // The same plane at 2.9 cuts the corner off: every corner of the
    // triangle is outside the box, the triangle is not.
    const ToctreeTriangle through{T3dFltPoint(1.45f, 1.45f, 0), T3dFltPoint(0, 1.45f, 1.45f),
                                  T3dFltPoint(1.45f, 0, 1.45f), 0, 0};
    EXPECT_TRUE(tree.touches(through, kLo, kHi));
    // Within the tolerance of a face, and just beyond it.
    const ToctreeTriangle near{T3dFltPoint(1.0005f, 0, 0), T3dFltPoint(1.0005f, 1, 0), T3dFltPoint(3, 0, 1), 0, 0};
    const ToctreeTriangle far{T3dFltPoint(1.002f, 0, 0), T3dFltPoint(1.002f, 1, 0), T3dFltPoint(3, 0, 1), 0, 0};
    EXPECT_TRUE(tree.touches(near, kLo, kHi));
    EXPECT_FALSE(tree.touches(far, kLo, kHi));
    // Degenerate triangles are tested as a segment and as a point.
    const ToctreeTriangle segment{T3dFltPoint(-1, 0.5f, 0.5f), T3dFltPoint(2, 0.5f, 0.5f), T3dFltPoint(2, 0.5f, 0.5f), 0, 0};
    const ToctreeTriangle skew{T3dFltPoint(-1, 3.2f, 0.5f), T3dFltPoint(3.2f, -1, 0.5f), T3dFltPoint(3.2f, -1, 0.5f), 0, 0};
    const ToctreeTriangle dot{T3dFltPoint(0.5f, 0.5f, 0.5f), T3dFltPoint(0.5f, 0.5f, 0.5f), T3dFltPoint(0.5f, 0.5f, 0.5f), 0, 0};
    EXPECT_TRUE(tree.touches(segment, kLo, kHi));
    EXPECT_FALSE(tree.touches(skew, kLo, kHi)); // its line passes the corner (1, 1) at distance 0.14
    EXPECT_TRUE(tree.touches(dot, kLo, kHi));
}

TEST(TtriangleOctree, FilesTrianglesIntoTheOctantsTheyTouch) {
    TtriangleOctree tree(8, kLo, kHi, 1, 0, 0);
    ASSERT_TRUE(tree.addEntry(T3dFltPoint(0.8f, 0.8f, 0.8f), T3dFltPoint(0.9f, 0.8f, 0.8f), T3dFltPoint(0.8f, 0.9f, 0.8f), 1, 2));
    EXPECT_EQ(tree.sortEntry(0u, tree.box()), 1 << 7);
    // A triangle around the centre touches every octant; one in the plane
    // z = 0.25 only the lower four; one on the plane x = 0.5 both X halves.
    ASSERT_TRUE(tree.addEntry(T3dFltPoint(0.4f, 0.4f, 0.4f), T3dFltPoint(0.7f, 0.45f, 0.6f), T3dFltPoint(0.45f, 0.7f, 0.55f), 3, 4));
    ASSERT_TRUE(tree.addEntry(T3dFltPoint(0, 0, 0.25f), T3dFltPoint(1, 0, 0.25f), T3dFltPoint(0, 1, 0.25f), 5, 6));
    ASSERT_TRUE(tree.addEntry(T3dFltPoint(0.5f, 0.1f, 0.1f), T3dFltPoint(0.5f, 0.2f, 0.1f), T3dFltPoint(0.5f, 0.1f, 0.2f), 7, 8));
    EXPECT_EQ(tree.sortEntry(1u, tree.box()), 0xff);
    EXPECT_EQ(tree.sortEntry(2u, tree.box()), 0x0f);
    EXPECT_EQ(tree.sortEntry(3u, tree.box()), 0x03);
    EXPECT_EQ(tree.entry(2).i, 5);
    EXPECT_EQ(tree.entry(2).j, 6);
    // Filed under every octant it touches: the centre triangle reaches all
    // eight children. (No octant is common to all four, so the root splits.)
    for (int o = 0; o < 8; ++o) {
        const TotNode<unsigned int>* c = tree.child(o);
        ASSERT_NE(c, nullptr);
        bool has = false;
        std::function<void(const TotNode<unsigned int>&)> scan = [&](const TotNode<unsigned int>& n) {
            has = has || std::find(n.begin(), n.end(), 1u) != n.end();
            for (int k = 0; k < 8; ++k)
                if (n.child(k))
                    scan(*n.child(k));
        };
        scan(*c);
        EXPECT_TRUE(has) << o;
    }
}

TEST(TtriangleOctree, RefusesBadTrianglesAndRefilesOnNewDimensions) {
    TtriangleOctree tree(0, kLo, kHi, 2, 0, 0);
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    EXPECT_FALSE(tree.addEntry(T3dFltPoint(nan, 0, 0), T3dFltPoint(1, 0, 0), T3dFltPoint(0, 1, 0), 0, 0));
    EXPECT_FALSE(tree.addEntry(T3dFltPoint(inf, 0, 0), T3dFltPoint(1, 0, 0), T3dFltPoint(0, 1, 0), 0, 0));
    EXPECT_FALSE(tree.addEntry(T3dFltPoint(2, 2, 2), T3dFltPoint(3, 2, 2), T3dFltPoint(2, 3, 2), 0, 0));
    EXPECT_EQ(tree.triangleCount(), 0u);
    // Many coincident degenerate triangles end at finite depth.
    for (int i = 0; i < 50; ++i)
        ASSERT_TRUE(tree.addEntry(T3dFltPoint(0.3f, 0.3f, 0.3f), T3dFltPoint(0.3f, 0.3f, 0.3f), T3dFltPoint(0.3f, 0.3f, 0.3f), i, 0));
    EXPECT_LT(tree.nodeCount(), 200u);
    // Duplicate large faces stop splitting at once instead of filling every
    // cell along the face down to the minimum size.
    TtriangleOctree dup(100, kLo, kHi, 2, 0, 0);
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(dup.addEntry(T3dFltPoint(0, 0, 0.3f), T3dFltPoint(1, 0, 0.3f), T3dFltPoint(0, 1, 0.7f), i, 0));
    EXPECT_LT(dup.nodeCount(), 20u);
    EXPECT_EQ(dup.getMinCellSize(), 1e-5f); // raised to the tolerance
    // Small separate faces crowded into one corner of the box do split: the
    // cells shrink around them until they part.
    TtriangleOctree corner(64, kLo, kHi, 4, 0, 0);
    for (int i = 0; i < 64; ++i) {
        const float x = 0.9f + 0.0125f * static_cast<float>(i % 8), y = 0.9f + 0.0125f * static_cast<float>(i / 8);
        ASSERT_TRUE(corner.addEntry(T3dFltPoint(x, y, 0.95f), T3dFltPoint(x + 0.005f, y, 0.95f),
                                    T3dFltPoint(x, y + 0.005f, 0.95f), i, 0));
    }
    unsigned int fullest = 0;
    corner.forEachNode([&](const TotNode<unsigned int>& n) { fullest = std::max(fullest, n.entryCount()); });
    EXPECT_LE(fullest, 4u);
    // Partly outside is kept; a box that leaves only that one drops the rest.
    ASSERT_TRUE(tree.addEntry(T3dFltPoint(0.9f, 0.9f, 0.9f), T3dFltPoint(3, 0.9f, 0.9f), T3dFltPoint(0.9f, 3, 0.9f), 99, 1));
    EXPECT_EQ(tree.setDimensions(T3dFltPoint(2, 0, 0), T3dFltPoint(4, 1, 1)), 50u);
    ASSERT_EQ(tree.triangleCount(), 1u);
    EXPECT_EQ(tree.entry(0).i, 99);
    TtriangleOctreeWalker walker(tree);
    ToctreeTriangleIntersection hit;
    ASSERT_TRUE(walker.firstHit(T3dDblPoint(2.2, 0.95, 5), T4dDblVector(0, 0, -1), hit));
    EXPECT_EQ(hit.triangle, 0u);
    EXPECT_DOUBLE_EQ(hit.t, 5.0 - static_cast<double>(0.9f));
    // A zero-size root box holds only what touches that point.
    TtriangleOctree point(1, 2, 0, 0);
    EXPECT_FALSE(point.addEntry(T3dFltPoint(1, 1, 1), T3dFltPoint(2, 1, 1), T3dFltPoint(1, 2, 1), 0, 0));
    EXPECT_TRUE(point.addEntry(T3dFltPoint(-1, -1, 0), T3dFltPoint(1, -1, 0), T3dFltPoint(0, 1, 0), 0, 0));
}

TEST(TtriangleOctreeWalker, QueriesFollowTheTreeAsItChanges) {
    // Queries read a copy of the tree made at the first query: every change
    // after it must show in the next one.
    TtriangleOctree tree(0, kLo, kHi, 1, 0, 0);
    TtriangleOctreeWalker walker(tree);
    const T3dDblPoint o(0.3, 0.3, 2);
    const T4dDblVector down(0, 0, -1);
    ToctreeTriangleIntersection hit;
    EXPECT_FALSE(walker.firstHit(o, down, hit));
    ASSERT_TRUE(tree.addEntry(T3dFltPoint(0, 0, 0.25f), T3dFltPoint(1, 0, 0.25f), T3dFltPoint(0, 1, 0.25f), 0, 0));
    ASSERT_TRUE(walker.firstHit(o, down, hit));
    EXPECT_EQ(hit.t, 1.75);
    // A nearer triangle and one elsewhere, added after a query; the root splits.
    ASSERT_TRUE(tree.addEntry(T3dFltPoint(0.2f, 0.2f, 0.75f), T3dFltPoint(0.4f, 0.2f, 0.75f), T3dFltPoint(0.2f, 0.4f, 0.75f), 1, 0));
    ASSERT_TRUE(tree.addEntry(T3dFltPoint(0.8f, 0.8f, 0.9f), T3dFltPoint(0.9f, 0.8f, 0.9f), T3dFltPoint(0.8f, 0.9f, 0.9f), 2, 0));
    EXPECT_TRUE(tree.isSplit());
    ASSERT_TRUE(walker.firstHit(o, down, hit));
    EXPECT_EQ(hit.triangle, 1u);
    std::vector<ToctreeTriangleIntersection> hits;
    EXPECT_EQ(walker.allHits(o, down, hits), 2u);
    // A second walker on the same tree reads the same copy.
    TtriangleOctreeWalker other(tree);
    ASSERT_TRUE(other.firstHit(o, down, hit));
    EXPECT_EQ(hit.triangle, 1u);
    // A new box drops the near triangle; clearing drops everything.
    EXPECT_EQ(tree.setDimensions(T3dFltPoint(0.5f, 0.0f, 0.0f), T3dFltPoint(1.0f, 1.0f, 0.5f)), 2u);
    EXPECT_FALSE(walker.firstHit(o, down, hit)); // outside the new box
    ASSERT_TRUE(walker.firstHit(T3dDblPoint(0.6, 0.1, 2), down, hit));
    EXPECT_EQ(hit.triangle, 0u);
    tree.clear();
    EXPECT_FALSE(walker.firstHit(T3dDblPoint(0.6, 0.1, 2), down, hit));
    EXPECT_EQ(walker.allHits(T3dDblPoint(0.6, 0.1, 2), down, hits), 0u);
}

TEST(TtriangleOctreeWalker, ThreadsShareTheQueryCopy) {
    // The first queries after a change come from two threads at once: one
    // builds the copy, the other waits for it; both see the same hits.
    TtriangleOctree tree(64, kLo, kHi, 2, 0, 0);
    for (int k = 0; k < 64; ++k) {
        const float x = static_cast<float>(k % 8) / 8, y = static_cast<float>(k / 8) / 8;
        ASSERT_TRUE(tree.addEntry(T3dFltPoint(x, y, 0.5f), T3dFltPoint(x + 0.125f, y, 0.5f), T3dFltPoint(x, y + 0.125f, 0.5f), k, 0));
    }
    unsigned int found[2] = {0, 0};
    auto query = [&tree](unsigned int& count) {
        TtriangleOctreeWalker walker(tree);
        ToctreeTriangleIntersection hit;
        for (int r = 0; r < 64; ++r)
            count += walker.firstHit(T3dDblPoint((r % 8) / 8.0 + 0.01, (r / 8) / 8.0 + 0.01, 1), T4dDblVector(0, 0, -1), hit);
    };
    std::thread other(query, std::ref(found[1]));
    query(found[0]);
    other.join();
    EXPECT_EQ(found[0], 64u);
    EXPECT_EQ(found[1], 64u);
}

// A random mesh: small triangles, some of them degenerate or on the planes
// that divide the first cells.
std::vector<ToctreeTriangle> mesh(unsigned int n, std::mt19937& rng) {
    std::uniform_real_distribution<float> u(0, 1), s(-0.08f, 0.08f);
    std::vector<ToctreeTriangle> tris;
    for (unsigned int i = 0; i < n; ++i) {
        T3dFltPoint a(u(rng), u(rng), u(rng));
        if (i % 7 == 0)
            a.x = 0.5f;
        T3dFltPoint b(a.x + s(rng), a.y + s(rng), a.z + s(rng)), c(a.x + s(rng), a.y + s(rng), a.z + s(rng));
        if (i % 7 == 0)
            b.x = c.x = 0.5f;
        if (i % 13 == 0)
            c = b;
        tris.push_back(ToctreeTriangle{a, b, c, static_cast<int>(i), 0});
    }
    return tris;
}

// Checks one ray's first hit and all hits against testing every triangle;
// true when it hits something.
bool matchesBruteForce(TtriangleOctreeWalker& walker, const std::vector<ToctreeTriangle>& tris,
                       const T3dDblPoint& o, const T4dDblVector& dir, double tMax) {
    std::vector<ToctreeTriangleIntersection> expected, hits;
    for (unsigned int k = 0; k < tris.size(); ++k) {
        ToctreeTriangleIntersection h;
        h.triangle = k;
        if (tris[k].intersect(o, dir, tMax, h.t, h.u, h.v))
            expected.push_back(h);
    }
    std::sort(expected.begin(), expected.end(), [](const auto& a, const auto& b) {
        return a.t < b.t || (a.t == b.t && a.triangle < b.triangle);
    });
    ToctreeTriangleIntersection first;
    const bool found = walker.firstHit(o, dir, first, tMax);
    EXPECT_EQ(found, !expected.empty());
    if (found && !expected.empty()) {
        EXPECT_EQ(first.triangle, expected[0].triangle);
        EXPECT_EQ(first.t, expected[0].t);
        EXPECT_EQ(first.u, expected[0].u);
    }
    EXPECT_EQ(walker.allHits(o, dir, hits, tMax), expected.size());
    for (std::size_t k = 0; k < std::min(hits.size(), expected.size()); ++k) {
        EXPECT_EQ(hits[k].triangle, expected[k].triangle);
        EXPECT_EQ(hits[k].t, expected[k].t);
    }
    return found;
}

TEST(TtriangleOctreeWalker, RayHitsMatchBruteForce) {
    std::mt19937 rng(5);
    const std::vector<ToctreeTriangle> tris = mesh(3000, rng);
    TtriangleOctree tree(3000, T3dFltPoint(-0.1f, -0.1f, -0.1f), T3dFltPoint(1.1f, 1.1f, 1.1f), 8, 0, 0);
    for (const ToctreeTriangle& t : tris)
        ASSERT_TRUE(tree.addEntry(t.a, t.b, t.c, t.i, t.j));
    ASSERT_EQ(tree.triangleCount(), 3000u);
    TtriangleOctreeWalker walker(tree);
    std::uniform_real_distribution<double> u(-0.5, 1.5), d(-1, 1);
    int hitCount = 0;
    for (int r = 0; r < 600; ++r) {
        T3dDblPoint o(u(rng), u(rng), u(rng));
        T4dDblVector dir(d(rng), d(rng), d(rng));
        if (r % 5 == 0)
            dir[static_cast<unsigned int>(r) % 3] = 0; // parallel to a set of planes
        if (r % 7 == 0) {
            // In the root's dividing plane x = 0.5, running along it (also as -0).
            o.x = 0.5;
            dir.x = r % 14 ? 0.0 : -0.0;
        }
        if (r % 11 == 0)
            dir = T4dDblVector(0, 0, r % 2 ? 1 : -1);
        if (r % 3 == 1) {
            // Aimed at a corner or an edge's midpoint, where rounding decides.
            const ToctreeTriangle& t = tris[static_cast<std::size_t>(r) * 7 % tris.size()];
            const T3dFltPoint& p = r % 2 ? t.a : t.b;
            const double w = r % 4 == 1 ? 1.0 : 0.5;
            dir = T4dDblVector(w * p.x + (1 - w) * t.c.x - o.x, w * p.y + (1 - w) * t.c.y - o.y,
                               w * p.z + (1 - w) * t.c.z - o.z);
        }
        const double tMax = r % 4 == 0 ? 0.3 : std::numeric_limits<double>::infinity();
        SCOPED_TRACE(r);
        hitCount += matchesBruteForce(walker, tris, o, dir, tMax);
    }
    EXPECT_GT(hitCount, 80); // the comparison is not vacuous
    // Rays with no direction or a NaN origin hit nothing.
    ToctreeTriangleIntersection hit;
    EXPECT_FALSE(walker.firstHit(T3dDblPoint(0.5, 0.5, 0.5), T4dDblVector(0, 0, 0), hit));
    EXPECT_FALSE(walker.firstHit(T3dDblPoint(std::nan(""), 0.5, 0.5), T4dDblVector(0, 0, 1), hit));
}

TEST(TtriangleOctreeWalker, RayHitsMatchBruteForceAtEveryScale) {
    // The cells' boxes are met in single precision with margins scaled to
    // the ray and the tree: moved far from the origin, shrunk, grown past
    // what those margins cover, with directions of any length and with a
    // component too small to count, no hit may be lost.
    struct Scale {
        double size, offset, length;
    };
    for (const Scale sc : {Scale{1, 0, 1e-200}, Scale{1, 0, 1e200}, Scale{1, 1e5, 1}, Scale{1e-25, 0, 1},
                           Scale{1e-36, 0, 1}, Scale{1e33, 0, 1}, Scale{1e33, 1e34, 1e-9}}) {
        SCOPED_TRACE(sc.size);
        std::mt19937 rng(9);
        const std::vector<ToctreeTriangle> unit = mesh(600, rng);
        const auto place = [&](double x) { return static_cast<float>(x * sc.size + sc.offset); };
        std::vector<ToctreeTriangle> tris;
        for (const ToctreeTriangle& t : unit)
            tris.push_back(ToctreeTriangle{T3dFltPoint(place(t.a.x), place(t.a.y), place(t.a.z)),
                                           T3dFltPoint(place(t.b.x), place(t.b.y), place(t.b.z)),
                                           T3dFltPoint(place(t.c.x), place(t.c.y), place(t.c.z)), t.i, 0});
        TtriangleOctree tree(600, T3dFltPoint(place(-0.1), place(-0.1), place(-0.1)),
                             T3dFltPoint(place(1.1), place(1.1), place(1.1)), 4, 0, 0, 0);
        for (const ToctreeTriangle& t : tris)
            ASSERT_TRUE(tree.addEntry(t.a, t.b, t.c, t.i, t.j));
        TtriangleOctreeWalker walker(tree);
        std::uniform_real_distribution<double> u(-0.5, 1.5), d(-1, 1);
        int hitCount = 0;
        for (int r = 0; r < 150; ++r) {
            // Through a triangle's corner (a corner of some cell's box too)
            // or its centre, from an origin float cannot hold; some rays
            // nearly parallel to a set of planes.
            const ToctreeTriangle& t = tris[static_cast<std::size_t>(r) * 13 % tris.size()];
            const double w = r % 2 ? 1.0 : 1.0 / 3;
            const double p[3] = {w * t.a.x + (1 - w) * 0.5 * (double(t.b.x) + t.c.x),
                                 w * t.a.y + (1 - w) * 0.5 * (double(t.b.y) + t.c.y),
                                 w * t.a.z + (1 - w) * 0.5 * (double(t.b.z) + t.c.z)};
            double v[3] = {d(rng), d(rng), d(rng)};
            if (r % 5 == 0)
                v[r % 3] *= 1e-30; // too small to count
            if (r % 5 == 1)
                v[r % 3] *= 1e-3;
            const double lambda = 0.5 + u(rng) * 0.5;
            const T3dDblPoint o(p[0] - lambda * v[0] * sc.size, p[1] - lambda * v[1] * sc.size,
                                p[2] - lambda * v[2] * sc.size);
            const T4dDblVector dir(v[0] * sc.length, v[1] * sc.length, v[2] * sc.length);
            SCOPED_TRACE(r);
            hitCount += matchesBruteForce(walker, tris, o, dir, std::numeric_limits<double>::infinity());
        }
        EXPECT_GT(hitCount, 60);
    }
}

TEST(TtriangleOctreeWalker, RaysThatOnlyTouchACellsBoxAtAHit) {
    // A triangle's corner is the far corner of its cell's box; rays through
    // it that touch the box at that point alone, from origins float cannot
    // hold, near the origin of coordinates and far from it. Rounding must
    // never drop the box when the exact test reports the hit.
    for (const double offset : {0.0, 1e3, 1e5}) {
        SCOPED_TRACE(offset);
        const auto at = [&](double x, double y, double z) {
            return T3dFltPoint(static_cast<float>(x + offset), static_cast<float>(y + offset),
                               static_cast<float>(z + offset));
        };
        // Three triangles, two of them in the far octant: the root splits.
        const std::vector<ToctreeTriangle> tris{
            {at(0.2, 0.2, 0.2), at(0.1, 0.15, 0.12), at(0.15, 0.1, 0.1), 0, 0},
            {at(0.8, 0.8, 0.8), at(0.9, 0.8, 0.8), at(0.8, 0.9, 0.8), 1, 0},
            {at(0.7, 0.8, 0.8), at(0.9, 0.7, 0.8), at(0.8, 0.9, 0.7), 2, 0}};
        const ToctreeTriangle& low = tris[0];
        TtriangleOctree tree(3, at(0, 0, 0), at(1, 1, 1), 1, 0, 0, 0);
        for (const ToctreeTriangle& t : tris)
            ASSERT_TRUE(tree.addEntry(t.a, t.b, t.c, t.i, t.j));
        ASSERT_NE(tree.queryLayout().rootInner, TtriangleOctree::QueryLayout::kNone);
        TtriangleOctreeWalker walker(tree);
        std::mt19937 rng(12);
        std::uniform_real_distribution<double> u(0.05, 0.2);
        int hits = 0;
        for (int r = 0; r < 400; ++r) {
            // Inside the box's slab on x before the corner and outside it on
            // y; past the corner the other way round. Some barely move on z.
            const double v[3] = {u(rng), -u(rng), (r % 2 ? 1 : -1) * u(rng) * (r % 4 == 2 ? 1e-3 : 1)};
            const double lambda = 1 + u(rng);
            const T3dDblPoint o(low.a.x - lambda * v[0], low.a.y - lambda * v[1], low.a.z - lambda * v[2]);
            SCOPED_TRACE(r);
            hits += matchesBruteForce(walker, tris, o, T4dDblVector(v[0], v[1], v[2]),
                                      std::numeric_limits<double>::infinity());
        }
        EXPECT_GT(hits, 5);
    }
}

} // namespace
