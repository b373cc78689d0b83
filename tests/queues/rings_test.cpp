#include <verrick/rings.h>

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "tests/support/asleep.h"

class Ring : public testing::Test {
protected:
    ~Ring() override { RingDelete(ring); }

    int Put(std::string const& bytes) {
        return RingBufPut(ring, bytes.data(), static_cast<int>(bytes.size()));
    }

    // The bytes that a get of at most wanted bytes moves.
    std::string Get(int wanted) {
        char buffer[16] = "untouched";
        int const moved = RingBufGet(ring, buffer, wanted);
        return moved > 0 ? std::string(buffer, static_cast<std::size_t>(moved)) : buffer;
    }

    RingBuffer* ring = RingCreate(8);
};

TEST_F(Ring, MovesWhatItCanAcrossTheEndOfItsStore) {
    EXPECT_EQ(Put("012345"), 6);
    EXPECT_EQ(Get(4), "0123");
    EXPECT_EQ(RingNBytes(ring), 2);
    EXPECT_EQ(RingFreeBytes(ring), 6);
    EXPECT_EQ(Put("6789abcd"), 6);
    EXPECT_EQ(Put("x"), 0);
    EXPECT_EQ(Get(1), "4");
    EXPECT_EQ(Put("c"), 1);
    EXPECT_EQ(RingBufGet(ring, nullptr, -1), 0);
    EXPECT_EQ(Get(10), "56789abc");
    EXPECT_EQ(Get(1), "untouched");
}

TEST_F(Ring, IsNeitherEmptyNorFullWithSomeOfItsBytes) {
    Put("abc");
    EXPECT_EQ(RingIsEmpty(ring), 0);
    EXPECT_EQ(RingIsFull(ring), 0);
    Put("defgh");
    EXPECT_EQ(RingIsEmpty(ring), 0);
    EXPECT_EQ(RingIsFull(ring), 1);
    RingFlush(ring);
    EXPECT_EQ(RingIsEmpty(ring), 1);
    EXPECT_EQ(RingIsFull(ring), 0);
}

TEST_F(Ring, OfSizeZeroIsAlwaysEmptyAndAlwaysFull) {
    RingDelete(ring);
    ring = RingCreate(0);
    EXPECT_EQ(Put("x"), 0);
    EXPECT_EQ(Get(1), "untouched");
    EXPECT_EQ(RingIsEmpty(ring), 1);
    EXPECT_EQ(RingIsFull(ring), 1);
}

TEST_F(Ring, ThatCannotBeMadeIsNullWhichAllCallsTake) {
    EXPECT_EQ(RingCreate(-1), nullptr);
    EXPECT_EQ(RingBufPut(nullptr, "x", 1), -1);
    EXPECT_EQ(RingBufGet(nullptr, nullptr, 1), -1);
    EXPECT_EQ(RingFreeBytes(nullptr), -1);
    EXPECT_EQ(RingNBytes(nullptr), -1);
    EXPECT_EQ(RingIsEmpty(nullptr), 0);
    EXPECT_EQ(RingIsFull(nullptr), 0);
    RingFlush(nullptr);
    RingDelete(nullptr);
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
