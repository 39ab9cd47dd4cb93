#include "grundel/core/TresourceQuery.h"

#include <sched.h>
#include <unistd.h>

#include <vector>

int TresourceQuery::getNumberOfCPUs() noexcept {
    // Asking the system reads files; the number of processors does not change
    // under a running program often enough to pay that on every call.
    static const int count = [] {
        const long n = sysconf(_SC_NPROCESSORS_ONLN);
        return n < 1 ? 1 : n > 1 << 20 ? 1 << 20 : int(n);
    }();
    return count;
}

int TresourceQuery::getNumberOfUnrestrictedCPUs() noexcept {
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof(set), &set) == 0) {
        const int n = CPU_COUNT(&set);
        return n < 1 ? 1 : n;
    }
    // More processors than a cpu_set_t holds: ask with a larger set.
    try {
        for (int cpus = 2 * CPU_SETSIZE; cpus <= 1 << 20; cpus *= 2) {
            const size_t bytes = CPU_ALLOC_SIZE(cpus);
            std::vector<unsigned char> storage(bytes);
            auto* big = reinterpret_cast<cpu_set_t*>(storage.data());
            if (sched_getaffinity(0, bytes, big) == 0) {
                const int n = CPU_COUNT_S(bytes, big);
                return n < 1 ? 1 : n;
            }
        }
    } catch (...) {
    }
    return getNumberOfCPUs();
}
