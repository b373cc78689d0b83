#include <verrick/event.h>
#include <verrick/time_primitives.h>

#include <gtest/gtest.h>

#include <future>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

#include "frame/deadline.h"

namespace {

// Starts a wait on another thread and returns once it can be taken to block.
std::future<wait_result_t> BlockIn(IEvent& event, int timeoutMs) {
    auto result =
        std::async(std::launch::async, [&event, timeoutMs] { return event.Wait(timeoutMs); });
    Sleep(100);
    return result;
}

bool IsBlocked(std::future<wait_result_t>& wait) {
    return wait.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready;
}

std::atomic<bool> g_holdWaiters{false};

} // namespace

// A timed wait reads the clock when it holds the event's mutex and doesn't block yet.
extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
    while (clock == CLOCK_REALTIME && g_holdWaiters) {
        usleep(1000);
    }
    return static_cast<int>(syscall(SYS_clock_gettime, clock, now));
}

namespace {

TEST(Event, AutoResetLetsOneThroughPerSignalAndDoesNotCount) {
    DEvent event(false, true);
    event.Signal();
    event.Signal();
    EXPECT_EQ(event.Wait(0), WAIT_RESULT_OK);
    EXPECT_EQ(event.Wait(0), WAIT_RESULT_TIMEOUT);

    auto first = BlockIn(event, -1);
    auto second = BlockIn(event, -1);
    event.Signal();
    EXPECT_NE(IsBlocked(first), IsBlocked(second));
    event.Signal();
    EXPECT_EQ(first.get(), WAIT_RESULT_OK);
    EXPECT_EQ(second.get(), WAIT_RESULT_OK);
    EXPECT_EQ(event.Wait(0), WAIT_RESULT_TIMEOUT);
}

TEST(Event, ManualResetFreesBlockedWaitersAlsoWithAResetRightBehind) {
    DEvent event(false, false);
    auto first = BlockIn(event, -1);
    auto second = BlockIn(event, 60000);
    event.Signal();
    event.Reset();
    EXPECT_EQ(first.get(), WAIT_RESULT_OK);
    EXPECT_EQ(second.get(), WAIT_RESULT_OK);
    EXPECT_EQ(event.Wait(0), WAIT_RESULT_TIMEOUT);
    event.Signal();
    EXPECT_EQ(event.Wait(0), WAIT_RESULT_OK);
    EXPECT_EQ(event.Wait(-1), WAIT_RESULT_OK);
}

TEST(Event, TheInitialStateAndTheKindAreTheArguments) {
    DEvent manual(true, false);
    DEvent automatic(true, true);
    EXPECT_EQ(manual.Wait(-1), WAIT_RESULT_OK);
    EXPECT_EQ(manual.Wait(0), WAIT_RESULT_OK);
    EXPECT_EQ(automatic.Wait(-1), WAIT_RESULT_OK);
    EXPECT_EQ(automatic.Wait(0), WAIT_RESULT_TIMEOUT);
}

TEST(Event, ANegativeTimeOutOtherThanMinusOneNeverBlocks) {
    DEvent event(false, true);
    EXPECT_EQ(event.Wait(-2000), WAIT_RESULT_TIMEOUT);
    EXPECT_NE(event.Wait(-2), WAIT_RESULT_OK);
    event.Signal();
    EXPECT_EQ(event.Wait(-2), WAIT_RESULT_OK);
}

TEST(Event, DestructionWakesBlockedWaitersWithSuccessAndWaitsForThem) {
    auto* const event = new DEvent(false, true);
    auto first = BlockIn(*event, -1);
    auto second = BlockIn(*event, 60000);
    delete event;
    EXPECT_EQ(first.get(), WAIT_RESULT_OK);
    EXPECT_EQ(second.get(), WAIT_RESULT_OK);
}

TEST(Event, DestructionReachesWaitsThatAreStillOnTheirWayIn) {
    constexpr int kLongMs = 20000;
    auto* const event = new DEvent(false, true);
    g_holdWaiters = true;
    auto holder = BlockIn(*event, kLongMs); // has the mutex, and no wait under way yet
    std::thread destroyer([event] { delete event; });
    Sleep(50);
    auto late = BlockIn(*event, -1); // finds no destruction begun, and waits for the mutex
    g_holdWaiters = false;
    EXPECT_EQ(holder.get(), WAIT_RESULT_OK);
    EXPECT_NE(late.get(), WAIT_RESULT_TIMEOUT);
    destroyer.join();
}

#ifndef __SANITIZE_ADDRESS__ // its runtime takes the unwinding of a cancelled thread for an overrun
TEST(Event, ACancelledWaiterDoesNotHoldUpDestruction) {
    auto* const event = new DEvent(false, false);
    pthread_t waiter{};
    ASSERT_EQ(pthread_create(
                  &waiter, nullptr,
                  [](void* argument) -> void* {
                      static_cast<DEvent*>(argument)->Wait(-1);
                      return nullptr;
                  },
                  event),
              0);
    Sleep(50);
    pthread_cancel(waiter);
    pthread_join(waiter, nullptr);
    delete event;
}
#endif

TEST(Event, HandsOverEverySignalBetweenTwoThreads) {
    DEvent ping(false, true);
    DEvent pong(false, true);
    constexpr int kRounds = 100000;
    std::thread other([&] {
        for (int i = 0; i < kRounds; ++i) {
            ASSERT_EQ(ping.Wait(-1), WAIT_RESULT_OK);
            pong.Signal();
        }
    });
    for (int i = 0; i < kRounds; ++i) {
        ping.Signal();
        ASSERT_EQ(pong.Wait(-1), WAIT_RESULT_OK);
    }
    other.join();
}

TEST(Deadline, CarriesAboveTheLastNanosecondOfASecond) {
    auto const expect = [](timespec actual, time_t seconds, long nanoseconds) {
        EXPECT_EQ(actual.tv_sec, seconds);
        EXPECT_EQ(actual.tv_nsec, nanoseconds);
    };
    using verrick::DeadlineAfter;
    using verrick::FlatDeadlineAfter;
    expect(DeadlineAfter({10, 999000000}, 1500), 12, 499000000);
    expect(DeadlineAfter({10, 999999}, 1999), 11, 999999999);
    expect(DeadlineAfter({10, 1000000}, 1999), 12, 0);
    expect(DeadlineAfter({10, 5}, -1500), 9, -499999995);
    expect(FlatDeadlineAfter({10, 1000000}, 0xFFFFFFFE), 4294977, 295000000);
}

TEST(Deadline, StaysWithinTheRangeOfTheClock) {
    time_t const last = std::numeric_limits<time_t>::max();
    EXPECT_EQ(verrick::DeadlineAfter({last - 1, 999999999}, 2000).tv_sec, last);
    EXPECT_EQ(verrick::FlatDeadlineAfter({last, 999999999}, 0xFFFFFFFE).tv_sec, last);
}

} // namespace
