// The timer engine on a clock that stands still. The library's sources are compiled into this
// program, with the callouts below in the place of the library's own.
#include "threads/timer_index.h"

#include <gtest/gtest.h>

#include <thread>

#include "hooks.h"
#include "tests/support/asleep.h"

namespace {

Gate g_tick; // from its opening on the engine isn't held up
std::function<void()> g_onCreate = [] {};

} // namespace

int DTimeManagerImplCallouts__CreatePeriodicTimer(void** /*timer*/) {
    std::exchange(g_onCreate, [] {})();
    return 10;
}

void DTimeManagerImplCallouts__DestroyPeriodicTimer(void** /*timer*/) {}

void DTimeManagerImplCallouts__Sleep(void* /*timer*/, int /*ms*/) {}

bool DTimeManagerImplCallouts__WaitForTimerExpiration(void* /*timer*/) {
    g_tick.Pass();
    return false;
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
