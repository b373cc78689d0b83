// One source for all of it, so that the way from a handle to the object's code is inlined.
#include <verrick/handles.h>

#include "frame/event_core.h"
#include "frame/semaphore_counts.h"
#include "frame/timeout.h"
#include <verrick/flat/frame.h>

#include <algorithm>
#include <cerrno>
#include <climits>

namespace {

constexpr unsigned long kAnyType = 0;
constexpr unsigned long kNoType = 0;

using verrick::relaxed;

XEvent* EventFromHandle(HANDLE handle) {
    return static_cast<XEvent*>(XHandleObject::ObjectFromHandle(handle, XEVENT_TYPE_TAG));
}

XSemaphore* SemaphoreFromHandle(HANDLE handle) {
    return static_cast<XSemaphore*>(XHandleObject::ObjectFromHandle(handle, XSEMAPHORE_TYPE_TAG));
}

unsigned long WaitResult(int error) {
    switch (error) {
    case 0:
        return WAIT_OBJECT_0;
    case ETIMEDOUT:
        return WAIT_TIMEOUT;
    default:
        return WAIT_FAILED;
    }
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

struct XEvent::Fields {
    using Word = int;
    static constexpr char const* kWaitFailed =
        "pthread_cond_wait returned error (other than EINTR)";

    verrick::EventState<Word>& State() const { return m_event.m_signaled; }
    std::atomic<int>& WaiterCount() const { return m_event.m_waiters; }
    std::atomic<int>& Ending() const { return m_event.m_closing; }
    verrick::EventHandover& Handover() const { return m_event.m_handover; }
    bool IsAutoReset() const { return m_event.m_manualReset == 0; }
    pthread_cond_t& Condition() const { return m_event.m_cond; }
    pthread_mutex_t& Mutex() const { return m_event.m_mutex; }
    pthread_mutexattr_t& MutexAttribute() const { return m_event.m_mutexAttr; }

    XEvent& m_event;
};

struct XEvent::Core : verrick::EventCore<Fields> {
    explicit Core(XEvent& event) : EventCore(Fields{event}) {}
};

XEvent::XEvent(int initialState, int manualReset)
    : XHandleObject(XEVENT_TYPE_TAG), m_manualReset(manualReset), m_signaled(initialState),
      m_waiters(0), m_closing(0) {
    Core(*this).Create();
}

XEvent::~XEvent() = default;

unsigned long XEvent::WaitForSingleObject(unsigned long timeoutMs) {
    return WaitResult(Core(*this).Wait(verrick::FlatTimeout(timeoutMs)));
}

int XEvent::SetToSignaledState() {
    Core const core(*this);
    return !core.IsEnding() && core.Signal() == 0 ? 1 : 0;
}

int XEvent::CloseHandle() {
    Core const core(*this);
    return !core.IsEnding() && core.End() ? 1 : 0;
}

// The semaphore is zeroed first, because sem_init leaves it as it is when it refuses the count.
XSemaphore::XSemaphore(long initialCount, long maxCount)
    : XHandleObject(XSEMAPHORE_TYPE_TAG), m_sem(), m_max(maxCount), m_count(0) {
    if (sem_init(&m_sem, 0, static_cast<unsigned int>(initialCount)) != 0) {
        m_count = static_cast<int>(initialCount);
    }
}

XSemaphore::~XSemaphore() = default;

unsigned long XSemaphore::WaitForSingleObject(unsigned long timeoutMs) {
    if (verrick::TakeCount(m_sem, verrick::FlatTimeout(timeoutMs)) != 0) {
        return WaitResult(errno);
    }
    verrick::DrawFromBank(m_sem, m_count);
    return WAIT_OBJECT_0;
}

int XSemaphore::SetToSignaledState() {
    return sem_post(&m_sem) == 0 ? 1 : 0;
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
    XEvent::Core(*object).Pulse();
    return 1;
}

int ResetEvent(HANDLE event) {
    XEvent* const object = EventFromHandle(event);
    if (object == nullptr) {
        return 0;
    }
    XEvent::Core(*object).Reset();
    return 1;
}

HANDLE CreateSemaphore(void* attributes, long initialCount, long maxCount, wchar_t const* name) {
    if (attributes != nullptr || name != nullptr || initialCount > INT_MAX ||
        initialCount < INT_MIN) {
        return nullptr;
    }
    return static_cast<XHandleObject*>(new XSemaphore(initialCount, maxCount));
}

int ReleaseSemaphore(HANDLE semaphore, long count, long* previousCount) {
    XSemaphore* const object = SemaphoreFromHandle(semaphore);
    if (object == nullptr || count < 1) {
        return 0;
    }
    int posted = 0;
    sem_getvalue(&object->m_sem, &posted);
    long long const previous = static_cast<long long>(posted) + object->m_count.load(relaxed);
    if (previousCount != nullptr) {
        *previousCount = static_cast<long>(previous);
    }
    if (count > INT_MAX || previous + count > std::min<long long>(object->m_max, SEM_VALUE_MAX)) {
        return 0;
    }
    verrick::PostCounts(object->m_sem, object->m_count, static_cast<int>(count));
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
    if (result != 0) { // another thread has begun to close it, and deletes it
        delete object;
    }
    return result;
}
