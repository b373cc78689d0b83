/**
 * @file
 * Threads with a two-step start, over one POSIX thread each.
 *
 * A class derives from DThread and supplies Run. The POSIX thread is created first, usually inside
 * DThread's constructor while the derived object is still being built, and parks; Start lets it
 * into Run. So Run never begins on a half-built object.
 *
 * Destroying the object waits for nothing that runs: a parked thread is ended and joined, a started
 * one is detached and runs on until Run returns. A thread that was started and is not yet in Run
 * when its object is killed or destroyed never touches the object and never calls Run. A class
 * whose Run uses its own members ends Run and waits for it in its own destructor.
 *
 * Start, Kill, SetName, SetPriority and WaitForThreadDeath may be called from any thread, and Run
 * may destroy its own object. Kill must not overlap a WaitForThreadDeath on the same object.
 */
#ifndef VERRICK_THREAD_H
#define VERRICK_THREAD_H

#include <verrick/detail/api.h>
#include <verrick/event.h>
#include <verrick/frame.h>

#include <atomic>
#include <pthread.h>

class DThreadImpl;

namespace verrick {
class ObjectUse;
}

/** The interface of threads. */
class VERRICK_API IThread {
public:
    IThread();
    virtual ~IThread();

    /** Lets the parked thread into Run. Does nothing without a thread, or a second time. */
    virtual void Start() = 0;

    /**
     * Gives the thread a real-time priority from 1 to 99 under its present policy, as
     * pthread_setschedparam does, also while it is parked. Gives the priority, whether or not the
     * system granted it; -1, with nothing changed, for any other value, without a thread, and once
     * the thread is joined.
     */
    virtual int SetPriority(int priority) = 0;

    /** The priority last asked for, whether or not it is in force. */
    virtual int GetPriority() = 0;

    /**
     * Names the thread: 24 characters here, of which the system's tools show the first 15. Null
     * means "UNKNOWN". Does nothing without a thread. Not to overlap with GetName's reader.
     */
    virtual void SetName(char const* name) = 0;

    /** The name, owned by the object and valid while it lives. */
    virtual char const* GetName() = 0;

    /** The kernel's id of the thread, as gettid gives it; -1 while there is no thread. */
    virtual int GetThreadId() = 0;

    /**
     * Joins the started thread, as pthread_timedjoin_np does, within timeoutMs milliseconds, -1
     * for ever. One caller joins; others wait beside it, and are released when it comes back.
     *
     * Gives a wait_result_t: WAIT_RESULT_OK once the thread is joined, also to later callers;
     * WAIT_RESULT_TIMEOUT when the time ran out, or for a caller whose joining neighbour gave up;
     * WAIT_RESULT_FAILED without a thread, to the thread itself, and before Start, which also
     * prints a line.
     */
    virtual int WaitForThreadDeath(int timeoutMs) = 0;

    /** The body of the thread, called by it once, after Start. */
    virtual void Run() = 0;

    /**
     * Gives the thread up. A parked thread ends without Run before Kill returns. A started thread
     * is detached, with a line on standard output, and runs on; a joined one is only forgotten.
     */
    virtual void Kill() = 0;

    IThread(IThread const&) = delete;
    IThread& operator=(IThread const&) = delete;
};

/** A thread, as an application derives from it. */
class VERRICK_API DThread : public IThread {
public:
    /**
     * Creates the POSIX thread, parked.
     *
     * @param name cut to 24 characters; null gives "UNKNOWN".
     * @param priority under SCHED_RR, 1 to 99; any other value leaves the inherited scheduling.
     * @param stackSize bytes; up to 8196 asks for 8196. A size that the system refuses gives its
     * default.
     * @param flags bit 0 set creates no thread yet, see Create. Other bits have no effect.
     *
     * A thread that can't be created is reported by a line on standard output, and the object has
     * none. Throws std::bad_alloc.
     */
    DThread(char const* name, int priority, int stackSize, int flags);
    ~DThread() override;

    /**
     * Creates the POSIX thread of an object that was built without one, parked; flags is ignored.
     * Gives false, printing nothing, when the system refuses or the object has or had a thread.
     */
    static bool Create(DThread* thread, int priority, int stackSize, int flags);

    void Start() override;
    int SetPriority(int priority) override;
    int GetPriority() override;
    void SetName(char const* name) override;
    char const* GetName() override;
    int GetThreadId() override;
    int WaitForThreadDeath(int timeoutMs) override;
    void Run() override = 0;
    void Kill() override;

private:
    friend class DThreadImpl;
    friend class verrick::ObjectUse;

    DThreadImpl* m_impl; /* owned */
};

/** The work behind DThread. */
class VERRICK_API DThreadImpl : public IThread {
public:
    /** As DThread, with the facade that owns it. */
    DThreadImpl(char const* name, int priority, int stackSize, int flags, DThread* owner);
    ~DThreadImpl() override;

    /** As DThread::Create. */
    static bool Create(DThread* thread, int priority, int stackSize, int flags);

    void Start() override;
    int SetPriority(int priority) override;
    int GetPriority() override;
    void SetName(char const* name) override;
    char const* GetName() override;
    int GetThreadId() override;
    int WaitForThreadDeath(int timeoutMs) override;
    void Run() override;
    void Kill() override;

    /** The entry of the POSIX thread. */
    static void* ThreadMain(void* arg);
    /** Its first steps, up to Run. */
    void PreRun();

private:
    friend class verrick::ObjectUse;
    enum class State : unsigned char;
    struct Steps;
    class JoinTurn;
    class ThreadScope;

    /*
     * The atomic words are read and written without a lock. They order nothing: what the new
     * thread must see is ordered by m_continue's lock.
     */
    std::atomic<pthread_t> m_thread; /* -1 while there is none, and again after Kill */
    char m_name[25];                 /* changes under the lock of m_control */
    std::atomic<int> m_priority;     /* the priority last asked for */
    std::atomic<int> m_threadId;     /* -1 until somebody asked for it */
    DEvent m_continue;               /* the parked thread waits on it */
    DThread* m_owner;                /* not owned; constant after construction */
    pthread_cond_t m_deathCond;      /* where all but the joining caller wait */
    pthread_mutex_t m_deathMutex;    /* held for the counting, never during a join */
    pthread_mutexattr_t m_deathMutexAttr;
    std::atomic<int> m_started; /* each 0 or 1, and never cleared */
    std::atomic<int> m_joined;
    std::atomic<int> m_killed;
    int m_waiters;             /* callers in WaitForThreadDeath; guarded by m_deathMutex */
    State m_state;             /* guarded by m_deathMutex */
    bool m_joining;            /* somebody joins the thread; guarded by m_deathMutex */
    bool m_hasEnded;           /* the thread is past Run; guarded by m_deathMutex */
    verrick::ObjectUse* m_use; /* shared with the POSIX thread; constant */
};

#endif
