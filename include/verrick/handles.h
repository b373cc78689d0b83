/**
 * @file
 * The objects behind handles. A HANDLE is the address of an XHandleObject. Applications use the
 * calls of flat/handles.h. Only CloseHandle deletes such an object, because the destructors leave
 * the POSIX objects alone.
 *
 * Events behind handles differ from DEvent (event.h) in the sense of the constructor's flags, in
 * their results and in PulseEvent. Semaphores behind handles differ from DSemaphore (semaphore.h):
 * they have no names, and a release is all or nothing.
 */
#ifndef VERRICK_HANDLES_H
#define VERRICK_HANDLES_H

#include <verrick/detail/api.h>
#include <verrick/detail/event_state.h>
#include <verrick/flat/handles.h>

#include <atomic>
#include <pthread.h>
#include <semaphore.h>

namespace verrick {
struct EventLook; /* the library's own */
}

/** The type of an XEvent. */
constexpr unsigned long XEVENT_TYPE_TAG = 0x56FE23A5UL;
/** The type of an XSemaphore. */
constexpr unsigned long XSEMAPHORE_TYPE_TAG = 0x0ADF4EA4UL;

/** What a handle stands for. Every operation may be called from any thread. */
class VERRICK_API XHandleObject {
public:
    /** Stores the tag of the derived class. */
    explicit XHandleObject(unsigned long type);
    /** Clears the tag. Leaves the POSIX objects alone: CloseHandle has ended them before. */
    virtual ~XHandleObject();

    /** Waits on the object: see WaitForSingleObject in flat/handles.h for time-out and results. */
    virtual unsigned long WaitForSingleObject(unsigned long timeoutMs) = 0;

    /**
     * Ends the object's use of POSIX, and leaves the object to be deleted. Returns 1, or 0 for an
     * event whose end has begun before. Wakes the threads blocked on an event, and returns when
     * they have left.
     */
    virtual int CloseHandle() = 0;

    /**
     * Signals an event, or raises a semaphore by one count without a look at its maximum. Returns
     * 1, or 0 when the system refuses or the event is being closed. Doesn't block.
     */
    virtual int SetToSignaledState() = 0;

    /** Returns the object at handle if it has that type; a type of 0 means any. Else null. */
    static XHandleObject* ObjectFromHandle(void* handle, unsigned long type);

    XHandleObject(XHandleObject const&) = delete;
    XHandleObject& operator=(XHandleObject const&) = delete;

private:
    unsigned long volatile m_type; /* constant after construction; 0 in a destroyed object */
};

/** The event behind a handle. */
class VERRICK_API XEvent : public XHandleObject {
public:
    /** Takes the state and the kind: CreateEvent takes them in the opposite order. */
    XEvent(int initialState, int manualReset);
    ~XEvent() override;

    unsigned long WaitForSingleObject(unsigned long timeoutMs) override;
    int CloseHandle() override;
    int SetToSignaledState() override;

private:
    friend int ::PulseEvent(HANDLE event);
    friend int ::ResetEvent(HANDLE event);
    friend struct verrick::EventLook;

    struct Fields; /* the work on the fields below */
    struct Core;

    int m_manualReset; /* constant after construction */
    /* Reads as an int. It is atomic: without waiting threads it changes without the lock. */
    verrick::EventState<int> m_signaled;
    /*
     * Both change under m_mutex. CloseHandle and the early tests read them without it. They order
     * no other memory, so relaxed is enough.
     */
    std::atomic<int> m_waiters; /* threads inside the blocking part of the wait */
    std::atomic<int> m_closing; /* 0, or 1 from the start of CloseHandle */
    pthread_cond_t m_cond;
    pthread_mutex_t m_mutex;         /* innermost: nothing is taken under it */
    pthread_mutexattr_t m_mutexAttr; /* lives as long as the mutex */
    verrick::EventHandover m_handover;
};

/** The semaphore behind a handle. */
class VERRICK_API XSemaphore : public XHandleObject {
public:
    /** Makes a semaphore. A count that the system refuses is not reported. */
    XSemaphore(long initialCount, long maxCount);
    ~XSemaphore() override;

    unsigned long WaitForSingleObject(unsigned long timeoutMs) override;
    int CloseHandle() override;
    int SetToSignaledState() override;

private:
    friend int ::ReleaseSemaphore(HANDLE semaphore, long count, long* previousCount);

    sem_t m_sem;
    long m_max; /* constant after construction */
    /*
     * What the count has beyond that of m_sem: usually 0. A release of very many counts posts only
     * some of them and keeps the rest here. A negative initial count stays here for good.
     */
    std::atomic<int> m_count;
};

#endif
