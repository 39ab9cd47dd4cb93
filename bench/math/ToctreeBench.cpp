// Octrees beside the index a user would otherwise pick: point trees beside
// nanoflann's k-d tree (leaf size 10) and a brute-force scan, triangle trees
// beside Embree's single-ray path and a brute-force loop over the triangles.
// 1M uniformly random points in the unit cube; 10k queries, one per
// iteration, in the same cube. The mesh is a 224 x 224 height field of
// 100352 triangles; rays start above it and point down at random slopes.
// Embree builds on one thread, like the octree. Peers that are not installed
// are left out (their cases are not registered).

#include "grundel/math/TpointOctreeWalker.h"
#include "grundel/math/TtriangleOctreeWalker.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#ifdef GRUNDEL_HAVE_NANOFLANN
#include <nanoflann.hpp>
#endif
#ifdef GRUNDEL_HAVE_EMBREE
#include <embree3/rtcore.h>
#endif

namespace {

struct Grundel {};
struct Nanoflann {};
struct Embree {};
struct BruteForce {};

constexpr unsigned int kPoints = 1000000;
constexpr unsigned int kQueries = 10000;
constexpr unsigned int kLeaf = 10;
constexpr unsigned int kOctreeLeaf = 16;

const std::vector<T3dFltPoint>& points() {
    static const std::vector<T3dFltPoint> all = [] {
        std::mt19937 rng(1);
        std::uniform_real_distribution<float> u(0, 1);
        std::vector<T3dFltPoint> v(kPoints);
        for (T3dFltPoint& p : v)
            p = T3dFltPoint(u(rng), u(rng), u(rng));
        return v;
    }();
    return all;
}

const std::vector<T3dFltPoint>& queries() {
    static const std::vector<T3dFltPoint> all = [] {
        std::mt19937 rng(2);
        std::uniform_real_distribution<float> u(0, 1);
        std::vector<T3dFltPoint> v(kQueries);
        for (T3dFltPoint& p : v)
            p = T3dFltPoint(u(rng), u(rng), u(rng));
        return v;
    }();
    return all;
}

std::unique_ptr<TpointOctree> buildPointTree() {
    auto tree = std::make_unique<TpointOctree>(T3dFltPoint(0, 0, 0), T3dFltPoint(1, 1, 1), kOctreeLeaf, 0, 0.0f);
    const std::vector<T3dFltPoint>& pts = points();
    if (tree->addEntries(pts.data(), static_cast<unsigned int>(pts.size())) != pts.size())
        std::abort();
    return tree;
}

void BM_PointBuild_Grundel(benchmark::State& state) {
    points();
    for (auto _ : state) {
        auto tree = buildPointTree();
        benchmark::DoNotOptimize(tree.get());
    }
}

void BM_Nearest_Grundel(benchmark::State& state) {
    static const std::unique_ptr<TpointOctree> tree = buildPointTree();
    TpointOctreeWalker walker(*tree);
    const std::vector<T3dFltPoint>& q = queries();
    std::size_t i = 0;
    for (auto _ : state) {
        const T3dFltPoint& p = q[i];
        i = i + 1 == q.size() ? 0 : i + 1;
        benchmark::DoNotOptimize(walker.findNearest(T3dDblPoint(p.x, p.y, p.z)));
    }
}

void BM_Nearest_BruteForce(benchmark::State& state) {
    const std::vector<T3dFltPoint>& pts = points();
    const std::vector<T3dFltPoint>& q = queries();
    std::size_t i = 0;
    for (auto _ : state) {
        const T3dFltPoint& p = q[i];
        i = i + 1 == q.size() ? 0 : i + 1;
        float best = std::numeric_limits<float>::infinity();
        std::size_t bestIndex = 0;
        for (std::size_t k = 0; k < pts.size(); ++k) {
            const float dx = pts[k].x - p.x, dy = pts[k].y - p.y, dz = pts[k].z - p.z;
            const float d2 = dx * dx + dy * dy + dz * dz;
            if (d2 < best) {
                best = d2;
                bestIndex = k;
            }
        }
        benchmark::DoNotOptimize(bestIndex);
    }
}

#ifdef GRUNDEL_HAVE_NANOFLANN
struct Cloud {
    const std::vector<T3dFltPoint>* pts;
    std::size_t kdtree_get_point_count() const { return pts->size(); }
    float kdtree_get_pt(std::size_t i, std::size_t dim) const { return (*pts)[i][static_cast<unsigned int>(dim)]; }
    template <class Box>
    bool kdtree_get_bbox(Box&) const {
        return false;
    }
};
using KdTree = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<float, Cloud>, Cloud, 3>;

void BM_PointBuild_Nanoflann(benchmark::State& state) {
    const Cloud cloud{&points()};
    for (auto _ : state) {
        KdTree tree(3, cloud, nanoflann::KDTreeSingleIndexAdaptorParams(kLeaf));
        benchmark::DoNotOptimize(&tree);
    }
}

void BM_Nearest_Nanoflann(benchmark::State& state) {
    static const Cloud cloud{&points()};
    static const KdTree tree(3, cloud, nanoflann::KDTreeSingleIndexAdaptorParams(kLeaf));
    const std::vector<T3dFltPoint>& q = queries();
    std::size_t i = 0;
    for (auto _ : state) {
        const T3dFltPoint& p = q[i];
        i = i + 1 == q.size() ? 0 : i + 1;
        const float query[3] = {p.x, p.y, p.z};
        uint32_t index;
        float d2;
        tree.knnSearch(query, 1, &index, &d2);
        benchmark::DoNotOptimize(index);
    }
}
#endif

// -- Rays over a height field ----------------------------------------------------

constexpr int kGrid = 224; // quads per side: 2 * 224 * 224 = 100352 triangles
constexpr unsigned int kRays = 4096;

struct Mesh {
    std::vector<T3dFltPoint> vertices;
    std::vector<unsigned int> indices; // three per triangle
};

const Mesh& mesh() {
    static const Mesh m = [] {
        Mesh out;
        std::mt19937 rng(3);
        std::uniform_real_distribution<float> jitter(-0.002f, 0.002f);
        for (int y = 0; y <= kGrid; ++y)
            for (int x = 0; x <= kGrid; ++x) {
                const float fx = static_cast<float>(x) / kGrid, fy = static_cast<float>(y) / kGrid;
                const float h = 0.15f * std::sin(7 * fx) * std::cos(5 * fy) + 0.05f * std::sin(23 * (fx + fy)) + jitter(rng);
                out.vertices.emplace_back(fx, fy, 0.5f + h);
            }
        for (int y = 0; y < kGrid; ++y)
            for (int x = 0; x < kGrid; ++x) {
                const unsigned int a = static_cast<unsigned int>(y * (kGrid + 1) + x), b = a + 1,
                                   c = a + kGrid + 1, d = c + 1;
                out.indices.insert(out.indices.end(), {a, b, d, a, d, c});
            }
        return out;
    }();
    return m;
}

struct Ray {
    T3dDblPoint origin;
    T4dDblVector direction;
};

const std::vector<Ray>& rays() {
    static const std::vector<Ray> all = [] {
        std::mt19937 rng(4);
        std::uniform_real_distribution<double> u(0.1, 0.9), s(-0.5, 0.5);
        std::vector<Ray> v(kRays);
        for (Ray& r : v) {
            r.origin = T3dDblPoint(u(rng), u(rng), 1.2);
            r.direction = T4dDblVector(s(rng), s(rng), -1);
        }
        return v;
    }();
    return all;
}

std::unique_ptr<TtriangleOctree> buildTriangleTree() {
    const Mesh& m = mesh();
    const unsigned int n = static_cast<unsigned int>(m.indices.size() / 3);
    auto tree = std::make_unique<TtriangleOctree>(n, T3dFltPoint(0, 0, 0), T3dFltPoint(1, 1, 1), 16, 0, 0.0f);
    for (unsigned int t = 0; t < n; ++t) {
        const unsigned int* i = &m.indices[3 * t];
        if (!tree->addEntry(m.vertices[i[0]], m.vertices[i[1]], m.vertices[i[2]], static_cast<int>(t), 0))
            std::abort();
    }
    tree->queryLayout(); // built by the first query otherwise, as Embree builds on commit
    return tree;
}

void BM_TriangleBuild_Grundel(benchmark::State& state) {
    mesh();
    std::size_t blocks = 0, cells = 0;
    for (auto _ : state) {
        auto tree = buildTriangleTree();
        blocks = tree->queryLayout().boxes.size();
        cells = tree->queryLayout().cells.size();
        benchmark::DoNotOptimize(tree.get());
    }
    state.counters["blocks"] = static_cast<double>(blocks);
    state.counters["cellWords"] = static_cast<double>(cells);
}

void BM_RayFirstHit_Grundel(benchmark::State& state) {
    static const std::unique_ptr<TtriangleOctree> tree = buildTriangleTree();
    TtriangleOctreeWalker walker(*tree);
    const std::vector<Ray>& r = rays();
    std::size_t i = 0, hits = 0;
    for (auto _ : state) {
        ToctreeTriangleIntersection hit;
        hits += walker.firstHit(r[i].origin, r[i].direction, hit);
        i = i + 1 == r.size() ? 0 : i + 1;
    }
    benchmark::DoNotOptimize(hits);
}

void BM_RayFirstHit_BruteForce(benchmark::State& state) {
    const Mesh& m = mesh();
    std::vector<ToctreeTriangle> tris;
    for (std::size_t t = 0; t < m.indices.size(); t += 3)
        tris.push_back(ToctreeTriangle{m.vertices[m.indices[t]], m.vertices[m.indices[t + 1]],
                                       m.vertices[m.indices[t + 2]], 0, 0});
    const std::vector<Ray>& r = rays();
    std::size_t i = 0;
    for (auto _ : state) {
        double best = std::numeric_limits<double>::infinity(), t, u, v;
        for (const ToctreeTriangle& tri : tris)
            if (tri.intersect(r[i].origin, r[i].direction, best, t, u, v))
                best = t;
        benchmark::DoNotOptimize(best);
        i = i + 1 == r.size() ? 0 : i + 1;
    }
}

#ifdef GRUNDEL_HAVE_EMBREE
struct EmbreeScene {
    RTCDevice device = rtcNewDevice("threads=1"); // one thread, as the octree builds
    RTCScene scene = nullptr;
    EmbreeScene() {
        const Mesh& m = mesh();
        scene = rtcNewScene(device);
        RTCGeometry geom = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
        auto* v = static_cast<float*>(rtcSetNewGeometryBuffer(geom, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3,
                                                              3 * sizeof(float), m.vertices.size()));
        for (std::size_t k = 0; k < m.vertices.size(); ++k) {
            v[3 * k] = m.vertices[k].x;
            v[3 * k + 1] = m.vertices[k].y;
            v[3 * k + 2] = m.vertices[k].z;
        }
        auto* idx = static_cast<unsigned int*>(rtcSetNewGeometryBuffer(
            geom, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, 3 * sizeof(unsigned int), m.indices.size() / 3));
        std::copy(m.indices.begin(), m.indices.end(), idx);
        rtcCommitGeometry(geom);
        rtcAttachGeometry(scene, geom);
        rtcReleaseGeometry(geom);
        rtcCommitScene(scene);
    }
    ~EmbreeScene() {
        rtcReleaseScene(scene);
        rtcReleaseDevice(device);
    }
};

void BM_TriangleBuild_Embree(benchmark::State& state) {
    mesh();
    for (auto _ : state) {
        EmbreeScene s;
        benchmark::DoNotOptimize(s.scene);
    }
}

void BM_RayFirstHit_Embree(benchmark::State& state) {
    static const EmbreeScene s;
    const std::vector<Ray>& r = rays();
    std::size_t i = 0, hits = 0;
    for (auto _ : state) {
        RTCIntersectContext context;
        rtcInitIntersectContext(&context);
        RTCRayHit rh{};
        rh.ray.org_x = static_cast<float>(r[i].origin.x);
        rh.ray.org_y = static_cast<float>(r[i].origin.y);
        rh.ray.org_z = static_cast<float>(r[i].origin.z);
        rh.ray.dir_x = static_cast<float>(r[i].direction.x);
        rh.ray.dir_y = static_cast<float>(r[i].direction.y);
        rh.ray.dir_z = static_cast<float>(r[i].direction.z);
        rh.ray.tnear = 0;
        rh.ray.tfar = std::numeric_limits<float>::infinity();
        rh.ray.mask = ~0u;
        rh.hit.geomID = RTC_INVALID_GEOMETRY_ID;
        rtcIntersect1(s.scene, &context, &rh);
        hits += rh.hit.geomID != RTC_INVALID_GEOMETRY_ID;
        i = i + 1 == r.size() ? 0 : i + 1;
    }
    benchmark::DoNotOptimize(hits);
}
#endif

} // namespace

// The library's case first in each group, all of a group in one time unit (bench/ratios.py
// compares the raw figures); arguments name the data size.
BENCHMARK(BM_PointBuild_Grundel)->Name("BM_PointBuild<Grundel>/1000000")->Unit(benchmark::kMillisecond);
#ifdef GRUNDEL_HAVE_NANOFLANN
BENCHMARK(BM_PointBuild_Nanoflann)->Name("BM_PointBuild<Nanoflann>/1000000")->Unit(benchmark::kMillisecond);
#endif
BENCHMARK(BM_Nearest_Grundel)->Name("BM_Nearest<Grundel>/1000000");
#ifdef GRUNDEL_HAVE_NANOFLANN
BENCHMARK(BM_Nearest_Nanoflann)->Name("BM_Nearest<Nanoflann>/1000000");
#endif
BENCHMARK(BM_Nearest_BruteForce)->Name("BM_Nearest<BruteForce>/1000000");
BENCHMARK(BM_TriangleBuild_Grundel)->Name("BM_TriangleBuild<Grundel>/100352")->Unit(benchmark::kMillisecond);
#ifdef GRUNDEL_HAVE_EMBREE
BENCHMARK(BM_TriangleBuild_Embree)->Name("BM_TriangleBuild<Embree>/100352")->Unit(benchmark::kMillisecond);
#endif
BENCHMARK(BM_RayFirstHit_Grundel)->Name("BM_RayFirstHit<Grundel>/100352");
#ifdef GRUNDEL_HAVE_EMBREE
BENCHMARK(BM_RayFirstHit_Embree)->Name("BM_RayFirstHit<Embree>/100352");
#endif
BENCHMARK(BM_RayFirstHit_BruteForce)->Name("BM_RayFirstHit<BruteForce>/100352");
