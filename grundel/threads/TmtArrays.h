#pragma once

// The array-family members of the threads area (see grundel/core/Tarrays.h).

#include "grundel/core/TarrayOf.h"

class TmtThread;

GRUNDEL_PLAIN_ARRAY(TmtThreadPtrArray, TmtThread*);
