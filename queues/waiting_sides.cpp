#include "queues/waiting_sides.h"

#include "frame/deadline.h"
#include "frame/errno_kept.h"
#include <verrick/flat/handles.h>

#include <cerrno>

namespace verrick {

WaitingCall::WaitingCall(Side side, std::uint32_t timeoutMs)
    : m_wakeUp(), m_side(side), m_timeoutMs(timeoutMs) {
    sem_init(&m_wakeUp, 0, 0);
}

// The post that woke the call is complete, because it was made under the lock.
WaitingCall::~WaitingCall() {
    sem_destroy(&m_wakeUp);
}

void WaitingCall::StartTime() {
    if (m_timeoutMs != INFINITE) {
        m_deadline = FlatDeadlineAfter(m_timeoutMs);
    }
}

// A signal handler doesn't end the wait.
void WaitingCall::Sleep(timespec const& deadline) {
    ErrnoKept const kept;
    int result = 0;
    do {
        result =
            m_timeoutMs == INFINITE ? sem_wait(&m_wakeUp) : sem_timedwait(&m_wakeUp, &deadline);
    } while (result != 0 && errno == EINTR);
}

void WaitingSides::Add(WaitingCall& call) {
    DList& list = m_lists[call.m_side];
    if (call.m_isWoken) {
        list.AddHead(&call);
    } else {
        list.AddTail(&call);
    }
    ++m_count;
    call.m_isWoken = false;
    call.StartTime();
}

bool WaitingSides::WakeOldest(Side side) {
    auto* const call = static_cast<WaitingCall*>(m_lists[side].RemoveHead());
    if (call == nullptr) {
        return false;
    }
    --m_count;
    call->m_isWoken = true;
    sem_post(&call->m_wakeUp);
    return true;
}

void WaitingSides::Moved(Side helped) {
    Side const other = helped == kSenders ? kReceivers : kSenders;
    if (!WakeOldest(helped) && !m_lists[other].IsEmpty()) {
        static_cast<WaitingCall*>(m_lists[other].Next(nullptr))->StartTime();
    }
}

void WaitingSides::GiveUp(WaitingCall& call, bool canGoOn) {
    if (!call.m_isWoken) {
        m_lists[call.m_side].Remove(&call);
        --m_count;
    } else if (canGoOn) {
        WakeOldest(call.m_side);
    }
}

} // namespace verrick
