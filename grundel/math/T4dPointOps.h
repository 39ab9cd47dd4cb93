#pragma once

#include "grundel/math/TgeometryFamily.h"

#include <cassert>
#include <cmath>

namespace grundel::detail {

/// The operations of T4dDblPoint and T4dFltPoint (S = double or float): a
/// homogeneous point (x, y, z, w) standing for (x/w, y/w, z/w), in one of
/// three forms: Cartesian (w = 1), rational (x, y, z already divided by w)
/// or homogeneous (x, y, z multiplied by w).
///
/// A point minus a point is a vector and a point plus a vector is a point;
/// sums of points and points times scalars are tuples (affine combinations
/// in progress). The form conversions test w bit-exactly against 1 first and
/// then do nothing; those that would divide by a zero w, and point-vector
/// sums with a zero w, leave the point unchanged. Nothing here throws.
template <class S>
class T4dPointOps {
    using F = TgeometryFamily<S>;
    using P = typename F::Point;
    using P3 = typename F::Point3;
    using V = typename F::Vector;
    using Tuple = typename F::Tuple;
    using M = typename F::Matrix;

public:
    static constexpr S kTolerance = F::kTolerance;

    // -- Components: 0 x, 1 y, 2 z, 3 w -----------------------------------------

    S& operator[](unsigned int i) noexcept { return self().*component(i); }
    const S& operator[](unsigned int i) const noexcept { return self().*component(i); }
    S& operator()(short int i) noexcept { return self().*component(static_cast<unsigned int>(i)); }
    const S& operator()(short int i) const noexcept { return self().*component(static_cast<unsigned int>(i)); }

    P& set(S x, S y, S z, S w = 1) noexcept {
        P& p = self();
        p.x = x;
        p.y = y;
        p.z = z;
        p.w = w;
        return p;
    }

    // -- Forms -------------------------------------------------------------------

    /// x, y, z times 1/w, then w = 1. Unchanged when w is 1 or 0.
    P& cartesianizeIt() noexcept {
        P& p = self();
        if (p.w == S(1) || p.w == S(0))
            return p;
        const S r = S(1) / p.w;
        return set(p.x * r, p.y * r, p.z * r, 1);
    }
    /// x, y, z times 1/w, w kept. Unchanged when w is 1 or 0.
    P& rationalizeIt() noexcept {
        P& p = self();
        if (p.w == S(1) || p.w == S(0))
            return p;
        const S r = S(1) / p.w;
        return set(p.x * r, p.y * r, p.z * r, p.w);
    }
    /// x, y, z times w, w kept. Unchanged when w is 1.
    P& homogenizeIt() noexcept {
        P& p = self();
        if (p.w == S(1))
            return p;
        return set(p.x * p.w, p.y * p.w, p.z * p.w, p.w);
    }
    [[nodiscard]] P cartesian() const noexcept { return P(self()).cartesianizeIt(); }
    [[nodiscard]] P rational() const noexcept { return P(self()).rationalizeIt(); }
    [[nodiscard]] P homogenous() const noexcept { return P(self()).homogenizeIt(); }

    // -- Points and vectors --------------------------------------------------------

    /// Made Cartesian, then moved by v (w = 1). Unchanged when w is 0.
    P& operator+=(const V& v) noexcept {
        P& p = self();
        if (p.w == S(0))
            return p;
        cartesianizeIt();
        return set(p.x + v.x, p.y + v.y, p.z + v.z, 1);
    }
    P& operator-=(const V& v) noexcept { return *this += -v; }
    friend P operator+(P p, const V& v) noexcept { return p += v; }
    friend P operator-(P p, const V& v) noexcept { return p -= v; }

    /// The vector from b to a, both taken Cartesian.
    friend V operator-(const P& a, const P& b) noexcept {
        if (a.w == S(1) && b.w == S(1))
            return V(a.x - b.x, a.y - b.y, a.z - b.z);
        const P ca = a.cartesian(), cb = b.cartesian();
        return V(ca.x - cb.x, ca.y - cb.y, ca.z - cb.z);
    }
    /// Component-wise sum, w included, as a tuple.
    friend Tuple operator+(const P& a, const P& b) noexcept { return Tuple(a.x + b.x, a.y + b.y, a.z + b.z, a.w + b.w); }
    /// All four components scaled, as a tuple.
    friend Tuple operator*(const P& p, S d) noexcept { return Tuple(p.x * d, p.y * d, p.z * d, p.w * d); }
    friend Tuple operator*(S d, const P& p) noexcept { return p * d; }
    /// All four components divided, as a tuple; the point's own tuple when |d| < kTolerance.
    friend Tuple operator/(const P& p, S d) noexcept { return p.toTuple() /= d; }

    S distanceTo(const P& o) const noexcept { return (self() - o).length(); }
    S distance2To(const P& o) const noexcept { return (self() - o).norm(); }
    S distanceTo(const P3& o) const noexcept { return distanceTo(P(o.x, o.y, o.z, 1)); }
    S distance2To(const P3& o) const noexcept { return distance2To(P(o.x, o.y, o.z, 1)); }

    // -- Matrices: all 16 elements, w included ---------------------------------------

    /// p = p * M.
    P& postmultBy(const M& mat) noexcept { return setToProduct(P(self()), mat); }
    /// p = M * p, p taken as a column.
    P& premultBy(const M& mat) noexcept { return setToProduct(mat, P(self())); }
    P& operator*=(const M& mat) noexcept { return postmultBy(mat); }
    friend P operator*(P p, const M& mat) noexcept { return p.postmultBy(mat); }
    /// this = p * M.
    P& setToProduct(const P& p, const M& mat) noexcept {
        const auto& m = mat.m;
        return set(p.x * m[0][0] + p.y * m[1][0] + p.z * m[2][0] + p.w * m[3][0],
                   p.x * m[0][1] + p.y * m[1][1] + p.z * m[2][1] + p.w * m[3][1],
                   p.x * m[0][2] + p.y * m[1][2] + p.z * m[2][2] + p.w * m[3][2],
                   p.x * m[0][3] + p.y * m[1][3] + p.z * m[2][3] + p.w * m[3][3]);
    }
    /// this = M * p, p as a column.
    P& setToProduct(const M& mat, const P& p) noexcept {
        const auto& m = mat.m;
        return set(m[0][0] * p.x + m[0][1] * p.y + m[0][2] * p.z + m[0][3] * p.w,
                   m[1][0] * p.x + m[1][1] * p.y + m[1][2] * p.z + m[1][3] * p.w,
                   m[2][0] * p.x + m[2][1] * p.y + m[2][2] * p.z + m[2][3] * p.w,
                   m[3][0] * p.x + m[3][1] * p.y + m[3][2] * p.z + m[3][3] * p.w);
    }

    // -- Comparisons -------------------------------------------------------------

    /// The squared four-component distance, w included, is at most
    /// tolerance²: with tolerance 0 a point is equivalent to itself.
    bool equivalent(const P& o, S tolerance = kTolerance) const noexcept {
        const P& p = self();
        const S dx = p.x - o.x, dy = p.y - o.y, dz = p.z - o.z, dw = p.w - o.w;
        return dx * dx + dy * dy + dz * dz + dw * dw <= tolerance * tolerance;
    }

    /// (x, y, z, w).
    Tuple toTuple() const noexcept { return Tuple(self().x, self().y, self().z, self().w); }

protected:
    T4dPointOps() = default;

private:
    P& self() noexcept { return static_cast<P&>(*this); }
    const P& self() const noexcept { return static_cast<const P&>(*this); }
    static S P::*component(unsigned int i) noexcept {
        assert(i < 4);
        constexpr S P::*members[4] = {&P::x, &P::y, &P::z, &P::w};
        return members[i];
    }
};

} // namespace grundel::detail
