#include <verrick/critical_section.h>
#include <verrick/flat_critical_section.h>

#include <gtest/gtest.h>

#include <thread>

namespace {

class FlatCriticalSection : public testing::Test {
protected:
    FlatCriticalSection() { InitializeCriticalSection(&section); }
    ~FlatCriticalSection() override { DeleteCriticalSection(&section); }

    int TryElsewhere() {
        int entered = 0;
        std::thread([&] {
            entered = TryEnterCriticalSection(&section);
            if (entered != 0) {
                LeaveCriticalSection(&section);
            }
        }).join();
        return entered;
    }

    // What a call writes to standard output.
    template<typename Call>
    static std::string Output(Call call) {
        testing::internal::CaptureStdout();
        call();
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }

    CRITICAL_SECTION section;
    std::string const complaint = "pthread_mutex_unlock failed..\n";
};

TEST_F(FlatCriticalSection, DoesNotNestAndReportsAFailedUnlock) {
    EnterCriticalSection(&section);
    EnterCriticalSection(&section);
    EXPECT_EQ(TryEnterCriticalSection(&section), 0); // not for its holder, either
    EXPECT_EQ(TryElsewhere(), 0);
    EXPECT_EQ(Output([&] { std::thread([&] { LeaveCriticalSection(&section); }).join(); }),
              complaint);
    EXPECT_EQ(TryElsewhere(), 0);
    EXPECT_EQ(Output([&] { LeaveCriticalSection(&section); }), "");
    EXPECT_EQ(TryElsewhere(), 1);
    EXPECT_EQ(TryEnterCriticalSection(&section), 1);
    LeaveCriticalSection(&section);
}

// Where the two kinds of critical section differ.
TEST_F(FlatCriticalSection, UnlikeItsTwinReportsAFailedLeaveAndTakesNull) {
    EXPECT_EQ(Output([] { DCriticalSection().Leave(); }), "");
    EXPECT_EQ(Output([&] { LeaveCriticalSection(&section); }), complaint);
    EXPECT_EQ(Output([] {
                  InitializeCriticalSection(nullptr);
                  EnterCriticalSection(nullptr);
                  EXPECT_EQ(TryEnterCriticalSection(nullptr), 0);
                  LeaveCriticalSection(nullptr);
                  DeleteCriticalSection(nullptr);
              }),
              "");
    EXPECT_EQ(static_cast<void*>(&section.mutex), static_cast<void*>(&section));
}

} // namespace
