#include "queues/waiting_sides.h"

#include "frame/deadline.h"
#include "frame/errno_kept.h"
#include <verrick/flat/handles.h>

#include <cerrno>
#include <limits>

namespace verrick {
namespace {

// The deadline of a call that waits for ever.
constexpr timespec kNever = {std::numeric_limits<time_t>::max(), 0};

} // namespace

WaitingCall::WaitingCall(Side side, std::uint32_t timeoutMs)
    : m_post(), m_side(side), m_timeoutMs(timeoutMs), m_deadline(kNever) {
    ErrnoKept const kept;
    sem_init(&m_post, 0, 0);
}

WaitingCall::~WaitingCall() {
    if (m_isWoken) {
        AwaitPost(); // it may be missing after a cancellation
    }
    sem_destroy(&m_post);
}

void WaitingCall::StartTime() {
    if (m_timeoutMs != INFINITE) {
        m_deadline = FlatDeadlineAfter(m_timeoutMs);
    }
}

// A signal handler doesn't end the wait. The call is sem_clockwait because thread sanitizers lose
// track of the locks of a thread that is cancelled in sem_wait or sem_timedwait.
void WaitingCall::Sleep(timespec const& deadline) {
    ErrnoKept const kept;
    int result = 0;
    do {
        result = sem_clockwait(&m_post, CLOCK_REALTIME, &deadline);
    } while (result != 0 && errno == EINTR);
    m_hasPost = result == 0;
}

void WaitingCall::AwaitPost() {
    if (!m_hasPost) {
        Sleep(kNever);
    }
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
    call.m_hasPost = false;
    call.StartTime();
}

bool WaitingSides::WakeOldest(Side side) {
    auto* const call = static_cast<WaitingCall*>(m_lists[side].RemoveHead());
    if (call == nullptr) {
        return false;
    }
    --m_count;
    call->m_isWoken = true;
    m_woken = call;
    return true;
}

void WaitingSides::Moved(Side helped) {
    DList& others = m_lists[helped == kSenders ? kReceivers : kSenders];
    if (!WakeOldest(helped) && !others.IsEmpty()) {
        static_cast<WaitingCall*>(others.Next(nullptr))->StartTime();
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
