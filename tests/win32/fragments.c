/* Fragments in the manner of Win32 programs, which C99 and C++11 compile unchanged. Each returns 0,
 * or the line at which it failed. They run in a folder with a file "data" of 5 bytes, a read-only
 * file "fixed.ini", a file ".hidden", a link "broken" that leads nowhere, and a folder "inner".
 * VERRICK_RECURSIVE_SECTIONS is defined for them. */
#include <verrick/win32.h>

#include <errno.h>
#include <stdio.h>
#include <string.h>

#define CHECK(condition)                                                                           \
    if (!(condition))                                                                              \
    return __LINE__

static int WaitOnHandles(void) {
    LONG narrow = 7;
    long wide = 7;
    HANDLE const latch = CreateEventW(NULL, TRUE, TRUE, TEXT("latch"));
    HANDLE const slots = CreateSemaphoreW(NULL, 1, 3, NULL);
    switch (WaitForSingleObject(latch, INFINITE)) {
    case WAIT_TIMEOUT:
    case WAIT_ABANDONED:
    case WAIT_FAILED:
        return __LINE__;
    }
    CHECK(!ReleaseSemaphore(slots, 0, &narrow) && narrow == 7);
    CHECK(ReleaseSemaphore(slots, 1, &narrow) && narrow == 1);
    CHECK(ReleaseSemaphore(slots, 1, &wide) && wide == 2);
    CHECK(!ReleaseSemaphore(slots, 1, &narrow) && narrow == 3);
    CHECK(CloseHandle(latch) && CloseHandle(slots) && !CloseHandle(NULL));
    return 0;
}

static int EnterNested(void) {
    CRITICAL_SECTION record;
    LPCRITICAL_SECTION const section = &record, same = section;
    CHECK(InitializeCriticalSectionAndSpinCount(section, 4000));
    EnterCriticalSection(section);
    CHECK(TryEnterCriticalSection(same));
    LeaveCriticalSection(section);
    LeaveCriticalSection(section);
    DeleteCriticalSection(section);
    return 0;
}

static int CountReferences(void) {
    LONG volatile references = 1;
    long asLong = 1;
    CHECK(InterlockedIncrement(&references) == 2);
    CHECK(InterlockedExchangeAdd(&references, 3) == 2);
    CHECK(InterlockedDecrement(&asLong) == 0);
    CHECK(InterlockedCompareExchange(&references, 1, 0) == 5 && references == 5);
    CHECK(InterlockedCompareExchange(&references, 1, 5) == 5);
    CHECK(InterlockedExchange(&references, 0) == 1 && references == 0);
    return 0;
}

/* How many entries a search finds. */
static int Count(char const* spec) {
    struct _finddata_t found;
    long const search = _findfirst(spec, &found);
    int count = 0;
    for (int end = search == -1; end == 0; end = _findnext(search, &found)) {
        ++count;
    }
    _findclose(search);
    return count;
}

typedef struct {
    char const* text;
    unsigned int result;
} Row;

static int ListTheFolder(void) {
    static Row const entries[] = {
        {"inner", _A_SUBDIR},  {"fixed.ini", _A_RDONLY}, {"data", _A_NORMAL}, {"..", _A_SUBDIR},
        {"broken", _A_NORMAL}, {".hidden", _A_HIDDEN},   {".", _A_SUBDIR}};
    static Row const specs[] = {{"*.*", 7},  {".\\*.*", 7},   {"inner/*.*", 2}, {"*", 7},
                                {"d*.*", 0}, {"none/*.*", 0}, {NULL, 0}};
    char spec[4100];
    struct _finddata_t found;
    FindData plain;
    CHECK(_findclose(_findfirst("d*", &plain)) == 0 && plain.size == 5);
    for (size_t i = 0; i < _countof(entries); ++i) {
        long const search = _findfirst(entries[i].text, &found);
        CHECK(search != -1L && found.attrib == entries[i].result);
        CHECK((found.size == 5) == (strcmp(found.name, "data") == 0));
        CHECK(_findnext(search, &found) == -1 && _findclose(search) == 0);
    }
    for (size_t i = 0; i < _countof(specs); ++i) {
        CHECK(Count(specs[i].text) == (int)specs[i].result);
    }
    memset(spec, '/', sizeof spec);
    spec[0] = '.';
    strcpy(spec + 4092, "*.*");
    CHECK(Count(spec) == 7);
    strcpy(spec + 4093, "*.*");
    CHECK(Count(spec) == 0);
    return 0;
}

static int TellErrors(void) {
    static struct {
        int error;
        DWORD code;
    } const errors[] = {{0, 0},           {ENOENT, 2},   {ENOTDIR, 3},        {EMFILE, 4},
                        {ENFILE, 4},      {EACCES, 5},   {EPERM, 5},          {EBADF, 6},
                        {ENOMEM, 8},      {EROFS, 19},   {EIO, 31},           {EBUSY, 32},
                        {ETXTBSY, 32},    {EEXIST, 80},  {EINVAL, 87},        {ENOSPC, 112},
                        {ETIMEDOUT, 121}, {ERANGE, 122}, {ENAMETOOLONG, 206}, {EAGAIN, 1450}};
    for (size_t i = 0; i < _countof(errors); ++i) {
        errno = errors[i].error;
        CHECK(GetLastError() == errors[i].code);
    }
    return 0;
}

static int ReadProfileNumbers(void) {
    static struct {
        LPCTSTR value;
        int number;
    } const rows[] = {{L"80 ; x", 80}, {L"4294967299", 3}, {L"+1/", 1},    {L"-3:", -3},
                      {L"0", 0},       {L"8a", 8},         {L"0xfF", 255}, {L"-0X1g", -1},
                      {L"0xaG", 10},   {L"0xA@", 10},      {L"0x9`", 9},   {L"x", 0},
                      {L"", 7}};
    LPCTSTR const name = TEXT("numbers.ini");
    for (size_t i = 0; i < _countof(rows); ++i) {
        WritePrivateProfileString(TEXT("net"), TEXT("port"), rows[i].value, name);
        CHECK((int)GetPrivateProfileInt(_T("net"), _T("port"), 7, name) == rows[i].number);
    }
    WritePrivateProfileStringW(L"net", L"port", L"1", name);
    CHECK(GetPrivateProfileIntW(L"net", L"none", 7, name) == 7);
    CHECK(GetPrivateProfileInt(NULL, _T("port"), 7, name) == 7);
    CHECK(GetPrivateProfileInt(_T("net"), NULL, 7, name) == 7);
    CHECK(GetPrivateProfileInt(_T("net"), _T("port"), 7, _T("none/none.ini")) == 7);
    return 0;
}

typedef size_t(CALLBACK* LengthProc)(LPCSTR text);

static int CallALibrary(void) {
    HINSTANCE const self = LoadLibraryW(TEXT(""));
    FARPROC const length = GetProcAddress(self, "strlen");
    CHECK(length != NULL && ((LengthProc)length)("four") == 4 && FreeLibrary(self));
    return 0;
}

static int JoinGenericText(void) {
    TCHAR text[512];
    CHECK(_stprintf(text, _T("%s-%d"), TEXT("ab"), 12) < (int)_countof(text));
    LPTSTR const copy = _tcsdup(text);
    CHECK(_tcsdup(NULL) == NULL && copy != NULL && _tcsicmp(copy, _T("AB-12")) == 0);
    free(copy);
    CHECK(_tcscmp(_tcstok(text, _T("-")), _T("ab")) == 0);
    CHECK(_tcstol(_tcstok(NULL, _T("-")), NULL, 10) == 12);
    return 0;
}

#ifdef __cplusplus
#define FRAGMENTS g_fragmentsInCpp11
extern "C" int (*const FRAGMENTS[])(void);
#else
#define FRAGMENTS g_fragmentsInC99
#endif

int (*const FRAGMENTS[])(void) = {WaitOnHandles,   EnterNested,        CountReferences,
                                  ListTheFolder,   TellErrors,         CallALibrary,
                                  JoinGenericText, ReadProfileNumbers, NULL};
