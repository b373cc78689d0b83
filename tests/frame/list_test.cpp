#include <verrick/list.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

struct Item : DListItem {
    explicit Item(int aValue) : value(aValue) {}
    int value;
};

// The list's values, read forward, and checked against the way back.
std::vector<int> Values(DList& list) {
    std::vector<int> forward;
    std::vector<int> backward;
    for (auto* at = list.Next(nullptr); at != nullptr; at = list.Next(at)) {
        forward.push_back(static_cast<Item*>(at)->value);
    }
    for (auto* at = list.Prev(nullptr); at != nullptr; at = list.Prev(at)) {
        backward.insert(backward.begin(), static_cast<Item*>(at)->value);
    }
    EXPECT_EQ(forward, backward);
    EXPECT_EQ(forward.size(), list.Size());
    EXPECT_EQ(forward.empty(), list.IsEmpty());
    return forward;
}

using Ints = std::vector<int>;

TEST(List, KeepsTheOrderOfInsertionAtBothEndsAndBehindAnItem) {
    Item a(1);
    Item b(2);
    Item c(3);
    Item d(4);
    DList list;
    list.AddTail(&b);
    list.AddTail(&c);
    list.AddHead(&a);
    list.Insert(&d, &c);
    EXPECT_EQ(Values(list), (Ints{1, 2, 3, 4}));
    EXPECT_EQ(list.Remove(&c), &c);
    EXPECT_EQ(list.Remove(&d), &d);
    list.Insert(&d, &a);
    EXPECT_EQ(Values(list), (Ints{1, 4, 2}));
    EXPECT_EQ(list.RemoveHead(), &a);
    EXPECT_EQ(Values(list), (Ints{4, 2}));
}

TEST(List, AnEmptyListStaysIntactAndIsRestoredByTheLastRemoval) {
    Item a(1);
    DList list;
    DListItem* const tailSentinel = list.m_next;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(list.Next(nullptr), nullptr);
        EXPECT_EQ(list.Prev(nullptr), nullptr);
        EXPECT_EQ(list.Remove(nullptr), nullptr);
        EXPECT_EQ(list.RemoveHead(), nullptr);
        EXPECT_EQ(Values(list), Ints{});
        EXPECT_EQ(list.m_next, tailSentinel);
        EXPECT_EQ(static_cast<void*>(tailSentinel), static_cast<void*>(&list.m_prev));
        EXPECT_EQ(list.m_prev, nullptr);
        EXPECT_EQ(tailSentinel->m_prev, &list);

        list.AddTail(&a);
        EXPECT_EQ(Values(list), Ints{1});
        EXPECT_EQ(list.Remove(&a), &a);
    }
}

} // namespace
