#include <verrick/event.h>

#include "frame/event_core.h"
#include "frame/facade.h"
#include "frame/timeout.h"
#include "frame/wait_result.h"

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

struct DEventImpl::Fields {
    using Word = unsigned char;
    static constexpr char const* kWaitFailed = "sem_wait returned error (other than EINTR)";

    verrick::EventState<Word>& State() const { return m_event.m_signaled; }
    std::atomic<int>& WaiterCount() const { return m_event.m_waiters; }
    std::atomic<int>& Ending() const { return m_event.m_destroying; }
    verrick::EventHandover& Handover() const { return m_event.m_handover; }
    bool IsAutoReset() const { return m_event.m_autoReset; }
    pthread_cond_t& Condition() const { return m_event.m_cond; }
    pthread_mutex_t& Mutex() const { return m_event.m_mutex; }
    pthread_mutexattr_t& MutexAttribute() const { return m_event.m_mutexAttr; }

    DEventImpl& m_event;
};

struct DEventImpl::Core : verrick::EventCore<Fields> {
    explicit Core(DEventImpl& event) : EventCore(Fields{event}) {}
};

DEventImpl::DEventImpl(bool initialState, bool autoReset)
    : m_autoReset(autoReset), m_signaled(initialState ? 1 : 0), m_waiters(0), m_destroying(0) {
    Core(*this).Create();
}

DEventImpl::~DEventImpl() {
    Core(*this).End();
}

void DEventImpl::Signal() {
    Core const core(*this);
    if (!core.IsEnding()) {
        core.Signal();
    }
}

void DEventImpl::Reset() {
    Core const core(*this);
    if (!core.IsEnding()) {
        core.Reset();
    }
}

wait_result_t DEventImpl::Wait(int timeoutMs) {
    return verrick::WaitResultOf(Core(*this).Wait(verrick::ObjectTimeout(timeoutMs)));
}
