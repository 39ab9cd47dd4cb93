#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/math/T4dMatrixOps.h"

#include <iosfwd>

class TdebugOutput;

/// 4x4 float matrix acting on row vectors: p' = p * M, translation in row
/// 3; in A * B, A is applied first. The float twin of T4dDblMatrix, with the
/// same operations (grundel::detail::T4dMatrixOps) and float tolerances;
/// its inverse gives up on a singular matrix and yields the identity.
class GRUNDEL_API T4dFltMatrix : public grundel::detail::T4dMatrixOps<float> {
public:
    constexpr T4dFltMatrix() noexcept : m{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}} {}
    /// Leaves the elements uninitialised, for a value written at once.
    explicit T4dFltMatrix(TnoInit) noexcept {}
    /// The elements row by row.
    constexpr T4dFltMatrix(float m00, float m01, float m02, float m03, float m10, float m11, float m12, float m13,
                           float m20, float m21, float m22, float m23, float m30, float m31, float m32,
                           float m33) noexcept
        : m{{m00, m01, m02, m03}, {m10, m11, m12, m13}, {m20, m21, m22, m23}, {m30, m31, m32, m33}} {}
    explicit T4dFltMatrix(const float (&values)[4][4]) noexcept {
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c)
                m[r][c] = values[r][c];
    }
    /// Each element rounded to float.
    explicit T4dFltMatrix(const T4dDblMatrix& d) noexcept { *this = d; }
    T4dFltMatrix& operator=(const T4dDblMatrix& d) noexcept;
    /// The same matrix in double precision.
    T4dDblMatrix T4dDblMatrixOf() const noexcept;

    /// Gauss-Jordan inversion with partial pivoting. A pivot of magnitude at
    /// most tolerance means the matrix is singular: it becomes the identity.
    T4dFltMatrix& invertIt(float tolerance = kTolerance) noexcept { return gaussJordan(tolerance, true); }
    [[nodiscard]] T4dFltMatrix inverse(float tolerance = kTolerance) const noexcept {
        return T4dFltMatrix(*this).invertIt(tolerance);
    }
    /// The matrix for tangents: the translation row zeroed.
    T4dFltMatrix& convertItForTangents() noexcept {
        m[3][0] = m[3][1] = m[3][2] = 0;
        return *this;
    }
    [[nodiscard]] T4dFltMatrix convertForTangents() const noexcept { return T4dFltMatrix(*this).convertItForTangents(); }

    /// Writes "4x4 Matrix of floats [address]" and one "| a b c d |" line
    /// per row, each line indented by indent spaces.
    void debug(TdebugOutput& out, unsigned int indent = 0) const;
    /// debug on standard error, for use from a debugger; null prints nothing.
    static void debugMe(const T4dFltMatrix* matrix);

    static const T4dFltMatrix identity;

    /// Exact element-wise comparison; see equivalent for a tolerant one.
    friend bool operator==(const T4dFltMatrix& a, const T4dFltMatrix& b) noexcept {
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c)
                if (a.m[r][c] != b.m[r][c])
                    return false;
        return true;
    }
    friend bool operator!=(const T4dFltMatrix& a, const T4dFltMatrix& b) noexcept { return !(a == b); }

    float m[4][4];
};

/// Prints as T4dDblMatrix does.
GRUNDEL_API std::ostream& operator<<(std::ostream& out, const T4dFltMatrix& m);

inline constexpr T4dFltMatrix T4dFltMatrix::identity{};

// The rest of the family, and the definitions that need it.
#include "grundel/math/TfltGeometry.h"
