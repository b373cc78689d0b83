#include "frame/deadline.h"
#include "frame/limits.h"
#include "frame/mutex.h"
#include "frame/waiting.h"
#include "threads/scheduling.h"
#include "threads/thread_control.h"
#include <verrick/thread.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

using verrick::kForever;
using verrick::kSmallestStackBytes;
using verrick::MutexLock;
using verrick::relaxed;
using verrick::ThreadControl;

namespace {

constexpr auto kNoThread = static_cast<pthread_t>(-1);
constexpr int kNoThreadId = -1;
constexpr int kNoThreadYet = 1;             // bit 0 of the flags
constexpr std::size_t kKernelNameSize = 16; // with the terminator

} // namespace

DThreadImpl::DThreadImpl(char const* name, int priority, int stackSize, int flags, DThread* owner)
    : m_thread(kNoThread), m_priority(priority), m_threadId(kNoThreadId), m_continue(false, false),
      m_owner(owner), m_started(0), m_joined(0), m_killed(0), m_waiters(0), m_joining(false),
      m_control(new ThreadControl(owner)) {
    StoreName(name);
    m_continue.Reset();
    pthread_cond_init(&m_deathCond, nullptr);
    verrick::InitErrorCheckMutex(m_deathMutex, m_deathMutexAttr);
    if ((flags & kNoThreadYet) == 0 && !Create(m_owner, priority, stackSize, flags)) {
        std::printf("DThreadImpl::Failed to create the thread.\n");
    }
}

// Waits for nothing but a thread on its last steps before Run, from which Kill has barred it.
DThreadImpl::~DThreadImpl() {
    if (m_thread.load(relaxed) != kNoThread) {
        DThreadImpl::Kill();
    }
    m_control->BeginClosing();
    m_control->AwaitDeparture();
    pthread_cond_broadcast(&m_deathCond);
    verrick::DestroyErrorCheckMutex(m_deathMutex, m_deathMutexAttr);
    pthread_cond_destroy(&m_deathCond);
    m_control->ReleaseReference();
}

bool DThreadImpl::Create(DThread* thread, int priority, int stackSize, int /*flags*/) {
    DThreadImpl& impl = *thread->m_impl;
    if (impl.m_thread.load(relaxed) != kNoThread || impl.m_killed.load(relaxed) != 0) {
        return false;
    }
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_JOINABLE);
    pthread_attr_setstacksize(&attributes, static_cast<std::size_t>(stackSize > kSmallestStackBytes
                                                                        ? stackSize
                                                                        : kSmallestStackBytes));
    if (verrick::IsRealTimePriority(priority)) {
        // Refused by a C library that compares the priority with the ordinary policy: the one asked
        // for counts then. Either way PreRun is what puts it in force.
        sched_param parameters{};
        parameters.sched_priority = priority;
        if (pthread_attr_setschedparam(&attributes, &parameters) == 0) {
            pthread_attr_getschedparam(&attributes, &parameters);
        }
        impl.m_priority.store(parameters.sched_priority, relaxed);
    }
    pthread_attr_setschedpolicy(&attributes, SCHED_RR);
    pthread_attr_setscope(&attributes, PTHREAD_SCOPE_SYSTEM);

    impl.m_control->AddReference(); // the new thread's
    pthread_t created{};
    bool const done = pthread_create(&created, &attributes, &ThreadMain, impl.m_control) == 0;
    if (done) {
        impl.m_thread.store(created, relaxed);
    } else {
        impl.m_control->ReleaseReference();
    }
    pthread_attr_destroy(&attributes);
    return done;
}

// The argument is the block that outlives the object, for the object may be gone by now.
void* DThreadImpl::ThreadMain(void* arg) {
    struct Reference {
        ~Reference() { control.ReleaseReference(); }
        ThreadControl& control;
    };
    {
        Reference const reference{*static_cast<ThreadControl*>(arg)};
        reference.control.PublishId();
        if (reference.control.Enter()) {
            reference.control.CallPreRun();
        }
    }
    pthread_exit(nullptr);
}

// Runs inside a visit, which DecideRun ends: from there on the object may be gone, and after Run it
// often is.
void DThreadImpl::PreRun() {
    verrick::Visit visit(*m_control);
    {
        MutexLock lock(m_control->Mutex());
        verrick::ApplyRealTimePriority(m_priority.load(relaxed));
        ApplyName(pthread_self());
    }
    pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
    if (!AwaitRelease()) {
        std::puts("m_continue.Wait failed. DThreadImpl->PreRun returning");
        return;
    }
    DThread* const owner = m_owner;
    if (owner == nullptr || m_killed.load(relaxed) != 0) {
        return;
    }
    if (verrick::RunFunction const run = visit.DecideRun()) {
        run(owner);
    }
}

// Parks until Start or Kill. A wake-up without either is no reason to go on.
bool DThreadImpl::AwaitRelease() {
    do {
        if (m_continue.Wait(kForever) != WAIT_RESULT_OK) {
            return false;
        }
    } while (m_started.load(relaxed) == 0 && m_killed.load(relaxed) == 0);
    return true;
}

// Reached by nothing: the thread calls the owner's Run.
void DThreadImpl::Run() {
    std::puts("DThreadImpl::Default Run called (Should not be called).");
}

void DThreadImpl::Start() {
    if (m_thread.load(relaxed) == kNoThread) {
        return;
    }
    if (m_started.load(relaxed) == 0) {
        m_control->SetRun(verrick::ResolveRun(*m_owner));
    }
    m_started.store(1, relaxed);
    m_continue.Signal();
}

void DThreadImpl::Kill() {
    pthread_t const thread = m_thread.load(relaxed);
    if (thread == kNoThread) {
        return;
    }
    m_killed.store(1, relaxed);
    if (m_started.load(relaxed) == 0) {
        m_continue.Signal();
        pthread_join(thread, nullptr);
    } else if (m_joined.load(relaxed) == 0) {
        m_control->BarRun();
        if (pthread_detach(thread) == 0) {
            std::printf("pthread_detached successfull for thread (%s).\n", m_name);
        } else {
            std::printf("pthread_detached failed for thread (%s).\n", m_name);
        }
    }
    m_thread.store(kNoThread, relaxed);
}

// One step against the new thread's own: or that one could read the old priority and put it in
// force last, or this one could write under a policy that is just changing.
int DThreadImpl::SetPriority(int priority) {
    MutexLock lock(m_control->Mutex());
    pthread_t const thread = m_thread.load(relaxed);
    if (!verrick::IsRealTimePriority(priority) || thread == kNoThread ||
        m_joined.load(relaxed) != 0) {
        return -1;
    }
    int policy = 0;
    sched_param parameters{};
    pthread_getschedparam(thread, &policy, &parameters);
    parameters.sched_priority = priority;
    m_priority.store(priority, relaxed);
    pthread_setschedparam(thread, policy, &parameters);
    return priority;
}

int DThreadImpl::GetPriority() {
    return m_priority.load(relaxed);
}

void DThreadImpl::SetName(char const* name) {
    MutexLock lock(m_control->Mutex());
    pthread_t const thread = m_thread.load(relaxed);
    if (thread == kNoThread) {
        return;
    }
    StoreName(name);
    if (m_joined.load(relaxed) == 0) {
        ApplyName(thread);
    }
}

char const* DThreadImpl::GetName() {
    return m_name;
}

void DThreadImpl::StoreName(char const* name) {
    constexpr std::size_t last = sizeof m_name - 1;
    std::strncpy(m_name, name != nullptr ? name : "UNKNOWN", last);
    m_name[last] = '\0';
}

void DThreadImpl::ApplyName(pthread_t thread) {
    char kernelName[kKernelNameSize] = {};
    std::memcpy(kernelName, m_name, sizeof kernelName - 1);
    pthread_setname_np(thread, kernelName);
}

int DThreadImpl::GetThreadId() {
    if (m_thread.load(relaxed) == kNoThread || m_joined.load(relaxed) != 0) {
        return kNoThreadId;
    }
    m_threadId.store(m_control->AwaitId(), relaxed);
    return m_threadId.load(relaxed);
}

// The turn of the one caller that joins. It ends, and lets the others go, also when that caller is
// cancelled in its join.
class DThreadImpl::JoinTurn {
public:
    explicit JoinTurn(DThreadImpl& thread) : m_impl(thread) {}
    ~JoinTurn() {
        MutexLock lock(m_impl.m_deathMutex);
        --m_impl.m_waiters;
        m_impl.m_joining = false;
        pthread_cond_broadcast(&m_impl.m_deathCond);
    }
    JoinTurn(JoinTurn const&) = delete;
    JoinTurn& operator=(JoinTurn const&) = delete;

private:
    DThreadImpl& m_impl;
};

int DThreadImpl::WaitForThreadDeath(int timeoutMs) {
    pthread_t const thread = m_thread.load(relaxed);
    if (thread == kNoThread || m_started.load(relaxed) == 0) {
        if (m_started.load(relaxed) == 0) {
            std::printf("WaitForThreadDeath::Run not started. or invalid thread handle\n");
        }
        return WAIT_RESULT_FAILED;
    }
    // The thread itself must not even wait beside a joining caller, who waits for it.
    if (pthread_equal(thread, pthread_self()) != 0) {
        return WAIT_RESULT_FAILED;
    }
    timespec const deadline =
        timeoutMs != kForever ? verrick::ValidDeadlineAfter(timeoutMs) : timespec{};
    timespec const* const until = timeoutMs != kForever ? &deadline : nullptr;
    {
        MutexLock lock(m_deathMutex);
        if (m_joined.load(relaxed) != 0) {
            return WAIT_RESULT_OK;
        }
        if (m_joining) {
            return AwaitOtherJoin(until);
        }
        ++m_waiters;
        m_joining = true;
    }
    JoinTurn const turn(*this);
    return Join(until);
}

// Called with m_deathMutex held. Whatever wakes the caller ends its call.
int DThreadImpl::AwaitOtherJoin(timespec const* deadline) {
    ++m_waiters;
    if (deadline != nullptr) {
        pthread_cond_timedwait(&m_deathCond, &m_deathMutex, deadline);
    } else {
        pthread_cond_wait(&m_deathCond, &m_deathMutex);
    }
    --m_waiters;
    return m_joined.load(relaxed) != 0 ? WAIT_RESULT_OK : WAIT_RESULT_TIMEOUT;
}

int DThreadImpl::Join(timespec const* deadline) {
    pthread_t const thread = m_thread.load(relaxed);
    if (thread == kNoThread) {
        return WAIT_RESULT_FAILED;
    }
    int const error = deadline != nullptr ? pthread_timedjoin_np(thread, nullptr, deadline)
                                          : pthread_join(thread, nullptr);
    switch (error) {
    case 0:
        m_joined.store(1, relaxed);
        return WAIT_RESULT_OK;
    case ETIMEDOUT:
        return WAIT_RESULT_TIMEOUT;
    default:
        return WAIT_RESULT_FAILED;
    }
}
