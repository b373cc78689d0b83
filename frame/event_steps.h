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
    bool TryBeginWait() const {
        Word seen = kClear;
        while (!State().compare_exchange_weak(seen, kAwaited, relaxed) && seen != kAwaited) {
            if (LookAndTake()) {
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
    void HandOver() const {
        if (this->IsAutoReset()) {
            this->Handover().granted = std::min(this->Handover().granted + 1, Waiters());
        } else {
            State().store(kSet, std::memory_order_release);
        }
    }

    // Returns whether the wake-up of the caller ends its wait. Every wake-up does, one without a
    // signal too. The exception is a wake-up too many, which a cancelled thread left behind.
    bool TakeWakeUp() const {
        if (this->Handover().granted > 0) {
            --this->Handover().granted;
            return true;
        }
        if (this->Handover().surplusWakeUps > 0) {
            --this->Handover().surplusWakeUps;
            return false;
        }
        return true;
    }

    // The caller, counted by TryBeginWait, waits no longer. A signal that was handed to a thread
    // whose time ran out at that moment is lost, unless another thread waits.
    void EndWait() const {
        AddWaiters(-1);
        this->Handover().granted = std::min(this->Handover().granted, Waiters());
        if (Waiters() == 0 && State().load(relaxed) == kAwaited) {
            State().store(kClear, relaxed);
        }
    }

    // EndWait for a cancelled thread. It may have used up the wake-up of a signal:
    // - If no other thread is left to have that signal, it goes back into the state.
    // - If another thread may still be owed one, returns true: the caller wakes one more thread.
    //
    // Each time the cancelled thread may not have used up a wake-up after all. Then one more comes
    // than there are signals, and TakeWakeUp must not count it.
    bool AbandonWait() const {
        bool const putsBack = this->Handover().granted > 0 && this->Handover().granted == Waiters();
        EndWait();
        if (putsBack) {
            State().store(kSet, std::memory_order_release);
            ++this->Handover().surplusWakeUps;
        }
        bool const passesOn = this->Handover().granted > 0;
        if (passesOn) {
            ++this->Handover().surplusWakeUps;
        }
        return passesOn;
    }

    // From here on every wake-up counts, and no signal on its way is put back.
    void ForgetHandedOver() const {
        this->Handover().granted = 0;
        this->Handover().surplusWakeUps = 0;
    }

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
