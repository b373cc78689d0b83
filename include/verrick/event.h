/**
 * @file
 * Events: flags that threads wait on. They stand for a mutex with a condition variable.
 *
 * An auto-reset event lets one wait through for each signal. It doesn't count: two signals before
 * the next wait let one wait through. A manual-reset event lets every wait through from Signal
 * until Reset. Unlike CreateEvent (handles.h), the constructor's second argument says auto-reset,
 * and there is no pulse.
 *
 * Memory order: what a thread did before Signal is seen by the thread whose Wait that signal lets
 * through.
 *
 * The thread that waits longest has the next signal, also if its time runs out at that moment. A
 * signal can be lost if it comes before the thread that the last one woke has left Wait.
 *
 * So let the event say "look again", and keep what there is to see under a lock of your own. Where
 * each signal must count, use DSemaphore. Where a signal must stay, use a manual-reset event. A
 * wait with time-out 0 loses no signal.
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
     * Ends the event. Wakes every thread that is blocked in Wait, and returns when they have left.
     * Each of them gets WAIT_RESULT_OK. Not a cancellation point.
     *
     * No other thread may be inside a call or about to enter one. There are two exceptions. Threads
     * may be blocked in Wait. And the Signal that let the calling thread through may still be
     * returning.
     */
    virtual ~IEvent();

    /**
     * Wakes one waiting thread of an auto-reset event, all of a manual-reset one. If none waits, or
     * the event is a manual-reset one, the event is signalled afterwards. Does nothing while the
     * event is being destroyed. Never fails. Doesn't block.
     */
    virtual void Signal() = 0;

    /**
     * Makes the event unsignalled. Threads that were woken before go on all the same. Does nothing
     * while the event is being destroyed. Never fails. Doesn't block.
     */
    virtual void Reset() = 0;

    /**
     * Waits until the event is signalled. An auto-reset event is unsignalled afterwards.
     *
     * @param timeoutMs milliseconds; -1 waits for ever. 0 only looks: it neither blocks nor counts
     * as waiting. Below -1 the time is over already, and the call looks, too.
     * @return WAIT_RESULT_OK when the event was signalled, or was destroyed while the call blocked.
     * As with any condition variable, a wake-up without a signal is possible, if rare.
     * WAIT_RESULT_TIMEOUT when the time ran out. WAIT_RESULT_FAILED when the destruction had begun
     * before the call, when a time-out below -1 makes no valid deadline, or when the system refuses
     * the wait.
     *
     * A cancellation point, unless the event is signalled. A cancelled thread puts back the signal
     * that it was woken for, if no other thread will have it.
     */
    virtual wait_result_t Wait(int timeoutMs) = 0;

    IEvent(IEvent const&) = delete;
    IEvent& operator=(IEvent const&) = delete;
};

/** An event, as an application creates it. The operations are those of IEvent. */
class VERRICK_API DEvent : public IEvent {
public:
    /**
     * Makes an event. DEvent(false, false) is an unsignalled manual-reset event. A failure of the
     * POSIX calls is not reported. Throws std::bad_alloc.
     *
     * @param initialState true for a signalled event.
     * @param autoReset true for an auto-reset event, false for a manual-reset one.
     */
    DEvent(bool initialState, bool autoReset);
    ~DEvent() override;

    void Signal() override;
    void Reset() override;
    wait_result_t Wait(int timeoutMs) override;

private:
    IEvent* m_impl; /* owned; constant after construction */
};

/** The work behind DEvent. Applications create a DEvent. */
class VERRICK_API DEventImpl : public IEvent {
public:
    /** Takes the arguments of DEvent. */
    DEventImpl(bool initialState, bool autoReset);
    ~DEventImpl() override;

    void Signal() override;
    void Reset() override;
    wait_result_t Wait(int timeoutMs) override;

private:
    struct Fields; /* the work on the fields below */
    struct Core;

    pthread_cond_t m_cond;
    pthread_mutex_t m_mutex;         /* innermost: nothing is taken under it */
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
