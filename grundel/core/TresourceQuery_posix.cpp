#include "grundel/core/TresourceQuery.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int kMaxCPUs = 1 << 20;
// A quota file holds two numbers; anything longer is not one.
constexpr size_t kQuotaFileBytes = 128;

int clampCount(long long n) noexcept { return n < 1 ? 1 : n > kMaxCPUs ? kMaxCPUs : int(n); }

/// The start of a small file (at most kQuotaFileBytes); false when it cannot
/// be read or is longer.
bool readSmallFile(const std::string& path, std::string& out) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    char buffer[kQuotaFileBytes + 1];
    size_t have = 0;
    ssize_t got;
    while (have < sizeof(buffer) && (got = read(fd, buffer + have, sizeof(buffer) - have)) != 0) {
        if (got < 0) {
            close(fd);
            return false;
        }
        have += size_t(got);
    }
    close(fd);
    if (have > kQuotaFileBytes)
        return false;
    out.assign(buffer, have);
    return true;
}

/// The whitespace-separated words of text.
std::vector<std::string_view> words(std::string_view text) {
    std::vector<std::string_view> out;
    size_t at = 0;
    while (at < text.size()) {
        const size_t begin = text.find_first_not_of(" \t\n", at);
        if (begin == std::string_view::npos)
            break;
        const size_t end = std::min(text.find_first_of(" \t\n", begin), text.size());
        out.push_back(text.substr(begin, end - begin));
        at = end;
    }
    return out;
}

/// A whole word as a signed 64-bit number.
bool toInt64(std::string_view word, std::int64_t& value) noexcept {
    const char* end = word.data() + word.size();
    const auto [ptr, ec] = std::from_chars(word.data(), end, value);
    return ec == std::errc() && ptr == end;
}

/// Processors for a quota per period, rounded up; 0 unless both are positive.
int processorsFor(std::int64_t quota, std::int64_t period) noexcept {
    if (quota <= 0 || period <= 0)
        return 0;
    return clampCount(quota / period + (quota % period != 0));
}

int cgroup2Limit(const std::string& dir) {
    std::string text;
    if (!readSmallFile(dir + "/cpu.max", text))
        return -1;
    const auto w = words(text);
    if (w.empty() || w.size() > 2 || w[0] == "max")
        return 0;
    std::int64_t quota = 0;
    std::int64_t period = 100000;  // the kernel's default when only the quota is written
    if (!toInt64(w[0], quota) || (w.size() == 2 && !toInt64(w[1], period)))
        return 0;
    return processorsFor(quota, period);
}

int cgroup1Limit(const std::string& dir) {
    std::string quotaText, periodText;
    if (!readSmallFile(dir + "/cpu.cfs_quota_us", quotaText) || !readSmallFile(dir + "/cpu.cfs_period_us", periodText))
        return 0;
    const auto q = words(quotaText);
    const auto p = words(periodText);
    std::int64_t quota = 0, period = 0;
    if (q.size() != 1 || p.size() != 1 || !toInt64(q[0], quota) || !toInt64(p[0], period))
        return 0;
    return processorsFor(quota, period);  // -1 is v1's "no quota"
}

// -- Finding the process's own groups ------------------------------------------------

/// Undoes the octal escapes (\040 for a blank) of a path in mountinfo.
std::string unescapeMountPath(std::string_view text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size() && text[i + 1] >= '0' && text[i + 1] <= '3' &&
            text[i + 2] >= '0' && text[i + 2] <= '7' && text[i + 3] >= '0' && text[i + 3] <= '7') {
            out += char((text[i + 1] - '0') * 64 + (text[i + 2] - '0') * 8 + (text[i + 3] - '0'));
            i += 3;
        } else {
            out += text[i];
        }
    }
    return out;
}

bool listHas(std::string_view list, std::string_view item) {
    while (!list.empty()) {
        const size_t comma = std::min(list.find(','), list.size());
        if (list.substr(0, comma) == item)
            return true;
        list.remove_prefix(std::min(comma + 1, list.size()));
    }
    return false;
}

struct Mount {
    std::string root;   // the group that the mount shows at its top
    std::string point;  // where it is mounted
};

/// The cgroup2 mount (v2) or the v1 mount with the cpu controller.
bool findMount(bool v2, Mount& found) {
    std::ifstream in("/proc/self/mountinfo");
    std::string line;
    while (std::getline(in, line)) {
        const auto w = words(line);
        const auto dash = std::find(w.begin(), w.end(), std::string_view("-"));
        if (w.size() < 5 || dash == w.end() || w.end() - dash < 4)
            continue;
        const std::string_view type = dash[1];
        if (v2 ? type == "cgroup2" : (type == "cgroup" && listHas(dash[3], "cpu"))) {
            found = {unescapeMountPath(w[3]), unescapeMountPath(w[4])};
            return true;
        }
    }
    return false;
}

/// The process's group path in the v2 hierarchy or the v1 cpu hierarchy.
bool findGroupPath(bool v2, std::string& path) {
    std::ifstream in("/proc/self/cgroup");
    std::string line;
    while (std::getline(in, line)) {
        const size_t first = line.find(':');
        const size_t second = first == std::string::npos ? first : line.find(':', first + 1);
        if (second == std::string::npos)
            continue;
        const std::string_view controllers = std::string_view(line).substr(first + 1, second - first - 1);
        if (v2 ? line.compare(0, first, "0") == 0 && controllers.empty() : listHas(controllers, "cpu")) {
            path = line.substr(second + 1);
            return true;
        }
    }
    return false;
}

/// The smallest quota on the way from the process's group up to the top of
/// the mounted hierarchy; 0 for none.
int hierarchyLimit(bool v2) {
    Mount mount;
    std::string group;
    if (!findMount(v2, mount) || !findGroupPath(v2, group))
        return 0;
    // Inside a namespace the mount's top is the process's group or above it.
    std::string relative;
    if (mount.root != "/" && group.compare(0, mount.root.size(), mount.root) == 0)
        relative = group.substr(mount.root.size());
    else if (mount.root == "/")
        relative = group;
    std::string dir = mount.point + relative;
    while (dir.size() > 1 && dir.back() == '/')
        dir.pop_back();
    int limit = 0;
    for (;;) {
        const int here = v2 ? std::max(cgroup2Limit(dir), 0) : cgroup1Limit(dir);
        if (here > 0)
            limit = limit == 0 ? here : std::min(limit, here);
        if (dir.size() <= mount.point.size())
            return limit;
        dir.erase(std::max(dir.rfind('/'), mount.point.size()));
    }
}

int affinityCount() noexcept {
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof(set), &set) == 0)
        return clampCount(CPU_COUNT(&set));
    // More processors than a cpu_set_t holds: ask with a larger set.
    try {
        for (int cpus = 2 * CPU_SETSIZE; cpus <= kMaxCPUs; cpus *= 2) {
            const size_t bytes = CPU_ALLOC_SIZE(cpus);
            std::vector<unsigned char> storage(bytes);
            auto* big = reinterpret_cast<cpu_set_t*>(storage.data());
            if (sched_getaffinity(0, bytes, big) == 0)
                return clampCount(CPU_COUNT_S(bytes, big));
        }
    } catch (...) {
    }
    return TresourceQuery::getNumberOfCPUs();
}

} // namespace

int TresourceQuery::getNumberOfCPUs() noexcept {
    // Asking the system reads files; the number of processors does not change
    // under a running program often enough to pay that on every call.
    static const int count = clampCount(sysconf(_SC_NPROCESSORS_ONLN));
    return count;
}

int TresourceQuery::getCgroupCPULimit(const char* cgroupDir) noexcept {
    if (!cgroupDir)
        return 0;
    try {
        const std::string dir(cgroupDir);
        const int v2 = cgroup2Limit(dir);
        return v2 >= 0 ? v2 : cgroup1Limit(dir);
    } catch (...) {
        return 0;
    }
}

int TresourceQuery::getNumberOfUnrestrictedCPUs() noexcept {
    int count = affinityCount();
    try {
        // A hybrid machine may keep the cpu controller in either hierarchy.
        for (const bool v2 : {true, false})
            if (const int limit = hierarchyLimit(v2); limit > 0)
                count = std::min(count, limit);
    } catch (...) {
    }
    return count;
}
