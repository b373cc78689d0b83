/* Fragments in the manner of Win32 programs, which C99 and C++11 compile unchanged. Each returns 0,
 * or the line at which it failed. They run in a folder with a file "data" of 5 bytes, a read-only
 * file "fixed.ini" and a folder "inner". VERRICK_RECURSIVE_SECTIONS is defined for them. */
#include "tests/win32/fragments.h"

#include <verrick/win32.h>

#include <stdio.h>
#include <string.h>

#define CHECK(condition)                                                                           \
    if (!(condition))                                                                              \
    return __LINE__

static int WaitOnEvents(void) {
    HANDLE const latch = CreateEventW(NULL, TRUE, FALSE, TEXT("latch"));
    HANDLE const turn = CreateEvent(NULL, FALSE, TRUE, NULL);
    CHECK(WaitForSingleObject(turn, INFINITE) == WAIT_OBJECT_0);
    switch (WaitForSingleObject(turn, 0)) {
    case WAIT_OBJECT_0:
    case WAIT_ABANDONED:
    case WAIT_FAILED:
        return __LINE__;
    }
    CHECK(SetEvent(latch) && WaitForSingleObject(latch, 0) == WAIT_OBJECT_0);
    CHECK(ResetEvent(latch) && WaitForSingleObject(latch, 0) == WAIT_TIMEOUT);
    CHECK(CloseHandle(latch) && CloseHandle(turn) && !CloseHandle(NULL));
    return 0;
}

static int ReadPreviousCounts(void) {
    LONG narrow;
    long wide;
    HANDLE const slots = CreateSemaphoreW(NULL, 1, 4, NULL);
    CHECK(ReleaseSemaphore(slots, 1, &narrow) && narrow == 1);
    CHECK(ReleaseSemaphore(slots, 1, &wide) && wide == 2);
    narrow = 7;
    CHECK(!ReleaseSemaphore(slots, 0, &narrow) && narrow == 7);
    CHECK(ReleaseSemaphore(slots, 1, NULL));
    CHECK(!ReleaseSemaphore(slots, 1, &narrow) && narrow == 4);
    CHECK(CloseHandle(slots));
    return 0;
}

static CRITICAL_SECTION g_section;

static int AddNested(int amount) {
    int sum;
    EnterCriticalSection(&g_section);
    sum = amount == 0 ? 0 : amount + AddNested(amount - 1);
    LeaveCriticalSection(&g_section);
    return sum;
}

static int EnterNested(void) {
    LPCRITICAL_SECTION const section = &g_section, same = section;
    CHECK(InitializeCriticalSectionAndSpinCount(section, 4000));
    CHECK(AddNested(4) == 10);
    CHECK(TryEnterCriticalSection(section) && TryEnterCriticalSection(same));
    LeaveCriticalSection(section);
    LeaveCriticalSection(section);
    DeleteCriticalSection(section);
    return 0;
}

static int CountReferencesAndSpin(void) {
    LONG references = 1;
    long asLong = 1;
    LONG volatile lock = 0;
    CHECK(InterlockedIncrement(&references) == 2);
    CHECK(InterlockedExchangeAdd(&references, 3) == 2);
    CHECK(InterlockedDecrement(&references) == 4);
    CHECK(InterlockedDecrement(&asLong) == 0);
    while (InterlockedCompareExchange(&lock, 1, 0) != 0) {
        Sleep(0);
    }
    CHECK(InterlockedCompareExchange(&lock, 5, 0) == 1);
    CHECK(InterlockedExchange(&lock, 0) == 1 && lock == 0);
    return 0;
}

static int ListTheFolder(void) {
    FindData plain;
    struct _finddata_t found;
    unsigned int folder = 99, fixed = 99, data = 99;
    long search = _findfirst("d*", &plain);
    CHECK(search != -1 && plain.size == 5 && _findclose(search) == 0);
    search = _findfirst(".\\*.*", &found);
    CHECK(search != -1L);
    do {
        folder = strcmp(found.name, "inner") == 0 ? found.attrib : folder;
        fixed = strcmp(found.name, "fixed.ini") == 0 ? found.attrib : fixed;
        data = strcmp(found.name, "data") == 0 && found.size == 5 ? found.attrib : data;
    } while (_findnext(search, &found) == 0);
    CHECK(folder == _A_SUBDIR && fixed == _A_RDONLY && data == _A_NORMAL);
    CHECK(GetLastError() == ERROR_FILE_NOT_FOUND && _findclose(search) == 0);
    CHECK(fopen("data/none", "rb") == NULL && GetLastError() == ERROR_PATH_NOT_FOUND);
    return 0;
}

static int ReadProfileNumbers(void) {
    LPCTSTR const name = TEXT("numbers.ini");
    WritePrivateProfileString(TEXT("net"), TEXT("port"), TEXT("8080 ; old"), name);
    WritePrivateProfileStringW(L"net", L"mask", L"0xfF", name);
    WritePrivateProfileString(_T("net"), _T("offset"), _T("-3"), name);
    WritePrivateProfileString(_T("net"), _T("long"), _T("18446744073709551619"), name);
    CHECK(GetPrivateProfileInt(_T("net"), _T("port"), 1, name) == 8080);
    CHECK(GetPrivateProfileIntW(_T("net"), _T("mask"), 1, name) == 255);
    CHECK((int)GetPrivateProfileInt(_T("net"), _T("offset"), 1, name) == -3);
    CHECK(GetPrivateProfileInt(_T("net"), _T("long"), 1, name) == 3);
    CHECK(GetPrivateProfileInt(_T("net"), _T("none"), 7, name) == 7);
    CHECK(GetPrivateProfileInt(_T("net"), _T("port"), 7, _T("none/none.ini")) == 7);
    return 0;
}

typedef size_t(CALLBACK* LengthProc)(LPCSTR text);

static int CallALibrary(void) {
    HINSTANCE const self = LoadLibraryW(TEXT(""));
    LengthProc const length = (LengthProc)GetProcAddress(self, "strlen");
    FARPROC const none = GetProcAddress(self, "no such function");
    CHECK(length != NULL && length("four") == 4);
    CHECK(none == NULL && FreeLibrary(self) && !FreeLibrary(NULL));
    return 0;
}

static int JoinGenericText(void) {
    TCHAR text[512];
    LPTSTR copy;
    CHECK(_stprintf(text, _T("%s-%d"), TEXT("ab"), 12) < (int)_countof(text));
    copy = _tcsdup(text);
    CHECK(copy != NULL && _tcsicmp(copy, _T("AB-12")) == 0);
    free(copy);
    CHECK(_tcscmp(_tcstok(text, _T("-")), _T("ab")) == 0);
    CHECK(_tcstol(_tcstok(NULL, _T("-")), NULL, 10) == 12);
    return 0;
}

int (*const FRAGMENTS[])(void) = {
    WaitOnEvents,           ReadPreviousCounts, EnterNested,
    CountReferencesAndSpin, ListTheFolder,      CallALibrary,
    JoinGenericText,        ReadProfileNumbers, NULL,
};
