#include <verrick/queues.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <future>
#include <string>
#include <thread>

#include "tests/support/asleep.h"

class MessageQueue : public testing::Test {
protected:
    ~MessageQueue() override { EXPECT_EQ(MsgQDelete(queue), 0); }

    int Send(std::string const& text, unsigned long timeoutMs = 0, int priority = 0) {
        auto const length = static_cast<unsigned int>(text.size());
        return MsgQSend(queue, text.data(), length, timeoutMs, priority);
    }

    // The message received, or the result if there was none.
    std::string Receive(unsigned long timeoutMs = 0, unsigned int size = 16) {
        char buffer[16];
        int const length = MsgQReceive(queue, buffer, size, timeoutMs);
        return length < 0 ? std::to_string(length)
                          : std::string(buffer, static_cast<std::size_t>(length));
    }

    std::future<std::string> ReceiveInAThread(unsigned long timeoutMs) {
        return std::async(std::launch::async, [this, timeoutMs] { return Receive(timeoutMs); });
    }

    // Looks at an event, and takes its signal.
    static bool WasSet(HANDLE event) { return WaitForSingleObject(event, 0) == WAIT_OBJECT_0; }

    MsgQueue* queue = MsgQCreate(3, 16);
};

TEST_F(MessageQueue, DeliversInOrderWithUrgentMessagesInFront) {
    for (int round = 0; round < 4; ++round) { // all places of the wrapping
        EXPECT_EQ(Send("A", 0, 2), 0);
        EXPECT_EQ(Send("B", 0, MSGQ_PRIORITY_URGENT), 0);
        EXPECT_EQ(Send("C", 0, MSGQ_PRIORITY_URGENT), 0);
        EXPECT_EQ(Send("D", 0, MSGQ_PRIORITY_URGENT), -1);
        EXPECT_EQ(Receive(), "C");
        EXPECT_EQ(Send("E"), 0);
        for (char const* const expected : {"B", "A", "E", "-1"}) {
            EXPECT_EQ(Receive(5), expected);
        }
        EXPECT_EQ(Send("F"), 0);
        EXPECT_EQ(Receive(), "F");
    }
}

TEST_F(MessageQueue, CutsWhatIsTooLongAndKeepsWhatIsEmptyInPackedSlots) {
    MsgQDelete(queue);
    queue = MsgQCreate(3, 7); // the slots lie unaligned
    EXPECT_EQ(Send("01234567"), 0);
    EXPECT_EQ(Send("0123456"), 0);
    EXPECT_EQ(MsgQSend(queue, nullptr, 0, 0, 0), 0);
    unsigned int length = 0;
    std::memcpy(&length, queue->m_store + 11, sizeof length);
    EXPECT_EQ(length, 7U);
    EXPECT_EQ(Receive(), "0123456");
    EXPECT_EQ(Receive(0, 4), "0123");
    EXPECT_EQ(MsgQNumMsgs(queue), 1);
    EXPECT_EQ(MsgQReceive(queue, nullptr, 0, 0), 0);
}

TEST_F(MessageQueue, SetsItsEventsAfterEveryMoveAndUsesUpOneForACallThatWaits) {
    Send("x");
    EXPECT_TRUE(WasSet(queue->m_notifyEvent));
    EXPECT_TRUE(WasSet(queue->m_wakeEvent));
    Receive();
    EXPECT_TRUE(WasSet(queue->m_notifyEvent));
    Receive(5);
    EXPECT_FALSE(WasSet(queue->m_wakeEvent));
    auto receiver = ReceiveInAThread(INFINITE);
    AwaitOthersAsleep();
    Send("one");
    EXPECT_EQ(receiver.get(), "one");
    EXPECT_TRUE(WasSet(queue->m_wakeEvent)); // nobody waits any more
}

TEST_F(MessageQueue, StartsTheTimeAnewForACallThatAMoveWakesInVain) {
    auto const start = std::chrono::steady_clock::now();
    auto first = ReceiveInAThread(400);
    auto second = ReceiveInAThread(400);
    std::this_thread::sleep_for(std::chrono::milliseconds(250));
    EXPECT_EQ(Send("x"), 0);
    first.wait();
    second.wait();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(600));
}

static MsgQueue* s_queue = nullptr;

// The thread that handles the signal waits in a receive. Its own message wakes it.
static void SendAndBeCancelled(int /*signal*/) {
    EXPECT_EQ(MsgQSend(s_queue, "one", 3, 0, 0), 0);
    pthread_cancel(pthread_self());
    pthread_testcancel();
}

TEST_F(MessageQueue, PassesOnTheWakeUpOfACancelledReceiver) {
    s_queue = queue;
    std::signal(SIGUSR1, SendAndBeCancelled);
    std::thread cancelled([] { MsgQReceive(s_queue, nullptr, 0, INFINITE); });
    AwaitOthersAsleep();
    auto receiver = ReceiveInAThread(INFINITE);
    AwaitOthersAsleep();
    pthread_kill(cancelled.native_handle(), SIGUSR1);
    EXPECT_EQ(receiver.get(), "one");
    cancelled.join();
}

TEST_F(MessageQueue, KeepsEveryCallOutWhileAProgramHoldsItsLockEvent) {
    Send("x");
    EXPECT_TRUE(WasSet(queue->m_lockEvent));
    auto receiver = ReceiveInAThread(0);
    std::jthread const first([this] { Send("y"); });
    std::jthread const second([this] { Send("z"); });
    AwaitOthersAsleep(); // one waits for the event, and the others for that one
    EXPECT_EQ(MsgQNumMsgs(queue), 1);
    SetEvent(queue->m_lockEvent);
    EXPECT_EQ(receiver.get(), "x");
}

TEST_F(MessageQueue, MayBeDeletedByTheReceiverOfTheLastMessage) {
    for (int round = 0; round < 2000; ++round) {
        MsgQueue* const brief = MsgQCreate(1, 1);
        std::thread sender([brief] { MsgQSend(brief, "x", 1, INFINITE, 0); });
        EXPECT_EQ(MsgQReceive(brief, nullptr, 0, INFINITE), 0);
        EXPECT_EQ(MsgQDelete(brief), 0);
        sender.join();
    }
}

TEST_F(MessageQueue, OfCapacityZeroIsAlwaysFullAndAlwaysEmpty) {
    MsgQDelete(queue);
    queue = MsgQCreate(0, 16);
    errno = 0;
    EXPECT_EQ(Send("x"), -1);
    EXPECT_EQ(Send("x", 5), -1);
    EXPECT_EQ(Receive(5), "-1");
    EXPECT_EQ(errno, 0);
}

TEST_F(MessageQueue, ThatCannotBeMadeIsNullWhichAllCallsTake) {
    EXPECT_EQ(MsgQCreate(-1, 16), nullptr);
    EXPECT_EQ(MsgQCreate(1, 0xFFFFFFFC), nullptr);
    EXPECT_EQ(MsgQCreate(INT_MAX, 16), nullptr);
    EXPECT_EQ(MsgQCreate(0, 0x80000000), nullptr); // a receive couldn't tell this length
    EXPECT_EQ(MsgQSend(nullptr, "x", 1, 0, 0), -1);
    EXPECT_EQ(MsgQReceive(nullptr, nullptr, 0, 0), -1);
    EXPECT_EQ(MsgQNumMsgs(nullptr), -1);
    EXPECT_EQ(MsgQDelete(nullptr), 0);
}
