#pragma once

#include "grundel/math/TgeometryFamily.h"

#include <cassert>

namespace grundel::detail {

/// The operations of Ttuple and TfltTuple (S = double or float): a free
/// four-component value, the type of an affine combination in progress
/// ((a + b) * 0.5, a weighted sum of points). A 4-D point counts with its w,
/// a 3-D point with w = 1 and a vector with w = 0, so the w of a finished
/// combination tells what it is. Converted back to a point or a vector by
/// that type's constructor. Nothing here throws.
template <class S>
class TtupleOps {
    using F = TgeometryFamily<S>;
    using T = typename F::Tuple;
    using P = typename F::Point;
    using P3 = typename F::Point3;
    using V = typename F::Vector;
    using M = typename F::Matrix;

public:
    static constexpr S kTolerance = F::kTolerance;

    // -- Components: 0 x, 1 y, 2 z, 3 w -----------------------------------------

    S& operator[](unsigned int i) noexcept { return self().*component(i); }
    const S& operator[](unsigned int i) const noexcept { return self().*component(i); }
    S& operator()(short int i) noexcept { return self().*component(static_cast<unsigned int>(i)); }
    const S& operator()(short int i) const noexcept { return self().*component(static_cast<unsigned int>(i)); }

    T& set(S x, S y, S z, S w) noexcept {
        T& t = self();
        t.x = x;
        t.y = y;
        t.z = z;
        t.w = w;
        return t;
    }
    /// All four components 0.
    T& clear() noexcept { return set(0, 0, 0, 0); }

    // -- Arithmetic --------------------------------------------------------------

    T& operator+=(const T& o) noexcept { return add(o.x, o.y, o.z, o.w); }
    T& operator-=(const T& o) noexcept { return add(-o.x, -o.y, -o.z, -o.w); }
    T& operator+=(const P& p) noexcept { return add(p.x, p.y, p.z, p.w); }
    T& operator-=(const P& p) noexcept { return add(-p.x, -p.y, -p.z, -p.w); }
    T& operator+=(const P3& p) noexcept { return add(p.x, p.y, p.z, 1); }
    T& operator-=(const P3& p) noexcept { return add(-p.x, -p.y, -p.z, -1); }
    T& operator+=(const V& v) noexcept { return add(v.x, v.y, v.z, 0); }
    T& operator-=(const V& v) noexcept { return add(-v.x, -v.y, -v.z, 0); }
    T& operator*=(S d) noexcept { return set(self().x * d, self().y * d, self().z * d, self().w * d); }
    /// Skipped, leaving the tuple unchanged, when |d| < kTolerance.
    T& operator/=(S d) noexcept {
        if (absOf(d) < kTolerance)
            return self();
        return *this *= S(1) / d;
    }
    T operator-() const noexcept { return T(-self().x, -self().y, -self().z, -self().w); }

    friend T operator+(T a, const T& b) noexcept { return a += b; }
    friend T operator-(T a, const T& b) noexcept { return a -= b; }
    friend T operator+(T a, const P& b) noexcept { return a += b; }
    friend T operator-(T a, const P& b) noexcept { return a -= b; }
    friend T operator+(const P& a, T b) noexcept { return b += a; }
    friend T operator+(T a, const P3& b) noexcept { return a += b; }
    friend T operator-(T a, const P3& b) noexcept { return a -= b; }
    friend T operator+(const P3& a, T b) noexcept { return b += a; }
    friend T operator+(T a, const V& b) noexcept { return a += b; }
    friend T operator-(T a, const V& b) noexcept { return a -= b; }
    friend T operator+(const V& a, const T& b) noexcept { return a.toTuple() += b; }
    friend T operator-(const V& a, const T& b) noexcept { return a.toTuple() -= b; }
    friend T operator*(T a, S d) noexcept { return a *= d; }
    friend T operator*(S d, T a) noexcept { return a *= d; }
    /// The tuple unchanged when |d| < kTolerance.
    friend T operator/(T a, S d) noexcept { return a /= d; }

    // -- Matrices: all 16 elements, as for a 4-D point ------------------------------

    /// t = t * M.
    T& postmultBy(const M& mat) noexcept { return setToProduct(T(self()), mat); }
    /// t = M * t, t taken as a column.
    T& premultBy(const M& mat) noexcept { return setToProduct(mat, T(self())); }
    T& operator*=(const M& mat) noexcept { return postmultBy(mat); }
    /// this = t * M.
    T& setToProduct(const T& t, const M& mat) noexcept {
        const auto& m = mat.m;
        return set(t.x * m[0][0] + t.y * m[1][0] + t.z * m[2][0] + t.w * m[3][0],
                   t.x * m[0][1] + t.y * m[1][1] + t.z * m[2][1] + t.w * m[3][1],
                   t.x * m[0][2] + t.y * m[1][2] + t.z * m[2][2] + t.w * m[3][2],
                   t.x * m[0][3] + t.y * m[1][3] + t.z * m[2][3] + t.w * m[3][3]);
    }
    /// this = M * t, t as a column.
    T& setToProduct(const M& mat, const T& t) noexcept {
        const auto& m = mat.m;
        return set(m[0][0] * t.x + m[0][1] * t.y + m[0][2] * t.z + m[0][3] * t.w,
                   m[1][0] * t.x + m[1][1] * t.y + m[1][2] * t.z + m[1][3] * t.w,
                   m[2][0] * t.x + m[2][1] * t.y + m[2][2] * t.z + m[2][3] * t.w,
                   m[3][0] * t.x + m[3][1] * t.y + m[3][2] * t.z + m[3][3] * t.w);
    }

    /// The squared four-component distance is at most tolerance².
    bool equivalent(const T& o, S tolerance = kTolerance) const noexcept {
        const T& t = self();
        const S dx = t.x - o.x, dy = t.y - o.y, dz = t.z - o.z, dw = t.w - o.w;
        return dx * dx + dy * dy + dz * dz + dw * dw <= tolerance * tolerance;
    }

protected:
    TtupleOps() = default;

private:
    T& self() noexcept { return static_cast<T&>(*this); }
    const T& self() const noexcept { return static_cast<const T&>(*this); }
    static S T::*component(unsigned int i) noexcept {
        assert(i < 4);
        constexpr S T::*members[4] = {&T::x, &T::y, &T::z, &T::w};
        return members[i];
    }
    T& add(S x, S y, S z, S w) noexcept { return set(self().x + x, self().y + y, self().z + z, self().w + w); }
};

} // namespace grundel::detail
