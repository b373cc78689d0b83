/**
 * @file
 * The objects behind handles. A HANDLE is the address of an XHandleObject; applications go through
 * the calls of flat/handles.h, and nothing but CloseHandle deletes such an object: the destructors
 * leave the POSIX objects alone.
 *
 * Events behind handles differ from DEvent (event.h) in the sense of the constructor's flags, in
 * their results and in PulseEvent; semaphores behind handles differ from DSemaphore (semaphore.h):
 * they have no names, and a release is all or nothing.
 */
#ifndef VERRICK_HANDLES_H
#define VERRICK_HANDLES_H

#include <verrick/detail/api.h>
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

/** What a handle stands for. */
class VERRICK_API XHandleObject {
public:
    /** type is the tag of the derived class. */
    explicit XHandleObject(unsigned long type);
    virtual ~XHandleObject();

    /** As the flat call of this name. */
    virtual unsigned long WaitForSingleObject(unsigned long timeoutMs) = 0;
    /** As the flat call of this name, but that the object stays, to be deleted. */
    virtual int CloseHandle() = 0;

    /** The body of SetEvent and of one step of ReleaseSemaphore. Gives 1 on success, else 0. */
    virtual int SetToSignaledState() = 0;

    /** The object at handle if it has that type, which 0 leaves open; else null. */
    static XHandleObject* ObjectFromHandle(void* handle, unsigned long type);

    XHandleObject(XHandleObject const&) = delete;
    XHandleObject& operator=(XHandleObject const&) = delete;

private:
    unsigned long volatile m_type; /* constant after construction; 0 in a destroyed object */
};

/** The event behind a handle. */
class VERRICK_API XEvent : public XHandleObject {
public:
    /** The other way about than the arguments of CreateEvent. */
    XEvent(int initialState, int manualReset);
    ~XEvent() override;

    unsigned long WaitForSingleObject(unsigned long timeoutMs) override;
    int CloseHandle() override;
    int SetToSignaledState() override;

private:
    friend int ::PulseEvent(HANDLE event);
    friend int ::ResetEvent(HANDLE event);
    friend struct verrick::EventLook;

    /* All of these under m_mutex. */
    unsigned long WaitHeld(unsigned long timeoutMs);
    int WaitForever();
    int WaitOnce(unsigned int timeoutMs);
    int SignalHeld();

    int m_manualReset; /* constant after construction */
    /*
     * These change under m_mutex and are read without it, by SetUnlessSet, by the poll of
     * CloseHandle and by the early tests. They publish nothing, the lock does, so relaxed is
     * enough.
     */
    std::atomic<int> m_signaled;
    std::atomic<int> m_waiters; /* threads inside the blocking part of the wait */
    std::atomic<int> m_closing; /* 0, or 1 from the start of CloseHandle */
    pthread_cond_t m_cond;
    pthread_mutex_t m_mutex;
    pthread_mutexattr_t m_mutexAttr; /* lives as long as the mutex */
};

/** The semaphore behind a handle. */
class VERRICK_API XSemaphore : public XHandleObject {
public:
    /** As CreateSemaphore. */
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
     * Follows the POSIX count one step behind: changed by the Interlocked calls, read relaxed. It
     * advises the limit and orders nothing.
     */
    int volatile m_count;
};

#endif
