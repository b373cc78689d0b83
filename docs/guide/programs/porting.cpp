// Two workers do jobs until they are told to stop.
#define VERRICK_RECURSIVE_SECTIONS // step 2: FinishJob enters the section that its caller is in
#include <verrick/win32.h>         // step 1: in place of windows.h, process.h and tchar.h

#include <stdio.h>

static CRITICAL_SECTION g_lock;
static HANDLE g_stop;
static int g_jobs; /* guarded by g_lock */

static void FinishJob(void) {
    EnterCriticalSection(&g_lock);
    ++g_jobs;
    LeaveCriticalSection(&g_lock);
}

static unsigned __stdcall Work(void* periodMs) {
    while (WaitForSingleObject(g_stop, *(UINT*)periodMs) == WAIT_TIMEOUT) {
        EnterCriticalSection(&g_lock);
        FinishJob();
        LeaveCriticalSection(&g_lock);
    }
    return 0;
}

int main(void) {
    HANDLE workers[2];
    int i;
    UINT periodMs = GetPrivateProfileInt(TEXT("worker"), TEXT("periodMs"), 10,
                                         TEXT("./worker.ini")); // step 4
    InitializeCriticalSection(&g_lock);
    g_stop = CreateEvent(NULL, TRUE, FALSE, NULL);
    for (i = 0; i < 2; ++i) {
        workers[i] = (HANDLE)_beginthreadex(NULL, 0, Work, &periodMs, 0, NULL);
    }
    Sleep(200);
    SetEvent(g_stop);
    for (i = 0; i < 2; ++i) {
        WaitForSingleObject(workers[i], INFINITE); // step 5
        CloseHandle(workers[i]);
    }
    printf("%d jobs\n", g_jobs);
    CloseHandle(g_stop);
    DeleteCriticalSection(&g_lock);
    return g_jobs > 0 ? 0 : 1;
}
