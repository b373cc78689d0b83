#include "frame/waiting.h"
#include "threads/object_use.h"
#include <verrick/worker_thread.h>

#include <cstring>

namespace {

constexpr int kStopPollMs = 1;

} // namespace

// What the thread takes out of the object, so that neither a later DoWork nor the end of the object
// changes what the callback sees.
struct DWorkerThread::Work {
    IWorkerCallbackObj* callback;
    unsigned char data[sizeof m_data];
};

DWorkerThread::DWorkerThread(char const* name, int priority, int stackSize, int flags)
    : DThread(name, priority, stackSize, flags), m_data{}, m_busy(false), m_workEvent(false, true),
      m_stopEvent(false, false), m_callback(nullptr), m_pending(false) {
    DThread::Start();
}

// An idle worker waits for work, so it is woken too, and finds none. A thread that can't be waited
// for is let go: one that is still parked, one in a callback that takes too long or in a Run of a
// derived class, and the calling thread.
DWorkerThread::~DWorkerThread() {
    verrick::ObjectUse& use = verrick::ObjectUse::Of(*this);
    use.Forbid();
    m_stopEvent.Signal();
    m_workEvent.Signal();
    if (DThread::WaitForThreadDeath(verrick::kStuckCallMs) != WAIT_RESULT_OK) {
        DThread::Kill();
    }
    use.WaitUntilUnused();
}

IWorkerCallbackObj* DWorkerThread::AddCallbackObject(IWorkerCallbackObj* callback) {
    DMonitor monitor(m_csWork);
    IWorkerCallbackObj* const previous = m_callback;
    m_callback = callback;
    return previous;
}

bool DWorkerThread::DoWork(signed char size, void* data) {
    DMonitor monitor(m_csWork);
    if (size <= 0 || data == nullptr) {
        return false;
    }
    m_busy = true;
    m_pending = true;
    std::memcpy(m_data, data, static_cast<std::size_t>(size));
    m_workEvent.Signal();
    return true;
}

// The loop uses the object, but not while a callback is under way.
void DWorkerThread::Run() {
    verrick::UseScope use = verrick::UseScope::OfRun(*this);
    while (use.IsAllowed()) {
        if (m_stopEvent.Wait(kStopPollMs) == WAIT_RESULT_OK) {
            return;
        }
        Work work; // NOLINT(cppcoreguidelines-pro-type-member-init): TakeWork fills it
        if (m_workEvent.Wait(verrick::kForever) != WAIT_RESULT_OK || !TakeWork(work)) {
            continue;
        }
        if (work.callback != nullptr) {
            if (!use.PauseForCallback()) {
                return;
            }
            work.callback->DoCallback(work.data);
            if (!use.Resume()) {
                return;
            }
        }
        DMonitor monitor(m_csWork);
        m_busy = m_pending;
    }
}

// False if no block is announced: the event also wakes for the end, and may do so for nothing.
bool DWorkerThread::TakeWork(Work& work) {
    DMonitor monitor(m_csWork);
    if (!m_pending) {
        return false;
    }
    m_pending = false;
    work.callback = m_callback;
    std::memcpy(work.data, m_data, sizeof work.data);
    return true;
}
