#pragma once

#include "grundel/math/T3dDblPoint.h"
#include "grundel/math/T3dFltPoint.h"

/// A line segment by its two ends, in double precision. Lines themselves are
/// not described further; this is the element of TlineArray.
struct Tline {
    T3dDblPoint fStart, fEnd;
};
/// A line segment by its two ends, in single precision (TfltLineArray).
struct TfltLine {
    T3dFltPoint fStart, fEnd;
};

inline bool operator==(const Tline& a, const Tline& b) noexcept { return a.fStart == b.fStart && a.fEnd == b.fEnd; }
inline bool operator==(const TfltLine& a, const TfltLine& b) noexcept {
    return a.fStart == b.fStart && a.fEnd == b.fEnd;
}
