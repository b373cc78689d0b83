// Four senders and four receivers on one queue. The usual count is small;
// VERRICK_STRESS_MESSAGES=2500000 in the environment makes ten million of each test.
#include <verrick/queues.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <thread>
#include <vector>

namespace {

constexpr unsigned int kThreadsPerSide = 4;

unsigned int MessagesPerSender() {
    char const* const text = std::getenv("VERRICK_STRESS_MESSAGES");
    return (text != nullptr ? static_cast<unsigned int>(std::atoi(text)) : 8000) / kThreadsPerSide;
}

class Stress {
public:
    Stress(int capacity, bool withTimeOuts)
        : m_withTimeOuts(withTimeOuts), m_queue(MsgQCreate(capacity, sizeof(unsigned int))),
          m_seen(MessagesPerSender() * kThreadsPerSide) {}
    ~Stress() { MsgQDelete(m_queue); }

    void Run() {
        std::vector<std::thread> threads;
        for (unsigned int i = 0; i < kThreadsPerSide; ++i) {
            threads.emplace_back([this, i] { Send(i); });
            threads.emplace_back([this, i] { Receive(i); });
        }
        WatchForAStall();
        for (auto& thread : threads) {
            thread.join();
        }
        for (auto const& count : m_seen) {
            ASSERT_EQ(count.load(), 1);
        }
        EXPECT_EQ(MsgQNumMsgs(m_queue), 0);
    }

private:
    unsigned long RandomTimeOut(std::minstd_rand& random) const {
        return m_withTimeOuts ? random() % 3 : INFINITE;
    }

    void Send(unsigned int sender) {
        std::minstd_rand random(sender + 1);
        for (unsigned int i = 0; i < MessagesPerSender(); ++i) {
            unsigned int const id = i * kThreadsPerSide + sender;
            while (MsgQSend(m_queue, &id, sizeof id, RandomTimeOut(random), 0) != 0) {
            }
        }
    }

    void Receive(unsigned int receiver) {
        std::minstd_rand random(receiver + 100);
        for (unsigned int i = 0; i < MessagesPerSender(); ++i) {
            unsigned int id = 0;
            while (MsgQReceive(m_queue, &id, sizeof id, RandomTimeOut(random)) != sizeof id) {
            }
            m_seen.at(id).fetch_add(1);
            m_received.fetch_add(1);
        }
    }

    void WatchForAStall() const {
        unsigned int before = 0;
        int quietMs = 0;
        for (unsigned int now = 0; now < m_seen.size(); now = m_received.load()) {
            quietMs = now == before ? quietMs + 10 : 0;
            before = now;
            if (quietMs > 30000) {
                std::fprintf(stderr, "stalled after %u messages\n", now);
                std::abort();
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }

    bool m_withTimeOuts;
    MsgQueue* m_queue;
    std::vector<std::atomic<unsigned char>> m_seen;
    std::atomic<unsigned int> m_received{0};
};

class MessageQueueStress : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Capacity, MessageQueueStress, testing::Values(1, 2, 3, 64));

TEST_P(MessageQueueStress, DeliversEachMessageOnceToThreadsThatWaitForEver) {
    Stress(GetParam(), false).Run();
}

TEST_P(MessageQueueStress, DeliversEachMessageOnceToThreadsThatGiveUpNowAndThen) {
    Stress(GetParam(), true).Run();
}

} // namespace
