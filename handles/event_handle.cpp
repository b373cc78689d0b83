#include <verrick/handles.h>

#include "frame/deadline.h"
#include "frame/mutex.h"
#include <verrick/time_primitives.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>

namespace {

constexpr unsigned int kRetryMs = 10; // after an interrupted wait
constexpr unsigned int kDrainMs = 5;  // between two looks at the waiters of a closing event

constexpr auto relaxed = std::memory_order_relaxed;

// Counts the caller among the waiters for a scope, under the event's mutex; a cancelled thread
// leaves the count, too, or CloseHandle would wait for it for ever.
class CountedWaiter {
public:
    explicit CountedWaiter(std::atomic<int>& waiters) : m_waiters(waiters) {
        m_waiters.store(m_waiters.load(relaxed) + 1, relaxed);
    }
    ~CountedWaiter() { m_waiters.store(m_waiters.load(relaxed) - 1, relaxed); }
    CountedWaiter(CountedWaiter const&) = delete;
    CountedWaiter& operator=(CountedWaiter const&) = delete;

private:
    std::atomic<int>& m_waiters;
};

XEvent* EventFromHandle(HANDLE handle) {
    return static_cast<XEvent*>(XHandleObject::ObjectFromHandle(handle, XEVENT_TYPE_TAG));
}

} // namespace

XEvent::XEvent(int initialState, int manualReset)
    : XHandleObject(XEVENT_TYPE_TAG), m_manualReset(manualReset), m_signaled(initialState),
      m_waiters(0), m_closing(0) {
    pthread_cond_init(&m_cond, nullptr);
    verrick::InitErrorCheckMutex(m_mutex, m_mutexAttr);
}

XEvent::~XEvent() = default;

unsigned long XEvent::WaitForSingleObject(unsigned long timeoutMs) {
    if (m_closing.load(relaxed) != 0) {
        return WAIT_FAILED;
    }
    verrick::MutexLock lock(m_mutex);
    if (m_closing.load(relaxed) != 0) {
        return WAIT_FAILED;
    }
    if (m_signaled != 0) {
        if (m_manualReset == 0) {
            m_signaled = 0;
        }
        return WAIT_OBJECT_0;
    }
    // The state is not looked at again: every wake-up counts, for a signal to a waiter leaves none.
    CountedWaiter counted(m_waiters);
    switch (WaitForCondition(timeoutMs)) {
    case 0:
        return WAIT_OBJECT_0;
    case ETIMEDOUT:
        return WAIT_TIMEOUT;
    default:
        return WAIT_FAILED;
    }
}

// Blocks on the condition, once where there is a time-out, and gives the error of the wait. The
// wait's result is the error: errno may hold anything.
int XEvent::WaitForCondition(unsigned long timeoutMs) {
    auto const timeout32Ms = static_cast<std::uint32_t>(timeoutMs);
    if (timeout32Ms != INFINITE) {
        timespec const deadline = verrick::FlatDeadlineAfter(timeout32Ms);
        return pthread_cond_timedwait(&m_cond, &m_mutex, &deadline);
    }
    for (;;) {
        int const error = pthread_cond_wait(&m_cond, &m_mutex);
        if (error == 0) {
            return 0;
        }
        if (error != EINTR) {
            std::puts("pthread_cond_wait returned error (other than EINTR)");
            return error;
        }
        ::Sleep(kRetryMs);
    }
}

// With a waiter the state stays clear: the wake-up itself is the signal, and the woken thread finds
// nothing to consume.
int XEvent::SetToSignaledState() {
    if (m_closing.load(relaxed) != 0) {
        return 0;
    }
    verrick::MutexLock lock(m_mutex);
    if (m_manualReset == 0) {
        m_signaled = m_waiters.load(relaxed) > 0 ? 0 : 1;
        return pthread_cond_signal(&m_cond) == 0 ? 1 : 0;
    }
    m_signaled = 1;
    return pthread_cond_broadcast(&m_cond) == 0 ? 1 : 0;
}

// The flag and the broadcast stand under the mutex, and the wait looks at the flag again under it,
// so that no thread on its way into its wait misses the broadcast. The last lock and unlock lets
// the last waiter get out of the mutex before that goes.
int XEvent::CloseHandle() {
    if (m_closing.load(relaxed) != 0) {
        return 0;
    }
    {
        verrick::MutexLock lock(m_mutex);
        m_closing.store(1, relaxed);
        pthread_cond_broadcast(&m_cond);
    }
    while (m_waiters.load(relaxed) > 0) {
        ::Sleep(kDrainMs);
    }
    pthread_mutex_lock(&m_mutex);
    pthread_mutex_unlock(&m_mutex);
    verrick::DestroyErrorCheckMutex(m_mutex, m_mutexAttr);
    pthread_cond_destroy(&m_cond);
    return 1;
}

HANDLE CreateEvent(void* /*attributes*/, int manualReset, int initialState,
                   wchar_t const* /*name*/) {
    return static_cast<XHandleObject*>(new XEvent(initialState, manualReset));
}

int SetEvent(HANDLE event) {
    XEvent* const object = EventFromHandle(event);
    return object != nullptr ? object->SetToSignaledState() : 0;
}

int PulseEvent(HANDLE event) {
    XEvent* const object = EventFromHandle(event);
    if (object == nullptr) {
        return 0;
    }
    verrick::MutexLock lock(object->m_mutex);
    pthread_cond_signal(&object->m_cond);
    object->m_signaled = 0;
    return 1;
}

int ResetEvent(HANDLE event) {
    XEvent* const object = EventFromHandle(event);
    if (object == nullptr) {
        return 0;
    }
    verrick::MutexLock lock(object->m_mutex);
    object->m_signaled = 0;
    return 1;
}
