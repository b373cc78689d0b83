// Four senders and four receivers on one queue. The usual count is small;
// VERRICK_STRESS_MESSAGES=2500000 in the environment makes ten million over the four capacities.
#include <verrick/queues.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <random>
#include <thread>
#include <vector>

static constexpr unsigned int kThreadsPerSide = 4;

static void Stress(int capacity, unsigned int longestTimeOutMs) {
    char const* const text = std::getenv("VERRICK_STRESS_MESSAGES");
    unsigned int const perThread = (text != nullptr ? std::atoi(text) : 8000) / kThreadsPerSide;
    MsgQueue* const queue = MsgQCreate(capacity, sizeof(unsigned int));
    std::vector<std::atomic<int>> received(perThread * kThreadsPerSide);
    std::vector<unsigned int> notes(received.size()); // of a message's sender to its receiver
    auto const timeOut = [=](std::minstd_rand& random) {
        return longestTimeOutMs == INFINITE ? INFINITE : random() % (longestTimeOutMs + 1);
    };
    std::vector<std::jthread> threads;
    for (unsigned int thread = 0; thread < kThreadsPerSide; ++thread) {
        threads.emplace_back([=, &notes] {
            std::minstd_rand random(thread + 1);
            for (unsigned int i = 0; i < perThread; ++i) {
                unsigned int const id = i * kThreadsPerSide + thread;
                notes.at(id) = id;
                while (MsgQSend(queue, &id, sizeof id, timeOut(random), 0) != 0) {
                }
            }
        });
        threads.emplace_back([=, &received, &notes] {
            std::minstd_rand random(thread + 100);
            for (unsigned int i = 0; i < perThread; ++i) {
                unsigned int id = 0;
                while (MsgQReceive(queue, &id, sizeof id, timeOut(random)) != sizeof id) {
                }
                received.at(id).fetch_add(1);
                EXPECT_EQ(notes.at(id), id);
            }
        });
    }
    threads.clear(); // joins them; a stall shows as the test's own time-out
    for (auto const& count : received) {
        ASSERT_EQ(count.load(), 1);
    }
    EXPECT_EQ(MsgQNumMsgs(queue), 0);
    MsgQDelete(queue);
}

class MessageQueueStress : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Capacity, MessageQueueStress, testing::Values(1, 2, 3, 64));

TEST_P(MessageQueueStress, DeliversEachMessageOnceToThreadsThatWaitForEver) {
    Stress(GetParam(), INFINITE);
}

TEST_P(MessageQueueStress, DeliversEachMessageOnceToThreadsThatGiveUpNowAndThen) {
    Stress(GetParam(), 2);
}
