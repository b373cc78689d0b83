#include <verrick/queues.h>
#include <verrick/rings.h>

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <future>
#include <malloc.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "tests/support/asleep.h"

class MessageQueue : public testing::Test {
protected:
    ~MessageQueue() override { EXPECT_EQ(MsgQDelete(queue), 0); }

    int Send(char const* byte) { return MsgQSend(queue, byte, 1, 0, 0); }

    // The byte that a thread of its own receives, or else a dash.
    std::future<char> Receive(unsigned long timeoutMs) {
        return std::async(std::launch::async, [this, timeoutMs] {
            char byte = '-';
            MsgQReceive(queue, &byte, 1, timeoutMs);
            return byte;
        });
    }

    MsgQueue* queue = MsgQCreate(3, 1);
};

static int g_gate[2];

// The thread that handles the signal stands still until the gate opens.
static void StandStill(int /*signal*/) {
    char byte = '-';
    EXPECT_EQ(read(g_gate[0], &byte, 1), 1);
}

// The first message is sent while the process has one thread. The receive holds the queue's lock
// while it waits for the event.
TEST_F(MessageQueue, KeepsEveryCallOutWhileAProgramOrACallHoldsIt) {
    Send("x");
    EXPECT_EQ(WaitForSingleObject(queue->m_lockEvent, 0), WAIT_OBJECT_0);
    char received = '-';
    std::thread holder([&] { MsgQReceive(queue, &received, 1, 0); });
    AwaitOthersAsleep();
    EXPECT_EQ(MsgQNumMsgs(queue), 1);
    EXPECT_EQ(pipe(g_gate), 0);
    std::signal(SIGUSR1, StandStill);
    pthread_kill(holder.native_handle(), SIGUSR1);
    std::thread first([this] { Send("y"); });
    std::thread second([this] { Send("z"); });
    AwaitOthersAsleep();
    SetEvent(queue->m_lockEvent); // for the receive
    SetEvent(queue->m_lockEvent); // for a send, if one waited for the event
    AwaitOthersAsleep();
    EXPECT_EQ(MsgQNumMsgs(queue), 1);
    EXPECT_EQ(write(g_gate[1], "", 1), 1);
    holder.join();
    first.join();
    second.join();
    EXPECT_EQ(received, 'x');
    EXPECT_EQ(MsgQNumMsgs(queue), 2);
}

TEST_F(MessageQueue, StartsTheTimeAnewForACallThatAMoveWakesInVain) {
    // Both deadlines lie in one second, and in two.
    for (int const phaseMs : {100, 450}) {
        auto const second =
            std::chrono::ceil<std::chrono::seconds>(std::chrono::system_clock::now());
        std::this_thread::sleep_until(second + std::chrono::milliseconds(phaseMs));
        auto const start = std::chrono::steady_clock::now();
        auto older = Receive(400);
        auto younger = Receive(400);
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
        EXPECT_EQ(Send("x"), 0);
        older.wait();
        younger.wait();
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(600));
    }
}

static MsgQueue* s_queue = nullptr;

// The thread that handles the signal waits in a receive. Its own message wakes it.
static void SendAndBeCancelled(int /*signal*/) {
    EXPECT_EQ(MsgQSend(s_queue, "x", 1, 0, 0), 0);
    pthread_cancel(pthread_self());
    pthread_testcancel();
}

TEST_F(MessageQueue, PassesOnTheWakeUpOfACancelledReceiver) {
    s_queue = queue;
    std::signal(SIGUSR1, SendAndBeCancelled);
    std::thread cancelled([] { MsgQReceive(s_queue, nullptr, 0, INFINITE); });
    AwaitOthersAsleep();
    auto receiver = Receive(INFINITE);
    AwaitOthersAsleep();
    pthread_kill(cancelled.native_handle(), SIGUSR1);
    EXPECT_EQ(receiver.get(), 'x');
    cancelled.join();
}

TEST(Ring, KeepsOutWhileAProgramHoldsItsLock) {
    RingBuffer* const ring = RingCreate(8);
    EnterCriticalSection(&ring->m_lock);
    EnterCriticalSection(&ring->m_lock); // doesn't count
    std::thread putter([ring] { RingBufPut(ring, "x", 1); });
    AwaitOthersAsleep();
    EXPECT_EQ(ring->m_count, 0);
    LeaveCriticalSection(&ring->m_lock);
    putter.join();
    EXPECT_EQ(RingNBytes(ring), 1);
    RingDelete(ring);
}

TEST(QueuesAndRings, GiveTheirMemoryBack) {
    std::size_t const before = mallinfo2().uordblks;
    for (int i = 0; i < 1000; ++i) {
        MsgQDelete(MsgQCreate(1, 1));
        RingDelete(RingCreate(1));
    }
    EXPECT_LT(mallinfo2().uordblks, before + 8000);
    MsgQueue* const longest = MsgQCreate(0, 0x7FFFFFFF);
    EXPECT_EQ(MsgQNumMsgs(longest), 0);
    MsgQDelete(longest);
}

class MessageQueueStress : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Capacity, MessageQueueStress, testing::Values(1, 2, 3, 64));

// Four senders and four receivers.
TEST_P(MessageQueueStress, DeliversEachMessageOnceToThreadsThatWaitForEver) {
    constexpr unsigned int threadsPerSide = 4;
    constexpr unsigned int messages = 8000;
    MsgQueue* const queue = MsgQCreate(GetParam(), sizeof(unsigned int));
    std::vector<std::atomic<int>> received(messages);
    std::vector<unsigned int> notes(messages); // of a message's sender to its receiver
    std::vector<std::jthread> threads;
    for (unsigned int thread = 0; thread < threadsPerSide; ++thread) {
        threads.emplace_back([=, &notes] {
            for (unsigned int id = thread; id < messages; id += threadsPerSide) {
                notes.at(id) = id;
                EXPECT_EQ(MsgQSend(queue, &id, sizeof id, INFINITE, 0), 0);
            }
        });
        threads.emplace_back([=, &received, &notes] {
            for (unsigned int i = thread; i < messages; i += threadsPerSide) {
                unsigned int id = 0;
                MsgQReceive(queue, &id, sizeof id, INFINITE);
                EXPECT_EQ(received.at(id)++, 0);
                EXPECT_EQ(notes.at(id), id);
            }
        });
    }
    threads.clear(); // joins them; a stall shows as the test's own time-out
    EXPECT_EQ(MsgQNumMsgs(queue), 0);
    MsgQDelete(queue);
}
