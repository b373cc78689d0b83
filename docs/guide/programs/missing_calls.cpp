// What stands in for calls that aren't here, one function for each.
#include <verrick/file.h>
#include <verrick/handles.h>
#include <verrick/thread.h>
#include <verrick/timers.h>

#include <chrono>
#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

// CreateMutex, for a wait with a time-out: a semaphore with one count. It doesn't nest.
bool LockWithTimeout() {
    HANDLE const mutex = CreateSemaphore(nullptr, 1, 1, nullptr);
    bool const isMine = WaitForSingleObject(mutex, 1000) == WAIT_OBJECT_0; // take it
    bool const isTaken = WaitForSingleObject(mutex, 0) == WAIT_TIMEOUT;
    ReleaseSemaphore(mutex, 1, nullptr); // ReleaseMutex
    CloseHandle(mutex);
    return isMine && isTaken;
}

// CreateWaitableTimer: a timer whose listener sets an event.
class WaitableTimer : public ITimerListener {
public:
    void OnTimerExpired(unsigned int) override { SetEvent(m_event); }
    HANDLE Event() const { return m_event; }
    ~WaitableTimer() override { CloseHandle(m_event); }

private:
    HANDLE m_event = CreateEvent(nullptr, 0, 0, nullptr);
};

bool WaitForATimer() {
    ITimeManager* const timers = DTimeManager::GetInstance(10);
    WaitableTimer timer;
    timers->CreateRelativeTimer(&timer, 1, 20, 0, 0); // SetWaitableTimer
    bool const expired = WaitForSingleObject(timer.Event(), 5000) == WAIT_OBJECT_0;
    DTimeManager::DestroyInstance(); // no listener is called any more
    return expired;
}

// TerminateThread: an event that the thread looks at.
class Stoppable : public DThread {
public:
    Stoppable() : DThread("Stoppable", 0, 0, 0) { Start(); }
    ~Stoppable() override {
        SetEvent(m_stop);
        WaitForThreadDeath(-1);
        CloseHandle(m_stop);
    }
    void Run() override {
        while (WaitForSingleObject(m_stop, 10) == WAIT_TIMEOUT) {
            // a piece of the work
        }
    }

private:
    HANDLE m_stop = CreateEvent(nullptr, 1, 0, nullptr);
};

bool StopAThread() {
    Stoppable const thread;
    return true;
}

// CreateFile, WriteFile, GetFileAttributes, DeleteFile.
bool UseAFile() {
    char const* const name = "porting.tmp";
    char text[] = "text";
    DFile file;
    unsigned int written = 0;
    file.Open(name, FILE_MODE_WRITE | FILE_MODE_CREATE);
    file.Write(text, 4, &written);
    file.Close();
    struct stat status;
    bool const isPlain = stat(name, &status) == 0 && S_ISREG(status.st_mode);
    return written == 4 && isPlain && unlink(name) == 0;
}

// QueryPerformanceCounter and GetTickCount64: no step back, and no end after 49.7 days.
bool MeasureTime() {
    auto const start = std::chrono::steady_clock::now();
    return std::chrono::steady_clock::now() >= start;
}

int main() {
    bool const worked =
        LockWithTimeout() && WaitForATimer() && StopAThread() && UseAFile() && MeasureTime();
    std::printf("all of them %s\n", worked ? "work" : "don't work");
    return worked ? 0 : 1;
}
