#include <verrick/critical_section.h>

#include <gtest/gtest.h>

#include <future>

using namespace std::chrono_literals;

namespace {

TEST(CriticalSection, DoesNotNestAndIsFreedByItsHolderAlone) {
    DCriticalSection section;
    auto const enter = [&] {
        DMonitor const monitor(section);
        throw 1;
    };
    section.Enter();
    section.Enter();
    std::async(std::launch::async, [&] { section.Leave(); }).get();
    auto other = std::async(std::launch::async, enter);
    EXPECT_EQ(other.wait_for(50ms), std::future_status::timeout);
    section.Leave();
    EXPECT_EQ(other.wait_for(2s), std::future_status::ready);
    section.Leave(); // has no effect, as nobody is inside
    EXPECT_THROW(other.get(), int);
    EXPECT_EQ(std::async(std::launch::async, enter).wait_for(2s), std::future_status::ready);
}

} // namespace
