#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"

/// Animation time: a signed whole number of ticks, 6000 to the second; 0 by
/// default. This holds the data layout.
class GRUNDEL_API TanimTime {
public:
    TanimTime() noexcept : fTicks(0) {}
    explicit TanimTime(Tint32 ticks) noexcept : fTicks(ticks) {}

    Tint32 inTicks() const noexcept { return fTicks; }

    friend bool operator==(TanimTime a, TanimTime b) noexcept { return a.fTicks == b.fTicks; }
    friend bool operator!=(TanimTime a, TanimTime b) noexcept { return a.fTicks != b.fTicks; }

private:
    Tint32 fTicks;
};
