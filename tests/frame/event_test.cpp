#include <verrick/event.h>
#include <verrick/time_primitives.h>

#include <gtest/gtest.h>

#include <future>
#include <limits>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

#include "frame/deadline.h"
#include "tests/support/asleep.h"

namespace {

// Starts a wait on another thread and returns once it can be taken to block.
std::future<wait_result_t> BlockIn(IEvent& event, int timeoutMs) {
    auto wait = std::async(std::launch::async, [&, timeoutMs] { return event.Wait(timeoutMs); });
    AwaitOthersAsleep();
    return wait;
}

std::atomic<bool> g_holdWaiters{false};
std::atomic<bool> g_holdLeavers{false};

} // namespace

// A timed wait reads the clock when it holds the event's mutex and doesn't block yet.
extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
    while (clock == CLOCK_REALTIME && g_holdWaiters) {
        usleep(1000);
    }
    return static_cast<int>(syscall(SYS_clock_gettime, clock, now));
}

// A timed wait that has ended counts as waiting until it has the mutex again.
extern "C" int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                      timespec const* deadline) {
    int const error = pthread_cond_clockwait(condition, mutex, CLOCK_REALTIME, deadline);
    pthread_mutex_unlock(mutex);
    while (g_holdLeavers) {
        usleep(1000);
    }
    pthread_mutex_lock(mutex);
    return error;
}

namespace {

TEST(Event, ItsEndFreesThreadsThatAreStillOnTheirWayIntoTheWait) {
    auto* const event = new DEvent(false, true);
    g_holdWaiters = true;
    g_holdLeavers = true;
    auto holder = BlockIn(*event, 20000); // has the mutex, and no wait under way yet
    std::thread destroyer([event] { delete event; });
    Sleep(50);
    auto late = BlockIn(*event, -1); // finds no destruction begun, and waits for the mutex
    g_holdWaiters = false;
    EXPECT_NE(late.get(), WAIT_RESULT_TIMEOUT);
    g_holdLeavers = false;
    EXPECT_EQ(holder.get(), WAIT_RESULT_OK);
    destroyer.join();
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
    };
    for (auto const& [actual, expected] : cases) {
        EXPECT_EQ(actual.tv_sec, expected.tv_sec);
        EXPECT_EQ(actual.tv_nsec, expected.tv_nsec);
    }
}

} // namespace
