/* Uses every family of flat calls from C99. */
#include <verrick/flat.h>
#include <verrick/version.h>

#include <stdio.h>
#include <string.h>

static int g_failures;

static void Check(int holds, char const* what) {
    if (!holds) {
        printf("This doesn't hold: %s\n", what);
        ++g_failures;
    }
}
#define CHECK(condition) Check((condition) != 0, #condition)

static void Set(void* event) {
    SetEvent(event);
}

static void FrameThreadsAndHandles(void) {
    int counter = 10;
    char version[5];
    HANDLE const event = CreateEvent(NULL, 1, 0, NULL);
    GetDLLVersion(version);
    CHECK(strcmp(version, VERRICK_VERSION) == 0);
    CHECK(InterlockedIncrement(&counter) == 11);
    CHECK(WaitForSingleObject(event, 0) == WAIT_TIMEOUT);
    CHECK(ThreadSpawn(Set, event, 0, 0, 0, 0) == 1);
    CHECK(WaitForSingleObject(event, INFINITE) == WAIT_OBJECT_0);
    CHECK(Sleep(1) == 0);
}

static void ConfigurationAndFiles(void) {
    wchar_t value[64];
    struct FindData found;
    long search;
    CHECK(WritePrivateProfileString(L"first", L"key", L"long", L"flat.ini") == 1);
    CHECK(GetPrivateProfileString(L"first", L"key", L"none", value, 64, L"flat.ini") == 4);
    CHECK(wcscmp(value, L"long") == 0);
    search = _findfirst("./flat.in?", &found);
    CHECK(strcmp(found.name, "flat.ini") == 0);
    CHECK(_findclose(search) == 0);
}

static void QueuesAndStrings(void) {
    wchar_t text[16];
    char bytes[8];
    RingBuffer* const ring = RingCreate(8);
    MsgQueue* const queue = MsgQCreate(2, 8);
    CHECK(RingBufPut(ring, "abc", 3) == 3);
    CHECK(RingBufGet(ring, bytes, 8) == 3);
    RingDelete(ring);
    CHECK(MsgQSend(queue, "d", 1, 0, MSGQ_PRIORITY_URGENT) == 0);
    CHECK(MsgQReceive(queue, bytes, 8, INFINITE) == 1);
    CHECK(MsgQDelete(queue) == 0);
    CHECK(_sprintf(text, L"%d", 42) == 2);
    CHECK(_wcstol(text) == 42);
}

int main(void) {
    FrameThreadsAndHandles();
    ConfigurationAndFiles();
    QueuesAndStrings();
    puts(g_failures == 0 ? "every flat family works from C" : "some flat calls failed");
    return g_failures != 0;
}
