#include "frame/sleep.h"

#include "frame/time_units.h"

#include <ctime>
#include <sys/select.h>

namespace verrick {
namespace {

constexpr unsigned int kUsPerMs = 1000;

} // namespace

void SleepMs(unsigned int timeMs) {
    unsigned int const restUs = timeMs % kMsPerSecond * kUsPerMs;
    timeval period{};
    period.tv_sec = static_cast<time_t>(timeMs / kMsPerSecond);
    period.tv_usec = static_cast<suseconds_t>(restUs);
    select(0, nullptr, nullptr, nullptr, &period);
}

} // namespace verrick
