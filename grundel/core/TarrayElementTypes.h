#pragma once

// Element types of core array-family members whose subsystems (diagnostics,
// argument lists, modelling data, pixel maps and rectangles, file paths)
// this library does not describe. Each is the least plain type that
// names the element: the layout its name states, or else one opaque word.
// All are zero when value-initialised.

#include "grundel/core/Ttypes.h"
#include "grundel/core/Tstring.h"

/// A record of the diagnostics trace.
struct TdbTrace {
    TuInt32 fValue;
};
/// The type code of an argument-list entry.
enum TargType : Tint32 {};
/// An index into modelling data.
using Tindex = Tint32;
/// Two, three floats; three doubles.
struct T2Float {
    float fValue[2];
};
struct T3Float {
    float fValue[3];
};
struct T3Double {
    double fValue[3];
};
/// Modelling data: surface directions and selection kinds.
enum TsurfaceDirection : Tint32 {};
enum TselectedSrfDirections : TuInt32 {};
enum TsurfSelectedBoundaryType : Tint32 {};
/// The id of an object group.
using TobjectGroupId = TuInt32;
/// An integer point and rectangle of the pixel-map side.
struct Tpoint {
    Tint32 x, y;
};
struct Trect {
    Tint32 left, top, right, bottom;
};
/// A file path and a directory, held as text.
struct TfilePath {
    Tstring fPath;
};
struct Tdirectory {
    Tstring fPath;
};
/// Modelling data: a polygon tangent set, a polygon UV map, a surface index.
struct TpolyTangentSet {
    TuInt32 fValue;
};
struct TpolyMap {
    TuInt32 fValue;
};
struct TsurfaceIndex {
    TuInt32 fValue;
};
/// A value with an index and a second (long) index.
struct TdoubleIndexLong {
    double fValue;
    Tint32 fIndex;
    Tint32 fLong;
};
/// A closed range of doubles.
struct TdoubleRange {
    double fMin, fMax;
};

inline bool operator==(const TdbTrace& a, const TdbTrace& b) noexcept { return a.fValue == b.fValue; }
inline bool operator==(const T2Float& a, const T2Float& b) noexcept {
    return a.fValue[0] == b.fValue[0] && a.fValue[1] == b.fValue[1];
}
inline bool operator==(const T3Float& a, const T3Float& b) noexcept {
    return a.fValue[0] == b.fValue[0] && a.fValue[1] == b.fValue[1] && a.fValue[2] == b.fValue[2];
}
inline bool operator==(const T3Double& a, const T3Double& b) noexcept {
    return a.fValue[0] == b.fValue[0] && a.fValue[1] == b.fValue[1] && a.fValue[2] == b.fValue[2];
}
inline bool operator==(const Tpoint& a, const Tpoint& b) noexcept { return a.x == b.x && a.y == b.y; }
inline bool operator==(const Trect& a, const Trect& b) noexcept {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}
inline bool operator==(const TfilePath& a, const TfilePath& b) noexcept { return a.fPath == b.fPath; }
inline bool operator==(const Tdirectory& a, const Tdirectory& b) noexcept { return a.fPath == b.fPath; }
inline bool operator==(const TpolyTangentSet& a, const TpolyTangentSet& b) noexcept { return a.fValue == b.fValue; }
inline bool operator==(const TpolyMap& a, const TpolyMap& b) noexcept { return a.fValue == b.fValue; }
inline bool operator==(const TsurfaceIndex& a, const TsurfaceIndex& b) noexcept { return a.fValue == b.fValue; }
inline bool operator==(const TdoubleIndexLong& a, const TdoubleIndexLong& b) noexcept {
    return a.fValue == b.fValue && a.fIndex == b.fIndex && a.fLong == b.fLong;
}
inline bool operator==(const TdoubleRange& a, const TdoubleRange& b) noexcept {
    return a.fMin == b.fMin && a.fMax == b.fMax;
}
