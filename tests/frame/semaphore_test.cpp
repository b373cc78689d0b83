#include <verrick/handles.h>
#include <verrick/semaphore.h>
#include <verrick/time_primitives.h>

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <functional>
#include <thread>

#include "tests/support/asleep.h"
#include "tests/support/memory.h"

// Takes what can be had, at most 99 counts.
static int Drain(ISemaphore& semaphore) {
    int taken = 0;
    while (taken < 99 && semaphore.Wait(0) == WAIT_RESULT_OK) {
        ++taken;
    }
    return taken;
}

TEST(Semaphore, IsSharedByNameWithoutCaseUntilTheLastOwnerGoes) {
    auto first = std::make_unique<DSemaphore>(1, 2, L"Gate");
    auto second = std::make_unique<DSemaphore>(5, 9, L"gATE");
    DSemaphore unnamed(3, 3, L"");
    EXPECT_EQ(Drain(*second), 1);
    first->Release(9);
    first.reset();
    EXPECT_EQ(Drain(*second), 2);
    second.reset();
    DSemaphore again(3, 3, L"gate");
    EXPECT_EQ(Drain(again), 3);
    EXPECT_EQ(Drain(unnamed), 3);
}

TEST(Semaphore, ReleasesWhatFitsUnderASignedMaximum) {
    struct {
        unsigned int initial, maximum, release;
        int expected;
    } const cases[] = {{1, 2, 3, 2},
                       {0, 1, 0, 0},
                       {3, 1, 5, 3},
                       {1, 0x80000000U, 5, 1},
                       {0, INT_MAX, 50, 50},
                       {0x80000000U, ~0U, 0, 0},
                       {INT_MAX - 1, INT_MAX, ~0U, 99}}; // the last ends where the count would wrap
    for (auto const& each : cases) {
        DSemaphore semaphore(each.initial, each.maximum, nullptr);
        semaphore.Release(each.release);
        EXPECT_EQ(Drain(semaphore), each.expected) << each.maximum;
    }
}

TEST(Semaphore, ANegativeTimeOutTakesWhatCanBeHadAndNeverBlocks) {
    for (int const timeoutMs : {-2, -999, -1500, INT_MIN}) {
        DSemaphore semaphore(1, 1, nullptr);
        EXPECT_EQ(semaphore.Wait(timeoutMs), WAIT_RESULT_OK);
        EXPECT_NE(semaphore.Wait(timeoutMs), WAIT_RESULT_OK);
    }
}

// The creations of another thread neither find the lock kept by one that failed, nor revive a node
// that goes.
TEST(Semaphore, StandsFailedAllocationsBesideCreationsOfTheSameName) {
    std::thread other([] {
        for (int i = 0; i < 20000; ++i) {
            DSemaphore(1, 1, L"contended").Release(1);
        }
    });
    for (int i = 0; i < 20000; ++i) {
        try {
            MemoryShortage shortage(i % 10);
            DSemaphore(1, 1, L"CONTENDED").Release(1);
        } catch (std::bad_alloc const&) {
        }
    }
    other.join();
    DSemaphore last(2, 2, L"contended");
    EXPECT_EQ(Drain(last), 2);
}

// The result of a blocked wait that a signal interrupts, with a handler that asks for no restart.
static unsigned long Interrupted(std::function<unsigned long()> const& wait) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    std::thread interrupter([self = pthread_self()] {
        AwaitOthersAsleep();
        pthread_kill(self, SIGUSR1);
    });
    unsigned long const result = wait();
    interrupter.join();
    return result;
}

TEST(SemaphoreTwins, DifferInNamesAndPartialReleaseAndEndAnInterruptedWait) {
    EXPECT_EQ(CreateSemaphore(nullptr, 1, 2, L"twin"), nullptr);
    DSemaphore object(1, 2, L"twin");
    HANDLE const handle = CreateSemaphore(nullptr, 1, 2, nullptr);
    object.Release(2);
    EXPECT_EQ(ReleaseSemaphore(handle, 2, nullptr), 0);
    EXPECT_EQ(Drain(object), 2);
    EXPECT_EQ(WaitForSingleObject(handle, 0), WAIT_OBJECT_0);
    for (int const timeoutMs : {-1, 60000}) {
        EXPECT_EQ(Interrupted([&] { return object.Wait(timeoutMs); }), 2UL);
        EXPECT_EQ(Interrupted([&] { return WaitForSingleObject(handle, timeoutMs + 0UL); }),
                  WAIT_FAILED);
    }
    CloseHandle(handle);
}
