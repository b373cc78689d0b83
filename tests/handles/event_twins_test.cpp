// What both kinds of events promise alike.
#include <verrick/event.h>
#include <verrick/handles.h>
#include <verrick/semaphore.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <thread>
#include <utility>

#include "tests/support/asleep.h"

// Called once instead of the next timed wait, which ends with its time then.
static std::function<void()> g_insteadOfWait;

extern "C" int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                      timespec const* deadline) {
    if (auto const instead = std::exchange(g_insteadOfWait, nullptr)) {
        pthread_mutex_unlock(mutex);
        instead();
        pthread_mutex_lock(mutex);
        pthread_testcancel();
        return ETIMEDOUT;
    }
    return pthread_cond_clockwait(condition, mutex, CLOCK_REALTIME, deadline);
}

// Outside of a namespace, because their names become part of the tests' names.

struct ObjectEvent {
    explicit ObjectEvent(bool autoReset = true) : event(false, autoReset) {}
    void Signal() { event.Signal(); }
    void Reset() { event.Reset(); }
    bool Wait(int timeoutMs) { return event.Wait(timeoutMs) == WAIT_RESULT_OK; }

    DEventImpl event;
};

struct HandleEvent {
    explicit HandleEvent(bool autoReset = true) : event(0, autoReset ? 0 : 1) {}
    ~HandleEvent() { event.CloseHandle(); }
    void Signal() { EXPECT_EQ(SetEvent(&event), 1); }
    void Reset() { EXPECT_EQ(ResetEvent(&event), 1); }
    bool Wait(int timeoutMs) {
        return WaitForSingleObject(&event, static_cast<unsigned int>(timeoutMs)) == WAIT_OBJECT_0;
    }

    XEvent event;
};

struct ObjectSemaphore {
    DSemaphore semaphore{0, 1, nullptr};
    void Signal() { semaphore.Release(1); }
    bool Wait(int timeoutMs) { return semaphore.Wait(timeoutMs) == WAIT_RESULT_OK; }
};

struct HandleSemaphore {
    XSemaphore semaphore{0, 1};
    void Signal() { EXPECT_EQ(ReleaseSemaphore(&semaphore, 1, nullptr), 1); }
    bool Wait(int timeoutMs) {
        return semaphore.WaitForSingleObject(static_cast<unsigned int>(timeoutMs)) == WAIT_OBJECT_0;
    }
};

namespace {

// Threads that wait on the event, which all will be let through by its end at the latest.
template<class Event>
struct BlockedThreads {
    explicit BlockedThreads(Event& event) {
        for (int const timeoutMs : {-1, 60000, -1}) {
            threads.emplace_back([this, &event, timeoutMs] {
                EXPECT_TRUE(event.Wait(timeoutMs));
                ++freed;
            });
        }
        AwaitOthersAsleep();
    }

    std::atomic<int> freed{0};
    std::vector<std::jthread> threads;
};

template<class Event>
class EventTwins : public testing::Test {};

using Twins = testing::Types<ObjectEvent, HandleEvent>;
TYPED_TEST_SUITE(EventTwins, Twins);

template<class Signal>
class HandOff : public testing::Test {};

using Signals = testing::Types<ObjectEvent, HandleEvent, ObjectSemaphore, HandleSemaphore>;
TYPED_TEST_SUITE(HandOff, Signals);

TYPED_TEST(EventTwins, FreeOneBlockedThreadOrAllWithASignalAndTheRestAtTheirEnd) {
    for (bool const autoReset : {true, false}) {
        auto* const event = new TypeParam(autoReset);
        BlockedThreads const waiters(*event);
        event->Signal();
        event->Reset(); // holds up nobody who was waiting
        AwaitOthersAsleep();
        EXPECT_EQ(waiters.freed, autoReset ? 1 : 3);
        EXPECT_FALSE(event->Wait(0));
        delete event;
    }
}

// VERRICK_HANDOFFS sets how many times.
TYPED_TEST(HandOff, LosesNoSignalAndShowsWhatWasWrittenBeforeIt) {
    char const* const text = std::getenv("VERRICK_HANDOFFS");
    int const rounds = text != nullptr ? std::atoi(text) : 50000;
    TypeParam filled;
    TypeParam emptied;
    int slot = 0;
    std::thread writer([&] {
        for (int round = 1; round <= rounds; ++round) {
            slot = round;
            filled.Signal();
            ASSERT_TRUE(emptied.Wait(-1));
        }
    });
    for (int round = 1; round <= rounds; ++round) {
        while (round % 2 == 0 ? !filled.Wait(-1) : !filled.Wait(0)) { // with and without the lock
            std::this_thread::yield();
        }
        ASSERT_EQ(slot, round);
        emptied.Signal();
    }
    writer.join();
}

TYPED_TEST(EventTwins, AWaiterMayEndTheEventThatHasJustLetItThrough) {
    for (int round = 0; round < 300; ++round) {
        auto* const event = new TypeParam;
        std::thread signaller([event] { event->Signal(); });
        EXPECT_TRUE(event->Wait(-1));
        delete event;
        signaller.join();
    }
}

TYPED_TEST(EventTwins, AWaiterWhoseTimeRunsOutAtTheMomentOfASignalHasIt) {
    TypeParam event;
    g_insteadOfWait = [&] { event.Signal(); };
    EXPECT_TRUE(event.Wait(1000));
    EXPECT_FALSE(event.Wait(0));
}

TEST(EventHandle, APulseFreesOneBlockedThreadOfEitherKindAndLeavesTheEventUnsignalled) {
    for (bool const autoReset : {true, false}) {
        HandleEvent event(autoReset);
        event.Signal();
        EXPECT_EQ(PulseEvent(&event.event), 1);
        BlockedThreads const waiters(event);
        EXPECT_EQ(waiters.freed, 0);
        EXPECT_EQ(PulseEvent(&event.event), 1);
        AwaitOthersAsleep();
        EXPECT_EQ(waiters.freed, 1);
        EXPECT_FALSE(event.Wait(0));
        event.event.CloseHandle();
    }
}

#ifndef __SANITIZE_ADDRESS__ // its runtime takes the unwinding of a cancelled thread for an overrun

TYPED_TEST(EventTwins, ACancelledWaiterPutsBackASignalThatNobodyElseWillHave) {
    for (bool const isReset : {false, true}) {
        TypeParam event;
        std::thread waiter([&] {
            g_insteadOfWait = [&] {
                event.Signal();
                if (isReset) {
                    event.Reset(); // then there is none to put back
                }
                pthread_cancel(pthread_self());
            };
            event.Wait(1000);
        });
        waiter.join();
        EXPECT_EQ(event.Wait(0), !isReset);
    }
}

TYPED_TEST(EventTwins, ACancelledThreadEndsAnEventWithItsWaitersAllTheSame) {
    auto* const event = new TypeParam;
    BlockedThreads const waiters(*event);
    bool ended = false;
    std::thread destroyer([&] {
        pthread_cancel(pthread_self());
        delete event;
        ended = true;
    });
    destroyer.join();
    EXPECT_TRUE(ended);
}

#endif

} // namespace
