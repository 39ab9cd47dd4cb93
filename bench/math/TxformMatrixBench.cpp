// Transforms beside Eigen's Affine3d: composing every piece (scale, shear,
// Euler angles with orientations, both pivots with their translations,
// translation) into one matrix, factoring a matrix back into scale, shear,
// angles and translation, and Euler angles to a matrix and back. The same
// 4096 random transforms go to both; one iteration handles all of them.
// Eigen works with column vectors, so it composes the transposed factors in
// reverse; the row-vector order "xyz" is its Z * Y * X with eulerAngles(2, 1, 0).
// Without Eigen installed the Eigen cases are left out.

#include "grundel/math/TxformMatrix.h"

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#ifdef GRUNDEL_HAVE_EIGEN
#include <Eigen/Geometry>
#include <Eigen/QR>
#endif

namespace {

struct Grundel {};
struct Eigen3 {};

constexpr int kCount = 4096;

struct Pieces {
    double scale[3], shear[3], angles[3], orient[4], joint[4];
    double scalePivot[3], scaleTranslation[3], rotatePivot[3], rotateTranslation[3], translation[3];
};

const std::vector<Pieces>& pieces() {
    static const std::vector<Pieces> all = [] {
        std::mt19937 rng(5);
        std::uniform_real_distribution<double> d(-1, 1), f(0.5, 2), a(-3, 3);
        std::vector<Pieces> v(kCount);
        for (Pieces& p : v) {
            for (int i = 0; i < 3; ++i) {
                p.scale[i] = f(rng);
                p.shear[i] = d(rng);
                p.angles[i] = a(rng);
                p.scalePivot[i] = d(rng);
                p.scaleTranslation[i] = d(rng);
                p.rotatePivot[i] = d(rng);
                p.rotateTranslation[i] = d(rng);
                p.translation[i] = 10 * d(rng);
            }
            const Tquaternion o = Tquaternion(d(rng), d(rng), d(rng), d(rng)).normal();
            const Tquaternion j = Tquaternion(d(rng), d(rng), d(rng), d(rng)).normal();
            const double oq[4] = {o.x, o.y, o.z, o.w}, jq[4] = {j.x, j.y, j.z, j.w};
            for (int i = 0; i < 4; ++i) {
                p.orient[i] = oq[i];
                p.joint[i] = jq[i];
            }
        }
        return v;
    }();
    return all;
}

T4dDblVector vec(const double (&v)[3]) { return T4dDblVector(v[0], v[1], v[2]); }

// Opens the rotation cache so that each composition rebuilds it from the angles.
class BenchXform : public TxformMatrix {
public:
    void stale() { markRotationStale(); }
    void decompose(const T4dDblMatrix& m) { extractVectorsFromMatrix(m); }
};

std::vector<BenchXform> xforms() {
    std::vector<BenchXform> out(kCount);
    for (int i = 0; i < kCount; ++i) {
        const Pieces& p = pieces()[static_cast<std::size_t>(i)];
        BenchXform& x = out[static_cast<std::size_t>(i)];
        x.scaleTo(Tscale(p.scale[0], p.scale[1], p.scale[2]), kPreTransform);
        x.shearTo(Tshear(p.shear[0], p.shear[1], p.shear[2]), kPreTransform);
        x.rotateTo(TrotateXYZ(p.angles[0], p.angles[1], p.angles[2]), kPreTransform);
        x.setRotateOrient(Tquaternion(p.orient[0], p.orient[1], p.orient[2], p.orient[3]), kPreTransform, false);
        x.setJointOrient(Tquaternion(p.joint[0], p.joint[1], p.joint[2], p.joint[3]), kPreTransform, false);
        const T4dDblVector sp = vec(p.scalePivot), rp = vec(p.rotatePivot);
        x.setScalePivot(T4dDblPoint(sp.x, sp.y, sp.z), kPreTransform, false);
        x.setRotatePivot(T4dDblPoint(rp.x, rp.y, rp.z), kPreTransform, false);
        x.setScaleTranslation(vec(p.scaleTranslation), kPreTransform);
        x.setRotateTranslation(vec(p.rotateTranslation), kPreTransform);
        x.translateTo(vec(p.translation), kPreTransform);
    }
    return out;
}

template <class Impl>
void BM_XformCompose(benchmark::State& state);
template <class Impl>
void BM_XformDecompose(benchmark::State& state);
template <class Impl>
void BM_EulerRoundTrip(benchmark::State& state);

// -- The library ------------------------------------------------------------------

template <>
void BM_XformCompose<Grundel>(benchmark::State& state) {
    std::vector<BenchXform> in = xforms();
    std::vector<T4dDblMatrix> out(kCount);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i) {
            in[i].stale();
            out[i] = in[i].matrix();
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

template <>
void BM_XformDecompose<Grundel>(benchmark::State& state) {
    const std::vector<BenchXform> src = xforms();
    std::vector<T4dDblMatrix> in;
    for (const BenchXform& x : src)
        in.push_back(x.matrix());
    std::vector<BenchXform> out(kCount);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i)
            out[i].decompose(in[i]);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

template <>
void BM_EulerRoundTrip<Grundel>(benchmark::State& state) {
    std::vector<TrotateXYZ> out(kCount);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i) {
            const double(&a)[3] = pieces()[i].angles;
            const T4dDblMatrix m = TrotateXYZ(a[0], a[1], a[2]);
            out[i] = TrotateXYZ::decompose1(m, kRotXYZ);
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

BENCHMARK_TEMPLATE(BM_XformCompose, Grundel);
BENCHMARK_TEMPLATE(BM_XformDecompose, Grundel);
BENCHMARK_TEMPLATE(BM_EulerRoundTrip, Grundel);

// -- Eigen ------------------------------------------------------------------------

#ifdef GRUNDEL_HAVE_EIGEN

using Eigen::Affine3d;
using Eigen::AngleAxisd;
using Eigen::Matrix3d;
using Eigen::Quaterniond;
using Eigen::Vector3d;

Vector3d ev(const double (&v)[3]) { return Vector3d(v[0], v[1], v[2]); }

// Quaternions compose in the other order for column vectors, so the
// orientation goes last here and the joint orientation first.
Affine3d composeEigen(const Pieces& p) {
    const Quaterniond r = AngleAxisd(p.angles[2], Vector3d::UnitZ()) * AngleAxisd(p.angles[1], Vector3d::UnitY()) *
                          AngleAxisd(p.angles[0], Vector3d::UnitX());
    const Quaterniond o(p.orient[3], p.orient[0], p.orient[1], p.orient[2]);
    const Quaterniond j(p.joint[3], p.joint[0], p.joint[1], p.joint[2]);
    Matrix3d shear = Matrix3d::Identity();
    shear(0, 1) = p.shear[0];
    shear(0, 2) = p.shear[1];
    shear(1, 2) = p.shear[2];
    const Vector3d sp = ev(p.scalePivot), rp = ev(p.rotatePivot);
    Affine3d m = Affine3d::Identity();
    m.translate(ev(p.translation) + ev(p.rotateTranslation) + rp);
    m.rotate(j * r * o);
    m.translate(ev(p.scaleTranslation) + sp - rp);
    m.linear() *= shear;
    m.scale(ev(p.scale));
    m.translate(-sp);
    return m;
}

template <>
void BM_XformCompose<Eigen3>(benchmark::State& state) {
    std::vector<Affine3d> out(kCount);
    // The same matrix as the library's, transposed.
    const T4dDblMatrix check = xforms()[0].matrix();
    const Eigen::Map<const Eigen::Matrix<double, 4, 4, Eigen::RowMajor>> rows(&check.m[0][0]);
    if (!composeEigen(pieces()[0]).matrix().transpose().isApprox(rows, 1e-9))
        state.SkipWithError("Eigen composition disagrees with the library's");
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i)
            out[i] = composeEigen(pieces()[i]);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

struct EigenPieces {
    Vector3d scale, shear, angles, translation;
};

template <>
void BM_XformDecompose<Eigen3>(benchmark::State& state) {
    std::vector<Affine3d> in;
    for (const Pieces& p : pieces())
        in.push_back(composeEigen(p));
    std::vector<EigenPieces> out(kCount);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i) {
            // QR of the linear part: Q the rotation, R the scale times the shear.
            const Eigen::HouseholderQR<Matrix3d> qr(in[i].linear());
            Matrix3d q = qr.householderQ();
            Matrix3d r = qr.matrixQR().triangularView<Eigen::Upper>();
            for (int k = 0; k < 3; ++k)
                if (r(k, k) < 0) {
                    r.row(k) *= -1;
                    q.col(k) *= -1;
                }
            EigenPieces& e = out[i];
            e.scale = r.diagonal();
            e.shear = Vector3d(r(0, 1) / r(0, 0), r(0, 2) / r(0, 0), r(1, 2) / r(1, 1));
            e.angles = q.eulerAngles(2, 1, 0);
            e.translation = in[i].translation();
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

template <>
void BM_EulerRoundTrip<Eigen3>(benchmark::State& state) {
    std::vector<Vector3d> out(kCount);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i) {
            const double(&a)[3] = pieces()[i].angles;
            const Matrix3d m = (AngleAxisd(a[2], Vector3d::UnitZ()) * AngleAxisd(a[1], Vector3d::UnitY()) *
                                AngleAxisd(a[0], Vector3d::UnitX()))
                                   .toRotationMatrix();
            out[i] = m.eulerAngles(2, 1, 0);
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

BENCHMARK_TEMPLATE(BM_XformCompose, Eigen3);
BENCHMARK_TEMPLATE(BM_XformDecompose, Eigen3);
BENCHMARK_TEMPLATE(BM_EulerRoundTrip, Eigen3);

#else

[[maybe_unused]] const bool kNoEigen = [] {
    benchmark::AddCustomContext("eigen", "not installed: the Eigen cases are left out");
    return true;
}();

#endif

} // namespace
