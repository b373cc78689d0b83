// The facade of the timer service, and the one instance of it.
#include <verrick/timers.h>

#include "frame/facade.h"
#include "frame/mutex.h"
#include "frame/relaxed.h"
#include "threads/listener_call.h"

#include <unistd.h>

using verrick::relaxed;

std::atomic<DTimeManager*> DTimeManager::m_timeManagerPtr{nullptr};
DCriticalSection DTimeManager::m_csTimeManagerCreate;

namespace {

// The process that built the service: a child after fork inherits the pointer, but no threads.
std::atomic<pid_t> g_owner{0};

// Lets one thread end the service while others wait for that. The pointer stays set meanwhile,
// because a listener may still use the service.
//
// The objects have no destructors: the service may be ended when those of the library have run.
pthread_mutex_t g_endMutex = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t g_ended = PTHREAD_COND_INITIALIZER;
bool g_ending = false; // guarded by g_endMutex

// Returns the service if the caller has to end it. Otherwise returns null when it has been ended by
// another thread. Inside a listener it doesn't wait, because that thread may wait for the listener.
DTimeManager* ClaimEnd(std::atomic<DTimeManager*> const& service) {
    verrick::MutexLock lock(g_endMutex);
    if (g_ending) {
        while (g_ending && !verrick::ListenerCall::IsOnThisThread()) {
            pthread_cond_wait(&g_ended, &g_endMutex);
        }
        return nullptr;
    }
    DTimeManager* const manager = service.load(relaxed);
    g_ending = manager != nullptr;
    return manager;
}

void ReportEnd(std::atomic<DTimeManager*>& service) {
    verrick::MutexLock lock(g_endMutex);
    service.store(nullptr, relaxed);
    g_ending = false;
    pthread_cond_broadcast(&g_ended);
}

} // namespace

ITimeManager::ITimeManager() = default;
ITimeManager::~ITimeManager() = default;

// The pointer is relaxed: GetInstance is ordered by its lock, DestroyInstance by g_endMutex.
DTimeManager* DTimeManager::GetInstance(int priority) {
    DMonitor const monitor(m_csTimeManagerCreate);
    if (m_timeManagerPtr.load(relaxed) == nullptr) {
        m_timeManagerPtr.store(new DTimeManager(priority), relaxed);
        g_owner.store(getpid(), relaxed);
    }
    return m_timeManagerPtr.load(relaxed);
}

// In a child after fork the locks may be held for ever, and there is nothing to end.
void DTimeManager::DestroyInstance() {
    if (m_timeManagerPtr.load(relaxed) == nullptr) {
        return;
    }
    if (getpid() != g_owner.load(relaxed)) {
        m_timeManagerPtr.store(nullptr, relaxed);
        return;
    }
    if (DTimeManager* const manager = ClaimEnd(m_timeManagerPtr)) {
        delete manager;
        ReportEnd(m_timeManagerPtr);
    }
}

DTimeManager::DTimeManager(int priority) : m_impl(new DTimeManagerImpl(priority)) {}

DTimeManager::~DTimeManager() {
    delete m_impl;
}

bool DTimeManager::CreateRelativeTimer(ITimerListener* listener, unsigned int id, int periodMs,
                                       int reserved, unsigned int timerFlags) {
    return verrick::ForwardOr(false, m_impl, &ITimeManager::CreateRelativeTimer, listener, id,
                              periodMs, reserved, timerFlags);
}

bool DTimeManager::CreateAbsoluteTimer(ITimerListener* listener, unsigned int id, long when,
                                       int reserved) {
    return verrick::ForwardOr(false, m_impl, &ITimeManager::CreateAbsoluteTimer, listener, id, when,
                              reserved);
}

bool DTimeManager::Destroy(ITimerListener* listener, unsigned int id) {
    return verrick::ForwardOr(false, m_impl, &ITimeManager::Destroy, listener, id);
}

bool DTimeManager::Activate(ITimerListener* listener, unsigned int id) {
    return verrick::ForwardOr(false, m_impl, &ITimeManager::Activate, listener, id);
}

bool DTimeManager::Deactivate(ITimerListener* listener, unsigned int id) {
    return verrick::ForwardOr(false, m_impl, &ITimeManager::Deactivate, listener, id);
}

void DTimeManager::Sleep(int ms) {
    verrick::Forward(m_impl, &ITimeManager::Sleep, ms);
}

unsigned int DTimeManager::GetTickCount() {
    return verrick::ForwardOr(0, m_impl, &ITimeManager::GetTickCount);
}

unsigned int DTimeManager::GetResolution() {
    return verrick::ForwardOr(0, m_impl, &ITimeManager::GetResolution);
}
