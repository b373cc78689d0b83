// The exit of a POSIX thread, kept apart from its detachment.
#pragma once

#include <mutex>

#include <pthread.h>

namespace verrick {

// Settles when a thread may be detached, because the thread may exit at that moment. The base of a
// block on the heap that outlives the thread.
class ThreadExit {
public:
    ThreadExit(ThreadExit const&) = delete;
    ThreadExit& operator=(ThreadExit const&) = delete;

protected:
    ThreadExit() = default;
    ~ThreadExit() = default;

    // Called on the thread itself. Returns true if OnExit will be called. Returns false if the
    // system has no more keys. Then nothing tells of the exit, and a detachment is a plain one.
    bool BeToldOfExit();

    // Called once, as the library's last step on the thread. The block may be gone after it.
    virtual void OnExit() = 0;

    // Detaches the thread of that kernel id, which nobody joins, and returns the error of that. If
    // the thread is exiting, waits until it is gone first. It is no cancellation point.
    int Detach(pthread_t thread, int kernelId);

private:
    struct Key;
    static void OnRound(void* exit);
    static void AwaitEnd(int kernelId);

    int m_rounds = 0;          // the thread's own: how often OnRound was called
    std::mutex m_lock;         // held during a detachment, so that the thread can't exit meanwhile
    bool m_isUnderWay = false; // guarded by m_lock
};

} // namespace verrick
