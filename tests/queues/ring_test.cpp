#include <verrick/rings.h>

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <thread>

#include "tests/support/memory.h"

namespace {

class Ring : public testing::Test {
protected:
    ~Ring() override { RingDelete(ring); }

    int Put(std::string const& bytes) {
        return RingBufPut(ring, bytes.data(), static_cast<int>(bytes.size()));
    }

    std::string Get(int wanted) {
        std::string bytes(static_cast<std::size_t>(wanted), '?');
        bytes.resize(static_cast<std::size_t>(RingBufGet(ring, bytes.data(), wanted)));
        return bytes;
    }

    // Indexes and count, with what the queries say checked against the count.
    std::string State() {
        EXPECT_EQ(RingNBytes(ring), ring->m_count);
        EXPECT_EQ(RingFreeBytes(ring), ring->m_size - ring->m_count);
        EXPECT_EQ(RingIsEmpty(ring), ring->m_count == 0 ? 1 : 0);
        EXPECT_EQ(RingIsFull(ring), ring->m_count == ring->m_size ? 1 : 0);
        return "put " + std::to_string(ring->m_putIndex) + " get " +
               std::to_string(ring->m_getIndex) + " count " + std::to_string(ring->m_count);
    }

    RingBuffer* ring = RingCreate(8);
};

TEST_F(Ring, WrapsMovesWhatItCanAndIsFilledToTheLastByte) {
    EXPECT_EQ(Put("abcdef"), 6);
    EXPECT_EQ(Get(4), "abcd");
    EXPECT_EQ(Put("ghijk"), 5);
    EXPECT_EQ(State(), "put 3 get 4 count 7");
    EXPECT_EQ(std::string(ring->m_store, 8), "ijkdefgh");
    EXPECT_EQ(Put("lm"), 1);
    EXPECT_EQ(State(), "put 4 get 4 count 8");
    EXPECT_EQ(Put("x"), 0);
    EXPECT_EQ(Get(4), "efgh");
    EXPECT_EQ(State(), "put 4 get 0 count 4");
    EXPECT_EQ(Put("nopq"), 4);
    EXPECT_EQ(State(), "put 0 get 0 count 8");
    EXPECT_EQ(Get(100), "ijklnopq");
    EXPECT_EQ(Get(1), "");
    EXPECT_EQ(State(), "put 0 get 0 count 0");
    Put("rest");
    RingFlush(ring);
    EXPECT_EQ(State(), "put 0 get 0 count 0");
}

TEST_F(Ring, OfNoBytesNoRingAndNoMemoryAreNoError) {
    EXPECT_EQ(RingBufPut(ring, nullptr, 0) + RingBufGet(ring, nullptr, 0), 0);
    EXPECT_EQ(RingBufPut(ring, "x", -1), 0);
    EXPECT_EQ(State(), "put 0 get 0 count 0");
    RingDelete(ring);
    ring = RingCreate(0);
    EXPECT_EQ(Put("x"), 0);
    EXPECT_EQ(Get(1), "");
    EXPECT_EQ(RingIsEmpty(ring) + RingIsFull(ring), 2);

    EXPECT_EQ(RingBufGet(nullptr, nullptr, 0) + RingBufPut(nullptr, nullptr, 0), -2);
    EXPECT_EQ(RingFreeBytes(nullptr) + RingNBytes(nullptr), -2);
    EXPECT_EQ(RingIsEmpty(nullptr) + RingIsFull(nullptr), 0);
    RingFlush(nullptr);
    RingDelete(nullptr);
    EXPECT_EQ(RingCreate(-1), nullptr);
    bool failed = true;
    for (int granted = 0; failed; ++granted) {
        auto* const made = [granted] {
            MemoryShortage shortage(granted);
            return RingCreate(64);
        }();
        failed = made == nullptr;
        EXPECT_TRUE(failed || granted > 0);
        RingDelete(made);
    }
}

TEST_F(Ring, DoesNotInterleaveThePutsOfTwoThreads) {
    constexpr int kPairs = 20000;
    auto const put = [this](char const* pair) {
        for (int i = 0; i < kPairs; i += RingBufPut(ring, pair, 2) / 2) {
            std::this_thread::yield();
        }
    };
    std::thread first(put, "aa");
    std::thread second(put, "bb");
    int mixed = 0;
    for (int i = 0; i < 2 * kPairs;) {
        char pair[2];
        if (RingBufGet(ring, pair, 2) == 2) {
            mixed += pair[0] == pair[1] ? 0 : 1;
            ++i;
        } else {
            std::this_thread::yield();
        }
    }
    first.join();
    second.join();
    EXPECT_EQ(mixed, 0);
}

} // namespace
