/**
 * @file
 * An intrusive doubly-linked list. What is listed derives from DListItem and carries its own links.
 * So linking allocates nothing. Every operation takes constant time, and none fails or throws.
 *
 * The list owns nothing and locks nothing. Whoever puts an item in also takes it out, frees it, and
 * guards the list. A list that is destroyed with items in it leaves them linked to nothing.
 *
 * A null argument in the place of an item stands for an end of the list. The usual walk is
 * Next(nullptr), then Next(item) until null. A walk that removes takes the next item first.
 */
#ifndef VERRICK_LIST_H
#define VERRICK_LIST_H

#include <verrick/detail/api.h>

/** The links of an item, which derives from this. They belong to the list, and are undefined until
 * the item is inserted. */
class VERRICK_API DListItem {
public:
    DListItem();
    ~DListItem();

    DListItem* m_next; /**< the next item, or the tail sentinel */
    DListItem* m_prev; /**< the previous item, or the head sentinel */
};

/**
 * The list. Both end sentinels lie inside the header. So an item's links are never null, and the
 * ends are no special cases:
 *
 *     word        seen from the head sentinel (*this)    seen from the tail sentinel (&m_prev)
 *     m_next      first item, or the tail sentinel
 *     m_prev      always null                            its m_next: always null
 *     m_tailPred                                         its m_prev: last item, or the list itself
 *     m_count
 *
 * 1. Following m_next from the list reaches every item and ends on the tail sentinel.
 * 2. An empty list has m_next on the tail sentinel and m_tailPred on the list itself.
 * 3. A DList is never an item of another list, because its links are sentinels.
 */
class VERRICK_API DList : public DListItem {
public:
    DList();
    ~DList();

    /** Links item after the item "after", which is in this list. Null there means at the head. */
    void Insert(DListItem* item, DListItem* after);
    /** Links item at the head. */
    void AddHead(DListItem* item);
    /** Links item at the tail. */
    void AddTail(DListItem* item);

    /** Unlinks item, or the first one for null. Returns it, or null if the list is empty. Deletes
     * nothing. */
    DListItem* Remove(DListItem* item);
    /** Unlinks the first item. Returns it, or null if the list is empty. */
    DListItem* RemoveHead();

    /** Returns the item after item, or the first one for null. Returns null past the end. */
    DListItem* Next(DListItem* item);

    /** Returns the item before item, or the last one for null. Returns null before the start. */
    DListItem* Prev(DListItem* item);

    /** Returns whether the list has no items. */
    bool IsEmpty();
    /** Returns the number of items. */
    unsigned int Size();

    DList(DList const&) = delete;
    DList& operator=(DList const&) = delete;

private:
    DListItem* m_tailPred;
    unsigned int m_count;
};

#endif
