// The fragments of fragments.c, and what takes several threads.
#include <verrick/verrick.h>

#include "tests/files/scratch.h"
#include "tests/win32/fragments.h"
#include <verrick/win32.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

void RunFragments(int (*const* fragment)(void)) {
    Scratch const currentFolder;
    WriteFile("data", "bytes");
    WriteFile("fixed.ini", "");
    std::filesystem::permissions("fixed.ini", std::filesystem::perms::owner_read);
    std::filesystem::create_directory("inner");
    for (; *fragment != nullptr; ++fragment) {
        EXPECT_EQ((*fragment)(), 0) << "that line of fragments.c failed";
    }
}

TEST(Win32, FragmentsInC99AndInCpp11CompileUnchangedAndWork) {
    RunFragments(g_fragmentsInC99);
    RunFragments(g_fragmentsInCpp11);
}

DWORD RunToTheEnd(LPTHREAD_START_ROUTINE routine, LPVOID argument) {
    HANDLE const thread = CreateThread(NULL, 0, routine, argument, 0, NULL);
    DWORD code = 77;
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    EXPECT_EQ(CloseHandle(thread), 1);
    return code;
}

// The library's own call reads the word again. So two threads could get the same result, and a
// reference counter would delete its object twice.
struct SharedCounter {
    LONG count = 2000000;
    LONG volatile running = 0;
    std::vector<char> results = std::vector<char>(2000000);
};

DWORD WINAPI CountDown(LPVOID counter) {
    auto* const shared = static_cast<SharedCounter*>(counter);
    InterlockedIncrement(&shared->running);
    while (InterlockedCompareExchange(&shared->running, 2, 2) != 2) {
    }
    for (int i = 0; i < 1000000; ++i) {
        LONG const result = InterlockedDecrement(&shared->count);
        ++shared->results[static_cast<std::size_t>(result)];
    }
    return 1;
}

TEST(Win32, NoTwoThreadsGetTheSameResultFromACounter) {
    SharedCounter counter;
    std::thread other(CountDown, &counter);
    EXPECT_EQ(RunToTheEnd(CountDown, &counter), 1U);
    other.join();
    EXPECT_EQ(std::count(counter.results.begin(), counter.results.end(), 1), 2000000);
}

DWORD WINAPI CanEnter(LPVOID section) {
    bool const entered = static_cast<RecursiveSection*>(section)->TryEnter();
    if (entered) {
        static_cast<RecursiveSection*>(section)->Leave();
    }
    return entered ? 1 : 0;
}

TEST(Win32, RecursiveSectionIsFreeAfterAsManyLeavesAsEnters) {
    RecursiveSection section;
    section.Enter();
    section.Enter();
    section.Leave();
    EXPECT_EQ(RunToTheEnd(CanEnter, &section), 0U);
    section.Leave();
    EXPECT_EQ(RunToTheEnd(CanEnter, &section), 1U);
}

unsigned __stdcall SetAndEnd(void* event) {
    SetEvent(event);
    _endthreadex(GetCurrentThreadId());
}

TEST(Win32, SuspendedThreadRunsAfterResumeAndTellsItsExitCode) {
    HANDLE const ran = CreateEvent(NULL, TRUE, FALSE, NULL);
    unsigned id = 0;
    UINT_PTR const begun = _beginthreadex(NULL, 0, SetAndEnd, ran, CREATE_SUSPENDED, &id);
    HANDLE const thread = reinterpret_cast<HANDLE>(begun);
    DWORD code = 0;
    EXPECT_EQ(WaitForSingleObject(thread, 20), WAIT_TIMEOUT);
    EXPECT_EQ(WaitForSingleObject(ran, 0), WAIT_TIMEOUT);
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    EXPECT_EQ(code, STILL_ACTIVE);
    EXPECT_FALSE(GetExitCodeThread(thread, NULL));
    EXPECT_EQ(ResumeThread(thread), 1U);
    EXPECT_EQ(ResumeThread(thread), 0U);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    EXPECT_EQ(code, id);
    CloseHandle(thread);
    CloseHandle(ran);
}

// The thread's local storage ends when g_go is set.
HANDLE const g_go = CreateEvent(NULL, TRUE, FALSE, NULL);

DWORD WINAPI EndLate(LPVOID) {
    pthread_key_t key;
    pthread_key_create(&key, [](void* event) { WaitForSingleObject(event, INFINITE); });
    pthread_setspecific(key, g_go);
    return 3;
}

TEST(Win32, WaitForAThreadCoversTheEndOfItsLocalStorage) {
    ResetEvent(g_go);
    HANDLE const thread = CreateThread(NULL, 0, EndLate, NULL, 0, NULL);
    EXPECT_EQ(WaitForSingleObject(thread, 20), WAIT_TIMEOUT);
    unsigned long otherResult = WAIT_FAILED;
    std::thread other([&] { otherResult = WaitForSingleObject(thread, INFINITE); });
    SetEvent(g_go);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    other.join();
    EXPECT_EQ(otherResult, WAIT_OBJECT_0);
    CloseHandle(thread);
}

TEST(Win32, ThreadRunsOnWithoutItsHandle) {
    ResetEvent(g_go);
    SIZE_T const stack = 1 << 20;
    auto const routine = [](LPVOID event) -> DWORD { return static_cast<DWORD>(SetEvent(event)); };
    CloseHandle(CreateThread(NULL, stack, routine, g_go, STACK_SIZE_PARAM_IS_A_RESERVATION, NULL));
    EXPECT_EQ(WaitForSingleObject(g_go, INFINITE), WAIT_OBJECT_0);
}

TEST(Win32, WrongArgumentsAreRefused) {
    DWORD code = 1;
    LONG count = 5;
    EXPECT_FALSE(GetExitCodeThread(g_go, &code));
    EXPECT_EQ(ResumeThread(g_go), 0xFFFFFFFFU);
    EXPECT_EQ(ReleaseSemaphore(g_go, 1, &count), 0);
    EXPECT_EQ(count, 5);
    EXPECT_EQ(CreateThread(NULL, 0, NULL, NULL, 0, NULL), HANDLE());
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    SIZE_T const tooMuch = static_cast<SIZE_T>(-1) / 4;
    EXPECT_EQ(CreateThread(NULL, tooMuch, EndLate, NULL, 0, NULL), HANDLE());
    EXPECT_EQ(GetLastError(), ERROR_NO_SYSTEM_RESOURCES);
    InitializeRecursiveSection(NULL);
    EnterRecursiveSection(NULL);
    EXPECT_EQ(TryEnterRecursiveSection(NULL), 0);
    LeaveRecursiveSection(NULL);
    DeleteRecursiveSection(NULL);
}

} // namespace
