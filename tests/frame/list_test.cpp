// The list is compiled into this program once more, where the optimiser sees its operations and
// their callers together, as link-time optimisation would.
#define DListItem InlinedListItem
#define DList InlinedList
#include "frame/list.cpp" // NOLINT(bugprone-suspicious-include)

#include <gtest/gtest.h>

#include <vector>

namespace {

using Items = std::vector<DListItem*>;

// The list's items, read forward, and checked against the way back.
Items Read(DList& list) {
    Items forward;
    Items backward;
    for (auto* at = list.Next(nullptr); at != nullptr; at = list.Next(at)) {
        forward.push_back(at);
    }
    for (auto* at = list.Prev(nullptr); at != nullptr; at = list.Prev(at)) {
        backward.insert(backward.begin(), at);
    }
    EXPECT_EQ(forward, backward);
    EXPECT_EQ(forward.size(), list.Size());
    EXPECT_EQ(forward.empty(), list.IsEmpty());
    return forward;
}

TEST(List, KeepsTheOrderOfInsertionAtBothEndsAndBehindAnItem) {
    DListItem items[4];
    auto& [a, b, c, d] = items;
    DList list;
    list.AddTail(&b);
    list.AddTail(&c);
    EXPECT_EQ(list.Next(&b), &c);
    EXPECT_EQ(list.Prev(nullptr), &c);
    list.AddHead(&a);
    list.Insert(&d, &c);
    EXPECT_EQ(Read(list), (Items{&a, &b, &c, &d}));
    EXPECT_EQ(list.Remove(&c), &c);
    EXPECT_EQ(list.Remove(&d), &d);
    EXPECT_EQ(list.Prev(nullptr), &b);
    list.Insert(&d, &a);
    EXPECT_EQ(list.RemoveHead(), &a);
    EXPECT_EQ(Read(list), (Items{&d, &b}));
}

TEST(List, AnEmptyListStaysIntactAndIsRestoredByTheLastRemoval) {
    DListItem a;
    DList list;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(list.Remove(nullptr), nullptr);
        EXPECT_EQ(list.RemoveHead(), nullptr);
        EXPECT_EQ(Read(list), Items{});
        EXPECT_EQ(static_cast<void*>(list.m_next), static_cast<void*>(&list.m_prev));
        EXPECT_EQ(list.m_prev, nullptr);
        EXPECT_EQ(list.m_next->m_prev, &list);
        list.AddTail(&a);
        EXPECT_EQ(Read(list), Items{&a});
        EXPECT_EQ(list.Remove(&a), &a);
    }
}

} // namespace
