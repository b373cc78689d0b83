#include <verrick/rings.h>

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "tests/support/memory.h"

// Transfers through a ring of eight bytes, and what each leaves behind.
TEST(Ring, WrapsMovesWhatItCanAndIsFilledToTheLastByte) {
    RingBuffer* const ring = RingCreate(8);
    struct {
        bool isGet;
        char const* bytes; // offered or expected
        int wanted, moved, put, get, count;
    } const cases[] = {{false, "abcdef", 6, 6, 6, 0, 6}, {true, "abcd", 4, 4, 6, 4, 2},
                       {false, "ghijk", 5, 5, 3, 4, 7},  {false, "lm", 2, 1, 4, 4, 8},
                       {false, "x", 1, 0, 4, 4, 8},      {true, "efgh", 4, 4, 4, 0, 4},
                       {false, "nopq", 4, 4, 0, 0, 8},   {true, "ijklnopq", 10, 8, 0, 0, 0},
                       {true, "", 1, 0, 0, 0, 0},        {false, "", -1, 0, 0, 0, 0}};
    for (auto const& each : cases) {
        char buffer[16] = {};
        EXPECT_EQ(each.isGet ? RingBufGet(ring, buffer, each.wanted)
                             : RingBufPut(ring, each.bytes, each.wanted),
                  each.moved);
        EXPECT_EQ(each.isGet ? buffer : std::string(each.bytes), each.bytes);
        EXPECT_EQ(ring->m_putIndex * 10 + ring->m_getIndex, each.put * 10 + each.get) << each.bytes;
        EXPECT_EQ(RingNBytes(ring) * 10 - RingFreeBytes(ring), each.count * 11 - 8);
        EXPECT_EQ(RingIsEmpty(ring) - RingIsFull(ring), (each.count == 0) - each.count / 8);
    }
    RingBufPut(ring, "abc", 3);
    RingFlush(ring);
    EXPECT_EQ(RingFreeBytes(ring), 8);
    RingDelete(ring);
}

TEST(Ring, OfNoSizeNoRingAndNoMemoryAreNoError) {
    RingBuffer* const ring = RingCreate(0);
    EXPECT_EQ(RingBufPut(ring, nullptr, 0) + RingBufPut(ring, "x", 1), 0);
    EXPECT_EQ(RingIsEmpty(ring) + RingIsFull(ring), 2);
    RingDelete(ring);
    EXPECT_EQ(RingBufGet(nullptr, nullptr, 0) + RingBufPut(nullptr, nullptr, 0), -2);
    EXPECT_EQ(RingFreeBytes(nullptr) + RingNBytes(nullptr), -2);
    EXPECT_EQ(RingIsEmpty(nullptr) + RingIsFull(nullptr), 0);
    RingFlush(nullptr);
    RingDelete(nullptr);
    EXPECT_EQ(RingCreate(-1), nullptr);
    MemoryShortage shortage;
    EXPECT_EQ(RingCreate(64), nullptr);
}

TEST(Ring, DoesNotInterleaveThePutsOfTwoThreads) {
    RingBuffer* const ring = RingCreate(6);
    auto const put = [ring](char const* pair) {
        for (int i = 0; i < 20000; i += RingBufPut(ring, pair, 2) / 2) {
            std::this_thread::yield();
        }
    };
    std::thread first(put, "aa");
    std::thread second(put, "bb");
    char pair[2] = {};
    for (int i = 0; i < 40000; std::this_thread::yield()) {
        i += RingBufGet(ring, pair, 2) / 2;
        ASSERT_EQ(pair[0], pair[1]);
    }
    first.join();
    second.join();
    RingDelete(ring);
}
