// The priority, the name and the id of a thread.
#include "frame/relaxed.h"
#include "threads/object_use.h"
#include "threads/scheduling.h"
#include "threads/thread_steps.h"
#include "threads/thread_values.h"

#include <cstring>

using verrick::DeathLock;
using verrick::kNoThread;
using verrick::kNoThreadId;
using verrick::relaxed;

namespace {

constexpr std::size_t kKernelNameSize = 16; // with the terminator

} // namespace

// Whether m_thread may be given to the system. The lock keeps a thread that hasn't ended from
// ending, and so from being joined meanwhile.
bool DThreadImpl::Steps::HasLiveThreadLocked(DThreadImpl const& impl) {
    bool const hasThread = impl.m_state == State::Parked || impl.m_state == State::Started ||
                           impl.m_state == State::InRun;
    return hasThread && !impl.m_hasEnded;
}

int DThreadImpl::SetPriority(int priority) {
    DeathLock const lock(m_deathMutex);
    if (!verrick::IsRealTimePriority(priority) || m_state == State::NoThread ||
        m_state == State::Joined || m_state == State::LetGo) {
        return -1;
    }
    m_priority.store(priority, relaxed);
    if (Steps::HasLiveThreadLocked(*this)) {
        pthread_t const thread = m_thread.load(relaxed);
        int policy = 0;
        sched_param parameters{};
        pthread_getschedparam(thread, &policy, &parameters);
        parameters.sched_priority = priority;
        pthread_setschedparam(thread, policy, &parameters);
    }
    return priority;
}

int DThreadImpl::GetPriority() {
    return m_priority.load(relaxed);
}

void DThreadImpl::SetName(char const* name) {
    DeathLock const lock(m_deathMutex);
    if (m_state == State::NoThread || m_state == State::LetGo) {
        return;
    }
    Steps::StoreName(*this, name);
    if (Steps::HasLiveThreadLocked(*this)) {
        Steps::ApplyNameLocked(*this, m_thread.load(relaxed));
    }
}

char const* DThreadImpl::GetName() {
    return m_name;
}

void DThreadImpl::Steps::StoreName(DThreadImpl& impl, char const* name) {
    constexpr std::size_t last = sizeof impl.m_name - 1;
    std::strncpy(impl.m_name, name != nullptr ? name : "UNKNOWN", last);
    impl.m_name[last] = '\0';
}

void DThreadImpl::Steps::ApplyNameLocked(DThreadImpl const& impl, pthread_t thread) {
    char kernelName[kKernelNameSize] = {};
    std::memcpy(kernelName, impl.m_name, sizeof kernelName - 1);
    pthread_setname_np(thread, kernelName);
}

int DThreadImpl::GetThreadId() {
    if (m_thread.load(relaxed) == kNoThread || m_joined.load(relaxed) != 0) {
        return kNoThreadId;
    }
    int const id = m_use->WaitForKernelId();
    m_threadId.store(id, relaxed);
    return id;
}
