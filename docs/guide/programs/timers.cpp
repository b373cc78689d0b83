// A repeating timer, and a one-shot timer as a watchdog.
#include <verrick/event.h>
#include <verrick/time_primitives.h>
#include <verrick/timers.h>

#include <atomic>
#include <cstdio>

enum : unsigned int { HEARTBEAT = 1, WATCHDOG = 2 };

// Called on the service's dispatch thread.
class Monitor : public ITimerListener {
public:
    void OnTimerExpired(unsigned int id) override {
        if (id == WATCHDOG) {
            m_alarmed.Signal();
        } else if (++m_beats == 3) {
            m_threeBeats.Signal();
        }
    }

    DEvent m_threeBeats{false, true};
    DEvent m_alarmed{false, true};
    std::atomic<int> m_beats{0};
};

int main() {
    Monitor monitor;
    ITimeManager* const timers = DTimeManager::GetInstance(10);

    timers->CreateRelativeTimer(&monitor, HEARTBEAT, 20, 0, TIMER_REPEAT);
    timers->CreateRelativeTimer(&monitor, WATCHDOG, 10000, 0, TIMER_INACTIVE);
    bool const beating = monitor.m_threeBeats.Wait(5000) == WAIT_RESULT_OK;
    std::printf("three beats in about %u ms\n", timers->GetTickCount());

    // Feeding the watchdog: both calls together begin its full period again.
    bool fed = timers->Activate(&monitor, WATCHDOG);
    fed = timers->Deactivate(&monitor, WATCHDOG) && timers->Activate(&monitor, WATCHDOG) && fed;

    // A pair of listener and id is one timer: to change the period, destroy it first.
    timers->Destroy(&monitor, WATCHDOG);
    timers->CreateRelativeTimer(&monitor, WATCHDOG, 30, 0, 0);
    bool const alarmed = monitor.m_alarmed.Wait(5000) == WAIT_RESULT_OK;
    std::printf("the watchdog barked at %u ms\n", timers->GetTickCount());

    DTimeManager::DestroyInstance(); // no listener is called any more: monitor may go
    int const beats = monitor.m_beats;
    Sleep(50);
    bool const quiet = monitor.m_beats == beats;
    std::printf("%d beats in all\n", beats);
    return beating && fed && alarmed && quiet ? 0 : 1;
}
