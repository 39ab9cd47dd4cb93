// The double matrix beside Eigen's fixed-size types and a plain loop over
// raw arrays: 4x4 products, both inverses, the determinant, and points and
// vectors times a matrix. Matrices come in batches of 256 so that one
// iteration does measurable work; points and vectors in arrays of 1M.
// Without Eigen installed the Eigen cases are left out.

#include "grundel/math/T4dDblMatrix.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#ifdef GRUNDEL_HAVE_EIGEN
#include <Eigen/Dense>
#endif

namespace {

struct Grundel {};
struct Eigen3 {};
struct PlainLoop {};

constexpr int kBatch = 256;

/// Well-conditioned affine matrices with positive determinants (rotation,
/// scales in [0.5, 2], translation), the same on every run.
const std::vector<T4dDblMatrix>& matrices() {
    static const std::vector<T4dDblMatrix> all = [] {
        std::mt19937 rng(7);
        std::uniform_real_distribution<double> angle(-3, 3), factor(0.5, 2), offset(-10, 10);
        std::vector<T4dDblMatrix> v;
        for (int i = 0; i < 2 * kBatch; ++i) {
            const double a = angle(rng), b = angle(rng), c = std::cos(a), s = std::sin(a);
            T4dDblMatrix m(c, s, 0, 0, -s, c, 0, 0, 0, 0, 1, 0, offset(rng), offset(rng), offset(rng), 1);
            const double c2 = std::cos(b), s2 = std::sin(b);
            m *= T4dDblMatrix(1, 0, 0, 0, 0, c2, s2, 0, 0, -s2, c2, 0, 0, 0, 0, 1);
            const double f[3] = {factor(rng), factor(rng), factor(rng)};
            m.preScale(f);
            v.push_back(m);
        }
        return v;
    }();
    return all;
}

const T4dDblMatrix& transform() { return matrices()[0]; }

template <class M, class Convert>
std::vector<M> converted(Convert convert) {
    std::vector<M> out;
    for (const T4dDblMatrix& m : matrices())
        out.push_back(convert(m));
    return out;
}

/// 1M points with w = 1 (or vectors), as flat doubles.
std::vector<double> coordinates(int components) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> d(-100, 100);
    std::vector<double> v(static_cast<std::size_t>(components) << 20);
    for (std::size_t i = 0; i < v.size(); ++i)
        v[i] = (components == 4 && i % 4 == 3) ? 1.0 : d(rng);
    return v;
}

template <class Impl>
void BM_MatrixProduct(benchmark::State& state);
template <class Impl>
void BM_MatrixInvert(benchmark::State& state);
template <class Impl>
void BM_MatrixFastInvert(benchmark::State& state);
template <class Impl>
void BM_MatrixDet4x4(benchmark::State& state);
template <class Impl>
void BM_PointTimesMatrix(benchmark::State& state);
template <class Impl>
void BM_VectorTimesMatrix(benchmark::State& state);

// -- The library ------------------------------------------------------------------

template <>
void BM_MatrixProduct<Grundel>(benchmark::State& state) {
    const std::vector<T4dDblMatrix>& in = matrices();
    std::vector<T4dDblMatrix> out(kBatch);
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i)
            out[i].setToProduct(in[i], in[i + kBatch]);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

template <>
void BM_MatrixInvert<Grundel>(benchmark::State& state) {
    const std::vector<T4dDblMatrix>& in = matrices();
    std::vector<T4dDblMatrix> out(kBatch);
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i)
            out[i] = in[i].inverse();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

template <>
void BM_MatrixFastInvert<Grundel>(benchmark::State& state) {
    const std::vector<T4dDblMatrix>& in = matrices();
    std::vector<T4dDblMatrix> out(kBatch);
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i)
            out[i] = in[i].fastInverse();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

template <>
void BM_MatrixDet4x4<Grundel>(benchmark::State& state) {
    const std::vector<T4dDblMatrix>& in = matrices();
    for (auto _ : state) {
        double sum = 0;
        for (int i = 0; i < kBatch; ++i)
            sum += in[i].det4x4();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

template <>
void BM_PointTimesMatrix<Grundel>(benchmark::State& state) {
    const std::vector<double> flat = coordinates(4);
    std::vector<T4dDblPoint> in(flat.size() / 4, T4dDblPoint(TnoInit())), out(in.size(), T4dDblPoint(TnoInit()));
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i].set(flat[4 * i], flat[4 * i + 1], flat[4 * i + 2], flat[4 * i + 3]);
    const T4dDblMatrix& m = transform();
    for (auto _ : state) {
        for (std::size_t i = 0; i < in.size(); ++i)
            out[i] = in[i] * m;
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(in.size()));
}

template <>
void BM_VectorTimesMatrix<Grundel>(benchmark::State& state) {
    const std::vector<double> flat = coordinates(3);
    std::vector<T4dDblVector> in(flat.size() / 3, T4dDblVector(TnoInit())), out(in.size(), T4dDblVector(TnoInit()));
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i].set(flat[3 * i], flat[3 * i + 1], flat[3 * i + 2]);
    const T4dDblMatrix& m = transform();
    for (auto _ : state) {
        for (std::size_t i = 0; i < in.size(); ++i)
            out[i] = in[i] * m;
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(in.size()));
}

// -- A plain loop over raw arrays -------------------------------------------------------

template <>
void BM_MatrixProduct<PlainLoop>(benchmark::State& state) {
    std::vector<double> in(2 * kBatch * 16), out(kBatch * 16);
    for (int i = 0; i < 2 * kBatch; ++i)
        for (int k = 0; k < 16; ++k)
            in[16 * i + k] = matrices()[i].array()[k];
    for (auto _ : state) {
        for (int n = 0; n < kBatch; ++n) {
            const double* a = &in[16 * n];
            const double* b = &in[16 * (n + kBatch)];
            double* r = &out[16 * n];
            for (int i = 0; i < 4; ++i)
                for (int j = 0; j < 4; ++j) {
                    double s = 0;
                    for (int k = 0; k < 4; ++k)
                        s += a[4 * i + k] * b[4 * k + j];
                    r[4 * i + j] = s;
                }
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

template <>
void BM_PointTimesMatrix<PlainLoop>(benchmark::State& state) {
    const std::vector<double> in = coordinates(4);
    std::vector<double> out(in.size());
    const double* m = transform().array();
    for (auto _ : state) {
        for (std::size_t p = 0; p < in.size(); p += 4)
            for (int j = 0; j < 4; ++j)
                out[p + j] = in[p] * m[j] + in[p + 1] * m[4 + j] + in[p + 2] * m[8 + j] + in[p + 3] * m[12 + j];
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(in.size() / 4));
}

template <>
void BM_VectorTimesMatrix<PlainLoop>(benchmark::State& state) {
    const std::vector<double> in = coordinates(3);
    std::vector<double> out(in.size());
    const double* m = transform().array();
    for (auto _ : state) {
        for (std::size_t v = 0; v < in.size(); v += 3)
            for (int j = 0; j < 3; ++j)
                out[v + j] = in[v] * m[j] + in[v + 1] * m[4 + j] + in[v + 2] * m[8 + j];
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(in.size() / 3));
}

BENCHMARK_TEMPLATE(BM_MatrixProduct, Grundel);
BENCHMARK_TEMPLATE(BM_MatrixProduct, PlainLoop);
BENCHMARK_TEMPLATE(BM_MatrixInvert, Grundel);
BENCHMARK_TEMPLATE(BM_MatrixFastInvert, Grundel);
BENCHMARK_TEMPLATE(BM_MatrixDet4x4, Grundel);
BENCHMARK_TEMPLATE(BM_PointTimesMatrix, Grundel);
BENCHMARK_TEMPLATE(BM_PointTimesMatrix, PlainLoop);
BENCHMARK_TEMPLATE(BM_VectorTimesMatrix, Grundel);
BENCHMARK_TEMPLATE(BM_VectorTimesMatrix, PlainLoop);

// -- Eigen ------------------------------------------------------------------------

#ifdef GRUNDEL_HAVE_EIGEN

Eigen::Matrix4d toEigen(const T4dDblMatrix& m) {
    Eigen::Matrix4d e;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            e(i, j) = m.m[i][j];
    return e;
}

using EigenMatrices = std::vector<Eigen::Matrix4d>;

template <>
void BM_MatrixProduct<Eigen3>(benchmark::State& state) {
    const EigenMatrices in = converted<Eigen::Matrix4d>(toEigen);
    EigenMatrices out(kBatch);
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i)
            out[i].noalias() = in[i] * in[i + kBatch];
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

template <>
void BM_MatrixInvert<Eigen3>(benchmark::State& state) {
    const EigenMatrices in = converted<Eigen::Matrix4d>(toEigen);
    EigenMatrices out(kBatch);
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i)
            out[i] = in[i].partialPivLu().inverse();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

template <>
void BM_MatrixFastInvert<Eigen3>(benchmark::State& state) {
    const EigenMatrices in = converted<Eigen::Matrix4d>(toEigen);
    EigenMatrices out(kBatch);
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i)
            out[i] = in[i].inverse();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

template <>
void BM_MatrixDet4x4<Eigen3>(benchmark::State& state) {
    const EigenMatrices in = converted<Eigen::Matrix4d>(toEigen);
    for (auto _ : state) {
        double sum = 0;
        for (int i = 0; i < kBatch; ++i)
            sum += in[i].determinant();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

template <>
void BM_PointTimesMatrix<Eigen3>(benchmark::State& state) {
    const std::vector<double> flat = coordinates(4);
    std::vector<Eigen::RowVector4d> in(flat.size() / 4), out(in.size());
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i] << flat[4 * i], flat[4 * i + 1], flat[4 * i + 2], flat[4 * i + 3];
    const Eigen::Matrix4d m = toEigen(transform());
    for (auto _ : state) {
        for (std::size_t i = 0; i < in.size(); ++i)
            out[i].noalias() = in[i] * m;
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(in.size()));
}

template <>
void BM_VectorTimesMatrix<Eigen3>(benchmark::State& state) {
    const std::vector<double> flat = coordinates(3);
    std::vector<Eigen::RowVector3d> in(flat.size() / 3), out(in.size());
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i] << flat[3 * i], flat[3 * i + 1], flat[3 * i + 2];
    const Eigen::Matrix3d m = toEigen(transform()).topLeftCorner<3, 3>();
    for (auto _ : state) {
        for (std::size_t i = 0; i < in.size(); ++i)
            out[i].noalias() = in[i] * m;
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(in.size()));
}

BENCHMARK_TEMPLATE(BM_MatrixProduct, Eigen3);
BENCHMARK_TEMPLATE(BM_MatrixInvert, Eigen3);
BENCHMARK_TEMPLATE(BM_MatrixFastInvert, Eigen3);
BENCHMARK_TEMPLATE(BM_MatrixDet4x4, Eigen3);
BENCHMARK_TEMPLATE(BM_PointTimesMatrix, Eigen3);
BENCHMARK_TEMPLATE(BM_VectorTimesMatrix, Eigen3);

#else

[[maybe_unused]] const bool kNoEigen = [] {
    benchmark::AddCustomContext("eigen", "not installed: the Eigen cases are left out");
    return true;
}();

#endif

} // namespace
