#include <verrick/interlocked.h>

#include <gtest/gtest.h>

#include <climits>
#include <thread>

namespace {

TEST(InterlockedValue, GivesTheValueThatTheCallMadeAndWraps) {
    DInterlockedValue value(3);
    EXPECT_EQ(value.SetValue(5), 5);
    EXPECT_EQ(value.Increment(), 6);
    EXPECT_EQ(value.Decrement(), 5);
    EXPECT_EQ(value.Add(-7), -2);
    EXPECT_EQ(value.GetValue(), -2);
    value.SetValue(INT_MAX);
    EXPECT_EQ(value.Increment(), INT_MIN);
    EXPECT_EQ(value.Decrement(), INT_MAX);
    EXPECT_EQ(value.Add(INT_MAX), -2);
}

TEST(Interlocked, GivesTheNewValueButForExchange) {
    int word = 10;
    EXPECT_EQ(InterlockedExchangeAdd(&word, 5), 15);
    EXPECT_EQ(InterlockedExchange(&word, -1), 15);
    EXPECT_EQ(InterlockedIncrement(&word), 0);
    EXPECT_EQ(InterlockedDecrement(&word), -1);
    word = INT_MAX;
    EXPECT_EQ(InterlockedIncrement(&word), INT_MIN);
}

TEST(Interlocked, ExchangeTouchesOneWordAndGivesItWithoutSign) {
    unsigned int words[] = {1, 0xFFFFFFF7, 3};
    EXPECT_EQ(xchg_u32(&words[1], 9UL), 0xFFFFFFF7UL);
    EXPECT_EQ(words[0], 1U);
    EXPECT_EQ(words[1], 9U);
    EXPECT_EQ(words[2], 3U);
}

TEST(Interlocked, ExactlyOneThreadTakesTheWordToZero) {
    constexpr int kPerThread = 50000;
    AtomicInt word;
    AtomicInt zeros;
    DInterlockedValue locked(0);
    auto const work = [&](auto step) {
        std::thread other([&] { step(); });
        step();
        other.join();
    };
    work([&] {
        for (int i = 0; i < kPerThread; ++i) {
            atomic_int_inc(&word);
            atomic_int_add(&word, 2);
            locked.Increment();
        }
    });
    EXPECT_EQ(word.m_value, 6 * kPerThread);
    EXPECT_EQ(locked.GetValue(), 2 * kPerThread);
    work([&] {
        for (int i = 0; i < 3 * kPerThread; ++i) {
            atomic_int_add(&zeros, atomic_int_dec_and_test(&word));
        }
    });
    EXPECT_EQ(zeros.m_value, 1);
    EXPECT_EQ(atomic_int_dec_and_test(&word), 0);
    EXPECT_EQ(word.m_value, -1);
}

} // namespace
