#include <verrick/time_primitives.h>

#include "frame/sleep.h"
#include "frame/time_units.h"

#include <cstdint>
#include <ctime>

using verrick::kMsPerSecond;
using verrick::kNsPerMs;

namespace {

constexpr std::uint32_t kPeriodStepMs = 10;

} // namespace

// All in 32 bits, so that the count wraps in the same way on every target.
unsigned int GetTickCount() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint32_t>(now.tv_sec) * kMsPerSecond +
           static_cast<std::uint32_t>(now.tv_nsec / kNsPerMs);
}

int Sleep(unsigned int ms) {
    verrick::SleepMs(ms);
    return 0;
}

int DTimeManagerImplCallouts__CreatePeriodicTimer(void** timer) {
    auto* const period = new std::uint32_t;
    *timer = period;
    timespec resolution{};
    clock_getres(CLOCK_REALTIME, &resolution);
    *period = static_cast<std::uint32_t>(resolution.tv_nsec / kNsPerMs);
    *period += kPeriodStepMs - *period % kPeriodStepMs;
    return static_cast<int>(*period);
}

void DTimeManagerImplCallouts__DestroyPeriodicTimer(void** timer) {
    delete static_cast<std::uint32_t*>(*timer);
    *timer = nullptr;
}

void DTimeManagerImplCallouts__Sleep(void* /*timer*/, int ms) {
    verrick::SleepMs(static_cast<unsigned int>(ms));
}

bool DTimeManagerImplCallouts__WaitForTimerExpiration(void* timer) {
    if (timer == nullptr) {
        return false;
    }
    verrick::SleepMs(*static_cast<std::uint32_t*>(timer));
    return true;
}
