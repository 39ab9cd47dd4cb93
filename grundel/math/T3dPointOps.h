#pragma once

#include "grundel/math/TgeometryFamily.h"

#include <cassert>

namespace grundel::detail {

/// The operations of T3dDblPoint and T3dFltPoint (S = double or float): a
/// Cartesian point (x, y, z), that is a homogeneous point whose w is always
/// 1. A point minus a point is a vector, a point plus a vector a point; sums
/// of points and points times scalars are tuples. Nothing here throws.
template <class S>
class T3dPointOps {
    using F = TgeometryFamily<S>;
    using P3 = typename F::Point3;
    using P = typename F::Point;
    using V = typename F::Vector;
    using Tuple = typename F::Tuple;
    using M = typename F::Matrix;

public:
    static constexpr S kTolerance = F::kTolerance;

    // -- Components: 0 x, 1 y, 2 z --------------------------------------------

    S& operator[](unsigned int i) noexcept { return self().*component(i); }
    const S& operator[](unsigned int i) const noexcept { return self().*component(i); }
    S& operator()(short int i) noexcept { return self().*component(static_cast<unsigned int>(i)); }
    const S& operator()(short int i) const noexcept { return self().*component(static_cast<unsigned int>(i)); }

    P3& set(S x, S y, S z) noexcept {
        P3& p = self();
        p.x = x;
        p.y = y;
        p.z = z;
        return p;
    }

    // -- Points and vectors --------------------------------------------------------

    P3& operator+=(const V& v) noexcept { return set(self().x + v.x, self().y + v.y, self().z + v.z); }
    P3& operator-=(const V& v) noexcept { return set(self().x - v.x, self().y - v.y, self().z - v.z); }
    friend P3 operator+(P3 p, const V& v) noexcept { return p += v; }
    friend P3 operator-(P3 p, const V& v) noexcept { return p -= v; }
    /// The vector from b to a.
    friend V operator-(const P3& a, const P3& b) noexcept { return V(a.x - b.x, a.y - b.y, a.z - b.z); }
    /// The sum as a tuple (its w is 2).
    friend Tuple operator+(const P3& a, const P3& b) noexcept { return Tuple(a.x + b.x, a.y + b.y, a.z + b.z, 2); }
    /// (x d, y d, z d, d) as a tuple.
    friend Tuple operator*(const P3& p, S d) noexcept { return Tuple(p.x * d, p.y * d, p.z * d, d); }
    friend Tuple operator*(S d, const P3& p) noexcept { return p * d; }
    /// (x, y, z, 1) divided by d; undivided when |d| < kTolerance.
    friend Tuple operator/(const P3& p, S d) noexcept { return p.toTuple() /= d; }

    S distanceTo(const P3& o) const noexcept { return (self() - o).length(); }
    S distance2To(const P3& o) const noexcept { return (self() - o).norm(); }
    /// To the Cartesian form of o.
    S distanceTo(const P& o) const noexcept { return o.distanceTo(self()); }
    S distance2To(const P& o) const noexcept { return o.distance2To(self()); }

    // -- Matrices ----------------------------------------------------------------
    // The point is taken with w = 1. When the product's w is neither 1 nor 0
    // (a projective matrix) the result is divided by it.

    /// p = p * M.
    P3& postmultBy(const M& mat) noexcept { return setToProduct(P3(self()), mat); }
    /// p = M * p, p taken as a column.
    P3& premultBy(const M& mat) noexcept { return setToProduct(mat, P3(self())); }
    P3& operator*=(const M& mat) noexcept { return postmultBy(mat); }
    friend P3 operator*(P3 p, const M& mat) noexcept { return p.postmultBy(mat); }
    /// this = p * M.
    P3& setToProduct(const P3& p, const M& mat) noexcept {
        const auto& m = mat.m;
        return setProjected(p.x * m[0][0] + p.y * m[1][0] + p.z * m[2][0] + m[3][0],
                            p.x * m[0][1] + p.y * m[1][1] + p.z * m[2][1] + m[3][1],
                            p.x * m[0][2] + p.y * m[1][2] + p.z * m[2][2] + m[3][2],
                            p.x * m[0][3] + p.y * m[1][3] + p.z * m[2][3] + m[3][3]);
    }
    /// this = M * p, p as a column.
    P3& setToProduct(const M& mat, const P3& p) noexcept {
        const auto& m = mat.m;
        return setProjected(m[0][0] * p.x + m[0][1] * p.y + m[0][2] * p.z + m[0][3],
                            m[1][0] * p.x + m[1][1] * p.y + m[1][2] * p.z + m[1][3],
                            m[2][0] * p.x + m[2][1] * p.y + m[2][2] * p.z + m[2][3],
                            m[3][0] * p.x + m[3][1] * p.y + m[3][2] * p.z + m[3][3]);
    }

    // -- Comparisons -------------------------------------------------------------

    /// The squared distance is at most tolerance² (equality counts).
    bool equivalent(const P3& o, S tolerance = kTolerance) const noexcept {
        return (self() - o).norm() <= tolerance * tolerance;
    }

    /// (x, y, z, 1).
    Tuple toTuple() const noexcept { return Tuple(self().x, self().y, self().z, 1); }

protected:
    T3dPointOps() = default;

private:
    P3& self() noexcept { return static_cast<P3&>(*this); }
    const P3& self() const noexcept { return static_cast<const P3&>(*this); }
    static S P3::*component(unsigned int i) noexcept {
        assert(i < 3);
        constexpr S P3::*members[3] = {&P3::x, &P3::y, &P3::z};
        return members[i];
    }
    P3& setProjected(S x, S y, S z, S w) noexcept {
        if (w == S(1) || w == S(0))
            return set(x, y, z);
        const S r = S(1) / w;
        return set(x * r, y * r, z * r);
    }
};

} // namespace grundel::detail
