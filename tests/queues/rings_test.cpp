#include <verrick/rings.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <string>
#include <thread>

#include "tests/support/asleep.h"
#include "tests/support/memory.h"

class Ring : public testing::Test {
protected:
    ~Ring() override { RingDelete(ring); }

    // The bytes that a get of at most wanted bytes moves.
    std::string Get(int wanted) {
        char buffer[16] = "untouched";
        int const moved = RingBufGet(ring, buffer, wanted);
        return moved > 0 ? std::string(buffer, static_cast<std::size_t>(moved)) : buffer;
    }

    void ExpectIndexesAndCount(int put, int get, int count) {
        EXPECT_EQ(ring->m_putIndex, put);
        EXPECT_EQ(ring->m_getIndex, get);
        EXPECT_EQ(RingNBytes(ring), count);
        EXPECT_EQ(RingFreeBytes(ring), ring->m_size - count);
        EXPECT_EQ(RingIsEmpty(ring), count == 0 ? 1 : 0);
        EXPECT_EQ(RingIsFull(ring), count == ring->m_size ? 1 : 0);
    }

    RingBuffer* ring = RingCreate(8);
};

TEST_F(Ring, SplitsATransferAtTheEndOfItsStore) {
    EXPECT_EQ(RingBufPut(ring, "abcdef", 6), 6);
    EXPECT_EQ(Get(4), "abcd");
    EXPECT_EQ(RingBufPut(ring, "ghijk", 5), 5);
    ExpectIndexesAndCount(3, 4, 7);
    EXPECT_EQ(Get(7), "efghijk");
    ExpectIndexesAndCount(3, 3, 0);
}

TEST_F(Ring, IsFilledToTheLastByteAndStartsAgainAtTheEndOfItsStore) {
    EXPECT_EQ(RingBufPut(ring, "0123456789", 10), 8);
    ExpectIndexesAndCount(0, 0, 8);
    EXPECT_EQ(RingBufPut(ring, "x", 1), 0);
    EXPECT_EQ(Get(1), "0");
    EXPECT_EQ(RingBufPut(ring, "8", 1), 1);
    ExpectIndexesAndCount(1, 1, 8);
    EXPECT_EQ(Get(16), "12345678");
    EXPECT_EQ(Get(1), "untouched");
}

TEST_F(Ring, MovesNothingForAnAmountOfZeroOrLess) {
    EXPECT_EQ(RingBufPut(ring, "abc", 3), 3);
    EXPECT_EQ(RingBufPut(ring, nullptr, 0), 0);
    EXPECT_EQ(RingBufPut(ring, "x", -1), 0);
    EXPECT_EQ(RingBufGet(ring, nullptr, 0), 0);
    EXPECT_EQ(Get(INT_MIN), "untouched");
    ExpectIndexesAndCount(3, 0, 3);
}

TEST_F(Ring, HoldsNothingAfterAFlush) {
    RingBufPut(ring, "abcdef", 6);
    Get(2);
    RingFlush(ring);
    ExpectIndexesAndCount(0, 0, 0);
}

TEST_F(Ring, OfSizeZeroIsBothEmptyAndFull) {
    RingDelete(ring);
    ring = RingCreate(0);
    EXPECT_EQ(RingBufPut(ring, "x", 1), 0);
    EXPECT_EQ(Get(1), "untouched");
    ExpectIndexesAndCount(0, 0, 0);
}

TEST(NullRing, IsAnsweredByEveryCall) {
    EXPECT_EQ(RingBufGet(nullptr, nullptr, 0), -1);
    EXPECT_EQ(RingBufPut(nullptr, nullptr, 0), -1);
    EXPECT_EQ(RingFreeBytes(nullptr), -1);
    EXPECT_EQ(RingNBytes(nullptr), -1);
    EXPECT_EQ(RingIsEmpty(nullptr), 0);
    EXPECT_EQ(RingIsFull(nullptr), 0);
    RingFlush(nullptr);
    RingDelete(nullptr);
}

TEST(RingCreation, ThatFailsReturnsNullAndLeavesErrnoAlone) {
    errno = 0;
    EXPECT_EQ(RingCreate(-1), nullptr);
    for (int granted = 0; granted < 2; ++granted) { // the record and the store
        EXPECT_EQ(WithMemoryFor(granted, [] { return RingCreate(64); }), nullptr) << granted;
        EXPECT_EQ(errno, 0) << granted;
    }
}

TEST_F(Ring, KeepsOutWhileAProgramHoldsItsLock) {
    EnterCriticalSection(&ring->m_lock);
    std::thread putter([this] { RingBufPut(ring, "x", 1); });
    AwaitOthersAsleep();
    EXPECT_EQ(ring->m_count, 0);
    LeaveCriticalSection(&ring->m_lock);
    putter.join();
    EXPECT_EQ(RingNBytes(ring), 1);
}

TEST_F(Ring, DoesNotInterleaveThePutsOfTwoThreads) {
    constexpr int kPairs = 20000;
    auto const putPairs = [this](char const* pair) {
        for (int done = 0; done < kPairs; std::this_thread::yield()) {
            done += RingBufPut(ring, pair, 2) == 2 ? 1 : 0;
        }
    };
    std::thread first(putPairs, "aa");
    std::thread second(putPairs, "bb");
    for (int taken = 0; taken < 2 * kPairs; std::this_thread::yield()) {
        char pair[2] = {};
        taken += RingBufGet(ring, pair, 2) == 2 ? 1 : 0;
        ASSERT_EQ(pair[0], pair[1]);
    }
    first.join();
    second.join();
}
