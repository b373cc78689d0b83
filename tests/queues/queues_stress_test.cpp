// Four senders and four receivers on one queue. The usual count is small;
// VERRICK_STRESS_MESSAGES=2500000 in the environment makes ten million over the four capacities.
#include <verrick/queues.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

static constexpr unsigned int kThreadsPerSide = 4;

class MessageQueueStress : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Capacity, MessageQueueStress, testing::Values(1, 2, 3, 64));

TEST_P(MessageQueueStress, DeliversEachMessageOnceToThreadsThatWaitForEver) {
    char const* const text = std::getenv("VERRICK_STRESS_MESSAGES");
    unsigned int const perThread = (text != nullptr ? std::atoi(text) : 8000) / kThreadsPerSide;
    MsgQueue* const queue = MsgQCreate(GetParam(), sizeof(unsigned int));
    std::vector<std::atomic<int>> received(perThread * kThreadsPerSide);
    std::vector<unsigned int> notes(received.size()); // of a message's sender to its receiver
    std::vector<std::jthread> threads;
    for (unsigned int thread = 0; thread < kThreadsPerSide; ++thread) {
        threads.emplace_back([=, &notes] {
            for (unsigned int i = 0; i < perThread; ++i) {
                unsigned int const id = i * kThreadsPerSide + thread;
                notes.at(id) = id;
                EXPECT_EQ(MsgQSend(queue, &id, sizeof id, INFINITE, 0), 0);
            }
        });
        threads.emplace_back([=, &received, &notes] {
            for (unsigned int i = 0; i < perThread; ++i) {
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
