// The facade of the thread family.
#include <verrick/thread.h>

#include <cstdio>

namespace {

constexpr int kNoThreadYet = 1; // bit 0 of the flags
constexpr int kNoImplementationPriority = 1;
constexpr int kNoThreadId = -1;

} // namespace

IThread::IThread() = default;
IThread::~IThread() = default;

// The implementation is built without a thread, for the new thread finds it through m_impl.
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
    if (m_impl != nullptr) {
        m_impl->Start();
    }
}

int DThread::SetPriority(int priority) {
    return m_impl != nullptr ? m_impl->SetPriority(priority) : kNoImplementationPriority;
}

int DThread::GetPriority() {
    return m_impl != nullptr ? m_impl->GetPriority() : kNoImplementationPriority;
}

void DThread::SetName(char const* name) {
    if (m_impl != nullptr) {
        m_impl->SetName(name);
    }
}

char const* DThread::GetName() {
    return m_impl != nullptr ? m_impl->GetName() : "THREAD_UNIMPLEMENTED";
}

int DThread::GetThreadId() {
    return m_impl != nullptr ? m_impl->GetThreadId() : kNoThreadId;
}

int DThread::WaitForThreadDeath(int timeoutMs) {
    return m_impl != nullptr ? m_impl->WaitForThreadDeath(timeoutMs) : WAIT_RESULT_FAILED;
}

void DThread::Kill() {
    if (m_impl != nullptr) {
        m_impl->Kill();
    }
}
