#include <verrick/queues.h>
#include <verrick/time_primitives.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <future>
#include <string>
#include <thread>

#include "tests/support/memory.h"

namespace {

constexpr int kNormal = 0;

class MessageQueue : public testing::Test {
protected:
    ~MessageQueue() override { EXPECT_EQ(MsgQDelete(queue), 0); }

    int Send(std::string const& text, unsigned long timeoutMs = 0, int priority = kNormal) {
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

    std::string ReceiveAll() {
        std::string all;
        while (MsgQNumMsgs(queue) > 0) {
            all += Receive() + ";";
        }
        return all;
    }

    // Runs on a thread of its own, and returns once that can be taken to block.
    template<typename Call>
    static auto Blocked(Call call) {
        auto result = std::async(std::launch::async, call);
        Sleep(100);
        EXPECT_EQ(result.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
        return result;
    }

    MsgQueue* queue = MsgQCreate(3, 16);
};

TEST_F(MessageQueue, DeliversInOrderWithUrgentMessagesInFront) {
    for (int round = 0; round < 5; ++round) { // all places of the wrapping
        EXPECT_EQ(Send("A"), 0);
        EXPECT_EQ(Send("B", 0, MSGQ_PRIORITY_URGENT), 0);
        EXPECT_EQ(Send("C", 0, MSGQ_PRIORITY_URGENT), 0);
        EXPECT_EQ(Send("D", 0, MSGQ_PRIORITY_URGENT), -1);
        EXPECT_EQ(Send("D", 5, 2), -1);
        EXPECT_EQ(MsgQNumMsgs(queue), 3);
        EXPECT_EQ(Receive(), "C");
        EXPECT_EQ(Send("E", 0, 2), 0); // a priority other than urgent
        EXPECT_EQ(ReceiveAll(), "B;A;E;");
        EXPECT_EQ(Receive() + Receive(5), "-1-1");
        EXPECT_EQ(Send("F"), 0);
        EXPECT_EQ(ReceiveAll(), "F;");
    }
}

TEST_F(MessageQueue, CutsWhatIsTooLongAndKeepsWhatIsEmpty) {
    EXPECT_EQ(Send("twenty bytes, that's."), 0);
    EXPECT_EQ(Send("0123456789"), 0);
    EXPECT_EQ(MsgQSend(queue, nullptr, 0, 0, kNormal), 0);
    EXPECT_EQ(Receive(), "twenty bytes, th");
    EXPECT_EQ(Receive(0, 4), "0123");
    EXPECT_EQ(MsgQReceive(queue, nullptr, 0, 0), 0);
    EXPECT_EQ(MsgQNumMsgs(queue), 0);
}

TEST_F(MessageQueue, KeepsItsMessagesInPackedSlots) {
    MsgQDelete(queue);
    queue = MsgQCreate(2, 3); // the second slot lies unaligned
    Send("ab");
    Send("cde");
    unsigned int length = 0;
    std::memcpy(&length, queue->m_store + 7, sizeof length);
    EXPECT_EQ(length, 3U);
    EXPECT_EQ(std::string(queue->m_store + 4, 2) + std::string(queue->m_store + 11, 3), "abcde");
    EXPECT_EQ(ReceiveAll(), "ab;cde;");
}

TEST_F(MessageQueue, SetsItsEventsAfterEveryMove) {
    auto const states = [this] {
        return std::to_string(WaitForSingleObject(queue->m_notifyEvent, 0)) + " " +
               std::to_string(WaitForSingleObject(queue->m_wakeEvent, 0));
    };
    EXPECT_EQ(states(), "258 258");
    for (int round = 0; round < 2; ++round) {
        Send("x");
        EXPECT_EQ(states(), "0 0");
        Receive();
        Send("y");
        Receive();
        EXPECT_EQ(states(), "0 0");
        EXPECT_EQ(states(), "258 258");
    }
    Receive();
    EXPECT_EQ(states(), "258 258");
}

TEST_F(MessageQueue, BlocksUntilTheOtherSideMoves) {
    for (unsigned long const timeoutMs : {INFINITE, 60000UL}) {
        auto receiver = Blocked([&] { return Receive(timeoutMs); });
        EXPECT_EQ(Send("one"), 0);
        EXPECT_EQ(receiver.get(), "one");
        for (char const* const text : {"a", "b", "c"}) {
            EXPECT_EQ(Send(text), 0);
        }
        auto sender = Blocked([&] { return Send("d", timeoutMs); });
        EXPECT_EQ(Receive(), "a");
        EXPECT_EQ(sender.get(), 0);
        EXPECT_EQ(ReceiveAll(), "b;c;d;");
    }
}

// A signal that wakes a waiter in vain, or that only looks like one, costs no message and frees no
// lock.
TEST_F(MessageQueue, StandsFalseWakeUpsOfItsEvents) {
    auto receiver = Blocked([&] { return Receive(INFINITE); });
    SetEvent(queue->m_wakeEvent);
    PulseEvent(queue->m_lockEvent);
    SetEvent(queue->m_lockEvent);
    EXPECT_EQ(receiver.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    EXPECT_EQ(Send("after all"), 0);
    EXPECT_EQ(receiver.get(), "after all");
}

TEST_F(MessageQueue, HoldsItsLockAloneUnderAStormOfFalseSignals) {
    std::atomic<bool> over{false};
    std::thread storm([&] {
        while (!over) {
            SetEvent(queue->m_lockEvent);
            SetEvent(queue->m_wakeEvent);
        }
    });
    constexpr int kMessages = 2000;
    auto const send = [&](char letter) {
        for (int i = 0; i < kMessages; ++i) {
            Send(std::string(16, letter), INFINITE);
        }
    };
    std::thread first(send, 'a');
    std::thread second(send, 'b');
    int wrong = 0;
    for (int i = 0; i < 2 * kMessages; ++i) {
        std::string const text = Receive(INFINITE);
        wrong += text == std::string(16, text[0]) ? 0 : 1;
    }
    first.join();
    second.join();
    over = true;
    storm.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(MsgQNumMsgs(queue), 0);
}

TEST_F(MessageQueue, SurvivesTheCancellationOfAWaiter) {
    pthread_t waiter{};
    ASSERT_EQ(pthread_create(
                  &waiter, nullptr,
                  [](void* shared) -> void* {
                      MsgQReceive(static_cast<MsgQueue*>(shared), nullptr, 0, INFINITE);
                      return nullptr;
                  },
                  queue),
              0);
    Sleep(50);
    pthread_cancel(waiter);
    pthread_join(waiter, nullptr);
    EXPECT_EQ(queue->m_announcedReceivers, 0);
    EXPECT_EQ(Send("on"), 0);
    EXPECT_EQ(Receive(), "on");
}

TEST_F(MessageQueue, RefusesSizesThatCannotBeAndMemoryThatIsNotThere) {
    EXPECT_EQ(MsgQCreate(-1, 16), nullptr);
    EXPECT_EQ(MsgQCreate(1, 0xFFFFFFFC), nullptr);
    EXPECT_EQ(MsgQCreate(INT_MAX, 16), nullptr);
    EXPECT_EQ(MsgQDelete(nullptr), 0);
    EXPECT_EQ(MsgQNumMsgs(nullptr), -1);
    EXPECT_EQ(MsgQSend(nullptr, "x", 1, INFINITE, kNormal), -1);
    EXPECT_EQ(MsgQReceive(nullptr, nullptr, 0, INFINITE), -1);
    bool failed = true;
    for (int granted = 0; failed; ++granted) {
        auto* const made = [granted] {
            MemoryShortage shortage(granted);
            return MsgQCreate(2, 8);
        }();
        failed = made == nullptr;
        EXPECT_TRUE(failed || granted > 0);
        MsgQDelete(made);
    }
    MsgQDelete(queue);
    queue = MsgQCreate(0, 16); // always full and always empty
    EXPECT_EQ(Send("x") + Send("x", 5), -2);
    EXPECT_EQ(Receive() + Receive(5), "-1-1");
}

} // namespace
