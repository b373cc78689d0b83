#include <verrick/semaphore.h>

#include "frame/deadline.h"
#include "frame/facade.h"
#include "frame/waiting.h"
#include <verrick/strings.h>

#include <cerrno>
#include <climits>

namespace {

CSemaphoreList g_semaphoreList;

// A deadline that the system refuses still lets a count be taken that can be had at once.
int WaitForPost(sem_t& semaphore, int timeoutMs) {
    if (timeoutMs == verrick::kForever) {
        return sem_wait(&semaphore);
    }
    timespec const deadline = verrick::DeadlineAfter(timeoutMs);
    if (!verrick::IsValidDeadline(deadline) && sem_trywait(&semaphore) == 0) {
        return 0;
    }
    return sem_timedwait(&semaphore, &deadline);
}

} // namespace

ISemaphore::ISemaphore() = default;
ISemaphore::~ISemaphore() = default;

DSemaphore::DSemaphore(unsigned int initialCount, unsigned int maxCount, wchar_t const* name)
    : m_impl(new DSemaphoreImpl(initialCount, maxCount, name)) {}

DSemaphore::~DSemaphore() {
    delete m_impl;
}

void DSemaphore::Release(unsigned int count) {
    verrick::Forward(m_impl, &ISemaphore::Release, count);
}

wait_result_t DSemaphore::Wait(int timeoutMs) {
    return verrick::ForwardOr(WAIT_RESULT_FAILED, m_impl, &ISemaphore::Wait, timeoutMs);
}

DSemaphoreImpl::DSemaphoreImpl(unsigned int initialCount, unsigned int maxCount,
                               wchar_t const* name)
    : m_node(g_semaphoreList.Create(initialCount, maxCount, name)) {}

DSemaphoreImpl::~DSemaphoreImpl() {
    if (m_node != nullptr) {
        m_node->Release();
        m_node = nullptr;
    }
}

// With a maximum of INT_MAX the count can wrap: to INT_MIN, which ends the release like a count
// above the maximum.
void DSemaphoreImpl::Release(unsigned int count) {
    if (m_node == nullptr) {
        return;
    }
    for (; count != 0; --count) {
        int const raised = m_node->m_count.Increment();
        if (raised > m_node->m_max || raised == INT_MIN) {
            m_node->m_count.Decrement();
            return;
        }
        sem_post(&m_node->m_sem);
    }
}

// An interrupted wait has failed; unlike an event's it isn't taken up again.
wait_result_t DSemaphoreImpl::Wait(int timeoutMs) {
    if (m_node == nullptr) {
        return WAIT_RESULT_FAILED;
    }
    if (WaitForPost(m_node->m_sem, timeoutMs) == 0) {
        m_node->m_count.Decrement();
        return WAIT_RESULT_OK;
    }
    return errno == ETIMEDOUT ? WAIT_RESULT_TIMEOUT : WAIT_RESULT_FAILED;
}

// The semaphore is zeroed first, because sem_init leaves it as it is when it refuses the count.
CSemaphoreNode::CSemaphoreNode(unsigned int initialCount, unsigned int maxCount,
                               wchar_t const* name)
    : m_name(nullptr), m_sem(), m_max(static_cast<int>(maxCount)),
      m_count(static_cast<int>(initialCount)), m_refCount(1) {
    if (name != nullptr) {
        m_name = _strdup(name);
    }
    sem_init(&m_sem, 0, initialCount);
}

CSemaphoreNode::~CSemaphoreNode() {
    delete[] m_name;
    m_name = nullptr;
    sem_destroy(&m_sem);
}

void CSemaphoreNode::AddRef() {
    m_refCount.Increment();
}

void CSemaphoreNode::Release() {
    if (m_name == nullptr) {
        delete this;
        return;
    }
    DMonitor monitor(g_semaphoreList.m_lock);
    if (m_refCount.Decrement() == 0) {
        g_semaphoreList.Remove(this);
        delete this;
    }
}

CSemaphoreList::CSemaphoreList() = default;
CSemaphoreList::~CSemaphoreList() = default;

CSemaphoreNode* CSemaphoreList::Create(unsigned int initialCount, unsigned int maxCount,
                                       wchar_t const* name) {
    if (name == nullptr || *name == L'\0') {
        return new CSemaphoreNode(initialCount, maxCount, nullptr);
    }
    DMonitor monitor(m_lock);
    CSemaphoreNode* node = FindAndAddRef(name);
    if (node == nullptr) {
        node = new CSemaphoreNode(initialCount, maxCount, name);
        AddHead(node);
    }
    return node;
}

CSemaphoreNode* CSemaphoreList::FindAndAddRef(wchar_t const* name) {
    for (DListItem* item = Next(nullptr); item != nullptr; item = Next(item)) {
        auto* const node = static_cast<CSemaphoreNode*>(item);
        if (_stricmp(name, node->m_name) == 0) {
            node->AddRef();
            return node;
        }
    }
    return nullptr;
}
