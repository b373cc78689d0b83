#include <verrick/thread.h>

#include "frame/facade.h"
#include "threads/thread_values.h"

#include <cstdio>

using verrick::kNoThreadId;
using verrick::kNoThreadYet;

namespace {

constexpr int kNoImplementationPriority = 1;

} // namespace

IThread::IThread() = default;
IThread::~IThread() = default;

// The implementation is built without a thread, because Create finds it through m_impl.
DThread::DThread(char const* name, int priority, int stackSize, int flags)
    : m_impl(new DThreadImpl(name, priority, stackSize, flags | kNoThreadYet, this)) {
    if ((flags & kNoThreadYet) == 0 && !Create(this, priority, stackSize, flags)) {
        std::puts("DThread::Failed to create the thread.");
    }
}

DThread::~DThread() {
    delete m_impl;
    m_impl = nullptr;
}

bool DThread::Create(DThread* thread, int priority, int stackSize, int flags) {
    return DThreadImpl::Create(thread, priority, stackSize, flags);
}

void DThread::Start() {
    verrick::Forward(m_impl, &DThreadImpl::Start);
}

int DThread::SetPriority(int priority) {
    return verrick::ForwardOr(kNoImplementationPriority, m_impl, &DThreadImpl::SetPriority,
                              priority);
}

int DThread::GetPriority() {
    return verrick::ForwardOr(kNoImplementationPriority, m_impl, &DThreadImpl::GetPriority);
}

void DThread::SetName(char const* name) {
    verrick::Forward(m_impl, &DThreadImpl::SetName, name);
}

char const* DThread::GetName() {
    return verrick::ForwardOr("THREAD_UNIMPLEMENTED", m_impl, &DThreadImpl::GetName);
}

int DThread::GetThreadId() {
    return verrick::ForwardOr(kNoThreadId, m_impl, &DThreadImpl::GetThreadId);
}

int DThread::WaitForThreadDeath(int timeoutMs) {
    return verrick::ForwardOr(WAIT_RESULT_FAILED, m_impl, &DThreadImpl::WaitForThreadDeath,
                              timeoutMs);
}

void DThread::Kill() {
    verrick::Forward(m_impl, &DThreadImpl::Kill);
}
