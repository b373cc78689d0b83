#include <verrick/queues.h>
#include <verrick/rings.h>

#include <gtest/gtest.h>

#include <csignal>
#include <future>
#include <thread>

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

TEST_F(MessageQueue, StartsTheTimeAnewForACallThatAMoveWakesInVain) {
    auto const start = std::chrono::steady_clock::now();
    auto first = Receive(400);
    auto second = Receive(400);
    std::this_thread::sleep_for(std::chrono::milliseconds(250));
    EXPECT_EQ(Send("x"), 0);
    first.wait();
    second.wait();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(600));
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

TEST_F(MessageQueue, KeepsEveryCallOutWhileAProgramHoldsItsLockEvent) {
    Send("x");
    EXPECT_EQ(WaitForSingleObject(queue->m_lockEvent, 0), WAIT_OBJECT_0);
    auto receiver = Receive(0);
    std::jthread const first([this] { Send("y"); });
    std::jthread const second([this] { Send("z"); });
    AwaitOthersAsleep(); // one waits for the event, and the others for that one
    EXPECT_EQ(MsgQNumMsgs(queue), 1);
    SetEvent(queue->m_lockEvent);
    EXPECT_EQ(receiver.get(), 'x');
}

TEST(Ring, KeepsOutWhileAProgramHoldsItsLock) {
    RingBuffer* const ring = RingCreate(8);
    EnterCriticalSection(&ring->m_lock);
    std::thread putter([ring] { RingBufPut(ring, "x", 1); });
    AwaitOthersAsleep();
    EXPECT_EQ(ring->m_count, 0);
    LeaveCriticalSection(&ring->m_lock);
    putter.join();
    EXPECT_EQ(RingNBytes(ring), 1);
    RingDelete(ring);
}
