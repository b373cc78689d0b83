// How a thread is waited for and let go.
#include "frame/deadline.h"
#include "frame/relaxed.h"
#include "frame/wait_result.h"
#include "frame/waiting.h"
#include "threads/object_use.h"
#include "threads/thread_steps.h"
#include "threads/thread_values.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

using verrick::DeathLock;
using verrick::kForever;
using verrick::kNoThread;
using verrick::ObjectUse;
using verrick::relaxed;

// A Kill of a parked thread joins too, but only WaitForThreadDeath notes it. A Kill that came
// during the join of another caller couldn't detach the thread, so that is done here.
DThreadImpl::JoinTurn::~JoinTurn() {
    DeathLock const lock(m_impl.m_deathMutex);
    --m_impl.m_waiters;
    m_impl.m_joining = false;
    bool const isLetGo = m_impl.m_state == State::LetGo;
    if (m_isJoined && m_impl.m_started.load(relaxed) != 0) {
        m_impl.m_joined.store(1, relaxed);
        m_impl.m_state = isLetGo ? State::LetGo : State::Joined;
    } else if (!m_isJoined && isLetGo) {
        m_impl.m_use->Detach(m_thread);
    }
    pthread_cond_broadcast(&m_impl.m_deathCond);
}

// Looks once if the time is already over. It is a cancellation point in every case.
int DThreadImpl::JoinTurn::Join(int timeoutMs) {
    int error = 0;
    if (timeoutMs == kForever) {
        error = pthread_join(m_thread, nullptr);
    } else if (timeoutMs > 0) {
        timespec const deadline = verrick::DeadlineAfter(timeoutMs);
        error = pthread_timedjoin_np(m_thread, nullptr, &deadline);
    } else {
        pthread_testcancel();
        error = pthread_tryjoin_np(m_thread, nullptr);
        error = error == EBUSY ? ETIMEDOUT : error;
    }
    m_isJoined = error == 0;
    return error;
}

// All is settled when the message is printed, which is where the caller may be cancelled.
void DThreadImpl::Kill() {
    char name[sizeof m_name] = {};
    bool isDetached = false;
    pthread_t thread{};
    State before{};
    {
        DeathLock const lock(m_deathMutex);
        before = m_state;
        thread = m_thread.load(relaxed);
        std::memcpy(name, m_name, sizeof name);
        switch (before) {
        case State::NoThread:
            return;
        case State::LetGo:
            Steps::WaitForEndOfParkedLocked(*this);
            return;
        case State::Parked:
            JoinTurn::BeginLocked(*this);
            break;
        case State::Started:
        case State::InRun:
            isDetached = m_joining || m_use->Detach(thread) == 0;
            break;
        case State::Joined:
            break;
        }
        Steps::LetGoLocked(*this);
    }
    if (before == State::Parked) {
        JoinTurn(*this, thread).Join(kForever);
    } else if (before != State::Joined) {
        std::printf(isDetached ? "pthread_detached successfull for thread (%s).\n"
                               : "pthread_detached failed for thread (%s).\n",
                    name);
    }
}

void DThreadImpl::Steps::LetGoLocked(DThreadImpl& impl) {
    bool const wasParked = impl.m_state == State::Parked;
    impl.m_state = State::LetGo;
    impl.m_killed.store(1, relaxed);
    impl.m_thread.store(kNoThread, relaxed);
    if (wasParked) {
        impl.m_continue.Signal();
    }
}

// Another Kill may be ending the thread, which was parked: then this one returns with that one.
void DThreadImpl::Steps::WaitForEndOfParkedLocked(DThreadImpl& impl) {
    while (impl.m_joining && impl.m_started.load(relaxed) == 0) {
        pthread_cond_wait(&impl.m_deathCond, &impl.m_deathMutex);
    }
}

// The thread itself must not even wait beside a joining caller, who waits for it. Its POSIX id
// wouldn't tell it: the system gives the id of a joined thread to another one.
int DThreadImpl::WaitForThreadDeath(int timeoutMs) {
    if (m_started.load(relaxed) == 0) {
        std::printf("WaitForThreadDeath::Run not started. or invalid thread handle\n");
        return WAIT_RESULT_FAILED;
    }
    pthread_t thread{};
    {
        DeathLock const lock(m_deathMutex);
        if (m_state == State::Joined) {
            return WAIT_RESULT_OK;
        }
        if (m_state == State::LetGo || ObjectUse::OfCallingThread() == m_use) {
            return WAIT_RESULT_FAILED;
        }
        if (m_joining) {
            return Steps::WaitForOtherJoinLocked(*this, timeoutMs);
        }
        thread = m_thread.load(relaxed);
        JoinTurn::BeginLocked(*this);
    }
    return verrick::WaitResultOf(JoinTurn(*this, thread).Join(timeoutMs));
}

// Waits once: whatever wakes the caller ends its call.
int DThreadImpl::Steps::WaitForOtherJoinLocked(DThreadImpl& impl, int timeoutMs) {
    class Counted {
    public:
        explicit Counted(int& waiters) : m_waiters(waiters) { ++m_waiters; }
        ~Counted() { --m_waiters; }

    private:
        int& m_waiters;
    };
    Counted const counted(impl.m_waiters);
    if (timeoutMs == kForever) {
        pthread_cond_wait(&impl.m_deathCond, &impl.m_deathMutex);
    } else if (timeoutMs > 0) {
        timespec const deadline = verrick::DeadlineAfter(timeoutMs);
        pthread_cond_timedwait(&impl.m_deathCond, &impl.m_deathMutex, &deadline);
    } else {
        pthread_testcancel();
    }
    return impl.m_joined.load(relaxed) != 0 ? WAIT_RESULT_OK : WAIT_RESULT_TIMEOUT;
}
