// The call of a listener that is under way on the dispatch thread.
#pragma once

#include <atomic>
#include <csignal>
#include <cstdint>
#include <memory>
#include <pthread.h>

class ITimerListener;

namespace verrick {

// What Destroy and the end of the dispatcher wait for. The dispatch thread shares it with the
// dispatcher, because a listener may return when the dispatcher is gone.
//
// The lock is a leaf: nothing else is taken under it.
class ListenerCall {
public:
    ListenerCall();
    ~ListenerCall();
    ListenerCall(ListenerCall const&) = delete;
    ListenerCall& operator=(ListenerCall const&) = delete;

    // Whether the calling thread is inside a listener of any dispatcher.
    static bool IsOnThisThread();

    // Notes that the calling thread is about to call the listener. Threads that the listener starts
    // take signals as the thread does that made this object.
    void Begin(ITimerListener* listener, unsigned int id);

    // Notes that the call is over.
    void End();

    // If a call of this listener with this id is under way, waits until it is over, but at most
    // kStuckCallMs. Doesn't wait for a call on the calling thread.
    void AwaitEndOf(ITimerListener* listener, unsigned int id);

    // The same for a call of any listener.
    void AwaitEnd();

private:
    void AwaitEndLocked();

    sigset_t const m_maskOfNewThreads;
    pthread_mutex_t m_mutex;
    pthread_mutexattr_t m_mutexAttr;
    pthread_cond_t m_ended;
    // Null while no call is under way. Changes under m_mutex. Its store in End is a release, paired
    // with the acquire in AwaitEndOf: what the listener did comes before what the waiter does.
    std::atomic<ITimerListener*> m_listener{nullptr};
    // Guarded by m_mutex:
    unsigned int m_id = 0;
    pthread_t m_caller{};
    std::uint64_t m_number = 0; // of the call: later ones aren't waited for
};

// Ends a call of a listener on every way out of it, also when the listener ends the thread. It
// keeps what it needs, because the dispatcher may be gone.
class EndOfListenerCall {
public:
    explicit EndOfListenerCall(std::shared_ptr<ListenerCall> const& call) : m_call(call) {}
    ~EndOfListenerCall() { m_call->End(); }
    EndOfListenerCall(EndOfListenerCall const&) = delete;
    EndOfListenerCall& operator=(EndOfListenerCall const&) = delete;

private:
    std::shared_ptr<ListenerCall> const& m_call;
};

} // namespace verrick
