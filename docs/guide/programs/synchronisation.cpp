// Four visitors, a gate that lets them all start, and two seats.
#include <verrick/critical_section.h>
#include <verrick/event.h>
#include <verrick/interlocked.h>
#include <verrick/semaphore.h>
#include <verrick/thread.h>
#include <verrick/time_primitives.h>

#include <algorithm>
#include <cstdio>

struct Room {
    DEvent gate{false, false};       // manual-reset: open for everybody once it is signalled
    DSemaphore seats{2, 2, nullptr}; // two counts, no name
    DInterlockedValue visits{0};

    DCriticalSection lock;
    int seated = 0; // guarded by lock
    int mostSeated = 0;
};

class Visitor : public DThread {
public:
    explicit Visitor(Room& room) : DThread("Visitor", 0, 0, 0), m_room(room) { Start(); }
    ~Visitor() override { WaitForThreadDeath(-1); }

    void Run() override {
        m_room.gate.Wait(-1);
        for (int visit = 0; visit < 5; ++visit) {
            m_room.seats.Wait(-1);
            Sit();
            m_room.seats.Release(1);
        }
    }

private:
    void Sit() {
        {
            DMonitor monitor(m_room.lock); // until the end of the scope
            m_room.mostSeated = std::max(m_room.mostSeated, ++m_room.seated);
        }
        Sleep(1); // never under the lock
        m_room.visits.Increment();
        DMonitor monitor(m_room.lock);
        --m_room.seated;
    }

    Room& m_room;
};

int main() {
    Room room;
    {
        Visitor first(room), second(room), third(room), fourth(room);
        std::printf("before the gate opens: %d visits\n", room.visits.GetValue());
        room.gate.Signal();
    } // each destructor waits for its thread
    std::printf("%d visits, at most %d seated\n", room.visits.GetValue(), room.mostSeated);

    // Within the process a name stands for one semaphore, whose counts are those of the first.
    DSemaphore printer(1, 1, L"printer");
    DSemaphore samePrinter(9, 9, L"Printer");
    bool const taken = printer.Wait(0) == WAIT_RESULT_OK;
    bool const shared = samePrinter.Wait(0) == WAIT_RESULT_TIMEOUT;
    std::printf("the printer is %s\n", taken && shared ? "taken" : "free");

    return room.visits.GetValue() == 20 && room.mostSeated <= 2 && taken && shared ? 0 : 1;
}
