#include "grundel/core/TresourceQuery.h"

#include <gtest/gtest.h>

#include <sched.h>

#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>
#include <thread>
#include <utility>

namespace fs = std::filesystem;

TEST(TresourceQuery, CountsTheMachinesAndTheProcesssProcessors) {
    const int cpus = TresourceQuery::getNumberOfCPUs();
    EXPECT_EQ(unsigned(cpus), std::thread::hardware_concurrency());

    // Narrowing the affinity to one processor is seen at once.
    cpu_set_t saved;
    ASSERT_EQ(sched_getaffinity(0, sizeof(saved), &saved), 0);
    EXPECT_LE(TresourceQuery::getNumberOfUnrestrictedCPUs(), CPU_COUNT(&saved));
    EXPECT_GE(TresourceQuery::getNumberOfUnrestrictedCPUs(), 1);
    int first = 0;
    while (!CPU_ISSET(first, &saved))
        ++first;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(first, &one);
    ASSERT_EQ(sched_setaffinity(0, sizeof(one), &one), 0);
    EXPECT_EQ(TresourceQuery::getNumberOfUnrestrictedCPUs(), 1);
    ASSERT_EQ(sched_setaffinity(0, sizeof(saved), &saved), 0);
    EXPECT_LE(TresourceQuery::getNumberOfUnrestrictedCPUs(), cpus);
}

namespace {

/// A directory of cgroup files standing in for the machine's own group.
class CgroupFixture {
public:
    CgroupFixture() {
        std::string pattern = (fs::temp_directory_path() / "grundel-cgroup-XXXXXX").string();
        fDir = ::mkdtemp(pattern.data()) ? pattern : std::string();
    }
    ~CgroupFixture() {
        std::error_code ignored;
        if (!fDir.empty())
            fs::remove_all(fDir, ignored);
    }
    CgroupFixture& with(const char* file, const std::string& text) {
        std::ofstream(fs::path(fDir) / file) << text;
        return *this;
    }
    int limit() const { return TresourceQuery::getCgroupCPULimit(fDir.c_str()); }

private:
    std::string fDir;
};

int v2(const std::string& cpuMax) { return CgroupFixture().with("cpu.max", cpuMax).limit(); }

int v1(const std::string& quota, const std::string& period) {
    return CgroupFixture().with("cpu.cfs_quota_us", quota).with("cpu.cfs_period_us", period).limit();
}

} // namespace

TEST(TresourceQuery, CgroupQuotaIsRoundedUpToWholeProcessors) {
    EXPECT_EQ(CgroupFixture().limit(), 0);  // no quota files at all
    EXPECT_EQ(v2("max 100000\n"), 0);
    EXPECT_EQ(v2("max\n"), 0);
    EXPECT_EQ(v2("200000 100000\n"), 2);
    EXPECT_EQ(v2("150000 100000\n"), 2);  // 1.5 processors need 2 threads
    EXPECT_EQ(v2("1000 100000\n"), 1);    // a sliver still gets one
    EXPECT_EQ(v2("300000\n"), 3);         // the period defaults to 100 ms
    EXPECT_EQ(v1("50000\n", "100000\n"), 1);
    EXPECT_EQ(v1("400000\n", "100000\n"), 4);
    EXPECT_EQ(v1("-1\n", "100000\n"), 0);  // v1 writes -1 for no quota
    // v2's file wins over v1's where both are present.
    EXPECT_EQ(CgroupFixture().with("cpu.max", "100000 100000").with("cpu.cfs_quota_us", "800000").with(
                  "cpu.cfs_period_us", "100000").limit(), 1);
    EXPECT_EQ(TresourceQuery::getCgroupCPULimit(nullptr), 0);
    EXPECT_EQ(TresourceQuery::getCgroupCPULimit("/nonexistent/grundel"), 0);
}

TEST(TresourceQuery, CgroupFilesThatAreNotAQuotaSetNone) {
    for (const char* garbage : {"", "\n", "lots 100000", "100000 often", "1e5 100000", "0x10 100000",
                                "100000 100000 100000", "-200000 100000", "200000 -100000", "200000 0",
                                "0 100000", "99999999999999999999999 100000", "\x01\x02\xff"})
        EXPECT_EQ(v2(garbage), 0) << garbage;
    EXPECT_EQ(v2(std::string(4096, '7')), 0);  // far longer than any quota file
    EXPECT_EQ(v1("-50000", "100000"), 0);
    EXPECT_EQ(v1("50000", "0"), 0);
    EXPECT_EQ(v1("50000", "-100000"), 0);
    EXPECT_EQ(v1("fifty", "100000"), 0);
    EXPECT_EQ(CgroupFixture().with("cpu.cfs_quota_us", "50000").limit(), 0);  // no period
    // Huge quotas are clamped, and never wrap into a small or negative count.
    EXPECT_EQ(v2("9223372036854775807 1"), 1 << 20);
    EXPECT_EQ(v2("9223372036854775807 100000"), 1 << 20);
    EXPECT_EQ(v1("9223372036854775807", "1000"), 1 << 20);
}
