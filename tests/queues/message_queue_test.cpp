#include <verrick/queues.h>
#include <verrick/time_primitives.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <future>
#include <string>
#include <thread>

#include "tests/support/asleep.h"
#include "tests/support/memory.h"

class MessageQueue : public testing::Test {
protected:
    ~MessageQueue() override { EXPECT_EQ(MsgQDelete(queue), 0); }

    int Send(std::string const& text, unsigned long timeoutMs = 0, int priority = 0) {
        return MsgQSend(queue, text.data(), static_cast<unsigned int>(text.size()), timeoutMs,
                        priority);
    }

    // The message received, or its result if none was.
    std::string Receive(unsigned long timeoutMs = 0, unsigned int size = 16) {
        char buffer[16];
        int const length = MsgQReceive(queue, buffer, size, timeoutMs);
        return length < 0 ? std::to_string(length)
                          : std::string(buffer, static_cast<std::size_t>(length));
    }

    MsgQueue* queue = MsgQCreate(3, 16);
};

TEST_F(MessageQueue, DeliversInOrderWithUrgentMessagesInFront) {
    for (int round = 0; round < 4; ++round) { // all places of the wrapping
        EXPECT_EQ(Send("A", 0, 2), 0);
        EXPECT_EQ(Send("B", 0, MSGQ_PRIORITY_URGENT), 0);
        EXPECT_EQ(Send("C", 0, MSGQ_PRIORITY_URGENT), 0);
        EXPECT_EQ(Send("D", 0, MSGQ_PRIORITY_URGENT), -1);
        EXPECT_EQ(Send("D", 5), -1);
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

TEST_F(MessageQueue, SetsItsEventsAfterEveryMove) {
    auto const wereSet = [this](unsigned long expected) {
        for (HANDLE const event : {queue->m_notifyEvent, queue->m_wakeEvent}) {
            EXPECT_EQ(WaitForSingleObject(event, 0), expected);
        }
    };
    wereSet(WAIT_TIMEOUT);
    for (int round = 0; round < 2; ++round) {
        Send("x");
        wereSet(WAIT_OBJECT_0);
        Receive();
        wereSet(WAIT_OBJECT_0);
    }
    Receive();
    wereSet(WAIT_TIMEOUT);
}

// A signal that wakes a waiter in vain costs no message.
TEST_F(MessageQueue, BlocksUntilTheOtherSideMoves) {
    auto receiver = std::async(std::launch::async, [&] { return Receive(60000); });
    AwaitOthersAsleep();
    SetEvent(queue->m_wakeEvent);
    EXPECT_EQ(receiver.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    EXPECT_EQ(Send("one"), 0);
    EXPECT_EQ(receiver.get(), "one");
    EXPECT_EQ(Send("1") + Send("2") + Send("3"), 0);
    auto sender = std::async(std::launch::async, [&] { return Send("4", INFINITE); });
    EXPECT_EQ(sender.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    EXPECT_EQ(Receive().size(), 1U);
    EXPECT_EQ(sender.get(), 0);
}

TEST_F(MessageQueue, GoesOnWithoutACancelledReceiver) {
    auto const receive = [](void* shared) -> void* {
        MsgQReceive(static_cast<MsgQueue*>(shared), nullptr, 0, INFINITE);
        return nullptr;
    };
    pthread_t cancelled{};
    ASSERT_EQ(pthread_create(&cancelled, nullptr, receive, queue), 0);
    auto receiver = std::async(std::launch::async, [&] { return Receive(INFINITE); });
    Sleep(50);
    pthread_cancel(cancelled);
    EXPECT_EQ(Send("one"), 0);
    void* result = nullptr;
    pthread_join(cancelled, &result);
    if (result != PTHREAD_CANCELED) { // the message came first, and ended its wait
        EXPECT_EQ(Send("one"), 0);
    }
    EXPECT_EQ(receiver.get(), "one");
}

TEST_F(MessageQueue, HoldsItsLockAloneWhenTheLocksEventWakesForNothing) {
    Send("x");
    WaitForSingleObject(queue->m_lockEvent, 0); // the lock, as a thread inside a call has it
    queue->m_lockState = 1;
    auto receiver = std::async(std::launch::async, [&] { return Receive(); });
    AwaitOthersAsleep();
    PulseEvent(queue->m_lockEvent);
    EXPECT_EQ(receiver.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    ResetEvent(queue->m_lockEvent); // orders the receiver's look at the state before what follows
    queue->m_lockState = 0;
    SetEvent(queue->m_lockEvent);
    EXPECT_EQ(receiver.get(), "x");
}

TEST_F(MessageQueue, RefusesSizesThatCannotBeAndMemoryThatIsNotThere) {
    EXPECT_EQ(MsgQCreate(-1, 16), nullptr);
    EXPECT_EQ(MsgQCreate(1, 0xFFFFFFFC), nullptr);
    EXPECT_EQ(MsgQCreate(INT_MAX, 16), nullptr);
    EXPECT_EQ(MsgQNumMsgs(nullptr), -1);
    EXPECT_EQ(MsgQSend(nullptr, "x", 1, INFINITE, 0), -1);
    EXPECT_EQ(MsgQReceive(nullptr, nullptr, 0, INFINITE), -1);
    for (int granted = 0; granted < 4; ++granted) { // a record and three events, at least
        MemoryShortage shortage(granted);
        EXPECT_EQ(MsgQCreate(2, 8), nullptr) << granted;
    }
    MsgQDelete(queue);
    queue = MsgQCreate(0, 16); // always full and always empty
    EXPECT_EQ(Send("x") + Send("x", 5), -2);
    EXPECT_EQ(Receive(5), "-1");
}
