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
//     HandOverToAll    awaited    set        yes  (a manual-reset event)
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

#include "frame/event_waiters.h"
#include "frame/relaxed.h"

namespace verrick {

// Fields finds the fields of one event. It is small and passed by value. It has
// - Word, the type of the state word, and State(), the EventState<Word>;
// - WaiterCount(), the number of waiting threads: it changes under the mutex, and the end of the
//   event reads it without;
// - Handover(), the EventHandover;
// - IsAutoReset().
template<class Fields>
class EventSteps : public Fields {
public:
    explicit EventSteps(Fields const& fields) : Fields(fields) {}

    // The next four need no lock. Those that change the word begin with a guess at what it holds. A
    // wrong guess is corrected by the compare-exchange itself. To read the word first would cost
    // about as much again.

    // Remembers a signal in the state. Returns false if threads wait: the signal is theirs.
    //
    // Touches nothing after its one change. From then on another thread may take the signal and
    // destroy the event.
    bool TrySignal() const {
        Word seen = kClear;
        do {
            if (State().compare_exchange_weak(seen, kSet, std::memory_order_release, relaxed)) {
                return true;
            }
        } while (seen != kAwaited);
        return false;
    }

    // Returns whether the event is signalled. If it is an auto-reset event, takes the signal.
    bool TryTake() const {
        if (!this->IsAutoReset()) {
            return IsSignalled();
        }
        Word seen = kSet;
        do {
            if (State().compare_exchange_weak(seen, kClear, std::memory_order_acquire)) {
                return true;
            }
        } while (IsSignalled(seen));
        return false;
    }

    // TryTake for a caller that won't wait. It writes nothing to an event that isn't signalled.
    bool LookAndTake() const { return IsSignalled() && TryTake(); }

    // Makes the event unsignalled. Returns false if threads wait: then it is already.
    bool TryReset() const {
        Word seen = State().load(relaxed);
        while (IsSignalled(seen)) {
            if (State().compare_exchange_weak(seen, kClear, relaxed)) {
                return true;
            }
        }
        return seen == kClear;
    }

    // The caller of the rest holds the event's mutex.

    // Counts the caller as waiting. Returns false if the event is signalled: the caller took that.
    //
    // A thread that finds no other inside a wait uses the event's condition.
    bool TryBeginWait(EventWaiter& self) const {
        Word seen = kClear;
        while (!State().compare_exchange_weak(seen, kAwaited, relaxed) && seen != kAwaited) {
            if (LookAndTake()) {
                return false;
            }
            seen = kClear;
        }
        if (this->IsAutoReset()) {
            self.m_usesEventCondition = Waiters() == 0;
            Listed().Add(self);
        }
        AddWaiters(1);
        return true;
    }

    // Hands a signal to all threads that wait on a manual-reset event.
    void HandOverToAll() const { State().store(kSet, std::memory_order_release); }

    // Hands a signal to the thread that has waited longest on an auto-reset event, and returns its
    // wait: the caller wakes it. The event stays unsignalled, because the wake-up is the signal. If
    // all that wait were woken already and haven't left yet, the signal is lost, and it returns
    // null.
    EventWaiter* HandOver() const {
        EventWaiter* const oldest = Listed().Oldest();
        if (oldest != nullptr) {
            Listed().Remove(*oldest);
            oldest->m_isWoken = true;
            oldest->m_resetsBefore = this->Handover().resets;
        }
        return oldest;
    }

    // Whether a call may still signal the event's condition for this wait. A wait that ends without
    // that wake-up lets it pass first. Otherwise it would reach the thread that comes next.
    bool HasWakeUpToCome(EventWaiter const& self) const {
        return self.m_isWoken && self.m_usesEventCondition && IsWaking();
    }

    bool IsWaking() const {
        return this->Handover().signalling.load(std::memory_order_acquire) > 0;
    }

    // The caller, counted by TryBeginWait, waits no longer.
    void EndWait(EventWaiter& self) const {
        if (self.m_next != nullptr) {
            Listed().Remove(self);
        }
        AddWaiters(-1);
        if (Waiters() == 0 && State().load(relaxed) == kAwaited) {
            State().store(kClear, relaxed);
        }
    }

    // EndWait for a cancelled thread. If a signal was handed to it, another thread gets that
    // signal: returns its wait, for the caller to wake. If no other is left to have it, the signal
    // goes back into the state. A pulse, or a signal from before a reset, is not passed on.
    EventWaiter* AbandonWait(EventWaiter& self) const {
        EndWait(self);
        if (!self.m_isWoken || self.m_resetsBefore != this->Handover().resets) {
            return nullptr;
        }
        EventWaiter* const next = HandOver();
        if (next == nullptr) {
            State().store(kSet, std::memory_order_release);
        }
        return next;
    }

    // From here on no signal that was handed over is passed on or put back.
    void ForgetHandedOver() const { ++this->Handover().resets; }

    EventWaiters Listed() const { return EventWaiters(this->Handover()); }

    int Waiters() const { return Fields::WaiterCount().load(relaxed); }

private:
    using Word = typename Fields::Word;

    static constexpr Word kClear = 0;
    static constexpr Word kSet = 1;
    static constexpr Word kAwaited = EventState<Word>::Awaited();

    static bool IsSignalled(Word state) { return state != kClear && state != kAwaited; }
    bool IsSignalled() const { return IsSignalled(State().load(std::memory_order_acquire)); }

    std::atomic<Word>& State() const { return Fields::State().m_word; }

    void AddWaiters(int amount) const { Fields::WaiterCount().store(Waiters() + amount, relaxed); }
};

} // namespace verrick
