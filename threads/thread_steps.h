// The life of a thread.
//
// One state says where it stands. It is guarded by m_deathMutex, and so are the steps below, each
// as a whole. m_thread, m_started, m_joined and m_killed follow the state.
//
//   state     step                        next      what happens to the POSIX thread
//   NoThread  Create                      Parked    is created, and waits on m_continue
//   Parked    Start                       Started   is woken
//   Parked    Kill                        LetGo     is woken, ends without Run, is joined by Kill
//   Parked    it can't wait for Start     Parked    ends without Run
//   Started   it gets to Run              InRun     calls Run
//   Started   Kill                        LetGo     is detached, ends without Run
//   Started   WaitForThreadDeath          Joined    has ended and is joined
//   InRun     WaitForThreadDeath          Joined    has ended and is joined
//   InRun     Kill                        LetGo     is detached, goes on in Run
//   Joined    Kill                        LetGo     (none is left)
//
// Every other pair of a state and a step changes nothing. The destructor is Kill, and then a wait
// until the thread is on none of the object's own steps, which are short: see ObjectUse.
//
// Locks: m_deathMutex, then that of m_continue. No lock is held during a join, a message or Run.
#pragma once

#include "frame/mutex.h"
#include "threads/run_lookup.h"
#include <verrick/detail/thread_annotations.h>
#include <verrick/thread.h>

namespace verrick {

// Stands for the m_deathMutex of the object at hand, so that Clang checks who is called with it
// held. It is declared only.
class VERRICK_LOCK DeathMutex {};
extern DeathMutex g_deathMutex;

// Holds the m_deathMutex of an object for a scope.
class VERRICK_SCOPED_LOCK DeathLock {
public:
    explicit DeathLock(pthread_mutex_t& deathMutex) VERRICK_ACQUIRE(g_deathMutex)
        : m_lock(deathMutex) {}
    ~DeathLock() VERRICK_RELEASE() {}
    DeathLock(DeathLock const&) = delete;
    DeathLock& operator=(DeathLock const&) = delete;

private:
    MutexLock m_lock;
};

} // namespace verrick

enum class DThreadImpl::State : unsigned char { NoThread, Parked, Started, InRun, Joined, LetGo };

// The steps that are no operations. Those with Locked in their names are called with m_deathMutex
// held.
struct DThreadImpl::Steps {
    static void StoreName(DThreadImpl& impl, char const* name);
    static void ApplyNameLocked(DThreadImpl const& impl, pthread_t thread)
        VERRICK_REQUIRES(verrick::g_deathMutex);
    static bool HasLiveThreadLocked(DThreadImpl const& impl)
        VERRICK_REQUIRES(verrick::g_deathMutex);
    static verrick::RunFunction AwaitRun(DThreadImpl& impl);
    static verrick::RunFunction TryEnterRunLocked(DThreadImpl& impl)
        VERRICK_REQUIRES(verrick::g_deathMutex);
    static void LetGoLocked(DThreadImpl& impl) VERRICK_REQUIRES(verrick::g_deathMutex);
    static void WaitForEndOfParkedLocked(DThreadImpl& impl) VERRICK_REQUIRES(verrick::g_deathMutex);
    static int WaitForOtherJoinLocked(DThreadImpl& impl, int timeoutMs)
        VERRICK_REQUIRES(verrick::g_deathMutex);
};

// The turn of the one caller that joins. Begins with m_deathMutex held and ends without it. It
// ends, and wakes those who wait beside it, also when the caller is cancelled in its join.
class DThreadImpl::JoinTurn {
public:
    // Announces the turn.
    static void BeginLocked(DThreadImpl& impl) VERRICK_REQUIRES(verrick::g_deathMutex) {
        ++impl.m_waiters;
        impl.m_joining = true;
    }

    // Takes over the turn that has been announced.
    JoinTurn(DThreadImpl& impl, pthread_t thread) : m_impl(impl), m_thread(thread) {}
    ~JoinTurn();
    JoinTurn(JoinTurn const&) = delete;
    JoinTurn& operator=(JoinTurn const&) = delete;

    // Joins the thread. Returns the error, which is ETIMEDOUT if the thread doesn't end in time.
    int Join(int timeoutMs);

private:
    DThreadImpl& m_impl;
    pthread_t const m_thread;
    bool m_isJoined = false;
};
