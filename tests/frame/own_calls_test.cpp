// An application may have functions of its own under the library's names: the library goes on
// calling its own.
#include <verrick/verrick.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <unistd.h>

template<typename Result>
Result Failed(char const* name) {
    ADD_FAILURE() << name;
    return Result();
}

#define OWN(result, name, parameters)                                                              \
    extern "C" result name parameters {                                                            \
        return Failed<result>(#name);                                                              \
    }

OWN(int, Sleep, (unsigned int))
OWN(unsigned int, GetTickCount, ())
OWN(wchar_t*, _trim, (wchar_t*))
OWN(wchar_t*, _strdup, (wchar_t const*))
OWN(int, _stricmp, (wchar_t const*, wchar_t const*))
OWN(int, MBSToAscii, (char*, wchar_t const*, unsigned int))
OWN(int, SetEvent, (HANDLE))
OWN(unsigned long, WaitForSingleObject, (HANDLE, unsigned long))
OWN(int, InterlockedDecrement, (int volatile*))
OWN(void, EnterCriticalSection, (CRITICAL_SECTION*))

namespace {

TEST(OwnCalls, AreTheLibrarysWhateverTheApplicationDefines) {
    std::wstring const file = std::to_wstring(getpid()) + L"-own-calls.ini";
    EXPECT_EQ(WritePrivateProfileString(L"section", L"key", L"value", file.c_str()), 1);
    wchar_t value[16];
    EXPECT_EQ(GetPrivateProfileString(L" SECTION", L"Key", L"", value, 16, file.c_str()), 5U);
    std::remove(std::string(file.begin(), file.end()).c_str());

    DSemaphore semaphore(1, 1, L"name");
    EXPECT_EQ(DSemaphore(1, 1, L"NAME").Wait(0), WAIT_RESULT_OK);
    MsgQueue* const queue = MsgQCreate(1, 1);
    EXPECT_EQ(MsgQSend(queue, "a", 1, 0, 0), 0);
    MsgQDelete(queue);
    RingBuffer* const ring = RingCreate(1);
    EXPECT_EQ(RingBufPut(ring, "a", 1), 1);
    RingDelete(ring);
    DTimeManager::GetInstance(0)->Sleep(15);
    DTimeManager::DestroyInstance();
}

} // namespace
