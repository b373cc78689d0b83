// Events, counters, locks, semaphores, rings and queues against what they stand on or compete with.
#include <verrick/critical_section.h>
#include <verrick/event.h>
#include <verrick/flat_critical_section.h>
#include <verrick/handles.h>
#include <verrick/interlocked.h>
#include <verrick/queues.h>
#include <verrick/rings.h>
#include <verrick/semaphore.h>

#include <Poco/Event.h>
#include <benchmark/benchmark.h>
#include <boost/interprocess/ipc/message_queue.hpp>

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

#include <linux/futex.h>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

using Message = std::array<char, 64>;

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

// A byte ring as one would write it behind std::mutex.
class MutexRing {
public:
    explicit MutexRing(std::size_t size) : m_size(size), m_store(new char[size]) {}

    std::size_t Put(char const* bytes, std::size_t wanted) {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::size_t const amount = std::min(wanted, m_size - m_count);
        std::size_t const at = (m_get + m_count) % m_size;
        std::size_t const first = std::min(amount, m_size - at);
        std::memcpy(m_store.get() + at, bytes, first);
        std::memcpy(m_store.get(), bytes + first, amount - first);
        m_count += amount;
        return amount;
    }

    std::size_t Get(char* bytes, std::size_t wanted) {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::size_t const amount = std::min(wanted, m_count);
        std::size_t const first = std::min(amount, m_size - m_get);
        std::memcpy(bytes, m_store.get() + m_get, first);
        std::memcpy(bytes + first, m_store.get(), amount - first);
        m_get = (m_get + amount) % m_size;
        m_count -= amount;
        return amount;
    }

private:
    std::mutex m_mutex;
    std::size_t m_size;
    std::unique_ptr<char[]> m_store;
    std::size_t m_get = 0;
    std::size_t m_count = 0;
};

constexpr int kRingBytes = 4096;

void Ring_Verrick(benchmark::State& state) {
    RingBuffer* const ring = RingCreate(kRingBytes);
    Message message{};
    for (auto _ : state) {
        RingBufPut(ring, message.data(), static_cast<int>(message.size()));
        RingBufGet(ring, message.data(), static_cast<int>(message.size()));
        benchmark::ClobberMemory();
    }
    RingDelete(ring);
}
BENCHMARK(Ring_Verrick)->Name("Ring64/Verrick");

void Ring_Mutex(benchmark::State& state) {
    MutexRing ring(kRingBytes);
    Message message{};
    for (auto _ : state) {
        ring.Put(message.data(), message.size());
        ring.Get(message.data(), message.size());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Ring_Mutex)->Name("Ring64/mutex_ring");

// The queues, each with the same two operations.
constexpr int kCapacity = 64;

class VerrickQueue {
public:
    VerrickQueue() : m_queue(MsgQCreate(kCapacity, sizeof(Message))) {}
    ~VerrickQueue() { MsgQDelete(m_queue); }
    VerrickQueue(VerrickQueue const&) = delete;
    VerrickQueue& operator=(VerrickQueue const&) = delete;

    void Send(Message const& message) {
        MsgQSend(m_queue, message.data(), sizeof message, INFINITE, 0);
    }
    void Receive(Message& message) {
        MsgQReceive(m_queue, message.data(), sizeof message, INFINITE);
    }

private:
    MsgQueue* m_queue;
};

class BoostQueue {
    using Queue = boost::interprocess::message_queue;

public:
    BoostQueue()
        : m_name("verrick_bench_" + std::to_string(getpid())),
          m_queue(boost::interprocess::create_only, m_name.c_str(), kCapacity, sizeof(Message)) {}
    ~BoostQueue() { Queue::remove(m_name.c_str()); }
    BoostQueue(BoostQueue const&) = delete;
    BoostQueue& operator=(BoostQueue const&) = delete;

    void Send(Message const& message) { m_queue.send(message.data(), sizeof message, 0); }
    void Receive(Message& message) {
        Queue::size_type received = 0;
        unsigned int priority = 0;
        m_queue.receive(message.data(), sizeof message, received, priority);
    }

private:
    std::string m_name;
    Queue m_queue;
};

class DequeQueue {
public:
    void Send(Message const& message) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_room.wait(lock, [this] { return m_messages.size() < kCapacity; });
        m_messages.push_back(message);
        m_filled.notify_one();
    }
    void Receive(Message& message) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_filled.wait(lock, [this] { return !m_messages.empty(); });
        message = m_messages.front();
        m_messages.pop_front();
        m_room.notify_one();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_room;
    std::condition_variable m_filled;
    std::deque<Message> m_messages;
};

template<typename Queue>
void OneThread(benchmark::State& state) {
    Queue queue;
    Message message{};
    for (auto _ : state) {
        queue.Send(message);
        queue.Receive(message);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(OneThread<VerrickQueue>)->Name("QueueOneThread64/Verrick");
BENCHMARK(OneThread<BoostQueue>)->Name("QueueOneThread64/boost_message_queue");

// One message for each iteration goes to a receiver that takes all of them.
template<typename Queue>
void TwoThreads(benchmark::State& state) {
    Queue queue;
    Message message{};
    std::thread receiver([&queue, messages = state.max_iterations] {
        Message received{};
        for (benchmark::IterationCount i = 0; i < messages; ++i) {
            queue.Receive(received);
        }
    });
    for (auto _ : state) {
        queue.Send(message);
    }
    receiver.join();
}
BENCHMARK(TwoThreads<VerrickQueue>)->Name("QueueTwoThreads64/Verrick")->UseRealTime();
BENCHMARK(TwoThreads<DequeQueue>)->Name("QueueTwoThreads64/mutex_deque")->UseRealTime();
BENCHMARK(TwoThreads<BoostQueue>)->Name("QueueTwoThreads64/boost_message_queue")->UseRealTime();

} // namespace

BENCHMARK_MAIN();
