#include "tests/support/test.h"
#include <sys/syscall.h>

#include "frame/deadline.h"

// The part of a second that the wall clock shows always.
static long g_nanoseconds = 0;

extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
    int const result = static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    now->tv_nsec = clock == CLOCK_REALTIME ? g_nanoseconds : now->tv_nsec;
    return result;
}

namespace {

// 1500 ms before the first half of a second the deadline has a negative part of a second.
TEST(Deadline, InThePastIsATimeoutIfTheSystemHasThatMoment) {
    for (auto const& [nanoseconds, expected] :
         {std::pair{499999999L, WAIT_RESULT_FAILED}, {500000000L, WAIT_RESULT_TIMEOUT}}) {
        g_nanoseconds = nanoseconds;
        EXPECT_EQ(DEvent(false, true).Wait(-1500), expected);
        EXPECT_EQ(DSemaphore(0, 1, nullptr).Wait(-1500), expected);
        EXPECT_EQ(DEvent(true, true).Wait(-1500), WAIT_RESULT_OK);
        EXPECT_EQ(DSemaphore(1, 1, nullptr).Wait(-1500), WAIT_RESULT_OK);
    }
}

TEST(Deadline, CarriesAboveTheLastNanosecondAndStaysWithinTheClock) {
    using verrick::DeadlineAfter;
    using verrick::FlatDeadlineAfter;
    constexpr time_t last = std::numeric_limits<time_t>::max();
    std::pair<timespec, timespec> const cases[] = {
        {DeadlineAfter({10, 999999}, 1999), {11, 999999999}},
        {DeadlineAfter({10, 1000000}, 1999), {12, 0}},
        {DeadlineAfter({10, 5}, -1500), {9, -499999995}},
        {FlatDeadlineAfter({10, 1000000}, 0xFFFFFFFE), {4294977, 295000000}},
        {FlatDeadlineAfter({last, 999999999}, 0xFFFFFFFE), {last, 293999999}},
        {FlatDeadlineAfter({last, 5}, 1000), {last, 5}},
    };
    for (auto const& [actual, expected] : cases) {
        EXPECT_EQ(actual.tv_sec, expected.tv_sec);
        EXPECT_EQ(actual.tv_nsec, expected.tv_nsec);
    }
}

} // namespace
