// A thread that waits for several things at once: orders, a timer, and the end.
#include <verrick/handles.h>
#include <verrick/queues.h>
#include <verrick/thread.h>
#include <verrick/timers.h>

#include <atomic>
#include <cstdio>

// Every source first leaves what there is to see, and then releases m_wakeUp.
class Desk : public DThread, public ITimerListener {
public:
    explicit Desk(HANDLE ticked) : DThread("Desk", 0, 0, 0), m_ticked(ticked) { Start(); }
    ~Desk() override {
        SetEvent(m_stop);
        WakeUp();
        WaitForThreadDeath(-1);
        CloseHandle(m_wakeUp);
        CloseHandle(m_tick);
        CloseHandle(m_stop);
        MsgQDelete(m_orders);
    }

    // The first source: a queue.
    bool Order(int number) {
        bool const queued = MsgQSend(m_orders, &number, sizeof number, 0, 0) == 0;
        WakeUp();
        return queued;
    }

    // The second source: a timer.
    void OnTimerExpired(unsigned int) override {
        SetEvent(m_tick);
        WakeUp();
    }

    // The waiting thread looks at all sources after each wake-up.
    void Run() override {
        while (WaitForSingleObject(m_stop, 0) == WAIT_TIMEOUT) {
            int number = 0;
            while (MsgQReceive(m_orders, &number, sizeof number, 0) >= 0) {
                m_sum += number;
            }
            if (WaitForSingleObject(m_tick, 0) == WAIT_OBJECT_0) {
                SetEvent(m_ticked);
            }
            WaitForSingleObject(m_wakeUp, INFINITE);
        }
    }

    std::atomic<int> m_sum{0};

private:
    void WakeUp() { ReleaseSemaphore(m_wakeUp, 1, nullptr); }

    HANDLE const m_ticked; // the creator's
    HANDLE const m_wakeUp = CreateSemaphore(nullptr, 0, 0x7FFFFFFF, nullptr);
    HANDLE const m_tick = CreateEvent(nullptr, 0, 0, nullptr); // auto-reset
    HANDLE const m_stop = CreateEvent(nullptr, 1, 0, nullptr); // manual-reset
    MsgQueue* const m_orders = MsgQCreate(16, sizeof(int));
};

int main() {
    HANDLE const ticked = CreateEvent(nullptr, 0, 0, nullptr);
    ITimeManager* const timers = DTimeManager::GetInstance(10);
    bool served = false;
    {
        Desk desk(ticked);
        bool const queued = desk.Order(40) && desk.Order(2);
        timers->CreateRelativeTimer(&desk, 1, 20, 0, 0);
        bool const sawTick = WaitForSingleObject(ticked, 5000) == WAIT_OBJECT_0;
        int const sum = desk.m_sum; // the orders came ahead of the tick
        std::printf("sum %d\n", sum);
        served = queued && sawTick && sum == 42;
        DTimeManager::DestroyInstance(); // no listener is called any more: desk may go
    }
    return CloseHandle(ticked) == 1 && served ? 0 : 1;
}
