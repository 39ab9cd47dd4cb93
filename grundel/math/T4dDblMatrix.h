#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/math/T4dMatrixOps.h"

#include <iosfwd>

class TdebugOutput;

/// 4x4 double matrix acting on row vectors: p' = p * M, translation in
/// row 3, and for an affine matrix (0, 0, 0, 1) as the fourth column. In
/// A * B, A is applied first. Stored row-major, element (row, column); the
/// identity by default. The operations are those of
/// grundel::detail::T4dMatrixOps, plus the inverse below; the float twin is
/// T4dFltMatrix.
class GRUNDEL_API T4dDblMatrix : public grundel::detail::T4dMatrixOps<double> {
public:
    constexpr T4dDblMatrix() noexcept : m{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}} {}
    /// Leaves the elements uninitialised, for a value written at once.
    explicit T4dDblMatrix(TnoInit) noexcept {}
    /// The elements row by row.
    constexpr T4dDblMatrix(double m00, double m01, double m02, double m03, double m10, double m11, double m12,
                           double m13, double m20, double m21, double m22, double m23, double m30, double m31,
                           double m32, double m33) noexcept
        : m{{m00, m01, m02, m03}, {m10, m11, m12, m13}, {m20, m21, m22, m23}, {m30, m31, m32, m33}} {}
    explicit T4dDblMatrix(const double (&values)[4][4]) noexcept {
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c)
                m[r][c] = values[r][c];
    }

    /// Gauss-Jordan inversion with partial pivoting. Never fails: a column
    /// whose pivot lies within +-1e-15 is skipped, so a singular matrix comes
    /// back partly inverted.
    T4dDblMatrix& invertIt() noexcept { return gaussJordan(1e-15, false); }
    [[nodiscard]] T4dDblMatrix inverse() const noexcept { return T4dDblMatrix(*this).invertIt(); }

    /// Writes "4x4 Matrix of doubles [address]" and one "| a b c d |" line
    /// per row, each line indented by indent spaces.
    void debug(TdebugOutput& out, unsigned int indent = 0) const;
    /// debug on standard error, for use from a debugger; null prints nothing.
    static void debugMe(const T4dDblMatrix* matrix);

    static const T4dDblMatrix identity;

    /// Exact element-wise comparison; see equivalent for a tolerant one.
    friend bool operator==(const T4dDblMatrix& a, const T4dDblMatrix& b) noexcept {
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c)
                if (a.m[r][c] != b.m[r][c])
                    return false;
        return true;
    }
    friend bool operator!=(const T4dDblMatrix& a, const T4dDblMatrix& b) noexcept { return !(a == b); }

    double m[4][4];
};

/// Prints "[[m00, m01, m02, m03], [m10, ...], ..., [..., m33]]".
GRUNDEL_API std::ostream& operator<<(std::ostream& out, const T4dDblMatrix& m);

inline constexpr T4dDblMatrix T4dDblMatrix::identity{};

// The rest of the family, and the definitions that need it.
#include "grundel/math/TdblGeometry.h"
