#include <verrick/timers.h>

#include <gtest/gtest.h>

#include <ctime>
#include <memory>
#include <new>
#include <string>
#include <thread>

#include "recorder.h"
#include "tests/support/memory.h"

namespace {

using Ids = std::vector<unsigned int>;

// Notes the ids and, where there is one, calls a function.
class Listener : public ITimerListener {
public:
    explicit Listener(std::function<void(unsigned int)> then = {}) : m_then(std::move(then)) {}
    void OnTimerExpired(unsigned int id) override {
        noted.Note(id);
        if (m_then) {
            m_then(id);
        }
    }

    Recorder<unsigned int> noted;

private:
    std::function<void(unsigned int)> m_then;
};

std::string const kBothEnded = "pthread_detached successfull for thread (TimeManager Thread).\n"
                               "pthread_detached successfull for thread (TimerDispatch Thread).\n";

DTimeManager* Service() {
    return DTimeManager::GetInstance(10);
}

// Ends the service ahead of the listeners, which are declared before it.
struct EndOfService {
    ~EndOfService() { DTimeManager::DestroyInstance(); }
};

TEST(Timers, FireOnTheTickGridNewestFirstAmongEquals) {
    Recorder<unsigned int> ticks;
    Listener listener([&](unsigned int id) {
        if (id == 9) {
            ticks.Note(Service()->GetTickCount());
        }
    });
    EndOfService const end;
    while (Service()->GetTickCount() ==
           0) { // the tick that follows leaves ten milliseconds for all
        Sleep(1);
    }
    unsigned int const start = Service()->GetTickCount();
    ASSERT_TRUE(Service()->CreateRelativeTimer(&listener, 1, 30, 0, 0));
    ASSERT_TRUE(Service()->CreateRelativeTimer(&listener, 2, 30, 0, 0));
    ASSERT_TRUE(Service()->CreateRelativeTimer(&listener, 3, 0, 0, 0));
    ASSERT_TRUE(Service()->CreateRelativeTimer(&listener, 9, 25, 0, TIMER_REPEAT));
    if (Service()->GetTickCount() == start) {
        auto const ids = listener.noted.Await(5);
        EXPECT_EQ(Ids(ids.begin(), ids.begin() + 4), (Ids{3, 9, 2, 1}));
        auto const at = ticks.Await(3);
        EXPECT_GE(at[0], start + 30);
        EXPECT_GE(at[2], start + 90);
        EXPECT_EQ((at[0] - start) % Service()->GetResolution(), 0U);
    }
    EXPECT_EQ(Service()->GetResolution(), 10U);
}

TEST(Timers, MoveBetweenArmedAndNotAndRefuseWhatDoesNotFit) {
    Listener listener;
    EndOfService const end;
    constexpr int kLong = 1000000;
    ASSERT_TRUE(Service()->CreateRelativeTimer(&listener, 1, kLong, 0, TIMER_REPEAT));
    EXPECT_FALSE(Service()->CreateRelativeTimer(&listener, 1, 10, 0, 0));
    EXPECT_FALSE(Service()->CreateAbsoluteTimer(&listener, 1, 0, 0));
    EXPECT_FALSE(Service()->Activate(&listener, 1));
    EXPECT_TRUE(Service()->Deactivate(&listener, 1));
    EXPECT_FALSE(Service()->Deactivate(&listener, 1));
    EXPECT_TRUE(Service()->Activate(&listener, 1));
    EXPECT_TRUE(Service()->Destroy(&listener, 1));
    EXPECT_FALSE(Service()->Destroy(&listener, 1));
    EXPECT_FALSE(Service()->Activate(&listener, 1));
    for (int const period : {0, -1, -2147483647 - 1}) {
        EXPECT_FALSE(Service()->CreateRelativeTimer(&listener, 2, period, 0, TIMER_REPEAT));
    }

    // Period 0, first armed by Activate: due at once. Fired timers stay, and fire again.
    ASSERT_TRUE(Service()->CreateRelativeTimer(&listener, 3, 0, 0, TIMER_INACTIVE));
    for (std::size_t round = 1; round <= 2; ++round) {
        EXPECT_TRUE(Service()->Activate(&listener, 3));
        EXPECT_EQ(listener.noted.Await(round), Ids(round, 3));
        EXPECT_FALSE(Service()->CreateRelativeTimer(&listener, 3, 10, 0, 0));
    }
}

TEST(Timers, AnAbsoluteTimerCountsTheDistanceWithoutItsSign) {
    Listener listener;
    EndOfService const end;
    long const now = static_cast<long>(time(nullptr));
    ASSERT_TRUE(Service()->CreateAbsoluteTimer(&listener, 1, now - 1, 0));
    ASSERT_TRUE(Service()->CreateAbsoluteTimer(&listener, 2, now + 100000, 0));
    ASSERT_TRUE(Service()->CreateAbsoluteTimer(&listener, 3, std::numeric_limits<long>::max(), 0));
    ASSERT_TRUE(Service()->CreateAbsoluteTimer(&listener, 4, now, 0));
    unsigned int const created = Service()->GetTickCount();
    for (unsigned int id = 1; id <= 4; ++id) {
        EXPECT_TRUE(Service()->Activate(&listener, id));
    }
    EXPECT_EQ(listener.noted.Await(1).front(), 4U);
    EXPECT_EQ(listener.noted.Await(2).back(), 1U);
    EXPECT_GE(Service()->GetTickCount(), created + 900);
    EXPECT_TRUE(Service()->Activate(&listener, 1)); // its time is over: the next tick
    EXPECT_EQ(listener.noted.Await(3), (Ids{4, 1, 1}));
}

TEST(Timers, TheDispatcherDeliversInOrderFromAFixedPool) {
    Gate gate;
    Listener listener([&](unsigned int id) {
        if (id == 0) {
            gate.Pass();
        }
    });
    Listener other;
    testing::internal::CaptureStdout();
    {
        DTimerDispatch dispatch;
        dispatch.Start();
        dispatch.Enqueue(&listener, 0);
        listener.noted.Await(1);
        dispatch.FlushQueue(&listener, 0); // not what is under way
        for (unsigned int i = 1; i <= 300; ++i) {
            dispatch.Enqueue(&listener, i); // the pool holds 255 beside the one under way
        }
        dispatch.FlushQueue(&listener, 100);
        dispatch.Enqueue(&other, 1);
        dispatch.Enqueue(&other, 2); // dropped again
        gate.Open();
        EXPECT_EQ(other.noted.Await(1), Ids{1});
        Ids expected;
        for (unsigned int i = 0; i <= 255; ++i) {
            if (i != 100) {
                expected.push_back(i);
            }
        }
        EXPECT_EQ(listener.noted.Await(0), expected);
        dispatch.Enqueue(&other, 3);
        EXPECT_EQ(other.noted.Await(2), (Ids{1, 3}));
    }
    DTimerDispatch{}; // never started: nothing to give up
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "pthread_detached successfull for thread (TimerDispatch Thread).\n");
}

TEST(Timers, DestroyFromTheListenerDropsWhatIsQueued) {
    Gate gate;
    std::unique_ptr<Listener> listener;
    listener = std::make_unique<Listener>([&](unsigned int id) {
        if (id == 1) {
            gate.Pass();
            EXPECT_TRUE(Service()->Destroy(listener.get(), 2));
            EXPECT_TRUE(Service()->Destroy(listener.get(), 1));
        }
    });
    EndOfService const end;
    Service()->CreateRelativeTimer(listener.get(), 1, 10, 0, 0);
    Service()->CreateRelativeTimer(listener.get(), 2, 20, 0, TIMER_REPEAT);
    Service()->CreateRelativeTimer(listener.get(), 3, 20, 0, 0);
    listener->noted.Await(1);
    Sleep(100);
    gate.Open();
    listener->noted.Await(2);
    Sleep(50);
    EXPECT_EQ(listener->noted.Await(0), (Ids{1, 3}));
}

TEST(Timers, DestroyInstanceReturnsWhenNoListenerRunsAnyMore) {
    testing::internal::CaptureStdout();
    for (int i = 0; i < Rounds(20); ++i) {
        DTimeManager* const manager = DTimeManager::GetInstance(10);
        EXPECT_EQ(DTimeManager::GetInstance(50), manager);
        EXPECT_LT(manager->GetTickCount(), 1000U); // a new service counts from 0
        Recorder<bool> ended;
        Listener listener([&](unsigned int) {
            Sleep(5);
            ended.Note(true);
        });
        manager->CreateRelativeTimer(&listener, 1, 10, 0, TIMER_REPEAT);
        listener.noted.Await(1);
        DTimeManager::DestroyInstance(); // beside a listener under way
        EXPECT_EQ(ended.Await(0).size(), listener.noted.Await(0).size());
        DTimeManager::DestroyInstance();
    }
    std::string expected;
    for (int i = 0; i < Rounds(20); ++i) {
        expected += kBothEnded;
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
}

TEST(Timers, AListenerMayEndTheServiceAndBeginAnother) {
    Recorder<DTimeManager*> managers;
    Listener second;
    Listener first([&](unsigned int) {
        DTimeManager::DestroyInstance();
        DTimeManager* const manager = DTimeManager::GetInstance(10);
        manager->CreateRelativeTimer(&second, 7, 10, 0, 0);
        managers.Note(manager);
    });
    DTimeManager* const manager = DTimeManager::GetInstance(10);
    manager->CreateRelativeTimer(&first, 1, 10, 0, 0);
    manager->CreateRelativeTimer(&first, 2, 10, 0, 0); // queued behind it, and dropped
    EXPECT_EQ(managers.Await(1).size(), 1U);
    EXPECT_EQ(second.noted.Await(1), Ids{7});
    DTimeManager::DestroyInstance();
    Sleep(20);
    EXPECT_EQ(managers.Await(0).size(), 1U);
}

TEST(Timers, AFailedAllocationLeavesTheLocksFree) {
    Listener listener;
    EndOfService const end;
    Service()->GetTickCount();
    {
        MemoryShortage shortage;
        try {
            Service()->CreateRelativeTimer(&listener, 1, 10, 0, 0);
            ADD_FAILURE();
        } catch (std::bad_alloc const&) {
        }
        try {
            Service()->CreateAbsoluteTimer(&listener, 1, 10, 0);
            ADD_FAILURE();
        } catch (std::bad_alloc const&) {
        }
    }
    std::thread([&] {
        EXPECT_TRUE(Service()->CreateRelativeTimer(&listener, 1, 10, 0, 0));
    }).join();
    EXPECT_EQ(listener.noted.Await(1), Ids{1});
}

} // namespace
