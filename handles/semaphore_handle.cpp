#include <verrick/handles.h>

#include "frame/deadline.h"
#include <verrick/flat/frame.h>

#include <cerrno>
#include <cstdint>

namespace {

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
        object->SetToSignaledState();
    }
    return 1;
}
