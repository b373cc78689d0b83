/**
 * @file
 * Events: flags that threads wait on, over a condition variable.
 *
 * An auto-reset event lets one waiter through for each signal; it doesn't count, so two signals
 * that nobody waits for let one waiter through. A manual-reset event lets everybody through from
 * Signal until Reset. Unlike CreateEvent (handles.h), the constructor's second argument says
 * auto-reset, and there is no pulse.
 */
#ifndef VERRICK_EVENT_H
#define VERRICK_EVENT_H

#include <verrick/detail/api.h>
#include <verrick/detail/event_state.h>
#include <verrick/frame.h>

#include <atomic>
#include <pthread.h>

/** The interface of events. Every operation may be called from any thread. */
class VERRICK_API IEvent {
public:
    IEvent();

    /**
     * Wakes every thread blocked in Wait, each with WAIT_RESULT_OK, and returns when they have
     * left. Only blocked waiters may stay: all other use has ended before.
     */
    virtual ~IEvent();

    /** Signals the event, as SetEvent does. */
    virtual void Signal() = 0;

    /** Makes the event unsignalled, as ResetEvent does. */
    virtual void Reset() = 0;

    /**
     * Waits until the event is signalled, at most timeoutMs milliseconds, -1 for ever; an
     * auto-reset event is unsignalled afterwards.
     *
     * Gives WAIT_RESULT_OK when the event was signalled or is being destroyed, WAIT_RESULT_TIMEOUT
     * when the time ran out. WAIT_RESULT_FAILED stands for an event whose destruction had begun
     * before the call, and for a time-out under -1 that makes no valid deadline.
     */
    virtual wait_result_t Wait(int timeoutMs) = 0;

    IEvent(IEvent const&) = delete;
    IEvent& operator=(IEvent const&) = delete;
};

/** An event, as an application creates it. */
class VERRICK_API DEvent : public IEvent {
public:
    /** DEvent(false, false) is an unsignalled manual-reset event. Throws std::bad_alloc. */
    DEvent(bool initialState, bool autoReset);
    ~DEvent() override;

    void Signal() override;
    void Reset() override;
    wait_result_t Wait(int timeoutMs) override;

private:
    IEvent* m_impl; /* owned; constant after construction */
};

/** The work behind DEvent. */
class VERRICK_API DEventImpl : public IEvent {
public:
    /** As DEvent. */
    DEventImpl(bool initialState, bool autoReset);
    ~DEventImpl() override;

    void Signal() override;
    void Reset() override;
    wait_result_t Wait(int timeoutMs) override;

private:
    struct Fields; /* the work on the fields below */
    struct Core;

    pthread_cond_t m_cond;
    pthread_mutex_t m_mutex;
    pthread_mutexattr_t m_mutexAttr; /* lives as long as the mutex */
    bool m_autoReset;                /* constant after construction */
    /* Reads as a bool. It is atomic: without waiting threads it changes without the lock. */
    verrick::EventState<unsigned char> m_signaled;
    /*
     * Both change under m_mutex. The destructor and the early tests read them without it. They
     * order no other memory, so relaxed is enough.
     */
    std::atomic<int> m_waiters;    /* threads inside the blocking part of Wait */
    std::atomic<int> m_destroying; /* 0, or 1 from the start of the destructor */
    verrick::EventHandover m_handover;
};

#endif
