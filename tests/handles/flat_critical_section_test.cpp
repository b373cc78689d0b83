#include <verrick/critical_section.h>
#include <verrick/flat_critical_section.h>

#include <gtest/gtest.h>

#include <thread>

namespace {

// What a call on another thread writes to standard output.
template<typename Call>
std::string Output(Call call) {
    testing::internal::CaptureStdout();
    std::thread(call).join();
    return testing::internal::GetCapturedStdout();
}

TEST(CriticalSectionTwins, DifferInTryingInNullAndInTheComplaintAboutAFailedLeave) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    auto const tryElsewhere = [&] { EXPECT_EQ(TryEnterCriticalSection(&section), 0); };
    auto const leave = [&] { LeaveCriticalSection(&section); };
    EXPECT_EQ(Output([] { DCriticalSection().Leave(); }), "");
    EXPECT_EQ(Output(leave), "pthread_mutex_unlock failed..\n");
    EXPECT_EQ(TryEnterCriticalSection(&section), 1);
    EXPECT_EQ(TryEnterCriticalSection(&section), 0); // not for its holder, either
    EnterCriticalSection(&section);                  // doesn't count
    EXPECT_EQ(Output(leave), "pthread_mutex_unlock failed..\n");
    EXPECT_EQ(Output(tryElsewhere), "");
    leave();
    EXPECT_EQ(Output([&] {
                  EnterCriticalSection(&section);
                  leave();
                  InitializeCriticalSection(nullptr);
                  EnterCriticalSection(nullptr);
                  EXPECT_EQ(TryEnterCriticalSection(nullptr), 0);
                  LeaveCriticalSection(nullptr);
                  DeleteCriticalSection(nullptr);
              }),
              "");
    DeleteCriticalSection(&section);
}

} // namespace
