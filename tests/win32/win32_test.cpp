// Fragments in the manner of Win32 programs, in C++, and those of fragments.c.
#include "tests/files/scratch.h"
#include "tests/win32/fragments.h"
#include <verrick/win32.h>

#include <gtest/gtest.h>

namespace {

TEST(Win32InC, FragmentsWorkUnchanged) {
    EXPECT_TRUE(NestedSectionStaysTakenUntilTheLastLeave());
    EXPECT_TRUE(SemaphoreReportsThePreviousCountAsLong());
    EXPECT_TRUE(GenericTextIsWide());
    EXPECT_TRUE(LastErrorTellsOfTheMissingFile());
}

TEST(Win32InC, FilesAndProfilesWorkUnchanged) {
    Scratch const currentFolder;
    WriteFile("data", "bytes");
    std::filesystem::create_directory("inner");
    EXPECT_TRUE(FindAllTellsFilesFromFolders("."));
    EXPECT_TRUE(ProfileNumbersAreRead(L"app.ini"));
}

// A reference counter as it stands in most such programs. The library's own InterlockedDecrement
// reads the word again, so two threads could both see 0, or none.
class Counted {
public:
    explicit Counted(LONG volatile* ends) : m_references(1), m_ends(ends) {}
    void AddRef() { InterlockedIncrement(&m_references); }
    void Release() {
        if (InterlockedDecrement(&m_references) == 0) {
            InterlockedIncrement(m_ends);
            delete this;
        }
    }

private:
    ~Counted() = default;

    LONG m_references;
    LONG volatile* m_ends;
};

DWORD WINAPI ReleaseCounted(LPVOID argument) {
    static_cast<Counted*>(argument)->Release();
    return 0;
}

TEST(Win32, ReferenceCounterDeletesOnce) {
    constexpr int rounds = 500;
    LONG volatile ends = 0;
    for (int round = 0; round < rounds; ++round) {
        auto* const object = new Counted(&ends);
        object->AddRef();
        HANDLE const other = CreateThread(NULL, 0, ReleaseCounted, object, 0, NULL);
        object->Release();
        WaitForSingleObject(other, INFINITE);
        CloseHandle(other);
    }
    EXPECT_EQ(ends, rounds);
}

TEST(Win32, InterlockedCallsReturnWhatWin32ProgramsExpect) {
    LONG word = 5;
    EXPECT_EQ(InterlockedExchangeAdd(&word, 3), 5);
    EXPECT_EQ(InterlockedExchange(&word, 1), 8);
    EXPECT_EQ(InterlockedCompareExchange(&word, 9, 2), 1);
    EXPECT_EQ(word, 1);
    EXPECT_EQ(InterlockedCompareExchange(&word, 9, 1), 1);
    EXPECT_EQ(word, 9);
    long wide = 1;
    EXPECT_EQ(InterlockedDecrement(&wide), 0);
}

TEST(Win32, SemaphoreTakesBothKindsOfPreviousCount) {
    HANDLE const semaphore = CreateSemaphore(NULL, 0, 3, NULL);
    LONG narrow = -1;
    long wide = -1;
    EXPECT_EQ(ReleaseSemaphore(semaphore, 1, &narrow), 1);
    EXPECT_EQ(narrow, 0);
    EXPECT_EQ(ReleaseSemaphore(semaphore, 1, &wide), 1);
    EXPECT_EQ(wide, 1);
    EXPECT_EQ(ReleaseSemaphore(semaphore, 1, NULL), 1);
    EXPECT_EQ(ReleaseSemaphore(semaphore, 1, &narrow), 0);
    EXPECT_EQ(narrow, 3);
    CloseHandle(semaphore);
}

DWORD WINAPI WaitForLeave(LPVOID argument) {
    auto* const section = static_cast<RecursiveSection*>(argument);
    bool const entered = section->TryEnter();
    if (entered) {
        section->Leave();
    }
    return entered ? 1 : 0;
}

DWORD RunAndGetExitCode(LPTHREAD_START_ROUTINE routine, LPVOID argument) {
    HANDLE const thread = CreateThread(NULL, 0, routine, argument, 0, NULL);
    DWORD code = 77;
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    EXPECT_EQ(CloseHandle(thread), 1);
    return code;
}

TEST(Win32, RecursiveSectionIsFreeAfterAsManyLeavesAsEnters) {
    RecursiveSection section;
    section.Enter();
    section.Enter();
    section.Leave();
    EXPECT_EQ(RunAndGetExitCode(WaitForLeave, &section), 0U);
    section.Leave();
    EXPECT_EQ(RunAndGetExitCode(WaitForLeave, &section), 1U);
}

struct Meeting {
    HANDLE go = CreateEvent(NULL, TRUE, FALSE, NULL);
    DWORD id = 0;
    ~Meeting() { CloseHandle(go); }
};

DWORD WINAPI MeetAndLeave(LPVOID argument) {
    auto* const meeting = static_cast<Meeting*>(argument);
    meeting->id = GetCurrentThreadId();
    WaitForSingleObject(meeting->go, INFINITE);
    ExitThread(42);
}

TEST(Win32, ThreadHandleTellsTheEndAndTheExitCode) {
    Meeting meeting;
    DWORD id = 0;
    HANDLE const thread = CreateThread(NULL, 0, MeetAndLeave, &meeting, CREATE_SUSPENDED, &id);
    ASSERT_NE(thread, HANDLE());
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    EXPECT_EQ(code, STILL_ACTIVE);
    SetEvent(meeting.go);
    EXPECT_EQ(WaitForSingleObject(thread, 20), WAIT_TIMEOUT); // it is suspended
    EXPECT_EQ(ResumeThread(thread), 1U);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    EXPECT_EQ(code, 42U);
    EXPECT_EQ(meeting.id, id);
    EXPECT_EQ(SetEvent(thread), 0);
    EXPECT_EQ(CloseHandle(thread), 1);
}

unsigned int SetAndReturn(void* argument) {
    SetEvent(argument);
    return 3;
}

TEST(Win32, ClosingAThreadHandleLeavesTheThreadRunning) {
    HANDLE const done = CreateEvent(NULL, TRUE, FALSE, NULL);
    UINT_PTR const thread = _beginthreadex(NULL, 0, SetAndReturn, done, CREATE_SUSPENDED, NULL);
    ResumeThread(reinterpret_cast<HANDLE>(thread));
    EXPECT_EQ(CloseHandle(reinterpret_cast<HANDLE>(thread)), 1);
    EXPECT_EQ(WaitForSingleObject(done, INFINITE), WAIT_OBJECT_0);
    CloseHandle(done);
}

TEST(Win32, WrongHandlesAreRefused) {
    HANDLE const event = CreateEvent(NULL, TRUE, FALSE, NULL);
    DWORD code = 1;
    EXPECT_FALSE(GetExitCodeThread(event, &code));
    EXPECT_EQ(ResumeThread(event), 0xFFFFFFFFU);
    EXPECT_EQ(CreateThread(NULL, 0, NULL, NULL, 0, NULL), HANDLE());
    CloseHandle(event);
}

TEST(Win32, TypesHaveTheirWidths) {
    EXPECT_EQ(sizeof(DWORD), 4U);
    EXPECT_EQ(sizeof(LONG), 4U);
    EXPECT_EQ(sizeof(ULONG), 4U);
    EXPECT_EQ(sizeof(WORD), 2U);
    EXPECT_EQ(sizeof(TCHAR), sizeof(wchar_t));
    HMODULE const self = LoadLibrary(TEXT(""));
    FARPROC const found = GetProcAddress(self, "malloc");
    EXPECT_TRUE(found != nullptr);
    FreeLibrary(self);
}

} // namespace
