#pragma once

// The array-family members of the iff area (see grundel/core/Tarrays.h).

#include "grundel/core/TarrayOf.h"
#include "grundel/iff/TiffTag.h"

GRUNDEL_PLAIN_ARRAY(TiffTagArray, TiffTag);
