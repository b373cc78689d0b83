#include <verrick/critical_section.h>
#include <verrick/flat_critical_section.h>

#include <gtest/gtest.h>

#include <thread>

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
    std::thread([&] { EXPECT_EQ(TryEnterCriticalSection(&section), 0); }).join();
    LeaveCriticalSection(&section);
    std::thread([&] { EXPECT_EQ(TryEnterCriticalSection(&section), 1); }).join();
    InitializeCriticalSection(nullptr);
    EnterCriticalSection(nullptr);
    EXPECT_EQ(TryEnterCriticalSection(nullptr), 0);
    LeaveCriticalSection(nullptr);
    DeleteCriticalSection(nullptr);
    DeleteCriticalSection(&section);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "pthread_mutex_unlock failed..\npthread_mutex_unlock failed..\n");
}
