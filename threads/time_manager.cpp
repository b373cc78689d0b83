// The facade of the timer service, and the one instance of it.
#include <verrick/timers.h>

#include "frame/facade.h"
#include "frame/relaxed.h"

using verrick::relaxed;

std::atomic<DTimeManager*> DTimeManager::m_timeManagerPtr{nullptr};
DCriticalSection DTimeManager::m_csTimeManagerCreate;

ITimeManager::ITimeManager() = default;
ITimeManager::~ITimeManager() = default;

// The pointer alone is relaxed: GetInstance orders itself by its lock, and DestroyInstance overlaps
// with no other use.
DTimeManager* DTimeManager::GetInstance(int priority) {
    DMonitor monitor(m_csTimeManagerCreate);
    if (m_timeManagerPtr.load(relaxed) == nullptr) {
        m_timeManagerPtr.store(new DTimeManager(priority), relaxed);
    }
    return m_timeManagerPtr.load(relaxed);
}

void DTimeManager::DestroyInstance() {
    DTimeManager* const manager = m_timeManagerPtr.load(relaxed);
    if (manager == nullptr) {
        return;
    }
    delete manager;
    m_timeManagerPtr.store(nullptr, relaxed);
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
