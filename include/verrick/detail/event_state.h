/*
 * The words that the two kinds of events consist of, for C++ alone. Nothing here is for
 * applications.
 */
#ifndef VERRICK_DETAIL_EVENT_STATE_H
#define VERRICK_DETAIL_EVENT_STATE_H

#ifdef __cplusplus

#include <atomic>
#include <limits>

namespace verrick {

template<class Fields>
class EventSteps;

/*
 * The state of an event, in one atomic word of the type Word:
 *
 *     clear     not signalled, and no thread waits
 *     set       signalled
 *     awaited   not signalled, and threads wait or are about to
 *
 * Without waiting threads a signal or a wait is one compare-exchange on this word. Only a thread
 * that holds the event's mutex enters or leaves "awaited". frame/event_steps.h holds the steps.
 *
 * The word reads as the flag "is the event signalled", so "awaited" reads as 0.
 */
template<typename Word>
class EventState {
public:
    /* Any initial value other than 0 means set, and is what the word reads as. */
    explicit EventState(Word initial) : m_word(initial == Awaited() ? Word(1) : initial) {}

    operator Word() const { /* NOLINT(google-explicit-constructor): reads as the flag that it is */
        Word const seen = m_word.load(std::memory_order_relaxed);
        return seen == Awaited() ? Word(0) : seen;
    }

    EventState(EventState const&) = delete;
    EventState& operator=(EventState const&) = delete;

private:
    template<class Fields>
    friend class EventSteps;

    static constexpr Word Awaited() {
        return std::numeric_limits<Word>::is_signed ? std::numeric_limits<Word>::min()
                                                    : std::numeric_limits<Word>::max();
    }

    std::atomic<Word> m_word;
};

class EventWaiter;

/* How signals get to the threads that wait. */
struct EventHandover {
    EventHandover() : signalling(0), resets(0), newestWaiter(nullptr) {}

    /* Calls that still have to wake somebody. The end of the event waits for them. */
    std::atomic<int> signalling;
    /* Counts the resets and pulses. Guarded by the event's mutex, like the next. */
    unsigned resets;
    /* The threads that nothing was handed to yet (frame/event_waiters.h). */
    EventWaiter* newestWaiter;
};

} // namespace verrick

#endif

#endif
