#include <verrick/worker_thread.h>

#include "frame/waiting.h"
#include "threads/object_use.h"

#include <cstring>

namespace {

constexpr int kStopPollMs = 1;

} // namespace

// What the thread takes out of the object for a callback. Neither a later DoWork nor the end of the
// object changes it.
struct DWorkerThread::Work {
    IWorkerCallbackObj* callback;
    unsigned char data[sizeof m_data];
};

struct DWorkerThread::Steps {
    static bool TakeWork(DWorkerThread& worker, Work& work);
    static void EndWork(DWorkerThread& worker);
};

DWorkerThread::DWorkerThread(char const* name, int priority, int stackSize, int flags)
    : DThread(name, priority, stackSize, flags), m_data{}, m_busy(false), m_workEvent(false, true),
      m_stopEvent(false, false), m_callback(nullptr), m_pending(false) {
    DThread::Start();
}

// An idle worker waits for work, so it is woken too, and finds none.
//
// These threads are let go, because they can't be waited for:
// - one that is still parked;
// - one whose callback or derived Run takes longer than the bound;
// - the calling one.
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
    DMonitor const work(m_csWork);
    IWorkerCallbackObj* const previous = m_callback;
    m_callback = callback;
    return previous;
}

bool DWorkerThread::DoWork(signed char size, void* data) {
    if (size <= 0 || data == nullptr) {
        return false;
    }
    DMonitor const work(m_csWork);
    m_busy = true;
    m_pending = true;
    std::memcpy(m_data, data, static_cast<std::size_t>(size));
    m_workEvent.Signal();
    return true;
}

// The loop uses the object, but not while a callback is under way. After a callback it looks first
// whether it may come back, because the object may be gone.
void DWorkerThread::Run() {
    verrick::UseScope use = verrick::UseScope::OfRun(*this);
    while (use.IsAllowed()) {
        if (m_stopEvent.Wait(kStopPollMs) == WAIT_RESULT_OK) {
            return;
        }
        Work work; // NOLINT(cppcoreguidelines-pro-type-member-init): TakeWork fills it
        if (m_workEvent.Wait(verrick::kForever) != WAIT_RESULT_OK ||
            !Steps::TakeWork(*this, work)) {
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
        Steps::EndWork(*this);
    }
}

// Returns false if no block waits. The event also wakes for the end, and may wake for nothing.
bool DWorkerThread::Steps::TakeWork(DWorkerThread& worker, Work& work) {
    DMonitor const monitor(worker.m_csWork);
    if (!worker.m_pending) {
        return false;
    }
    worker.m_pending = false;
    work.callback = worker.m_callback;
    std::memcpy(work.data, worker.m_data, sizeof work.data);
    return true;
}

// A block may have come during the callback. Then the worker stays busy.
void DWorkerThread::Steps::EndWork(DWorkerThread& worker) {
    DMonitor const monitor(worker.m_csWork);
    worker.m_busy = worker.m_pending;
}
