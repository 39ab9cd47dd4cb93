#pragma once

#include "grundel/core/Tapi.h"

/// Facts about the machine's resources that the library needs.
class GRUNDEL_API TresourceQuery {
public:
    /// Processors of the machine that are online; at least 1.
    static int getNumberOfCPUs() noexcept;
    /// Processors the calling process may use: those of its affinity mask
    /// (getNumberOfCPUs() when the mask cannot be read), fewer when the CPU
    /// quota of its control group, or of a group above it, allows fewer.
    /// At least 1. Read afresh on every call.
    static int getNumberOfUnrestrictedCPUs() noexcept;

    /// The processors that the CPU quota of one control group allows, read
    /// from its directory: cgroup v2 "cpu.max" ("quota period" or "max
    /// period"), else v1 "cpu.cfs_quota_us" and "cpu.cfs_period_us". The
    /// quota divided by the period, rounded up, at least 1 (at most 1 << 20).
    /// 0 when the group sets no quota: no such files, "max", a negative v1
    /// quota, or contents that are not a quota (garbage, a period of 0, a
    /// number beyond 64 bits).
    [[nodiscard]] static int getCgroupCPULimit(const char* cgroupDir) noexcept;
};
