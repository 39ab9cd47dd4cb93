#include "grundel/threads/TmtSync_p.h"

namespace grundel::detail {

timespec Tdeadline::wallClockSlice() const noexcept {
    using namespace std::chrono;
    constexpr nanoseconds kSlice = milliseconds(250);
    nanoseconds ahead = kSlice;
    if (!fForever) {
        const auto left = duration_cast<nanoseconds>(fEnd - Clock::now());
        ahead = left < nanoseconds(0) ? nanoseconds(0) : left < kSlice ? left : kSlice;
    }
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    long long nanos = now.tv_nsec + ahead.count();
    now.tv_sec += static_cast<time_t>(nanos / 1000000000);
    now.tv_nsec = static_cast<long>(nanos % 1000000000);
    return now;
}

} // namespace grundel::detail
