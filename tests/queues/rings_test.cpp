#include <verrick/rings.h>

#include <gtest/gtest.h>

#include <cerrno>
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
    void Expect(int put, int get, int count) {
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
    Expect(3, 4, 7);
    EXPECT_EQ(Get(7), "efghijk");
    Expect(3, 3, 0);
}

TEST_F(Ring, IsFilledToTheLastByteAndMovesWhatItCan) {
    EXPECT_EQ(RingBufPut(ring, "0123456789", 10), 8);
    Expect(0, 0, 8);
    EXPECT_EQ(RingBufPut(ring, "x", 1), 0);
    EXPECT_EQ(Get(1), "0");
    EXPECT_EQ(RingBufPut(ring, "8", 1), 1);
    EXPECT_EQ(RingBufGet(ring, nullptr, -1), 0);
    Expect(1, 1, 8);
    EXPECT_EQ(Get(10), "12345678");
    EXPECT_EQ(Get(1), "untouched");
    RingBufPut(ring, "abc", 3);
    RingFlush(ring);
    Expect(0, 0, 0);
}

TEST_F(Ring, OfSizeZeroIsBothEmptyAndFull) {
    RingDelete(ring);
    ring = RingCreate(0);
    EXPECT_EQ(RingBufPut(ring, "x", 1), 0);
    EXPECT_EQ(RingBufPut(ring, nullptr, 0), 0);
    Expect(0, 0, 0);
}

TEST_F(Ring, ThatIsNullHasAnAnswerFromEveryCall) {
    RingDelete(ring);
    ring = nullptr;
    for (auto const count : {RingFreeBytes, RingNBytes}) {
        EXPECT_EQ(count(ring), -1);
    }
    for (auto const test : {RingIsEmpty, RingIsFull}) {
        EXPECT_EQ(test(ring), 0);
    }
    EXPECT_EQ(RingBufGet(ring, nullptr, 0), -1);
    EXPECT_EQ(RingBufPut(ring, nullptr, 0), -1);
    RingFlush(ring);
}

TEST_F(Ring, ThatCannotBeMadeIsNullAndLeavesErrnoAlone) {
    errno = 0;
    EXPECT_EQ(RingCreate(-1), nullptr);
    EXPECT_EQ(WithMemoryFor(0, [] { return RingCreate(64); }), nullptr);
    EXPECT_EQ(errno, 0);
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
