// The timer engine on a clock that the test moves. The library's sources are compiled into this
// program, with the callouts below in the place of the library's own.
#include "threads/timer_index.h"
#include <verrick/time_primitives.h>
#include <verrick/timers.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <limits>
#include <map>
#include <random>
#include <thread>

#include "hooks.h"

namespace {

constexpr int kTwelveDaysMs = 1 << 30; // a quarter of the clock's range

// Stands for the platform's timer: a tick comes when the test says so.
class Ticks {
public:
    int resolutionMs = 10;
    std::function<void()> onCreate = [] {};

    // Lets one tick happen and waits until its work is done.
    void Advance() {
        std::unique_lock lock(m_mutex);
        m_allowed = true;
        m_changed.notify_all();
        m_changed.wait(lock, [&] { return m_isWaiting && !m_allowed; });
    }

    // From here on the engine isn't held up.
    void Release() {
        std::lock_guard lock(m_mutex);
        m_isReleased = true;
        m_changed.notify_all();
    }

    bool Wait() {
        std::unique_lock lock(m_mutex);
        m_isWaiting = true;
        m_changed.notify_all();
        m_changed.wait(lock, [&] { return m_allowed || m_isReleased; });
        m_isWaiting = false;
        return std::exchange(m_allowed, false);
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::atomic<bool> m_isWaiting = false;
    bool m_allowed = false;
    bool m_isReleased = false;
};

Ticks* g_ticks = nullptr;

// What the threads of the service ask of the system.
std::vector<std::size_t> g_stackSizes;

// The calendar stands still.
constexpr long kToday = 1700000000;

} // namespace

int DTimeManagerImplCallouts__CreatePeriodicTimer(void** timer) {
    *timer = g_ticks;
    std::exchange(g_ticks->onCreate, [] {})();
    return g_ticks->resolutionMs;
}

void DTimeManagerImplCallouts__DestroyPeriodicTimer(void** timer) {
    EXPECT_FALSE(static_cast<Ticks*>(*timer)->m_isWaiting);
    *timer = nullptr;
}

void DTimeManagerImplCallouts__Sleep(void* /*timer*/, int /*ms*/) {}

bool DTimeManagerImplCallouts__WaitForTimerExpiration(void* timer) {
    return static_cast<Ticks*>(timer)->Wait();
}

extern "C" int pthread_attr_setstacksize(pthread_attr_t* attributes, std::size_t bytes) noexcept {
    g_stackSizes.push_back(bytes);
    return Real(pthread_attr_setstacksize, "pthread_attr_setstacksize")(attributes, bytes);
}

extern "C" time_t time(time_t* /*now*/) noexcept {
    return kToday;
}

namespace {

// A service on a clock that the test moves, and a listener that notes what is delivered.
class TimerClock : public testing::Test {
protected:
    TimerClock() {
        g_ticks = &ticks;
        g_stackSizes.clear();
    }
    ~TimerClock() override {
        ticks.Release();
        DTimeManager::DestroyInstance();
    }

    static DTimeManager& Service() { return *DTimeManager::GetInstance(7); }
    static DTimerDispatch& Dispatch() { return *Engine().m_dispatch; }
    static DTimeManagerImpl& Engine() { return static_cast<DTimeManagerImpl&>(*Service().m_impl); }

    bool Create(unsigned int id, int periodMs, unsigned int flags = 0) {
        return Service().CreateRelativeTimer(&listener, id, periodMs, 0, flags);
    }

    void ActivateAbsolute(unsigned int id, long when) {
        Service().CreateAbsoluteTimer(&listener, id, when, 0);
        Service().Activate(&listener, id);
    }

    // Lets so many ticks happen, one after another. Returns what has been delivered in all.
    Ids Tick(int count) {
        Service();
        for (int i = 0; i < count; ++i) {
            ticks.Advance();
            Delivered();
        }
        return Delivered();
    }

    // Returns what has been delivered, once nothing is left to deliver.
    Ids Delivered() {
        AwaitIdle();
        return listener.noted.Await(0);
    }

    static void AwaitIdle() {
        while (!IsIdle()) {
            std::this_thread::yield();
        }
    }

    static bool IsIdle() {
        DMonitor const queue(Dispatch().m_csQueue);
        return std::none_of(Dispatch().m_pool, Dispatch().m_pool + 256,
                            [](auto const& item) { return item.m_inUse; });
    }

    Ticks ticks;
    Listener listener;
};

TEST_F(TimerClock, RefusesWhatDoesNotFit) {
    EXPECT_FALSE(Service().CreateRelativeTimer(nullptr, 1, 10, 0, 0));
    EXPECT_FALSE(Service().CreateAbsoluteTimer(nullptr, 1, 10, 0));
    EXPECT_FALSE(Create(1, 0, TIMER_REPEAT));
    EXPECT_FALSE(Create(1, -1, TIMER_REPEAT));
}

TEST_F(TimerClock, ALateTickIsNotMadeUp) {
    Tick(1);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    Tick(1);
    EXPECT_EQ(Service().GetTickCount(), 20U);
}

TEST_F(TimerClock, AFiredOneShotTimerIsInactiveUntilDestroy) {
    Create(1, 30, TIMER_INACTIVE);
    EXPECT_EQ(Tick(4), Ids{});
    EXPECT_FALSE(Service().Deactivate(&listener, 1));
    EXPECT_TRUE(Service().Activate(&listener, 1));
    EXPECT_FALSE(Service().Activate(&listener, 1));
    EXPECT_EQ(Tick(2), Ids{}); // its whole period begins then
    EXPECT_EQ(Tick(2), Ids{1});
    EXPECT_FALSE(Create(1, 0));
    EXPECT_FALSE(Service().CreateAbsoluteTimer(&listener, 1, 0, 0));
    EXPECT_TRUE(Service().Destroy(&listener, 1));
}

TEST_F(TimerClock, AnExpiryThatWaitsForDeliverySurvivesDeactivateButNotDestroy) {
    Gate gate;
    Listener blocking;
    blocking.then = [&](unsigned int) { gate.Pass(); };
    Service().CreateRelativeTimer(&blocking, 2, 0, 0, 0);
    Create(1, 10, TIMER_REPEAT);
    Create(2, 10, TIMER_REPEAT);
    ticks.Advance();
    Service().Deactivate(&listener, 1);
    Service().Destroy(&listener, 2);
    gate.Open();
    EXPECT_EQ(Tick(1), Ids{1});
}

// They are more than the index has room for at first, so some of them get to the same place in it.
TEST_F(TimerClock, ListenersMayUseTheSameId) {
    std::vector<Listener> others(100);
    for (Listener& other : others) {
        ASSERT_TRUE(Service().CreateRelativeTimer(&other, 1, kTwelveDaysMs, 0, 0));
    }
}

TEST_F(TimerClock, AnAbsoluteTimerCountsTheDistanceWithoutItsSign) {
    ticks.resolutionMs = 1000;
    ActivateAbsolute(1, kToday - 5);
    ActivateAbsolute(2, kToday + 5);
    EXPECT_EQ(Tick(4), Ids{});
    EXPECT_EQ(Tick(1), (Ids{2, 1}));
    Service().Activate(&listener, 1); // its time is over
    EXPECT_EQ(Tick(1), (Ids{2, 1, 1}));
}

// At ages of the service before and after its clock begins again from 0, on the fourth tick.
class TimerClockOfAge : public TimerClock, public testing::WithParamInterface<int> {
protected:
    void SetUp() override {
        ticks.resolutionMs = kTwelveDaysMs;
        Tick(GetParam());
    }
};
INSTANTIATE_TEST_SUITE_P(Ticks, TimerClockOfAge, testing::Values(0, 1, 3, 4, 6));

TEST_P(TimerClockOfAge, TheLongestDistanceIsFourTicks) {
    ActivateAbsolute(1, std::numeric_limits<long>::max());
    EXPECT_EQ(Tick(3), Ids{});
    EXPECT_EQ(Tick(1), Ids{1});
}

TEST_P(TimerClockOfAge, ANegativePeriodIsOver) {
    Create(1, std::numeric_limits<int>::min());
    EXPECT_EQ(Tick(1), Ids{1});
}

TEST_P(TimerClockOfAge, TheLongestPeriodFiresOnEverySecondTick) {
    Create(1, std::numeric_limits<int>::max(), TIMER_REPEAT);
    EXPECT_EQ(Tick(1), Ids{});
    EXPECT_EQ(Tick(2), Ids{1});
    EXPECT_EQ(Tick(2), (Ids{1, 1}));
}

// The tick wakes the dispatcher after each of the first eight steps, and after the last. Here it
// goes on only when the dispatcher is done. So what the last steps queue is delivered only because
// of the last wake-up. They queue more than the dispatcher takes. At the end its destructor waits
// for its thread.
TEST_F(TimerClock, OfManyDueTimersTheFirst2304AreDeliveredAndAllGoOn) {
    struct DispatchersEvent : SlowEvent {
        void Signal() override {
            DEventImpl::Signal();
            Dispatch().m_csQueue.Leave();
            AwaitIdle();
            Dispatch().m_csQueue.Enter();
        }
    };
    Listener first;
    first.then = [&](unsigned int) { // on the thread that waits for the event
        DMonitor const queue(Dispatch().m_csQueue);
        delete std::exchange(Dispatch().m_queueEvent.m_impl, new DispatchersEvent);
    };
    Service().CreateRelativeTimer(&first, 0, 0, 0, 0);
    Tick(1);
    for (unsigned int id = 1; id <= 2400; ++id) {
        Create(id, 10, TIMER_REPEAT);
    }
    EXPECT_EQ(Tick(1).back(), 97U);   // from the newest on
    EXPECT_EQ(Tick(1).back(), 2304U); // from the oldest on, because those were armed last
}

// A plain list of repeating timers, which the engine must agree with.
struct Model {
    struct Timer {
        unsigned int id;
        int periodMs;
    };

    void Arm(Timer timer) {
        long const dueMs = nowMs + timer.periodMs;
        armed.emplace_hint(armed.lower_bound(dueMs), dueMs, timer);
    }

    void Tick() {
        nowMs += 10;
        while (!armed.empty() && armed.begin()->first <= nowMs) {
            Timer const timer = armed.begin()->second;
            armed.erase(armed.begin());
            fired.push_back(timer.id);
            Arm(timer);
        }
    }

    std::multimap<long, Timer> armed; // by expiry, and the newest first among equals
    Ids fired;
    long nowMs = 0;
};

TEST_F(TimerClock, AgreesWithASortedListThroughRandomOperations) {
    std::mt19937 random(20);
    Model model;
    for (int round = 0; round < 2000; ++round) {
        Model::Timer timer{static_cast<unsigned int>(random() % 40),
                           static_cast<int>(random() % 6) * 10 + 5};
        auto const at =
            std::find_if(model.armed.begin(), model.armed.end(),
                         [&](auto const& other) { return other.second.id == timer.id; });
        bool const isArmed = at != model.armed.end();
        switch (random() % 4) {
        case 0:
            model.Tick();
            ASSERT_EQ(Tick(1), model.fired);
            break;
        case 1:
            ASSERT_EQ(Service().Destroy(&listener, timer.id), isArmed);
            if (isArmed) {
                model.armed.erase(at);
            }
            break;
        default:
            ASSERT_NE(Create(timer.id, timer.periodMs, TIMER_REPEAT), isArmed);
            if (isArmed) {
                timer = at->second;
                model.armed.erase(at);
                ASSERT_TRUE(Service().Deactivate(&listener, timer.id));
                ASSERT_TRUE(Service().Activate(&listener, timer.id));
            }
            model.Arm(timer);
        }
    }
}

// The steps of a round, between which other threads come in.
TEST(TimerRound, ATimerArmedDuringARoundWaitsForTheNext) {
    DList list;
    DTimeManagerImpl::TimerIndex index(list);
    auto const arm = [&](unsigned int id, std::int64_t due) {
        index.Create(nullptr, id)->SetDue(due);
        index.Arm(*index.Find(nullptr, id));
    };
    arm(1, 10);
    arm(2, 20);
    arm(3, 20);
    arm(4, 30);
    index.BeginRound(20);
    index.Disarm(*index.NextOfRound());
    arm(5, 10);
    arm(6, 20);
    index.Disarm(*index.Find(nullptr, 2)); // by another thread
    ASSERT_EQ(index.NextOfRound(), index.Find(nullptr, 3));
    index.Disarm(*index.NextOfRound());
    EXPECT_EQ(index.NextOfRound(), nullptr);
    index.BeginRound(30);
    for (unsigned int const id : {5U, 6U, 4U}) {
        ASSERT_EQ(index.NextOfRound(), index.Find(nullptr, id));
        index.Disarm(*index.NextOfRound());
    }
}

TEST_F(TimerClock, TheServiceAsksForItsPrioritiesAndTheSmallestStacks) {
    EXPECT_EQ(Engine().GetPriority(), 7);
    EXPECT_EQ(Dispatch().GetPriority(), 99);
    EXPECT_EQ(g_stackSizes, (std::vector<std::size_t>{8196, 8196}));
}

TEST_F(TimerClock, DestroyInstanceWaitsForTheTickUnderWay) {
    Tick(1);
    auto const end = std::async(std::launch::async, DTimeManager::DestroyInstance);
    EXPECT_FALSE(IsOver(end));
    ticks.Release();
}

TEST_F(TimerClock, TwoThreadsThatBuildTheServiceGetTheSameOne) {
    std::future<DTimeManager*> other;
    ticks.onCreate = [&] {
        other = std::async(std::launch::async, DTimeManager::GetInstance, 7);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    };
    DTimeManager* const own = DTimeManager::GetInstance(7);
    EXPECT_EQ(other.get(), own);
}

} // namespace
