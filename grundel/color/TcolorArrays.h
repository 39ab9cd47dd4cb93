#pragma once

// The array-family members of the color area (see grundel/core/Tarrays.h).

#include "grundel/color/TportColor.h"
#include "grundel/core/TarrayOf.h"

class TpixelMap;

GRUNDEL_PLAIN_ARRAY(TportColorArray, TportColor);
GRUNDEL_PLAIN_ARRAY(TpixelMapPtrArray, TpixelMap*);
