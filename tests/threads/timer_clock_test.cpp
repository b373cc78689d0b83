// The timer engine on a clock that stands still. The library's sources are compiled into this
// program, with the callouts below in the place of the library's own.
#include "threads/timer_index.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "hooks.h"
#include "tests/support/asleep.h"

namespace {

Gate g_tick;                     // from its opening on the engine isn't held up
std::atomic<int> g_ticksLeft{0}; // then
std::atomic<bool> g_isWaiting{false};
std::function<void()> g_onCreate = [] {};

} // namespace

int DTimeManagerImplCallouts__CreatePeriodicTimer(void** /*timer*/) {
    std::exchange(g_onCreate, [] {})();
    return 10;
}

void DTimeManagerImplCallouts__DestroyPeriodicTimer(void** /*timer*/) {
    EXPECT_FALSE(g_isWaiting);
}

void DTimeManagerImplCallouts__Sleep(void* /*timer*/, int /*ms*/) {}

bool DTimeManagerImplCallouts__WaitForTimerExpiration(void* /*timer*/) {
    g_isWaiting = true;
    g_tick.Pass();
    g_isWaiting = false;
    int left = g_ticksLeft;
    return left > 0 && g_ticksLeft.compare_exchange_strong(left, left - 1);
}

namespace {

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
        index.Remove(*index.Find(nullptr, id));
    }
    EXPECT_EQ(index.m_count, 3U);
}

TEST(TimerClock, DestroyInstanceWaitsForTheTickUnderWay) {
    DTimeManager::GetInstance(7);
    AwaitOthersAsleep();
    auto const end = std::async(std::launch::async, DTimeManager::DestroyInstance);
    EXPECT_FALSE(IsOver(end));
    g_tick.Open();
}

// The tick wakes the dispatcher after each of the first eight steps, and after the last. Here it
// goes on only when the dispatcher is done. So what the last steps queue is delivered only because
// of the last wake-up. They queue more than the dispatcher takes. At the end its destructor waits
// for its thread.
TEST(TimerClock, OfManyDueTimersTheFirst2304AreDelivered) {
    static auto& dispatch =
        *static_cast<DTimeManagerImpl&>(*DTimeManager::GetInstance(7)->m_impl).m_dispatch;
    struct DispatchersEvent : SlowEvent {
        void Signal() override {
            DEventImpl::Signal();
            dispatch.m_csQueue.Leave();
            while (!IsIdle()) {
                std::this_thread::yield();
            }
            dispatch.m_csQueue.Enter();
        }
        static bool IsIdle() {
            DMonitor const queue(dispatch.m_csQueue);
            return std::none_of(dispatch.m_pool, dispatch.m_pool + 256,
                                [](auto const& item) { return item.m_inUse; });
        }
    };
    Listener listener;
    Listener first;
    first.then = [&](unsigned int) { // on the thread that waits for the event
        DMonitor const queue(dispatch.m_csQueue);
        delete std::exchange(dispatch.m_queueEvent.m_impl, new DispatchersEvent);
    };
    DTimeManager::GetInstance(7)->CreateRelativeTimer(&first, 0, 0, 0, 0);
    g_ticksLeft = 1;
    g_tick.Open();
    while (first.noted.Await(1).empty() || !DispatchersEvent::IsIdle()) {
    }
    for (unsigned int id = 1; id <= 2400; ++id) {
        DTimeManager::GetInstance(7)->CreateRelativeTimer(&listener, id, 10, 0, 0);
    }
    g_ticksLeft = 1;
    EXPECT_EQ(listener.noted.Await(2304).size(), 2304U);
    EXPECT_EQ(listener.noted.Await(0).back(), 97U); // from the newest on
    DTimeManager::DestroyInstance();
}

// Otherwise an Activate could move the timer meanwhile, and Destroy would miss it.
TEST(TimerClock, DestroyKeepsOthersOutUntilItHasTheTimer) {
    DTimeManager& service = *DTimeManager::GetInstance(7);
    EXPECT_EQ(static_cast<DTimeManagerImpl&>(*service.m_impl).GetPriority(), 7);
    Listener listener;
    service.CreateRelativeTimer(&listener, 1, 10, 0, TIMER_INACTIVE);
    service.CreateRelativeTimer(&listener, 2, 10, 0, 0);
    std::future<bool> destroy;
    std::future<bool> activate;
    {
        DMonitor const inactive(static_cast<DTimeManagerImpl&>(*service.m_impl).m_csInactive);
        destroy = std::async(std::launch::async, [&] { return service.Destroy(&listener, 1); });
        AwaitOthersAsleep();
        activate = std::async(std::launch::async, [&] { return service.Activate(&listener, 2); });
        EXPECT_FALSE(IsOver(activate));
    }
    EXPECT_TRUE(destroy.get());
    EXPECT_FALSE(activate.get());
    g_tick.Open();
    DTimeManager::DestroyInstance();
}

TEST(TimerClock, TwoThreadsThatBuildTheServiceGetTheSameOne) {
    std::future<DTimeManager*> other;
    g_onCreate = [&] {
        other = std::async(std::launch::async, DTimeManager::GetInstance, 7);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    };
    DTimeManager* const own = DTimeManager::GetInstance(7);
    EXPECT_EQ(other.get(), own);
    g_tick.Open();
    DTimeManager::DestroyInstance();
}

} // namespace
