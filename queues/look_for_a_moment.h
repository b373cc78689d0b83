// A short look for a change by another thread, before the calling thread sleeps for it.
//
// To sleep and to be woken takes two changes of threads, some microseconds. A thread that looks for
// about that long often gets by without. On one processor no other thread changes anything
// meanwhile, so nobody looks there.
#pragma once

#include "frame/errno_kept.h"

#include <atomic>

#include <sched.h>

namespace verrick {

constexpr int kLooks = 25;
constexpr int kPausesBetweenLooks = 10;

// Tells the processor that the thread looks again and again. It then spends less on that.
#if defined(__i386__) || defined(__x86_64__)
inline void Pause() {
    __builtin_ia32_pause();
}
#else
inline void Pause() {
    std::atomic_signal_fence(std::memory_order_seq_cst);
}
#endif

// Whether threads of the process may run at once. Found out at the first call. If the processors
// can't be counted, there are many.
inline bool HasSeveralProcessors() {
    static bool const several = [] {
        ErrnoKept const kept;
        cpu_set_t allowed;
        return sched_getaffinity(0, sizeof allowed, &allowed) != 0 || CPU_COUNT(&allowed) > 1;
    }();
    return several;
}

// Returns whether happened() returned true within a few microseconds.
template<typename Happened>
bool LookForAMoment(Happened happened) {
    for (int look = HasSeveralProcessors() ? kLooks : 0; look > 0; --look) {
        if (happened()) {
            return true;
        }
        for (int pause = 0; pause < kPausesBetweenLooks; ++pause) {
            Pause();
        }
    }
    return false;
}

} // namespace verrick
