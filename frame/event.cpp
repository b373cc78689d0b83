#include <verrick/event.h>

#include "frame/deadline.h"
#include "frame/facade.h"
#include "frame/mutex.h"
#include "frame/sleep.h"
#include "frame/waiting.h"

#include <cerrno>
#include <cstdio>

namespace {

using verrick::CountedWaiter;
using verrick::relaxed;

} // namespace

IEvent::IEvent() = default;
IEvent::~IEvent() = default;

DEvent::DEvent(bool initialState, bool autoReset)
    : m_impl(new DEventImpl(initialState, autoReset)) {}

DEvent::~DEvent() {
    delete m_impl;
}

void DEvent::Signal() {
    verrick::Forward(m_impl, &IEvent::Signal);
}

void DEvent::Reset() {
    verrick::Forward(m_impl, &IEvent::Reset);
}

wait_result_t DEvent::Wait(int timeoutMs) {
    return verrick::ForwardOr(WAIT_RESULT_FAILED, m_impl, &IEvent::Wait, timeoutMs);
}

DEventImpl::DEventImpl(bool initialState, bool autoReset)
    : m_autoReset(autoReset), m_signaled(initialState), m_waiters(0), m_destroying(0),
      m_signalling(0) {
    pthread_cond_init(&m_cond, nullptr);
    verrick::InitErrorCheckMutex(m_mutex, m_mutexAttr);
}

// The flag and the broadcast stand under the mutex, and Wait looks at the flag again under it, so
// that no thread on its way into its wait misses the broadcast. The last lock and unlock lets the
// last waiter get out of the mutex before that goes.
DEventImpl::~DEventImpl() {
    {
        verrick::MutexLock lock(m_mutex);
        m_destroying.store(1, relaxed);
        pthread_cond_broadcast(&m_cond);
    }
    while (m_waiters.load(relaxed) > 0 || m_signalling.load(std::memory_order_acquire) > 0) {
        verrick::SleepMs(verrick::kDrainMs);
    }
    pthread_mutex_lock(&m_mutex);
    pthread_mutex_unlock(&m_mutex);
    verrick::DestroyErrorCheckMutex(m_mutex, m_mutexAttr);
    pthread_cond_destroy(&m_cond);
}

// With a waiter the state stays clear: the wake-up itself is the signal, and the woken thread finds
// nothing to consume. Without one there is nobody to call the condition for.
//
// A waiter of an auto-reset event is woken once the mutex is free, or it would only wake to wait
// for the mutex. It may then go on to destroy the event, so the destructor waits for m_signalling.
void DEventImpl::Signal() {
    if (m_destroying.load(relaxed) != 0) {
        return;
    }
    {
        verrick::MutexLock lock(m_mutex);
        bool const awaited = m_waiters.load(relaxed) > 0;
        m_signaled = !m_autoReset || !awaited;
        if (!awaited || !m_autoReset) {
            if (awaited) {
                pthread_cond_broadcast(&m_cond);
            }
            return;
        }
        m_signalling.fetch_add(1, relaxed);
    }
    pthread_cond_signal(&m_cond);
    m_signalling.fetch_sub(1, std::memory_order_release);
}

void DEventImpl::Reset() {
    if (m_destroying.load(relaxed) != 0) {
        return;
    }
    verrick::MutexLock lock(m_mutex);
    m_signaled = false;
}

wait_result_t DEventImpl::Wait(int timeoutMs) {
    if (m_destroying.load(relaxed) != 0) {
        return WAIT_RESULT_FAILED;
    }
    verrick::MutexLock lock(m_mutex);
    if (m_destroying.load(relaxed) != 0) {
        return WAIT_RESULT_FAILED;
    }
    if (m_signaled) {
        m_signaled = !m_autoReset;
        return WAIT_RESULT_OK;
    }
    // The state is not looked at again: every wake-up counts, for a signal to a waiter leaves none.
    CountedWaiter counted(m_waiters);
    switch (WaitForCondition(timeoutMs)) {
    case 0:
        return WAIT_RESULT_OK;
    case ETIMEDOUT:
        return WAIT_RESULT_TIMEOUT;
    default:
        return WAIT_RESULT_FAILED;
    }
}

// Blocks on the condition, once where there is a time-out, and gives the error of the wait. The
// wait's result is the error: errno may hold anything.
int DEventImpl::WaitForCondition(int timeoutMs) {
    if (timeoutMs != verrick::kForever) {
        timespec const deadline = verrick::DeadlineAfter(timeoutMs);
        return pthread_cond_timedwait(&m_cond, &m_mutex, &deadline);
    }
    for (;;) {
        int const error = pthread_cond_wait(&m_cond, &m_mutex);
        if (error == 0) {
            return 0;
        }
        if (error != EINTR) {
            std::puts("sem_wait returned error (other than EINTR)");
            return error;
        }
        verrick::SleepMs(verrick::kRetryMs);
    }
}
