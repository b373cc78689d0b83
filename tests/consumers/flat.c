/* Calls every family of flat calls from C99. */
#include <verrick/flat.h>

#include <stdio.h>
#include <string.h>

static int g_failures;

static void Check(int holds, char const* what, int line) {
    if (!holds) {
        printf("flat.c:%d: %s\n", line, what);
        ++g_failures;
    }
}
#define CHECK(condition) Check((condition) != 0, #condition, __LINE__)

static void StoreOne(void* word) {
    InterlockedExchange((int volatile*)word, 1);
}

static void FrameAndThreads(void) {
    static int stored;
    int word = 10;
    char version[5];
    unsigned int const start = GetTickCount();
    GetDLLVersion(version);
    CHECK(strcmp(version, "2.00") == 0);
    CHECK(InterlockedIncrement(&word) == 11 && InterlockedDecrement(&word) == 10);
    CHECK(InterlockedExchangeAdd(&word, 5) == 15 && InterlockedExchange(&word, 7) == 15);
    CHECK(ThreadSpawn(StoreOne, &stored, 0, 0, 0, 0) == 1);
    while (InterlockedExchangeAdd(&stored, 0) == 0) {
        CHECK(Sleep(5) == 0);
    }
    CHECK(GetTickCount() - start < 1000000);
}

static void Configuration(void) {
    wchar_t const* const file = L"flat.ini";
    wchar_t text[64];
    char narrow[64];
    FILE* stream;
    CHECK(WritePrivateProfileSection(L"first", L"a=1\0b=2\0", file) == 1);
    CHECK(WritePrivateProfileString(L"first", L"b", L"long", file) == 1);
    CHECK(GetPrivateProfileString(L"first", L"b", L"none", text, 64, file) == 4);
    CHECK(wcscmp(text, L"long") == 0);
    CHECK(GetPrivateProfileSection(L"first", text, 64, file) > 0 && wcscmp(text, L"a=1") == 0);
    CHECK(GetPrivateProfileSectionNames(text, 64, file) > 0 && wcscmp(text, L"first") == 0);
    CHECK(MBSToAscii(narrow, file, 64) == 1 && strcmp(narrow, "flat.ini") == 0);
    CHECK(AsciiToMBS(text, narrow, 64) == 1 && wcscmp(text, file) == 0);
    stream = fopen(narrow, "rb");
    CHECK(stream != NULL && myfgets(narrow, 64, stream) == narrow);
    CHECK(narrow[0] == '\0'); /* a new section stands behind a blank line */
    CHECK(myfgetws(text, 64, stream) == text && wcscmp(text, L"[first]") == 0);
    CHECK(fclose(stream) == 0);
}

static void HandlesAndQueues(void) {
    CRITICAL_SECTION section;
    HANDLE const event = CreateEvent(NULL, 1, 0, NULL);
    HANDLE const semaphore = CreateSemaphore(NULL, 0, 2, NULL);
    RingBuffer* const ring = RingCreate(8);
    MsgQueue* const queue = MsgQCreate(2, 8);
    char bytes[8];
    CHECK(WaitForSingleObject(event, 0) == WAIT_TIMEOUT && SetEvent(event) == 1);
    CHECK(WaitForSingleObject(event, INFINITE) == WAIT_OBJECT_0 && ResetEvent(event) == 1);
    CHECK(PulseEvent(event) == 1 && CloseHandle(event) == 1);
    CHECK(ReleaseSemaphore(semaphore, 1, NULL) == 1);
    CHECK(WaitForSingleObject(semaphore, 100) == WAIT_OBJECT_0 && CloseHandle(semaphore) == 1);
    CHECK(WaitForSingleObject(NULL, 0) == WAIT_FAILED);
    InitializeCriticalSection(&section);
    EnterCriticalSection(&section);
    CHECK(TryEnterCriticalSection(&section) == 0);
    LeaveCriticalSection(&section);
    DeleteCriticalSection(&section);
    CHECK(RingIsEmpty(ring) && RingBufPut(ring, "abc", 3) == 3 && !RingIsFull(ring));
    CHECK(RingNBytes(ring) == 3 && RingFreeBytes(ring) == 5 && RingBufGet(ring, bytes, 8) == 3);
    RingFlush(ring);
    RingDelete(ring);
    CHECK(MsgQSend(queue, "abc", 3, 0, 0) == 0 && MsgQNumMsgs(queue) == 1);
    CHECK(MsgQSend(queue, "d", 1, 0, MSGQ_PRIORITY_URGENT) == 0);
    CHECK(MsgQReceive(queue, bytes, 8, INFINITE) == 1 && bytes[0] == 'd');
    CHECK(MsgQDelete(queue) == 0);
}

static void FilesAndStrings(void) {
    static wchar_t* copy; /* reachable to the end: only C++ can release it */
    struct FindData found;
    wchar_t text[] = L" Ab,c ";
    long const search = _findfirst("./flat.in?", &found);
    void* const library = LoadLibrary(L"libm.so.6");
    CHECK(search != -1 && strcmp(found.name, "flat.ini") == 0);
    CHECK(_findnext(search, &found) == -1 && _findclose(search) == 0);
    CHECK(WildCardMatch("*.ini", "flat.ini") == 1);
    CHECK(GetProcAddress(library, "cos") != NULL && FreeLibrary(library) == 1);
    copy = _strdup(_trim(text));
    CHECK(wcscmp(_ltrim(_rtrim(copy)), L"Ab,c") == 0 && _stricmp(copy, L"aB,C") == 0);
    CHECK(wcscmp(_wcstok(_strupr(copy), L","), L"AB") == 0 && _wcstol(L"12") == 12);
    CHECK(_stricmp_ascii("a", "A") == 0 && _sprintf(text, L"%d", 42) == 2);
    CHECK(wcscmp(text, L"42") == 0);
    DbgMsg("%d", 1);
    OutputDebugString(L"nothing");
}

int main(void) {
    FrameAndThreads();
    Configuration();
    HandlesAndQueues();
    FilesAndStrings();
    puts(g_failures == 0 ? "every flat family works from C" : "some flat calls failed");
    return g_failures != 0;
}
