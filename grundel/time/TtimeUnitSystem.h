#pragma once

#include "grundel/time/TunitConversion.h"

/// Time units: clock units, frame rates and the user-defined rate. The codes
/// are stored and must not be renumbered; the common frame rates come first
/// and the rarer ones follow in ascending order.
enum TtimeUnitSystem : int {
    kTimeHours = 0,
    kTimeMinutes = 1,
    kTimeSeconds = 2,
    kTimeMilliseconds = 3,
    kTime15fps = 4,
    kTime24fps = 5,
    kTime25fps = 6,
    kTime30fps = 7,
    kTime48fps = 8,
    kTime50fps = 9,
    kTime60fps = 10,
    kTime2fps = 11,
    kTime3fps = 12,
    kTime4fps = 13,
    kTime5fps = 14,
    kTime6fps = 15,
    kTime8fps = 16,
    kTime10fps = 17,
    kTime12fps = 18,
    kTime16fps = 19,
    kTime20fps = 20,
    kTime40fps = 21,
    kTime75fps = 22,
    kTime80fps = 23,
    kTime100fps = 24,
    kTime120fps = 25,
    kTime125fps = 26,
    kTime150fps = 27,
    kTime200fps = 28,
    kTime240fps = 29,
    kTime250fps = 30,
    kTime300fps = 31,
    kTime375fps = 32,
    kTime400fps = 33,
    kTime500fps = 34,
    kTime600fps = 35,
    kTime750fps = 36,
    kTime1200fps = 37,
    kTime1500fps = 38,
    kTime2000fps = 39,
    kTime3000fps = 40,
    kTime6000fps = 41, ///< one tick
    kTimeUnitEnd = 42, ///< not a unit: every value reads as 0 in it
    kTimeUserRate = 43, ///< TanimTime::timeConvert() ticks per unit
};

/// The number of units with a fixed tick count (codes 0 to 41).
constexpr int kNumTimeUnits = 42;

namespace grundel::detail {

/// Ticks per unit of each code below kNumTimeUnits.
inline constexpr int kTicksPerTimeUnit[kNumTimeUnits] = {
    21600000, 360000, 6000, 6,  400, 250, 240, 200, 125, 120, 100, 3000, 2000, 1500,
    1200,     1000,   750,  600, 500, 375, 300, 150, 80,  75,  60,  50,   48,   40,
    30,       25,     24,   20,  16,  15,  12,  10,  8,   5,   4,   3,    2,    1,
};

constexpr TunitConversion timeConversion(int unit) noexcept {
    return TunitConversion{1.0 / kTicksPerTimeUnit[unit], double(kTicksPerTimeUnit[unit])};
}

/// The conversion records of the fixed units against the tick: the stored
/// reciprocal and the tick count. Built by the compiler, so never stale.
inline constexpr TunitConversion kTimeConversions[kNumTimeUnits] = {
    timeConversion(0),  timeConversion(1),  timeConversion(2),  timeConversion(3),  timeConversion(4),
    timeConversion(5),  timeConversion(6),  timeConversion(7),  timeConversion(8),  timeConversion(9),
    timeConversion(10), timeConversion(11), timeConversion(12), timeConversion(13), timeConversion(14),
    timeConversion(15), timeConversion(16), timeConversion(17), timeConversion(18), timeConversion(19),
    timeConversion(20), timeConversion(21), timeConversion(22), timeConversion(23), timeConversion(24),
    timeConversion(25), timeConversion(26), timeConversion(27), timeConversion(28), timeConversion(29),
    timeConversion(30), timeConversion(31), timeConversion(32), timeConversion(33), timeConversion(34),
    timeConversion(35), timeConversion(36), timeConversion(37), timeConversion(38), timeConversion(39),
    timeConversion(40), timeConversion(41),
};

} // namespace grundel::detail
