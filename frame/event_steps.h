// The steps of an event's state, for both kinds of events: DEvent and the event behind a handle.
// frame/event_core.h puts them around the mutex and the condition.
//
// The state word is clear, set or awaited (include/verrick/detail/event_state.h). Who may change
// it:
//
//     step             from       to         under the mutex
//     TrySignal        clear,set  set        no
//     TryTake          set        clear      no   (a manual-reset event stays set)
//     TryReset         set        clear      no
//     TryBeginWait     clear      awaited    yes
//     HandOver         awaited    set        yes  (a manual-reset event only)
//     EndWait          awaited    clear      yes  (the last waiting thread)
//     AbandonWait      awaited    set        yes  (a cancelled thread puts a signal back)
//
// Why no signal is lost between these steps:
//
// 1. "Awaited" is entered and left under the mutex only. So a thread that holds the mutex and finds
//    the event awaited has the state to itself.
// 2. A thread waits only after TryBeginWait found or made the state awaited. Whoever signals
//    afterwards can't set the word, and goes for the mutex.
// 3. The mutex is free only when that thread is in its condition wait. So the wake-up reaches it.
// 4. A signal that came first left the word set. TryBeginWait then fails to change it, and takes
//    the signal instead.
//
// What a thread did before its signal is seen by the thread that the signal lets through. A signal
// that sets the word is a release and taking it is an acquire. A signal that is handed over goes
// through the mutex. TrySignal writes a word that is set already, too, so that its release counts.
#pragma once

#include "frame/relaxed.h"

#include <verrick/detail/event_state.h>

#include <algorithm>

namespace verrick {

template<typename Word>
class EventSteps {
public:
    EventSteps(EventState<Word>& state, std::atomic<int>& waiters, EventHandover& handover,
               bool autoReset)
        : m_state(state.m_word), m_waiters(waiters), m_handover(handover), m_autoReset(autoReset) {}

    // The next three need no lock.

    // Remembers a signal in the state. Returns false if threads wait: the signal is theirs.
    //
    // Touches nothing after its one change. From then on another thread may take the signal and
    // destroy the event.
    bool TrySignal() {
        Word seen = m_state.load(relaxed);
        while (seen != kAwaited) {
            if (m_state.compare_exchange_weak(seen, kSet, std::memory_order_release, relaxed)) {
                return true;
            }
        }
        return false;
    }

    // Returns whether the event is signalled. If it is an auto-reset event, takes the signal.
    bool TryTake() {
        Word seen = m_state.load(std::memory_order_acquire);
        while (seen != kClear && seen != kAwaited) {
            if (!m_autoReset ||
                m_state.compare_exchange_weak(seen, kClear, std::memory_order_acquire)) {
                return true;
            }
        }
        return false;
    }

    // Makes the event unsignalled. Returns false if threads wait: then it is already.
    bool TryReset() {
        Word seen = m_state.load(relaxed);
        while (seen != kClear && seen != kAwaited) {
            if (m_state.compare_exchange_weak(seen, kClear, relaxed)) {
                return true;
            }
        }
        return seen == kClear;
    }

    // The caller of the rest holds the event's mutex.

    // Counts the caller as waiting. Returns false if the event is signalled: the caller took that.
    bool TryBeginWait() {
        Word seen = kClear;
        while (!m_state.compare_exchange_weak(seen, kAwaited, relaxed) && seen != kAwaited) {
            if (TryTake()) {
                return false;
            }
            seen = kClear;
        }
        AddWaiters(1);
        return true;
    }

    // Hands a signal to the threads that wait. The caller wakes one of an auto-reset event, all of
    // a manual-reset one. An auto-reset event stays unsignalled: the wake-up is the signal. A
    // thread that was woken but hasn't left yet counts as waiting, so a further signal can be lost.
    void HandOver() {
        if (m_autoReset) {
            m_handover.granted = std::min(m_handover.granted + 1, Waiters());
        } else {
            m_state.store(kSet, std::memory_order_release);
        }
    }

    // Returns whether the wake-up of the caller ends its wait. Every wake-up does, one without a
    // signal too. The exception is a wake-up that a cancelled thread passed on, if the signal that
    // it was meant for has been taken.
    bool TakeWakeUp() {
        if (m_handover.granted > 0) {
            --m_handover.granted;
            return true;
        }
        if (m_handover.passedOn > 0) {
            --m_handover.passedOn;
            return false;
        }
        return true;
    }

    // The caller, counted by TryBeginWait, waits no longer. A signal that was handed to a thread
    // whose time ran out at that moment is lost, unless another thread waits.
    void EndWait() {
        AddWaiters(-1);
        m_handover.granted = std::min(m_handover.granted, Waiters());
        if (Waiters() == 0) {
            m_handover.passedOn = 0;
            if (m_state.load(relaxed) == kAwaited) {
                m_state.store(kClear, relaxed);
            }
        }
    }

    // EndWait for a cancelled thread. It may have used up the wake-up of a signal:
    // - If no other thread is left to have that signal, it goes back into the state.
    // - If another thread may still be owed one, returns true: the caller wakes one more thread.
    bool AbandonWait() {
        bool const putsBack = m_handover.granted == Waiters() && m_handover.granted > 0;
        EndWait();
        if (putsBack) {
            m_state.store(kSet, std::memory_order_release);
        }
        bool const passesOn = m_handover.granted > 0;
        m_handover.passedOn += passesOn ? 1 : 0;
        return passesOn;
    }

    // From here on every wake-up counts, and no signal on its way is put back.
    void ForgetHandedOver() {
        m_handover.granted = 0;
        m_handover.passedOn = 0;
    }

    int Waiters() const { return m_waiters.load(relaxed); }

protected:
    EventHandover& Handover() const { return m_handover; }
    bool IsAutoReset() const { return m_autoReset; }

private:
    static constexpr Word kClear = 0;
    static constexpr Word kSet = 1;
    static constexpr Word kAwaited = EventState<Word>::Awaited();

    void AddWaiters(int amount) { m_waiters.store(Waiters() + amount, relaxed); }

    std::atomic<Word>& m_state;
    std::atomic<int>& m_waiters; // changes under the mutex; the end of the event reads it without
    EventHandover& m_handover;
    bool m_autoReset;
};

} // namespace verrick
