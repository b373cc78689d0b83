#include <verrick/rings.h>

#include <gtest/gtest.h>

#include <thread>

#include "tests/support/asleep.h"

TEST(Ring, KeepsOutWhileAProgramHoldsItsLock) {
    RingBuffer* const ring = RingCreate(8);
    EnterCriticalSection(&ring->m_lock);
    std::thread putter([ring] { RingBufPut(ring, "x", 1); });
    AwaitOthersAsleep();
    EXPECT_EQ(ring->m_count, 0);
    LeaveCriticalSection(&ring->m_lock);
    putter.join();
    EXPECT_EQ(RingNBytes(ring), 1);
    RingDelete(ring);
}
