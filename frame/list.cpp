#include <verrick/list.h>

namespace {

// The tail sentinel is a DListItem that begins in the middle of the list's header. So one word has
// two names: the list's m_tailPred is the sentinel's m_prev. Every access to a link goes through a
// type that may alias. Otherwise the optimiser would take a write to the one for no write to the
// other.
using Link __attribute__((__may_alias__)) = DListItem*;

Link& LinkAt(DListItem*& word) {
    return *reinterpret_cast<Link*>(&word);
}

Link& NextOf(DListItem* item) {
    return LinkAt(item->m_next);
}

Link& PrevOf(DListItem* item) {
    return LinkAt(item->m_prev);
}

// The DListItem that begins at the list's own m_prev.
DListItem* TailSentinelOf(DList& list) {
    return reinterpret_cast<DListItem*>(&list.m_prev);
}

} // namespace

// The links of an item that is in no list mean nothing.
// cppcheck-suppress uninitMemberVar
DListItem::DListItem() {} // NOLINT(cppcoreguidelines-pro-type-member-init)
DListItem::~DListItem() = default;

DList::DList() : m_count(0) {
    LinkAt(m_next) = TailSentinelOf(*this);
    LinkAt(m_prev) = nullptr;
    LinkAt(m_tailPred) = this;
}

DList::~DList() = default;

void DList::Insert(DListItem* item, DListItem* after) {
    DListItem* const previous = after != nullptr ? after : this;
    NextOf(item) = NextOf(previous);
    PrevOf(item) = previous;
    PrevOf(NextOf(item)) = item; // m_tailPred, if the tail sentinel follows
    NextOf(previous) = item;
    ++m_count;
}

void DList::AddHead(DListItem* item) {
    Insert(item, nullptr);
}

void DList::AddTail(DListItem* item) {
    Insert(item, LinkAt(m_tailPred));
}

DListItem* DList::Remove(DListItem* item) {
    if (IsEmpty()) {
        return nullptr;
    }
    DListItem* const removed = item != nullptr ? item : LinkAt(m_next);
    NextOf(PrevOf(removed)) = NextOf(removed);
    PrevOf(NextOf(removed)) = PrevOf(removed);
    --m_count;
    return removed;
}

DListItem* DList::RemoveHead() {
    return Remove(nullptr);
}

DListItem* DList::Next(DListItem* item) {
    if (IsEmpty()) {
        return nullptr;
    }
    DListItem* const current = item != nullptr ? item : this;
    return current == LinkAt(m_tailPred) ? nullptr : NextOf(current);
}

DListItem* DList::Prev(DListItem* item) {
    if (IsEmpty()) {
        return nullptr;
    }
    if (item == nullptr) {
        return LinkAt(m_tailPred);
    }
    return item == LinkAt(m_next) ? nullptr : PrevOf(item);
}

bool DList::IsEmpty() {
    return LinkAt(m_next) == TailSentinelOf(*this);
}

unsigned int DList::Size() {
    return m_count;
}
