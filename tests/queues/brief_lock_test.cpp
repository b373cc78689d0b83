#include "queues/brief_lock.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "tests/support/asleep.h"

TEST(BriefLock, KeepsThreadsOutAndWakesAllThatSleepForIt) {
    verrick::BriefLock lock;
    std::atomic<int> entered{0};
    lock.Lock();
    std::vector<std::jthread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            lock.Lock();
            ++entered;
            lock.Unlock();
        });
    }
    AwaitOthersAsleep();
    EXPECT_EQ(entered, 0);
    lock.Unlock();
    threads.clear(); // joins them; a stall shows as the test's own time-out
    EXPECT_EQ(entered, 3);
}
