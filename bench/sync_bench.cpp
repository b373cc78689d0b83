// Events, counters, locks and semaphores against what they stand on or compete with.
#include <verrick/critical_section.h>
#include <verrick/event.h>
#include <verrick/flat_critical_section.h>
#include <verrick/handles.h>
#include <verrick/interlocked.h>
#include <verrick/semaphore.h>

#include <Poco/Event.h>
#include <benchmark/benchmark.h>

#include <atomic>
#include <mutex>
#include <thread>

#include <linux/futex.h>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// The events, each with the same operations.

class ObjectEvent {
public:
    explicit ObjectEvent(bool manualReset = false) : m_event(false, !manualReset) {}
    void Set() { m_event.Signal(); }
    void Wait() { m_event.Wait(-1); }
    void Look() { m_event.Wait(0); }

private:
    DEvent m_event;
};

class HandleEvent {
public:
    explicit HandleEvent(bool manualReset = false)
        : m_event(CreateEvent(nullptr, manualReset ? 1 : 0, 0, nullptr)) {}
    ~HandleEvent() { CloseHandle(m_event); }
    HandleEvent(HandleEvent const&) = delete;
    HandleEvent& operator=(HandleEvent const&) = delete;
    void Set() { SetEvent(m_event); }
    void Wait() { WaitForSingleObject(m_event, INFINITE); }
    void Look() { WaitForSingleObject(m_event, 0); }

private:
    HANDLE m_event;
};

class PocoEvent {
public:
    explicit PocoEvent(bool manualReset = false)
        : m_event(manualReset ? Poco::Event::EVENT_MANUALRESET : Poco::Event::EVENT_AUTORESET) {}
    void Set() { m_event.set(); }
    void Wait() { m_event.wait(); }

private:
    Poco::Event m_event;
};

// An auto-reset flag in a bare futex word: 0 clear, 1 set, 2 awaited.
class FutexEvent {
public:
    void Set() {
        if (m_word.exchange(1) == 2) {
            syscall(SYS_futex, &m_word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
        }
    }
    void Wait() {
        int seen = 1;
        if (m_word.compare_exchange_strong(seen, 0)) {
            return;
        }
        while (m_word.exchange(2) != 1) {
            syscall(SYS_futex, &m_word, FUTEX_WAIT_PRIVATE, 2, nullptr, nullptr, 0);
        }
        m_word = 0;
    }

private:
    std::atomic<int> m_word{0};
};

// A look as a lock would make it: at an atomic word, then under a lock.
class LockedLook {
public:
    void Look() {
        benchmark::DoNotOptimize(m_word.load());
        std::lock_guard<std::mutex> const lock(m_mutex);
    }

private:
    std::atomic<int> m_word{0};
    std::mutex m_mutex;
};

template<class Event>
void EventOneThread(benchmark::State& state) {
    Event event;
    for (auto _ : state) {
        event.Set();
        event.Wait();
    }
}
BENCHMARK(EventOneThread<ObjectEvent>)->Name("EventOneThread/Verrick");
BENCHMARK(EventOneThread<PocoEvent>)->Name("EventOneThread/POCO");
BENCHMARK(EventOneThread<FutexEvent>)->Name("EventOneThread/futex");
BENCHMARK(EventOneThread<HandleEvent>)->Name("EventHandleOneThread/Verrick");
BENCHMARK(EventOneThread<PocoEvent>)->Name("EventHandleOneThread/POCO");
BENCHMARK(EventOneThread<FutexEvent>)->Name("EventHandleOneThread/futex");

template<class Event>
void EventThatStaysSet(benchmark::State& state) {
    Event event(true);
    event.Set();
    for (auto _ : state) {
        event.Wait();
    }
}
BENCHMARK(EventThatStaysSet<ObjectEvent>)->Name("EventManualSet/Verrick");
BENCHMARK(EventThatStaysSet<PocoEvent>)->Name("EventManualSet/POCO");
BENCHMARK(EventThatStaysSet<HandleEvent>)->Name("EventHandleManualSet/Verrick");
BENCHMARK(EventThatStaysSet<PocoEvent>)->Name("EventHandleManualSet/POCO");

template<class Event>
void EventLook(benchmark::State& state) {
    Event event;
    for (auto _ : state) {
        event.Look();
    }
}
BENCHMARK(EventLook<ObjectEvent>)->Name("EventLookUnset/Verrick");
BENCHMARK(EventLook<LockedLook>)->Name("EventLookUnset/word_and_lock");
BENCHMARK(EventLook<HandleEvent>)->Name("EventHandleLookUnset/Verrick");
BENCHMARK(EventLook<LockedLook>)->Name("EventHandleLookUnset/word_and_lock");

// Holds the calling thread, and the threads that it starts, on one processor for a scope.
class OnOneProcessor {
public:
    OnOneProcessor() {
        sched_getaffinity(0, sizeof m_before, &m_before);
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(sched_getcpu(), &one);
        sched_setaffinity(0, sizeof one, &one);
    }
    ~OnOneProcessor() { sched_setaffinity(0, sizeof m_before, &m_before); }
    OnOneProcessor(OnOneProcessor const&) = delete;
    OnOneProcessor& operator=(OnOneProcessor const&) = delete;

private:
    cpu_set_t m_before;
};

template<class Event>
void PingPong(benchmark::State& state) {
    OnOneProcessor const onOneProcessor;
    Event ping;
    Event pong;
    std::atomic<bool> ended{false};
    std::thread other([&] {
        for (;;) {
            ping.Wait();
            if (ended) {
                return;
            }
            pong.Set();
        }
    });
    for (auto _ : state) {
        ping.Set();
        pong.Wait();
    }
    ended = true;
    ping.Set();
    other.join();
}
BENCHMARK(PingPong<ObjectEvent>)->Name("EventPingPong/Verrick")->UseRealTime();
BENCHMARK(PingPong<FutexEvent>)->Name("EventPingPong/futex")->UseRealTime();
BENCHMARK(PingPong<HandleEvent>)->Name("EventHandlePingPong/Verrick")->UseRealTime();
BENCHMARK(PingPong<FutexEvent>)->Name("EventHandlePingPong/futex")->UseRealTime();

void Counter_Verrick(benchmark::State& state) {
    int word = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(InterlockedIncrement(&word));
    }
}
BENCHMARK(Counter_Verrick)->Name("InterlockedIncrement/Verrick");

template<std::memory_order order>
void Counter_FetchAdd(benchmark::State& state) {
    std::atomic<int> word{0};
    for (auto _ : state) {
        benchmark::DoNotOptimize(word.fetch_add(1, order));
    }
}
BENCHMARK(Counter_FetchAdd<std::memory_order_relaxed>)->Name("InterlockedIncrement/fetch_add");

void Counter_Object(benchmark::State& state) {
    DInterlockedValue value(0);
    for (auto _ : state) {
        benchmark::DoNotOptimize(value.Increment());
    }
}
BENCHMARK(Counter_Object)->Name("DInterlockedValue/Verrick");
BENCHMARK(Counter_FetchAdd<std::memory_order_acq_rel>)->Name("DInterlockedValue/fetch_add");

void Section_Object(benchmark::State& state) {
    DCriticalSection section;
    for (auto _ : state) {
        section.Enter();
        section.Leave();
    }
}
BENCHMARK(Section_Object)->Name("DCriticalSection/Verrick");

void Section_Flat(benchmark::State& state) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    for (auto _ : state) {
        EnterCriticalSection(&section);
        LeaveCriticalSection(&section);
    }
    DeleteCriticalSection(&section);
}
BENCHMARK(Section_Flat)->Name("CRITICAL_SECTION/Verrick");

void Section_Mutex(benchmark::State& state) {
    pthread_mutexattr_t attribute;
    pthread_mutexattr_init(&attribute);
    pthread_mutexattr_settype(&attribute, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_t mutex;
    pthread_mutex_init(&mutex, &attribute);
    for (auto _ : state) {
        pthread_mutex_lock(&mutex);
        pthread_mutex_unlock(&mutex);
    }
    pthread_mutex_destroy(&mutex);
    pthread_mutexattr_destroy(&attribute);
}
BENCHMARK(Section_Mutex)->Name("DCriticalSection/pthread_mutex");
BENCHMARK(Section_Mutex)->Name("CRITICAL_SECTION/pthread_mutex");

void Semaphore_Object(benchmark::State& state) {
    DSemaphore semaphore(0, 1, nullptr);
    for (auto _ : state) {
        semaphore.Release(1);
        semaphore.Wait(-1);
    }
}
BENCHMARK(Semaphore_Object)->Name("DSemaphore/Verrick");

void Semaphore_Handle(benchmark::State& state) {
    HANDLE const semaphore = CreateSemaphore(nullptr, 0, 1, nullptr);
    for (auto _ : state) {
        ReleaseSemaphore(semaphore, 1, nullptr);
        WaitForSingleObject(semaphore, INFINITE);
    }
    CloseHandle(semaphore);
}
BENCHMARK(Semaphore_Handle)->Name("SemaphoreHandle/Verrick");

void Semaphore_Posix(benchmark::State& state) {
    sem_t semaphore;
    sem_init(&semaphore, 0, 0);
    for (auto _ : state) {
        sem_post(&semaphore);
        sem_wait(&semaphore);
    }
    sem_destroy(&semaphore);
}
BENCHMARK(Semaphore_Posix)->Name("DSemaphore/sem_t");
BENCHMARK(Semaphore_Posix)->Name("SemaphoreHandle/sem_t");

} // namespace

// The process is one with threads before the first benchmark: whether it is changes the cost of
// mutexes.
int main(int argc, char** argv) {
    std::thread([] {}).join();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
