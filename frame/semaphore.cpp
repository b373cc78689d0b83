#include <verrick/semaphore.h>

#include "frame/facade.h"
#include "frame/interlocked_access.h"
#include "frame/semaphore_counts.h"
#include "frame/timeout.h"
#include "frame/wait_result.h"
#include <verrick/strings.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>

namespace {

using verrick::InterlockedAccess;
using verrick::relaxed;

CSemaphoreList g_semaphoreList;

// Reserves as many of count as fit below the maximum, and returns that number.
int ReserveCounts(std::atomic<int>& value, int maximum, unsigned int count) {
    int seen = value.load(relaxed);
    for (;;) {
        std::int64_t const room = std::int64_t{maximum} - seen;
        if (room <= 0) {
            return 0;
        }
        int const raise =
            static_cast<int>(std::min({room, std::int64_t{count}, std::int64_t{INT_MAX}}));
        if (value.compare_exchange_weak(seen, seen + raise, relaxed)) {
            return raise;
        }
    }
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

// The count rises before the posts. So nothing is touched after the last post, and the maximum is
// never passed.
void DSemaphoreImpl::Release(unsigned int count) {
    if (m_node == nullptr) {
        return;
    }
    CSemaphoreNode& node = *m_node;
    int const raise = ReserveCounts(InterlockedAccess::WordOf(node.m_count), node.m_max, count);
    verrick::PostCounts(node.m_sem, node.m_bank, raise);
}

wait_result_t DSemaphoreImpl::Wait(int timeoutMs) {
    if (m_node == nullptr) {
        return WAIT_RESULT_FAILED;
    }
    CSemaphoreNode& node = *m_node;
    if (verrick::TakeCount(node.m_sem, verrick::ObjectTimeout(timeoutMs)) != 0) {
        return verrick::WaitResultOf(errno);
    }
    verrick::DrawFromBank(node.m_sem, node.m_bank);
    InterlockedAccess::WordOf(node.m_count).fetch_sub(1, relaxed);
    return WAIT_RESULT_OK;
}

// The semaphore is zeroed first, because sem_init leaves it as it is when it refuses the count.
CSemaphoreNode::CSemaphoreNode(unsigned int initialCount, unsigned int maxCount,
                               wchar_t const* name)
    : m_name(nullptr), m_sem(), m_max(static_cast<int>(maxCount)),
      m_count(static_cast<int>(initialCount)), m_refCount(1), m_bank(0) {
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
    for (DListItem* item = Next(nullptr); item != nullptr; item = Next(item)) {
        auto* const node = static_cast<CSemaphoreNode*>(item);
        if (_stricmp(name, node->m_name) == 0) {
            node->AddRef();
            return node;
        }
    }
    auto* const node = new CSemaphoreNode(initialCount, maxCount, name);
    AddHead(node);
    return node;
}
