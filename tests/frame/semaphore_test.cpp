#include <verrick/handles.h>
#include <verrick/semaphore.h>
#include <verrick/time_primitives.h>

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <functional>
#include <future>
#include <thread>

#include "tests/support/memory.h"

namespace {

// Takes what can be had, at most limit counts.
int Drain(ISemaphore& semaphore, int limit = 100) {
    int taken = 0;
    while (taken < limit && semaphore.Wait(0) == WAIT_RESULT_OK) {
        ++taken;
    }
    return taken;
}

TEST(Semaphore, IsSharedByNameWithoutCaseUntilTheLastOwnerGoes) {
    {
        DSemaphore first(1, 2, L"Gate");
        auto second = std::make_unique<DSemaphore>(5, 9, L"gATE");
        EXPECT_EQ(second->Wait(0), WAIT_RESULT_OK);
        EXPECT_EQ(first.Wait(0), WAIT_RESULT_TIMEOUT);
        first.Release(9);
        second.reset();
        DSemaphore third(7, 7, L"GATE");
        EXPECT_EQ(Drain(third), 2);
        DSemaphore other(1, 1, L"Gate2");
        EXPECT_EQ(Drain(other), 1);
    }
    DSemaphore again(3, 3, L"gate");
    EXPECT_EQ(Drain(again), 3);
}

TEST(Semaphore, WithoutANameIsNotShared) {
    DSemaphore null(1, 1, nullptr);
    DSemaphore empty(1, 1, L"");
    DSemaphore another(1, 1, L"");
    for (ISemaphore* semaphore : {static_cast<ISemaphore*>(&null), static_cast<ISemaphore*>(&empty),
                                  static_cast<ISemaphore*>(&another)}) {
        EXPECT_EQ(Drain(*semaphore), 1);
    }
}

// What can be taken after a release, for limits inside and outside the range of the count.
TEST(Semaphore, ReleasesWhatFitsUnderASignedMaximum) {
    struct {
        unsigned int initial, maximum, release;
        int expected;
    } const cases[] = {
        {1, 2, 3, 2},           {0, 1, 0, 0},         {3, 1, 5, 3},
        {1, 0x80000000U, 5, 1}, {0, INT_MAX, 50, 50}, {0x80000000U, 0xFFFFFFFFU, 0, 0},
    };
    for (auto const& each : cases) {
        DSemaphore semaphore(each.initial, each.maximum, nullptr);
        semaphore.Release(each.release);
        EXPECT_EQ(Drain(semaphore), each.expected) << each.maximum;
    }
    DSemaphore full(INT_MAX - 1, INT_MAX, nullptr);
    full.Release(UINT_MAX); // ends where the count would wrap
    EXPECT_EQ(Drain(full), 100);
}

TEST(Semaphore, ANegativeTimeOutTakesWhatCanBeHadAndNeverBlocks) {
    DSemaphore semaphore(4, 4, nullptr);
    for (int const timeoutMs : {-2, -999, -1500, INT_MIN}) {
        EXPECT_EQ(semaphore.Wait(timeoutMs), WAIT_RESULT_OK);
    }
    for (int const timeoutMs : {-2, -999, -1500, INT_MIN}) {
        EXPECT_NE(semaphore.Wait(timeoutMs), WAIT_RESULT_OK);
    }
}

TEST(Semaphore, AFailedAllocationLeavesTheRegistryFreeForOthers) {
    bool failed = true;
    for (int granted = 0; failed; ++granted) {
        try {
            MemoryShortage shortage(granted);
            DSemaphore semaphore(1, 1, L"out of memory");
            failed = false;
            EXPECT_GT(granted, 3);
        } catch (std::bad_alloc const&) {
        }
        // A lock that was kept would show on another thread, and there as a stall.
        std::thread([] {
            DSemaphore other(2, 2, L"Out of memory");
            EXPECT_EQ(Drain(other), 2); // nothing is left of the first
        }).join();
    }
}

TEST(Semaphore, CreationDoesNotReviveANodeThatGoes) {
    auto const work = [] {
        for (int i = 0; i < 20000; ++i) {
            DSemaphore semaphore(1, 1, i % 2 == 0 ? L"revived" : L"REVIVED");
            if (semaphore.Wait(0) == WAIT_RESULT_OK) {
                semaphore.Release(1);
            }
        }
    };
    std::thread other(work);
    work();
    other.join();
    DSemaphore last(1, 1, L"revived");
    EXPECT_EQ(Drain(last), 1);
}

// Interrupts a blocked wait with a signal whose handler asks for no restart, and gives its result.
unsigned long Interrupted(std::function<unsigned long()> const& wait) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    std::atomic<bool> over{false};
    unsigned long result = 0;
    std::thread waiter([&] {
        result = wait();
        over = true;
    });
    while (!over) {
        Sleep(10);
        pthread_kill(waiter.native_handle(), SIGUSR1);
    }
    waiter.join();
    return result;
}

// Where the two kinds of semaphore differ, and that both end an interrupted wait.
TEST(SemaphoreTwins, DifferInNamesAndInPartialRelease) {
    DSemaphore object(1, 2, L"twin");
    EXPECT_EQ(CreateSemaphore(nullptr, 1, 2, L"twin"), nullptr);
    HANDLE const handle = CreateSemaphore(nullptr, 1, 2, nullptr);
    object.Release(2);
    EXPECT_EQ(ReleaseSemaphore(handle, 2, nullptr), 0);
    EXPECT_EQ(Drain(object), 2);
    EXPECT_EQ(WaitForSingleObject(handle, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(handle, 0), WAIT_TIMEOUT);
    EXPECT_EQ(Interrupted([&] { return object.Wait(-1); }), WAIT_RESULT_FAILED + 0UL);
    EXPECT_EQ(Interrupted([&] { return object.Wait(60000); }), WAIT_RESULT_FAILED + 0UL);
    EXPECT_EQ(Interrupted([&] { return WaitForSingleObject(handle, INFINITE); }), WAIT_FAILED);
    EXPECT_EQ(Interrupted([&] { return WaitForSingleObject(handle, 60000); }), WAIT_FAILED);
    CloseHandle(handle);
}

} // namespace
