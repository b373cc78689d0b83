#include "threads/listener_call.h"

#include "frame/mutex.h"
#include "frame/time_units.h"
#include "frame/waiting.h"
#include "threads/signals.h"

#include <ctime>

namespace verrick {
namespace {

static_assert(kStuckCallMs % kMsPerSecond == 0);

thread_local bool t_inListener = false;

} // namespace

// The clock is the monotonic one, so that setting the system's time moves no bound. What the system
// refuses to make is zero, and works as a plain condition.
ListenerCall::ListenerCall() : m_maskOfNewThreads(MaskOfNewThreads()), m_ended() {
    InitErrorCheckMutex(m_mutex, m_mutexAttr);
    pthread_condattr_t attributes{};
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&m_ended, &attributes);
    pthread_condattr_destroy(&attributes);
}

ListenerCall::~ListenerCall() {
    DestroyErrorCheckMutex(m_mutex, m_mutexAttr);
    pthread_cond_destroy(&m_ended);
}

bool ListenerCall::IsOnThisThread() {
    return t_inListener;
}

void ListenerCall::Begin(ITimerListener* listener, unsigned int id) {
    t_inListener = true;
    SetMaskOfNewThreads(&m_maskOfNewThreads);
    MutexLock lock(m_mutex);
    m_listener.store(listener, relaxed);
    m_id = id;
    m_caller = pthread_self();
    ++m_number;
}

void ListenerCall::End() {
    t_inListener = false;
    SetMaskOfNewThreads(nullptr);
    MutexLock lock(m_mutex);
    m_listener.store(nullptr, std::memory_order_release);
    pthread_cond_broadcast(&m_ended);
}

// A call that the caller's Destroy must wait for began before. It began under the lock of the queue
// from which Destroy flushes, or before a listener made the timer anew. So the first look needs no
// lock.
void ListenerCall::AwaitEndOf(ITimerListener* listener, unsigned int id) {
    if (m_listener.load(std::memory_order_acquire) != listener) {
        return;
    }
    MutexLock lock(m_mutex);
    if (m_listener.load(relaxed) == listener && m_id == id) {
        AwaitEndLocked();
    }
}

void ListenerCall::AwaitEnd() {
    MutexLock lock(m_mutex);
    AwaitEndLocked();
}

void ListenerCall::AwaitEndLocked() {
    timespec deadline{};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += kStuckCallMs / kMsPerSecond;
    std::uint64_t const number = m_number;
    while (m_listener.load(relaxed) != nullptr && m_number == number &&
           pthread_equal(m_caller, pthread_self()) == 0 &&
           pthread_cond_timedwait(&m_ended, &m_mutex, &deadline) == 0) {
    }
}

} // namespace verrick
