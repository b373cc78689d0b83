#include <verrick/event.h>

#include "frame/event_core.h"
#include "frame/facade.h"
#include "frame/timeout.h"

IEvent::IEvent() = default;
IEvent::~IEvent() = default;

DEvent::DEvent(bool initialState, bool autoReset)
    : m_impl(new DEventImpl(initialState, autoReset)) {}

DEvent::~DEvent() {
    delete m_impl;
}

void DEvent::Signal() {
    verrick::Forward(m_impl, &IEvent::Signal);
}

void DEvent::Reset() {
    verrick::Forward(m_impl, &IEvent::Reset);
}

wait_result_t DEvent::Wait(int timeoutMs) {
    return verrick::ForwardOr(WAIT_RESULT_FAILED, m_impl, &IEvent::Wait, timeoutMs);
}

// An event on the fields of a DEventImpl.
struct DEventImpl::Core : verrick::EventCore<unsigned char> {
    explicit Core(DEventImpl& event)
        : EventCore({event.m_signaled, event.m_waiters, event.m_handover, event.m_autoReset},
                    {event.m_destroying, event.m_cond, event.m_mutex, event.m_mutexAttr,
                     "sem_wait returned error (other than EINTR)"}) {}
};

DEventImpl::DEventImpl(bool initialState, bool autoReset)
    : m_autoReset(autoReset), m_signaled(initialState ? 1 : 0), m_waiters(0), m_destroying(0) {
    Core(*this).Create();
}

DEventImpl::~DEventImpl() {
    Core(*this).End();
}

void DEventImpl::Signal() {
    Core core(*this);
    if (!core.IsEnding()) {
        core.Signal();
    }
}

void DEventImpl::Reset() {
    Core core(*this);
    if (!core.IsEnding()) {
        core.Reset();
    }
}

wait_result_t DEventImpl::Wait(int timeoutMs) {
    switch (Core(*this).Wait(verrick::ObjectTimeout(timeoutMs))) {
    case 0:
        return WAIT_RESULT_OK;
    case ETIMEDOUT:
        return WAIT_RESULT_TIMEOUT;
    default:
        return WAIT_RESULT_FAILED;
    }
}
