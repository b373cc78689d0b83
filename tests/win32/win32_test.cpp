// The fragments of fragments.c, and what takes several threads.

#include "tests/files/scratch.h"
#include "tests/support/detach.h"
#include <verrick/win32.h>

// What fragments.c offers, once as C99 and once as C++11. A null pointer ends the list.
extern "C" int (*const g_fragmentsInC99[])(void);
extern "C" int (*const g_fragmentsInCpp11[])(void);

namespace {

void RunFragments(int (*const* fragment)(void)) {
    Scratch const currentFolder;
    WriteFile("data", "bytes");
    WriteFile("fixed.ini", "");
    std::filesystem::permissions("fixed.ini", std::filesystem::perms::owner_read);
    std::filesystem::create_directory("inner");
    std::filesystem::create_symlink("none", "broken");
    WriteFile(".hidden", "");
    for (; *fragment != nullptr; ++fragment) {
        EXPECT_EQ((*fragment)(), 0) << "that line of fragments.c failed";
    }
}

TEST(Win32, FragmentsInC99AndInCpp11CompileUnchangedAndWork) {
    RunFragments(g_fragmentsInC99);
    RunFragments(g_fragmentsInCpp11);
}

// If two threads got the same result, a reference counter would delete its object twice.
TEST(Counters, GiveTwoThreadsNoResultTwiceAndLoseNothing) {
    LONG counter = 2000000;
    AtomicInt sum(2);
    std::atomic<int> running{0};
    std::vector<char> results(2000000);
    auto const count = [&] {
        for (++running; running < 2;) {
        }
        for (int i = 0; i < 1000000; ++i) {
            ++results[static_cast<std::size_t>(InterlockedDecrement(&counter))];
            atomic_int_inc(&sum);
        }
    };
    std::thread other(count);
    count();
    other.join();
    EXPECT_EQ(std::count(results.begin(), results.end(), 1), 2000000);
    atomic_int_add(&sum, -2000000);
    for (int const isZero : {0, 1, 0}) {
        EXPECT_EQ(atomic_int_dec_and_test(&sum), isZero);
    }
}

// The thread's local storage ends when g_go is set.
HANDLE const g_go = CreateEvent(NULL, TRUE, FALSE, NULL);

DWORD WINAPI EndLate(LPVOID ran) {
    pthread_key_t key;
    pthread_key_create(&key, [](void* event) { WaitForSingleObject(event, INFINITE); });
    pthread_setspecific(key, g_go);
    SetEvent(ran);
    return GetCurrentThreadId();
}

unsigned __stdcall EndLateByCall(void* ran) {
    _endthreadex(EndLate(ran));
}

TEST(Win32, ThreadRunsAfterResumeAndIsOverAfterItsLocalStorage) {
    for (bool const isBegun : {true, false}) {
        HANDLE const ran = CreateEvent(NULL, TRUE, FALSE, NULL);
        DWORD id = 0, code = 0;
        ResetEvent(g_go);
        HANDLE const thread = isBegun ? reinterpret_cast<HANDLE>(_beginthreadex(
                                            NULL, 0, EndLateByCall, ran, CREATE_SUSPENDED, &id))
                                      : CreateThread(NULL, 0, EndLate, ran, CREATE_SUSPENDED, &id);
        EXPECT_EQ(WaitForSingleObject(thread, 20), WAIT_TIMEOUT);
        EXPECT_EQ(WaitForSingleObject(ran, 0), WAIT_TIMEOUT);
        EXPECT_TRUE(GetExitCodeThread(thread, &code));
        EXPECT_EQ(code, STILL_ACTIVE);
        EXPECT_FALSE(GetExitCodeThread(thread, NULL));
        EXPECT_EQ(ResumeThread(thread), 1U);
        EXPECT_EQ(ResumeThread(thread), 0U);
        EXPECT_EQ(WaitForSingleObject(ran, INFINITE), WAIT_OBJECT_0);
        EXPECT_EQ(WaitForSingleObject(thread, 20), WAIT_TIMEOUT);
        auto other = std::async(std::launch::async, WaitForSingleObject, thread, INFINITE);
        SetEvent(g_go);
        EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
        EXPECT_EQ(other.get(), WAIT_OBJECT_0);
        EXPECT_TRUE(GetExitCodeThread(thread, &code));
        EXPECT_EQ(code, id);
        CloseHandle(thread);
        CloseHandle(ran);
    }
}

// As long as its handle is being closed, the system may still look at the thread.
TEST(Win32, ThreadCannotExitDuringTheCloseOfItsHandle) {
    HANDLE const ran = CreateEvent(NULL, FALSE, FALSE, NULL);
    for (bool const hasExited : {false, true}) {
        ResetEvent(g_go);
        DWORD const flags = STACK_SIZE_PARAM_IS_A_RESERVATION;
        HANDLE const thread = CreateThread(NULL, 1 << 20, EndLate, ran, flags, &g_idOfLetGo);
        WaitForSingleObject(ran, INFINITE);
        hasExited ? static_cast<void>(SetEvent(g_go)) : void();
        AwaitOthersAsleep();
        g_detached = 0;
        g_letGo = [] { SetEvent(g_go); };
        CloseHandle(thread);
        EXPECT_TRUE(g_detached == 1 && !g_hasExited);
    }
    CloseHandle(ran);
}

TEST(Win32, WrongArgumentsAreRefused) {
    HANDLE const semaphore = CreateSemaphore(NULL, 0, 1, NULL);
    for (HANDLE const handle : {HANDLE(), semaphore}) {
        EXPECT_FALSE(SetEvent(handle) || PulseEvent(handle) || ResetEvent(handle));
    }
    CloseHandle(semaphore);
    EXPECT_EQ(WaitForSingleObject(NULL, 0), WAIT_FAILED);
    DWORD code = 1;
    LONG count = 5;
    EXPECT_FALSE(GetExitCodeThread(g_go, &code));
    EXPECT_EQ(ResumeThread(g_go), 0xFFFFFFFFU);
    EXPECT_EQ(ReleaseSemaphore(g_go, 1, &count), 0);
    EXPECT_EQ(count, 5);
    EXPECT_EQ(CreateThread(NULL, 0, NULL, NULL, 0, NULL), HANDLE());
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    SIZE_T const tooMuch = static_cast<SIZE_T>(-1) / 4 * 3;
    EXPECT_EQ(CreateThread(NULL, tooMuch, EndLate, NULL, 0, NULL), HANDLE());
    InitializeRecursiveSection(NULL);
    EnterRecursiveSection(NULL);
    EXPECT_EQ(TryEnterRecursiveSection(NULL), 0);
    LeaveRecursiveSection(NULL);
    DeleteRecursiveSection(NULL);
}

} // namespace
