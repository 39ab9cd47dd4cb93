#pragma once

// The array-family members of the time area (see grundel/core/Tarrays.h).

#include "grundel/core/TarrayOf.h"
#include "grundel/time/TanimTime.h"
#include "grundel/time/TtimeValue.h"

class TtimeValueArray;

namespace grundel::detail {
/// Animation times by their ticks.
struct TanimTimeOrder {
    static int compare(TanimTime a, TanimTime b) noexcept {
        return a.inTicks() < b.inTicks() ? -1 : a.inTicks() > b.inTicks() ? 1 : 0;
    }
};
} // namespace grundel::detail

GRUNDEL_PLAIN_ARRAY(TtimeValueArray, TtimeValue);
GRUNDEL_PLAIN_ARRAY(TtimeValuePtrArray, TtimeValue*);
GRUNDEL_PLAIN_ARRAY(TtimeValueArrayPtrArray, TtimeValueArray*);

GRUNDEL_OBJECT_ARRAY(TanimTimeArray, TanimTime);

GRUNDEL_SORTED_ARRAY(TanimTimeSortedArray, TanimTime, grundel::detail::TanimTimeOrder);
