#include "threads/timer_dispatch.h"

#include "frame/limits.h"
#include "frame/waiting.h"
#include "threads/object_use.h"
#include "threads/signals.h"
#include "threads/thread_values.h"

#include <algorithm>
#include <bit>
#include <memory>

namespace {

constexpr int kPriority = 99;

} // namespace

std::size_t verrick::FreeEntries::Take() {
    for (std::size_t word = 0; word < m_words.size(); ++word) {
        if (m_words[word] != 0) {
            auto const bit = static_cast<std::size_t>(std::countr_zero(m_words[word]));
            m_words[word] &= m_words[word] - 1;
            return word * kBits + bit;
        }
    }
    return kCount;
}

void verrick::FreeEntries::Return(std::size_t entry) {
    m_words[entry / kBits] |= std::uint64_t{1} << entry % kBits;
}

DTimerDispatch::DTimerDispatch()
    : DThread(verrick::SignalsBlocked().During("TimerDispatch Thread"), kPriority,
              verrick::kSmallestStackBytes, verrick::kCreateParked),
      m_queueEvent(false, false), m_peakQueueLength(0), m_pool(nullptr), m_parts(nullptr) {
    auto pool = std::make_unique<TimerListItem[]>(verrick::FreeEntries::kCount);
    m_parts = new Parts;
    m_pool = pool.release();
}

// 1. No listener is called from here on. A thread that waits for work wakes up and ends.
// 2. A listener that is inside a call gets a second to return.
// 3. If it doesn't, its thread is let go. The thread is outside the object during a call, and looks
//    at nothing of it afterwards.
DTimerDispatch::~DTimerDispatch() {
    verrick::ObjectUse& use = verrick::ObjectUse::Of(*this);
    use.Forbid();
    {
        DMonitor queue(m_csQueue);
        m_queueEvent.Signal();
    }
    m_parts->m_call->AwaitEnd();
    DThread::Kill();
    use.WaitUntilUnused();
    delete m_parts;
    delete[] m_pool;
}

void DTimerDispatch::Enqueue(ITimerListener* listener, unsigned int id) {
    if (listener != nullptr) {
        Parts::Expiry const expiry{listener, id};
        Parts::EnqueueAll(*this, &expiry, 1);
        Parts::WakeUp(*this);
    }
}

void DTimerDispatch::Parts::EnqueueAll(DTimerDispatch& dispatch, Expiry const* first,
                                       std::size_t count) {
    DMonitor queue(dispatch.m_csQueue);
    for (Expiry const* expiry = first; expiry != first + count; ++expiry) {
        EnqueueLocked(dispatch, *expiry);
    }
}

void DTimerDispatch::Parts::WakeUp(DTimerDispatch& dispatch) {
    DMonitor queue(dispatch.m_csQueue);
    if (!dispatch.m_queue.IsEmpty()) {
        dispatch.m_queueEvent.Signal();
    }
}

// Drops the expiry if all entries are taken.
void DTimerDispatch::Parts::EnqueueLocked(DTimerDispatch& dispatch, Expiry const& expiry) {
    std::size_t const entry = dispatch.m_parts->m_free.Take();
    if (entry == verrick::FreeEntries::kCount) {
        return;
    }
    TimerListItem& item = dispatch.m_pool[entry];
    item.m_inUse = true;
    item.m_listener = expiry.m_listener;
    item.m_id = expiry.m_id;
    dispatch.m_queue.AddTail(&item);
    dispatch.m_peakQueueLength = std::max(dispatch.m_peakQueueLength, dispatch.m_queue.Size());
}

void DTimerDispatch::Parts::FreeEntry(DTimerDispatch& dispatch, TimerListItem* item) {
    item->m_inUse = false;
    dispatch.m_parts->m_free.Return(static_cast<std::size_t>(item - dispatch.m_pool));
}

void DTimerDispatch::FlushQueue(ITimerListener* listener, unsigned int id) {
    DMonitor queue(m_csQueue);
    DListItem* next = m_queue.Next(nullptr);
    while (next != nullptr) {
        auto* const item = static_cast<TimerListItem*>(next);
        next = m_queue.Next(item);
        if (item->m_listener == listener && item->m_id == id) {
            m_queue.Remove(item);
            Parts::FreeEntry(*this, item);
        }
    }
}

void DTimerDispatch::Parts::AwaitEndOfCall(DTimerDispatch& dispatch, ITimerListener* listener,
                                           unsigned int id) {
    dispatch.m_parts->m_call->AwaitEndOf(listener, id);
}

// The loop is inside the object but for the calls of listeners. After a call it looks first whether
// it may come back: a listener may have destroyed the object, or taken too long.
void DTimerDispatch::Run() {
    verrick::UseScope use = verrick::UseScope::OfRun(*this);
    while (use.IsAllowed()) {
        m_queueEvent.Wait(verrick::kForever);
        bool isMore = use.IsAllowed();
        while (isMore) {
            TimerListItem* const item = Parts::BeginDelivery(*this);
            if (item != nullptr) {
                std::shared_ptr<verrick::ListenerCall> const call = m_parts->m_call;
                verrick::EndOfListenerCall const end(call);
                ITimerListener* const listener = item->m_listener;
                unsigned int const id = item->m_id;
                if (!use.PauseForCallback()) {
                    return;
                }
                listener->OnTimerExpired(id);
                if (!use.Resume()) {
                    return;
                }
            }
            isMore = use.IsAllowed() && Parts::EndDelivery(*this, item);
        }
    }
}

// Takes the oldest expiry off the queue. Its call begins under the same lock: whoever flushes the
// queue finds the expiry there or the call under way.
DTimerDispatch::TimerListItem* DTimerDispatch::Parts::BeginDelivery(DTimerDispatch& dispatch) {
    DMonitor queue(dispatch.m_csQueue);
    auto* const item = static_cast<TimerListItem*>(dispatch.m_queue.RemoveHead());
    if (item != nullptr) {
        dispatch.m_parts->m_call->Begin(item->m_listener, item->m_id);
    }
    return item;
}

// Frees the entry of a delivery. Returns whether more is queued. The event is reset under the lock
// under which it is set, so no expiry waits while the event is reset.
bool DTimerDispatch::Parts::EndDelivery(DTimerDispatch& dispatch, TimerListItem* item) {
    DMonitor queue(dispatch.m_csQueue);
    if (item != nullptr) {
        FreeEntry(dispatch, item);
    }
    bool const isEmpty = dispatch.m_queue.IsEmpty();
    if (isEmpty) {
        dispatch.m_queueEvent.Reset();
    }
    return !isEmpty;
}
