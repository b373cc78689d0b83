// What the library's own queues do with auto-reset events beyond the handle calls. The events'
// state is at every moment what the handle calls named here would make it.
#pragma once

#include <verrick/flat/handles.h>

namespace verrick {

struct EventInternals {
    // SetEvent, except that an event that is found set is left alone without a look under its
    // mutex: so it doesn't order the caller's writes before the wait that takes that signal. It is
    // for signals whose taker goes on to a lock that the caller holds now.
    static void SetUnlessSet(HANDLE event);

    // WaitForSingleObject(event, INFINITE) and SetEvent as a lock. Every wake-up of an event counts
    // as success, a spurious one too, so state tells who has it: a LockState, guarded by the
    // event's mutex.
    //
    // A signal that went to a waiter is only an offer: until that thread runs, another may take the
    // lock, and the waiter waits again. Otherwise two threads that once met at the lock would go on
    // to hand it to and fro, at the price of a thread switch for each turn.
    enum LockState { kFree, kTaken, kOffered };
    static void Take(HANDLE event, int& state);
    static void Free(HANDLE event, int& state);

    // Free(lockEvent, state), then WaitForSingleObject(event, timeoutMs), and no other thread waits
    // on event in between: a signal that comes once the lock is free finds the caller in its wait.
    // Locks the mutex of event, then that of lockEvent.
    static unsigned long FreeAndWait(HANDLE lockEvent, int& state, HANDLE event,
                                     unsigned long timeoutMs);
};

} // namespace verrick
