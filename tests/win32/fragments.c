/* Fragments in the manner of C programs with Win32 calls, compiled unchanged. Each returns 1 if it
 * works. VERRICK_RECURSIVE_SECTIONS is defined for this file. */
#include "tests/win32/fragments.h"

#include <stdio.h>
#include <string.h>
#include <verrick/win32.h>

static CRITICAL_SECTION g_section;

static int AddNested(int amount) {
    int sum;
    EnterCriticalSection(&g_section);
    sum = amount == 0 ? 0 : amount + AddNested(amount - 1);
    LeaveCriticalSection(&g_section);
    return sum;
}

int NestedSectionStaysTakenUntilTheLastLeave(void) {
    int works;
    InitializeCriticalSectionAndSpinCount(&g_section, 4000);
    works = AddNested(4) == 10;
    works = works && TryEnterCriticalSection(&g_section) && TryEnterCriticalSection(&g_section);
    LeaveCriticalSection(&g_section);
    LeaveCriticalSection(&g_section);
    DeleteCriticalSection(&g_section);
    return works;
}

int SemaphoreReportsThePreviousCountAsLong(void) {
    LONG previous = -1;
    HANDLE const semaphore = CreateSemaphore(NULL, 1, 2, NULL);
    int const released = ReleaseSemaphore(semaphore, 1, &previous) && previous == 1;
    int const refused = !ReleaseSemaphore(semaphore, 1, NULL);
    CloseHandle(semaphore);
    return released && refused;
}

int FindAllTellsFilesFromFolders(char const* folder) {
    struct _finddata_t found;
    char spec[MAX_PATH];
    int folders = 0;
    int files = 0;
    long handle;
    snprintf(spec, sizeof spec, "%s\\*.*", folder);
    handle = _findfirst(spec, &found);
    if (handle == -1L) {
        return 0;
    }
    do {
        if (found.attrib & _A_SUBDIR) {
            folders += strcmp(found.name, "inner") == 0;
        } else {
            files += strcmp(found.name, "data") == 0 && found.size == 5;
        }
    } while (_findnext(handle, &found) == 0);
    _findclose(handle);
    return folders == 1 && files == 1;
}

int ProfileNumbersAreRead(LPCTSTR fileName) {
    WritePrivateProfileString(TEXT("net"), TEXT("port"), TEXT("8080 ; old"), fileName);
    WritePrivateProfileString(TEXT("net"), TEXT("mask"), TEXT("0xff"), fileName);
    WritePrivateProfileString(TEXT("net"), TEXT("offset"), TEXT("-3"), fileName);
    return GetPrivateProfileInt(TEXT("net"), TEXT("port"), 1, fileName) == 8080 &&
           GetPrivateProfileInt(TEXT("net"), TEXT("mask"), 1, fileName) == 255 &&
           (int)GetPrivateProfileInt(TEXT("net"), TEXT("offset"), 1, fileName) == -3 &&
           GetPrivateProfileInt(TEXT("net"), TEXT("none"), 7, fileName) == 7 &&
           GetPrivateProfileInt(TEXT("net"), TEXT("port"), 7, TEXT("/none/none.ini")) == 7;
}

int GenericTextIsWide(void) {
    TCHAR text[_countof(TEXT("ab-cd"))];
    LPTSTR copy;
    int works;
    _tcscpy(text, _T("ab-"));
    _tcscat(text, _T("cd"));
    copy = _tcsdup(text);
    works = copy != NULL && _tcscmp(copy, L"ab-cd") == 0 && _tcsicmp(copy, _T("AB-CD")) == 0;
    free(copy);
    return works;
}

int LastErrorTellsOfTheMissingFile(void) {
    FILE* const file = fopen("/none/none", "rb");
    return file == NULL && GetLastError() == ERROR_FILE_NOT_FOUND;
}
