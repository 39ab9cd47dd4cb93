#pragma once

// The members of the array family that hold typed data (see Tarrays.h).

#include "grundel/core/TarrayOf.h"
#include "grundel/data/Tdata.h"

GRUNDEL_OBJECT_ARRAY(TdataArray, Tdata);
