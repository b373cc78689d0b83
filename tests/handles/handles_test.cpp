#include <verrick/event.h>
#include <verrick/handles.h>
#include <verrick/time_primitives.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <functional>
#include <future>
#include <thread>

#include "tests/support/asleep.h"

// How many of three blocked waiters a call frees, and whether it leaves the event signalled.
TEST(EventHandle, FreesItsWaitersAsItsKindSaysAndTheRestWhenItIsClosed) {
    auto const setReset = [](HANDLE event) { return SetEvent(event) & ResetEvent(event); };
    auto const setTwice = [](HANDLE event) { return SetEvent(event) & SetEvent(event); };
    struct {
        int manualReset;
        int (*call)(HANDLE);
        int freed;
        unsigned long stateAfterwards;
    } const cases[] = {{1, SetEvent, 3, WAIT_OBJECT_0},  {1, PulseEvent, 1, WAIT_TIMEOUT},
                       {1, setReset, 3, WAIT_TIMEOUT},   {0, SetEvent, 1, WAIT_TIMEOUT},
                       {0, PulseEvent, 1, WAIT_TIMEOUT}, {0, setTwice, 2, WAIT_TIMEOUT}};
    for (auto const& each : cases) {
        HANDLE const event = CreateEvent(nullptr, each.manualReset, 0, L"shares nothing");
        std::atomic<int> freed{0};
        std::vector<std::thread> waiters;
        for (unsigned long const timeoutMs : {INFINITE, 60000UL, INFINITE | ~0xFFFFFFFFUL}) {
            waiters.emplace_back([=, &freed] {
                EXPECT_EQ(WaitForSingleObject(event, timeoutMs), WAIT_OBJECT_0);
                ++freed;
            });
        }
        AwaitOthersAsleep();
        EXPECT_EQ(freed, 0);
        EXPECT_EQ(each.call(event), 1);
        AwaitOthersAsleep();
        EXPECT_EQ(freed, each.freed);
        EXPECT_EQ(WaitForSingleObject(event, 0), each.stateAfterwards);
        EXPECT_EQ(CloseHandle(event), 1);
        for (auto& waiter : waiters) {
            waiter.join();
        }
    }
}

TEST(SemaphoreHandle, ReleasesAllOrNothing) {
    HANDLE const semaphore = CreateSemaphore(nullptr, 1, 2, nullptr);
    struct {
        long count;
        int result;
        long previous;
    } const cases[] = {{0, 0, -9}, {-1, 0, -9}, {2, 0, 1}, {LONG_MAX, 0, 1}, {1, 1, 1}, {1, 0, 2}};
    for (auto const& each : cases) {
        long previous = -9;
        EXPECT_EQ(ReleaseSemaphore(semaphore, each.count, &previous), each.result) << each.count;
        EXPECT_EQ(previous, each.previous) << each.count;
    }
    for (unsigned long const expected : {WAIT_OBJECT_0, WAIT_OBJECT_0, WAIT_TIMEOUT}) {
        EXPECT_EQ(WaitForSingleObject(semaphore, 0), expected);
    }
    CloseHandle(semaphore);
}

TEST(Handle, OfNoneOrOfTheWrongKindIsRefused) {
    HANDLE const event = CreateEvent(nullptr, 0, 0, nullptr);
    HANDLE const semaphore = CreateSemaphore(nullptr, 0, 1, nullptr);
    for (HANDLE const handle : {HANDLE{}, semaphore}) {
        EXPECT_EQ(SetEvent(handle) + PulseEvent(handle) + ResetEvent(handle), 0);
    }
    EXPECT_EQ(ReleaseSemaphore(event, 1, nullptr) + ReleaseSemaphore(nullptr, 1, nullptr), 0);
    EXPECT_EQ(WaitForSingleObject(nullptr, 0), 0xFFFFFFFFUL);
    EXPECT_EQ(CloseHandle(nullptr), 0);
    EXPECT_EQ(CloseHandle(event) + CloseHandle(semaphore), 2);
}

TEST(EventTwins, DifferInTheirFlagsTimeOutsResultsAndTeardown) {
    DEvent object(false, false);
    XEvent handle(0, 0);
    object.Signal();
    EXPECT_EQ(handle.SetToSignaledState(), 1);
    for (unsigned long const expected : {0UL, 258UL}) {
        EXPECT_EQ(object.Wait(0), WAIT_RESULT_OK); // stays signalled
        EXPECT_EQ(handle.WaitForSingleObject(0), expected);
    }
    object.Reset();
    EXPECT_EQ(object.Wait(-2000), WAIT_RESULT_TIMEOUT); // in the past, where the other is far ahead
    auto const wait = [&] { return handle.WaitForSingleObject(static_cast<unsigned long>(-2000)); };
    auto waiter = std::async(std::launch::async, wait);
    EXPECT_EQ(waiter.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    EXPECT_EQ(handle.CloseHandle(), 1);
    EXPECT_EQ(waiter.get(), WAIT_OBJECT_0);
    EXPECT_EQ(handle.CloseHandle() + handle.SetToSignaledState(), 0);
    EXPECT_EQ(wait(), WAIT_FAILED);
}

// Passes a signal to and fro between two threads; VERRICK_HANDOFFS sets how many times.
static void PassToAndFro(std::function<void(int)> const& signal,
                         std::function<bool(int)> const& wait) {
    char const* const text = std::getenv("VERRICK_HANDOFFS");
    int const rounds = (text != nullptr ? std::atoi(text) : 50000) / 2;
    std::thread other([&] {
        for (int i = 0; i < rounds; ++i) {
            ASSERT_TRUE(wait(1));
            signal(0);
        }
    });
    for (int i = 0; i < rounds; ++i) {
        signal(1);
        ASSERT_TRUE(wait(0));
    }
    other.join();
}

TEST(EventTwins, HandOverEverySignalBetweenTwoThreads) {
    DEvent objects[] = {{false, true}, {false, true}};
    PassToAndFro([&](int to) { objects[to].Signal(); },
                 [&](int self) { return objects[self].Wait(-1) == WAIT_RESULT_OK; });
    XEvent events[] = {{0, 0}, {0, 0}};
    PassToAndFro([&](int to) { SetEvent(&events[to]); },
                 [&](int self) { return WaitForSingleObject(&events[self], INFINITE) == 0; });
    EXPECT_EQ(events[0].CloseHandle() + events[1].CloseHandle(), 2);
}
