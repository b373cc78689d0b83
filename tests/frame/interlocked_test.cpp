#include <verrick/interlocked.h>

#include <gtest/gtest.h>

#include <climits>
#include <thread>

TEST(InterlockedValue, ReturnsTheValueThatTheCallMadeAndWraps) {
    DInterlockedValue value(3);
    EXPECT_EQ(value.SetValue(INT_MAX), INT_MAX);
    EXPECT_EQ(value.Increment(), INT_MIN);
    EXPECT_EQ(value.Decrement(), INT_MAX);
    EXPECT_EQ(value.Add(INT_MAX), -2);
}

TEST(Interlocked, ReturnsTheNewValueExceptForExchangeAndTouchesOneWord) {
    int words[] = {1, 10, 3};
    EXPECT_EQ(InterlockedExchangeAdd(&words[1], 5), 15);
    EXPECT_EQ(InterlockedExchange(&words[1], -1), 15);
    EXPECT_EQ(InterlockedIncrement(&words[1]), 0);
    EXPECT_EQ(InterlockedDecrement(&words[1]), -1);
    EXPECT_EQ(xchg_u32(&words[1], 9UL), 0xFFFFFFFFUL);
    EXPECT_EQ(words[0], 1);
    EXPECT_EQ(words[1], 9);
    EXPECT_EQ(words[2], 3);
}

TEST(Interlocked, ExactlyOneThreadTakesTheWordToZero) {
    AtomicInt word(100000);
    AtomicInt zeros;
    auto const count = [&] {
        for (int i = 0; i < 100000; ++i) {
            atomic_int_inc(&word);
            atomic_int_add(&word, -1);
            atomic_int_add(&zeros, i % 2 == 0 ? atomic_int_dec_and_test(&word) : 0);
        }
    };
    std::thread other(count);
    count();
    other.join();
    EXPECT_EQ(word.m_value, 0);
    EXPECT_EQ(zeros.m_value, 1);
}
