// The list is compiled into this program once more, where the optimiser sees its operations and
// their callers together, as link-time optimisation would.
#define DListItem InlinedListItem
#define DList InlinedList
#include "frame/list.cpp" // NOLINT(bugprone-suspicious-include)

#include <gtest/gtest.h>

#include <vector>

namespace {

using Items = std::vector<DListItem*>;

// The list's items from the front, or from the back.
Items Read(DList& list, DListItem* (DList::*step)(DListItem*)) {
    Items items;
    for (auto* at = (list.*step)(nullptr); at != nullptr; at = (list.*step)(at)) {
        items.push_back(at);
    }
    return items;
}

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
        EXPECT_EQ(Read(list, &DList::Next), (Items{&a, &b, &c, &d}));
        EXPECT_EQ(list.Remove(&d), &d);
        EXPECT_EQ(Read(list, &DList::Prev), (Items{&c, &b, &a}));
        EXPECT_EQ(list.Remove(&b), &b);
        EXPECT_EQ(list.RemoveHead(), &a);
        EXPECT_EQ(list.RemoveHead(), &c);
        EXPECT_TRUE(list.IsEmpty());
    }
}

} // namespace
