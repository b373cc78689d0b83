// The lock of a queue. It is held for as long as it takes to copy a message. So a thread that finds
// it held looks for a moment whether it gets free, and sleeps only after that.
//
//     state     meaning                           next state
//     free      nobody holds it                   Lock: held
//     held      no thread sleeps for it           Unlock: free; a thread that will sleep: awaited
//     awaited   held, and threads may sleep       Unlock: free, and one sleeping thread is woken
//
// A thread that slept takes the lock as "awaited", because others may sleep still. A thread sleeps
// only while the state is "awaited", so no Unlock fails to wake it.
//
// What a thread does before Unlock is seen by the thread that locks next: Unlock is a release, and
// each step that takes the lock is an acquire. Unlock is sequentially consistent as well:
// notify_one looks whether a thread sleeps, and that look must not come before the lock is free.
#pragma once

#include "frame/errno_kept.h"
#include "frame/relaxed.h"
#include "queues/look_for_a_moment.h"

#include <atomic>

#include <sys/single_threaded.h>

namespace verrick {

// It doesn't nest. Neither operation is a cancellation point, and both leave errno alone.
class BriefLock {
public:
    void Lock() {
        if (!TryLock()) {
            LockHeld();
        }
    }

    // Touches nothing of the lock once it is free: another thread may destroy it then. The wake-up
    // takes its address alone.
    void Unlock() {
        if (IsAlone()) {
            m_state.store(kFree, relaxed);
        } else if (m_state.exchange(kFree, std::memory_order_seq_cst) == kAwaited) {
            m_state.notify_one();
        }
    }

private:
    enum State : int { kFree, kHeld, kAwaited };

    // While the process has one thread, plain steps do, which cost less.
    static bool IsAlone() { return __libc_single_threaded != 0; }

    bool TryLock() {
        if (IsAlone()) {
            m_state.store(kHeld, relaxed);
            return true;
        }
        int seen = kFree;
        return m_state.compare_exchange_strong(seen, kHeld, std::memory_order_acquire, relaxed);
    }

    // Out of line, because most threads find the lock free.
    [[gnu::noinline]] void LockHeld() {
        if (LookForAMoment([this] { return m_state.load(relaxed) == kFree && TryLock(); })) {
            return;
        }
        ErrnoKept const kept;
        while (m_state.exchange(kAwaited, std::memory_order_acquire) != kFree) {
            m_state.wait(kAwaited, relaxed);
        }
    }

    std::atomic<int> m_state{kFree};
};

} // namespace verrick
