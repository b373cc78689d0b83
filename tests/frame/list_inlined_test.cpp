// The list once more, compiled where the optimiser sees its operations and their callers together,
// as link-time optimisation would.
#define DListItem InlinedListItem
#define DList InlinedList
#include "frame/list.cpp" // NOLINT(bugprone-suspicious-include)

#include <gtest/gtest.h>

namespace {

TEST(InlinedList, KeepsItsOrderUnderTheOptimiser) {
    InlinedListItem a;
    InlinedListItem b;
    InlinedListItem c;
    InlinedList list;
    list.AddTail(&a);
    list.AddTail(&b);
    list.AddTail(&c);
    EXPECT_EQ(list.Next(nullptr), &a);
    EXPECT_EQ(list.Next(&a), &b);
    EXPECT_EQ(list.Next(&b), &c);
    EXPECT_EQ(list.Prev(nullptr), &c);
    EXPECT_EQ(list.RemoveHead(), &a);
    EXPECT_EQ(list.Remove(&c), &c);
    EXPECT_EQ(list.Prev(nullptr), &b);
}

} // namespace
