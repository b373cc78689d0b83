#include <verrick/critical_section.h>

#include <gtest/gtest.h>

#include <future>
#include <thread>

namespace {

bool AnotherThreadGetsIn(DCriticalSection& section) {
    auto entered = std::make_shared<std::promise<void>>();
    auto done = entered->get_future();
    std::thread([&section, entered] {
        section.Enter();
        section.Leave();
        entered->set_value();
    }).detach();
    return done.wait_for(std::chrono::seconds(2)) == std::future_status::ready;
}

TEST(CriticalSection, DoesNotNest) {
    DCriticalSection section;
    section.Enter();
    section.Enter();
    section.Leave();
    EXPECT_TRUE(AnotherThreadGetsIn(section));
    section.Leave();
    EXPECT_TRUE(AnotherThreadGetsIn(section));
}

TEST(CriticalSection, MonitorsExcludeEachOtherAndLeaveWithAnException) {
    DCriticalSection section;
    int count = 0;
    auto const work = [&] {
        for (int i = 0; i < 20000; ++i) {
            try {
                DMonitor monitor(section);
                ++count;
                throw i;
            } catch (int) {
            }
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(count, 40000);
}

TEST(CriticalSection, IsNotFreedByAThreadThatDoesNotHoldIt) {
    DCriticalSection section;
    section.Enter();
    std::thread([&] { section.Leave(); }).join();
    std::atomic<bool> inside{false};
    std::thread other([&] {
        section.Enter();
        inside = true;
        section.Leave();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(inside);
    section.Leave();
    other.join();
}

} // namespace
