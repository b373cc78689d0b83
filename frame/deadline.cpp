#include "frame/deadline.h"

#include "frame/time_units.h"

#include <limits>
#include <type_traits>

namespace verrick {
namespace {

timespec Now() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

// A time_t of 32 bits ends in 2038; a deadline beyond its end is as good as its end.
time_t AddSeconds(time_t start, std::int64_t seconds) {
    constexpr auto last = std::numeric_limits<time_t>::max();
    if (seconds > 0 && start > last - static_cast<time_t>(seconds)) {
        return last;
    }
    return static_cast<time_t>(start + seconds);
}

// The one carry is taken above 999999999: the parts come in already below a second each.
timespec Add(timespec now, std::int64_t seconds, long restMs) {
    long const nanoseconds = restMs * kNsPerMs + now.tv_nsec;
    bool const carry = nanoseconds > kNsPerSecond - 1;
    now.tv_sec = AddSeconds(now.tv_sec, seconds + (carry ? 1 : 0));
    now.tv_nsec = carry ? nanoseconds - kNsPerSecond : nanoseconds;
    return now;
}

} // namespace

timespec DeadlineAfter(timespec now, int timeoutMs) {
    return Add(now, timeoutMs / kMsPerSecond, timeoutMs % kMsPerSecond);
}

timespec DeadlineAfter(int timeoutMs) {
    return DeadlineAfter(Now(), timeoutMs);
}

timespec FlatDeadlineAfter(timespec now, std::uint32_t timeoutMs) {
    return Add(now, timeoutMs / std::uint32_t{kMsPerSecond},
               static_cast<long>(timeoutMs % std::uint32_t{kMsPerSecond}));
}

timespec FlatDeadlineAfter(std::uint32_t timeoutMs) {
    return FlatDeadlineAfter(Now(), timeoutMs);
}

} // namespace verrick
