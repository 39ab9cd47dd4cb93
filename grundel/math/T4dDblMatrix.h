#pragma once

#include "grundel/core/Tapi.h"

/// A 4×4 double matrix, row-major, the identity by default. This holds the
/// data layout.
class GRUNDEL_API T4dDblMatrix {
public:
    T4dDblMatrix() noexcept : m{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}} {}
    explicit T4dDblMatrix(const double (&values)[4][4]) noexcept {
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c)
                m[r][c] = values[r][c];
    }

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
