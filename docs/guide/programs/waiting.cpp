// A server thread that waits on handles.
#include <verrick/handles.h>
#include <verrick/thread.h>

#include <cstdio>

// Takes one count of jobs for each job, and gives one count of done back.
class Server : public DThread {
public:
    Server(HANDLE jobs, HANDLE done, HANDLE stop)
        : DThread("Server", 0, 0, 0), m_jobs(jobs), m_done(done), m_stop(stop) {
        Start();
    }
    ~Server() override { WaitForThreadDeath(-1); }

    void Run() override {
        while (WaitForSingleObject(m_jobs, INFINITE) == WAIT_OBJECT_0 &&
               WaitForSingleObject(m_stop, 0) == WAIT_TIMEOUT) {
            ReleaseSemaphore(m_done, 1, nullptr);
        }
    }

private:
    HANDLE m_jobs;
    HANDLE m_done;
    HANDLE m_stop;
};

int main() {
    HANDLE const jobs = CreateSemaphore(nullptr, 0, 10, nullptr);
    HANDLE const done = CreateSemaphore(nullptr, 0, 10, nullptr);
    HANDLE const stop = CreateEvent(nullptr, 1, 0, nullptr); // manual-reset, not signalled
    int served = 0;
    long before = -1;
    {
        Server server(jobs, done, stop);
        ReleaseSemaphore(jobs, 3, &before);
        while (served < 3 && WaitForSingleObject(done, 5000) == WAIT_OBJECT_0) {
            ++served;
        }
        std::printf("served %d, %ld jobs were waiting before\n", served, before);

        SetEvent(stop);
        ReleaseSemaphore(jobs, 1, nullptr); // so that the server looks at stop
    } // the server's thread has ended: nobody uses a handle any more

    unsigned long const idle = WaitForSingleObject(done, 10);
    int const tooMany = ReleaseSemaphore(done, 11, nullptr); // all or nothing
    int const wrongKind = SetEvent(done);
    std::printf("idle %lu, too many %d, wrong kind %d\n", idle, tooMany, wrongKind);

    int const closed = CloseHandle(jobs) + CloseHandle(done) + CloseHandle(stop);
    bool const refused = tooMany == 0 && wrongKind == 0;
    return served == 3 && before == 0 && idle == WAIT_TIMEOUT && refused && closed == 3 ? 0 : 1;
}
