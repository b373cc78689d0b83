// The threads that wait on an auto-reset event, the oldest first.
//
// Each waits on a condition that no other thread waits on. So a wake-up reaches the thread that it
// is meant for. A thread that comes later can't take it. Nor can the system lose it between two
// threads. glibc before 2.41 may do that while several wait on one condition (its bug 25847).
#pragma once

#include <verrick/detail/event_state.h>

namespace verrick {

// A wait that is under way. It stands on the stack of its thread. The event's mutex guards it.
class EventWaiter {
public:
    // Whether it waits on the condition of the event; otherwise on one of its own.
    bool UsesEventCondition() const { return m_usesEventCondition; }

    // Whether a signal or a pulse was handed to it.
    bool IsWoken() const { return m_isWoken; }

private:
    friend class EventWaiters;
    template<class Fields>
    friend class EventSteps;

    EventWaiter* m_next = nullptr; // null if it isn't in the ring
    EventWaiter* m_prev = nullptr;
    unsigned m_resetsBefore = 0; // resets of the event before it was woken
    bool m_usesEventCondition = true;
    bool m_isWoken = false;
};

// The waits that nothing was handed to yet, as a ring: the newest is followed by the oldest. All
// operations are called under the event's mutex.
class EventWaiters {
public:
    explicit EventWaiters(EventHandover& handover) : m_newest(handover.newestWaiter) {}

    void Add(EventWaiter& waiter) {
        EventWaiter& previous = m_newest != nullptr ? *m_newest : waiter;
        waiter.m_next = m_newest != nullptr ? previous.m_next : &waiter;
        waiter.m_prev = &previous;
        waiter.m_next->m_prev = &waiter;
        previous.m_next = &waiter;
        m_newest = &waiter;
    }

    // The waiter is in the ring, where no link is null.
    void Remove(EventWaiter& waiter) {
        // NOLINTNEXTLINE(clang-analyzer-core.NullDereference)
        waiter.m_next->m_prev = waiter.m_prev;
        waiter.m_prev->m_next = waiter.m_next;
        if (m_newest == &waiter) {
            m_newest = waiter.m_prev != &waiter ? waiter.m_prev : nullptr;
        }
        waiter.m_next = nullptr;
    }

    // Returns null if there is none.
    EventWaiter* Oldest() const { return m_newest != nullptr ? m_newest->m_next : nullptr; }

private:
    EventWaiter*& m_newest;
};

} // namespace verrick
