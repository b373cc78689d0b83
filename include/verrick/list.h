/**
 * @file
 * An intrusive doubly-linked list. What is listed derives from DListItem and carries its own links,
 * so linking allocates nothing; every operation takes constant time.
 *
 * The list owns nothing and locks nothing: whoever puts an item in takes it out, frees it, and
 * guards the list. A list that dies with items in it leaves them linked to nothing.
 *
 * An argument of null in the place of an item stands for an end of the list. The usual walk is
 * Next(nullptr), then Next(item) until null; a walk that removes takes the next item first.
 */
#ifndef VERRICK_LIST_H
#define VERRICK_LIST_H

#include <verrick/detail/api.h>

/** What an item derives from: its links, which are the list's and undefined until it is inserted.
 */
class VERRICK_API DListItem {
public:
    DListItem();
    ~DListItem();

    DListItem* m_next; /**< the item behind, or the tail sentinel */
    DListItem* m_prev; /**< the item before, or the head sentinel */
};

/**
 * The list. Both end sentinels lie inside the header, so that an item's links are never null and
 * the ends need no case of their own:
 *
 *     word        seen from the head sentinel (*this)    seen from the tail sentinel (&m_prev)
 *     m_next      first item, or the tail sentinel
 *     m_prev      always null                            its m_next: always null
 *     m_tailPred                                         its m_prev: last item, or the list itself
 *     m_count
 *
 * 1. Following m_next from the list reaches every item and ends on the tail sentinel.
 * 2. An empty list has m_next on the tail sentinel and m_tailPred on the list itself.
 * 3. A DList is never an item of another list, for its links are sentinels.
 */
class VERRICK_API DList : public DListItem {
public:
    DList();
    ~DList();

    /** Links item behind after, which is in this list; null means at the head. */
    void Insert(DListItem* item, DListItem* after);
    /** Links item at the head. */
    void AddHead(DListItem* item);
    /** Links item at the tail. */
    void AddTail(DListItem* item);

    /** Unlinks item, null for the first, and gives it; null if the list is empty. Deletes nothing.
     */
    DListItem* Remove(DListItem* item);
    /** Unlinks the first item and gives it; null if the list is empty. */
    DListItem* RemoveHead();

    /** The item behind item, the first for null; null past the end. */
    DListItem* Next(DListItem* item);

    /** The item before item, the last for null; null before the start. */
    DListItem* Prev(DListItem* item);

    /** Whether nothing is listed. */
    bool IsEmpty();
    /** The number of items. */
    unsigned int Size();

    DList(DList const&) = delete;
    DList& operator=(DList const&) = delete;

private:
    DListItem* TailSentinel();

    DListItem* m_tailPred;
    unsigned int m_count;
};

#endif
