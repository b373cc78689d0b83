#include "threads/thread_control.h"

#include "frame/relaxed.h"

#include <cstdint>
#include <cstring>
#include <unistd.h>

namespace verrick {
// A virtual call on the new thread would read the object's virtual-table pointer, and could do so
// beside a destructor on another thread that rewrites it. So Start, which its caller orders ahead
// of the destruction, looks the function up: the slot is what a pointer to a virtual member
// function holds, in the C++ ABI of every target of this library (one more than its byte offset).
RunFunction ResolveRun(DThread& thread) {
    void (DThread::*const member)() = &DThread::Run;
    std::intptr_t slot = 0;
    std::memcpy(&slot, &member, sizeof slot);
    char const* table = nullptr;
    std::memcpy(&table, static_cast<void const*>(&thread), sizeof table);
    RunFunction run = nullptr;
    std::memcpy(&run, table + (slot - 1), sizeof run);
    return run;
}

ThreadControl::ThreadControl(DThread* owner)
    : m_owner(owner), m_references(1), m_id(0), m_closing(false), m_visits(0), m_keepVisit(false),
      m_decision(Run::Undecided), m_run(nullptr) {
    InitErrorCheckMutex(m_mutex, m_mutexAttr);
    pthread_cond_init(&m_changed, nullptr);
}

ThreadControl::~ThreadControl() {
    DestroyErrorCheckMutex(m_mutex, m_mutexAttr);
    pthread_cond_destroy(&m_changed);
}

ThreadControl& ThreadControl::Of(DThread& thread) {
    return *thread.m_impl->m_control;
}

void ThreadControl::AddReference() {
    m_references.fetch_add(1, relaxed);
}

void ThreadControl::ReleaseReference() {
    if (m_references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete this;
    }
}

void ThreadControl::PublishId() {
    int const id = gettid();
    MutexLock lock(m_mutex);
    m_id.store(id, relaxed);
    pthread_cond_broadcast(&m_changed);
}

int ThreadControl::AwaitId() {
    MutexLock lock(m_mutex);
    while (m_id.load(relaxed) == 0) {
        pthread_cond_wait(&m_changed, &m_mutex);
    }
    return m_id.load(relaxed);
}

bool ThreadControl::IsOwnThread() const {
    return m_id.load(relaxed) == gettid();
}

bool ThreadControl::Enter() {
    MutexLock lock(m_mutex);
    if (IsClosing()) {
        return false;
    }
    ++m_visits;
    return true;
}

void ThreadControl::EndVisit() {
    --m_visits;
    pthread_cond_broadcast(&m_changed);
}

void ThreadControl::Leave() {
    MutexLock lock(m_mutex);
    EndVisit();
}

bool ThreadControl::LeaveForCallback() {
    MutexLock lock(m_mutex);
    if (IsClosing()) {
        return false;
    }
    EndVisit();
    return true;
}

RunFunction ThreadControl::DecideRun() {
    MutexLock lock(m_mutex);
    bool const run = m_decision == Run::Undecided;
    if (run) {
        m_decision = Run::Decided;
    }
    if (!run || !m_keepVisit) {
        EndVisit();
    }
    return run ? m_run : nullptr;
}

void ThreadControl::CallPreRun() {
    m_owner->m_impl->PreRun();
}

void ThreadControl::KeepVisitInRun() {
    MutexLock lock(m_mutex);
    m_keepVisit = true;
}

void ThreadControl::SetRun(RunFunction run) {
    MutexLock lock(m_mutex);
    m_run = run;
}

void ThreadControl::BarRun() {
    MutexLock lock(m_mutex);
    if (m_decision == Run::Undecided) {
        m_decision = Run::Barred;
    }
}

void ThreadControl::BeginClosing() {
    MutexLock lock(m_mutex);
    m_closing.store(true, relaxed);
}

void ThreadControl::AwaitDeparture() {
    MutexLock lock(m_mutex);
    int const own = IsOwnThread() ? 1 : 0;
    while (m_visits > own) {
        pthread_cond_wait(&m_changed, &m_mutex);
    }
}

Visit::Visit(ThreadControl& control, bool inside) : m_control(control), m_inside(inside) {
    m_control.AddReference();
}

Visit::~Visit() {
    if (m_inside) {
        m_control.Leave();
    }
    m_control.ReleaseReference();
}

Visit Visit::OfRun(DThread& thread) {
    ThreadControl& control = ThreadControl::Of(thread);
    return {control, control.IsOwnThread() || control.Enter()};
}

RunFunction Visit::DecideRun() {
    m_inside = false;
    return m_control.DecideRun();
}

bool Visit::LeaveForCallback() {
    bool const left = m_control.LeaveForCallback();
    m_inside = m_inside && !left;
    return left;
}

bool Visit::Return() {
    m_inside = m_control.Enter();
    return m_inside;
}

} // namespace verrick
