// What both kinds of events promise alike.
#include "tests/support/test.h"

// Called once instead of the next timed wait, which ends with its time then. Gets the event's
// mutex, which is locked.
static std::function<void(pthread_mutex_t*)> g_insteadOfWait;

extern "C" int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                      timespec const* deadline) {
    if (auto const instead = std::exchange(g_insteadOfWait, nullptr)) {
        instead(mutex);
        pthread_testcancel();
        return ETIMEDOUT;
    }
    return pthread_cond_clockwait(condition, mutex, CLOCK_REALTIME, deadline);
}

// Called once after the next signal to a condition, inside that call.
static std::function<void()> g_afterWakeUp;

extern "C" int pthread_cond_signal(pthread_cond_t* condition) noexcept {
    static auto* const real = Real(pthread_cond_signal, "pthread_cond_signal");
    int const error = real(condition);
    if (auto const after = std::exchange(g_afterWakeUp, nullptr)) {
        after();
    }
    return error;
}

// Outside of a namespace, because their names become part of the tests' names.

struct ObjectEvent {
    static constexpr int kFarMs = 60000;
    explicit ObjectEvent(bool autoReset = true) : event(false, autoReset) {}
    void Signal() { event.Signal(); }
    void SignalToWaiter() { event.Signal(); } // it has no pulse
    void Reset() { event.Reset(); }
    bool Wait(int timeoutMs) { return event.Wait(timeoutMs) == WAIT_RESULT_OK; }

    DEventImpl event;
};

struct HandleEvent {
    static constexpr int kFarMs = -2000; // unsigned
    explicit HandleEvent(bool autoReset = true) : event(0, autoReset ? 0 : 1) {}
    ~HandleEvent() { event.CloseHandle(); }
    void Signal() { EXPECT_EQ(SetEvent(&event), 1); }
    void SignalToWaiter() { EXPECT_EQ(PulseEvent(&event), 1); }
    void Reset() { EXPECT_EQ(ResetEvent(&event), 1); }
    bool Wait(int timeoutMs) {
        return WaitForSingleObject(&event, static_cast<unsigned int>(timeoutMs)) == WAIT_OBJECT_0;
    }

    XEvent event;
};

namespace {

// Lets go of a mutex for a scope.
struct Unlocked {
    explicit Unlocked(pthread_mutex_t* held) : mutex(held) {
        EXPECT_EQ(pthread_mutex_lock(mutex), EDEADLK); // it is of the checking kind
        pthread_mutex_unlock(mutex);
    }
    ~Unlocked() { pthread_mutex_lock(mutex); }

    pthread_mutex_t* const mutex;
};

// Threads that wait on the event, which all will be let through by its end at the latest.
template<class Event>
struct BlockedThreads {
    explicit BlockedThreads(Event& event) {
        for (int const timeoutMs : {-1, Event::kFarMs, -1}) {
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

TYPED_TEST(EventTwins, FreeOneBlockedThreadOrAllWithASignalAndTheRestAtTheirEnd) {
    for (bool const autoReset : {true, false}) {
        auto* const event = new TypeParam(autoReset);
        BlockedThreads const waiters(*event);
        event->Signal();
        EXPECT_EQ(event->Wait(0), !autoReset);
        event->Reset(); // holds up nobody who was waiting
        AwaitOthersAsleep();
        EXPECT_EQ(waiters.freed, autoReset ? 1 : 3);
        EXPECT_FALSE(event->Wait(0));
        delete event;
    }
}

// The thread sanitizer sees that the signal also orders memory.
TYPED_TEST(EventTwins, ASignalThatFindsItsWaiterGoneIsKept) {
    TypeParam event;
    int slot = 0;
    std::jthread signaller;
    g_insteadOfWait = [&](pthread_mutex_t*) { // the waiter leaves before the mutex is free
        signaller = std::jthread([&] {
            slot = 1;
            event.Signal();
        });
        AwaitOthersAsleep();
    };
    EXPECT_FALSE(event.Wait(1000));
    while (!event.Wait(0)) {
    }
    EXPECT_EQ(slot, 1);
}

// Also if the waiter's time runs out meanwhile. A signal more has nobody to wake, and is lost.
TYPED_TEST(EventTwins, AWaiterMayEndTheEventWhileTheSignalThatLetItThroughIsUnderWay) {
    for (int const timeoutMs : {-1, 1000}) {
        auto* const event = new TypeParam;
        std::atomic<bool> isUnderWay = false, isOver = false;
        g_afterWakeUp = [&] {
            isUnderWay = true;
            isUnderWay.notify_all();
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            isOver = true;
        };
        g_insteadOfWait = [&](pthread_mutex_t* mutex) {
            Unlocked const unlocked(mutex);
            isUnderWay.wait(false);
            event->Signal();
        };
        int slot = 0;
        std::jthread const signaller([&] {
            AwaitOthersAsleep();
            slot = 1;
            event->SignalToWaiter();
        });
        EXPECT_TRUE(event->Wait(timeoutMs));
        EXPECT_EQ(slot, 1);
        EXPECT_TRUE(isOver || timeoutMs == -1);
        EXPECT_FALSE(event->Wait(0));
        delete event;
        EXPECT_TRUE(isOver);
    }
}

TYPED_TEST(EventTwins, TheEndFreesThreadsThatAreStillOnTheirWayIntoTheWait) {
    auto* const event = new TypeParam;
    std::thread destroyer;
    g_insteadOfWait = [&](pthread_mutex_t* mutex) {
        destroyer = std::thread([&] { delete event; });
        AwaitOthersAsleep();
        auto late = std::async(std::launch::async, [&] { return event->Wait(-1); });
        AwaitOthersAsleep(); // it found no end begun, and waits for the mutex, too
        Unlocked const unlocked(mutex);
        late.wait();
    };
    EXPECT_TRUE(event->Wait(20000));
    destroyer.join();
}

TEST(EventHandle, APulseFreesOneBlockedThreadOfEitherKindAndLeavesTheEventUnsignalled) {
    for (bool const autoReset : {true, false}) {
        HandleEvent event(autoReset);
        event.Signal();
        EXPECT_EQ(PulseEvent(&event.event), 1);
        BlockedThreads const waiters(event);
        for (int pulses = 0; pulses < 3; ++pulses) {
            EXPECT_EQ(waiters.freed, pulses);
            event.SignalToWaiter();
            AwaitOthersAsleep();
        }
    }
}

TYPED_TEST(EventTwins, ACancelledWaiterPassesItsSignalOnOrPutsItBack) {
    enum Then { kNobodyWaits, kReset, kPulse, kAnotherWaits };
    constexpr bool hasPulse = std::is_same_v<TypeParam, HandleEvent>;
    for (Then const then : {kNobodyWaits, kReset, kPulse, kAnotherWaits}) {
        TypeParam event;
        std::future<bool> another;
        std::thread([&] {
            g_insteadOfWait = [&](pthread_mutex_t* mutex) {
                Unlocked const unlocked(mutex);
                event.Reset(); // concerns no later signal
                then == kPulse ? event.SignalToWaiter() : event.Signal();
                if (then == kReset) {
                    event.Reset(); // then there is none to put back
                } else if (then == kAnotherWaits) {
                    another = std::async(std::launch::async, [&] { return event.Wait(-1); });
                    AwaitOthersAsleep();
                }
                pthread_cancel(pthread_self());
            };
            event.Wait(1000);
        }).join();
        bool const isLost = then == kReset || (then == kPulse && hasPulse);
        EXPECT_EQ(another.valid() ? another.get() : event.Wait(0), !isLost);
    }
}

TYPED_TEST(EventTwins, ACancelledThreadEndsAnEventWithItsWaitersAllTheSame) {
    auto* const event = new TypeParam;
    BlockedThreads const waiters(*event);
    int steps = 0;
    std::thread([&] {
        pthread_cancel(pthread_self());
        delete event;
        ++steps;
        pthread_testcancel();
        ++steps;
    }).join();
    EXPECT_EQ(steps, 1);
}

} // namespace
