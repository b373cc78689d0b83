#include "threads/thread_exit.h"

#include "frame/cancellation.h"
#include "frame/errno_kept.h"
#include "frame/sleep.h"
#include "frame/waiting.h"

#include <csignal>

#include <sched.h>
#include <unistd.h>

namespace verrick {
namespace {

// The round of key destructors in which a thread counts as exiting. The one after it is left to
// whatever must be the very last on a thread.
constexpr int kExitRound = PTHREAD_DESTRUCTOR_ITERATIONS - 1;

} // namespace

// The destructor of a key is the last code on a thread that the C library calls. All threads have
// this one. It is never deleted, as the library is never unloaded.
struct ThreadExit::Key {
    Key() : key(), exists(pthread_key_create(&key, &ThreadExit::OnRound) == 0) {}

    pthread_key_t key;
    bool const exists;

    static Key const& Get() {
        static Key const s_key;
        return s_key;
    }
};

bool ThreadExit::BeToldOfExit() {
    Key const& key = Key::Get();
    return key.exists && pthread_setspecific(key.key, this) == 0;
}

// The thread_local objects are gone by now. The thread's other keys get two rounds first.
void ThreadExit::OnRound(void* exit) {
    auto& self = *static_cast<ThreadExit*>(exit);
    if (++self.m_rounds < kExitRound && pthread_setspecific(Key::Get().key, exit) == 0) {
        return;
    }
    {
        std::lock_guard const lock(self.m_lock);
        self.m_isUnderWay = true;
    }
    self.OnExit();
}

// glibc's pthread_detach lets the thread free itself, and then reads of it once more (its bug
// 19951). So the thread mustn't end meanwhile: either it can't exit yet, or it is gone already, or
// it is the caller itself.
int ThreadExit::Detach(pthread_t thread, int kernelId) {
    std::lock_guard const lock(m_lock);
    if (m_isUnderWay && gettid() != kernelId) {
        AwaitEnd(kernelId);
    }
    return pthread_detach(thread);
}

// The exit takes microseconds. A thread that another destructor of its own holds up is waited for
// no longer than a callback.
void ThreadExit::AwaitEnd(int kernelId) {
    ErrnoKept const kept;
    CancellationPutOff const putOff;
    for (int looks = 0; looks < kDrainYields + kStuckCallMs && tgkill(getpid(), kernelId, 0) == 0;
         ++looks) {
        if (looks < kDrainYields) {
            sched_yield();
        } else {
            SleepMs(1);
        }
    }
}

} // namespace verrick
