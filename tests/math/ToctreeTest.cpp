// The subdivision rules shared by every octree, seen through point trees.

#include "grundel/math/TpointOctree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

using Node = TotNode<ToctreePoint>;

const T3dFltPoint kLo(0, 0, 0), kHi(1, 1, 1);

// Every node's entries, and the deepest level, by walking the tree.
struct Shape {
    unsigned int entries = 0, depth = 0, leaves = 0;
};
Shape shapeOf(const TpointOctree& tree) {
    Shape s;
    tree.forEachNode([&s](const Node& n) {
        unsigned int d = 1;
        for (const Node* p = n.parent(); p; p = p->parent())
            ++d;
        s.depth = std::max(s.depth, d);
        s.entries += n.entryCount();
        s.leaves += n.isSplit() ? 0 : 1;
    });
    return s;
}

bool inBox(const Node& n, const T3dFltPoint& p) {
    for (unsigned int k = 0; k < 3; ++k)
        if (p[k] < n.minCorner()[k] || p[k] > n.maxCorner()[k])
            return false;
    return true;
}

TEST(Toctree, SplitsWhenTheLeafIsFullAndRedistributes) {
    TpointOctree tree(kLo, kHi, 4, 0, 0);
    const T3dFltPoint pts[5] = {{0.1f, 0.1f, 0.1f}, {0.9f, 0.1f, 0.1f}, {0.1f, 0.9f, 0.9f}, {0.9f, 0.9f, 0.9f},
                                {0.6f, 0.2f, 0.7f}};
    for (unsigned int i = 0; i < 4; ++i)
        ASSERT_TRUE(tree.addEntry(pts[i], i));
    EXPECT_FALSE(tree.isSplit());
    EXPECT_EQ(tree.entryCount(), 4u);
    ASSERT_TRUE(tree.addEntry(pts[4], 4));
    EXPECT_TRUE(tree.isSplit());
    EXPECT_EQ(tree.entryCount(), 0u);
    EXPECT_EQ(tree.capacity(), 0u); // the emptied list is released
    EXPECT_EQ(shapeOf(tree).entries, 5u);
    const int octants[5] = {0, 1, 6, 7, 5};
    for (unsigned int i = 0; i < 5; ++i) {
        const Node* c = tree.child(octants[i]);
        ASSERT_NE(c, nullptr);
        EXPECT_TRUE(inBox(*c, pts[i]));
        EXPECT_EQ(c->octant(), octants[i]);
        EXPECT_EQ(c->parent(), &tree);
    }
    EXPECT_EQ(tree.child(2), nullptr); // children only where needed
    EXPECT_EQ(tree.child(5)->minCorner(), T3dFltPoint(0.5f, 0, 0.5f));
    EXPECT_EQ(tree.child(5)->maxCorner(), T3dFltPoint(1, 0.5f, 1));
}

TEST(Toctree, RepeatedPointsStopAtTheDepthLimitOrTheCellSize) {
    const T3dFltPoint p(0.3f, 0.3f, 0.3f);
    {
        TpointOctree tree(kLo, kHi, 4, 6, 0);
        for (unsigned int i = 0; i < 5; ++i)
            ASSERT_TRUE(tree.addEntry(p, i));
        const Shape s = shapeOf(tree);
        EXPECT_EQ(s.depth, 6u);
        EXPECT_EQ(s.leaves, 1u);
        EXPECT_EQ(s.entries, 5u);
    }
    {
        // Cells of half-width 1/2, 1/4, 1/8 and 1/16 split; the fifth level's 1/32 is below the minimum.
        TpointOctree tree(kLo, kHi, 4, 0, 1.0f / 16);
        for (unsigned int i = 0; i < 50; ++i)
            ASSERT_TRUE(tree.addEntry(p, i));
        EXPECT_EQ(shapeOf(tree).depth, 5u);
    }
    {
        // Unlimited depth and no minimum: single precision ends it. Many
        // coincident points must not make the full leaf's growth quadratic.
        TpointOctree tree(kLo, kHi, 4, 0, 0);
        const unsigned int n = 200000;
        for (unsigned int i = 0; i < n; ++i)
            ASSERT_TRUE(tree.addEntry(p, i));
        const Shape s = shapeOf(tree);
        EXPECT_EQ(s.entries, n);
        EXPECT_EQ(s.leaves, 1u);
        EXPECT_LT(s.depth, 40u);
        tree.forEachNode([&](const Node& node) {
            if (!node.isSplit()) {
                EXPECT_EQ(node.childMask(), 0u);
                EXPECT_LT(node.capacity(), 2 * n);
            }
        });
    }
    {
        // Near zero the cells can shrink into the subnormals; still finite.
        TpointOctree tree(kLo, T3dFltPoint(1e30f, 1e30f, 1e30f), 1, 0, 0);
        for (unsigned int i = 0; i < 3; ++i)
            ASSERT_TRUE(tree.addEntry(kLo, i));
        EXPECT_LT(shapeOf(tree).depth, 300u);
    }
}

TEST(Toctree, LimitsThatKeepEverythingInTheRoot) {
    TpointOctree bigCells(kLo, kHi, 2, 0, 0.6f); // half-width 0.5 < 0.6 on every axis
    TpointOctree shallow(kLo, kHi, 2, 1, 0);
    TpointOctree point(4, 0, 0); // no corners: the box is the origin alone
    for (unsigned int i = 0; i < 100; ++i) {
        const float f = static_cast<float>(i) / 100;
        ASSERT_TRUE(bigCells.addEntry(T3dFltPoint(f, 1 - f, f), i));
        ASSERT_TRUE(shallow.addEntry(T3dFltPoint(f, 1 - f, f), i));
        ASSERT_TRUE(point.addEntry(T3dFltPoint::origin, i));
    }
    EXPECT_FALSE(point.addEntry(T3dFltPoint(1e-30f, 0, 0), 0));
    for (const TpointOctree* t : {&bigCells, &shallow, &point}) {
        EXPECT_FALSE(t->isSplit());
        EXPECT_EQ(t->entryCount(), 100u);
        EXPECT_EQ(t->nodeCount(), 1u);
    }
    EXPECT_EQ(bigCells.childMask(), 0u);
    EXPECT_EQ(point.childMask(), 0u);
}

TEST(Toctree, FlatBoxesSplitOnlyTheAxesWithExtent) {
    // Flat in Z: Z is never split, the centre sits at the minimum and every
    // child is an upper-Z octant.
    TpointOctree tree(kLo, T3dFltPoint(1, 1, 0), 1, 0, 0);
    EXPECT_EQ(tree.childMask(), 0xf0u);
    EXPECT_EQ(tree.center(), T3dFltPoint(0.5f, 0.5f, 0));
    for (unsigned int i = 0; i < 20; ++i)
        ASSERT_TRUE(tree.addEntry(T3dFltPoint(static_cast<float>(i) / 20, static_cast<float>(i % 3) / 3, 0), i));
    tree.forEachNode([](const Node& n) {
        if (n.parent()) {
            EXPECT_GE(n.octant(), 4);
        }
        EXPECT_EQ(n.minCorner().z, 0);
        EXPECT_EQ(n.maxCorner().z, 0);
    });
    EXPECT_EQ(shapeOf(tree).entries, 20u);
}

TEST(Toctree, CentreGoesToOctantSevenAndPlanesToTheUpperSide) {
    TpointOctree tree(kLo, kHi, 1, 0, 0);
    const T3dFltPoint centre(0.5f, 0.5f, 0.5f);
    EXPECT_EQ(tree.sortEntry(ToctreePoint{centre, 0}, tree.box()), 1 << 7);
    EXPECT_EQ(tree.sortEntry(ToctreePoint{T3dFltPoint(0.5f, 0.2f, 0.7f), 0}, tree.box()), 1 << 5);
    ASSERT_TRUE(tree.addEntry(T3dFltPoint(0.1f, 0.1f, 0.1f), 0));
    ASSERT_TRUE(tree.addEntry(centre, 1));
    ASSERT_NE(tree.child(7), nullptr);
    EXPECT_EQ(tree.child(7)->entry(0).index, 1u);
}

TEST(Toctree, RefusesPointsOutsideTheBoxAndNaN) {
    // Corners given in any order are ordered per axis.
    TpointOctree tree(kHi, kLo, 2, 0, 0);
    EXPECT_EQ(tree.minCorner(), kLo);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(tree.addEntry(kHi, 0)); // closed box
    EXPECT_TRUE(tree.addEntry(kLo, 1));
    EXPECT_FALSE(tree.addEntry(T3dFltPoint(1.0001f, 0.5f, 0.5f), 2));
    EXPECT_FALSE(tree.addEntry(T3dFltPoint(nan, 0.5f, 0.5f), 3));
    EXPECT_FALSE(tree.addEntry(T3dDblPoint(0.5, -1e-3, 0.5), 4));
    EXPECT_EQ(tree.pointCount(), 2u);

    // A NaN box holds nothing; setDimensions empties the tree.
    TpointOctree broken(T3dFltPoint(nan, 0, 0), kHi, 2, 0, 0);
    EXPECT_FALSE(broken.addEntry(T3dFltPoint(0.5f, 0.5f, 0.5f), 0));
    tree.setDimensions(kLo, T3dFltPoint(2, 2, 2));
    EXPECT_EQ(tree.pointCount(), 0u);
    EXPECT_EQ(tree.entryCount(), 0u);
}

TEST(Toctree, EntryListsGrowByTheRule) {
    // maxEntries 16: first 8 entries, then 4 more at a time; a list that
    // cannot split any more grows by half.
    TpointOctree tree(kLo, kHi, 16, 1, 0);
    std::vector<unsigned int> caps;
    for (unsigned int i = 0; i < 40; ++i) {
        ASSERT_TRUE(tree.addEntry(T3dFltPoint(0.5f, 0.5f, 0.5f), i));
        if (caps.empty() || caps.back() != tree.capacity())
            caps.push_back(tree.capacity());
    }
    EXPECT_EQ(caps, (std::vector<unsigned int>{8, 12, 16, 24, 36, 54}));
    // maxEntries 0 counts as 1: the second entry splits the root.
    TpointOctree one(kLo, kHi, 0, 0, 0);
    EXPECT_EQ(one.getMaxEntries(), 1u);
    ASSERT_TRUE(one.addEntry(T3dFltPoint(0.1f, 0.1f, 0.1f), 0));
    EXPECT_FALSE(one.isSplit());
    EXPECT_EQ(one.capacity(), 2u);
    ASSERT_TRUE(one.addEntry(T3dFltPoint(0.9f, 0.9f, 0.9f), 1));
    EXPECT_TRUE(one.isSplit());
}

} // namespace

namespace {

// Each node's box and sorted indices, in walk order.
std::vector<std::vector<float>> cellsOf(const TpointOctree& tree) {
    std::vector<std::vector<float>> out;
    tree.forEachNode([&out](const Node& n) {
        std::vector<float> cell{n.minCorner().x, n.minCorner().y, n.minCorner().z, n.maxCorner().x};
        std::vector<float> idx;
        for (const ToctreePoint& p : n)
            idx.push_back(static_cast<float>(p.index));
        std::sort(idx.begin(), idx.end());
        cell.insert(cell.end(), idx.begin(), idx.end());
        out.push_back(cell);
    });
    return out;
}

TEST(Toctree, BulkInsertionBuildsTheSameCells) {
    std::mt19937 rng(9);
    std::uniform_real_distribution<float> u(-0.1f, 1.1f);
    std::vector<T3dFltPoint> pts(5000);
    for (T3dFltPoint& p : pts)
        p = T3dFltPoint(u(rng), u(rng), u(rng));
    pts[10] = pts[20] = pts[30] = T3dFltPoint(0.5f, 0.5f, 0.5f);
    pts[40].y = std::numeric_limits<float>::quiet_NaN();
    TpointOctree one(kLo, kHi, 6, 0, 0), bulk(kLo, kHi, 6, 0, 0);
    unsigned int stored = 0;
    for (unsigned int i = 0; i < pts.size(); ++i)
        stored += one.addEntry(pts[i], 100 + i) ? 1 : 0;
    EXPECT_EQ(bulk.addEntries(pts.data(), static_cast<unsigned int>(pts.size()), 100), stored);
    EXPECT_EQ(bulk.pointCount(), stored);
    EXPECT_EQ(cellsOf(bulk), cellsOf(one));

    // An infinite root box: positions on the curve are meaningless, insertion is not.
    const float inf = std::numeric_limits<float>::infinity();
    TpointOctree open(T3dFltPoint(-inf, -inf, -inf), T3dFltPoint(inf, inf, inf), 6, 0, 0);
    EXPECT_EQ(open.addEntries(pts.data(), 100), 99u); // all but the NaN
}

} // namespace
