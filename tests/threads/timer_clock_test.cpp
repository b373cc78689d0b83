// The timer engine on a clock that stands still. The library's sources are compiled into this
// program, with the callouts below in the place of the library's own.

#include "hooks.h"

static Gate g_tick; // from its opening on the engine is held up briefly
static std::atomic<bool> g_isWaiting{false};
static std::function<void()> g_onCreate = [] {};
static int g_clocks = 0; // that were made and not yet ended

int DTimeManagerImplCallouts__CreatePeriodicTimer(void** /*timer*/) {
    std::exchange(g_onCreate, [] {})();
    ++g_clocks;
    return 10;
}

void DTimeManagerImplCallouts__DestroyPeriodicTimer(void** /*timer*/) {
    EXPECT_FALSE(g_isWaiting);
    --g_clocks;
}

void DTimeManagerImplCallouts__Sleep(void* /*timer*/, int /*ms*/) {}

bool DTimeManagerImplCallouts__WaitForTimerExpiration(void* /*timer*/) {
    g_isWaiting = true;
    g_tick.Pass();
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    g_isWaiting = false;
    return false;
}

namespace {

TEST(TimerClock, DestroyInstanceWaitsForTheTickUnderWayAndForTheDispatcher) {
    auto& engine = static_cast<DTimeManagerImpl&>(*DTimeManager::GetInstance(7)->m_impl);
    Listener listener;
    listener.then = [&](unsigned int) { // on the thread that waits for the event
        DMonitor const queue(engine.m_dispatch->m_csQueue);
        delete std::exchange(engine.m_dispatch->m_queueEvent.m_impl, new SlowEvent);
    };
    AwaitOthersAsleep();
    auto const end = std::async(std::launch::async, DTimeManager::DestroyInstance);
    EXPECT_FALSE(IsOver(end));
    engine.m_dispatch->Enqueue(&listener, 1);
    engine.m_dispatch->Enqueue(&listener, 2);
    EXPECT_EQ(listener.noted.Await(2), (Ids{1, 2}));
    g_tick.Open();
    end.wait();
    EXPECT_EQ(g_clocks, 0);
}

// Otherwise an Activate could move the timer meanwhile, and Destroy would miss it.
TEST(TimerClock, DestroyKeepsOthersOutUntilItHasTheTimer) {
    DTimeManager& service = *DTimeManager::GetInstance(7);
    EXPECT_EQ(static_cast<DTimeManagerImpl&>(*service.m_impl).GetPriority(), 7);
    Listener listener;
    service.CreateRelativeTimer(&listener, 1, 10, 0, TIMER_INACTIVE);
    service.CreateRelativeTimer(&listener, 2, 10, 0, 0);
    std::future<bool> destroy, activate;
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
