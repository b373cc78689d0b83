/**
 * @file
 * The timer service: relative and absolute timers, one-shot or repeating, on a soft tick, delivered
 * to listeners on a thread of their own. One service a process, behind DTimeManager::GetInstance.
 *
 * A timer is no object: it is named by the pair of its listener and an id of the application's
 * choosing. Times are milliseconds of the service's own clock, which starts at 0 and advances by
 * GetResolution at each tick; it lags real time by however late ticks have been, and wraps after
 * 49.7 days. A timer fires at the first tick that reaches it, and a repeating one counts its next
 * period from that tick. Of timers due at the same time the newest is delivered first.
 *
 * All operations may be called from any thread, from a listener too. The service runs two threads,
 * "TimeManager Thread" and "TimerDispatch Thread", the latter at real-time priority 99 where the
 * process may have it. An application uses DTimeManager; the other classes are its parts.
 */
#ifndef VERRICK_TIMERS_H
#define VERRICK_TIMERS_H

#include <verrick/critical_section.h>
#include <verrick/detail/api.h>
#include <verrick/event.h>
#include <verrick/flat/constants.h>
#include <verrick/list.h>
#include <verrick/thread.h>

#include <atomic>

/** What an application supplies. The service never deletes it. */
class ITimerListener {
public:
    virtual ~ITimerListener() {}

    /**
     * Called on the dispatch thread for each expiry, first in, first out over all timers, with no
     * lock held. A slow listener delays the others but never the tick. A call can still be under
     * way when Destroy for its timer has returned on another thread.
     */
    virtual void OnTimerExpired(unsigned int id) = 0;
};

/** The interface of the timer service. */
class VERRICK_API ITimeManager {
public:
    ITimeManager();
    virtual ~ITimeManager();

    /**
     * Makes a timer that expires periodMs milliseconds from now, or from Activate where timerFlags
     * has TIMER_INACTIVE, and every periodMs after that with TIMER_REPEAT. reserved is ignored.
     * Gives false if the pair exists, also as a timer that has fired, and for TIMER_REPEAT with a
     * period of 0 or less. Throws std::bad_alloc.
     */
    virtual bool CreateRelativeTimer(ITimerListener* listener, unsigned int id, int periodMs,
                                     int reserved, unsigned int timerFlags) = 0;

    /**
     * Makes an inactive one-shot timer for the calendar time when, in seconds as time gives it. The
     * distance from now is taken once, here, and without its sign: a time N seconds ago sets the
     * timer N seconds ahead. reserved is ignored. Gives false if the pair exists. Throws
     * std::bad_alloc.
     */
    virtual bool CreateAbsoluteTimer(ITimerListener* listener, unsigned int id, long when,
                                     int reserved) = 0;

    /**
     * Removes the timer and its undelivered expiries, but doesn't wait for a delivery under way.
     * Gives false if there is no such timer.
     */
    virtual bool Destroy(ITimerListener* listener, unsigned int id) = 0;

    /**
     * Arms an inactive timer: a relative one for its full period from now, an absolute one for its
     * own time, which may be over. Gives false if the timer is active or doesn't exist.
     */
    virtual bool Activate(ITimerListener* listener, unsigned int id) = 0;

    /** Disarms an active timer; an expiry already queued is delivered. False if it isn't active. */
    virtual bool Deactivate(ITimerListener* listener, unsigned int id) = 0;

    /** Sleeps ms milliseconds, as the flat Sleep does. */
    virtual void Sleep(int ms) = 0;

    /** Milliseconds on the service's clock. */
    virtual unsigned int GetTickCount() = 0;

    /** Milliseconds from tick to tick. */
    virtual unsigned int GetResolution() = 0;

    ITimeManager(ITimeManager const&) = delete;
    ITimeManager& operator=(ITimeManager const&) = delete;
};

/** The timer service of the process. */
class VERRICK_API DTimeManager : public ITimeManager {
public:
    /**
     * The process's timer service, built by the first call; priority, 1 to 99, is that of its tick
     * thread under SCHED_RR, and counts in that call alone. Safe from any thread.
     */
    static DTimeManager* GetInstance(int priority);

    /**
     * Ends the service, for all who hold it: timers and undelivered expiries are dropped. When it
     * returns, both threads have left the service, which takes a tick at most, or as long as the
     * listener call under way; it prints a line for each thread. Called from a listener it doesn't
     * wait for that one's thread, which ends when the listener returns. Does nothing without a
     * service. Not to overlap with any other use of the service.
     */
    static void DestroyInstance();

    /** For GetInstance alone. */
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

    static std::atomic<DTimeManager*> m_timeManagerPtr; /* read by DestroyInstance without a lock */
    static DCriticalSection m_csTimeManagerCreate;      /* serialises GetInstance */
};

/**
 * The thread that calls the listeners. The engine queues each expiry in an entry of a fixed pool;
 * when all 256 are taken, an expiry is dropped.
 */
class VERRICK_API DTimerDispatch : public DThread {
public:
    /** The thread is created parked; the owner calls Start. */
    DTimerDispatch();

    /** Drops what is queued, and returns when the thread has left the object, see DTimeManager. */
    ~DTimerDispatch() override;

    /** Queues an expiry. Allocates nothing. */
    void Enqueue(ITimerListener* listener, unsigned int id);

    /** Removes all queued expiries of one timer. Doesn't wait for a delivery under way. */
    void FlushQueue(ITimerListener* listener, unsigned int id);

    /** The thread's own; not for applications. */
    void Run() override;

private:
    struct TimerListItem : DListItem {
        ITimerListener* m_listener; /* not owned */
        unsigned int m_id;
        bool m_inUse; /* stays set while the delivery runs, so that the slot isn't reused */
    };

    TimerListItem* FindFreeSlot();
    TimerListItem* TakeHead();
    bool RetireSlot(TimerListItem* item);

    DList m_queue;                  /* oldest at the head; guarded by m_csQueue */
    DCriticalSection m_csQueue;     /* innermost; guards the slots' m_inUse too */
    DEvent m_queueEvent;            /* set while the queue isn't empty; changes under m_csQueue */
    unsigned int m_peakQueueLength; /* guarded by m_csQueue */
    TimerListItem* m_pool;          /* owned */
};

/**
 * The work behind DTimeManager, and the thread of the tick.
 *
 * Lock order: m_csActive, m_csInactive, m_csTicks; and m_csActive, the dispatcher's m_csQueue. No
 * lock is held while a listener runs.
 */
class VERRICK_API DTimeManagerImpl : public ITimeManager, public DThread {
public:
    /** As DTimeManager: builds the service, and starts its threads. */
    explicit DTimeManagerImpl(int priority);
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

    /** The thread's own; not for applications. */
    void Run() override;

private:
    struct TimeListItem : DListItem {
        ITimerListener* m_listener; /* not owned; with m_id the timer's name */
        unsigned int m_id;
        int m_period;          /* milliseconds; 0 for an absolute timer */
        unsigned int m_expiry; /* the m_ticks at which the timer is due */
        bool m_repeat;
        bool m_expirySet; /* false until an inactive relative timer is first armed */
    };

    bool AlreadyPresentInList(DList& list, ITimerListener* listener, unsigned int id);
    TimeListItem* RetrieveMatchingItem(DList& list, ITimerListener* listener, unsigned int id);
    bool Exists(ITimerListener* listener, unsigned int id);
    TimeListItem* Extract(DList& list, DCriticalSection& section, ITimerListener* listener,
                          unsigned int id);
    void InsertByExpiry(TimeListItem* item);
    void SetExpiry(TimeListItem* item, unsigned int distanceMs);
    void Tick();
    void Expire(TimeListItem* item, unsigned int now);
    void FreeTimers();

    DList m_activeList;            /* armed, ascending by m_expiry; guarded by m_csActive */
    DCriticalSection m_csActive;   /* guards the fields of the items on the list too */
    DList m_inactiveList;          /* not armed, oldest first; guarded by m_csInactive */
    DCriticalSection m_csInactive; /* guards the fields of the items on the list too */
    unsigned int m_ticks;          /* written by Run alone, under m_csTicks */
    DCriticalSection m_csTicks;
    unsigned int m_resolution;  /* milliseconds; this and what follows: constant once running */
    DTimerDispatch* m_dispatch; /* owned */
    void* m_periodicTimer;      /* owned */
};

#endif
