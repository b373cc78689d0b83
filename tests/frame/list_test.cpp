// The list is compiled into this program once more, where the optimiser sees its operations and
// their callers together, as link-time optimisation would.
#define DListItem InlinedListItem
#define DList InlinedList
#include "frame/list.cpp" // NOLINT(bugprone-suspicious-include)

#include <gtest/gtest.h>

TEST(List, IsTheSameFromBothEndsAndIntactAgainWhenItBecomesEmpty) {
    DListItem items[4];
    auto& [a, b, c, d] = items;
    DList list;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(list.RemoveHead(), nullptr);
        list.AddTail(&b);
        list.AddTail(&c);
        list.AddHead(&a);
        list.Insert(&d, &c);
        EXPECT_EQ(list.Size(), 4U);
        DListItem* at = nullptr;
        for (auto* const expected : {&d, &c, &b, &a}) {
            at = list.Prev(at);
            EXPECT_EQ(at, expected);
        }
        EXPECT_EQ(list.Prev(&a), nullptr);
        EXPECT_EQ(list.Remove(&b), &b);
        for (auto* const expected : {&a, &c, &d}) {
            EXPECT_EQ(list.RemoveHead(), expected);
        }
    }
}
