// What both programs of rings and queues measure: the rings and the queues, each with the same two
// operations, and the benchmarks of one thread.
#pragma once

#include <verrick/queues.h>
#include <verrick/rings.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>

#include <benchmark/benchmark.h>
#include <boost/interprocess/ipc/message_queue.hpp>

#include <unistd.h>

constexpr std::size_t kRingBytes = 4096;
constexpr std::size_t kMessageBytes = 64;
using Message = std::array<char, kMessageBytes>;

class VerrickRing {
public:
    VerrickRing() : m_ring(RingCreate(kRingBytes)) {}
    ~VerrickRing() { RingDelete(m_ring); }
    VerrickRing(VerrickRing const&) = delete;
    VerrickRing& operator=(VerrickRing const&) = delete;

    std::size_t Put(char const* bytes, std::size_t wanted) {
        return static_cast<std::size_t>(RingBufPut(m_ring, bytes, static_cast<int>(wanted)));
    }
    std::size_t Get(char* bytes, std::size_t wanted) {
        return static_cast<std::size_t>(RingBufGet(m_ring, bytes, static_cast<int>(wanted)));
    }

private:
    RingBuffer* m_ring;
};

// A byte ring as one would write it behind std::mutex.
class MutexRing {
public:
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
    std::size_t m_size = kRingBytes;
    std::unique_ptr<char[]> m_store{new char[kRingBytes]};
    std::size_t m_get = 0;
    std::size_t m_count = 0;
};

// Each iteration puts and gets that many bytes.
template<typename Ring, std::size_t bytes>
void RingOneThread(benchmark::State& state) {
    Ring ring;
    Message message{};
    for (auto _ : state) {
        ring.Put(message.data(), bytes);
        ring.Get(message.data(), bytes);
        benchmark::ClobberMemory();
    }
}

constexpr int kCapacity = 64;

class VerrickQueue {
public:
    explicit VerrickQueue(int capacity) : m_queue(MsgQCreate(capacity, sizeof(Message))) {}
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
    explicit BoostQueue(std::size_t capacity)
        : m_name("verrick_bench_" + std::to_string(getpid())),
          m_queue(boost::interprocess::create_only, m_name.c_str(), capacity, sizeof(Message)) {}
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

// Each iteration sends and receives one message.
template<typename Queue>
void QueueOneThread(benchmark::State& state) {
    Queue queue(kCapacity);
    Message message{};
    for (auto _ : state) {
        queue.Send(message);
        queue.Receive(message);
        benchmark::ClobberMemory();
    }
}
