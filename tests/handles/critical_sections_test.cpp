#include <verrick/critical_section.h>
#include <verrick/win32.h>

#include <gtest/gtest.h>

#include <future>
#include <thread>

TEST(CriticalSection, DoesNotNestAndIsFreedByItsHolderAlone) {
    DCriticalSection section;
    section.Enter();
    section.Enter(); // doesn't count
    std::thread([&] { section.Leave(); }).join();
    auto other = std::async(std::launch::async, [&] { DMonitor const monitor(section); });
    EXPECT_EQ(other.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    section.Leave();
    other.get(); // a lock that is kept shows as the test's own time-out
}

TEST(CriticalSectionTwins, DifferInTryingInNullAndInTheComplaintAboutAFailedLeave) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    testing::internal::CaptureStdout();
    DCriticalSection().Leave(); // says nothing
    LeaveCriticalSection(&section);
    EXPECT_EQ(TryEnterCriticalSection(&section), 1);
    EXPECT_EQ(TryEnterCriticalSection(&section), 0); // not for its holder, either
    EnterCriticalSection(&section);                  // doesn't count
    std::thread([&] { LeaveCriticalSection(&section); }).join();
    LeaveCriticalSection(&section);
    EXPECT_EQ(TryEnterCriticalSection(&section), 1);
    LeaveCriticalSection(&section);
    RECURSIVE_SECTION nesting;
    InitializeRecursiveSection(&nesting);
    LeaveRecursiveSection(&nesting);
    DeleteRecursiveSection(&nesting);
    InitializeCriticalSection(nullptr);
    EnterCriticalSection(nullptr);
    DeleteCriticalSection(nullptr);
    DeleteCriticalSection(&section);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "pthread_mutex_unlock failed..\npthread_mutex_unlock failed..\n"
              "pthread_mutex_unlock failed..\n");
}
