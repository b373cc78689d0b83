// What the waits of both layers share.
#pragma once

#include "frame/relaxed.h"

namespace verrick {

// The object layer's time-out that never ends, in milliseconds.
constexpr int kForever = -1;

// How long an event's wait sleeps after an interruption before it waits again.
constexpr unsigned int kRetryMs = 10;

// How long the end of an event sleeps between two looks at the waiters that are still inside.
constexpr unsigned int kDrainMs = 5;

// How long the library waits for an application's callback that is under way. The callback may wait
// for the very thread that waits for it, so the wait has a bound.
constexpr int kStuckCallMs = 1000;

// Counts the caller among the waiters of an event for a scope. The event's mutex is held at both
// ends of the scope.
//
// The destructor also runs when the waiting thread is cancelled. Otherwise the end of the event
// would wait for that thread for ever.
class CountedWaiter {
public:
    explicit CountedWaiter(std::atomic<int>& waiters) : m_waiters(waiters) { Add(1); }
    ~CountedWaiter() { Add(-1); }
    CountedWaiter(CountedWaiter const&) = delete;
    CountedWaiter& operator=(CountedWaiter const&) = delete;

private:
    void Add(int amount) { m_waiters.store(m_waiters.load(relaxed) + amount, relaxed); }

    std::atomic<int>& m_waiters;
};

} // namespace verrick
