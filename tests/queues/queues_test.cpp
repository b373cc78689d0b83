#include "tests/support/test.h"
#include <csignal>
#include <semaphore>

struct MessageQueue : testing::Test {
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

static std::binary_semaphore g_gate(0);

// The first message is sent while the process has one thread. The receive holds the queue's lock
// while it waits for the event.
TEST_F(MessageQueue, KeepsEveryCallOutWhileAProgramOrACallHoldsIt) {
    Send("x");
    EXPECT_EQ(WaitForSingleObject(queue->m_lockEvent, 0), WAIT_OBJECT_0);
    char received = '-';
    std::thread holder([&] { MsgQReceive(queue, &received, 1, 0); });
    AwaitOthersAsleep();
    EXPECT_EQ(MsgQNumMsgs(queue), 1);
    std::signal(SIGUSR1, [](int) { g_gate.acquire(); }); // the thread stands still in the handler
    pthread_kill(holder.native_handle(), SIGUSR1);
    std::thread first([this] { Send("y"); });
    std::thread second([this] { Send("z"); });
    AwaitOthersAsleep();
    SetEvent(queue->m_lockEvent); // for the receive
    SetEvent(queue->m_lockEvent); // for a send, if one waited for the event
    AwaitOthersAsleep();
    EXPECT_EQ(MsgQNumMsgs(queue), 1);
    g_gate.release();
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
TEST_F(MessageQueue, PassesOnTheWakeUpOfACancelledReceiver) {
    s_queue = queue;
    std::signal(SIGUSR1, [](int) {
        EXPECT_EQ(MsgQSend(s_queue, "x", 1, 0, 0), 0);
        pthread_cancel(pthread_self());
        pthread_testcancel();
    });
    std::jthread cancelled([] { MsgQReceive(s_queue, nullptr, 0, INFINITE); });
    AwaitOthersAsleep();
    auto receiver = Receive(INFINITE);
    AwaitOthersAsleep();
    pthread_kill(cancelled.native_handle(), SIGUSR1);
    EXPECT_EQ(receiver.get(), 'x');
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

TEST_F(MessageQueue, OfTheLongestLengthMayHaveNoRoom) {
    MsgQueue* const longest = MsgQCreate(0, 0x7FFFFFFF);
    ASSERT_NE(longest, nullptr);
    EXPECT_EQ(MsgQNumMsgs(longest), 0);
    MsgQDelete(longest);
}
