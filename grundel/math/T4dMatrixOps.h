#pragma once

#include "grundel/core/Ttypes.h"
#include "grundel/math/TgeometryFamily.h"

#include <cassert>

namespace grundel::detail {

/// The operations of T4dDblMatrix and T4dFltMatrix (S = double or float): a
/// row-major 4x4 matrix acting on row vectors, p' = p * M, with the
/// translation in row 3 and, for an affine matrix, (0, 0, 0, 1) as the fourth
/// column. In a product A * B, A is applied first.
///
/// Degenerate input is absorbed, never reported: see invertIt and
/// fastInvertIt of each precision. Nothing here throws.
template <class S>
class T4dMatrixOps {
    using F = TgeometryFamily<S>;
    using M = typename F::Matrix;
    using V = typename F::Vector;
    using P = typename F::Point;

public:
    static constexpr S kTolerance = F::kTolerance;

    // -- Elements ----------------------------------------------------------------

    /// Row i (0..3), so that matrix[row][column] reads an element.
    S* operator[](unsigned int row) noexcept {
        assert(row < 4);
        return self().m[row];
    }
    const S* operator[](unsigned int row) const noexcept {
        assert(row < 4);
        return self().m[row];
    }
    /// Element i (0..15) in row-major order.
    S& operator()(short int i) noexcept {
        assert(i >= 0 && i < 16);
        return self().m[i / 4][i % 4];
    }
    const S& operator()(short int i) const noexcept {
        assert(i >= 0 && i < 16);
        return self().m[i / 4][i % 4];
    }
    /// The 16 elements in row-major order.
    S* array() noexcept { return &self().m[0][0]; }
    const S* array() const noexcept { return &self().m[0][0]; }

    // -- Setting -----------------------------------------------------------------

    M& setToIdentity() noexcept { return self() = M(); }
    /// Rows 0-2 take the axes, row 3 the origin's x, y, z; the fourth column
    /// becomes (0, 0, 0, 1). The matrix maps the unit axes onto the frame.
    M& setToFrame(const V& xAxis, const V& yAxis, const V& zAxis, const P& origin) noexcept {
        auto& m = self().m;
        setRow(m[0], xAxis.x, xAxis.y, xAxis.z, 0);
        setRow(m[1], yAxis.x, yAxis.y, yAxis.z, 0);
        setRow(m[2], zAxis.x, zAxis.y, zAxis.z, 0);
        setRow(m[3], origin.x, origin.y, origin.z, 1);
        return self();
    }

    // -- Arithmetic --------------------------------------------------------------

    M& operator+=(const M& o) noexcept { return combine(o, S(1)); }
    M& operator-=(const M& o) noexcept { return combine(o, S(-1)); }
    M& operator*=(S d) noexcept {
        for (auto& row : self().m)
            for (S& e : row)
                e *= d;
        return self();
    }
    friend M operator*(M a, S d) noexcept { return a *= d; }
    friend M operator*(S d, M a) noexcept { return a *= d; }

    // -- Products ----------------------------------------------------------------

    /// this = a * b (a applied first); a or b may be this matrix.
    M& setToProduct(const M& a, const M& b) noexcept {
        S r[4][4];
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j)
                r[i][j] = a.m[i][0] * b.m[0][j] + a.m[i][1] * b.m[1][j] + a.m[i][2] * b.m[2][j] +
                          a.m[i][3] * b.m[3][j];
        return assign(r);
    }
    /// this = o * this.
    M& premultBy(const M& o) noexcept { return setToProduct(o, self()); }
    /// this = this * o.
    M& postmultBy(const M& o) noexcept { return setToProduct(self(), o); }
    M& operator*=(const M& o) noexcept { return postmultBy(o); }
    friend M operator*(const M& a, const M& b) noexcept {
        M r{TnoInit()};
        return r.setToProduct(a, b);
    }

    /// this = a * b for affine a and b: the fourth columns are not read and
    /// the result's is (0, 0, 0, 1). a or b may be this matrix.
    M& affineProduct(const M& a, const M& b) noexcept {
        S r[4][4];
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 3; ++j)
                r[i][j] = a.m[i][0] * b.m[0][j] + a.m[i][1] * b.m[1][j] + a.m[i][2] * b.m[2][j];
            r[i][3] = 0;
        }
        for (int j = 0; j < 3; ++j)
            r[3][j] += b.m[3][j];
        r[3][3] = 1;
        return assign(r);
    }
    /// this = o * this, both affine.
    M& affinePremultBy(const M& o) noexcept { return affineProduct(o, self()); }
    /// this = this * o, both affine.
    M& affinePostmultBy(const M& o) noexcept { return affineProduct(self(), o); }

    /// M = T(t) * M: translates by t (three values) before this matrix acts.
    /// Only the translation row changes; the matrix is taken as affine.
    M& preTranslate(const S* t) noexcept {
        auto& m = self().m;
        for (int j = 0; j < 3; ++j)
            m[3][j] += t[0] * m[0][j] + t[1] * m[1][j] + t[2] * m[2][j];
        return self();
    }
    /// M = S(s) * M: scales by s (three values) before this matrix acts,
    /// that is row i (columns 0-2) times s[i].
    M& preScale(const S* s) noexcept {
        auto& m = self().m;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                m[i][j] *= s[i];
        return self();
    }

    // -- Derived matrices ------------------------------------------------------------

    M& transposeIt() noexcept {
        auto& m = self().m;
        for (int i = 0; i < 4; ++i)
            for (int j = i + 1; j < 4; ++j) {
                const S t = m[i][j];
                m[i][j] = m[j][i];
                m[j][i] = t;
            }
        return self();
    }
    [[nodiscard]] M transpose() const noexcept { return M(self()).transposeIt(); }

    /// The adjugate (transposed cofactors): M * adjoint(M) = det4x4(M) * I.
    M& adjointIt() noexcept {
        S r[4][4];
        adjugate(self().m, rowZeroCofactors(self().m), r);
        return assign(r);
    }
    [[nodiscard]] M adjoint() const noexcept { return M(self()).adjointIt(); }

    /// The inverse by the adjugate when the determinant is comfortably
    /// positive (above 9.999899747378751e-06 double, above 0 float); any
    /// other matrix, a mirroring one included, takes the pivoting invertIt
    /// of its precision.
    M& fastInvertIt() noexcept {
        auto& m = self().m;
        const Cofactors c = rowZeroCofactors(m);
        const S d = determinant(m, c);
        if (d <= F::kFastInverseThreshold)
            return self().invertIt();
        S r[4][4];
        adjugate(m, c, r);
        const S f = S(1) / d;
        for (auto& row : r)
            for (S& e : row)
                e *= f;
        return assign(r);
    }
    [[nodiscard]] M fastInverse() const noexcept { return M(self()).fastInvertIt(); }

    /// Re-orthonormalises the rotation block: X = normal(row 0), Z =
    /// normal(X x row 1), Y = normal(Z x X) become rows 0-2. Row 3 and the
    /// fourth column are untouched.
    M& homogenizeIt() noexcept {
        auto& m = self().m;
        const V x = V(m[0][0], m[0][1], m[0][2]).normal();
        const V z = x.cross(V(m[1][0], m[1][1], m[1][2])).normal();
        const V y = z.cross(x).normal();
        setRow3(m[0], x);
        setRow3(m[1], y);
        setRow3(m[2], z);
        return self();
    }
    [[nodiscard]] M homogenize() const noexcept { return M(self()).homogenizeIt(); }

    /// The matrix for surface normals: translation row zeroed, inverted
    /// (invertIt of the precision), transposed.
    M& convertItForNormals() noexcept {
        auto& m = self().m;
        m[3][0] = m[3][1] = m[3][2] = 0;
        self().invertIt();
        return transposeIt();
    }
    [[nodiscard]] M convertForNormals() const noexcept { return M(self()).convertItForNormals(); }

    // -- Measures ----------------------------------------------------------------

    /// Determinant of the upper-left 3x3 block.
    S det3x3() const noexcept {
        const auto& m = self().m;
        return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
               m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
    }
    /// The full determinant, expanded along row 0 with 2x2 minors of rows 2
    /// and 3.
    S det4x4() const noexcept { return determinant(self().m, rowZeroCofactors(self().m)); }
    /// The determinant is exactly 0; near-singular matrices are not singular.
    bool isSingular() const noexcept { return det4x4() == S(0); }
    /// The fourth column is (0, 0, 0, 1) within kTolerance.
    bool isAffine() const noexcept {
        const auto& m = self().m;
        return absOf(m[0][3]) <= kTolerance && absOf(m[1][3]) <= kTolerance && absOf(m[2][3]) <= kTolerance &&
               absOf(m[3][3] - S(1)) <= kTolerance;
    }
    /// Rows 0-2 (three components) are mutually perpendicular and equally
    /// long, within kTolerance: a uniformly scaled rotation counts.
    bool isOrthogonal() const noexcept {
        const auto& m = self().m;
        const S l0 = dot3(m[0], m[0]), l1 = dot3(m[1], m[1]), l2 = dot3(m[2], m[2]);
        return absOf(l1 - l0) <= kTolerance && absOf(l2 - l0) <= kTolerance && absOf(dot3(m[0], m[1])) <= kTolerance &&
               absOf(dot3(m[1], m[2])) <= kTolerance && absOf(dot3(m[2], m[0])) <= kTolerance;
    }
    /// Every element differs by at most tolerance.
    bool equivalent(const M& o, S tolerance = kTolerance) const noexcept {
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j)
                if (!(absOf(self().m[i][j] - o.m[i][j]) <= tolerance))
                    return false;
        return true;
    }

protected:
    T4dMatrixOps() = default;

    /// Gauss-Jordan elimination on [M | I] with partial pivoting (the row
    /// with the largest square in the column becomes the pivot row). A pivot
    /// with |p| <= tolerance either skips its column (toIdentity false: the
    /// result is partly inverted) or turns the matrix into the identity and
    /// ends the inversion (toIdentity true). Rows are divided by their
    /// diagonal at the end, except where it is within the tolerance.
    M& gaussJordan(S tolerance, bool toIdentity) noexcept {
        S a[4][4], b[4][4];
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j) {
                a[i][j] = self().m[i][j];
                b[i][j] = i == j ? S(1) : S(0);
            }
        for (int c = 0; c < 4; ++c) {
            int p = c;
            S best = a[c][c] * a[c][c];
            for (int r = c + 1; r < 4; ++r)
                if (a[r][c] * a[r][c] > best) {
                    best = a[r][c] * a[r][c];
                    p = r;
                }
            if (p != c)
                for (int j = 0; j < 4; ++j) {
                    swap(a[c][j], a[p][j]);
                    swap(b[c][j], b[p][j]);
                }
            const S pivot = a[c][c];
            if (absOf(pivot) <= tolerance) {
                if (toIdentity)
                    return setToIdentity();
                continue;
            }
            for (int r = 0; r < 4; ++r) {
                if (r == c)
                    continue;
                const S f = a[r][c] / pivot;
                for (int j = 0; j < 4; ++j) {
                    a[r][j] -= f * a[c][j];
                    b[r][j] -= f * b[c][j];
                }
            }
        }
        for (int i = 0; i < 4; ++i) {
            const S d = a[i][i];
            if (absOf(d) <= tolerance)
                continue;
            for (int j = 0; j < 4; ++j)
                b[i][j] /= d;
        }
        return assign(b);
    }

private:
    struct Cofactors {
        S c[4];       // cofactors of row 0
        S minors[6];  // 2x2 minors of rows 2 and 3: columns 01 02 03 12 13 23
    };

    M& self() noexcept { return static_cast<M&>(*this); }
    const M& self() const noexcept { return static_cast<const M&>(*this); }
    static void swap(S& a, S& b) noexcept {
        const S t = a;
        a = b;
        b = t;
    }
    static void setRow(S* row, S a, S b, S c, S d) noexcept {
        row[0] = a;
        row[1] = b;
        row[2] = c;
        row[3] = d;
    }
    static void setRow3(S* row, const V& v) noexcept {
        row[0] = v.x;
        row[1] = v.y;
        row[2] = v.z;
    }
    static S dot3(const S* a, const S* b) noexcept { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
    M& combine(const M& o, S sign) noexcept {
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j)
                self().m[i][j] += sign * o.m[i][j];
        return self();
    }
    M& assign(const S (&r)[4][4]) noexcept {
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j)
                self().m[i][j] = r[i][j];
        return self();
    }

    static Cofactors rowZeroCofactors(const S (&m)[4][4]) noexcept {
        Cofactors k;
        S* c = k.minors;
        c[0] = m[2][0] * m[3][1] - m[2][1] * m[3][0];
        c[1] = m[2][0] * m[3][2] - m[2][2] * m[3][0];
        c[2] = m[2][0] * m[3][3] - m[2][3] * m[3][0];
        c[3] = m[2][1] * m[3][2] - m[2][2] * m[3][1];
        c[4] = m[2][1] * m[3][3] - m[2][3] * m[3][1];
        c[5] = m[2][2] * m[3][3] - m[2][3] * m[3][2];
        k.c[0] = m[1][1] * c[5] - m[1][2] * c[4] + m[1][3] * c[3];
        k.c[1] = -(m[1][0] * c[5] - m[1][2] * c[2] + m[1][3] * c[1]);
        k.c[2] = m[1][0] * c[4] - m[1][1] * c[2] + m[1][3] * c[0];
        k.c[3] = -(m[1][0] * c[3] - m[1][1] * c[1] + m[1][2] * c[0]);
        return k;
    }
    static S determinant(const S (&m)[4][4], const Cofactors& k) noexcept {
        return m[0][0] * k.c[0] + m[0][1] * k.c[1] + m[0][2] * k.c[2] + m[0][3] * k.c[3];
    }
    /// r = the adjugate of m, given the cofactors of row 0.
    static void adjugate(const S (&m)[4][4], const Cofactors& k, S (&r)[4][4]) noexcept {
        const S* c = k.minors;
        // 2x2 minors of rows 0 and 1, columns 01 02 03 12 13 23.
        const S s0 = m[0][0] * m[1][1] - m[0][1] * m[1][0];
        const S s1 = m[0][0] * m[1][2] - m[0][2] * m[1][0];
        const S s2 = m[0][0] * m[1][3] - m[0][3] * m[1][0];
        const S s3 = m[0][1] * m[1][2] - m[0][2] * m[1][1];
        const S s4 = m[0][1] * m[1][3] - m[0][3] * m[1][1];
        const S s5 = m[0][2] * m[1][3] - m[0][3] * m[1][2];
        // Column i of the adjugate holds the cofactors of row i.
        r[0][0] = k.c[0];
        r[1][0] = k.c[1];
        r[2][0] = k.c[2];
        r[3][0] = k.c[3];
        r[0][1] = -(m[0][1] * c[5] - m[0][2] * c[4] + m[0][3] * c[3]);
        r[1][1] = m[0][0] * c[5] - m[0][2] * c[2] + m[0][3] * c[1];
        r[2][1] = -(m[0][0] * c[4] - m[0][1] * c[2] + m[0][3] * c[0]);
        r[3][1] = m[0][0] * c[3] - m[0][1] * c[1] + m[0][2] * c[0];
        r[0][2] = m[3][1] * s5 - m[3][2] * s4 + m[3][3] * s3;
        r[1][2] = -(m[3][0] * s5 - m[3][2] * s2 + m[3][3] * s1);
        r[2][2] = m[3][0] * s4 - m[3][1] * s2 + m[3][3] * s0;
        r[3][2] = -(m[3][0] * s3 - m[3][1] * s1 + m[3][2] * s0);
        r[0][3] = -(m[2][1] * s5 - m[2][2] * s4 + m[2][3] * s3);
        r[1][3] = m[2][0] * s5 - m[2][2] * s2 + m[2][3] * s1;
        r[2][3] = -(m[2][0] * s4 - m[2][1] * s2 + m[2][3] * s0);
        r[3][3] = m[2][0] * s3 - m[2][1] * s1 + m[2][2] * s0;
    }
};

} // namespace grundel::detail
