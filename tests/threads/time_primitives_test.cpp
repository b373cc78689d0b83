#include "tests/support/test.h"
#include <ctime>
#include <sys/select.h>

// What the system's calls were asked for, and what they answer.
static timeval g_slept{};
static timespec g_resolution{}, g_monotonic{};

extern "C" int select(int, fd_set*, fd_set*, fd_set*, timeval* period) {
    g_slept = *period;
    return 0;
}

extern "C" int clock_getres(clockid_t clock, timespec* resolution) noexcept {
    *resolution = clock == CLOCK_REALTIME ? g_resolution : timespec{};
    return 0;
}

extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
    *now = clock == CLOCK_MONOTONIC ? g_monotonic : timespec{};
    return 0;
}

namespace {

TEST(TimePrimitives, SleepAsksForSecondsAndMicroseconds) {
    EXPECT_EQ(Sleep(1500), 0);
    EXPECT_EQ(g_slept.tv_sec, 1);
    EXPECT_EQ(g_slept.tv_usec, 500000);
    DTimeManagerImplCallouts__Sleep(nullptr, -1); // a very long time, not for ever
    EXPECT_EQ(g_slept.tv_sec, 4294967);
    EXPECT_EQ(g_slept.tv_usec, 295000);
}

TEST(TimePrimitives, GetTickCountIsTheMonotonicClockIn32Bits) {
    g_monotonic = {4294966, 999999999};
    EXPECT_EQ(GetTickCount(), 4294966999U);
    g_monotonic = {4294967, 296000000};
    EXPECT_EQ(GetTickCount(), 0U);
}

TEST(TimePrimitives, APeriodIsTheNextMultipleOfTenAboveTheResolution) {
    for (auto const& [ns, periodMs] : {std::pair{1, 10}, {9999999, 10}, {10000000, 20}}) {
        g_resolution = {0, ns};
        void* timer = nullptr;
        EXPECT_EQ(DTimeManagerImplCallouts__CreatePeriodicTimer(&timer), periodMs);
        EXPECT_TRUE(DTimeManagerImplCallouts__WaitForTimerExpiration(timer));
        EXPECT_EQ(g_slept.tv_usec, periodMs * 1000);
        DTimeManagerImplCallouts__DestroyPeriodicTimer(&timer);
        EXPECT_FALSE(DTimeManagerImplCallouts__WaitForTimerExpiration(timer)); // it is null
    }
}

} // namespace
