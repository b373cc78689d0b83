#include "frame/limits.h"
#include "frame/waiting.h"
#include "threads/object_use.h"
#include <verrick/timers.h>

#include <algorithm>

namespace {

constexpr unsigned int kPoolSize = 256;
constexpr int kPriority = 99;
constexpr int kCreateParked = 2; // no bit of it has an effect: bit 0 is clear

} // namespace

DTimerDispatch::DTimerDispatch()
    : DThread("TimerDispatch Thread", kPriority, verrick::kSmallestStackBytes, kCreateParked),
      m_queueEvent(false, false), m_peakQueueLength(0), m_pool(new TimerListItem[kPoolSize]) {
    std::for_each(m_pool, m_pool + kPoolSize, [](TimerListItem& item) { item.m_inUse = false; });
}

// A thread that is waiting for work is woken and sees that the object is closing. From a listener,
// this is the dispatch thread itself: it sees it when that listener returns.
DTimerDispatch::~DTimerDispatch() {
    verrick::ObjectUse& use = verrick::ObjectUse::Of(*this);
    use.Forbid();
    {
        DMonitor monitor(m_csQueue);
        m_queueEvent.Signal();
    }
    DThread::Kill();
    use.WaitUntilUnused();
    delete[] m_pool;
}

void DTimerDispatch::Enqueue(ITimerListener* listener, unsigned int id) {
    DMonitor monitor(m_csQueue);
    if (TimerListItem* const item = FindFreeSlot()) {
        item->m_inUse = true;
        item->m_listener = listener;
        item->m_id = id;
        bool const wasEmpty = m_queue.IsEmpty();
        m_queue.AddTail(item);
        if (wasEmpty) {
            m_queueEvent.Signal();
        }
    }
    m_peakQueueLength = std::max(m_peakQueueLength, m_queue.Size());
}

DTimerDispatch::TimerListItem* DTimerDispatch::FindFreeSlot() {
    auto* const end = m_pool + kPoolSize;
    auto* const found =
        std::find_if(m_pool, end, [](TimerListItem const& item) { return !item.m_inUse; });
    return found != end ? found : nullptr;
}

void DTimerDispatch::FlushQueue(ITimerListener* listener, unsigned int id) {
    DMonitor monitor(m_csQueue);
    DListItem* next = m_queue.Next(nullptr);
    while (next != nullptr) {
        auto* const item = static_cast<TimerListItem*>(next);
        next = m_queue.Next(item);
        if (item->m_listener == listener && item->m_id == id) {
            m_queue.Remove(item);
            item->m_inUse = false;
        }
    }
}

// The whole loop is one visit to the object, listener calls included: the destructor waits for
// them. A listener that destroys the object closes it, and then nothing of it is looked at any
// more.
void DTimerDispatch::Run() {
    verrick::UseScope use = verrick::UseScope::OfRun(*this);
    while (use.IsAllowed()) {
        m_queueEvent.Wait(verrick::kForever);
        bool more = use.IsAllowed();
        while (more) {
            TimerListItem* const item = TakeHead();
            if (item != nullptr) {
                item->m_listener->OnTimerExpired(item->m_id);
            }
            more = use.IsAllowed() && RetireSlot(item);
        }
    }
}

DTimerDispatch::TimerListItem* DTimerDispatch::TakeHead() {
    DMonitor monitor(m_csQueue);
    return static_cast<TimerListItem*>(m_queue.RemoveHead());
}

// Frees the slot of a delivery, and says whether more is queued. The event is reset under the lock
// under which Enqueue sets it, so no expiry waits behind a reset event.
bool DTimerDispatch::RetireSlot(TimerListItem* item) {
    DMonitor monitor(m_csQueue);
    if (item != nullptr) {
        item->m_inUse = false;
    }
    bool const isEmpty = m_queue.IsEmpty();
    if (isEmpty) {
        m_queueEvent.Reset();
    }
    return !isEmpty;
}
