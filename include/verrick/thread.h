/**
 * @file
 * Threads with a two-step start, over one POSIX thread each.
 *
 * A class derives from DThread and supplies Run. The POSIX thread is created first, usually inside
 * DThread's constructor while the derived object is still being built. It parks until Start lets it
 * into Run. So Run doesn't begin on a half-built object, if Start is called on a whole one.
 *
 * Which Run: the thread calls the most derived Run that the object has when the thread gets there.
 * If a constructor of a base calls Start, that is usually the Run of the whole object, but it can
 * be the Run of the base. A thread that finds no Run yet waits until there is one.
 *
 * Destruction: a parked thread is ended and joined. A started one that isn't in Run yet never gets
 * there and never touches the object again. A thread in Run is detached and runs on until Run
 * returns. So a class whose Run uses its own members must wait for it in its own destructor, after
 * telling it to end. DThread's destructor comes too late, because the members are gone by then.
 *
 * "Not in Run yet" means: when Kill or DThread's destructor begins. The thread may still get into
 * Run while the destructors of the derived classes are at work. A destructor that waits for Run, as
 * above, counts on that.
 *
 * Threads: all operations may be called from any thread, and at the same time. Only SetName must
 * not overlap the use of GetName's text. Run may destroy its own object. Apart from that the
 * destructor comes last: no other call on the object is under way then.
 *
 * After a fork the child has none of these threads. Don't use or destroy their objects there: what
 * waits for the end of a thread would wait for ever.
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

    /**
     * Lets the parked thread into Run. A second call does nothing, nor does one without a thread.
     * What the caller did before the call is seen by Run. Doesn't block.
     */
    virtual void Start() = 0;

    /**
     * Changes the real-time priority of the thread under its present policy, as
     * pthread_setschedparam does. It works on a parked thread too. Doesn't block.
     *
     * @param priority 1 to 99.
     * @return priority, whether or not the system granted it. -1, with nothing changed, for any
     * other value, without a thread, and after Kill or a successful WaitForThreadDeath.
     */
    virtual int SetPriority(int priority) = 0;

    /**
     * Returns the priority that was last asked for, whether or not it is in force. Doesn't block.
     */
    virtual int GetPriority() = 0;

    /**
     * Names the thread, as pthread_setname_np does. Does nothing without a thread, and after Kill.
     * Doesn't block.
     *
     * @param name narrow text, which is copied: its first 24 bytes. The system's tools show the
     * first
     * 15. Null means "UNKNOWN".
     */
    virtual void SetName(char const* name) = 0;

    /**
     * Returns the name. The object owns the text, which is valid while the object lives and changes
     * with SetName. Doesn't block.
     */
    virtual char const* GetName() = 0;

    /**
     * Returns the kernel's id of the thread, as gettid returns it there. Returns -1 without a
     * thread, and after Kill or a successful WaitForThreadDeath. Blocks until a thread that was
     * just created has begun.
     */
    virtual int GetThreadId() = 0;

    /**
     * Waits for the end of the thread and joins it, as pthread_join and pthread_timedjoin_np do.
     * One caller joins. Others wait beside it and return when it returns. It is a cancellation
     * point.
     *
     * @param timeoutMs the longest wait in milliseconds. -1 waits for ever. 0 and other negative
     * values look once and return.
     * @return a wait_result_t:
     * - WAIT_RESULT_OK when the thread is joined, also to every later caller.
     * - WAIT_RESULT_TIMEOUT when the time is over, or the joining caller beside this one gave up.
     * - WAIT_RESULT_FAILED to the thread itself, after Kill, when the system refuses, and before
     *   Start. Before Start it also prints a line on standard output.
     */
    virtual int WaitForThreadDeath(int timeoutMs) = 0;

    /**
     * The body of the thread, which calls it once, after Start. When it returns, the thread ends.
     * It may also end its thread by pthread_exit.
     */
    virtual void Run() = 0;

    /**
     * Gives the thread up. Nothing is cancelled.
     *
     * - A parked thread ends without Run. Blocks until it has ended.
     * - A started one that isn't in Run ends without Run. One in Run runs on. Both are detached, as
     *   pthread_detach does, and a line on standard output says so. Blocks only for a thread that
     *   is just exiting after Run, at most a second.
     * - A joined one is only forgotten.
     *
     * A second call does nothing. If another caller is in WaitForThreadDeath, that one keeps the
     * thread until it returns, and still joins it if it ends in time.
     */
    virtual void Kill() = 0;

    IThread(IThread const&) = delete;
    IThread& operator=(IThread const&) = delete;
};

/** A thread, as an application derives from it. */
class VERRICK_API DThread : public IThread {
public:
    /**
     * Creates the POSIX thread, parked, as pthread_create does.
     *
     * @param name as of SetName.
     * @param priority real-time priority under SCHED_RR, 1 to 99. Any other value leaves the thread
     * the scheduling that it inherits. So does a process without the right to such priorities.
     * @param stackSize bytes. A value up to 8196 asks for 8196. If the system refuses the size, the
     * thread has the system's default.
     * @param flags bit 0 set: no thread is created yet, see Create. Other bits have no effect.
     * @throws std::bad_alloc
     *
     * If the system refuses the thread, a line on standard output says so, and the object has none.
     */
    DThread(char const* name, int priority, int stackSize, int flags);

    /**
     * Ends a parked thread and waits for its end. Detaches a started one, as Kill does, and waits
     * only while it is on its last steps before Run.
     */
    ~DThread() override;

    /**
     * Creates the POSIX thread, parked, of an object without one. Doesn't block.
     *
     * @param thread the object. It must not be null.
     * @param priority as of the constructor. A value from 1 to 99 replaces that of the constructor.
     * @param stackSize as of the constructor.
     * @param flags ignored.
     * @return true if the thread was created. False if the system refuses, and for an object that
     * has a thread or had one. Prints nothing.
     */
    static bool Create(DThread* thread, int priority, int stackSize, int flags);

    /** As IThread::Start. */
    void Start() override;
    /** As IThread::SetPriority. */
    int SetPriority(int priority) override;
    /** As IThread::GetPriority. */
    int GetPriority() override;
    /** As IThread::SetName. */
    void SetName(char const* name) override;
    /** As IThread::GetName. */
    char const* GetName() override;
    /** As IThread::GetThreadId. */
    int GetThreadId() override;
    /** As IThread::WaitForThreadDeath. */
    int WaitForThreadDeath(int timeoutMs) override;
    /** As IThread::Run. */
    void Run() override = 0;
    /** As IThread::Kill. */
    void Kill() override;

private:
    friend class DThreadImpl;
    friend class verrick::ObjectUse;

    DThreadImpl* m_impl; /* owned */
};

/** The work behind DThread. Not for applications. */
class VERRICK_API DThreadImpl : public IThread {
public:
    /** As DThread's constructor, with the facade that owns this object. */
    DThreadImpl(char const* name, int priority, int stackSize, int flags, DThread* owner);
    /** As DThread's destructor. */
    ~DThreadImpl() override;

    /** As DThread::Create. */
    static bool Create(DThread* thread, int priority, int stackSize, int flags);

    /** As IThread::Start. */
    void Start() override;
    /** As IThread::SetPriority. */
    int SetPriority(int priority) override;
    /** As IThread::GetPriority. */
    int GetPriority() override;
    /** As IThread::SetName. */
    void SetName(char const* name) override;
    /** As IThread::GetName. */
    char const* GetName() override;
    /** As IThread::GetThreadId. */
    int GetThreadId() override;
    /** As IThread::WaitForThreadDeath. */
    int WaitForThreadDeath(int timeoutMs) override;
    /** Prints a line on standard output. The thread calls the facade's Run, never this one. */
    void Run() override;
    /** As IThread::Kill. */
    void Kill() override;

    /** The entry of the POSIX thread. arg is the library's own. */
    static void* ThreadMain(void* arg);
    /** The first steps of the POSIX thread, up to Run and with it. */
    void PreRun();

private:
    friend class verrick::ObjectUse;
    enum class State : unsigned char;
    struct VERRICK_INTERNAL Steps;
    class VERRICK_INTERNAL JoinTurn;
    class VERRICK_INTERNAL ThreadScope;

    /*
     * The atomic words change under m_deathMutex and are also read without it. They order no other
     * memory.
     */
    std::atomic<pthread_t> m_thread; /* -1 while there is none, and again after Kill */
    char m_name[25];                 /* changes under m_deathMutex */
    std::atomic<int> m_priority;     /* the priority last asked for */
    std::atomic<int> m_threadId;     /* -1 until somebody asked for it */
    DEvent m_continue;               /* the parked thread waits on it */
    DThread* m_owner;                /* not owned; constant after construction */
    pthread_cond_t m_deathCond;      /* where all but the joining caller wait */
    pthread_mutex_t m_deathMutex;    /* taken before m_continue's lock; never held during a join */
    pthread_mutexattr_t m_deathMutexAttr;
    std::atomic<int> m_started; /* each 0 or 1, and never cleared */
    std::atomic<int> m_joined;
    std::atomic<int> m_killed;
    int m_waiters;             /* callers that wait for the thread's end; guarded by m_deathMutex */
    State m_state;             /* where the thread stands; guarded by m_deathMutex */
    bool m_joining;            /* one of the callers joins; guarded by m_deathMutex */
    bool m_hasEnded;           /* the thread is past Run; guarded by m_deathMutex */
    verrick::ObjectUse* m_use; /* shared with the POSIX thread; constant */
};

#endif
