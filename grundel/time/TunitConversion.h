#pragma once

/// One record of a unit class's conversion table: the factors between the
/// internal unit and one unit, both directions stored as computed (neither
/// is recomputed as the reciprocal of the other at run time).
struct TunitConversion {
    double fFromInternal = 1.0; ///< internal value x this = value in the unit
    double fToInternal = 1.0;   ///< value in the unit x this = internal value
};
