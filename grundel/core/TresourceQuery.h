#pragma once

#include "grundel/core/Tapi.h"

/// Facts about the machine's resources that the library needs.
class GRUNDEL_API TresourceQuery {
public:
    /// Processors of the machine that are online; at least 1.
    static int getNumberOfCPUs() noexcept;
    /// Processors the calling process may run on (its affinity mask); at
    /// least 1, and getNumberOfCPUs() when the mask cannot be read.
    static int getNumberOfUnrestrictedCPUs() noexcept;
};
