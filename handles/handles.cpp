// One source for all of it, so that the way from a handle to the object's code is inlined.
#include <verrick/handles.h>

#include "frame/deadline.h"
#include "frame/mutex.h"
#include "frame/sleep.h"
#include "frame/waiting.h"
#include <verrick/flat/frame.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>

namespace {

constexpr unsigned long kAnyType = 0;
constexpr unsigned long kNoType = 0;

using verrick::CountedWaiter;
using verrick::relaxed;

XEvent* EventFromHandle(HANDLE handle) {
    return static_cast<XEvent*>(XHandleObject::ObjectFromHandle(handle, XEVENT_TYPE_TAG));
}

XSemaphore* SemaphoreFromHandle(HANDLE handle) {
    return static_cast<XSemaphore*>(XHandleObject::ObjectFromHandle(handle, XSEMAPHORE_TYPE_TAG));
}

int WaitForPost(sem_t& semaphore, unsigned long timeoutMs) {
    auto const timeout32Ms = static_cast<std::uint32_t>(timeoutMs);
    if (timeout32Ms == INFINITE) {
        return sem_wait(&semaphore);
    }
    timespec const deadline = verrick::FlatDeadlineAfter(timeout32Ms);
    return sem_timedwait(&semaphore, &deadline);
}

} // namespace

XHandleObject::XHandleObject(unsigned long type) : m_type(type) {}

// The tag is volatile, or the compiler would drop this last store to a dying object.
XHandleObject::~XHandleObject() {
    m_type = kNoType;
}

XHandleObject* XHandleObject::ObjectFromHandle(void* handle, unsigned long type) {
    auto* const object = static_cast<XHandleObject*>(handle);
    if (object == nullptr || (type != kAnyType && object->m_type != type)) {
        return nullptr;
    }
    return object;
}

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
    return WaitHeld(timeoutMs);
}

unsigned long XEvent::WaitHeld(unsigned long timeoutMs) {
    if (m_closing.load(relaxed) != 0) {
        return WAIT_FAILED;
    }
    if (m_signaled.load(relaxed) != 0) {
        if (m_manualReset == 0) {
            m_signaled.store(0, relaxed);
        }
        return WAIT_OBJECT_0;
    }
    // The state is not looked at again: every wake-up counts, for a signal to a waiter leaves none.
    CountedWaiter counted(m_waiters);
    auto const timeout32Ms = static_cast<std::uint32_t>(timeoutMs);
    switch (timeout32Ms == INFINITE ? WaitForever() : WaitOnce(timeout32Ms)) {
    case 0:
        return WAIT_OBJECT_0;
    case ETIMEDOUT:
        return WAIT_TIMEOUT;
    default:
        return WAIT_FAILED;
    }
}

// Both block on the condition and give the error of the wait. The wait's result is the error: errno
// may hold anything.
int XEvent::WaitForever() {
    for (;;) {
        int const error = pthread_cond_wait(&m_cond, &m_mutex);
        if (error == 0) {
            return 0;
        }
        if (error != EINTR) {
            std::puts("pthread_cond_wait returned error (other than EINTR)");
            return error;
        }
        verrick::SleepMs(verrick::kRetryMs);
    }
}

int XEvent::WaitOnce(unsigned int timeoutMs) {
    timespec const deadline = verrick::FlatDeadlineAfter(timeoutMs);
    return pthread_cond_timedwait(&m_cond, &m_mutex, &deadline);
}

int XEvent::SetToSignaledState() {
    if (m_closing.load(relaxed) != 0) {
        return 0;
    }
    verrick::MutexLock lock(m_mutex);
    return SignalHeld();
}

// With a waiter the state stays clear: the wake-up itself is the signal, and the woken thread finds
// nothing to consume. Without one there is nobody to wake.
int XEvent::SignalHeld() {
    if (m_manualReset == 0) {
        bool const hasWaiters = m_waiters.load(relaxed) > 0;
        m_signaled.store(hasWaiters ? 0 : 1, relaxed);
        return !hasWaiters || pthread_cond_signal(&m_cond) == 0 ? 1 : 0;
    }
    m_signaled.store(1, relaxed);
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
        verrick::SleepMs(verrick::kDrainMs);
    }
    pthread_mutex_lock(&m_mutex);
    pthread_mutex_unlock(&m_mutex);
    verrick::DestroyErrorCheckMutex(m_mutex, m_mutexAttr);
    pthread_cond_destroy(&m_cond);
    return 1;
}

// The semaphore is zeroed first, because sem_init leaves it as it is when it refuses the count.
XSemaphore::XSemaphore(long initialCount, long maxCount)
    : XHandleObject(XSEMAPHORE_TYPE_TAG), m_sem(), m_max(maxCount),
      m_count(static_cast<int>(initialCount)) {
    sem_init(&m_sem, 0, static_cast<unsigned int>(initialCount));
}

XSemaphore::~XSemaphore() = default;

// An interrupted wait has failed; unlike an event's it isn't taken up again.
unsigned long XSemaphore::WaitForSingleObject(unsigned long timeoutMs) {
    if (WaitForPost(m_sem, timeoutMs) == 0) {
        InterlockedDecrement(&m_count);
        return WAIT_OBJECT_0;
    }
    return errno == ETIMEDOUT ? WAIT_TIMEOUT : WAIT_FAILED;
}

int XSemaphore::SetToSignaledState() {
    if (sem_post(&m_sem) != 0) {
        return 0;
    }
    InterlockedIncrement(&m_count);
    return 1;
}

int XSemaphore::CloseHandle() {
    sem_destroy(&m_sem);
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
    object->m_signaled.store(0, relaxed);
    return 1;
}

int ResetEvent(HANDLE event) {
    XEvent* const object = EventFromHandle(event);
    if (object == nullptr) {
        return 0;
    }
    verrick::MutexLock lock(object->m_mutex);
    object->m_signaled.store(0, relaxed);
    return 1;
}

HANDLE CreateSemaphore(void* attributes, long initialCount, long maxCount, wchar_t const* name) {
    if (attributes != nullptr || name != nullptr) {
        return nullptr;
    }
    return static_cast<XHandleObject*>(new XSemaphore(initialCount, maxCount));
}

int ReleaseSemaphore(HANDLE semaphore, long count, long* previousCount) {
    XSemaphore* const object = SemaphoreFromHandle(semaphore);
    if (object == nullptr || count < 1) {
        return 0;
    }
    long const previous = __atomic_load_n(&object->m_count, __ATOMIC_RELAXED);
    if (previousCount != nullptr) {
        *previousCount = previous;
    }
    long total = 0;
    if (__builtin_add_overflow(previous, count, &total) || total > object->m_max) {
        return 0;
    }
    for (; count > 0; --count) {
        object->XSemaphore::SetToSignaledState();
    }
    return 1;
}

unsigned long WaitForSingleObject(HANDLE handle, unsigned long timeoutMs) {
    auto* const object = XHandleObject::ObjectFromHandle(handle, kAnyType);
    return object != nullptr ? object->WaitForSingleObject(timeoutMs) : WAIT_FAILED;
}

int CloseHandle(HANDLE handle) {
    auto* const object = XHandleObject::ObjectFromHandle(handle, kAnyType);
    if (object == nullptr) {
        return 0;
    }
    int const result = object->CloseHandle();
    delete object;
    return result;
}
