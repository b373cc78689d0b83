// Queues, and rings in a process with threads, against what one would write instead and against
// other libraries.
#include "rings_and_queues.h"

#include <Poco/AutoPtr.h>
#include <Poco/Notification.h>
#include <Poco/NotificationQueue.h>
#include <benchmark/benchmark.h>
#include <glib.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <sys/resource.h>

namespace {

BENCHMARK(RingOneThread<VerrickRing, 1>)->Name("RingAmongThreads1/Verrick");
BENCHMARK(RingOneThread<MutexRing, 1>)->Name("RingAmongThreads1/mutex_ring");
BENCHMARK(RingOneThread<VerrickRing, kMessageBytes>)->Name("RingAmongThreads64/Verrick");
BENCHMARK(RingOneThread<MutexRing, kMessageBytes>)->Name("RingAmongThreads64/mutex_ring");

// Moves a whole message, however often the ring has to be asked.
template<typename Move>
void MoveAll(Move move) {
    for (std::size_t done = 0; done < kMessageBytes;) {
        std::size_t const moved = move(done);
        done += moved;
        if (moved == 0) {
            std::this_thread::yield();
        }
    }
}

template<typename Ring>
void RingTwoThreads(benchmark::State& state) {
    Ring ring;
    Message message{};
    std::thread receiver([&ring, messages = state.max_iterations] {
        Message received{};
        for (benchmark::IterationCount i = 0; i < messages; ++i) {
            MoveAll([&](std::size_t done) {
                return ring.Get(received.data() + done, kMessageBytes - done);
            });
        }
    });
    for (auto _ : state) {
        MoveAll([&](std::size_t done) {
            return ring.Put(message.data() + done, kMessageBytes - done);
        });
    }
    receiver.join();
}
BENCHMARK(RingTwoThreads<VerrickRing>)->Name("RingTwoThreads64/Verrick")->UseRealTime();
BENCHMARK(RingTwoThreads<MutexRing>)->Name("RingTwoThreads64/mutex_ring")->UseRealTime();

// A queue as one would write it with a mutex and two conditions.
class DequeQueue {
public:
    explicit DequeQueue(std::size_t capacity) : m_capacity(capacity) {}

    void Send(Message const& message) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_room.wait(lock, [this] { return m_messages.size() < m_capacity; });
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
    std::size_t m_capacity;
};

// The queue of GLib has no limit and carries pointers: a message is allocated.
class GlibQueue {
public:
    explicit GlibQueue(std::size_t /*capacity*/) : m_queue(g_async_queue_new()) {}
    ~GlibQueue() { g_async_queue_unref(m_queue); }
    GlibQueue(GlibQueue const&) = delete;
    GlibQueue& operator=(GlibQueue const&) = delete;

    void Send(Message const& message) { g_async_queue_push(m_queue, new Message(message)); }
    void Receive(Message& message) {
        std::unique_ptr<Message> const taken(static_cast<Message*>(g_async_queue_pop(m_queue)));
        message = *taken;
    }

private:
    GAsyncQueue* m_queue;
};

// So is that of POCO.
class PocoQueue {
public:
    explicit PocoQueue(std::size_t /*capacity*/) {}

    void Send(Message const& message) { m_queue.enqueueNotification(new Carrier(message)); }
    void Receive(Message& message) {
        Poco::AutoPtr<Poco::Notification> const taken(m_queue.waitDequeueNotification());
        message = static_cast<Carrier const&>(*taken).m_message;
    }

private:
    struct Carrier : Poco::Notification {
        explicit Carrier(Message const& message) : m_message(message) {}
        Message m_message;
    };

    Poco::NotificationQueue m_queue;
};

BENCHMARK(QueueOneThread<VerrickQueue>)->Name("QueueAmongThreads64/Verrick");
BENCHMARK(QueueOneThread<BoostQueue>)->Name("QueueAmongThreads64/boost_message_queue");
BENCHMARK(QueueOneThread<DequeQueue>)->Name("QueueAmongThreads64/mutex_deque");

// One message for each iteration goes to a receiver that takes all of them.
template<typename Queue>
void TwoThreads(benchmark::State& state) {
    Queue queue(kCapacity);
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
BENCHMARK(TwoThreads<GlibQueue>)->Name("QueueTwoThreads64/glib")->UseRealTime();
BENCHMARK(TwoThreads<PocoQueue>)->Name("QueueTwoThreads64/POCO")->UseRealTime();
BENCHMARK(TwoThreads<BoostQueue>)->Name("QueueTwoThreads64/boost_message_queue")->UseRealTime();

double ContextSwitches() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_nvcsw + usage.ru_nivcsw);
}

// Half of the threads send and half receive through a queue of one message, so that nearly all of
// them are blocked at any moment. The counter tells the context switches of each message.
template<typename Queue>
void Crowd(benchmark::State& state) {
    constexpr std::int64_t kMessages = 20000;
    std::int64_t const pairs = state.range(0) / 2;
    std::int64_t const each = kMessages / pairs;
    double switches = 0;
    for (auto _ : state) {
        Queue queue(1);
        std::vector<std::thread> threads;
        double const before = ContextSwitches();
        for (std::int64_t pair = 0; pair < pairs; ++pair) {
            threads.emplace_back([&queue, each] {
                Message message{};
                for (std::int64_t i = 0; i < each; ++i) {
                    queue.Receive(message);
                }
            });
            threads.emplace_back([&queue, each] {
                Message const message{};
                for (std::int64_t i = 0; i < each; ++i) {
                    queue.Send(message);
                }
            });
        }
        for (auto& thread : threads) {
            thread.join();
        }
        switches += ContextSwitches() - before;
    }
    state.SetItemsProcessed(state.iterations() * each * pairs);
    state.counters["switches"] = switches / static_cast<double>(state.items_processed());
}
BENCHMARK(Crowd<VerrickQueue>)
    ->Name("QueueCrowd/Verrick")
    ->Arg(64)
    ->Arg(256)
    ->Arg(1000)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Crowd<DequeQueue>)
    ->Name("QueueCrowd/mutex_deque")
    ->Arg(64)
    ->Arg(256)
    ->Arg(1000)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

} // namespace

// The process is one with threads before the first benchmark: whether it is changes the cost of
// mutexes.
int main(int argc, char** argv) {
    std::thread([] {}).join();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
