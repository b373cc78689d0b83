// Counters, locks, semaphores, rings and queues against what they stand on or compete with.
#include <verrick/critical_section.h>
#include <verrick/flat_critical_section.h>
#include <verrick/handles.h>
#include <verrick/interlocked.h>
#include <verrick/queues.h>
#include <verrick/rings.h>

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

#include <pthread.h>
#include <semaphore.h>
#include <unistd.h>

namespace {

using Message = std::array<char, 64>;

void Counter_Verrick(benchmark::State& state) {
    int word = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(InterlockedIncrement(&word));
    }
}
BENCHMARK(Counter_Verrick)->Name("InterlockedIncrement/Verrick");

void Counter_FetchAdd(benchmark::State& state) {
    std::atomic<int> word{0};
    for (auto _ : state) {
        benchmark::DoNotOptimize(word.fetch_add(1, std::memory_order_relaxed));
    }
}
BENCHMARK(Counter_FetchAdd)->Name("InterlockedIncrement/fetch_add");

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
