// Scenarios of objects, handles, threads, timers, rings and queues.
#include "tests/failures/calls.h"
#include "tests/support/signals.h"
#include "tests/threads/hooks.h"
#include <verrick/ini_file_lock.h>

#include <semaphore>

namespace {

// Notes that it was called.
struct Callee : ITimerListener, IWorkerCallbackObj {
    void OnTimerExpired(unsigned int) override { Note(this); }
    void DoCallback(void*) override { Note(this); }
    static void Note(void* callee) {
        static_cast<Callee*>(callee)->called = 1;
        static_cast<Callee*>(callee)->called.notify_all();
    }
    std::atomic<int> called{0};
};

} // namespace

void MakeObjects(int) {
    Arm();
    DEvent event(true, true);
    verrick::Handle const handle(CreateEvent(nullptr, 0, 1, nullptr));
    DCriticalSection section;
    DInterlockedValue value(7);
    verrick::Handle const counted(CreateSemaphore(nullptr, 1, 2, nullptr));
    DSemaphore first(1, 1, L"name"), second(5, 5, L"NAME");
    long const held = g_heldMutexes;
    DMonitor const monitor(section);
    Say{g_heldMutexes - held, value.Increment()};
    Say{"events", event.Wait(1), event.Wait(1), handle.Wait(1), handle.Wait(1)};
    Say{"semaphores", counted.Wait(0), second.Wait(0), first.Wait(0)};
}

// Without a time-out, with one, and with one but without a signal. Tells whether the wait got the
// signal or lasted its time, and whether a second wait gets a signal.
void Wait(int variant) {
    auto const [send, wait] = OneOfEachKind().at(variant % 5);
    constexpr int timeOutsMs[] = {-1, 60000, 50};
    bool const isSignalled = variant < 10;
    std::thread signaller([&, &signal = send] {
        AwaitOthersAsleep();
        isSignalled ? signal() : void();
    });
    unsigned int const start = GetTickCount();
    Arm();
    Say{wait(timeOutsMs[variant / 5]), isSignalled || GetTickCount() - start >= 49};
    Arm(false);
    signaller.join();
    Say{wait(0)};
}

// Waits that a signal doesn't end: for a critical section, for a full queue, and for the lock of an
// INI file. The last variant is Sleep, which a signal ends.
void Block(int variant) {
    DCriticalSection section;
    MsgQueue* const queue = MsgQCreate(1, 1);
    MsgQSend(queue, "x", 1, 0, 0);
    auto lock = std::make_unique<IniFileLock>(L"f.ini", IniFileLock::Exclusive, INFINITE);
    std::atomic<bool> isFree{false};
    section.Enter();
    std::thread other([&, start = GetTickCount()] {
        bool const isWaited =
            variant == 0   ? (section.Enter(), section.Leave(), isFree.load())
            : variant == 1 ? MsgQSend(queue, "y", 1, INFINITE, 0) == 0 && isFree
            : variant == 2 ? IniFileLock(L"f.ini", IniFileLock::Shared, INFINITE).Owns() && isFree
                           : Sleep(60000) == 0 && GetTickCount() - start < 60000;
        Say{variant, isWaited};
    });
    AwaitOthersAsleep();
    isFree = true;
    section.Leave();
    MsgQReceive(queue, nullptr, 0, 0);
    lock.reset();
    other.join();
    MsgQDelete(queue);
}

void RunThreads(int) {
    Callee callee;
    Arm();
    Thread thread([&] { Callee::Note(&callee); }, nullptr, 100);
    Arm(g_failure.error == EINVAL); // of a wait
    AwaitOthersAsleep();            // it is parked, or has failed to wait
    Arm();
    thread.SetName("new");
    Say{thread.GetName(), thread.SetPriority(10), thread.GetPriority()};
    thread.Start();
    Say{thread.GetThreadId() != -1, thread.WaitForThreadDeath(60000)};
    Arm(false);
    Say{"anew", DThread::Create(&thread, 0, 0, 0)};
    thread.Start();
    Say{thread.WaitForThreadDeath(-1), callee.called.load()};
}

// Parked, and in Run, which touches nothing of the object.
void KillThreads(int variant) {
    static std::counting_semaphore<> s_mayEnd{0};
    struct Busy : DThread {
        Busy() : DThread(nullptr, 0, 0, 0) {}
        void Run() override { s_mayEnd.acquire(); }
    } thread;
    if (variant == 1) {
        thread.Start();
        AwaitOthersAsleep();
    }
    Arm();
    thread.Kill();
    Say{thread.GetThreadId()};
    s_mayEnd.release(variant);
}

void RunTasks(int) {
    Callee callee;
    char data[] = "x";
    Arm();
    bool const spawned = ThreadSpawn(Callee::Note, &callee, 0, 0, 0, 1 << 20) != 0;
    Say{spawned};
    callee.called.wait(spawned ? 0 : 1);
    callee.called = 0;
    DWorkerThread worker("worker", 0, 0, 0);
    worker.AddCallbackObject(&callee);
    Say{worker.DoWork(sizeof data, data), "anew", DThread::Create(&worker, 0, 0, 0)};
    worker.Start();
    callee.called.wait(0);
}

// The 65th timer makes the tables of the service grow.
void RunTimers(int) {
    Callee callee;
    Arm();
    DTimeManager& timers = *DTimeManager::GetInstance(10);
    Arm(false);
    for (unsigned int id = 1; id <= 64; ++id) {
        timers.CreateRelativeTimer(&callee, id, 10, 0, TIMER_INACTIVE);
    }
    auto const create = [&] { return timers.CreateRelativeTimer(&callee, 0, 10, 0, 0); };
    Arm();
    GoOnAfter(create);
    Say{create()};
    callee.called.wait(g_failure.error == EAGAIN && *g_failure.happened != '\0' ? 1 : 0);
    DTimeManager::DestroyInstance();
}

void MoveBytes(int) {
    errno = 77;
    Arm();
    RingBuffer* const ring = RingCreate(8);
    CRITICAL_SECTION* const lock = ring != nullptr ? &ring->m_lock : nullptr;
    Say{"ring", RingBufPut(ring, "x", 1), TryEnterCriticalSection(lock)};
    LeaveCriticalSection(lock);
    RingDelete(ring);
    MsgQueue* const queue = MsgQCreate(2, 8);
    Say{"queue", MsgQReceive(queue, nullptr, 0, 1), MsgQSend(queue, "x", 1, 0, 0)};
    Say{MsgQReceive(queue, nullptr, 0, 0), "errno", errno};
    MsgQDelete(queue);
}
