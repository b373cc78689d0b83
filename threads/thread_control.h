// What a thread object shares with its POSIX thread.
#pragma once

#include "frame/mutex.h"
#include <verrick/thread.h>

#include <atomic>

namespace verrick {

// The Run that an object has at a given moment, to be called later without looking at the object.
using RunFunction = void (*)(DThread*);
RunFunction ResolveRun(DThread& thread);

// A block on the heap that outlives both the thread object and its POSIX thread, whichever goes
// first. It settles whether the thread may still touch the object.
//
// 1. The thread touches the object only during a visit, or inside the Run of an application's
//    class, which answers for itself.
// 2. No visit begins once the object is closing.
// 3. The object's memory goes only after AwaitDeparture, which returns when no visit is under way,
//    but for the one in which the thread itself destroys the object.
// 4. Whether the thread gets into Run is decided once, under the lock: by DecideRun on the thread,
//    or by BarRun.
//
// The lock is a leaf: nothing else is taken under it.
class ThreadControl {
public:
    explicit ThreadControl(DThread* owner);
    ThreadControl(ThreadControl const&) = delete;
    ThreadControl& operator=(ThreadControl const&) = delete;

    static ThreadControl& Of(DThread& thread);

    void AddReference();
    void ReleaseReference();

    // --- The thread's side.

    // Announces the calling thread. Its first step.
    void PublishId();

    // Begins a visit, unless the object is closing.
    bool Enter();
    void Leave();

    // Ends the visit to call out of the library, unless the object is closing: then the visit goes
    // on and the result is false.
    bool LeaveForCallback();

    // The Run to call, or null if the thread was barred from it. Ends the visit, unless the class
    // keeps it: then Run is inside the visit and ends it by its Visit.
    RunFunction DecideRun();

    // Calls PreRun on the owner's implementation, within a visit.
    void CallPreRun();

    // --- The object's side.

    // For the library's own threads, whose whole Run is a visit. Called before Start.
    void KeepVisitInRun();

    // Notes the Run to call. Called by Start, on the starting thread, see ResolveRun.
    void SetRun(RunFunction run);

    void BarRun();
    void BeginClosing();
    void AwaitDeparture();

    // Waits until the thread, which exists, has announced itself, and gives its kernel id.
    int AwaitId();

    bool IsClosing() const { return m_closing.load(std::memory_order_relaxed); }
    bool IsOwnThread() const;

    // The block's lock also guards the name and makes a change of priority one step.
    pthread_mutex_t& Mutex() { return m_mutex; }

private:
    enum class Run { Undecided, Decided, Barred };

    ~ThreadControl();
    void EndVisit();

    DThread* const m_owner; // looked at during a visit only
    std::atomic<int> m_references;
    std::atomic<int> m_id; // 0 until published
    // Changes under m_mutex. Read without it by the library's loops, which look at it again soon.
    std::atomic<bool> m_closing;

    pthread_mutex_t m_mutex;
    pthread_mutexattr_t m_mutexAttr;
    pthread_cond_t m_changed; // the id was published, or the last visit ended
    // Guarded by m_mutex:
    int m_visits;
    bool m_keepVisit;
    Run m_decision;
    RunFunction m_run;
};

// A visit under way, for a scope: it ends on every way out, also when a callback ends the thread or
// the thread is cancelled.
class Visit {
public:
    // Takes over the visit that the thread is in.
    explicit Visit(ThreadControl& control) : Visit(control, true) {}
    ~Visit();
    Visit(Visit const&) = delete;
    Visit& operator=(Visit const&) = delete;

    // The visit of a Run of the library's own: the one that DecideRun left open, or a new one if an
    // application calls Run on a thread of its own.
    static Visit OfRun(DThread& thread);

    // Whether the object may still be used. When a callback destroys the object, this becomes false
    // in the middle of the visit.
    bool IsOpen() const { return m_inside && !m_control.IsClosing(); }

    RunFunction DecideRun();

    // Ends the visit for the time of a callback that the object's destructor doesn't wait for.
    // False, with the visit going on, if the callback must not begin.
    bool LeaveForCallback();
    bool Return();

private:
    Visit(ThreadControl& control, bool inside);

    ThreadControl& m_control;
    bool m_inside;
};

} // namespace verrick
