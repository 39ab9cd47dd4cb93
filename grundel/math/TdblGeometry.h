#pragma once

// The double-precision geometric value types, all together: each of their
// headers includes this one, since their operations use one another.

#include "grundel/math/T3dDblPoint.h"
#include "grundel/math/T4dDblMatrix.h"
#include "grundel/math/T4dDblPoint.h"
#include "grundel/math/T4dDblVector.h"
#include "grundel/math/Tquaternion.h"
#include "grundel/math/TrotateXYZ.h"
#include "grundel/math/Ttuple.h"

inline T4dDblVector::T4dDblVector(const Ttuple& t) noexcept : x(t.x), y(t.y), z(t.z) {}
inline T4dDblPoint::T4dDblPoint(const Ttuple& t) noexcept : x(t.x), y(t.y), z(t.z), w(t.w) {}
inline T3dDblPoint::T3dDblPoint(const Ttuple& t) noexcept : x(t.x), y(t.y), z(t.z) {}
