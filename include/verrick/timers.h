/**
 * @file
 * The timer service calls an application's listeners back: after a time, at a time, or again and
 * again. A process has one service. DTimeManager::GetInstance returns it.
 *
 * Names. A timer is no object. It is named by the pair of its listener and an id, which the
 * application chooses. So one listener can have many timers.
 *
 * Time. The service has a clock of its own, in milliseconds. It starts at 0 and advances by
 * GetResolution at each tick. It lags real time by the lateness of all ticks. A timer fires on the
 * first tick that reaches its expiry. A repeating timer counts its next period from that tick, and
 * fires at most once per tick. Of timers with the same expiry the newest is delivered first.
 *
 * Age. GetTickCount starts again from 0 after 49.7 days, because it has 32 bits. The timers don't:
 * every period and distance means the same at any age of the service. A period is at most
 * 2147483647 ms (24.8 days). A one-shot period below 0 is over already: the timer fires on the next
 * tick. The distance of an absolute timer is at most 4294967295 ms (49.7 days).
 *
 * Threads. All operations may be called from any thread, also from a listener. Each blocks on short
 * locks alone, unless its comment says more. The service has two threads: "TimeManager Thread"
 * counts the ticks, "TimerDispatch Thread" calls the listeners.
 *
 * Signals. Both threads block all signals, so no signal handler runs there. A fault in a listener,
 * such as SIGSEGV, ends the process without its handler, unless the listener unblocks that signal.
 * A DThread or a ThreadSpawn task that a listener creates has the signal mask of the thread that
 * built the service. All else that a listener creates inherits the full mask.
 *
 * Lifetime. The service keeps the pointer of a listener and never deletes it. A listener must live
 * until Destroy has returned for each of its timers, or until DTimeManager::DestroyInstance has
 * returned. Both wait at most a second for a call that is under way, see there.
 */
#ifndef VERRICK_TIMERS_H
#define VERRICK_TIMERS_H

#include <verrick/critical_section.h>
#include <verrick/detail/api.h>
#include <verrick/detail/thread_annotations.h>
#include <verrick/event.h>
#include <verrick/flat/constants.h>
#include <verrick/list.h>
#include <verrick/thread.h>

#include <atomic>

/** What an application supplies: the object that timers call. */
class ITimerListener {
public:
    virtual ~ITimerListener() {}

    /**
     * Called for each expiry of a timer, on the dispatch thread and with no lock held.
     *
     * Expiries of all timers are delivered one at a time, first in, first out. A slow listener
     * delays the others but never the tick. It may call every operation of the service, for its own
     * timer too. It may also end the thread with pthread_exit. The service calls nobody any more
     * then.
     *
     * @param id that of the timer.
     */
    virtual void OnTimerExpired(unsigned int id) = 0;
};

/** The operations of the timer service. */
class VERRICK_API ITimeManager {
public:
    ITimeManager();
    virtual ~ITimeManager();

    /**
     * Makes a timer that counts from now, and arms it.
     *
     * @param listener whom to call; must outlive the timer. Null is refused.
     * @param id with the listener the timer's name.
     * @param periodMs milliseconds until the first expiry, and from one expiry to the next. 0 and
     * negative periods of a one-shot timer are over already: it fires on the next tick.
     * @param reserved is ignored.
     * @param timerFlags TIMER_INACTIVE, TIMER_REPEAT, both or 0. Other bits are ignored.
     * @return true if the timer was made. False if the name exists, also as a one-shot timer that
     * has fired, and for a repeating timer with a period of 0 or less.
     * @throws std::bad_alloc and makes no timer.
     */
    virtual bool CreateRelativeTimer(ITimerListener* listener, unsigned int id, int periodMs,
                                     int reserved, unsigned int timerFlags) = 0;

    /**
     * Makes a one-shot timer for a calendar time. It isn't armed until Activate.
     *
     * The distance from now to that time is taken once, in this call, and without its sign. So a
     * time N seconds ago sets the timer N seconds ahead. Setting the system's time later moves
     * nothing.
     *
     * @param listener whom to call; must outlive the timer. Null is refused.
     * @param id with the listener the timer's name.
     * @param when seconds since 1970, as time returns them. A distance above 49.7 days counts as
     * 4294967295 ms.
     * @param reserved is ignored.
     * @return true if the timer was made. False if the name exists.
     * @throws std::bad_alloc and makes no timer.
     */
    virtual bool CreateAbsoluteTimer(ITimerListener* listener, unsigned int id, long when,
                                     int reserved) = 0;

    /**
     * Removes a timer and its expiries that wait for delivery, also if the name doesn't exist any
     * more as a timer.
     *
     * When it returns, no call of that listener with that id is under way and none can begin. It
     * waits for a call that is under way, but at most a second: its caller may hold a lock that the
     * listener wants. A caller that can't rule this out must not delete the listener yet. Called
     * from inside a listener, it doesn't wait.
     *
     * @return true if there was such a timer.
     */
    virtual bool Destroy(ITimerListener* listener, unsigned int id) = 0;

    /**
     * Arms a timer: a relative one for its full period from now, an absolute one for its own time,
     * which may be over. A timer whose time is over fires on the next tick.
     *
     * @return false if the timer is armed already or doesn't exist.
     */
    virtual bool Activate(ITimerListener* listener, unsigned int id) = 0;

    /**
     * Disarms a timer. Expiries that wait for delivery are still delivered.
     *
     * @return false if the timer isn't armed or doesn't exist.
     */
    virtual bool Deactivate(ITimerListener* listener, unsigned int id) = 0;

    /** Blocks the caller for ms milliseconds, taken as unsigned, as the flat Sleep does. */
    virtual void Sleep(int ms) = 0;

    /** Returns the time on the service's clock in milliseconds. Not the flat GetTickCount. */
    virtual unsigned int GetTickCount() = 0;

    /** Returns the milliseconds from tick to tick. It doesn't change. */
    virtual unsigned int GetResolution() = 0;

    ITimeManager(ITimeManager const&) = delete;
    ITimeManager& operator=(ITimeManager const&) = delete;
};

/** The timer service of the process. */
class VERRICK_API DTimeManager : public ITimeManager {
public:
    /**
     * Returns the timer service of the process. The first call builds it and starts its threads.
     * May be called from any thread.
     *
     * @param priority of the tick thread under SCHED_RR, 1 to 99. With any other value, and where
     * the process has no right to it, the thread keeps the scheduling that it inherits. Only the
     * call that builds the service looks at it.
     * @return never null. The library owns the object: don't delete it. It is valid until
     * DestroyInstance.
     * @throws std::bad_alloc and builds nothing.
     */
    static DTimeManager* GetInstance(int priority);

    /**
     * Ends the service for all who use it. Timers and expiries that wait for delivery are dropped.
     * Does nothing without a service. A later GetInstance builds a new one.
     *
     * When it returns, no listener is called any more. It waits for the tick that is under way, and
     * for a listener that is inside a call. It waits for the listener at most a second, because
     * that may wait for the calling thread. A listener that takes longer is let go: its thread ends
     * without touching the service when the listener returns. Called from inside a listener, it
     * waits for no listener. It prints a line for each of the two threads.
     *
     * May be called from any thread, from atexit and from destructors of static objects. If several
     * threads call it, one does it and the others wait for that, except inside a listener. In a
     * child after fork, which has no service threads, it only forgets the service.
     *
     * No other operation may overlap it, except from a listener that it waits for.
     */
    static void DestroyInstance();

    /** Builds a service, see GetInstance. Applications call that instead. */
    explicit DTimeManager(int priority);
    ~DTimeManager() override;

    bool CreateRelativeTimer(ITimerListener* listener, unsigned int id, int periodMs, int reserved,
                             unsigned int timerFlags) override;
    bool CreateAbsoluteTimer(ITimerListener* listener, unsigned int id, long when,
                             int reserved) override;
    bool Destroy(ITimerListener* listener, unsigned int id) override;
    bool Activate(ITimerListener* listener, unsigned int id) override;
    bool Deactivate(ITimerListener* listener, unsigned int id) override;
    void Sleep(int ms) override;
    unsigned int GetTickCount() override;
    unsigned int GetResolution() override;

private:
    ITimeManager* m_impl; /* owned; constant after construction */

    static std::atomic<DTimeManager*> m_timeManagerPtr; /* null while there is no service */
    static DCriticalSection m_csTimeManagerCreate;      /* held while a service is built */
};

/**
 * The thread that calls the listeners. A part of the service: applications use DTimeManager.
 *
 * Each expiry waits in an entry of a fixed pool. If all 256 are taken, an expiry is dropped.
 */
class VERRICK_API DTimerDispatch : public DThread {
public:
    /** Creates the thread, parked. The owner calls Start. Throws std::bad_alloc. */
    DTimerDispatch();

    /**
     * Drops what waits for delivery and ends the thread. Waits at most a second for a listener that
     * is inside a call. After that the thread is let go, and ends when the listener returns. Called
     * by that listener, it doesn't wait.
     */
    ~DTimerDispatch() override;

    /** Queues an expiry for delivery. Allocates nothing. A null listener is ignored. */
    void Enqueue(ITimerListener* listener, unsigned int id);

    /** Removes all expiries of one timer that wait for delivery. Doesn't wait for a call. */
    void FlushQueue(ITimerListener* listener, unsigned int id);

    /** The body of the thread. Applications don't call it. */
    void Run() override;

private:
    friend class DTimeManagerImpl;

    struct TimerListItem : DListItem {
        ITimerListener* m_listener; /* not owned */
        unsigned int m_id;
        bool m_inUse; /* stays set during the delivery, so that the entry isn't used again */
    };
    struct VERRICK_INTERNAL Parts;

    DList m_queue VERRICK_GUARDED_BY(m_csQueue); /* oldest at the head */
    DCriticalSection m_csQueue; /* guards the pool's m_inUse too; see DTimeManagerImpl */
    DEvent m_queueEvent;        /* set when expiries were queued; changes under m_csQueue */
    unsigned int m_peakQueueLength VERRICK_GUARDED_BY(m_csQueue);
    TimerListItem* m_pool; /* owned */
    Parts* m_parts;        /* owned */
};

/**
 * The work behind DTimeManager, and the thread of the tick. Applications use DTimeManager.
 *
 * Lock order: m_csActive, m_csInactive, m_csTicks. m_csActive and m_csInactive come before the
 * dispatcher's m_csQueue. No lock is held while a listener runs.
 */
class VERRICK_API DTimeManagerImpl : public ITimeManager, public DThread {
public:
    /** Builds the service and starts its threads, see DTimeManager::GetInstance. */
    explicit DTimeManagerImpl(int priority);
    /** Ends the service, see DTimeManager::DestroyInstance. */
    ~DTimeManagerImpl() override;

    bool CreateRelativeTimer(ITimerListener* listener, unsigned int id, int periodMs, int reserved,
                             unsigned int timerFlags) override;
    bool CreateAbsoluteTimer(ITimerListener* listener, unsigned int id, long when,
                             int reserved) override;
    bool Destroy(ITimerListener* listener, unsigned int id) override;
    bool Activate(ITimerListener* listener, unsigned int id) override;
    bool Deactivate(ITimerListener* listener, unsigned int id) override;
    void Sleep(int ms) override;
    unsigned int GetTickCount() override;
    unsigned int GetResolution() override;

    /** The body of the thread. Applications don't call it. */
    void Run() override;

private:
    struct TimeListItem : DListItem {
        ITimerListener* m_listener; /* not owned; with m_id the timer's name */
        unsigned int m_id;
        int m_period;          /* milliseconds; 0 for an absolute timer */
        unsigned int m_expiry; /* the m_ticks at which the timer is due */
        bool m_repeat;
    };
    struct VERRICK_INTERNAL Timer;
    class VERRICK_INTERNAL TimerIndex;
    class VERRICK_INTERNAL ActiveLock;
    struct VERRICK_INTERNAL Parts;

    /* Whether the pair is in the list, and the first item with it. The caller holds its lock. */
    bool AlreadyPresentInList(DList& list, ITimerListener* listener, unsigned int id);
    TimeListItem* RetrieveMatchingItem(DList& list, ITimerListener* listener, unsigned int id);

    DList m_activeList VERRICK_GUARDED_BY(m_csActive); /* armed, ascending by m_expiry */
    DCriticalSection m_csActive VERRICK_ACQUIRED_BEFORE(m_csInactive, m_csTicks);
    DList m_inactiveList VERRICK_GUARDED_BY(m_csInactive); /* not armed, oldest first */
    DCriticalSection m_csInactive VERRICK_ACQUIRED_BEFORE(m_csTicks);
    unsigned int m_ticks VERRICK_GUARDED_BY(m_csTicks); /* changes under m_csActive too */
    DCriticalSection m_csTicks;
    unsigned int m_resolution;  /* milliseconds; this and what follows: constant once running */
    DTimerDispatch* m_dispatch; /* owned */
    void* m_periodicTimer;      /* owned */
    Parts* m_parts;             /* owned */
};

#endif
