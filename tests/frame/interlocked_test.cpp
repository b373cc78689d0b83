#include "tests/support/test.h"

TEST(Interlocked, ReturnsTheNewValueExceptForExchangeAndWraps) {
    int word = 10;
    EXPECT_EQ(InterlockedExchangeAdd(&word, 5), 15);
    EXPECT_EQ(InterlockedExchange(&word, -1), 15);
    EXPECT_EQ(InterlockedIncrement(&word), 0);
    EXPECT_EQ(InterlockedDecrement(&word), -1);
    EXPECT_EQ(xchg_u32(&word, 9UL), 0xFFFFFFFFUL);
    DInterlockedValue value(INT_MAX);
    EXPECT_EQ(value.Increment(), INT_MIN);
    EXPECT_EQ(value.Add(-2), INT_MAX - 1);
    EXPECT_EQ(value.SetValue(5), 5);
    EXPECT_EQ(value.Decrement(), 4);
    EXPECT_EQ(value.GetValue(), 4);
}

TEST(Version, IsFiveBytes) {
    std::string version = "------";
    GetDLLVersion(version.data());
    EXPECT_EQ(version, std::string("2.00\0-", 6));
}
