#include "tests/support/test.h"
#include <verrick/win32.h>

TEST(CriticalSectionTwins, DoNotNestAndDifferInNullAndInTheComplaintAboutAFailedLeave) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    testing::internal::CaptureStdout();
    DCriticalSection().Leave(); // says nothing
    DCriticalSection object;
    object.Enter();
    object.Enter(); // doesn't count
    std::thread([&] { object.Leave(); }).join();
    object.Leave();
    std::thread([&] { DMonitor const monitor(object); }).join(); // or it waits for ever
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
