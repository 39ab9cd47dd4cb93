#pragma once

// The single-precision geometric value types, all together: each of their
// headers includes this one, since their operations use one another. The
// float matrix converts to and from the double one.

#include "grundel/math/T3dFltPoint.h"
#include "grundel/math/T4dDblMatrix.h"
#include "grundel/math/T4dFltMatrix.h"
#include "grundel/math/T4dFltPoint.h"
#include "grundel/math/T4dFltVector.h"
#include "grundel/math/TfltTuple.h"
#include "grundel/math/Tquaternion.h"
#include "grundel/math/TrotateXYZ.h"

inline T4dFltVector::T4dFltVector(const TfltTuple& t) noexcept : x(t.x), y(t.y), z(t.z) {}
inline T4dFltPoint::T4dFltPoint(const TfltTuple& t) noexcept : x(t.x), y(t.y), z(t.z), w(t.w) {}
inline T3dFltPoint::T3dFltPoint(const TfltTuple& t) noexcept : x(t.x), y(t.y), z(t.z) {}

inline T4dFltMatrix& T4dFltMatrix::operator=(const T4dDblMatrix& d) noexcept {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            m[r][c] = static_cast<float>(d.m[r][c]);
    return *this;
}

inline T4dDblMatrix T4dFltMatrix::T4dDblMatrixOf() const noexcept {
    T4dDblMatrix d{TnoInit()};
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            d.m[r][c] = m[r][c];
    return d;
}
